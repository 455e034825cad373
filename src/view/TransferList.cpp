#include "view/TransferList.h"
#include "common/facts/FileStates.h"
#include "common/facts/PageSize.h"
#include "common/facts/SceneState.h"
#include "transfer/TransSet.h"
#include <algorithm>
#include <QApplication>
#include <QCoreApplication>

namespace
{
constexpr int StaleMs = 3000;
using F = FileStates;

// A running upload reads as waiting in its store: only the workers' word tells.
int running(int state) { return state == F::UpWait ? F::UpRun : state == F::DownWait ? F::DownRun : state; }

Tint tint(const TransferRow &row, bool uploads)
{
    if (!row.file && uploads)
        return row.state == SceneState::UploadFailed ? Tint::Failed
               : row.state == SceneState::Uploading  ? Tint::Running
                                                     : Tint::Plain;
    switch (row.state) {
    case F::DownRun:
    case F::UpRun:
    case F::UpServer:
        return Tint::Running;
    case F::DownError:
    case F::UpError:
    case F::UpGaveUp:
    case F::DownGaveUp:
        return Tint::Failed;
    default:
        return Tint::Plain;
    }
}

QString stateText(const TransferRow &row, bool uploads)
{
    return !row.file && uploads ? SceneState::text(row.state) : TransSet::stateText(row.state, row.error);
}

QString stateTip(const TransferRow &row, bool uploads)
{
    const QString why = row.error != 0 ? TransSet::sentence(row.error) : QString();
    if (!why.isEmpty())
        return why;
    if (!row.file && uploads && row.state == SceneState::UploadFailed)
        return QCoreApplication::translate("Transfer", "有文件上传失败：展开查看原因，处理后点击“继续”");
    return stateText(row, uploads);
}

bool bytesKnown(const TransferRow &row) { return row.file || row.size > 0; }

QPair<qlonglong, qlonglong> progress(const TransferRow &row)
{
    if (bytesKnown(row))
        return {qMin(row.done + row.live, row.size), row.size};
    return {row.ok, row.sum};
}

QString progressText(const TransferRow &row)
{
    const QString files = QStringLiteral("%1/%2").arg(row.ok).arg(row.sum);
    if (!bytesKnown(row))
        return files;
    const auto part = progress(row);
    const QString bytes =
        QStringLiteral("%1/%2").arg(TransferList::sizeText(part.first), TransferList::sizeText(part.second));
    return row.file ? bytes : QStringLiteral("%1 (%2)").arg(bytes, files);
}

qlonglong speedOf(const TransferRow &row) { return qMax(row.speed, row.bulk); }

// The words of a state are what a user looks for: they are never shortened for want of a few pixels.
int stateWidth()
{
    constexpr int Margins = 18, Most = 150;
    int width = 88;
    for (int state : {TransSet::UpWait, TransSet::UpRun, TransSet::UpPause, TransSet::UpError, TransSet::DownWait,
                      TransSet::DownRun, TransSet::DownPause, TransSet::DownError})
        width =
            qMax(width, QFontMetrics(QApplication::font()).horizontalAdvance(TransSet::stateText(state, 0)) + Margins);
    for (int state : SceneState::InUpload.list())
        width = qMax(width, QFontMetrics(QApplication::font()).horizontalAdvance(SceneState::text(state)) + Margins);
    return qMin(width, Most);
}
} // namespace

QString TransferList::sizeText(qlonglong bytes)
{
    static const char *const units[] = {"B", "KB", "MB", "GB", "TB"};
    double value = double(qMax<qlonglong>(0, bytes));
    int unit = 0;
    while (value >= 1024 && unit < 4) {
        value /= 1024;
        ++unit;
    }
    return QString::number(value, 'f', unit == 0 ? 0 : value < 10 ? 2 : 1) + QLatin1String(units[unit]);
}

QString TransferList::speedText(qlonglong bytes) { return sizeText(bytes) + QStringLiteral("/S"); }

