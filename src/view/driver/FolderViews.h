#pragma once
// The two looks of a folder: a table, and a field of small pictures; both over one FolderModel and one selection. They
// show, select, and let a name be edited in place; what is done with the entries is the page's. Typing a name jumps to
// it. Main thread.
#include "common/ui/Delegates.h"
#include <QAbstractItemView>
#include <QElapsedTimer>
#include <QTableView>
#include <QTimer>

class FolderModel;
class ThumbStore;

// Property of a view: number of the row that would take what is dragged over it, -1: none.
constexpr const char *DropRow = "dropRow";

// The typed beginning of a name, as long as keys follow each other, and the search for it: a long list is looked
// through in steps, so that a row may be told later.
class TypedName : public QObject
{
    Q_OBJECT
public:
    static constexpr int Step = 20000; // rows
    TypedName(const FolderModel *model, QObject *parent);
    void type(const QString &key, int current, qint64 now); // now: ms of any clock

signals:
    void found(int row);

private:
    void look();
    static constexpr int PauseMs = 1000;
    const FolderModel *m_model;
    QTimer m_steps;
    QString m_typed, m_sought;
    qint64 m_last = 0;
    int m_at = 0, m_left = 0;
    bool m_again = false; // the first letter alone is looked for where the word isn't found
};

// A name's cell with its editor, "itemEdit_<id>": the part before the ending is selected, a bad name is marked and told
// in the tool tip while it's typed.
class NameItem : public TextItem
{
    Q_OBJECT
public:
    explicit NameItem(QObject *parent) : TextItem(parent, Qt::ElideMiddle) {}
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setSuggested(const QString &text) { m_suggested = text; } // in the next editor, in place of the name

protected:
    bool eventFilter(QObject *editor, QEvent *event) override;

private:
    mutable QString m_suggested;

signals:
    void left(QString id); // by Escape: the name stays
};

class FolderTable : public QTableView
{
    Q_OBJECT
public:
    FolderTable(FolderModel *model, QWidget *parent);
    NameItem *names() const { return m_names; }
    void keyboardSearch(const QString &key) override;

signals:
    void dragged(); // selected rows are pulled away

protected:
    void resizeEvent(QResizeEvent *event) override;
    void startDrag(Qt::DropActions) override { emit dragged(); }

private:
    FolderModel *m_model;
    NameItem *m_names;
    TypedName *m_typed;
    QElapsedTimer m_clock;
    QPersistentModelIndex m_top; // the row at the top, while rows come and go
    int m_above = 0;
};

// Places are worked out, none is stored: a million entries cost nothing.
class FolderGrid : public QAbstractItemView
{
    Q_OBJECT
public:
    static constexpr int Width = 136, Height = 132, Side = 96; // of a cell, of its picture
    FolderGrid(FolderModel *model, ThumbStore *thumbs, QWidget *parent);
    NameItem *names() const { return m_names; }
    QPair<int, int> seenRows() const;
    QRect visualRect(const QModelIndex &index) const override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint &point) const override;
    void keyboardSearch(const QString &key) override;

signals:
    void dragged();

protected:
    void startDrag(Qt::DropActions) override { emit dragged(); }
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override { return 0; }
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex &) const override { return false; }
    void setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags flags) override;
    QRegion visualRegionForSelection(const QItemSelection &selection) const override;
    void updateGeometries() override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void rowsInserted(const QModelIndex &parent, int start, int end) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end) override;
    QStyleOptionViewItem viewOptions() const override;

private:
    int across() const;
    QRect cell(int row) const; // in the viewport
    FolderModel *m_model;
    ThumbStore *m_thumbs;
    NameItem *m_names;
    TypedName *m_typed;
    QElapsedTimer m_clock;
    QPersistentModelIndex m_top;
    int m_above = 0;
};
