#pragma once
// The page "解析提交" of the drive: the scenes that their farm analyses, how they stand, and what can be done with
// them. It shows what the store signals and sends everything to CloudQueue by queued calls. Main thread; a part of
// MainDriver.
#include "common/ui/kit/TablePage.h"
#include "view/SceneActs.h"
#include <QWidget>

class Debounce;

class ResolveD : public QWidget
{
    Q_OBJECT
public:
    explicit ResolveD(QWidget *parent = nullptr);
    ResolveRows::Model *model() const { return m_model; }
    TablePage *table() const { return m_table; }

public slots:
    void resolveStateHand(int idx, QModelIndex index);
    void resolveHand(int btn, QModelIndex index);
    void allFile(QList<db_resolve> list);
    void stateChanged(qlonglong rkey, int state);
    void rtimeChanged(qlonglong rkey, qlonglong rtime, qlonglong etime);
    void paraAct();
    void delAct();
    void reresAct();
    void resState(int type, qlonglong rkey, bool del); // 0 goes on to the order, 1 analysed anew, 2 removed
    void resState(int type, qlonglong rkey) { resState(type, rkey, false); }
    void delRes(qlonglong rkey);
    void paraRes(qlonglong rkey);
    void paraSet(db_resolve res); // what the store found of a row
    void refresh();

private:
    void addActs();
    void listen();
    void fill(); // as the search wants it
    void openState(const QString &key);
    void commit(const QList<qlonglong> &keys);
    static TablePage::Look look();
    ResolveRows::Model *makeModel();

    ResolveRows::Model *m_model;
    TablePage *m_table;
    Debounce *m_reload;
    SceneActs m_acts;
    QList<db_resolve> m_rows;
    qlonglong m_submitting = 0; // whose parameters are asked for to submit them
};
