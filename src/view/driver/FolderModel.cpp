#include "view/driver/FolderModel.h"
#include "common/ui/Delegates.h"
#include "common/ui/Palette.h"
#include <bitset>
#include <memory>
#include <QHash>
#include <QThreadPool>

namespace
{
constexpr int ManyRows = 10000; // to give the memory of more back takes longer than the window may stand still
constexpr int FewRanges = 4;    // that are removed one by one, so that the view goes on to the next row by itself

void drop(FolderRows rows)
{
    if (rows.size() > ManyRows)
        QThreadPool::globalInstance()->start([gone = std::make_shared<FolderRows>(std::move(rows))] { *gone = {}; });
}
} // namespace

FolderModel::FolderModel(QObject *parent) : QAbstractTableModel(parent) {}

void FolderModel::open(int fileType)
{
    beginResetModel();
    m_fileType = fileType;
    drop(std::exchange(m_rows, {}));
    m_order.clear();
    m_gone.clear();
    m_naming = false;
    m_shown = 0;
    endResetModel();
    emit headerDataChanged(Qt::Horizontal, 0, Columns - 1);
    emit rowsChanged();
}

void FolderModel::add(const QVector<FileView> &rows, const QVector<int> &order, const DriveSort &by)
{
    m_rows.append(rows);
    const bool sorted = !(by == m_by);
    m_by = by;
    emit aboutToMerge();
    arrange(kept(order));
    emit merged();
    if (sorted)
        emit headerDataChanged(Qt::Horizontal, 0, Columns - 1);
    emit rowsChanged();
}

void FolderModel::setRows(const FolderRows &rows, const QVector<int> &order, const DriveSort &by)
{
    emit aboutToMerge();
    FolderRows before = std::exchange(m_rows, rows);
    m_gone.clear();
    m_naming = false;
    m_by = by;
    arrange(order, [&](const QVector<int> &numbers) {
        QStringList ids;
        for (int number : numbers)
            ids << (number < 0 || number >= before.size() ? QString() : before.at(number).id);
        return numbersOf(ids);
    });
    drop(std::move(before));
    emit merged();
    emit rowsChanged();
}

void FolderModel::setOrder(const QVector<int> &order, const DriveSort &by)
{
    if (order.size() != m_rows.size())
        return;
    m_by = by;
    arrange(kept(order));
    emit headerDataChanged(Qt::Horizontal, 0, Columns - 1);
}

QVector<int> FolderModel::kept(const QVector<int> &order) const
{
    if (m_gone.isEmpty() && !m_naming)
        return order;
    QVector<int> kept;
    kept.reserve(order.size() + 1);
    if (m_naming)
        kept.append(NewRow);
    for (int number : order)
        if (!m_gone.value(number))
            kept.append(number);
    return kept;
}

// More rows come at the end before the order changes, fewer go from the end after it: what someone holds on to is moved
// in between, and nothing that stays is ever taken for gone.
void FolderModel::arrange(const QVector<int> &order, const Renumbered &renumbered)
{
    const QVector<int> before = std::exchange(m_order, order);
    const int rows = order.size();
    if (rows > m_shown) {
        beginInsertRows({}, m_shown, rows - 1);
        m_shown = rows;
        endInsertRows();
    }
    const bool behind =
        !renumbered && before.size() <= rows && std::equal(before.cbegin(), before.cend(), order.cbegin());
    if (!behind) {
        emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
        const QModelIndexList held = persistentIndexList();
        QHash<int, int> seen; // a row is held once for each of its columns
        QVector<int> numbers;
        for (const QModelIndex &index : held)
            if (!seen.contains(index.row())) {
                seen.insert(index.row(), numbers.size());
                numbers << before.value(index.row(), None);
            }
        if (renumbered)
            numbers = renumbered(numbers);
        QVector<int> places; // row by number
        if (!numbers.isEmpty()) {
            places.fill(-1, m_rows.size() + 1);
            for (int row = 0; row < rows; ++row)
                places[order.at(row) + 1] = row;
        }
        QModelIndexList moved;
        moved.reserve(held.size());
        for (const QModelIndex &index : held) {
            const int number = numbers.at(seen.value(index.row())), row = number < NewRow ? -1 : places.at(number + 1);
            moved << (row < 0 ? QModelIndex() : this->index(row, index.column()));
        }
        changePersistentIndexList(held, moved);
        emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
    }
    if (rows < m_shown) {
        beginRemoveRows({}, rows, m_shown - 1);
        m_shown = rows;
        endRemoveRows();
    }
}

const FileView &FolderModel::at(int row) const
{
    const int number = m_order.at(row);
    return number == NewRow ? m_new : m_rows.at(number);
}

int FolderModel::numberOf(const QString &id) const { return numbersOf({id}).first(); }

