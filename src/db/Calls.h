#pragma once
// What the session's handlers offer to each other and to windows, each through its Seam. All run on the handler's own
// thread; a call to a handler that isn't there is dropped.
#include "common/Seam.h"
#include "db/Records.h"
#include <QJsonObject>
#include <QString>

// ResolveHandler.
class ResolveCalls
{
public:
    virtual ~ResolveCalls() = default;
    virtual void addFile(QList<db_resolve> list) = 0;
    virtual void reAddFile(qlonglong srcKey) = 0;
    virtual void readFile(int page, int pageSize, QString search) = 0;
    virtual void showPage(ScenePage wanted) { readFile(wanted.page, wanted.size, wanted.search); } // sorted too
    virtual void delResolve(qlonglong rkey) = 0;
    virtual void delResolveByTask(int missionId) = 0; // the server no longer takes the order's files (1070006)
    virtual void paraSet(qlonglong rkey) = 0;
    // type: 0 pause analysis, 1 resume analysis, 2 pause upload, 3 resume upload. order wins over rkey when not empty.
    virtual void changeResolveState(qlonglong rkey, int type, QString order) = 0;
    virtual void saveDataSet(db_resolve res) = 0;
    virtual void paraSaved(qlonglong rkey) { Q_UNUSED(rkey) } // by another program: a row that was held may go now
    virtual void commitResolve(qlonglong rkey, bool batch, QString order) = 0;
    virtual void seeError(int type, qlonglong rkey) = 0;
    virtual void reswait(int type) = 0;
    // A file of the order is on the farm: counts one file and its bytes.
    virtual void fileOk(QString order, qlonglong size) = 0;
    // How many other rows a commit with batch would take along: ResolveDAO::batchCounted answers. A commit without
    // batch lets them stay.
    virtual void askBatch(QList<qlonglong> keys) { Q_UNUSED(keys) }
    // Of what is over: DoneDAO::page and DoneDAO::changed answer.
    virtual void readDone(int kind, QString search, int page, int pageSize)
    {
        Q_UNUSED(kind)
        Q_UNUSED(search)
        Q_UNUSED(page)
        Q_UNUSED(pageSize)
    }
    virtual void removeDone(QList<qlonglong> ids) { Q_UNUSED(ids) }
};

// UpHandler.
class UpCalls
{
public:
    virtual ~UpCalls() = default;
    virtual void pauseUp(QString order, int missid, int isDel, bool clear) = 0;
    virtual void delUp(QString order, int mid) = 0;
    virtual void reUp(QString order) = 0;
    virtual void readFile(QString order, int page) = 0; // the store answers with UploadDAO::allFile
};

// DownHandler.
class DownCalls
{
public:
    virtual ~DownCalls() = default;
    virtual void missionResult(int mid, bool autoRes, bool isBatch) = 0;
    // Of chosen sub-tasks (10806; their ids joined by ","). cover: as coverResult's, -1: ask where some are here.
    virtual void subResult(int mid, QString subs, int cover)
    {
        Q_UNUSED(mid)
        Q_UNUSED(subs)
        Q_UNUSED(cover)
    }
    virtual void coverResult(int mid, int cover) = 0;              // 0 all, 1 only what isn't there, 2 cancelled
    virtual void resultPush(QJsonObject obj) = 0;                  // push 10413
    virtual void rootConfirmed(QString root) { Q_UNUSED(root) }    // results may go there, the user says
    virtual void readFile(int page) = 0;                           // the store answers with DownloadDAO::miss
    virtual void readMissionFile(qlonglong missPri, int page) = 0; // ... with DownloadDAO::allFile
    virtual void reDown(qlonglong missPri) = 0;
    virtual void pauseDown(qlonglong missPri) = 0;
    virtual void delDown(qlonglong missPri) = 0;
    virtual void priDown(qlonglong missPri) = 0;
};
