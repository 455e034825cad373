// Addresses and tokens of the farms: what is known, and the questions that find it out. No step waits: each asks and
// goes on in its answer.
#include "common/Session.h"
#include "common/UserInfo.h"
#include "io/Ask.h"
#include "io/KnownHosts.h"
#include "io/ProxyFactory.h"
#include "io/WebAsk.h"
#include <memory>
#include <QDeadlineTimer>
#include <QDebug>
#include <QHostAddress>
#include <QHostInfo>
#include <QRegularExpression>
#include <QTimer>
#include <QUrl>

namespace
{
constexpr int DriveMs = 2000, MasterMs = 10000, RoleMs = 5000, HostMs = 5000;
constexpr int FarmFound = 11040000, FarmInfo = 11100;
const QString Drive = QStringLiteral("/skydrive");

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

// A service that gives no transfer tokens of its own, or doesn't even know the question: there the access token is it.
bool hasNoTokens(const FuncBody &rep)
{
    const int status = rep.httpStatus;
    return (rep.ok() && rep.object.value("data").isObject() && !rep.refuses()) || status == 400 || status == 404 ||
           status == 405 || status == 501;
}

QString addressIn(const QJsonObject &farm)
{
    const char *const roads[] = {"addr", "addr-internal"};
    QString address = trimmedAddress(farm.value(roads[UserInfo::isWan() ? 0 : 1]).toString());
    if (address.isEmpty()) // a farm with one road only
        address = trimmedAddress(farm.value(roads[UserInfo::isWan() ? 1 : 0]).toString());
    if (address.isEmpty())
        return {};
    // As a request's own text has it, which may differ in the case of the host.
    return trimmedAddress(QUrl(address.contains("://") ? address : "http://" + address).toString());
}

// A subordinate reaches a farm only by a port that its master forwards. The answer alone doesn't tell that it does:
// the port must be among those that it names.
void throughMaster(const QString &address, int farmId, QObject *guard, const std::function<void(bool)> &done)
{
    const QUrl url(address);
    const int port = url.port(url.scheme() == "https" ? 443 : 80);
    Request req;
    req.url = QStringLiteral("%1/masterInfo?host=%2&port=%3&farmId=%4")
                  .arg(trimmedAddress(UserInfo::master()), url.host())
                  .arg(port)
                  .arg(farmId); // the master asks the server itself where it leads
    req.bareAddress = true;
    const auto refuse = [address, done] {
        qWarning().noquote() << "NetWork::throughMaster: the master doesn't forward" << address;
        done(false);
    };
    WebAsk::get(req)
        .within(MasterMs)
        .answered([host = url.host(), port, done, refuse](const FuncBody &rep) {
            ProxyFactory::addPairs(rep.array);
            if (rep.code == 0 && ProxyFactory::portOf(host, port) != 0)
                done(true);
            else
                refuse();
        })
        .failed(refuse)
        .send(guard);
}
} // namespace

QString NetWork::skydriveUrl(int farmId) const
{
    QMutexLocker lock(&m_farmMutex);
    const QString known = m_driveUrls.value(farmId);
    return m_accessTokens.contains(known.left(known.lastIndexOf(Drive))) ? known : QString();
}

QString NetWork::accessToken(int farmId) const
{
    QMutexLocker lock(&m_farmMutex);
    const QString url = m_driveUrls.value(farmId);
    return m_accessTokens.value(url.left(url.lastIndexOf(Drive)));
}

QString NetWork::roleToken(int farmId) const
{
    QMutexLocker lock(&m_farmMutex);
    return m_roleTokens.value(farmId);
}

NetWork::FarmHost NetWork::farmHost(int farmId) const
{
    QMutexLocker lock(&m_farmMutex);
    return m_farmHosts.value(farmId);
}

int NetWork::farmAge() const
{
    QMutexLocker lock(&m_farmMutex);
    return m_farmAge;
}

void NetWork::keepDrive(int farmId, int age, const QString &address, const QString &token)
{
    QMutexLocker lock(&m_farmMutex);
    if (age != m_farmAge)
        return;
    m_driveUrls.insert(farmId, address + Drive);
    m_accessTokens.insert(address, token);
    m_staleTokens.remove(address);
}

void NetWork::keepRole(int farmId, int age, const QString &token)
{
    QMutexLocker lock(&m_farmMutex);
    if (age == m_farmAge)
        m_roleTokens.insert(farmId, token);
}

void NetWork::keepHost(int farmId, int age, const FarmHost &host)
{
    QMutexLocker lock(&m_farmMutex);
    if (age == m_farmAge)
        m_farmHosts.insert(farmId, host);
}

