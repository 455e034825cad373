#include "resolve/DiskWork.h"
#include <condition_variable>
#include <mutex>
#include <QDebug>
#include <system_error>
#include <thread>

struct DiskWork::Shared {
    std::mutex mutex;
    std::condition_variable ended;
    QObject *owner; // null once it is gone
    int running = 0;
    StopToken stop;
};

DiskWork::DiskWork(QObject *owner) : m_shared(std::make_shared<Shared>()) { m_shared->owner = owner; }

DiskWork::~DiskWork()
{
    m_shared->stop.stop();
    std::unique_lock<std::mutex> lock(m_shared->mutex);
    m_shared->owner = nullptr;
    const auto idle = [this] { return m_shared->running == 0; };
    if (!m_shared->ended.wait_for(lock, std::chrono::milliseconds(GraceMs), idle))
        qWarning() << "DiskWork::~DiskWork a file does not answer, its thread is left behind";
}

void DiskWork::start(std::function<Result(const StopToken &)> work)
{
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        ++m_shared->running;
    }
    const auto run = [shared = m_shared, work = std::move(work)] {
        const Result result = work(shared->stop);
        const std::lock_guard<std::mutex> lock(shared->mutex);
        if (shared->owner) // under the lock, so that it can't be destroyed between the question and the post
            QMetaObject::invokeMethod(shared->owner, result, Qt::QueuedConnection);
        --shared->running;
        shared->ended.notify_all();
    };
    try {
        std::thread(run).detach();
    } catch (const std::system_error &problem) {
        qWarning() << "DiskWork::start no thread:" << problem.what();
        run();
    }
}
