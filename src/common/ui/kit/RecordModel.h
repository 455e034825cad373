#pragma once
// Lists of records, each known by a key. A page describes its columns once in a table and hands over rows; what stands
// already is updated where it is, so that selection, scroll position, ticks and open branches survive every reload, and
// a reload that changes nothing repaints nothing. Rows may have rows of the same record below them (files of an order).
//
//   RecordModel<db_resolve> model([](const db_resolve &r) { return QString::number(r.rkey); },
//                                 {Column<db_resolve>::tick(),
//                                  Column<db_resolve>("name", tr("文件名称"), 200).text(sceneName).stretch(),
//                                  Column<db_resolve>("size", tr("大小"), 90).text(sizeText).sort(bytes).right()});
//   model.setRows(rows);
//
// Keys are unique over the whole model; of two rows with one key the first counts. Ticks and sorting are of the upper
// rows. Main thread; owned by the page. Texts of cells are plain: nothing of them is ever read as HTML.
#include "common/ui/Delegates.h"
#include "common/ui/Palette.h"
#include <functional>
#include <QAbstractItemModel>
#include <QHash>
#include <QSet>
#include <QVector>

struct ColumnInfo {
    enum Kind { Text, Tick, Progress, Link, Acts };
    QString id;    // settings know the column by it
    QString title; // translated
    int width = 120, least = 56;
    int gives = 0; // where the view is narrow the column with the highest number goes first; one with 0 stays
    Kind kind = Text;
    bool atRight = false, wide = false, sortable = true, hidden = false; // wide: takes what is left
};

// Builder of one column; every function gets the record and may be left out.
template <class R> class Column : public ColumnInfo
{
public:
    template <class T> using Of = std::function<T(const R &)>;
    Column(const QString &name, const QString &text, int w) { id = name, title = text, width = w; }
    static Column tick()
    {
        Column one(QStringLiteral("tick"), QString(), 40);
        one.kind = Tick, one.sortable = false, one.least = 40;
        return one;
    }
    // The row's own buttons: the acts of the page that have a place there.
    static Column acts(const QString &text, int w)
    {
        Column one(QStringLiteral("acts"), text, w);
        one.kind = Acts, one.sortable = false, one.least = w;
        return one;
    }
    Column &text(Of<QString> f) { return m_text = std::move(f), *this; }
    Column &tint(Of<Tint> f) { return m_tint = std::move(f), *this; }
    Column &tip(Of<QString> f) { return m_tip = std::move(f), *this; } // else the text
    Column &icon(Of<QString> f) { return m_icon = std::move(f), *this; }
    Column &sort(Of<QVariant> f) { return m_sort = std::move(f), *this; } // else by the text
    Column &link() { return kind = Link, *this; } // the text can be clicked: RecordView::linkClicked
    // A thin bar: how much of how much; a whole of 0 shows none.
    Column &progress(Of<QPair<qlonglong, qlonglong>> f) { return kind = Progress, m_progress = std::move(f), *this; }
    Column &role(int number, Of<QVariant> f) { return m_roles.insert(number, std::move(f)), *this; }
    Column &right() { return atRight = true, *this; }
    Column &stretch() { return wide = true, *this; }
    Column &atLeast(int w) { return least = w, *this; }
    Column &giving(int order) { return gives = order, *this; }
    Column &unsorted() { return sortable = false, *this; }
    Column &hiddenAtFirst() { return hidden = true, *this; }

    QVariant cell(const R &record, int role) const
    {
        switch (role) {
        case Qt::DisplayRole:
            return m_text ? m_text(record) : QString();
        case Qt::ToolTipRole:
            return m_tip ? m_tip(record) : m_text ? m_text(record) : QString();
        case CellRole::Tint:
            return m_tint ? QVariant(Palette::of(m_tint(record))) : QVariant();
        case CellRole::Icon:
            return m_icon ? QVariant(m_icon(record)) : QVariant();
        case CellRole::Part:
            return m_progress ? QVariant(m_progress(record).first) : QVariant();
        case CellRole::Whole:
            return m_progress ? QVariant(m_progress(record).second) : QVariant();
        default:
            break;
        }
        const auto it = m_roles.constFind(role);
        return it == m_roles.cend() ? QVariant() : (*it)(record);
    }
    QVariant sortKey(const R &record) const { return m_sort ? m_sort(record) : cell(record, Qt::DisplayRole); }

private:
    Of<QString> m_text, m_tip, m_icon;
    Of<Tint> m_tint;
    Of<QVariant> m_sort;
    Of<QPair<qlonglong, qlonglong>> m_progress;
    QHash<int, Of<QVariant>> m_roles;
};

