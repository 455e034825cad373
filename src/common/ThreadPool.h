#pragma once
// Threads for short-lived workers. addWork moves a parentless worker to the first thread whose last worker is gone, or
// to a new one; threads stay for the next. The caller queues the worker's first call after that. Any thread.
#include <mutex>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QThread>

class Thread : public QThread
{
    Q_OBJECT
public:
    using QThread::QThread;
    bool isFree() const;
    void take(QObject *work);

private:
    QPointer<QObject> m_work; // only asked whether it lives
};

class ThreadPool : public QObject
{
    Q_OBJECT
public:
    static ThreadPool *instance();
    void addWork(QObject *work);
    int size() const;
    void
    stop(); // at the program's end: quits and waits for all threads, workers go with them; later workers run nowhere

private:
    mutable std::mutex m_mutex;
    QList<Thread *> m_threads;
    QList<QPointer<QObject>> m_stranded; // came after stop()
    bool m_stopped = false;
};
