// Addresses and tokens of the farms: the part of NetWork that other threads ask and wait for.
#include "common/Session.h"
#include "common/UserInfo.h"
#include "io/KnownHosts.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "io/ProxyFactory.h"
#include <QDebug>
#include <QEventLoop>
#include <QHostAddress>
#include <QHostInfo>
#include <QRegularExpression>
#include <QThreadStorage>
#include <QTimer>
#include <QUrl>

namespace
{
constexpr int DriveMs = 2000, MasterMs = 10000, RoleMs = 5000, HostMs = 5000;
constexpr int FarmFound = 11040000;

// What the calling thread is asking for at this moment: its timers run on inside a nested loop and may ask again.
class Asking
{
public:
    Asking(const char *what, int farmId) : m_key(QStringLiteral("%1 %2").arg(QLatin1String(what)).arg(farmId))
    {
        if (!open().hasLocalData())
            open().setLocalData(QSet<QString>());
        m_first = !open().localData().contains(m_key);
        open().localData().insert(m_key);
    }
    ~Asking()
    {
        if (m_first)
            open().localData().remove(m_key);
    }
    bool first() const { return m_first; }

private:
    static QThreadStorage<QSet<QString>> &open()
    {
        static QThreadStorage<QSet<QString>> storage;
        return storage;
    }
    QString m_key;
    bool m_first;
};

// Runs the calling thread's events until done() or the time is over. What is bound to guard() is dropped after that.
class Wait
{
public:
    void run(int ms)
    {
        QTimer::singleShot(ms, &m_loop, &QEventLoop::quit);
        if (!m_done)
            m_loop.exec();
    }
    void done()
    {
        m_done = true;
        m_loop.quit();
    }
    QObject *guard() { return &m_loop; }

private:
    QEventLoop m_loop;
    bool m_done = false;
};

QString trimmedAddress(QString address)
{
    while (address.endsWith('/'))
        address.chop(1);
    return address;
}

bool isToken(const QString &text)
{
    static const QRegularExpression digits(QStringLiteral("^[0-9a-fA-F]{32}$"));
    return digits.match(QString(text).remove('-')).hasMatch();
}
} // namespace

QString NetWork::skydriveUrl(int farmId)
{
    int age = 0;
    {
        QMutexLocker lock(&m_farmMutex);
        const QString known = m_driveUrls.value(farmId);
        if (!known.isEmpty() && m_accessTokens.contains(known.left(known.lastIndexOf("/skydrive"))))
            return known;
        age = m_farmAge;
    }
    const Asking asking("drive", farmId);
    if (!asking.first() || !NetTcp::isLogin()) // not logged in: the request would vanish unanswered
        return {};
    QString address, token;
    {
        Wait wait;
        NetTcp::instance()->nvds(
            111, 11100, QJsonObject{{"farmId", farmId}},
            [&](int, const QJsonDocument &doc) {
                const QJsonObject reply = doc.object();
                KnownHosts::learn(reply);
                address = trimmedAddress(reply.value(UserInfo::isWan() ? "addr" : "addr-internal").toString());
                if (address.isEmpty()) // a farm with one road only
                    address = trimmedAddress(reply.value(UserInfo::isWan() ? "addr-internal" : "addr").toString());
                if (!address.isEmpty() && !address.contains("://"))
                    address.prepend("http://");
                token = reply.value("accessToken").toString();
                wait.done();
            },
            wait.guard());
        wait.run(DriveMs);
    }
    if (address.isEmpty()) {
        qDebug().noquote() << "NetWork::skydriveUrl: no address for farm" << farmId;
        return {};
    }
    if (UserInfo::isSlave() && !throughMaster(address, farmId))
        return {};
    QMutexLocker lock(&m_farmMutex);
    if (age == m_farmAge) {
        m_driveUrls.insert(farmId, address + "/skydrive");
        m_accessTokens.insert(address, token);
    }
    return address + "/skydrive";
}

// A subordinate reaches a farm only by a port that its master forwards.
bool NetWork::throughMaster(const QString &address, int farmId)
{
    const QUrl url(address);
    const int port = url.port(url.scheme() == "https" ? 443 : 80);
    Request req;
    req.url = QStringLiteral("%1/masterInfo?host=%2&port=%3&farmId=%4")
                  .arg(trimmedAddress(UserInfo::master()), url.host())
                  .arg(port)
                  .arg(farmId);
    req.bareAddress = true;
    bool forwarded = false;
    Wait wait;
    nget(
        req,
        [&](Request, const FuncBody &rep) {
            forwarded = rep.ok();
            ProxyFactory::addPairs(rep.array);
            wait.done();
        },
        QThread::currentThread(), wait.guard());
    wait.run(MasterMs);
    if (!forwarded)
        qWarning().noquote() << "NetWork::throughMaster: the master doesn't forward" << address;
    return forwarded;
}

QString NetWork::accessToken(int farmId)
{
    const QString url = skydriveUrl(farmId);
    QMutexLocker lock(&m_farmMutex);
    return m_accessTokens.value(url.left(url.lastIndexOf("/skydrive")));
}

QString NetWork::tokenOf(const FuncBody &rep)
{
    const QJsonValue data = rep.object.value("data");
    if (isToken(data.toString()))
        return data.toString();
    const QJsonObject object = data.toObject();
    if (const QString token = object.value("token").toString(); !token.isEmpty())
        return token;
    for (const QJsonValue &value : object)
        if (isToken(value.toString()))
            return value.toString();
    return {};
}

