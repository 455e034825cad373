#pragma once
// "优先级调度": the rows that wait for analysis (type 0) or upload (type 1), to be put into another order. The order is
// kept by the store in memory. Main thread; deletes itself.
#include "common/ui/BaseWidget.h"
#include "db/Records.h"

class QTableWidget;

class ResolvePri : public BaseWidget
{
    Q_OBJECT
public:
    ResolvePri(int type, QWidget *parent);

signals:
    void saved();

private:
    void fill(const QList<db_resolve> &list);
    void stateChanged(const db_resolve &res);
    void removeKey(qlonglong rkey);
    int rowOf(qlonglong rkey) const;
    void moveRow(int to); // the selected one; -1 and +1 are asked for as positions
    void save();
    void ask();

    int m_type;
    QTableWidget *m_table;
};
