#pragma once
// The store of result downloads: qnfileDown.db, one row of miss2 per mission and one table down_<pri> per mission with
// a row a file; success deletes the row and notes the file in fetched (what was finished, for a push that comes again)
// and untold (what the server hasn't confirmed to have heard of). Old files with the single tables miss and down are
// carried over at opening.
// Singleton, any thread. Table names are built from integers only.
#include "db/Records.h"
#include "db/Store.h"

class DownloadDAO : public Store
{
    Q_OBJECT
public:
    static DownloadDAO *instance();
    bool open(const QString &userDir); // migration; files in state 1 become 0
    void releaseDown();

    QList<db_downfile> readPage(qlonglong missPri, int page); // 30 rows; emits allFile
    QList<db_downfile> files(qlonglong missPri);              // all of a mission; tells no page
    void readMissions(int page);                              // 30 rows; emits miss
    QList<db_downmiss> missions(const QList<int> &states);    // in order of work
    db_downmiss mission(qlonglong missPri);
    db_downmiss missionByOrder(const QString &order); // the first one of the order
    QList<db_downmiss> missionsOfOrder(const QString &order);
    void setVip(int missionId, const QString &vip, const QString &com);
    // Writes the mission and its files in one transaction (pri of a file = mission pri * 10000 + index; files beyond
    // 10,000 go on counting and stay unique within the mission). Rows of the same version of a file that wait or run
    // already are kept; those of another version are written over.
    // sum is written as ok and the count of rows of the mission afterwards.
    bool addMission(const db_downmiss &miss, const QList<db_downfile> &files);
    qlonglong newMissionPri(); // unique
    // Waits and isn't among `except`; pri 0: none.
    db_downfile nextWaiting(qlonglong missPri, const QList<qlonglong> &except = {});
    bool setState(qlonglong missPri, qlonglong pri, int state, int error);
    bool setHashSize(qlonglong missPri, qlonglong pri, const QString &hash, qlonglong size);
    bool setPath(qlonglong missPri, qlonglong pri, const QString &lpath);
    bool remove(qlonglong missPri, qlonglong pri);
    // Removes the row, ok + 1, notes it in fetched and untold, in one transaction; emits downProgress.
    bool fileDone(qlonglong missPri, qlonglong pri);
    bool passBy(qlonglong missPri, qlonglong pri); // removes the row, sum - 1: it can't be fetched
    // How the file of this id was finished last; id 0: it wasn't within the last FetchedDays.
    db_downfile fetched(qlonglong id);
    QList<qlonglong> untold();
    bool told(qlonglong id);
    // Whether both rows speak of one version of a file; what a row doesn't tell (no size, no hash) doesn't differ.
    static bool sameVersion(const db_downfile &a, const db_downfile &b);
    static constexpr int FetchedDays = 90;
    bool setMissionState(qlonglong missPri, int state);
    int count(qlonglong missPri);          // -1 on failure
    int countFailed(qlonglong missPri);    // 3 and 31
    int countOpen(qlonglong missPri);      // 0 and 1
    bool removeMission(qlonglong missPri); // row and table
    bool restart(qlonglong missPri);       // 0 on all rows
    bool pause(qlonglong missPri);         // 2 on every row
    bool moveFirst(qlonglong missPri);     // ahead of all others, in memory
    void tellState(qlonglong pri, int state, int error) { emit fileStateChanged(pri, state, error); }
    void tellSpeed(qlonglong pri, qlonglong got, qlonglong size, qlonglong speed)
    {
        emit fileSpeedChanged(pri, got, size, speed);
    }
    void tellRefresh() { emit refreshAll(); }

signals:
    void allFile(QList<db_downfile> list, bool clear);
    void downProgress(qlonglong missPri, qlonglong ok, qlonglong sum);
    void miss(QList<db_downmiss> list, int pageSum);
    void missionStateChanged(qlonglong missPri, int state);
    void missionDeleted(qlonglong missPri);
    void fileEnded(qlonglong pri); // the file is on disk, its row has left the mission
    void fileStateChanged(qlonglong pri, int state, int error);
    void fileSpeedChanged(qlonglong pri, qlonglong got, qlonglong size, qlonglong speed);
    void refreshAll();

private:
    DownloadDAO();
    bool migrate();
    bool migrateFiles();
    bool copyRows(const QString &from, const QString &to, const QString &where, const QVariantList &values);
    QStringList fileTables();
    bool makeTable(qlonglong missPri);
    bool hasTable(qlonglong missPri);
    QList<db_downmiss> missionList(const QString &where, const QVariantList &values);
    int countFiles(qlonglong missPri, const QString &where, const QVariantList &values);

    QList<qlonglong> m_first; // missions moved ahead, the first one first
    qlonglong m_lastMission = 0;
};
