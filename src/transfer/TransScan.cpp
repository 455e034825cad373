#include "transfer/TransScan.h"
#include "common/Seam.h"
#include "common/WindowCalls.h"
#include "transfer/down/DownHandler.h"
#include "transfer/drive/DownDHandler.h"
#include "transfer/drive/TransokDHandler.h"
#include "transfer/drive/UpDHandler.h"
#include "transfer/up/UpHandler.h"
#include <memory>
#include <QDebug>

TransScan::TransScan(int type, QObject *parent) : QThread(parent), m_type(type)
{
    setObjectName(QStringLiteral("TransScan%1").arg(type));
}

TransScan::~TransScan()
{
    quit();
    wait();
}

TransHandler *TransScan::make(int type)
{
    switch (type) {
    case Up:
        return new UpHandler;
    case Down: {
        auto *down = new DownHandler;
        connect(down, &DownHandler::downWorkOver, down,
                [] { Seam<WindowCalls>::post([](WindowCalls &window) { window.redPoint(); }); });
        return down;
    }
    case DriveUp:
        return new UpDHandler;
    case DriveDown:
        return new DownDHandler;
    case DriveOk:
        return new TransokDHandler;
    default:
        qWarning().noquote() << "TransScan::make no queue of type" << type;
        return nullptr;
    }
}

void TransScan::run()
{
    const std::unique_ptr<TransHandler> handler(make(m_type));
    if (!handler)
        return;
    Seam<WindowCalls>::post([type = m_type](WindowCalls &window) { window.connectDAOView(type); });
    handler->startScan();
    exec();
}
