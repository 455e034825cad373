#include "view/SessionTimer.h"
#include "common/Session.h"
#include "common/ui/Background.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "db/CloudCalls.h"
#include "db/DoneDAO.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "db/UploadDDAO.h"
#include "resolve/cloud/CloudScan.h"
#include "resolve/ResolveScan.h"
#include "transfer/drive/DirScan.h"
#include "transfer/drive/DriveCalls.h"
#include "transfer/TransScan.h"
#include <memory>
#include <QDebug>
#include <QObject>
#include <QSemaphore>

namespace
{
constexpr QThread::Priority Priority = QThread::InheritPriority;
TransScan *up = nullptr, *down = nullptr;
DirScan *localWalk = nullptr, *driveWalk = nullptr;
TransScan *driveOk = nullptr, *driveUp = nullptr, *driveDown = nullptr;
ResolveScan *analysis = nullptr;
CloudScan *cloud = nullptr;
bool on = false;
int generation = 0; // a start that was overtaken by a stop starts nothing

bool openStores(const QString &dir)
{
    const bool resolveOk = ResolveDAO::instance()->open(dir);
    DoneDAO::instance()->open(dir); // without it the session goes on
    const bool upOk = UploadDAO::instance()->open(dir);
    const bool downOk = DownloadDAO::instance()->open(dir);
    for (int which : {UploadDDAO::Up, UploadDDAO::Down, UploadDDAO::Ok}) {
        if (!UploadDDAO::instance(which)->open(dir)) // the session goes on without the drive's transfers
            qWarning().noquote() << "SessionTimer::openStores: no store of drive transfers" << which;
    }
    if (!resolveOk || !upOk || !downOk)
        qWarning().noquote() << "SessionTimer::openStores: a store can't be opened in" << dir << resolveOk << upOk
                             << downOk;
    return resolveOk && upOk && downOk;
}

constexpr int DrainMs = 3000;

// What windows have posted to the queues is done when it returns: a queue that ends drops what it hasn't begun.
void drain()
{
    const auto done = std::make_shared<QSemaphore>();
    int asked = Seam<ResolveCalls>::post([done](ResolveCalls &) { done->release(); }) ? 1 : 0;
    asked += Seam<CloudCalls>::post([done](CloudCalls &) { done->release(); }) ? 1 : 0;
    asked += Seam<DownCalls>::post([done](DownCalls &) { done->release(); }) ? 1 : 0;
    asked += Seam<UpDCalls>::post([done](UpDCalls &) { done->release(); }) ? 1 : 0;
    asked += Seam<DownDCalls>::post([done](DownDCalls &) { done->release(); }) ? 1 : 0;
    if (!done->tryAcquire(asked, DrainMs))
        qWarning().noquote() << "drain: a queue is busy, what was asked of it last may be lost";
}

template <class Thread> void begin(Thread *&thread, int type)
{
    thread = new Thread(type);
    thread->start(Priority);
}

// What was on its way to or from a drive goes on with the session, whether its page is opened or not.
void startDrive()
{
    begin(localWalk, DirScan::Local);
    begin(driveWalk, DirScan::Remote);
    begin(driveOk, TransScan::DriveOk);
    begin(driveUp, TransScan::DriveUp);
    begin(driveDown, TransScan::DriveDown);
}

template <class Thread> void end(Thread *&thread)
{
    delete thread; // its destructor ends the handler, quits and waits
    thread = nullptr;
}
} // namespace

void SessionTimer::start(QObject *guard, std::function<void()> ready)
{
    if (on)
        return;
    on = true;
    const int mine = ++generation;
    const QString dir = UserInfo::userDir();
    Background::run(
        guard, [dir] { return openStores(dir); },
        [mine, ready](bool) {
            if (!on || mine != generation)
                return;
            Session::setLive(true);
            up = new TransScan(TransScan::Up);
            up->start(Priority);
            down = new TransScan(TransScan::Down);
            down->start(Priority);
            analysis = new ResolveScan;
            analysis->start(Priority);
            cloud = new CloudScan;
            cloud->start(Priority);
            startDrive();
            ready();
        });
}

void SessionTimer::stop()
{
    if (!on)
        return;
    on = false;
    ++generation;
    drain();
    Session::setLive(false);
    end(up);
    end(down);
    end(analysis);
    end(cloud);
    end(localWalk);
    end(driveWalk);
    end(driveOk);
    end(driveUp);
    end(driveDown);
    Background::post([] {
        ResolveDAO::instance()->releaseResolve();
        DoneDAO::instance()->close();
        DownloadDAO::instance()->releaseDown();
        UploadDAO::instance()->releaseUp();
        for (int which : {UploadDDAO::Up, UploadDDAO::Down, UploadDDAO::Ok})
            UploadDDAO::instance(which)->release();
    });
}

bool SessionTimer::running() { return on; }
ResolveScan *SessionTimer::resolve() { return analysis; }
