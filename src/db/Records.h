#pragma once
// Rows of the stores, as values: copied freely through signals and queued calls.
#include <QList>
#include <QMetaType>
#include <QString>

struct db_resolve {
    qlonglong rkey = 0; // 0: nothing was found
    QString ordernum;
    int missionid = 0;
    QString project;
    int projectId = 0;
    QString lpath;
    qlonglong rtime = 0; // ms since the epoch
    int state = 0;
    int error = 0;
    QString errstr;
    QString rset;  // JSON object, compact
    QString rdata; // JSON object
    QString rfile; // JSON fragment: "files":[...]
    qlonglong pri = 0;
    int fok = 0, fsum = 0;
    int filetype = 0;
    qlonglong fsize = 0, fup = 0; // bytes
    // Of a scene on the drive, which a farm analyses.
    qlonglong etime = 0; // ms since the epoch
    int farmid = 0;
    int cloudstate = 0; // 0 not posted yet, -1 perhaps posted: to be resumed, 1 posted
    QString rootpath;   // of the project, on the drive
};
Q_DECLARE_METATYPE(db_resolve)
Q_DECLARE_METATYPE(QList<db_resolve>)

// Which page of the scenes is wanted: the one of this number, or the one that holds a row.
struct ScenePage {
    int page = 0, size = 30;
    QString search;
    QString sort; // "order", "name", "project", "time", "progress", "state"; empty: as they came
    bool down = false;
    qlonglong holding = 0;
};
Q_DECLARE_METATYPE(ScenePage)

struct db_upfile {
    int id = 0;
    QString ordernum;
    int missid = 0;
    int farmid = 0;
    QString lpath;
    QString hash;
    qlonglong modtime = 0; // ms since the epoch
    qlonglong size = 0;
    qlonglong pri = 0;
    int state = 0; // TransSet::FileState
    int error = 0;
    // Working fields, not stored.
    QString idText;     // id beyond an int
    QString remotePath; // of the drive
    qlonglong compressedSize = 0;
    double ratio = 1.0; // size to compressedSize
    qlonglong speed = 0;
    bool isLink = false;  // lpath is a shortcut
    qlonglong oktime = 0; // of the drive's history
    // Fetched from the drive: whether its place on this disk is decided. Mine: nothing stood there then, what does now
    // came from here. Theirs: a file of the same size did.
    enum Placed { NotPlaced = 0, Mine = 1, Theirs = 2 };
    int placed = NotPlaced;
};
Q_DECLARE_METATYPE(db_upfile)
Q_DECLARE_METATYPE(QList<db_upfile>)

struct db_downfile {
    qlonglong id = 0;
    QString ordernum;
    int missid = 0;
    int farmid = 0;
    QString lpath;
    QString hash;
    qlonglong size = 0;
    qlonglong pri = 0;
    int state = 0;
    int error = 0;
    // Working fields, not stored.
    QString path; // remote
    QString downloadPath;
    qlonglong missPri = 0; // pri of the mission
};
Q_DECLARE_METATYPE(db_downfile)
Q_DECLARE_METATYPE(QList<db_downfile>)

struct db_downmiss {
    QString ordernum;
    int missid = 0;
    QString missname;
    QString lpath; // target folder
    int ok = 0, sum = 0;
    qlonglong pri = 0; // 0: nothing was found
    int state = 0;
    QString vip, com; // of miss_vip
};
Q_DECLARE_METATYPE(db_downmiss)
Q_DECLARE_METATYPE(QList<db_downmiss>)
