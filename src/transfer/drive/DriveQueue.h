#pragma once
// The drive's transfers as windows and the local API see them: words in, signals of the three stores out. A batch is
// one selection that goes to one place; it is walked while it is transferred, survives a kill at any moment and ends
// in the history. All functions are static, return at once and may be called from any thread; they are dropped while
// no session lives.
//
//   UploadDDAO::instance(UploadDDAO::Up)     being sent        allFarm, allFile    pages that were asked for
//   UploadDDAO::instance(UploadDDAO::Down)   being fetched     farmCount, farmSumCount    sums of a batch, of the store
//   UploadDDAO::instance(UploadDDAO::Ok)     over              farmStateChanged, fileStateChanged, ...Speed..., note
//
// A batch of fetching whose first file meets another one on the disk stops before it and asks once:
// UploadDDAO::conflict(farmPri, path); setConflict answers for the whole batch, the rest goes on meanwhile.
#include "db/DriveRecords.h"
#include "db/UploadDDAO.h"
#include <QStringList>

class DriveQueue
{
public:
    // A folder on a drive. path: the names from its disk on, with "/" between ("D/project/scenes").
    struct Place {
        int farmId = 0;
        int fileType = 1;
        QString id = QLatin1String(SubFile::Root);
        QString path;
        QString diskName;
    };
    // Files and folders of this machine into a folder of the drive. links: links that lead out of the chosen folders
    // are followed too (others always are, once).
    // Both give the handle of the batch; 0 where there is nothing to do or no session.
    static qlonglong put(const Place &target, const QStringList &localPaths, bool links = false);
    // Entries of one folder (or of a search) into a local folder.
    static qlonglong fetch(const Place &source, const QList<SubFile> &entries, const QString &localFolder,
                           int conflict = db_upfarmD::NotAsked);
    // Single files and folders from and to places of their own (lpath and dpath of each), over what stands there.
    static qlonglong transfer(const Place &place, const QList<SubFile> &entries, bool toDrive);
    static void setConflict(qlonglong farmPri, int conflict);

    // which: UploadDDAO::Up or Down (remove: Ok too, it only forgets). What has been transferred stays where it is.
    static void pause(int which, qlonglong farmPri);
    static void resume(int which, qlonglong farmPri); // also what has failed
    static void remove(int which, qlonglong farmPri);
    static void pauseFile(int which, qlonglong farmPri, qlonglong filePri);
    static void resumeFile(int which, qlonglong farmPri, qlonglong filePri);
    static void removeFile(int which, qlonglong farmPri, qlonglong filePri);

    // Answered by UploadDDAO::allFarm of that store; with allFile: 30 rows from row page * 30 on (Ok: the last 1000).
    static void readFarms(int which);
    static void readFiles(int which, qlonglong farmPri, int page);
    static void readFilesNear(int which, qlonglong farmPri, qlonglong filePri, bool before); // Up or Down: beside it

    static void setUpLimit(int kib); // KiB/s of all uploads to drives together, 0: none; kept in the settings
};
