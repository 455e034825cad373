#include "common/ui/kit/RecordModel.h"
#include <algorithm>
#include <QCollator>
#include <QTextDocument>

namespace
{
constexpr int MostShown = 600, MostTip = 4000; // characters

// It would turn the direction of what follows: "exe.gnp" for a program.
bool turns(QChar c)
{
    return (c.unicode() >= 0x202a && c.unicode() <= 0x202e) || (c.unicode() >= 0x2066 && c.unicode() <= 0x2069);
}
} // namespace

RecordModelBase::Node::~Node() { qDeleteAll(rows); }

RecordModelBase::RecordModelBase(QObject *parent) : QAbstractItemModel(parent) {}
RecordModelBase::~RecordModelBase() = default;

int RecordModelBase::columnOf(const QString &id) const
{
    for (int i = 0; i < columnCount(); ++i)
        if (column(i).id == id)
            return i;
    return -1;
}

const RecordModelBase::Node *RecordModelBase::nodeOf(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<const Node *>(index.internalPointer()) : &m_root;
}

QModelIndex RecordModelBase::indexOfNode(const Node *node, int column) const
{
    return node == &m_root || !node ? QModelIndex() : createIndex(node->at, column, const_cast<Node *>(node));
}

QModelIndex RecordModelBase::indexOf(const QString &key, int column) const { return indexOfNode(find(key), column); }

QModelIndex RecordModelBase::index(int row, int column, const QModelIndex &parent) const
{
    const Node *node = nodeOf(parent);
    if (row < 0 || row >= node->rows.size() || column < 0 || column >= columnCount())
        return {};
    return createIndex(row, column, node->rows.at(row));
}

QModelIndex RecordModelBase::parent(const QModelIndex &child) const
{
    return child.isValid() ? indexOfNode(nodeOf(child)->parent) : QModelIndex();
}

int RecordModelBase::rowCount(const QModelIndex &parent) const
{
    return parent.column() > 0 ? 0 : nodeOf(parent)->rows.size();
}

bool RecordModelBase::hasChildren(const QModelIndex &parent) const
{
    const Node *node = nodeOf(parent);
    return parent.column() <= 0 && (!node->rows.isEmpty() || node->more || node->asked);
}

bool RecordModelBase::canFetchMore(const QModelIndex &parent) const
{
    return nodeOf(parent)->more && nodeOf(parent)->rows.isEmpty();
}

void RecordModelBase::fetchMore(const QModelIndex &parent)
{
    auto *node = const_cast<Node *>(nodeOf(parent));
    if (!parent.isValid() || !node->more)
        return;
    node->more = false; // until the answer says so
    node->asked = true;
    emit moreWanted(node->key);
}

void RecordModelBase::setMore(const QString &key, bool more)
{
    Node *node = find(key);
    if (!node || (node->more == more && !node->asked))
        return;
    node->more = more;
    node->asked = false;
    changed(node, node); // its branch comes or goes
}

void RecordModelBase::setEarlier(const QString &key, bool earlier)
{
    Node *node = find(key);
    if (!node)
        return;
    node->earlier = earlier;
    node->askedEarlier = false;
}

void RecordModelBase::seen(const QModelIndex &index)
{
    const Node *node = nodeOf(index);
    Node *parent = node->parent;
    if (!parent || parent == &m_root)
        return;
    if (node->at + SeenAhead >= parent->rows.size())
        fetchMore(indexOfNode(parent));
    if (node->at >= SeenAhead || !std::exchange(parent->earlier, false))
        return;
    parent->askedEarlier = true;
    emit earlierWanted(parent->key);
}

Qt::ItemFlags RecordModelBase::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    const Qt::ItemFlags base = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    return column(index.column()).kind == ColumnInfo::Tick ? base | Qt::ItemIsUserCheckable : base;
}

