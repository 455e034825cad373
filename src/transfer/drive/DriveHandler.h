#pragma once
// What the two drive queues share: takes the files of the batches that wait or run, oldest batch first, up to the
// number of workers, and settles how each ended. Runs while the walk still brings files in. Lives on its TransScan
// thread. What is held of a batch is a handful of rows ahead, never the batch.
//
//   file:   waits -> worker (shown as running, not written) -> over: history row, then row and sums in one transaction
//           passing failure -> waits again; hard failure -> waits again, three times -> given up
//   batch:  waiting -> running -> walked and no rows left: history | all that is left failed, or the disk or the drive
//           is full: paused, with a note
//   either: deleted: cancelled, at once and for good -> its workers gone -> half files, rows of the history, its own
//   rows
//
// A batch whose server can't be reached rests for a while, longer each time; it never stands before the others. Files
// that ended are written in groups.
#include "db/UploadDDAO.h"
#include "transfer/drive/DriveCalls.h"
#include "transfer/TransHandler.h"
#include "transfer/TransSet.h"
#include <future>
#include <QElapsedTimer>
#include <QPointer>

class DriveHandler : public TransHandler, public virtual DriveCalls
{
    Q_OBJECT
public:
    explicit DriveHandler(int which);
    ~DriveHandler() override;

    void readFile() override;
    void readFile(qlonglong farmPri, int page) override;
    void readNear(qlonglong farmPri, qlonglong filePri, bool before) override;
    void reFarm(qlonglong farmPri) override;
    void pauseFarm(qlonglong farmPri) override;
    void delFarm(qlonglong farmPri) override;
    void reFile(qlonglong farmPri, qlonglong filePri) override;
    void pauseFile(qlonglong farmPri, qlonglong filePri) override;
    void delFile(qlonglong farmPri, qlonglong filePri) override;

    struct Timing {
        int passingMs = 1000;                    // before a file that failed is tried again; doubled by each
        int restMs = 250, longestRestMs = 60000; // of a batch whose server fails
        int groupMs = 500;                       // before what ended is written
        int staleGapMs = 2000;                   // within which all tell of one access token
    };
    void setTiming(const Timing &timing) { m_timing = timing; }
    static constexpr int Ahead = 200;       // rows of a batch that are read at a time
    static constexpr int FreeFailures = 3;  // passing failures in a row before a batch rests
    static constexpr int QuietFailures = 8; // before it's told why
    static constexpr int LookMs = 1000;     // where nothing is to be done
    static constexpr int MostUnwritten = 5000;
    static constexpr int QuotaFull = 1060004; // the drive's own code

public slots:
    void scan() override;

protected:
    struct Batch {
        QList<db_upfile> ready;
        qlonglong behind = 0;             // the last row that was read
        QSet<qlonglong> held;             // rows that run, wait for the group, or for an answer
        QHash<qlonglong, qint64> delayed; // row -> until
        int failures = 0;
        qint64 until = 0; // rests
        int stale = 0;    // renewals of the access in a row that didn't help
        qint64 lastStale = 0;
        bool asked = false;   // the user, what to do with files that exist
        bool unsaved = false; // what ended can't be written, and that was told
        bool told = false;    // what holds it up
        int unlaunched = 0;   // times in a row that no worker could be made
    };
    virtual int limit() const = 0; // of workers
    // Rows that were just read; those that aren't to be started go (and into held, if they are settled otherwise).
    virtual void prepare(const db_upfarmD &farm, Batch *batch, QList<db_upfile> *rows);
    virtual bool launch(const db_upfarmD &farm, const db_upfile &file, const QString &key) = 0; // false: not now
    virtual void dropped(const db_upfarmD &farm, const QList<db_upfile> &files); // what is left of them on this disk
    virtual bool settled(const QList<db_upfile> &files); // before they are counted as over: on the medium; any thread
    void reportSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size) override;
    void speedsReported() override;

    // A worker of that file ended; kind and error as in TransSet. stale: by an access token that isn't good.
    void ended(const db_upfarmD &farm, db_upfile file, int kind, bool progress, bool stale);
    void wait(qlonglong farmPri, const db_upfile &file, int ms);
    // After a failure that may be the whole drive's (why: for the user), or after progress.
    void rest(qlonglong farmPri, Batch *batch, bool progress, const QString &why);
    void over(qlonglong farmPri, const db_upfile &file); // without a worker, too
    void pauseWith(qlonglong farmPri, const QString &note);
    void look();     // soon
    void writeAll(); // by the destructors of the queues: what has ended is in the store
    UploadDDAO *store() const { return UploadDDAO::instance(m_which); }
    static QString keyOf(qlonglong farmPri, qlonglong filePri);
    bool exists(qlonglong farmPri) const { return store()->farm(farmPri).pri != 0; }
    qint64 now() const { return m_clock.elapsed(); }
    Batch &batch(qlonglong farmPri) { return m_batches[farmPri]; }
    bool down() const { return m_which == UploadDDAO::Down; }
    int waiting() const { return down() ? TransSet::DownWait : TransSet::UpWait; }
    int runs() const { return waiting() + 1; }
    int paused() const { return waiting() + 2; }
    int gaveUp() const { return down() ? TransSet::DownGaveUp : TransSet::UpGaveUp; }
    QSet<qlonglong> runningOf(qlonglong farmPri) const;
    QSet<qlonglong> unwritten(qlonglong farmPri) const; // ended, not in the store yet

    Timing m_timing;

private:
    struct Run {
        qlonglong farmPri = 0, filePri = 0;
    };
    using Groups = QHash<qlonglong, QList<db_upfile>>; // by their batches
    struct Written {
        bool onMedium = false;
        QSet<qlonglong> left; // batches whose rows a store didn't take
    };
    struct Leaving {
        qlonglong farmPri = 0, filePri = 0;      // 0: the whole batch
        QList<QPointer<TransWork>> workers = {}; // that ran when it was deleted
        qint64 until = 0;
    };
    db_upfile next(const db_upfarmD &farm, Batch *batch);
    void judge(const db_upfarmD &farm, Batch *batch);
    bool toHistory(const db_upfarmD &farm);
    void heldUp(qlonglong farmPri, Batch *batch, const QString &why);
    void passing(const db_upfarmD &farm, Batch *batch, const db_upfile &file, bool stale);
    void flush(bool wait);
    Written write(const Groups &groups); // on another thread
    bool written(bool wait);
    void again(qlonglong farmPri, const QList<db_upfile> &files);
    void leave();
    void tend();
    void resumed(qlonglong farmPri);
    bool forgetFarm(qlonglong farmPri);
    bool forgetFile(qlonglong farmPri, qlonglong filePri);
    void drop(const QString &key, int kind);
    void dropAll(qlonglong farmPri, int kind);

    const int m_which;
    QElapsedTimer m_clock, m_lastLook, m_lastFlush;
    QHash<qlonglong, Batch> m_batches;
    QHash<QString, Run> m_runs;
    Groups m_over;    // ended, not written yet
    Groups m_writing; // on their way to the medium and into the stores
    std::future<Written> m_written;
    int m_overCount = 0;
    QList<Leaving> m_leaving;                               // what is being deleted
    QHash<qlonglong, QPair<qlonglong, qlonglong>> m_speeds; // batch -> speed, bytes of running files
    QSet<qlonglong> m_resuming;                             // batches whose rows are on their way back to waiting
    bool m_nothing = false, m_soon = false, m_tends = false;
};
