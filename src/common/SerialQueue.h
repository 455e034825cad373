#pragma once
// Jobs one after the other, in the order they came, on a thread of the queue's own. The thread begins with the first
// job. Any thread; a job may post others. The destructor waits for what was asked.
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

class SerialQueue
{
public:
    ~SerialQueue() { finish(); }
    void post(std::function<void()> job);
    void flush();  // returns when all that was asked for before is done; not from a job
    void finish(); // the same, and the thread ends; a later job begins another

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_wake, m_done;
    std::deque<std::function<void()>> m_jobs;
    std::thread m_thread;
    unsigned long long m_asked = 0, m_ended = 0;
    bool m_running = false, m_ending = false;
};
