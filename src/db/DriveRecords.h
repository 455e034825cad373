#pragma once
// Records of the network drive, as values: an entry of a listing, a batch of transfers, a folder that is to be walked.
// A file row of a batch is a db_upfile: idText is its chain of ids on the drive ("12/15/20"), remotePath its path
// there.
#include "db/Records.h"

// A listing entry as the drive told it; DriveRest lets only such through whose id, kind, size and name can be used.
struct SubFile {
    enum Kind { File = 1, Folder = 2 };
    static constexpr const char *Root = "-1"; // id of the root

    QString id;
    QString name; // one piece: no "/", not "." or ".."; it still has to be made fit for this machine's disk
    QString parent;
    int type = File;
    qlonglong size = 0;
    qlonglong createdAt = 0, updatedAt = 0; // ms since the epoch, 0: not told
    QString diskName;
    int fileType = 1;                               // 1 input drive, 2 results
    QString resultId;                               // of a result
    QString ordernum;                               // of a result
    QString hash;                                   // lower-case MD5, empty: not told
    qlonglong containFile = -1, containFolder = -1; // of a folder asked for alone; -1: not told
    // Of what is to be transferred: its place here and on the drive, where it isn't in the batch's folder.
    QString lpath, dpath;
    bool isFolder() const { return type == Folder; }
};
Q_DECLARE_METATYPE(SubFile)
Q_DECLARE_METATYPE(QList<SubFile>)

// A row of `farm`.
struct db_upfarmD {
    // Of fetching, where a file stands already. NotAsked: the first one asks (DriveQueue::conflict).
    enum Conflict { NotAsked = 0, SkipSame = 1, Overwrite = 2, KeepBoth = 3 };

    int id = 0; // farm id
    QString name;
    int storage = 0;
    int filetype = 1;  // 1 project files, 2 results
    QString lpath;     // local folder
    QString dpath;     // folder on the drive, names with "/" between
    QString ids;       // and its id
    qlonglong pri = 0; // handle; 0: nothing was found
    qlonglong fok = 0, fsum = 0;
    qlonglong fup = 0, fsize = 0; // bytes
    int dirstate = 0;             // 0, 1 walking, 2 walked
    int state = 0;                // TransSet::FileState
    qlonglong oktime = 0;         // ms since the epoch
    int conflict = NotAsked;
    bool links = false;   // links to places outside of what was chosen are followed
    qlonglong failed = 0; // files and folders given up
    QString note;         // the last thing that the user should know of it
};
Q_DECLARE_METATYPE(db_upfarmD)
Q_DECLARE_METATYPE(QList<db_upfarmD>)

// A row of dir_<pri>.
struct db_updirD {
    QString ids; // chain of ids on the drive; empty for uploads
    QString lpath, dpath;
    qlonglong pri = 0;
    int state = 0;
};
Q_DECLARE_METATYPE(db_updirD)
Q_DECLARE_METATYPE(QList<db_updirD>)
