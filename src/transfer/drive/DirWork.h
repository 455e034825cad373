#pragma once
// Walks the folders of drive batches while their files are already on their way, on a DirScan thread: takes a folder
// row of the store, lists it, and gives it back as its folders and files in one transaction (UploadDDAO::walked). What
// is walked isn't held in memory, so a kill costs the folder in hand and memory stays flat.
//
//   local folder:  read -> rows; one that can't be read gives none and is told; an empty one is made on the drive
//   remote folder: asked for (the limit doubles up to 60 s while it fails) -> made on this disk -> rows
//                  ten failures: kept as failed and told, the rest goes on; resuming the batch walks it again
//
// Links to folders are followed once where they stay within what was chosen; those that lead out only where the batch
// says so. A link or a listing that closes a ring ends there. Several remote folders are asked for at a time.
#include "db/DriveRecords.h"
#include "db/UploadDDAO.h"
#include "transfer/drive/DriveNames.h"
#include "transfer/drive/DriveRest.h"
#include <atomic>
#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>

class QFileInfo;

class DirWork : public QObject
{
    Q_OBJECT
public:
    struct Timing {
        int firstLimitMs = 5000, lastLimitMs = 60000; // for an answer
        int firstRestMs = 500, lastRestMs = 60000;    // after a failure
    };
    static constexpr int MostTries = 10;
    static constexpr int MostDepth = 200;  // folders within each other
    static constexpr int PieceRows = 5000; // of a local folder, at a time
    static constexpr int AsksInHand = 4;   // remote folders
    static constexpr int LookMs = 250;     // where there is nothing to walk

    DirWork(int type, const std::atomic_bool &stop);
    void startScan();
    void setTiming(const Timing &timing) { m_timing = timing; }

public slots:
    void dirOut();     // local
    void getFileOut(); // remote

private:
    struct Trouble {
        int tries = 0;
        qint64 until = 0;
    };
    // What is known of the drive below a batch's folder, to make empty folders once.
    struct Made {
        QHash<QString, QString> ids; // path -> id
        bool asking = false;
    };
    bool mayWalk() const;
    void again(int ms);
    UploadDDAO *store() const;
    void walkLocal(const db_upfarmD &farm, const db_updirD &dir);
    bool followed(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &link);
    bool goesOn(const db_upfarmD &farm, const db_updirD &dir, bool last, QList<db_upfile> *files,
                QList<db_updirD> *dirs);
    void makeRemote(const db_upfarmD &farm, const db_updirD &dir);
    void remoteMade(const db_upfarmD &farm, const db_updirD &dir);
    void ask(const db_upfarmD &farm, const db_updirD &dir);
    void listed(const db_upfarmD &farm, const db_updirD &dir, const DriveRest::Reply &reply);
    void failed(const db_upfarmD &farm, const db_updirD &dir, const QString &why);
    void tell(qlonglong farmPri, const QString &text);

    const int m_type;
    const std::atomic_bool &m_stop;
    Timing m_timing;
    QElapsedTimer m_clock;
    QHash<qlonglong, Trouble> m_troubles; // by the folder's pri
    QSet<qlonglong> m_inHand;             // pri of folders that are asked for, or being made
    QHash<qlonglong, Made> m_made;        // by the batch's pri
    bool m_walking = false;               // for the log
    bool m_waiting = false;               // the next look of getFileOut is due
};