void NetWork::skydriveUrl(int farmId, QObject *guard, const UrlBack &done)
{
    NetWork *net = instance();
    if (const QString known = net ? net->skydriveUrl(farmId) : QString(); !net || !known.isEmpty()) {
        Delivery::here().post(guard, [done, known] { done(known); });
        return;
    }
    const auto found = [farmId, guard, done, age = net->farmAge()](int, const QJsonDocument &doc) {
        KnownHosts::learn(doc.object());
        const QString address = addressIn(doc.object());
        const auto keep = [=, token = doc.object().value("accessToken").toString()](bool good) {
            if (NetWork *now = instance(); now && good)
                now->keepDrive(farmId, age, address, token);
            done(good ? address + Drive : QString());
        };
        if (address.isEmpty())
            qDebug().noquote() << "NetWork::skydriveUrl: no address for farm" << farmId;
        if (!address.isEmpty() && UserInfo::isSlave())
            throughMaster(address, farmId, guard, keep);
        else
            keep(!address.isEmpty());
    };
    Ask(FarmInfo, {{"farmId", farmId}}).within(DriveMs).any(found).lost([done](Ask::Loss) { done({}); }).send(guard);
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

void NetWork::roleToken(int farmId, QObject *guard, const TokenBack &done)
{
    skydriveUrl(farmId, guard, [farmId, guard, done](const QString &drive) {
        NetWork *net = instance();
        const QString known = net ? net->roleToken(farmId) : QString();
        if (!net || drive.isEmpty() || !known.isEmpty())
            return done(drive, drive.isEmpty() ? QString() : known);
        const QString address = drive.left(drive.lastIndexOf(Drive));
        Request req;
        req.url = address + "/storage-secret-token/role";
        req.headers = {{"X-BRONTEL-ACCESS-TOKEN", net->accessToken(farmId).toUtf8()}, {"X-BRONTEL-ROLE", "user"}};
        req.secret = true;
        const auto none = [farmId, drive, done] {
            qWarning().noquote() << "NetWork::roleToken: no token for farm" << farmId;
            done(drive, {});
        };
        const auto take = [=, age = net->farmAge(), access = net->accessToken(farmId)](const FuncBody &rep) {
            QString token = tokenOf(rep);
            if (token.isEmpty() && hasNoTokens(rep) && isToken(access))
                token = access;
            if (token.isEmpty())
                return none();
            if (NetWork *now = instance())
                now->keepRole(farmId, age, token);
            done(drive, token);
        };
        const QDeadlineTimer deadline(RoleMs);
        WebAsk::post(req)
            .within(RoleMs)
            .answered(take)
            .refused([=](const FuncBody &) { // some services know it by GET only
                WebAsk::get(req)
                    .within(int(deadline.remainingTime()))
                    .answered(take)
                    .refused(take)
                    .lost([none](const QString &) { none(); })
                    .send(guard);
            })
            .lost([none](const QString &) { none(); })
            .send(guard);
    });
}

void NetWork::farmHost(int farmId, QObject *guard, const HostBack &done)
{
    NetWork *net = instance();
    if (const FarmHost known = net ? net->farmHost(farmId) : FarmHost(); !net || known.known()) {
        Delivery::here().post(guard, [done, known] { done(known); });
        return;
    }
    const auto none = [farmId, done] {
        qWarning().noquote() << "NetWork::farmHost: farm unknown" << farmId;
        done({});
    };
    const QDeadlineTimer deadline(HostMs);
    const auto found = [=, age = net->farmAge()](const FuncBody &rep) {
        const QJsonObject where = rep.object.contains("domain") ? rep.object : rep.data;
        const QJsonValue status = rep.object.contains("status") ? rep.object.value("status") : rep.data.value("status");
        FarmHost host;
        host.domain = host.ip = where.value("domain").toString();
        host.port = where.value("port").toVariant().toInt();
        if (status.toVariant().toInt() != FarmFound || host.domain.isEmpty() || !host.known())
            return none();
        // The name is looked up once; where that takes too long the name itself has to do.
        const auto over = std::make_shared<bool>(false);
        const auto end = [=](const QString &ip) {
            if (std::exchange(*over, true))
                return;
            FarmHost whole = host;
            if (!ip.isEmpty())
                whole.ip = ip;
            if (NetWork *now = instance())
                now->keepHost(farmId, age, whole);
            done(whole);
        };
        QHostInfo::lookupHost(host.domain, guard, [end](const QHostInfo &info) {
            end(info.addresses().isEmpty() ? QString() : info.addresses().constFirst().toString());
        });
        QTimer::singleShot(int(deadline.remainingTime()), guard, [end] { end({}); });
    };
    WebAsk::get(QStringLiteral("%1/bs/farm/%2").arg(Session::qnhttp()).arg(farmId))
        .within(HostMs)
        .answered(found)
        .failed(none)
        .send(guard);
}

QString NetWork::addressOf(const QString &url) const
{
    QString best;
    for (const auto *tokens : {&m_accessTokens, &m_staleTokens}) {
        for (auto it = tokens->cbegin(); it != tokens->cend(); ++it) {
            const int at = url.indexOf(it.key());
            const int end = at + it.key().size();
            // An address ends where the path begins: "http://a:80" isn't that of "http://a:8080/x".
            if (at >= 0 && it.key().size() > best.size() && (end == url.size() || url[end] == '/' || url[end] == '?'))
                best = it.key();
        }
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
            stale = m_driveUrls.keys(address + Drive);
    }
    for (int farmId : qAsConst(stale))
        clearFarm(farmId);
}

void NetWork::clearFarm(int farmId)
{
    qDebug().noquote() << "skydrive 203, clear ip and token in" << farmId;
    QMutexLocker lock(&m_farmMutex);
    const QString url = m_driveUrls.take(farmId);
    const QString address = url.left(url.lastIndexOf(Drive));
    if (const QString token = m_accessTokens.take(address); !token.isEmpty())
        m_staleTokens.insert(address, token);
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
    m_staleTokens.clear();
    m_roleTokens.clear();
    ++m_farmAge;
}

void NetWork::forgetDrives()
{
    QMutexLocker lock(&m_farmMutex);
    m_driveUrls.clear();
    m_accessTokens.clear();
    m_staleTokens.clear();
    m_roleTokens.clear();
    m_farmHosts.clear();
    ++m_farmAge;
}
