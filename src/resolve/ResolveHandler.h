#pragma once
// The queue of scenes: once a second it applies for order numbers, starts analyses up to the allowed number, commits
// what may go by itself, sends what is committed, and on a subordinate seat asks the master. Made and destroyed on the
// thread of ResolveScan, which owns it; everyone else posts to it through Seam<ResolveCalls>. The rows are the truth:
// an analyser is disposable, and one whose row was paused or deleted is never listened to again. A write that the store
// couldn't take is done again at the next scan, and what was left behind (an analysis that nobody runs) is found by it.
#include "common/facts/PageSize.h"
#include "db/Calls.h"
#include "resolve/DiskWork.h"
#include "resolve/OrderGiveUp.h"
#include "resolve/OrderRequest.h"
#include "resolve/SceneReports.h"
#include "resolve/SlaveSeat.h"
#include "resolve/Submission.h"
#include <functional>
#include <QElapsedTimer>
#include <QMap>
#include <QObject>

class BaseResolve;

class ResolveHandler : public QObject, public ResolveCalls
{
    Q_OBJECT
public:
    explicit ResolveHandler(QObject *parent = nullptr);
    ~ResolveHandler() override; // ends the running analyses; their rows wait again after the next login

    struct Times { // ms
        int scan = 1000, gate = 3000, askAgain = 10000, reply = 60000;
    };
    void setTimes(const Times &times);
    int running() const { return m_running.size(); }

    Q_INVOKABLE void startScan(); // the first scan after one period
    Q_INVOKABLE void addFile(QList<db_resolve> list) override;
    Q_INVOKABLE void reAddFile(qlonglong srcKey) override;
    Q_INVOKABLE void readFile(int page, int pageSize, QString search) override;
    void showPage(ScenePage wanted) override;
    Q_INVOKABLE void readFile(int page) { readFile(page, PageSize::Scenes, {}); }
    Q_INVOKABLE void delResolve(qlonglong rkey) override;
    Q_INVOKABLE void delResolveByTask(int missionId) override;
    Q_INVOKABLE void paraSet(qlonglong rkey) override;
    Q_INVOKABLE void changeResolveState(qlonglong rkey, int type, QString order) override;
    Q_INVOKABLE void changeResolveState(qlonglong rkey, int type) { changeResolveState(rkey, type, {}); }
    Q_INVOKABLE void saveDataSet(db_resolve res) override;
    void paraSaved(qlonglong rkey) override { m_held.remove(rkey); }
    Q_INVOKABLE void commitResolve(qlonglong rkey, bool batch, QString order) override;
    Q_INVOKABLE void commitResolve(qlonglong rkey, bool batch) { commitResolve(rkey, batch, {}); }
    Q_INVOKABLE void commitResolve(qlonglong rkey) { commitResolve(rkey, false, {}); }
    Q_INVOKABLE void seeError(int type, qlonglong rkey) override;
    Q_INVOKABLE void reswait(int type) override;
    Q_INVOKABLE void fileOk(QString order, qlonglong size) override;
    Q_INVOKABLE void fileOk(qlonglong rkey, qlonglong size);
    Q_INVOKABLE void askBatch(QList<qlonglong> keys) override;
    Q_INVOKABLE void readDone(int kind, QString search, int page, int pageSize) override;
    Q_INVOKABLE void removeDone(QList<qlonglong> ids) override;

signals:
    void seeWarn(db_resolve res); // the warnings of a row are to be shown

private slots:
    void scan();
    void resolveFinished(const db_resolve &res);
    void resolveTimeOut(qlonglong rkey);

private:
    struct Run {
        BaseResolve *work = nullptr;
        quint64 number = 0; // tells a late signal of an earlier analysis of the same row
    };
    void startAnalysis();
    void lookedAt(qlonglong rkey, int softwareType, bool regular, const QString &log);
    void run(const db_resolve &row, BaseResolve *work, int softwareType);
    bool takeOldLog(const db_resolve &row, int softwareType, const QString &log);
    void removeAnalyser(qlonglong rkey);
    void automatic();
    int commit(db_resolve res, bool byUser); // 1: committed, 0: it may not be, -1: not written
    int replaceRow(qlonglong srcKey);
    void removeRow(const db_resolve &row, bool giveUp);
    // A write on behalf of a row, 1, 0 or -1 as the store's: at -1 it's done again at the next scan.
    void insist(qlonglong rkey, std::function<int()> write);
    void insistAgain();
    void findLeftBehind();
    static void tell(const QString &text);

    QMap<qlonglong, Run> m_running;
    QList<qlonglong> m_looking; // rows whose scene is being looked at: its disk may not answer
    QList<qlonglong> m_ending;  // rows whose last analyser still ends its child: the next one has the same log
    quint64 m_runs = 0;
    SceneReports m_reports;
    OrderRequest m_order;
    OrderGiveUp m_giveUps;
    Submission m_submission;
    SlaveSeat m_seat;
    Times m_times;
    QList<qlonglong> m_unknown;         // rows whose software has no analyser: passed over
    QMap<qlonglong, qlonglong> m_held;  // rows that can't go by themselves: rkey to rtime
    QList<QList<db_resolve>> m_unsaved; // drops that the store couldn't take yet
    QList<QPair<qlonglong, std::function<int()>>> m_unwritten;
    QElapsedTimer m_forgot; // since old rows were last looked for
    bool m_started = false;
    DiskWork m_disk{this}; // the last: ends first
};
