#pragma once
// The queue of order uploads, on the TransScan thread of type 0: walks the orders that wait for their upload or are in
// it, starts a worker per waiting file (at most five a tick, Transfer/upTh at a time), and ends an order when none of
// its files is left. Windows and other handlers reach it through Seam<UpCalls>.
//
// What can't go on now (a farm without an address, a file in a server stage, one that failed) is passed by with a time
// at which it is looked at again; it never stands before the rest.
//
// Orders of farms with an object store go there through a program of its own (oss beside the client), which lives as
// long as the queue; while it's down they stand aside.
//
// A row: 10 waiting -> 11 shown while a worker holds it (never written, so a crash leaves it waiting) -> removed when
// the server has the file; or 13 with its error -> 10 again, after three hard failures 30.
// An order: UploadWaiting -> Uploading -> told to the server (10704) and removed; or UploadFailed when every row that
// is left has failed; or back to Committed, to be asked anew, when its rows were lost with their file.
#include "db/Calls.h"
#include "io/ChildProcess.h"
#include "transfer/TransHandler.h"
#include <QElapsedTimer>

class UpHandler : public TransHandler, public UpCalls
{
    Q_OBJECT
public:
    UpHandler();
    ~UpHandler() override;

    void scan() override;

    void pauseUp(QString order, int missid, int isDel = 0, bool clear = false) override;
    void delUp(QString order, int mid) override;
    void reUp(QString order) override;
    void readFile(QString order, int page) override;

    static constexpr int NewPerTick = 5;
    static constexpr qint64 BigFile = 1073741824; // gives way to others when a proxy serves the uploads
    static constexpr int IdleMs = 1000;           // without a mark the store is asked once in this time
    static constexpr int KeepPaceMs = 10000;      // the measured speed is written once in this time
    struct Timing {
        int passingMs = 1000;   // before a file that failed is tried again; doubled by each hard failure
        int askAgainMs = 12000; // 10704: two seconds for an answer, ten until it is asked again
        int giveWayMs = 10000;  // a big file stands back
        int stageMs = 3000;     // before a file in a server stage is asked for again
        int silenceMs = 30000;  // of the companion of object stores, until its file is tried again
        int restartMs = ChildProcess::RestartMs; // of that companion
    };
    void setTiming(const Timing &timing);

public slots:
    void workFinished(db_upfile file, int kind);
    void updateFile(int type, db_upfile file);

protected:
    TransWork *makeWork(bool retry, int backError) override;
    TransWork *makeStoreWork(const QJsonObject &description) override;
    void reportSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size) override;
    void speedsReported() override; // 10416

private:
    enum class Walk { Next, Stop };
    struct Sum {
        qint64 speed = 0, bytes = 0;
        double felt = 0;
    };

    bool quiet();
    Walk walkOrder(const db_resolve &order, int want, QList<db_upfile> *chosen);
    bool takeUp(const db_resolve &order); // false: it isn't this queue's any more
    bool storeReady(const db_resolve &order);
    bool aside(const QString &order);
    void putAside(const QString &order, int ms);
    bool lostRows(const db_resolve &order);
    Walk judge(const db_resolve &order);
    void askEnd(const db_resolve &order);
    void endOrder(qlonglong rkey, const QString &order);
    static void noteDone(const db_resolve &record);
    void giveWay(const QList<db_upfile> &chosen);
    void start(const db_upfile &file);
    void takeOrder(const QString &order);
    QList<qlonglong> runningOf(const QString &order) const;
    QList<qlonglong> delayedOf(const QString &order);
    void delay(const db_upfile &file, int ms);
    void keepPace();
    void refreshChanged();
    void refreshTotals(const QString &order);
    static QString keyOf(const db_upfile &file);

    QMap<QString, db_upfile> m_running;                 // by key
    QHash<QString, QHash<qlonglong, qint64>> m_delayed; // order -> pri -> until, on m_clock
    QHash<QString, QElapsedTimer> m_ending;             // order -> since it was last asked
    QHash<QString, qint64> m_aside;                     // orders that can't go on -> until, on m_clock
    QMap<int, Sum> m_sums;                              // task -> what its workers reported this second
    QElapsedTimer m_clock;
    QElapsedTimer m_lastLook, m_lastTotals;
    QSet<QString> m_changedTotals; // orders
    ChildProcess m_oss;            // speaks to object stores
    QSet<QString> m_storeOrders;   // whose files go there
    bool m_toldNoOss = false;
    double m_pace = 0; // KiB/s
    QElapsedTimer m_paceKept;
    Timing m_timing;
    bool m_nothing = false; // the last look found no order
};
