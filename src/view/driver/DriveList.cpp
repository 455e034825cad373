#include "view/driver/DriveList.h"
#include "common/facts/FileStates.h"
#include "db/UploadDDAO.h"
#include "transfer/TransSet.h"
#include "view/driver/FileView.h"
#include "view/TransferList.h"
#include <algorithm>
#include <QCoreApplication>

namespace
{
using F = FileStates;

QString words(const char *text) { return QCoreApplication::translate("TransferD", text); }
bool over(const DriveRow &row) { return row.ended > 0; }

bool ran(int state) { return state == F::UpRun || state == F::DownRun || state == F::UpServer; }
bool broke(int state)
{
    return state == F::UpError || state == F::UpGaveUp || state == F::DownError || state == F::DownGaveUp;
}

Tint tint(const DriveRow &row)
{
    if (broke(row.state))
        return Tint::Failed;
    if (row.file && over(row) && row.error != 0) // nothing was fetched
        return Tint::Quiet;
    if (!row.file && row.failed > 0)
        return Tint::Warning;
    return over(row) ? Tint::Done : ran(row.state) ? Tint::Running : Tint::Plain;
}

QString stateText(const DriveRow &row)
{
    const QString text = TransSet::stateText(row.state, row.error);
    if (row.file || row.failed == 0)
        return text;
    return words(QT_TRANSLATE_NOOP("TransferD", "%1（%2 个失败）")).arg(text).arg(row.failed);
}

QString stateTip(const DriveRow &row)
{
    if (!row.note.isEmpty())
        return row.note;
    return row.error != 0 && !over(row) ? TransSet::sentence(row.error) : stateText(row);
}

QPair<qlonglong, qlonglong> progress(const DriveRow &row)
{
    if (over(row) && row.size == 0)
        return {1, 1};
    return row.size > 0 ? qMakePair(qMin(row.size, row.done + row.live), row.size) : qMakePair(row.ok, row.sum);
}

QString progressText(const DriveRow &row)
{
    const auto part = progress(row);
    const QString bytes =
        row.size > 0 ? QStringLiteral("%1/%2").arg(TransferList::sizeText(part.first), TransferList::sizeText(row.size))
                     : QString();
    if (row.file)
        return bytes;
    const QString files =
        QStringLiteral("%1/%2%3").arg(row.ok).arg(row.sum).arg(row.walking ? QStringLiteral("+") : QString());
    return bytes.isEmpty() ? files : QStringLiteral("%1 (%2)").arg(bytes, files);
}
} // namespace

DriveList::DriveList(int which, QObject *parent)
    : RecordModel<DriveRow>([](const DriveRow &r) { return r.key; }, columns(which), parent), m_which(which)
{
    connect(this, &RecordModelBase::moreWanted, this, [this](const QString &key) { askNeighbours(key, false); });
    connect(this, &RecordModelBase::earlierWanted, this, [this](const QString &key) { askNeighbours(key, true); });
}

void DriveList::askNeighbours(const QString &batch, bool before)
{
    const Node *node = find(batch);
    const qlonglong farmPri = record(batch)->farmPri;
    if (node->rows.isEmpty())
        emit filesWanted(farmPri, 0);
    else
        emit neighboursWanted(farmPri, priOf(before ? node->rows.first() : node->rows.last()), before);
}

