#include "view/TransferModel.h"
#include "common/facts/SceneState.h"
#include "common/ui/Delegates.h"
#include "common/ui/Palette.h"
#include "common/ui/RowSync.h"
#include "db/ResolveDAO.h"
#include "transfer/TransSet.h"
#include <algorithm>
#include <QCoreApplication>
#include <QSet>

namespace
{
constexpr int StaleMs = 3000;

// A running upload reads as waiting in its store: only the workers' word tells.
int running(int state)
{
    return state == TransSet::UpWait ? TransSet::UpRun : state == TransSet::DownWait ? TransSet::DownRun : state;
}

QString fileName(const QString &path) { return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1); }
} // namespace

TransferModel::TransferModel(bool uploads, QObject *parent) : QAbstractItemModel(parent), m_uploads(uploads)
{
    m_clock.start();
    m_stale.setInterval(1000);
    connect(&m_stale, &QTimer::timeout, this, [this] { dropStaleSpeeds(m_clock.elapsed()); });
}

QModelIndex TransferModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, parent.isValid() ? m_groups.at(parent.row()).id : 0);
}

QModelIndex TransferModel::parent(const QModelIndex &child) const
{
    if (!child.isValid() || child.internalId() == 0)
        return {};
    const int row = rowOfId(child.internalId());
    return row < 0 ? QModelIndex() : createIndex(row, 0, quintptr(0));
}

int TransferModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return m_groups.size();
    return parent.internalId() == 0 && parent.column() == 0 && parent.row() < m_groups.size()
               ? m_groups.at(parent.row()).files.size()
               : 0;
}

int TransferModel::columnCount(const QModelIndex &) const { return ColumnCount; }

bool TransferModel::hasChildren(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return !m_groups.isEmpty();
    if (parent.internalId() != 0)
        return false;
    const TransferGroup &group = m_groups.at(parent.row());
    return !group.files.isEmpty() || !group.loaded;
}

bool TransferModel::canFetchMore(const QModelIndex &parent) const
{
    return parent.isValid() && parent.internalId() == 0 && m_groups.at(parent.row()).more;
}

void TransferModel::fetchMore(const QModelIndex &parent)
{
    if (!canFetchMore(parent))
        return;
    TransferGroup &group = m_groups[parent.row()];
    group.more = false; // until the answer says so
    emit filesWanted(group.key, group.loaded ? group.files.size() / PageRows : 0);
}

QVariant TransferModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int((section == Size || section == Speed ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    static const char *const titles[ColumnCount] = {
        QT_TRANSLATE_NOOP("Transfer", "文件名称"), QT_TRANSLATE_NOOP("Transfer", "文件大小"),
        QT_TRANSLATE_NOOP("Transfer", "传输进度"), QT_TRANSLATE_NOOP("Transfer", "传输速度"),
        QT_TRANSLATE_NOOP("Transfer", "状态"),     QT_TRANSLATE_NOOP("Transfer", "操作")};
    return role == Qt::DisplayRole ? QVariant(QCoreApplication::translate("Transfer", titles[section])) : QVariant();
}

QVariant TransferModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (role == Qt::TextAlignmentRole)
        return int((index.column() == Size || index.column() == Speed ? Qt::AlignRight : Qt::AlignLeft) |
                   Qt::AlignVCenter);
    const int row = index.internalId() == 0 ? index.row() : rowOfId(index.internalId());
    if (row < 0 || row >= m_groups.size())
        return {};
    const TransferGroup &group = m_groups.at(row);
    switch (role) {
    case OrderRole:
        return group.order;
    case MissionRole:
        return group.mission;
    case KeyRole:
        return group.key;
    case MissionPriRole:
        return group.pri;
    default:
        break;
    }
    if (index.internalId() == 0)
        return groupData(group, index.column(), role);
    return index.row() < group.files.size() ? fileData(group, group.files.at(index.row()), index.column(), role)
                                            : QVariant();
}

