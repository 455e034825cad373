#include "resolve/ResolveScan.h"
#include "common/facts/Command.h"
#include "common/VFunc.h"
#include "io/Ask.h"
#include "resolve/ResolveHandler.h"
#include <atomic>
#include <memory>
#include <QCoreApplication>
#include <QDebug>
#include <QSemaphore>

namespace
{
constexpr int ReportWaitMs = 2000;
}

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
    // The hardware's answers take seconds on some machines, and for ever on a sick one: neither the scans nor the end
    // of the session wait for them.
    struct Shared {
        std::atomic_bool over{false};
        QSemaphore done;
    };
    const auto shared = std::make_shared<Shared>();
    QThread *report = QThread::create([shared] {
        const QJsonObject machine = VFunc::machineReport();
        if (!shared->over)
            Ask(Command::MachineReport, machine).send();
        shared->done.release();
    });
    report->moveToThread(QCoreApplication::instance()->thread());
    connect(report, &QThread::finished, report, &QObject::deleteLater);
    report->start();
    exec();
    shared->over = true;
    if (!shared->done.tryAcquire(1, ReportWaitMs))
        qWarning().noquote() << "ResolveScan::run the machine report hasn't ended";
}