QVector<Column<DriveRow>> DriveList::columns(int which)
{
    using C = Column<DriveRow>;
    using R = DriveRow;
    const bool up = which == UploadDDAO::Up, done = which == UploadDDAO::Ok;
    const auto kind = [up](const R &r) {
        return QVariant(r.file ? (up ? UploadFile : DownloadFile) : up ? UploadBatch : DownloadBatch);
    };
    const auto local = C(QStringLiteral("local"), words(QT_TRANSLATE_NOOP("TransferD", "本地路径")), 200)
                           .text([](const R &r) { return DriveText::clean(r.lpath); })
                           .atLeast(88)
                           .giving(4);
    const auto remote = C(QStringLiteral("drive"), words(QT_TRANSLATE_NOOP("TransferD", "云盘路径")), 180)
                            .text([](const R &r) { return DriveText::clean(r.dpath); })
                            .atLeast(88)
                            .giving(5);
    QVector<C> all{C(QStringLiteral("name"), words(QT_TRANSLATE_NOOP("TransferD", "文件名称")), 200)
                       .text([](const R &r) { return DriveText::clean(r.name); })
                       .icon([](const R &r) { return r.file ? QStringLiteral("file") : QStringLiteral("folder"); })
                       .role(KindRole, kind)
                       .role(BatchRole, [](const R &r) { return QVariant(r.farmPri); })
                       .role(FileRole, [](const R &r) { return QVariant(r.pri); })
                       .stretch()
                       .atLeast(140),
                   up ? local : remote, up ? remote : local,
                   C(QStringLiteral("size"), words(QT_TRANSLATE_NOOP("TransferD", "文件大小")), 88)
                       .text([](const R &r) { return TransferList::sizeText(r.size); })
                       .sort([](const R &r) { return r.size; })
                       .right()
                       .atLeast(72)
                       .giving(6)};
    const C state = C(QStringLiteral("state"), words(QT_TRANSLATE_NOOP("TransferD", "状态")), 130)
                        .text(stateText)
                        .tip(stateTip)
                        .tint(tint)
                        .atLeast(112);
    if (done) {
        all << C(QStringLiteral("files"), words(QT_TRANSLATE_NOOP("TransferD", "文件数")), 88)
                   .text([](const R &r) { return r.file ? QString() : QStringLiteral("%1/%2").arg(r.ok).arg(r.sum); })
                   .right()
                   .atLeast(72)
                   .giving(3)
            << C(QStringLiteral("ended"), words(QT_TRANSLATE_NOOP("TransferD", "完成时间")), 152)
                   .text([](const R &r) { return DriveText::time(r.ended); })
                   .sort([](const R &r) { return r.ended; })
                   .atLeast(144) // a piece of a time tells nothing
                   .giving(2)
            << state;
    } else {
        all << C(QStringLiteral("progress"), words(QT_TRANSLATE_NOOP("TransferD", "传输进度")), 200)
                   .text(progressText)
                   .progress(progress)
                   .sort([](const R &r) { return r.size > 0 ? double(r.done + r.live) / double(r.size) : 0; })
                   .atLeast(120)
            << C(QStringLiteral("speed"), words(QT_TRANSLATE_NOOP("TransferD", "传输速度")), 90)
                   .text([](const R &r) { return TransferList::speedText(r.speed); })
                   .sort([](const R &r) { return r.speed; })
                   .right()
                   .giving(3)
            << state;
    }
    return all << C::acts(words(QT_TRANSLATE_NOOP("TransferD", "操作")), done ? 128 : 240);
}

bool DriveList::paused(const DriveRow &row) const { return row.state == F::UpPause || row.state == F::DownPause; }
bool DriveList::failed(const DriveRow &row) const { return broke(row.state) || (!row.file && row.failed > 0); }

DriveRow DriveList::rowOf(const db_upfarmD &farm, int which)
{
    DriveRow row;
    row.key = batchKey(farm.pri);
    row.farmPri = farm.pri;
    row.farmId = farm.id;
    row.name = farm.name;
    row.lpath = farm.lpath;
    row.dpath = farm.dpath;
    row.note = farm.note;
    row.size = farm.fsize;
    row.done = farm.fup;
    row.ok = farm.fok;
    row.sum = farm.fsum;
    row.failed = farm.failed;
    row.state = farm.state;
    row.walking = which != UploadDDAO::Ok && farm.dirstate != UploadDDAO::DirWalked;
    row.ended = which == UploadDDAO::Ok ? farm.oktime : 0;
    return row;
}

DriveRow DriveList::rowOf(const db_upfile &file, qlonglong farmPri)
{
    DriveRow row;
    row.file = true;
    row.key = fileKey(file.pri);
    row.farmPri = farmPri;
    row.pri = file.pri;
    row.lpath = file.lpath;
    row.dpath = file.remotePath;
    const QString path = file.lpath.isEmpty() ? file.remotePath : file.lpath;
    row.name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    row.size = file.size;
    row.state = file.state;
    row.error = file.error;
    row.ended = file.oktime;
    return row;
}

void DriveList::setFarms(const QList<db_upfarmD> &farms)
{
    QList<DriveRow> rows;
    for (const db_upfarmD &farm : farms) {
        DriveRow row = rowOf(farm, m_which);
        if (const DriveRow *old = record(row.key)) {
            row.speed = old->speed;
            row.oldBehind = old->oldBehind;
            row.oldBefore = old->oldBefore;
        }
        rows << row;
    }
    setRows(rows);
    for (const DriveRow &row : qAsConst(rows))
        if (rowCount(indexOf(row.key)) == 0)
            setMore(row.key, true);
}

// What is far from where one looks. An answer that is on its way to it would leave a gap.
void DriveList::trim(Node *parent, bool before)
{
    const int count = parent->rows.size(), left = MostRows - CutRows;
    if (count <= MostRows)
        return;
    DriveRow &batch = static_cast<Held *>(parent)->record;
    if (before) {
        removeRun(parent, left, count - 1);
        batch.oldBehind = batch.oldBehind || parent->asked;
        setMore(parent->key, true);
    } else {
        removeRun(parent, 0, count - left - 1);
        batch.oldBefore = batch.oldBefore || parent->askedEarlier;
        setEarlier(parent->key, true);
    }
}

