#include "view/driver/FolderModel.h"
#include "common/ui/Delegates.h"
#include "common/ui/Palette.h"

namespace
{
constexpr int PatchRows = 5000; // a longer list that is read again is put in the old one's place
} // namespace

FolderModel::FolderModel(QObject *parent) : QAbstractTableModel(parent)
{
    m_filling.setInterval(0);
    connect(&m_filling, &QTimer::timeout, this, &FolderModel::fill);
}

void FolderModel::open(int fileType)
{
    beginResetModel();
    m_filling.stop();
    m_fileType = fileType;
    m_rows.clear();
    m_shown = 0;
    endResetModel();
    emit headerDataChanged(Qt::Horizontal, 0, Columns - 1);
    emit rowsChanged();
}

void FolderModel::setRows(const QVector<FileView> &rows)
{
    if (patch(rows))
        return emit rowsChanged();
    beginResetModel();
    const int before = m_shown;
    m_rows = rows;
    m_shown = qMin(m_rows.size(), qMax(Piece, before)); // what was shown already needn't be waited for
    endResetModel();
    if (filling())
        m_filling.start();
    emit rowsChanged();
}

bool FolderModel::patch(const QVector<FileView> &rows)
{
    if (m_rows.isEmpty() || filling() || m_rows.size() > PatchRows || rows.size() > PatchRows)
        return false;
    QSet<QString> old, fresh;
    for (const FileView &row : qAsConst(m_rows))
        old.insert(row.id);
    for (const FileView &row : rows)
        fresh.insert(row.id);
    for (int row = m_rows.size() - 1; row >= 0; --row)
        if (!fresh.contains(m_rows.at(row).id)) {
            beginRemoveRows({}, row, row);
            m_rows.remove(row);
            --m_shown;
            endRemoveRows();
        }
    for (int row = 0; row < rows.size(); ++row) {
        const FileView &wanted = rows.at(row);
        if (row < m_rows.size() && m_rows.at(row).id == wanted.id) {
            const bool same = m_rows.at(row).shownAs(wanted);
            m_rows[row] = wanted;
            if (!same)
                changed(row);
            continue;
        }
        if (old.contains(wanted.id)) { // stands further down
            const int from = rowOf(wanted.id);
            beginMoveRows({}, from, from, {}, row);
            m_rows.move(from, row);
            m_rows[row] = wanted;
            endMoveRows();
            changed(row);
            continue;
        }
        beginInsertRows({}, row, row);
        m_rows.insert(row, wanted);
        ++m_shown;
        endInsertRows();
    }
    return true;
}

void FolderModel::fill()
{
    const int last = qMin(m_shown + Piece, m_rows.size()) - 1;
    if (last >= m_shown) {
        beginInsertRows({}, m_shown, last);
        m_shown = last + 1;
        endInsertRows();
    }
    if (!filling()) {
        m_filling.stop();
        emit rowsChanged();
    }
}

void FolderModel::setOrdered(const QVector<FileView> &rows, int column, bool down)
{
    if (rows.size() != m_rows.size())
        return;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList held = persistentIndexList();
    QStringList ids;
    QHash<QString, int> places; // of the rows that someone holds on to
    for (const QModelIndex &index : held) {
        ids << m_rows.at(index.row()).id;
        places.insert(ids.last(), -1);
    }
    m_rows = rows;
    m_column = column;
    m_down = down;
    for (int row = 0; row < m_shown && !places.isEmpty(); ++row)
        if (const auto it = places.find(m_rows.at(row).id); it != places.end())
            *it = row;
    QModelIndexList moved;
    for (int i = 0; i < held.size(); ++i) {
        const int row = places.value(ids.at(i));
        moved << (row < 0 ? QModelIndex() : index(row, held.at(i).column()));
    }
    changePersistentIndexList(held, moved);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
    emit headerDataChanged(Qt::Horizontal, 0, Columns - 1);
}

int FolderModel::rowOf(const QString &id) const
{
    for (int row = 0; row < m_rows.size(); ++row)
        if (m_rows.at(row).id == id)
            return row;
    return -1;
}

const FileView *FolderModel::entry(const QString &id) const
{
    const int row = rowOf(id);
    return row < 0 ? nullptr : &m_rows.at(row);
}

QModelIndex FolderModel::indexOf(const QString &id, int column) const
{
    const int row = rowOf(id);
    return row < 0 || row >= m_shown ? QModelIndex() : index(row, column);
}

bool FolderModel::taken(const QString &name) const
{
    for (const FileView &row : m_rows)
        if (row.name.compare(name, Qt::CaseInsensitive) == 0) // a folder of it may be fetched to Windows
            return true;
    return false;
}

