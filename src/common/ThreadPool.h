#pragma once
// Threads for short-lived workers. addWork moves a parentless worker to the first thread whose last worker is gone, or
// to a new one; threads stay for the next. The caller queues the worker's first call after that. Any thread.
#include <QList>
#include <QMutex>
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
};

class ThreadPool : public QObject
{
    Q_OBJECT
public:
    static ThreadPool *instance();
    void addWork(QObject *work);
    int size() const;
    void stop(); // at the program's end: quits and waits for all threads; later workers run nowhere

private:
    mutable QMutex m_mutex;
    QList<Thread *> m_threads;
    bool m_stopped = false;
};
