#include "io/KnownHosts.h"
#include "common/UserInfo.h"
#include <QMutex>
#include <QSet>
#include <QUrl>

namespace
{
struct Learnt {
    QMutex mutex;
    QSet<QString> hosts;
};
Learnt &learnt()
{
    static Learnt one;
    return one;
}

QString hostOf(const QString &address)
{
    return QUrl(address.contains(QLatin1String("://")) ? address : QStringLiteral("http://") + address)
        .host()
        .toLower();
}
} // namespace

void KnownHosts::learn(const QJsonObject &farm)
{
    QMutexLocker lock(&learnt().mutex);
    for (const char *key : {"addr", "addr-internal", "domain"})
        if (const QString host = hostOf(farm.value(QLatin1String(key)).toString()); !host.isEmpty())
            learnt().hosts.insert(host);
}

bool KnownHosts::contains(const QString &host)
{
    const QString wanted = host.toLower();
    for (const char *key : {"qnbs", "bs", "op", "login", "update", "logs", "share", "chat", "cms", "aliback"})
        if (hostOf(UserInfo::serviceValue(QStringLiteral("server"), QLatin1String(key)).toString()) == wanted)
            return true;
    QMutexLocker lock(&learnt().mutex);
    return learnt().hosts.contains(wanted);
}

void KnownHosts::clear()
{
    QMutexLocker lock(&learnt().mutex);
    learnt().hosts.clear();
}
