#include "common/SerialQueue.h"

void SerialQueue::post(std::function<void()> job)
{
    const std::lock_guard lock(m_mutex);
    m_jobs.push_back(std::move(job));
    ++m_asked;
    if (!m_running) { // one that is told to end still takes what comes before it does
        m_running = true;
        m_ending = false;
        m_thread = std::thread([this] { run(); });
    }
    m_wake.notify_one();
}

void SerialQueue::flush()
{
    std::unique_lock lock(m_mutex);
    m_done.wait(lock, [this, wanted = m_asked] { return m_ended >= wanted; });
}

void SerialQueue::finish()
{
    std::thread ending;
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        ending = std::move(m_thread);
        m_wake.notify_one();
    }
    if (ending.joinable())
        ending.join();
}

void SerialQueue::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
        if (m_jobs.empty()) {
            m_running = false;
            return;
        }
        std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        job = nullptr;
        lock.lock();
        ++m_ended;
        m_done.notify_all();
    }
}