QString RecordModelBase::plainLine(const QString &text)
{
    const auto odd = [](QChar c) {
        return c.unicode() < 0x20 || c.unicode() == 0x7f || turns(c) || c == QChar::LineSeparator ||
               c == QChar::ParagraphSeparator;
    };
    if (text.size() <= MostShown && std::none_of(text.cbegin(), text.cend(), odd))
        return text;
    QString line =
        text.size() <= MostShown ? text : text.left(MostShown / 2) + QChar(0x2026) + text.right(MostShown / 2);
    for (QChar &c : line)
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            c = QChar(c.unicode() == 0x7f ? 0x2421 : 0x2400 + c.unicode()); // its picture
        else if (odd(c))
            c = QChar::ReplacementCharacter;
    return line;
}

// A tool tip that looks like HTML is taken for HTML: a file named "<img src=...>" would be drawn, not shown.
QString RecordModelBase::plainTip(const QString &whole)
{
    QString text = whole.size() <= MostTip ? whole : whole.left(MostTip) + QChar(0x2026);
    std::replace_if(text.begin(), text.end(), turns, QChar(QChar::ReplacementCharacter));
    if (!Qt::mightBeRichText(text))
        return text;
    return QStringLiteral("<span>%1</span>")
        .arg(text.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>")));
}

QVariant RecordModelBase::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Node *node = nodeOf(index);
    const ColumnInfo &info = column(index.column());
    const bool upper = node->parent == &m_root;
    if (role == KeyRole)
        return node->key;
    if (role == Qt::TextAlignmentRole)
        return int((info.atRight ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    if (info.kind == ColumnInfo::Tick && upper) {
        const bool on = m_ticked.contains(node->key);
        if (role == Qt::CheckStateRole)
            return on ? Qt::Checked : Qt::Unchecked;
        if (role == Qt::AccessibleTextRole)
            return on ? tr("已勾选") : tr("未勾选");
    }
    if (info.kind == ColumnInfo::Acts && m_rowActs) {
        if (role == CellRole::Buttons)
            return m_rowActs(node->key);
        if (role == Qt::AccessibleTextRole)
            return m_rowActs(node->key).join(QLatin1Char(' ')).simplified();
    }
    if (role == Qt::AccessibleTextRole || role == Qt::DisplayRole)
        return plainLine(cell(node, index.column(), Qt::DisplayRole).toString());
    if (role == Qt::ToolTipRole)
        return plainTip(cell(node, index.column(), role).toString());
    return cell(node, index.column(), role);
}

bool RecordModelBase::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole || column(index.column()).kind != ColumnInfo::Tick)
        return false;
    tick({nodeOf(index)->key}, value.toInt() == Qt::Checked);
    return true;
}

