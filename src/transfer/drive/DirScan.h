#pragma once
// The thread of one walk: 0 the local folders that are sent, 1 the folders of drives that are fetched. Keeps one
// DirWork for as long as it runs. Owned by whoever begins the session; the destructor ends the thread and waits.
#include "transfer/drive/DirWork.h"
#include <atomic>
#include <QThread>

class DirScan : public QThread
{
    Q_OBJECT
public:
    enum Type { Local = 0, Remote = 1 };
    explicit DirScan(int type, const DirWork::Timing &timing = {}, QObject *parent = nullptr);
    ~DirScan() override;

protected:
    void run() override;

private:
    const int m_type;
    const DirWork::Timing m_timing;
    std::atomic_bool m_stop{false};
};