QVector<Column<TransferRow>> TransferList::columns(bool uploads)
{
    using C = Column<TransferRow>;
    using R = TransferRow;
    const auto words = [](const char *text) { return QCoreApplication::translate("Transfer", text); };
    const auto kind = [uploads](const R &r) {
        return QVariant(uploads ? (r.file ? UploadFile : UploadOrder) : r.file ? DownloadFile : DownloadMission);
    };
    const auto icon = [uploads](const R &r) {
        return r.file ? QStringLiteral("detailDir_1") : uploads ? QStringLiteral("upload") : QStringLiteral("download");
    };
    return {C(QStringLiteral("name"), words(QT_TRANSLATE_NOOP("Transfer", "文件名称")), 260)
                .text([](const R &r) { return r.name; })
                .tip([](const R &r) { return r.file ? r.path : QStringLiteral("%1\n%2").arg(r.order, r.path); })
                .icon(icon)
                .role(OrderRole, [](const R &r) { return QVariant(r.order); })
                .role(MissionRole, [](const R &r) { return QVariant(r.mission); })
                .role(GroupRole, [](const R &r) { return QVariant(r.group); })
                .role(KindRole, kind)
                .role(MissionPriRole, [](const R &r) { return QVariant(r.missPri); })
                .role(FilePriRole, [](const R &r) { return QVariant(r.pri); })
                .stretch()
                .atLeast(180),
            C(QStringLiteral("size"), words(QT_TRANSLATE_NOOP("Transfer", "文件大小")), 96)
                .text([](const R &r) { return r.file || r.size > 0 ? sizeText(r.size) : QString(); })
                .sort([](const R &r) { return r.size; })
                .right()
                .atLeast(72)
                .giving(3),
            C(QStringLiteral("progress"), words(QT_TRANSLATE_NOOP("Transfer", "传输进度")), 224)
                .text(progressText)
                .progress(progress)
                .sort([](const R &r) {
                    return r.size > 0 ? double(r.done) / double(r.size) : double(r.ok) / qMax(1, r.sum);
                })
                .atLeast(96),
            C(QStringLiteral("speed"), words(QT_TRANSLATE_NOOP("Transfer", "传输速度")), 96)
                .text([](const R &r) { return speedText(speedOf(r)); })
                .sort(speedOf)
                .right()
                .atLeast(80)
                .giving(2),
            C(QStringLiteral("state"), words(QT_TRANSLATE_NOOP("Transfer", "状态")), 128)
                .text([uploads](const R &r) { return stateText(r, uploads); })
                .tint([uploads](const R &r) { return tint(r, uploads); })
                .tip([uploads](const R &r) { return stateTip(r, uploads); })
                .sort([](const R &r) { return r.state; })
                .atLeast(stateWidth()),
            C::acts(words(QT_TRANSLATE_NOOP("Transfer", "操作")), 208)};
}

TransferList::TransferList(bool uploads, QObject *parent)
    : RecordModel<TransferRow>([](const TransferRow &row) { return row.key; }, columns(uploads), parent),
      m_uploads(uploads)
{
    m_clock.start();
    m_stale.setInterval(1000);
    connect(&m_stale, &QTimer::timeout, this, [this] { dropStaleSpeeds(m_clock.elapsed()); });
    connect(this, &RecordModelBase::moreWanted, this, &TransferList::wanted);
}

TransferRow TransferList::upload(const db_resolve &res)
{
    TransferRow row;
    row.group = row.order = res.ordernum;
    row.key = groupKey(row.group);
    row.mission = res.missionid;
    row.rkey = res.rkey;
    row.name = res.lpath.mid(res.lpath.lastIndexOf(QLatin1Char('/')) + 1);
    row.path = res.lpath.left(qMax(0, res.lpath.lastIndexOf(QLatin1Char('/'))));
    row.ok = res.fok;
    row.sum = res.fsum;
    row.size = res.fsize;
    row.done = res.fup;
    row.state = res.state;
    return row;
}

