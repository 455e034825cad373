#include "common/ThreadPool.h"

bool Thread::isFree() const { return m_work.isNull(); }

void Thread::take(QObject *work)
{
    m_work = work;
    // A worker that is still there when its thread ends dies on that thread.
    connect(this, &QThread::finished, work, &QObject::deleteLater);
    work->moveToThread(this);
    start();
}

ThreadPool *ThreadPool::instance()
{
    static ThreadPool *pool = new ThreadPool; // lives as long as the process: workers may end after main's objects
    return pool;
}

void ThreadPool::addWork(QObject *work)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        m_stranded.append(work);
        work->moveToThread(nullptr);
        return;
    }
    for (Thread *thread : qAsConst(m_threads)) {
        if (thread->isFree()) {
            thread->take(work);
            return;
        }
    }
    // Made on whatever thread asks, so it must not be that thread's child.
    Thread *thread = new Thread;
    m_threads.append(thread);
    thread->take(work);
}

int ThreadPool::size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_threads.size();
}

void ThreadPool::stop()
{
    QList<Thread *> threads;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
        threads.swap(m_threads);
    }
    for (Thread *thread : qAsConst(threads))
        thread->quit();
    for (Thread *thread : qAsConst(threads)) {
        thread->wait();
        delete thread;
    }
}
