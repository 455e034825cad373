#pragma once
// What a handler and its workers share across threads, alive as long as either: host addresses that were looked up
// once, how many workers run, and the one safe road from a worker back to its handler. Any thread.
#include <atomic>
#include <functional>
#include <QHash>
#include <QMutex>
#include <QString>

class TransHandler;

class TransShare
{
public:
    explicit TransShare(TransHandler *handler) : m_handler(handler) {}
    void release(); // by the handler's destructor: nothing is posted to it any more
    // Runs call on the handler's thread, later. False when the handler is gone.
    bool post(std::function<void(TransHandler &)> call);

    QString cachedHost(const QString &name) const; // empty: not looked up yet
    void cacheHost(const QString &name, const QString &ip);
    void forgetHost(const QString &name);

    std::atomic_bool far{false}; // answers take long to come: more than one is waited for at a time
    std::atomic_int running{0};  // workers of the handler, for the share of a speed limit

private:
    mutable QMutex m_mutex;
    TransHandler *m_handler;
    QHash<QString, QString> m_hosts;
};
