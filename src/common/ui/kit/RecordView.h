#pragma once
// The list on screen: rows of 36 px of a RecordModel with a head that ticks all, sorts (up, down, as it was) and lets
// columns be moved, widened and chosen. Widths, order, choice and sorting are kept in the account's settings under the
// view's name. Where the view is narrow, columns shrink and then go in the order that ColumnInfo::gives tells; none is
// ever cut off at the side. Rows that are on the screen are told to the model, which may have further ones to fetch.
// Keys: arrows, Space ticks the selected rows, Enter activates, the menu key opens the
// context menu; the current row has a frame. Main thread.
#include <functional>
#include <QHeaderView>
#include <QPersistentModelIndex>
#include <QTreeView>

class ActSet;
class EmptyView;
class QTimer;
class RecordModelBase;

class RecordHeader : public QHeaderView
{
    Q_OBJECT
public:
    RecordHeader(RecordModelBase *model, QWidget *parent);

protected:
    void paintSection(QPainter *painter, const QRect &rect, int section) const override;

private:
    void hit(int section);
    RecordModelBase *m_records;
};

class RecordView : public QTreeView
{
    Q_OBJECT
public:
    RecordView(const QString &name, RecordModelBase *model, QWidget *parent = nullptr);
    RecordModelBase *records() const { return m_records; }

    QStringList selected() const; // keys of the selected upper rows and of selected rows below them, as they stand
    void select(const QStringList &keys); // these and no others, the first brought into sight
    QString current() const;
    void setCurrent(const QString &key);
    // What the keyboard and the bar mean: the ticked rows where the selection lies within them, else the selection.
    QStringList targets() const;
    void showRowActs(ActSet *acts);
    void keepPlace();                   // what is looked at stays where it is while rows come and go above it
    QMenu *columnMenu(QWidget *parent); // which columns are shown, and by which the rows are sorted
    void setColumnShown(const QString &id, bool shown);
    bool columnVisible(const QString &id) const; // now: chosen, and not given way

signals:
    void linkClicked(QString key, QString column);
    void opened(QString key); // Enter, or a double click outside links and buttons
    void selectionMoved();

public slots:
    void tickSelected();
    void doItemsLayout() override;

protected:
    void drawRow(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void focusInEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end) override;
    void scrollContentsBy(int dx, int dy) override;
    void selectionChanged(const QItemSelection &on, const QItemSelection &off) override;

private:
    void dress();
    void fit();
    void restore();
    void save();
    QString keyAt(const QModelIndex &index) const;
    void eachSeen(const std::function<void(const QModelIndex &index, int top)> &row) const;
    void rememberPlace();

    QString m_name;
    RecordModelBase *m_records;
    ActSet *m_acts = nullptr;
    QVector<int> m_widths;                               // as wished; fit() lays them out
    QVector<bool> m_shown;                               // as chosen
    QVector<QPair<QPersistentModelIndex, int>> m_places; // rows on the screen and their tops before a change
    QTimer *m_save;
    bool m_fitting = false, m_keepsPlace = false;
};