int FolderModel::next(const QString &typed, int from) const
{
    for (int step = 0; step < m_shown; ++step) {
        const int row = (qMax(0, from) + step) % m_shown;
        if (m_rows.at(row).name.startsWith(typed, Qt::CaseInsensitive))
            return row;
    }
    return -1;
}

void FolderModel::changed(int row)
{
    if (row < m_shown)
        emit dataChanged(index(row, 0), index(row, Columns - 1));
}

void FolderModel::setPending(const QStringList &ids, const QString &text)
{
    const QSet<QString> wanted(ids.begin(), ids.end());
    int first = -1, last = -1;
    for (int row = 0; row < m_rows.size(); ++row) {
        if (!wanted.contains(m_rows.at(row).id))
            continue;
        m_rows[row].pending = text;
        first = first < 0 ? row : first;
        last = row;
    }
    if (first >= 0 && first < m_shown)
        emit dataChanged(index(first, 0), index(qMin(last, m_shown - 1), Columns - 1));
    emit rowsChanged();
}

void FolderModel::rename(const QString &id, const QString &name)
{
    if (const int row = rowOf(id); row >= 0) {
        m_rows[row].name = name;
        changed(row);
    }
}

void FolderModel::remove(const QStringList &ids)
{
    const QSet<QString> gone(ids.begin(), ids.end());
    for (int row = m_rows.size() - 1; row >= 0; --row) {
        if (!gone.contains(m_rows.at(row).id))
            continue;
        if (row >= m_shown) {
            m_rows.remove(row);
            continue;
        }
        beginRemoveRows({}, row, row);
        m_rows.remove(row);
        --m_shown;
        endRemoveRows();
    }
    emit rowsChanged();
}

QModelIndex FolderModel::addNew(const QString &name, const QString &parent)
{
    FileView row;
    row.id = QLatin1String(FileView::NewDir);
    row.name = name;
    row.parent = parent;
    row.type = SubFile::Folder;
    beginInsertRows({}, 0, 0);
    m_rows.prepend(row);
    ++m_shown;
    endInsertRows();
    emit rowsChanged();
    return index(0, Name);
}

int FolderModel::rowCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : m_shown; }
int FolderModel::columnCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : int(Columns); }

QVariant FolderModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_shown)
        return {};
    const FileView &row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        if (index.column() == Name)
            return DriveText::name(row);
        if (index.column() == Time)
            return DriveText::time(m_fileType == 1 && row.updatedAt ? row.updatedAt : row.createdAt);
        if (index.column() == Kind)
            return m_fileType == 1 ? DriveText::type(row) : row.ordernum.isEmpty() ? row.resultId : row.ordernum;
        return row.isFolder() ? QString() : DriveText::size(row.size);
    case Qt::EditRole:
        return row.name;
    case Qt::ToolTipRole:
        return DriveText::tip(row);
    case Qt::AccessibleTextRole:
        return DriveText::name(row);
    case Qt::TextAlignmentRole:
        return int(Qt::AlignVCenter | (index.column() == Size ? Qt::AlignRight : Qt::AlignLeft));
    case CellRole::Icon:
        return index.column() == Name ? DriveText::icon(row) : QString();
    case CellRole::Tint:
        return row.pending.isEmpty() ? index.column() == Name ? QVariant() : Palette::of(Tint::Quiet)
                                     : Palette::of(Tint::Running);
    case IdRole:
        return row.id;
    default:
        return {};
    }
}

QVariant FolderModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignVCenter | (section == Size ? Qt::AlignRight : Qt::AlignLeft));
    if (role != Qt::DisplayRole)
        return {};
    const bool input = m_fileType == 1;
    switch (section) {
    case Name:
        return input ? tr("名称") : tr("文件名");
    case Time:
        return input ? tr("修改日期") : tr("创建日期");
    case Kind:
        return input ? tr("类型") : tr("订单号");
    default:
        return input ? tr("大小") : tr("文件大小");
    }
}

Qt::ItemFlags FolderModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren;
    if (!index.isValid())
        return flags;
    const FileView &row = m_rows.at(index.row());
    if (row.pending.isEmpty() && !row.isNew())
        flags |= Qt::ItemIsDragEnabled;
    if (index.column() == Name && m_fileType == 1 && row.pending.isEmpty())
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool FolderModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !index.isValid())
        return false;
    emit named(m_rows.at(index.row()).id, value.toString());
    return true;
}

void FolderModel::sort(int column, Qt::SortOrder order) { emit sortWanted(column, order == Qt::DescendingOrder); }
