#include "common/ui/Background.h"
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace
{
// The thread begins with the first job and ends when the queue is told to; a later job begins another.
class Queue
{
public:
    ~Queue() { finish(); }

    void post(std::function<void()> work)
    {
        const std::lock_guard lock(m_mutex);
        m_jobs.push_back(std::move(work));
        if (!m_thread.joinable()) {
            m_ending = false;
            m_thread = std::thread([this] { run(); });
        }
        m_wake.notify_one();
    }
    void finish()
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

private:
    void run()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
            if (m_jobs.empty())
                return;
            std::function<void()> job = std::move(m_jobs.front());
            m_jobs.pop_front();
            lock.unlock();
            job();
            job = nullptr;
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_jobs;
    std::thread m_thread;
    bool m_ending = false;
};

Queue &queue()
{
    static Queue one;
    return one;
}
} // namespace

void Background::post(std::function<void()> work) { queue().post(std::move(work)); }

void Background::finish() { queue().finish(); }
