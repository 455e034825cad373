#pragma once
// A store of the drive's transfers; three of them, alike but for their content: Up (qnfileUploadD.db, being sent), Down
// (qnfileDownD.db, being fetched), Ok (qnfileOkD.db, over). A row of `farm` per batch, one of farm_sum with the totals
// of the store, and per batch the tables dir_<pri> (folders that are still to be walked) and file_<pri> (files that
// aren't over; in Ok: all of them). Table names are built from integers only. Any thread.
//
// Rows and the sums that tell of them change in one transaction: fsum and fsize are always what is over plus what
// stands in file_<pri>; a batch, its tables and its first rows come and go in one, too. Running rows read as waiting in
// the file, so a kill leaves nothing to clean up; what runs is overlaid where pages are read. Rows of a folder too big
// for one transaction come in hidden, with the folder's own handle as negative state, and are shown by its last one;
// those that a kill left go at opening, and the folder is walked again. Opening also mends what can't have come from
// here (states that aren't known, numbers that are missing or stand twice, sums unlike the rows), and says so.
//
// What takes long with a million rows goes in pieces, so that nobody waits for the mutex: a batch that is removed is
// gone at once, its tables are emptied by tend(); so are the numbers made that find a page by its position.
#include "db/DriveRecords.h"
#include "db/Store.h"
#include <QHash>
#include <QSet>

class UploadDDAO : public Store
{
    Q_OBJECT
public:
    enum Which { Up = 1, Down = 2, Ok = 3 };
    enum DirState { DirDue = 0, DirWalking = 1, DirWalked = 2 };
    static constexpr int PageRows = 30, DoneRows = 1000, HistoryFarms = 1000;
    static constexpr qlonglong HistoryRows = 5000000; // and what a page shows of the batches that come on top
    static constexpr int PieceRows = 2000;            // of what is done by tend() and resumeSome() at a time
    static constexpr int DirFailed = 13;              // state of a folder that was given up
    static constexpr int DirUnread = 14; // of one that counts as walked, and is looked at again when it's resumed
    enum Note { OfNow, OfWalk };         // what holds it up; what the walk left out or changed, for good

    static UploadDDAO *instance(int which);
    bool open(const QString &userDir);
    void release();

    // Batches.
    static qlonglong newFarmPri(int which); // of a new batch, unlike those of the other store and of the history
    // The batch with its first folders and files; false: nothing was written.
    // Emits farmAdded either way, when it's on the medium.
    bool addFarm(const db_upfarmD &farm, const QList<db_updirD> &dirs, const QList<db_upfile> &files);
    bool putFarm(const db_upfarmD &farm);                // the row and its tables (history)
    db_upfarmD farm(qlonglong farmPri);                  // pri 0: there is none
    QList<db_upfarmD> farms();                           // in the order of work; Ok: the latest first
    QList<db_upfarmD> active(int limit);                 // waiting or running, with file work or without
    db_upfarmD nextWalk(const QList<qlonglong> &except); // pri 0: nothing is to be walked
    bool setFarmState(qlonglong farmPri, int state);
    bool setConflict(qlonglong farmPri, int conflict);
    bool setNote(qlonglong farmPri, const QString &text, Note kind = OfNow); // emits note, with both kinds
    bool removeFarm(qlonglong farmPri);                                      // its tables are for tend(); sums follow
    bool keepFarms(int most);                                                // history: the oldest go
    // History: of batches with more rows than a page shows the newest keep them all while they fit, the others keep
    // what a page shows (DoneRows); the batch's own row and its sums stay. Emits refreshAll where rows went.
    bool keepRows(qlonglong most);
    QSet<qlonglong> tableFarms(); // that have tables, whether a row or not
    int cancelled() const;        // state of a batch that is being deleted
    void sums(qlonglong *fok, qlonglong *fsum);

    // Folders.
    QList<db_updirD> nextDirs(qlonglong farmPri, int limit);
    // One walked folder, in one transaction: it goes, what was found comes in, sums follow. last false: a piece of a
    // folder that goes on (rows stay hidden, the folder stays). With no folder left the batch is walked (dirstate 2),
    // and its sums are taken from the rows.
    bool walked(qlonglong farmPri, const db_updirD &dir, const QList<db_updirD> &dirs, const QList<db_upfile> &files,
                bool last = true);
    bool unwalk(qlonglong farmPri, const db_updirD &dir); // the pieces of a folder that can't go on, go
    // Given up: kept, not walked again unless resumed.
    bool dirFailed(qlonglong farmPri, const db_updirD &dir, int state = DirFailed);