// Whether it tells of neighbours of rows that aren't here any more.
bool DriveList::tooLate(Node *parent, const QList<db_upfile> &files, bool clear)
{
    if (m_which == UploadDDAO::Ok || parent->rows.isEmpty())
        return false;
    DriveRow &batch = static_cast<Held *>(parent)->record;
    const bool behind = !clear && (files.isEmpty() || files.first().pri > priOf(parent->rows.last()));
    return std::exchange(behind ? batch.oldBehind : batch.oldBefore, false);
}

// A page says all about the keys that it spans, a short one about everything behind it too; rows outside stay. clear:
// it's the first one.
void DriveList::setFiles(qlonglong farmPri, const QList<db_upfile> &files, bool clear)
{
    Node *parent = find(batchKey(farmPri));
    if (!parent || tooLate(parent, files, clear))
        return;
    if (files.isEmpty() && !clear) // those that stood before them may have gone meanwhile
        return setMore(parent->key, parent->rows.isEmpty());
    QVector<Node *> fresh;
    for (const db_upfile &file : files) {
        DriveRow row = rowOf(file, farmPri);
        if (const DriveRow *old = record(row.key)) {
            row.live = old->live;
            row.speed = old->speed;
        }
        fresh << node(row);
    }
    if (m_which == UploadDDAO::Ok) { // the latest first, all at once
        sync(parent, fresh);
        return setMore(parent->key, false);
    }
    std::sort(fresh.begin(), fresh.end(), [](const Node *a, const Node *b) { return priOf(a) < priOf(b); });
    const auto placeOf = [parent](qlonglong pri) {
        const auto at = std::lower_bound(parent->rows.begin(), parent->rows.end(), pri,
                                         [](const Node *one, qlonglong key) { return priOf(one) < key; });
        return int(at - parent->rows.begin());
    };
    const bool last = files.size() < UploadDDAO::PageRows;
    const int begin = clear ? 0 : placeOf(priOf(fresh.first()));
    const int end = last ? parent->rows.size() : placeOf(priOf(fresh.last()) + 1);
    const bool before = end < parent->rows.size();
    sync(parent, fresh, begin, end);
    if (before)
        setEarlier(parent->key, !clear);
    else
        setMore(parent->key, !last);
    trim(parent, before);
}

void DriveList::setCount(qlonglong farmPri, const db_upfarmD &farm)
{
    change(batchKey(farmPri), [&](DriveRow &row) {
        row.ok = farm.fok;
        row.sum = farm.fsum;
        row.done = farm.fup;
        row.size = farm.fsize;
        row.failed = farm.failed;
        row.walking = m_which != UploadDDAO::Ok && farm.dirstate != UploadDDAO::DirWalked;
        row.live = 0;
    });
    const Node *batch = find(batchKey(farmPri));
    if (!batch || batch->more || batch->asked || farm.fok >= farm.fsum)
        return;
    if (batch->rows.isEmpty() || record(batchKey(farmPri))->walking)
        setMore(batchKey(farmPri), true); // others have come behind the last one
}

void DriveList::setState(qlonglong farmPri, int state)
{
    change(batchKey(farmPri), [state](DriveRow &row) {
        row.state = state;
        row.speed = ran(state) ? row.speed : 0;
    });
}

void DriveList::setSpeed(qlonglong farmPri, qlonglong speed, qlonglong upped)
{
    change(batchKey(farmPri), [=](DriveRow &row) {
        row.speed = speed;
        row.live = qMax<qlonglong>(0, upped - row.done);
    });
}

void DriveList::setNote(qlonglong farmPri, const QString &text)
{
    change(batchKey(farmPri), [&](DriveRow &row) { row.note = text; });
}

void DriveList::setFileState(qlonglong pri, int state, int error)
{
    change(fileKey(pri), [=](DriveRow &row) {
        row.state = state;
        row.error = error;
        row.speed = ran(state) ? row.speed : 0;
    });
}

void DriveList::setFileSpeed(qlonglong pri, const db_upfile &file)
{
    change(fileKey(pri), [&](DriveRow &row) {
        row.speed = file.speed;
        row.live = file.compressedSize;
    });
}

void DriveList::removeFile(qlonglong pri)
{
    const DriveRow *row = record(fileKey(pri));
    if (!row)
        return;
    const QString batch = batchKey(row->farmPri);
    remove(fileKey(pri));
    if (rowCount(indexOf(batch)) == 0) {
        setMore(batch, true);
        setEarlier(batch, false);
    }
}
