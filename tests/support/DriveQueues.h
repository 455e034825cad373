#pragma once
// The drive's queues and walks on their own threads over stores in a folder, as a session starts them.
#include "common/Seam.h"
#include "common/Session.h"
#include "db/UploadDDAO.h"
#include "support/TestMain.h"
#include "transfer/drive/DirScan.h"
#include "transfer/drive/DriveHandler.h"
#include "transfer/TransScan.h"
#include <memory>
#include <vector>

class DriveQueues
{
public:
    // Short waits: what is tested is what follows them.
    DirWork::Timing walking{20000, 60000, 20, 500, 20};
    DriveHandler::Timing sending{50, 20, 60000, 50, 100};

    ~DriveQueues() { stop(); }
    bool start(const QString &folder)
    {
        for (int which : {UploadDDAO::Up, UploadDDAO::Down, UploadDDAO::Ok})
            if (!UploadDDAO::instance(which)->open(folder))
                return false;
        m_started = true;
        Session::setLive(true);
        for (int type : {TransScan::DriveOk, TransScan::DriveUp, TransScan::DriveDown})
            m_queues.emplace_back(new TransScan(type));
        for (int type : {DirScan::Local, DirScan::Remote})
            m_walks.emplace_back(new DirScan(type, walking));
        for (auto &one : m_queues)
            one->start();
        for (auto &one : m_walks)
            one->start();
        const auto attached = [] { return Seam<UpDCalls>::attached() && Seam<DownDCalls>::attached() && Seam<TransokDCalls>::attached(); };
        const auto hurry = [timing = sending](DriveCalls &queue) { dynamic_cast<DriveHandler &>(queue).setTiming(timing); };
        return comes(attached) && Seam<UpDCalls>::post(hurry) && Seam<DownDCalls>::post(hurry);
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
