#pragma once
// The drive's queues and walks on their own threads over stores in a folder, as a session starts them.
#include "common/Seam.h"
#include "common/Session.h"
#include "db/UploadDDAO.h"
#include "support/TestMain.h"
#include "transfer/drive/DirScan.h"
#include "transfer/drive/DriveCalls.h"
#include "transfer/TransScan.h"
#include <memory>
#include <vector>

class DriveQueues
{
public:
    ~DriveQueues() { stop(); }
    // remote false: whoever calls walks the drive's folders.
    bool start(const QString &folder, bool remote = true)
    {
        for (int which : {UploadDDAO::Up, UploadDDAO::Down, UploadDDAO::Ok})
            if (!UploadDDAO::instance(which)->open(folder))
                return false;
        m_started = true;
        Session::setLive(true);
        for (int type : {TransScan::DriveOk, TransScan::DriveUp, TransScan::DriveDown})
            m_queues.emplace_back(new TransScan(type));
        m_walks.emplace_back(new DirScan(DirScan::Local));
        if (remote)
            m_walks.emplace_back(new DirScan(DirScan::Remote));
        for (auto &one : m_queues)
            one->start();
        for (auto &one : m_walks)
            one->start();
        return comes([] { return Seam<UpDCalls>::attached() && Seam<DownDCalls>::attached() && Seam<TransokDCalls>::attached(); });
    }
    void stop()
    {
        if (!m_started)
            return;
        m_started = false;
        Session::setLive(false);
        m_walks.clear();
        m_queues.clear();
        for (int which : {UploadDDAO::Up, UploadDDAO::Down, UploadDDAO::Ok})
            UploadDDAO::instance(which)->release();
    }

private:
    bool m_started = false;
    std::vector<std::unique_ptr<TransScan>> m_queues;
    std::vector<std::unique_ptr<DirScan>> m_walks;
};