QVariant TransferModel::groupData(const TransferGroup &group, int column, int role) const
{
    qlonglong speed = 0, done = group.done;
    if (column == Progress || column == Speed) // a branch may hold ten thousand rows
        for (const TransferFile &file : group.files) {
            speed += file.speed;
            done += file.done;
        }
    speed = qMax(speed, group.speed);
    const bool bytes = m_uploads && group.size > 0;
    done = qMin(done, group.size);
    const QString state = m_uploads ? SceneState::text(group.state) : TransSet::stateText(group.state, 0);
    switch (role) {
    case KindRole:
        return m_uploads ? UploadOrder : DownloadMission;
    case CellRole::Part:
        return column == Progress ? QVariant(bytes ? done : qlonglong(group.ok)) : QVariant();
    case CellRole::Whole:
        return column == Progress ? QVariant(bytes ? group.size : qlonglong(group.sum)) : QVariant();
    case CellRole::Icon:
        return column == Name ? QVariant(m_uploads ? QStringLiteral("upload") : QStringLiteral("download"))
                              : QVariant();
    case CellRole::Tint:
        return column == State ? QVariant(TransferRules::colour(m_uploads, group.state)) : QVariant();
    case CellRole::Buttons:
        return column == Hand ? QVariant(TransferRules::buttons(m_uploads, group.state)) : QVariant();
    case Qt::ToolTipRole:
        return column == Name ? QStringLiteral("%1\n%2").arg(group.order, group.folder)
                              : groupData(group, column, Qt::DisplayRole);
    case Qt::AccessibleTextRole:
        return column == Hand ? TransferRules::buttons(m_uploads, group.state).join(QLatin1Char(' ')).simplified()
                              : groupData(group, column, Qt::DisplayRole);
    case Qt::DisplayRole:
        break;
    default:
        return {};
    }
    switch (column) {
    case Name:
        return group.name;
    case Size:
        return group.size > 0 ? TransferRules::sizeText(group.size) : QString();
    case Progress: {
        const QString files = QStringLiteral("%1/%2").arg(group.ok).arg(group.sum);
        return bytes ? QStringLiteral("%1/%2 (%3)")
                           .arg(TransferRules::sizeText(done), TransferRules::sizeText(group.size), files)
                     : files;
    }
    case Speed:
        return TransferRules::speedText(speed);
    case State:
        return state;
    default:
        return {};
    }
}

QVariant TransferModel::fileData(const TransferGroup &group, const TransferFile &file, int column, int role) const
{
    switch (role) {
    case KindRole:
        return m_uploads ? UploadFile : DownloadFile;
    case FilePriRole:
        return file.pri;
    case MissionPriRole:
        return group.pri;
    case CellRole::Part:
        return column == Progress ? QVariant(file.done) : QVariant();
    case CellRole::Whole:
        return column == Progress ? QVariant(file.size) : QVariant();
    case CellRole::Icon:
        return column == Name ? QVariant(QStringLiteral("detailDir_1")) : QVariant();
    case CellRole::Tint:
        return column == State ? QVariant(TransferRules::colour(false, file.state)) : QVariant();
    case CellRole::Buttons:
        return column == Hand ? QVariant(QStringList()) : QVariant();
    case Qt::ToolTipRole:
        if (column == State && file.error != 0)
            return TransSet::errorText(file.error);
        return column == Name ? QVariant(file.path) : fileData(group, file, column, Qt::DisplayRole);
    case Qt::AccessibleTextRole:
        return fileData(group, file, column, Qt::DisplayRole);
    case Qt::DisplayRole:
        break;
    default:
        return {};
    }
    switch (column) {
    case Name:
        return fileName(file.path);
    case Size:
        return TransferRules::sizeText(file.size);
    case Progress:
        return QStringLiteral("%1/%2").arg(TransferRules::sizeText(file.done), TransferRules::sizeText(file.size));
    case Speed:
        return TransferRules::speedText(file.speed);
    case State:
        return TransSet::stateText(file.state, file.error);
    default:
        return {};
    }
}

void TransferModel::setGroups(const QList<TransferGroup> &groups)
{
    QSet<QString> wanted;
    for (const TransferGroup &group : groups)
        wanted.insert(group.key);
    RowSync sync;
    sync.count = [this] { return m_groups.size(); };
    sync.same = [&](int row, int i) { return m_groups.at(row).key == groups.at(i).key; };
    sync.wantedAnywhere = [&](int row) { return wanted.contains(m_groups.at(row).key); };
    sync.remove = [this](int row) {
        beginRemoveRows({}, row, row);
        m_groups.removeAt(row);
        endRemoveRows();
    };
    sync.move = [this](int from, int to) {
        beginMoveRows({}, from, from, {}, to);
        m_groups.move(from, to);
        endMoveRows();
    };
    sync.insert = [&](int row, int i) {
        beginInsertRows({}, row, row);
        m_groups.insert(row, groups.at(i));
        m_groups[row].id = m_nextId++;
        endInsertRows();
    };
    sync.update = [&](int row, int i) {
        TransferGroup next = groups.at(i);
        const TransferGroup &old = m_groups.at(row);
        next.id = old.id;
        next.speed = old.speed;
        next.heard = old.heard;
        next.files = old.files;
        next.loaded = old.loaded;
        next.more = old.more;
        m_groups[row] = next;
        groupChanged(row);
    };
    sync.run(groups.size());
}