TransferRow TransferList::mission(const db_downmiss &miss)
{
    TransferRow row;
    row.group = QString::number(miss.pri);
    row.key = groupKey(row.group);
    row.order = miss.ordernum;
    row.mission = miss.missid;
    row.missPri = miss.pri;
    row.name = miss.missname.isEmpty() ? miss.ordernum : miss.missname;
    row.path = miss.lpath;
    row.ok = miss.ok;
    row.sum = miss.sum;
    row.state = miss.state;
    return row;
}

void TransferList::wanted(const QString &key)
{
    const TransferRow *row = record(key);
    if (!row || row->file)
        return;
    const int have = rowCount(indexOf(key));
    emit filesWanted(row->group, row->loaded ? have / PageSize::Files : 0);
}

void TransferList::setGroups(const QList<TransferRow> &groups)
{
    QList<TransferRow> rows = groups;
    for (TransferRow &row : rows) {
        const TransferRow *old = record(row.key);
        if (!old)
            continue;
        row.live = old->live;
        row.speed = old->speed;
        row.heard = old->heard;
        row.loaded = old->loaded;
        row.bulk = old->bulk;
    }
    setRows(rows);
    for (const TransferRow &row : qAsConst(rows))
        branch(row.group);
}

void TransferList::branch(const QString &group)
{
    const TransferRow *row = this->group(group);
    if (row && rowCount(indexOf(row->key)) == 0 && (!row->loaded || row->ok < row->sum))
        setMore(row->key, true);
}

// A page says all about the keys that it spans (a short one about everything behind it too): what it doesn't hold there
// is gone. Rows outside stay, so that a reload of the first page neither shortens an open branch nor moves what the
// user looks at.
void TransferList::setFiles(const QString &group, const QList<TransferRow> &files, bool first)
{
    const QString parent = groupKey(group);
    if (!record(parent))
        return;
    QList<TransferRow> page = files;
    const auto below = [](const TransferRow &a, const TransferRow &b) { return a.pri < b.pri; };
    std::sort(page.begin(), page.end(), below);
    const bool last = page.size() < PageSize::Files;
    const qlonglong from = first || page.isEmpty() ? 0 : page.first().pri;
    const TransferRow order = *record(parent);
    QVector<Node *> fresh;
    for (TransferRow row : qAsConst(page)) {
        row.group = group;
        row.order = order.order;
        row.mission = order.mission;
        row.missPri = order.missPri;
        if (const TransferRow *old = record(row.key)) { // what the wires told is newer than the row
            row.live = old->live;
            row.speed = old->speed;
            row.heard = old->heard;
            if (row.speed > 0 && old->state == running(row.state))
                row.state = old->state;
        }
        fresh << node(row);
    }
    Node *at = find(parent);
    const auto placeOf = [at](qlonglong pri) {
        const auto under = [](const Node *row, qlonglong key) { return rowOf(row).pri < key; };
        return int(std::lower_bound(at->rows.begin(), at->rows.end(), pri, under) - at->rows.begin());
    };
    const int begin = placeOf(from), end = last ? at->rows.size() : placeOf(page.last().pri + 1);
    const bool behind = end < at->rows.size();
    sync(at, fresh, begin, end);
    if (!order.loaded)
        change(parent, [](TransferRow &row) { row.loaded = true; });
    if (!behind)
        setMore(parent, !last);
}

void TransferList::leave(TransferRow *group, qlonglong live, qlonglong speed)
{
    group->live = qMax<qlonglong>(0, group->live - live);
    group->speed = qMax<qlonglong>(0, group->speed - speed);
}

QString TransferList::groupOf(qlonglong pri) const
{
    const TransferRow *file = record(fileKey(pri));
    return file ? file->group : QString();
}