    // Files.
    QList<db_upfile> nextFiles(qlonglong farmPri, qlonglong behindPri, int limit); // waiting, in the order of pri
    db_upfile file(qlonglong farmPri, qlonglong filePri);                          // pri 0: there is none
    bool setState(qlonglong farmPri, qlonglong filePri, int state, int error);
    bool setMeasure(qlonglong farmPri, const db_upfile &file); // hash, size, modtime; the batch's bytes follow
    // Of downloads: where they go on this disk (lpath, placed) is decided.
    bool place(qlonglong farmPri, const QList<db_upfile> &files);
    bool isPlaced(qlonglong farmPri, const QString &lpath);
    QList<db_upfile> placedFiles(qlonglong farmPri, const QString &behindPath, int limit); // by their places
    // The rows go and are counted as over, in one transaction; rows that are gone already count nothing. Emits
    // fileDeleted, farmCount, farmSumCount.
    bool finish(qlonglong farmPri, const QList<db_upfile> &files);
    bool addDone(qlonglong farmPri, const QList<db_upfile> &files); // history
    bool removeFile(qlonglong farmPri, qlonglong filePri);          // fsum and fsize follow
    bool removeDone(qlonglong farmPri, const QString &lpath);       // history
    qlonglong countFiles(qlonglong farmPri);                        // -1 on failure
    qlonglong countError(qlonglong farmPri, int error);             // of one store that it has
    qlonglong countFailed(qlonglong farmPri);
    qlonglong countDirs(qlonglong farmPri, bool failed);
    // What is paused or failed waits again, failed folders too; some of it: 1, all of it: 0, -1 on failure.
    int resumeSome(qlonglong farmPri);
    bool resumeAll(qlonglong farmPri);

    QList<db_upfile> readPage(qlonglong farmPri, int page); // emits allFile
    // The rows behind a row, or before it, at most a page of them; where the head is among them it's the first page.
    // Emits allFile.
    void readNear(qlonglong farmPri, qlonglong filePri, bool before);
    void readFarms(); // emits allFarm and farmSumCount
    bool tend();      // a few ms of what was put off; false: nothing is left

    // What runs, in memory only.
    void show(qlonglong filePri, int state, int error); // emits fileStateChanged
    void unshow(qlonglong filePri);
    void tellSpeed(const db_upfile &file); // speed: bytes a second, compressedSize: bytes over
    void tellFarmSpeed(qlonglong farmPri, qlonglong speed, qlonglong upped) { emit farmSpeed(farmPri, speed, upped); }
    void tellConflict(qlonglong farmPri, const QString &path) { emit conflict(farmPri, path); }
    void tellRefresh() { emit refreshAll(); }

signals:
    void refreshAll();
    void allFarm(QList<db_upfarmD> farmL);
    void farmAdded(qlonglong farmPri, bool written);
    void farmStateChanged(qlonglong farmPri, int state);
    void farmCount(qlonglong farmPri, db_upfarmD farm); // fok, fsum, fup, fsize, dirstate, failed
    void farmSumCount(qlonglong fok, qlonglong fsum);
    void farmDeleted(qlonglong farmPri);
    void allFile(qlonglong farmPri, QList<db_upfile> fileL, bool clear);
    void fileDeleted(qlonglong filepri);
    void fileStateChanged(qlonglong filepri, int state, int error);
    void fileSpeedChanged(qlonglong filepri, db_upfile file); // file.speed, file.compressedSize: bytes that are over
    void farmSpeed(qlonglong farmPri, qlonglong speed, qlonglong upped);
    void conflict(qlonglong farmPri, QString path); // to be asked once; DriveQueue::setConflict answers
    void note(qlonglong farmPri, QString text);     // something to tell the user of this batch

private:
    // How many rows each stretch of Block numbers holds, per batch: a page by its position is then found without
    // walking over all rows before it.
    static constexpr qlonglong Block = 4096;
    struct Blocks {
        QMap<qlonglong, int> rows;
        qlonglong known = 0; // stretches before this one are counted
        bool all = false;
    };
    UploadDDAO(int which, const QString &connection, const QString &fileName);
    QString keyColumn() const;
    bool makeStore();
    void mendFarms();
    void mendRows(const db_upfarmD &farm);
    void numberRows(const QString &table);
    bool makeTables(qlonglong farmPri);
    bool writeRow(const db_upfarmD &farm);
    bool writeFarm(const db_upfarmD &farm, const QList<db_updirD> &dirs, const QList<db_upfile> &files);
    bool insertFiles(qlonglong farmPri, const QList<db_upfile> &files, qlonglong state, qlonglong *rows,
                     qlonglong *bytes);
    bool insertDirs(qlonglong farmPri, const QList<db_updirD> &dirs, qlonglong state);
    bool addSums(qlonglong farmPri, qlonglong rows, qlonglong bytes);
    bool retotal();
    db_upfarmD farmFrom(const Row &row);
    db_upfile fileFrom(const Row &row);
    db_upfile shownFrom(const Row &row); // as it is now
    struct Stands {
        qlonglong size = -1; // -1: there is no such row
        bool failed = false;
    };
    Stands stands(qlonglong farmPri, qlonglong filePri);
    void countFailed(qlonglong farmPri, int change);
    void tellCount(qlonglong farmPri);
    bool countBlocks(qlonglong farmPri, int most); // false: all of them are
    bool sweep();                                  // a piece of what removed batches left
    bool leaveTable(const QString &table);
    bool trim(qlonglong farmPri); // history
    QStringList goneTables();
    void count(qlonglong farmPri, qlonglong filePri, int change);
    int waiting() const;
    QVariantList failedStates() const;
    bool hasTables(qlonglong farmPri);
    bool endWalk(qlonglong farmPri);
    bool totalRows(qlonglong farmPri);

    const int m_which;
    const QString m_fileName;
    qlonglong m_lastPri = 0;
    QHash<qlonglong, QPair<int, int>> m_shown; // running rows: state, error
    QHash<qlonglong, Blocks> m_blocks;
    QHash<qlonglong, qlonglong> m_failed; // of batches whose failed files were counted: how many
    QStringList m_gone;                   // tables to be emptied
};