QVariant RecordModelBase::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    const ColumnInfo &info = column(section);
    if (role == Qt::TextAlignmentRole)
        return int((info.atRight ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    if (info.kind == ColumnInfo::Tick) {
        if (role == Qt::CheckStateRole)
            return tickState();
        if (role == Qt::AccessibleTextRole)
            return tr("全选");
    }
    return role == Qt::DisplayRole || role == Qt::AccessibleTextRole ? QVariant(info.title) : QVariant();
}

QStringList RecordModelBase::keys(const QString &parent) const
{
    const Node *node = parent.isEmpty() ? &m_root : find(parent);
    QStringList out;
    for (int i = 0; node && i < node->rows.size(); ++i)
        out << node->rows.at(i)->key;
    return out;
}

void RecordModelBase::number(Node *parent, int from)
{
    for (int i = from; i < parent->rows.size(); ++i)
        parent->rows.at(i)->at = i;
}

void RecordModelBase::forget(Node *node)
{
    for (Node *child : qAsConst(node->rows))
        forget(child);
    m_nodes.remove(node->key);
    m_ticked.remove(node->key);
}

void RecordModelBase::removeRun(Node *parent, int first, int last)
{
    beginRemoveRows(indexOfNode(parent), first, last);
    const QVector<Node *> gone = parent->rows.mid(first, last - first + 1);
    parent->rows.remove(first, last - first + 1);
    number(parent, first);
    for (Node *node : gone)
        forget(node);
    endRemoveRows();
    qDeleteAll(gone);
}

void RecordModelBase::insertRun(Node *parent, int at, const QVector<Node *> &run)
{
    beginInsertRows(indexOfNode(parent), at, at + run.size() - 1);
    parent->rows.insert(at, run.size(), nullptr);
    std::copy(run.begin(), run.end(), parent->rows.begin() + at);
    for (Node *node : run) {
        node->parent = parent;
        m_nodes.insert(node->key, node);
    }
    number(parent, at);
    endInsertRows();
}

void RecordModelBase::reorder(Node *parent, const QVector<Node *> &order)
{
    emit layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    parent->rows = order;
    number(parent);
    QModelIndexList after;
    for (const QModelIndex &index : before)
        after << indexOfNode(nodeOf(index), index.column());
    changePersistentIndexList(before, after);
    emit layoutChanged({}, VerticalSortHint);
}

void RecordModelBase::changed(Node *first, Node *last)
{
    emit dataChanged(indexOfNode(first), indexOfNode(last, columnCount() - 1));
    emit rowsChanged();
}

void RecordModelBase::sync(Node *parent, const QVector<Node *> &wanted, int begin, int end)
{
    end = end < 0 ? parent->rows.size() : end;
    const Qt::CheckState ticks = tickState();
    QHash<QString, Node *> keep;
    QVector<Node *> fresh;
    for (Node *node : wanted) {
        if (keep.contains(node->key)) {
            delete node;
            continue;
        }
        Node *old = find(node->key);
        if (old && (old->parent != parent || old->at < begin || old->at >= end)) { // it has moved in here
            const int before = old->parent == parent && old->at < begin;
            removeRun(old->parent, old->at, old->at);
            begin -= before;
            end -= before;
        }
        keep.insert(node->key, node);
        node->came = begin + fresh.size();
        fresh << node;
    }
    if (parent == &m_root)
        sortNodes(&fresh);
    for (int last = end - 1; last >= begin; --last) {
        if (keep.contains(parent->rows.at(last)->key))
            continue;
        int first = last;
        while (first > begin && !keep.contains(parent->rows.at(first - 1)->key))
            --first;
        end -= last - first + 1;
        removeRun(parent, first, last);
        last = first;
    }
    QVector<Node *> staying;
    for (Node *node : qAsConst(fresh))
        if (Node *old = find(node->key))
            staying << old;
    if (staying != parent->rows.mid(begin, end - begin))
        reorder(parent, parent->rows.mid(0, begin) + staying + parent->rows.mid(end));
    fill(parent, fresh, begin, end);
    if (tickState() != ticks) // a view lays out all its rows anew for a word about its head
        emit headerDataChanged(Qt::Horizontal, 0, 0);
    emit ticksChanged();
    emit rowsChanged();
}

// What stays stands in its order by now: takes over the records, told in runs, and puts in what is new.
void RecordModelBase::fill(Node *parent, const QVector<Node *> &fresh, int row, int end)
{
    Node *first = nullptr, *last = nullptr;
    const auto told = [&] {
        if (first)
            changed(first, last);
        first = nullptr;
    };
    for (int i = 0; i < fresh.size();) {
        if (row < end && parent->rows.at(row)->key == fresh.at(i)->key) {
            Node *old = parent->rows.at(row++), *one = fresh.at(i++);
            old->came = one->came;
            if (assign(old, one)) {
                first = first ? first : old;
                last = old;
            } else {
                told();
            }
            delete one;
            continue;
        }
        told();
        QVector<Node *> run;
        while (i < fresh.size() && (row >= end || parent->rows.at(row)->key != fresh.at(i)->key))
            run << fresh.at(i++);
        insertRun(parent, row, run);
        row += run.size();
        end += run.size();
    }
    told();
}

void RecordModelBase::put(Node *parent, Node *fresh)
{
    Node *old = find(fresh->key);
    if (old && old->parent == parent) {
        if (assign(old, fresh))
            changed(old, old);
        delete fresh;
        return;
    }
    if (old)
        removeRun(old->parent, old->at, old->at);
    fresh->came = parent->rows.size();
    insertRun(parent, parent->rows.size(), {fresh});
    emit rowsChanged();
}

void RecordModelBase::remove(const QString &key)
{
    Node *node = find(key);
    if (!node)
        return;
    const Qt::CheckState ticks = tickState();
    removeRun(node->parent, node->at, node->at);
    if (tickState() != ticks)
        emit headerDataChanged(Qt::Horizontal, 0, 0);
    emit ticksChanged();
    emit rowsChanged();
}

void RecordModelBase::touch(const QString &key)
{
    if (Node *node = find(key))
        changed(node, node);
    else if (key.isEmpty() && !m_root.rows.isEmpty())
        changed(m_root.rows.first(), m_root.rows.last());
}

void RecordModelBase::sortNodes(QVector<Node *> *nodes) const
{
    if (m_sortBy == SortBy::Source)
        return;
    if (m_sortColumn < 0) {
        std::stable_sort(nodes->begin(), nodes->end(), [](Node *a, Node *b) { return a->came < b->came; });
        return;
    }
    QCollator words;
    words.setNumericMode(true);
    words.setCaseSensitivity(Qt::CaseInsensitive);
    QHash<Node *, QVariant> keys;
    for (Node *node : qAsConst(*nodes))
        keys.insert(node, sortKey(node, m_sortColumn));
    const bool down = m_sortOrder == Qt::DescendingOrder;
    std::stable_sort(nodes->begin(), nodes->end(), [&](Node *one, Node *two) {
        const QVariant a = keys.value(down ? two : one), b = keys.value(down ? one : two);
        if (a.type() == QVariant::String)
            return words.compare(a.toString(), b.toString()) < 0;
        return a.type() == QVariant::Double ? a.toDouble() < b.toDouble() : a.toLongLong() < b.toLongLong();
    });
}

void RecordModelBase::sort(int number, Qt::SortOrder order)
{
    if (number >= columnCount() || (number >= 0 && !column(number).sortable))
        return;
    m_sortColumn = number;
    m_sortOrder = order;
    emit headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
    if (m_sortBy == SortBy::Source) {
        emit sortWanted(number < 0 ? QString() : column(number).id, order == Qt::DescendingOrder);
        return;
    }
    QVector<Node *> rows = m_root.rows;
    sortNodes(&rows);
    if (rows != m_root.rows)
        reorder(&m_root, rows);
}

QStringList RecordModelBase::ticked() const
{
    QStringList out;
    if (m_ticked.isEmpty())
        return out;
    for (const Node *node : m_root.rows)
        if (m_ticked.contains(node->key))
            out << node->key;
    return out;
}

void RecordModelBase::tick(const QStringList &keys, bool on)
{
    const int at = columnOf(QStringLiteral("tick"));
    for (const QString &key : keys) {
        const Node *node = find(key);
        if (!node || node->parent != &m_root || m_ticked.contains(key) == on)
            continue;
        if (on)
            m_ticked.insert(key);
        else
            m_ticked.remove(key);
        if (at >= 0)
            emit dataChanged(indexOfNode(node, at), indexOfNode(node, at), {Qt::CheckStateRole});
    }
    emit headerDataChanged(Qt::Horizontal, 0, 0);
    emit ticksChanged();
}

void RecordModelBase::tickAll(bool on) { tick(keys(), on); }

Qt::CheckState RecordModelBase::tickState() const
{
    const int count = m_ticked.size();
    return count == 0 ? Qt::Unchecked : count == m_root.rows.size() ? Qt::Checked : Qt::PartiallyChecked;
}