QVector<int> FolderModel::numbersOf(const QStringList &ids) const
{
    constexpr uint Bits = 1 << 16;
    std::bitset<Bits> may; // most rows are passed by without looking at their text
    QHash<QString, int> wanted;
    for (const QString &id : ids) {
        may.set(qHash(id) % Bits);
        wanted.insert(id, None);
    }
    if (const auto fresh = wanted.find(QLatin1String(FileView::NewDir)); fresh != wanted.end() && m_naming)
        *fresh = NewRow;
    for (int i = 0; i < m_rows.size(); ++i)
        if (may.test(m_rows.hash(i) % Bits) && !m_gone.value(i))
            if (const auto known = wanted.find(m_rows.at(i).id); known != wanted.end())
                *known = i;
    QVector<int> numbers;
    for (const QString &id : ids)
        numbers << wanted.value(id);
    return numbers;
}

int FolderModel::rowOf(int number) const { return number == None ? -1 : m_order.indexOf(number); }

const FileView *FolderModel::entry(const QString &id) const
{
    const int number = numberOf(id);
    return number == None ? nullptr : number == NewRow ? &m_new : &m_rows.at(number);
}

QModelIndex FolderModel::indexOf(const QString &id, int column) const
{
    const int row = rowOf(numberOf(id));
    return row < 0 ? QModelIndex() : index(row, column);
}

bool FolderModel::taken(const QString &name) const
{
    for (int row = 0; row < m_rows.size(); ++row) // a folder of it may be fetched to Windows: case doesn't count
        if (const QString &other = m_rows.at(row).name;
            other.size() == name.size() && !m_gone.value(row) && other.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

int FolderModel::next(const QString &typed, int from, int rows) const
{
    for (int step = 0; step < qMin(rows, m_shown); ++step) {
        const int row = (from + step) % m_shown;
        if (at(row).name.startsWith(typed, Qt::CaseInsensitive))
            return row;
    }
    return -1;
}

void FolderModel::changed(int row)
{
    if (row >= 0)
        emit dataChanged(index(row, 0), index(row, Columns - 1));
}

void FolderModel::setPending(const QStringList &ids, const QString &text)
{
    const QVector<int> numbers = numbersOf(ids);
    for (int number : numbers)
        if (number != None)
            row(number).pending = text;
    if (numbers.size() == 1)
        changed(rowOf(numbers.first()));
    else if (m_shown > 0)
        emit dataChanged(index(0, 0), index(m_shown - 1, Columns - 1));
    emit rowsChanged();
}

void FolderModel::rename(const QString &id, const QString &name)
{
    if (const int number = numberOf(id); number != None) {
        row(number).name = name;
        changed(rowOf(number));
    }
}

void FolderModel::remove(const QStringList &ids)
{
    QVector<bool> gone(m_rows.size() + 1);
    bool some = false; // of the list itself
    for (int number : numbersOf(ids)) {
        if (number != None)
            gone[number + 1] = true;
        some = some || number >= 0;
    }
    QVector<int> left;
    QVector<QPair<int, int>> ranges; // of rows
    for (int row = 0; row < m_order.size(); ++row) {
        if (!gone.at(m_order.at(row) + 1))
            left.append(m_order.at(row));
        else if (!ranges.isEmpty() && ranges.last().second == row - 1)
            ranges.last().second = row;
        else
            ranges.append({row, row});
    }
    m_naming = m_naming && !gone.first();
    if (some) {
        m_gone.resize(m_rows.size());
        for (int number = 0; number < m_gone.size(); ++number)
            m_gone[number] = m_gone.at(number) || gone.at(number + 1);
    }
    if (ranges.size() > FewRanges) {
        emit aboutToMerge();
        arrange(left);
        emit merged();
    } else {
        for (auto range = ranges.crbegin(); range != ranges.crend(); ++range) {
            beginRemoveRows({}, range->first, range->second);
            m_order.remove(range->first, range->second - range->first + 1);
            m_shown = m_order.size();
            endRemoveRows();
        }
    }
    emit rowsChanged();
}

QModelIndex FolderModel::addNew(const QString &name, const QString &parent)
{
    m_new = {};
    m_new.id = QLatin1String(FileView::NewDir);
    m_new.name = name;
    m_new.parent = parent;
    m_new.type = SubFile::Folder;
    beginInsertRows({}, 0, 0);
    m_order.prepend(NewRow);
    m_naming = true;
    ++m_shown;
    endInsertRows();
    emit rowsChanged();
    return index(0, Name);
}

int FolderModel::rowCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : m_shown; }
int FolderModel::columnCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : int(Columns); }

QVariant FolderModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_order.size())
        return {};
    const FileView &row = at(index.row());
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
    if (!index.isValid() || index.row() >= m_order.size())
        return flags;
    const FileView &row = at(index.row());
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
    emit named(at(index.row()).id, value.toString());
    return true;
}

void FolderModel::sort(int column, Qt::SortOrder order) { emit sortWanted(column, order == Qt::DescendingOrder); }
