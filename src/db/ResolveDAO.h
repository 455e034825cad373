#pragma once
// The store of scenes: resolve.db in the account's folder, one row per scene file from its drop until its upload has
// finished. The row's state number is the whole life of a scene, and it's changed along an act only: compare and set,
// so that of two who act at once the second changes nothing. The store tells by signals what changed; what the server
// hears of it is the queue's business. Global, made on first use, any thread; signals are emitted after the change,
// the mutex no longer held by the time a queued listener runs.
#include "common/facts/SceneState.h"
#include "db/Records.h"
#include "db/Store.h"
#include <QHash>
#include <QPair>

class ResolveDAO : public Store
{
    Q_OBJECT
public:
    static constexpr qlonglong ToldMs = 600000;
    static ResolveDAO *instance();
    bool open(const QString &userDir); // schema, migration, recovery of what was under way
    void releaseResolve();             // closes; open() may follow with another account

    static QString projectColumn(int id, const QString &name); // "%1_%2"
    static void splitProject(const QString &column, int *id, QString *name);

    // Looks at rows leave out rdata and rfile, and of a long errstr the end: readPara brings them.
    db_resolve read(qlonglong rkey);
    db_resolve readByOrder(const QString &order);
    db_resolve readByMission(int missionId);
    db_resolve readWithPara(qlonglong rkey, const QString &order = {});        // order wins when not empty
    void showPara(qlonglong rkey);                                             // readWithPara, then emits paraSet
    bool readPara(db_resolve *res);                                            // rdata, rfile, the whole errstr
    bool readMessage(db_resolve *res);                                         // the whole errstr
    QList<db_resolve> readPage(const QString &search, int page, int pageSize); // emits allFile
    QList<db_resolve> readPage(const ScenePage &wanted);                       // emits pageFound, then allFile
    QList<db_resolve> readAll();
    // Inserts a batch and its row of batch. A key that is taken moves up to the next free one (the records are changed
    // accordingly), consecutive within the batch. False: nothing was inserted.
    bool insertBatch(QList<db_resolve> *list);
    db_resolve nextWithoutOrder(const QList<qlonglong> &without = {}); // passes over those keys
    QList<qlonglong> keysIn(SceneState::Set states);
    bool setOrder(qlonglong rkey, int missionId, const QString &order);
    db_resolve nextToAnalyse(bool slave, const QList<qlonglong> &without = {}); // passes over those keys
    // The single way to change state, error and rtime (now) together: along an act, from a state that it allows. to may
    // be left out where the act leads to one state. 1: changed, emits stateChanged and stepped; 0: the row is gone or
    // in another state (its own state again with the same error counts as changed, without a signal); -1: the write
    // failed, the row is as it was and the work must be found again.
    int step(qlonglong rkey, SceneState::Act act, int to = 0, int error = 0);
    int mark(qlonglong rkey, int error); // as step, the error alone: a word on a row whose state stays
    // As step; emits resolveDeleted and removed. giveUp: its order is noted as given up in the same transaction, until
    // forgetGivenUp.
    int remove(qlonglong rkey, bool giveUp = false);
    QList<int> givenUp(); // tasks whose orders the server must still hear of
    bool forgetGivenUp(int missionId);
    // The seat was told that its row is finished; ToldMs after the last time the row is no longer kept for it.
    void told(qlonglong rkey, qlonglong nowMs);
    // Rows that were kept for a seat's question and that it was told of, or that are older than a week; notes of given
    // up orders of that age.
    bool forgetOld(qlonglong nowMs);
    bool savePara(const db_resolve &res); // rdata, rfile, rset
    // The scene's list of files, and what rdata tells of it, while it isn't committed and nobody has changed them
    // since: 1 written, 0 not (any more) as before, -1 the write failed.
    int replaceFiles(const db_resolve &before, const db_resolve &after);
    bool saveMessage(qlonglong rkey, const QString &errstr);
    db_resolve nextToCommit(bool slave); // with rdata and rfile
    QList<db_resolve> finished();        // Clean and Warned
    QList<db_resolve> waitingApproval(); // ApprovalWaiting and Approved
    bool markBatch(qlonglong rkey);
    bool batchMarked(qlonglong rkey);
    bool anyBatchMarked();
    // Rows of the same batches as these that would go along if the batches were marked: in Warned, or not analysed yet.
    int countAlong(const QList<qlonglong> &keys);
    QList<db_resolve> nextUploads(int limit);                 // SceneState::ForUpload, the priority list first
    void setPriority(int type, const QList<qlonglong> &keys); // 0 analysis, 1 upload; in memory only
    bool setSum(qlonglong rkey, int fsum);
    bool fileDone(qlonglong rkey, qlonglong size); // fok + 1, emits upProgress, fup + size
    bool addSize(qlonglong rkey, qlonglong size);  // fsize + size
    bool setSizes(qlonglong rkey, qlonglong fsize, qlonglong fup);
    QPair<qlonglong, qlonglong> sizesOfMission(int missionId); // fsize, fup
    bool setCounts(qlonglong rkey, int fok, int fsum);         // emits upProgress
    QPair<int, int> underWay();                                // scenes in analysis, scenes on their way up
    void readWaiting(int type);                                // emits allReswait
    bool setFileType(qlonglong rkey, int filetype);            // only while it is 0

signals:
    void allFile(QList<db_resolve> list, int pageSum);
    void refreshAll();
    void pageFound(int page); // the row that was to be held is on this page
    void inserted(QList<qlonglong> keys);
    void orderChanged(db_resolve res);
    void stateChanged(db_resolve res);
    void stepped(db_resolve before, int state); // what stateChanged tells, with the row as it was
    void removed(db_resolve res);
    void resolveDeleted(qlonglong rkey);
    void paraSet(db_resolve res);
    void upProgress(qlonglong rkey, int ok, int sum);
    void allReswait(QList<db_resolve> list);
    void batchCounted(QList<qlonglong> keys, int others); // the answer to ResolveCalls::askBatch

private:
    ResolveDAO();
    QList<db_resolve> list(const QString &sql, const QVariantList &values);
    db_resolve one(const QString &sql, const QVariantList &values);
    qlonglong freeKeys(qlonglong from, int count);
    bool shortenMessages();
    void recover();
    bool saveText(qlonglong rkey, const QString &errstr);
    QList<qlonglong> m_priority[2];
    QHash<qlonglong, qlonglong> m_told; // when a seat was last told of its finished row
};
