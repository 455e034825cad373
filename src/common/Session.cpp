#include "common/Session.h"
#include "common/UserInfo.h"
#include <atomic>
#include <mutex>
#include <QDebug>
#include <QFile>
#include <QHash>
#include <QRegularExpression>

namespace
{
std::atomic<bool> sessionLive{false}, sessionClosing{false};

struct Addresses {
    std::mutex mutex;
    QHash<QString, QString> known;
};

Addresses &addresses()
{
    static Addresses *one = new Addresses;
    return *one;
}

// A non-empty value is read once; an absent one is asked for again, so that a service.ini laid down later counts.
QString cached(const QString &key, const QString &fallback)
{
    {
        std::lock_guard<std::mutex> lock(addresses().mutex);
        const QString known = addresses().known.value(key);
        if (!known.isEmpty())
            return known;
    }
    const QString read = UserInfo::serviceValue(QStringLiteral("server"), key).toString().trimmed();
    if (read.isEmpty())
        return fallback;
    std::lock_guard<std::mutex> lock(addresses().mutex);
    addresses().known.insert(key, read);
    return read;
}

QString base(QString address)
{
    if (!address.contains(QLatin1String("://")))
        address.prepend(QLatin1String("http://"));
    while (address.endsWith(QLatin1Char('/')))
        address.chop(1);
    return address;
}

QString qnbs() { return cached(QStringLiteral("qnbs"), QStringLiteral("http://127.0.0.1")); }

// Told once per value, not per call.
void tell(const char *function, const QString &value)
{
    static std::mutex mutex;
    static QHash<QString, QString> *told = new QHash<QString, QString>;
    {
        std::lock_guard<std::mutex> lock(mutex);
        QString &last = (*told)[QString::fromLatin1(function)];
        if (last == value)
            return;
        last = value;
    }
    qDebug().noquote() << function << value;
}
} // namespace

QString Session::qnIP()
{
    QString host = qnbs().remove(QRegularExpression(QStringLiteral("http://|https://")));
    host = host.section(QLatin1Char('/'), 0, 0);
    if (host.startsWith(QLatin1Char('['))) // an IPv6 address in brackets
        host = host.mid(1).section(QLatin1Char(']'), 0, 0);
    else if (host.count(QLatin1Char(':')) == 1)
        host = host.section(QLatin1Char(':'), 0, 0);
    tell("Session::qnIP", host);
    return host;
}

QString Session::qnhttp()
{
    const QString address = base(qnbs());
    tell("Session::qnhttp", address);
    return address;
}

QString Session::bsAddress() { return address(QStringLiteral("bs")); }

QString Session::address(const QString &key)
{
    const QString own = cached(key, {});
    return own.isEmpty() ? qnhttp() : base(own);
}

quint16 Session::localServicePort()
{
    QFile file(UserInfo::baseDir() + QStringLiteral("/service"));
    return file.open(QIODevice::ReadOnly) ? file.read(64).trimmed().toUShort() : quint16(0);
}

void Session::clearAddresses()
{
    std::lock_guard<std::mutex> lock(addresses().mutex);
    addresses().known.clear();
}

bool Session::live() { return sessionLive.load(); }
void Session::setLive(bool on) { sessionLive.store(on); }
bool Session::closing() { return sessionClosing.load(); }
void Session::setClosing(bool on) { sessionClosing.store(on); }