QString NetWork::roleToken(int farmId)
{
    const QString drive = skydriveUrl(farmId);
    Request req;
    int age = 0;
    {
        QMutexLocker lock(&m_farmMutex);
        if (drive.isEmpty() || m_roleTokens.contains(farmId))
            return drive.isEmpty() ? QString() : m_roleTokens.value(farmId);
        const QString address = drive.left(drive.lastIndexOf("/skydrive"));
        req.url = address + "/storage-secret-token/role";
        req.headers = {{"X-BRONTEL-ACCESS-TOKEN", m_accessTokens.value(address).toUtf8()}, {"X-BRONTEL-ROLE", "user"}};
        age = m_farmAge;
    }
    const Asking asking("role", farmId);
    if (!asking.first())
        return {};
    QString token;
    Wait wait;
    req.guard = wait.guard();
    const auto take = [&](const FuncBody &rep) {
        token = tokenOf(rep);
        wait.done();
    };
    npost(
        req,
        [&](const Request &asked, const FuncBody &rep) {
            if (rep.error.startsWith("HttpError:"))
                nget(
                    asked, [&](Request, const FuncBody &second) { take(second); }, QThread::currentThread(),
                    wait.guard());
            else
                take(rep);
        },
        QThread::currentThread());
    wait.run(RoleMs);
    if (token.isEmpty()) {
        qWarning().noquote() << "NetWork::roleToken: no token for farm" << farmId;
        return {};
    }
    QMutexLocker lock(&m_farmMutex);
    if (age == m_farmAge)
        m_roleTokens.insert(farmId, token);
    return token;
}

NetWork::FarmHost NetWork::farmHost(int farmId)
{
    int age = 0;
    {
        QMutexLocker lock(&m_farmMutex);
        if (m_farmHosts.contains(farmId))
            return m_farmHosts.value(farmId);
        age = m_farmAge;
    }
    const Asking asking("host", farmId);
    if (!asking.first())
        return {};
    FarmHost host;
    Wait wait;
    nget(
        QStringLiteral("%1/bs/farm/%2").arg(Session::qnhttp()).arg(farmId),
        [&](Request, const FuncBody &rep) {
            const QJsonObject where = rep.object.contains("domain") ? rep.object : rep.data;
            const QJsonValue status =
                rep.object.contains("status") ? rep.object.value("status") : rep.data.value("status");
            if (!rep.ok() || status.toVariant().toInt() != FarmFound || where.value("domain").toString().isEmpty()) {
                wait.done();
                return;
            }
            host.domain = host.ip = where.value("domain").toString();
            host.port = where.value("port").toVariant().toInt();
            QHostInfo::lookupHost(host.domain, wait.guard(), [&](const QHostInfo &info) {
                if (!info.addresses().isEmpty())
                    host.ip = info.addresses().constFirst().toString();
                wait.done();
            });
        },
        QThread::currentThread(), wait.guard());
    wait.run(HostMs);
    if (!host.known()) {
        qWarning().noquote() << "NetWork::farmHost: farm unknown" << farmId;
        return {};
    }
    QMutexLocker lock(&m_farmMutex);
    if (age == m_farmAge)
        m_farmHosts.insert(farmId, host);
    return host;
}

QString NetWork::addressOf(const QString &url) const
{
    QString best;
    for (auto it = m_accessTokens.cbegin(); it != m_accessTokens.cend(); ++it) {
        const int at = url.indexOf(it.key());
        const int end = at + it.key().size();
        // An address ends where the path begins: "http://a:80" isn't that of "http://a:8080/x".
        if (at >= 0 && it.key().size() > best.size() && (end == url.size() || url[end] == '/' || url[end] == '?'))
            best = it.key();
    }
    return best;
}

void NetWork::checkStale(const QString &url, const FuncBody &rep)
{
    if (rep.code != 203)
        return;
    QList<int> stale;
    {
        QMutexLocker lock(&m_farmMutex);
        const QString address = addressOf(url);
        if (!address.isEmpty())
            stale = m_driveUrls.keys(address + "/skydrive");
    }
    for (int farmId : qAsConst(stale))
        clearFarm(farmId);
}

void NetWork::clearFarm(int farmId)
{
    qDebug().noquote() << "skydrive 203, clear ip and token in" << farmId;
    QMutexLocker lock(&m_farmMutex);
    const QString url = m_driveUrls.take(farmId);
    m_accessTokens.remove(url.left(url.lastIndexOf("/skydrive")));
    m_roleTokens.remove(farmId);
    ++m_farmAge;
}

void NetWork::clearFarms()
{
    QMutexLocker lock(&m_farmMutex);
    m_roleTokens.clear();
    m_farmHosts.clear();
    ++m_farmAge;
}

void NetWork::forgetTokens()
{
    QMutexLocker lock(&m_farmMutex);
    m_accessTokens.clear();
    m_roleTokens.clear();
    ++m_farmAge;
}

void NetWork::forgetDrives()
{
    QMutexLocker lock(&m_farmMutex);
    m_driveUrls.clear();
    m_accessTokens.clear();
    m_roleTokens.clear();
    m_farmHosts.clear();
    ++m_farmAge;
}