// The rows of a branch stand in the order of their keys, as both stores give them. A page says all about the keys that
// it spans (a short one about everything behind it too): what it doesn't hold there is gone. Rows outside stay, so that
// a reload of the first page neither shortens an open branch nor moves what the user looks at.
void TransferModel::setFiles(const QString &key, const QList<TransferFile> &files, bool clear)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    QList<TransferFile> page = files;
    std::sort(page.begin(), page.end(), [](const auto &a, const auto &b) { return a.pri < b.pri; });
    const bool last = page.size() < PageRows;
    const qlonglong from = clear || page.isEmpty() ? 0 : page.first().pri;
    int row = placeOf(m_groups.at(at).files, from);
    for (int next = 0; next < page.size();) {
        const QList<TransferFile> &rows = m_groups.at(at).files;
        int end = row;
        while (end < rows.size() && rows.at(end).pri < page.at(next).pri)
            ++end;
        takeRows(at, row, end - row);
        if (row < rows.size() && rows.at(row).pri == page.at(next).pri) {
            refreshFile(at, row++, page.at(next++));
            continue;
        }
        int count = 1;
        while (next + count < page.size() && (row >= rows.size() || page.at(next + count).pri < rows.at(row).pri))
            ++count;
        beginInsertRows(groupIndex(key), row, row + count - 1);
        for (int i = 0; i < count; ++i)
            m_groups[at].files.insert(row + i, page.at(next + i));
        endInsertRows();
        row += count;
        next += count;
    }
    if (last)
        takeRows(at, row, m_groups.at(at).files.size() - row);
    m_groups[at].loaded = true;
    if (last || row >= m_groups.at(at).files.size())
        m_groups[at].more = !last;
    groupChanged(at);
}

void TransferModel::takeRows(int groupRow, int first, int count)
{
    if (count <= 0)
        return;
    beginRemoveRows(createIndex(groupRow, 0, quintptr(0)), first, first + count - 1);
    QList<TransferFile> &rows = m_groups[groupRow].files;
    rows.erase(rows.begin() + first, rows.begin() + first + count);
    endRemoveRows();
}

// What the wires told is newer than the row.
void TransferModel::refreshFile(int groupRow, int fileRow, TransferFile file)
{
    TransferFile &old = m_groups[groupRow].files[fileRow];
    file.done = old.done;
    file.speed = old.speed;
    file.heard = old.heard;
    if (file.speed > 0 && old.state == running(file.state))
        file.state = old.state;
    old = file;
    fileChanged(groupRow, fileRow);
}

int TransferModel::placeOf(const QList<TransferFile> &files, qlonglong pri)
{
    const auto below = [](const TransferFile &file, qlonglong key) { return file.pri < key; };
    return int(std::lower_bound(files.begin(), files.end(), pri, below) - files.begin());
}

TransferFile *TransferModel::find(qlonglong pri, int *groupRow, int *fileRow)
{
    for (int g = 0; g < m_groups.size(); ++g) {
        const int f = placeOf(m_groups.at(g).files, pri);
        if (f >= m_groups.at(g).files.size() || m_groups.at(g).files.at(f).pri != pri)
            continue;
        *groupRow = g;
        *fileRow = f;
        return &m_groups[g].files[f];
    }
    return nullptr;
}

bool TransferModel::removeFile(qlonglong pri)
{
    int g = 0, f = 0;
    if (!find(pri, &g, &f))
        return false;
    m_groups[g].done += m_groups[g].files.at(f).size; // shown as whole until the store's sum comes
    beginRemoveRows(createIndex(g, 0, quintptr(0)), f, f);
    m_groups[g].files.removeAt(f);
    endRemoveRows();
    groupChanged(g);
    return true;
}

void TransferModel::removeGroup(const QString &key)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    beginRemoveRows({}, at, at);
    m_groups.removeAt(at);
    endRemoveRows();
}