// What doesn't depend on the record: places, ticks, order, and the steps from one list of rows to another.
class RecordModelBase : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Role { KeyRole = Qt::UserRole + 1000 };
    enum class SortBy { Rows, Source }; // here, or by whoever gives the rows: sortWanted

    ~RecordModelBase() override;
    virtual const ColumnInfo &column(int number) const = 0;
    int columnOf(const QString &id) const; // -1: none

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;  // tells moreWanted once, until setMore(key, true)
    void sort(int column, Qt::SortOrder order) override; // -1: as the rows came

    QString keyOf(const QModelIndex &index) const { return index.data(KeyRole).toString(); }
    QModelIndex indexOf(const QString &key, int column = 0) const; // invalid: not here
    bool contains(const QString &key) const { return m_nodes.contains(key); }
    QStringList keys(const QString &parent = {}) const; // in the order of the rows
    void remove(const QString &key);
    void touch(const QString &key); // its cells are asked anew; all with an empty key (rights changed)

    // Rows below: known to be there, or to be had (moreWanted tells when they're looked at).
    // A view asks for further ones with each layout that it makes, whatever is looked at; it gets the first ones only,
    // the others when seen() tells that their neighbours are on the screen.
    void setMore(const QString &key, bool more);
    void setEarlier(const QString &key, bool earlier); // rows before the first one are to be had: earlierWanted
    void seen(const QModelIndex &index);               // is on the screen
    static constexpr int SeenAhead = 30;

    void setSortBy(SortBy by) { m_sortBy = by; }
    int sortColumn() const { return m_sortColumn; }
    Qt::SortOrder sortOrder() const { return m_sortOrder; }

    QStringList ticked() const; // in the order of the rows
    void tick(const QStringList &keys, bool on);
    void tickAll(bool on);
    Qt::CheckState tickState() const; // of the head's box

    // Texts of a row's buttons, each at its place, empty where there is none.
    void setRowActs(std::function<QStringList(const QString &key)> words) { m_rowActs = std::move(words); }
    static QString plainTip(const QString &text);  // a tool tip that shows the text as it is
    static QString plainLine(const QString &text); // one line of it: nothing that breaks or turns it, no book of a name

signals:
    void ticksChanged();
    void rowsChanged(); // something came, went or changed
    void moreWanted(QString key);
    void earlierWanted(QString key);
    void sortWanted(QString column, bool descending); // SortBy::Source; an empty column: as the source likes

protected:
    struct Node {
        virtual ~Node();
        QString key;
        Node *parent = nullptr;
        int at = 0, came = 0; // place now, and in the list that was handed over
        QVector<Node *> rows;
        bool more = false, asked = false; // rows below are to be had; were asked for
        bool earlier = false, askedEarlier = false;
    };
    explicit RecordModelBase(QObject *parent);
    virtual QVariant cell(const Node *node, int column, int role) const = 0;
    virtual QVariant sortKey(const Node *node, int column) const = 0;
    virtual bool assign(Node *node, Node *from) = 0; // takes over its record; false: nothing differs

    Node *find(const QString &key) const { return m_nodes.value(key); }
    Node *under(const QString &key) { return key.isEmpty() ? &m_root : find(key); }
    const Node *nodeOf(const QModelIndex &index) const;
    // Owns what it's given. With a window of rows only those are brought to the new list, the others stay.
    void sync(Node *parent, const QVector<Node *> &wanted, int begin = 0, int end = -1);
    void put(Node *parent, Node *fresh);
    void removeRun(Node *parent, int first, int last);
    void changed(Node *first, Node *last); // of one parent

