#pragma once
// The thread of ResolveHandler: makes it, reports the machine to the server, runs its event loop. Owned by the session;
// the destructor ends the loop and waits. The handler lives and dies within run().
#include "db/Records.h"
#include <QThread>

class ResolveScan : public QThread
{
    Q_OBJECT
public:
    using QThread::QThread;
    ~ResolveScan() override;

signals:
    void seeWarn(db_resolve res); // of the handler

protected:
    void run() override;
};