void TransferList::removeFile(qlonglong pri)
{
    const TransferRow *file = record(fileKey(pri));
    if (!file)
        return;
    const TransferRow gone = *file;
    remove(gone.key);
    change(groupKey(gone.group), [&](TransferRow &group) {
        leave(&group, gone.live, gone.speed);
        group.done += gone.size; // shown as whole until the store's sum comes
    });
    branch(gone.group);
}

void TransferList::clearFiles(const QString &group)
{
    setRows({}, groupKey(group));
    change(groupKey(group), [](TransferRow &row) { row.loaded = false, row.live = row.speed = row.bulk = 0; });
    branch(group);
}

void TransferList::setGroupState(const QString &group, int state)
{
    change(groupKey(group), [&](TransferRow &row) {
        row.state = state;
        if (m_uploads && state != SceneState::Uploading)
            row.speed = row.bulk = 0;
    });
    if (!m_uploads || state == SceneState::Uploading)
        return;
    Node *at = find(groupKey(group));
    if (!at || at->rows.isEmpty())
        return;
    for (Node *one : qAsConst(at->rows)) { // its workers were taken
        TransferRow &row = rowOf(one);
        row.speed = 0;
        if (row.state == F::UpRun)
            row.state = F::UpWait;
    }
    changed(at->rows.first(), at->rows.last());
}

void TransferList::setGroupSpeed(const QString &group, qlonglong speed)
{
    change(groupKey(group), [&](TransferRow &row) {
        row.bulk = speed;
        row.heard = m_clock.elapsed();
    });
    m_stale.start();
}

void TransferList::setGroupCount(const QString &group, int ok, int sum)
{
    change(groupKey(group), [=](TransferRow &row) { row.ok = ok, row.sum = sum; });
    branch(group);
}

bool TransferList::changeSpeed(qlonglong pri, qlonglong ed, qlonglong size, qlonglong speed)
{
    qlonglong moreLive = 0, moreSpeed = 0;
    const qint64 now = m_clock.elapsed();
    const bool found = change(fileKey(pri), [&](TransferRow &file) {
        moreLive = ed - file.live;
        moreSpeed = speed - file.speed;
        file.live = ed;
        file.size = qMax(size, ed);
        file.speed = speed;
        file.heard = now;
        if (speed > 0)
            file.state = running(file.state);
    });
    if (!found)
        return false;
    change(groupKey(groupOf(pri)), [&](TransferRow &group) {
        leave(&group, -moreLive, -moreSpeed);
        group.heard = now;
    });
    m_stale.start();
    return true;
}

bool TransferList::changeState(qlonglong pri, int state, int error)
{
    qlonglong speed = 0;
    const bool found = change(fileKey(pri), [&](TransferRow &file) {
        file.state = state;
        file.error = error;
        if (state != F::UpRun && state != F::DownRun)
            speed = std::exchange(file.speed, 0);
    });
    if (found && speed > 0)
        change(groupKey(groupOf(pri)), [&](TransferRow &group) { leave(&group, 0, speed); });
    return found;
}

void TransferList::dropStaleSpeeds(qint64 now)
{
    bool moving = false;
    const QStringList groups = keys();
    for (const QString &group : groups) {
        const TransferRow *row = record(group);
        if (row->speed == 0 && row->bulk == 0)
            continue;
        qlonglong dropped = 0;
        for (Node *file : qAsConst(find(group)->rows))
            if (rowOf(file).speed > 0 && now - rowOf(file).heard >= StaleMs) {
                dropped += std::exchange(rowOf(file).speed, 0);
                changed(file, file);
            }
        const bool stale = now - row->heard >= StaleMs;
        if (dropped > 0 || stale)
            change(group, [&](TransferRow &one) {
                one.speed = stale ? 0 : qMax<qlonglong>(0, one.speed - dropped);
                one.bulk = stale ? 0 : one.bulk;
            });
        moving = moving || !stale;
    }
    if (!moving)
        m_stale.stop();
}
