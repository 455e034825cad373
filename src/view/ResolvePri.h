#pragma once
// "优先级调度": the rows that wait for analysis (type 0) or upload (type 1), to be put into another order by drag,
// buttons or keys. The order is kept by the store in memory. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/RecordModel.h"
#include "db/Records.h"

class TablePage;

class ResolvePri : public DialogFrame
{
    Q_OBJECT
public:
    ResolvePri(int type, QWidget *parent);
    int type() const { return m_type; }
    TablePage *table() const { return m_table; }

signals:
    void saved();

private:
    void addActs();
    void fill(const QList<db_resolve> &list);
    void stateChanged(const db_resolve &res);
    void removeKey(qlonglong rkey);
    bool waits(const db_resolve &res) const; // in the queue that this is about
    void move(const QStringList &keys, int by);
    void moveBefore(const QStringList &keys, const QString &before); // as a drag tells
    void save();
    void ask();

    int m_type;
    RecordModel<db_resolve> *m_model;
    TablePage *m_table;
};