private:
    QModelIndex indexOfNode(const Node *node, int column = 0) const;
    void insertRun(Node *parent, int at, const QVector<Node *> &run);
    void fill(Node *parent, const QVector<Node *> &fresh, int row, int end);
    void reorder(Node *parent, const QVector<Node *> &order);
    void sortNodes(QVector<Node *> *nodes) const;
    void forget(Node *node);
    static void number(Node *parent, int from = 0);

    Node m_root;
    QHash<QString, Node *> m_nodes;
    QSet<QString> m_ticked;
    std::function<QStringList(const QString &)> m_rowActs;
    SortBy m_sortBy = SortBy::Rows;
    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};

template <class R> class RecordModel : public RecordModelBase
{
public:
    using Same = std::function<bool(const R &, const R &)>;
    RecordModel(std::function<QString(const R &)> key, QVector<Column<R>> columns, QObject *parent = nullptr)
        : RecordModelBase(parent), m_key(std::move(key)), m_columns(std::move(columns))
    {
    }
    // Two records that show the same: a reload leaves such a row alone. Without it every row given is repainted.
    void setSame(Same same) { m_same = std::move(same); }

    // All rows (below the parent), in this order: others go.
    void setRows(const QList<R> &rows, const QString &parent = {})
    {
        Node *at = under(parent);
        if (!at)
            return;
        QVector<Node *> nodes;
        nodes.reserve(rows.size());
        for (const R &row : rows)
            nodes << node(row);
        sync(at, nodes);
    }
    void put(const R &row, const QString &parent = {}) // in its place, or behind the others
    {
        if (Node *at = under(parent))
            RecordModelBase::put(at, node(row));
    }
    // Changes the record where it stands; false where there is none.
    bool change(const QString &key, const std::function<void(R &)> &edit)
    {
        Node *one = find(key);
        if (!one)
            return false;
        edit(static_cast<Held *>(one)->record);
        changed(one, one);
        return true;
    }
    const R *record(const QString &key) const
    {
        const Node *one = find(key);
        return one ? &static_cast<const Held *>(one)->record : nullptr;
    }
    QList<R> records(const QStringList &keys) const
    {
        QList<R> out;
        for (const QString &key : keys)
            if (const R *one = record(key))
                out << *one;
        return out;
    }
    // For acts, which speak of keys: a question about the record, false where it's gone.
    std::function<bool(const QString &)> when(std::function<bool(const R &)> possible) const
    {
        return [this, possible](const QString &key) {
            const R *one = record(key);
            return one && possible(*one);
        };
    }
    // ... and a deed for each of the records.
    std::function<void(const QStringList &)> each(std::function<void(const R &)> run) const
    {
        return [this, run](const QStringList &keys) {
            for (const R &one : records(keys))
                run(one);
        };
    }

    int columnCount(const QModelIndex & = {}) const override { return m_columns.size(); }
    const ColumnInfo &column(int number) const override { return m_columns.at(number); }

protected:
    struct Held : Node {
        R record;
    };
    QVariant cell(const Node *node, int column, int role) const override
    {
        return m_columns.at(column).cell(static_cast<const Held *>(node)->record, role);
    }
    QVariant sortKey(const Node *node, int column) const override
    {
        return m_columns.at(column).sortKey(static_cast<const Held *>(node)->record);
    }
    bool assign(Node *node, Node *from) override
    {
        R &mine = static_cast<Held *>(node)->record;
        R &other = static_cast<Held *>(from)->record;
        if (m_same && m_same(mine, other))
            return mine = std::move(other), false;
        return mine = std::move(other), true;
    }

    Node *node(const R &row) const
    {
        auto *one = new Held;
        one->record = row;
        one->key = m_key(row);
        return one;
    }

private:
    std::function<QString(const R &)> m_key;
    QVector<Column<R>> m_columns;
    Same m_same;
};
