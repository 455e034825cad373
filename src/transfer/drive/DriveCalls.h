#pragma once
// What the drive's three queues offer, each through its Seam (see DriveQueue, which speaks for windows). All run on the
// queue's own thread.
#include "db/DriveRecords.h"
#include <QStringList>

class DriveCalls
{
public:
    virtual ~DriveCalls() = default;
    virtual void cfarm(db_upfarmD farm, QList<SubFile> sfL) = 0;                  // a new batch, its pri given
    virtual void readFile() = 0;                                                  // the batches: UploadDDAO::allFarm
    virtual void readFile(qlonglong farmPri, int page) = 0;                       // files of one: UploadDDAO::allFile
    virtual void readNear(qlonglong farmPri, qlonglong filePri, bool before) = 0; // those beside it
    virtual void reFarm(qlonglong farmPri) = 0;
    virtual void pauseFarm(qlonglong farmPri) = 0;
    virtual void delFarm(qlonglong farmPri) = 0;
    virtual void reFile(qlonglong farmPri, qlonglong filePri) = 0;
    virtual void pauseFile(qlonglong farmPri, qlonglong filePri) = 0;
    virtual void delFile(qlonglong farmPri, qlonglong filePri) = 0;
    virtual void setConflict(qlonglong farmPri, int conflict)
    {
        Q_UNUSED(farmPri)
        Q_UNUSED(conflict)
    }
};

class UpDCalls : public virtual DriveCalls // UpDHandler
{
};

class DownDCalls : public virtual DriveCalls // DownDHandler
{
};

class TransokDCalls // TransokDHandler
{
public:
    virtual ~TransokDCalls() = default;
    virtual void readFarm() = 0;
    virtual void readFile(qlonglong farmPri, int page) = 0;
    virtual void delFarm(qlonglong farmPri) = 0;
};
