#pragma once
// The queue of result downloads. It turns result lists and pushes into missions of DownloadDAO, starts one worker per
// file up to Transfer/downTh (one a tick), and settles how each ended. Lives on its TransScan thread; others reach it
// through Seam<DownCalls>. The row in the store is the truth: a restart goes on where the rows stand.
//
//   file:    0 waits -> 1 runs -> row gone | 0 again (passing failure, or one of three retries) | 31 given up
//   mission: 0 waits -> 1 runs -> gone with its last row | 3 failed (three files given up, or all) | 2 paused
//   push:    pending -> list asked for (10805) where it lacks something -> rows in the store -> 10413 confirms it. Rows
//            that wait, run or were finished in the same version are confirmed and not fetched again.
//   ended:   row gone, file noted as untold -> 10802 until it's answered, over losses of the link and restarts
#include "db/Calls.h"
#include "transfer/down/MissionBuilder.h"
#include "transfer/down/PartialFile.h"
#include "transfer/down/ResultAsks.h"
#include "transfer/TransHandler.h"
#include <functional>
#include <QTimer>

class DownHandler : public TransHandler, public DownCalls
{
    Q_OBJECT
public:
    using Clock = std::function<qint64()>; // ms of any clock that only goes forward
    explicit DownHandler(Clock clock = {});
    ~DownHandler() override;

    void missionResult(int mid, bool autoRes, bool isBatch) override; // isBatch: several at once, so no dialog for each
    void subResult(int mid, QString subs, int cover) override;
    void coverResult(int mid, int cover) override;
    void resultPush(QJsonObject obj) override;
    void rootConfirmed(QString root) override;
    void readFile(int page) override;
    void readMissionFile(qlonglong missPri, int page) override;
    void reDown(qlonglong missPri) override;
    void pauseDown(qlonglong missPri) override;
    void delDown(qlonglong missPri) override;
    void priDown(qlonglong missPri) override;

    static constexpr int FailedLimit = 3;
    static constexpr int PassingMs = 1000; // before a file that failed is tried again; doubled by each failure
    static constexpr int RetellMs = 30000; // 10802 without an answer
    static constexpr int MostTellings = 5; // of one file in a session, when the server refuses
    static constexpr int PushMs = 1000, PushesInHand = 5;
    static constexpr qint64 LeastFree = PartialFile::Spare; // bytes; with less nothing is queued
    static constexpr qint64 BlockedMs = 60000; // until a push that found no folder or no room is tried again

public slots:
    void scan() override;
    void workFinished(db_downfile file, int isDel);
    void handPush();
    void missionDown(int mid, QJsonObject obj); // the reply of 10805

signals:
    void downWorkOver(); // a mission is complete

private:
    struct Run {
        qlonglong missPri = 0;
        QString target;
    };
    struct Rest {
        int failures = 0;
        qint64 until = 0;
    };
    struct Push {
        QJsonObject obj;
        qint64 from = 0;
    };
    struct Telling {
        qint64 next = 0;
        int tries = 0;
    };
    struct UserAsk { // showUser's, until its folder is confirmed
        int mid;
        QJsonObject obj;
        bool asked, ask;
    };

    TransWork *makeWork(bool retry, int backError) override;
    static QString keyOf(const db_downfile &file);
    void start(db_downfile file);
    enum class Chosen { Started, Nothing, Failed };
    Chosen startNext(const db_downmiss &miss);
    QList<qlonglong> delayedOf(qlonglong missPri);
    bool mayStart(const db_downmiss &miss, const db_downfile &file); // its place is known and can be written to
    void keepEnded(const db_downfile &file);
    void tellFetched();
    void answeredTelling(qlonglong fileId, int val);
    bool settleEmpty(const db_downmiss &miss); // no row waits: false when the mission was stopped
    bool stopFailed(const db_downmiss &miss, int rows);
    void freeOrphans(qlonglong missPri); // rows that run without a worker wait again
    bool runs(qlonglong missPri) const;
    bool targetTaken(const QString &target) const;
    void rest(qlonglong missPri, bool progress); // a passing failure, or the end of them
    void dropWorkers(qlonglong missPri, int kind);

    void askLists();
    void listAnswered(int mid, int val, const QJsonObject &obj);
    static QString refusal(int mid, int val);
    void subAnswered(int mid, const QJsonObject &obj, int cover);
    void showUser(int mid, QJsonObject obj, bool asked, bool ask);
    void tellRefused(int mid, const QStringList &names);
    void handOne(const QJsonObject &push);
    // Writes the missions of obj (with mid) and confirms them. False: nothing was queued (no folder, no room, store).
    bool build(const QJsonObject &obj, int cover, bool quiet);
    QString rootFor(const QJsonObject &obj, bool quiet, QString *unknown = nullptr);
    void askRoot(const QJsonObject &obj, const QString &root);
    void dropOutdated(qlonglong missPri, const QList<db_downfile> &files);
    bool hasRoom(const QString &root, bool quiet);
    bool write(const QJsonObject &obj, const QString &root, MissionPlan plan, bool quiet);
    qint64 now() const { return m_clock(); }
    void wake(); // the pending timer, when there is something to do

    Clock m_clock;
    QHash<QString, Run> m_runs;     // by worker key
    QHash<qlonglong, Rest> m_rests; // missions whose server fails again and again, by pri
    ResultAsks m_asks;
    QHash<int, QJsonObject> m_waiting; // answers that wait for the user's choice, by task
    QList<Push> m_pushes;
    QTimer m_pushTimer;
    bool m_inHand = false;                                // handPush waits in a nested loop
    QHash<qlonglong, QHash<qlonglong, qint64>> m_delayed; // mission -> file -> until, after a hard failure
    QHash<QString, QList<UserAsk>> m_rootWaits;           // by the folder that isn't known
    QList<db_downfile> m_ended;                           // stand on disk and couldn't be noted yet
    QHash<qlonglong, Telling> m_untold;                   // files fetched that the server hasn't heard of yet
    bool m_untoldRead = false, m_linkWasOff = false;
    QSet<QString> m_told; // what the user was told already: folders, tasks with refused rows
};