void TransferModel::clearFiles(const QString &key)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    if (!m_groups.at(at).files.isEmpty()) {
        beginRemoveRows(groupIndex(key), 0, m_groups.at(at).files.size() - 1);
        m_groups[at].files.clear();
        endRemoveRows();
    }
    m_groups[at].loaded = false;
    m_groups[at].more = true;
}

void TransferModel::setGroupState(const QString &key, int state)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    m_groups[at].state = state;
    groupChanged(at);
    if (!m_uploads || state == SceneState::Uploading)
        return;
    m_groups[at].speed = 0;
    QList<TransferFile> &files = m_groups[at].files;
    for (TransferFile &file : files) { // its workers were taken
        file.speed = 0;
        if (file.state == TransSet::UpRun)
            file.state = TransSet::UpWait;
    }
    if (!files.isEmpty())
        emit dataChanged(createIndex(0, 0, m_groups.at(at).id),
                         createIndex(files.size() - 1, ColumnCount - 1, m_groups.at(at).id));
}

void TransferModel::setGroupCount(const QString &key, int ok, int sum)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    m_groups[at].ok = ok;
    m_groups[at].sum = sum;
    groupChanged(at);
}

bool TransferModel::changeSpeed(qlonglong pri, qlonglong ed, qlonglong size, qlonglong speed)
{
    int g = 0, f = 0;
    TransferFile *file = find(pri, &g, &f);
    if (!file)
        return false;
    file->done = ed;
    file->size = qMax(size, ed);
    file->speed = speed;
    file->heard = m_clock.elapsed();
    if (speed > 0)
        file->state = running(file->state);
    fileChanged(g, f);
    groupChanged(g);
    startClock();
    return true;
}

bool TransferModel::changeState(qlonglong pri, int state, int error)
{
    int g = 0, f = 0;
    TransferFile *file = find(pri, &g, &f);
    if (!file)
        return false;
    file->state = state;
    file->error = error;
    if (state != TransSet::UpRun && state != TransSet::DownRun)
        file->speed = 0;
    fileChanged(g, f);
    groupChanged(g);
    return true;
}

void TransferModel::setGroupSpeed(const QString &key, qlonglong speed)
{
    const int at = rowOf(key);
    if (at < 0)
        return;
    m_groups[at].speed = speed;
    m_groups[at].heard = m_clock.elapsed();
    groupChanged(at);
    startClock();
}

void TransferModel::startClock()
{
    if (!m_stale.isActive())
        m_stale.start();
}

void TransferModel::dropStaleSpeeds(qint64 now)
{
    bool moving = false;
    for (int g = 0; g < m_groups.size(); ++g) {
        bool changed = false;
        if (m_groups.at(g).speed > 0) {
            changed = now - m_groups.at(g).heard >= StaleMs;
            m_groups[g].speed = changed ? 0 : m_groups.at(g).speed;
            moving = moving || !changed;
        }
        QList<TransferFile> &files = m_groups[g].files;
        for (int f = 0; f < files.size(); ++f) {
            if (files.at(f).speed == 0)
                continue;
            if (now - files.at(f).heard < StaleMs) {
                moving = true;
                continue;
            }
            files[f].speed = 0;
            fileChanged(g, f);
            changed = true;
        }
        if (changed)
            groupChanged(g);
    }
    if (!moving)
        m_stale.stop();
}

const TransferGroup *TransferModel::group(const QString &key) const
{
    const int at = rowOf(key);
    return at < 0 ? nullptr : &m_groups.at(at);
}

QModelIndex TransferModel::groupIndex(const QString &key) const
{
    const int at = rowOf(key);
    return at < 0 ? QModelIndex() : createIndex(at, 0, quintptr(0));
}

int TransferModel::rowOf(const QString &key) const
{
    for (int i = 0; i < m_groups.size(); ++i)
        if (m_groups.at(i).key == key)
            return i;
    return -1;
}

int TransferModel::rowOfId(quintptr id) const
{
    for (int i = 0; i < m_groups.size(); ++i)
        if (m_groups.at(i).id == id)
            return i;
    return -1;
}

void TransferModel::groupChanged(int row)
{
    emit dataChanged(createIndex(row, 0, quintptr(0)), createIndex(row, ColumnCount - 1, quintptr(0)));
}

void TransferModel::fileChanged(int groupRow, int fileRow)
{
    const quintptr id = m_groups.at(groupRow).id;
    emit dataChanged(createIndex(fileRow, 0, id), createIndex(fileRow, ColumnCount - 1, id));
}
