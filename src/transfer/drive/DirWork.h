#pragma once
// Walks the folders of drive batches while their files are already on their way, on a DirScan thread: takes a folder
// row of the store, lists it, and gives it back as its folders and files in one transaction, a big one in pieces
// (UploadDDAO::walked). What is walked isn't held in memory, so a kill costs the folder in hand and memory stays flat.
//
//   local folder:  read -> rows; an empty one is made on the drive; one that can't be read gives none, is told of, and
//                  is read again when the batch is resumed
//   remote folder: asked for (the limit doubles up to 60 s while it fails) -> made on this disk -> rows
//                  ten failures: kept as failed and told, the rest goes on; resuming the batch walks it again
//
// Links to folders are followed where they stay within what was chosen; those that lead out only where the batch says
// so. A link or a listing that closes a ring ends there. Pipes, sockets and devices are left out and told. Several
// remote folders are asked for at a time.
#include "db/DriveRecords.h"
#include "db/UploadDDAO.h"
#include "transfer/drive/DriveNames.h"
#include <atomic>
#include <memory>
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
        int lookMs = 250;                             // where there is nothing to walk
    };
    static constexpr int MostTries = 10;
    static constexpr int MostDepth = 200;  // folders within each other
    static constexpr int MostLinks = 3;    // on the way to a folder: trees of links that lead to each other end
    static constexpr int PieceRows = 5000; // of a folder, at a time
    static constexpr int AsksInHand = 4;   // remote folders
    static constexpr int ToldTries = 2;    // failures of a folder before the batch tells of it

    DirWork(int type, const std::atomic_bool &stop);
    void startScan();
    void setTiming(const Timing &timing) { m_timing = timing; }
    int limitOf(int tries) const; // ms, for an answer after so many failures
    int restOf(int tries) const;  // ms, before it's asked for again

public slots:
    void dirOut();     // local
    void getFileOut(); // remote

private:
    struct Trouble {
        qlonglong farmPri = 0;
        int tries = 0;
        qint64 until = 0;
    };
    // What is known of the drive below a batch's folder, to make empty folders once.
    struct Made {
        QHash<QString, QString> ids; // path -> id
        bool asking = false;
    };
    // A folder on its way into the store.
    struct Coming {
        explicit Coming(const LocalNames &names) : local(names) {}
        QList<db_upfile> files;
        QList<db_updirD> dirs;
        const DriveExclude exclude = DriveExclude::ofSettings();
        LocalNames local;   // of a remote folder: names that are taken here
        NameSet remote;     // names that are taken there
        bool any = false;   // something travels
        bool begun = false; // a piece is in the store
        QString bad;        // why it can't go on
        bool noRoom = false;
    };
    using ComingPtr = std::shared_ptr<Coming>;
    struct Notes {
        int count = 0;
        QString last;
        bool told = true;
    };
    bool mayWalk() const;
    void again(int ms);
    UploadDDAO *store() const;
    void walkLocal(const db_upfarmD &farm, const db_updirD &dir);
    bool followed(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &link);
    bool travels(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &entry);
    void takeLocal(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &entry, Coming *coming);
    QString remoteName(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &entry, Coming *coming);
    bool piece(const db_upfarmD &farm, const db_updirD &dir, Coming *coming); // false: the store didn't take it
    bool whole(const db_upfarmD &farm, const db_updirD &dir, Coming *coming);
    void makeRemote(const db_upfarmD &farm, const db_updirD &dir);
    void remoteMade(const db_upfarmD &farm, const db_updirD &dir);
    void ask(const db_upfarmD &farm, const db_updirD &dir);
    bool reach(const db_upfarmD &farm, const db_updirD &dir, bool empty, Coming *coming);
    void pauseFull(const db_upfarmD &farm, const db_updirD &dir);
    bool takeRemote(const db_upfarmD &farm, const db_updirD &dir, const SubFile &entry, Coming *coming);
    void listed(const db_upfarmD &farm, const db_updirD &dir, Coming *coming, const QString &why, int unusable);
    void failed(const db_upfarmD &farm, const db_updirD &dir, const QString &why);
    void settled(qlonglong dirPri); // it's walked, or given up
    void resumed(qlonglong farmPri);
    void tell(qlonglong farmPri, const QString &text);
    void writeNotes(qlonglong farmPri);

    const int m_type;
    const std::atomic_bool &m_stop;
    Timing m_timing;
    QElapsedTimer m_clock;
    QHash<qlonglong, Trouble> m_troubles; // by the folder's pri
    QSet<qlonglong> m_inHand;             // pri of folders that are asked for, or being made
    QHash<qlonglong, Made> m_made;        // by the batch's pri
    QHash<qlonglong, Notes> m_notes;      // by the batch's pri
    QSet<qlonglong> m_held;               // batches whose folders' trouble was told
    QSet<qlonglong> m_unsaved;            // batches that the store took no folder of, and that were told of it
    bool m_walking = false;               // for the log
    bool m_waiting = false;               // the next look of getFileOut is due
};
