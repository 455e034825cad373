#include "transfer/TransShare.h"
#include "transfer/TransHandler.h"

void TransShare::release()
{
    QMutexLocker lock(&m_mutex);
    m_handler = nullptr;
}

bool TransShare::post(std::function<void(TransHandler &)> call)
{
    QMutexLocker lock(&m_mutex);
    TransHandler *handler = m_handler;
    if (!handler)
        return false;
    return QMetaObject::invokeMethod(
        handler, [handler, call] { call(*handler); }, Qt::QueuedConnection);
}

QString TransShare::cachedHost(const QString &name) const
{
    QMutexLocker lock(&m_mutex);
    return m_hosts.value(name);
}

void TransShare::cacheHost(const QString &name, const QString &ip)
{
    QMutexLocker lock(&m_mutex);
    m_hosts.insert(name, ip);
}

void TransShare::forgetHost(const QString &name)
{
    QMutexLocker lock(&m_mutex);
    m_hosts.remove(name);
}
