#include "resolve/ResolveScan.h"
#include "common/Session.h"
#include "common/VFunc.h"
#include "io/NetTcp.h"
#include "resolve/ResolveHandler.h"
#include <QScopedPointer>

ResolveScan::~ResolveScan()
{
    quit();
    wait();
}

void ResolveScan::run()
{
    ResolveHandler handler;
    connect(&handler, &ResolveHandler::seeWarn, this, &ResolveScan::seeWarn);
    handler.startScan();
    // The hardware's answers take seconds on some machines; the scans don't wait for them.
    QScopedPointer<QThread> report(QThread::create([] {
        const QJsonObject machine = VFunc::machineReport();
        if (!Session::closing())
            NetTcp::instance()->nvds(103, 10310, machine);
    }));
    report->start();
    exec();
    report->wait();
}
