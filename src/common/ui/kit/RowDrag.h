#pragma once
// Rows of a list moved with the mouse: a selected row takes all selected ones along, a line shows between which rows
// they would land. It only tells; the owner moves the rows. Main thread; lives as long as its view.
#include <QPoint>
#include <QStringList>
#include <QWidget>

class RecordView;

class RowDrag : public QObject
{
    Q_OBJECT
public:
    explicit RowDrag(RecordView *view);

signals:
    void dropped(QStringList keys, QString before); // before: an empty key means behind the last row

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int gapAt(int y) const; // number of the row that they would stand before
    void showGap(int row);
    void end();

    RecordView *m_view;
    QWidget *m_line;
    QStringList m_keys; // under the hand
    QPoint m_from;
    bool m_moving = false;
};
