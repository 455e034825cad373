#pragma once
// A table's head whose first section is the tick of all rows (the model's Qt::CheckStateRole of that section); a click
// on another section sorts by it, a third one gives back the order of the rows. Main thread.
#include <QHeaderView>

class QSortFilterProxyModel;

class TickHeader : public QHeaderView
{
    Q_OBJECT
public:
    TickHeader(QSortFilterProxyModel *sorted, QWidget *parent);
    // All that a list of this program has in common: rows of 36 px, no grid, selection of whole rows, this head.
    static void dress(class QTableView *table, QSortFilterProxyModel *sorted);

signals:
    void tickAll(bool on);

protected:
    void paintSection(QPainter *painter, const QRect &rect, int section) const override;

private:
    void sectionHit(int section);
    QSortFilterProxyModel *m_sorted;
};
