#pragma once
// The thread of one transfer queue: 0 order uploads, 1 result downloads, 2 and 3 those of
// drives, 4 their history. run() makes the handler, tells the window that
// store and handler stand (connectDAOView), starts the scan and runs the event loop; the handler dies with it. Owned by
// whoever begins the session; the destructor ends the thread and waits. Other parts reach the handler through its Seam.
#include <QThread>

class TransHandler;

class TransScan : public QThread
{
    Q_OBJECT
public:
    enum Type { Up = 0, Down = 1, DriveUp = 2, DriveDown = 3, DriveOk = 4 };
    explicit TransScan(int type, QObject *parent = nullptr);
    ~TransScan() override;

protected:
    void run() override;

private:
    static TransHandler *make(int type); // null for a type that has no queue
    int m_type;
};
