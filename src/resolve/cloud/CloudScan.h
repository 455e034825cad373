#pragma once
// The thread of CloudQueue: opens its store, runs its event loop, closes the store. Owned by the session; the
// destructor ends the loop and waits.
#include <QThread>

class CloudScan : public QThread
{
    Q_OBJECT
public:
    using QThread::QThread;
    ~CloudScan() override;

protected:
    void run() override;
};
