#include "io/ProxyFactory.h"
#include "common/Seam.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "common/WindowCalls.h"
#include "io/NetTcp.h"
#include "io/OwnAddress.h"
#include "io/PortRelay.h"
#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QJsonDocument>
#include <QMap>
#include <QMutex>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>
#include <QUrl>

namespace
{
constexpr int WebPort = 80, TlsPort = 443;

int portOfUrl(const QUrl &url) { return url.port(url.scheme() == QLatin1String("https") ? TlsPort : WebPort); }

bool relayed(const Forward &one)
{
    PortRelay *relay = PortRelay::instance();
    return relay && relay->open(one);
}

struct Shared {
    QMutex mutex;
    QMap<int, QPair<QString, int>> ports; // port on the master -> server; its port is 0 where the master didn't tell
};
Shared &shared()
{
    static Shared one;
    return one;
}

QString recordPath() { return UserInfo::allUserDir() + "/netshadd"; }

QByteArray readRecords()
{
    QFile file(recordPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool refuse(const QString &text, QString *why)
{
    if (why)
        *why = text;
    Seam<WindowCalls>::post([text](WindowCalls &window) { window.msgOk(text); });
    return false;
}
} // namespace

ProxyTools ProxyTools::system()
{
    ProxyTools tools;
#ifdef Q_OS_WIN
    tools.netstat = [] {
        QProcess process;
        process.start("netstat", {"-an"});
        process.waitForFinished(10000);
        return QString::fromLocal8Bit(process.readAllStandardOutput());
    };
    tools.netshadd = [](const QString &json) {
        const QString quoted = QString(json).replace('"', "\\\"");
        return VFunc::runAs(QCoreApplication::applicationFilePath(), QStringLiteral("netshadd \"%1\"").arg(quoted));
    };
    tools.settle = [] { QThread::msleep(500); };
    tools.tunnel = relayed;
#else
    tools.open = relayed;
#endif
    return tools;
}

QList<QNetworkProxy> ProxyFactory::queryProxy(const QNetworkProxyQuery &query)
{
    const QUrl url = query.url(), master(UserInfo::master());
    const int target = portOfUrl(url);
    // The master itself is asked directly, whichever servers stand on its machine.
    const bool own = url.host() == master.host() && target == portOfUrl(master);
    const bool plain = url.scheme() == QLatin1String("http"), sealed = url.scheme() == QLatin1String("https");
    if (query.queryType() == QNetworkProxyQuery::UrlRequest && (plain || sealed) && !own)
        if (const int port = portOf(query.peerHostName(), target))
            return {QNetworkProxy(plain ? QNetworkProxy::HttpCachingProxy : QNetworkProxy::HttpProxy,
                                  UserInfo::masterHost(), quint16(port))};
    return {QNetworkProxy(QNetworkProxy::NoProxy)};
}

bool ProxyFactory::openMissing(QList<Forward> missing, const ProxyTools &tools, QString *why)
{
    if (tools.netshadd(QString::fromUtf8(recordsJson(missing))) != 1) {
        qWarning().noquote() << "master open port fail for" << missing.constFirst().listenPort;
        return refuse(tr("端口转发失败！请检查系统相关服务是否正常运行。"), why);
    }
    for (int attempt = 0; attempt < 10 && !missing.isEmpty(); ++attempt) {
        if (attempt > 0 && tools.settle)
            tools.settle();
        const QSet<int> open = listening(tools.netstat());
        for (int i = missing.size() - 1; i >= 0; --i)
            if (open.contains(missing[i].listenPort))
                missing.removeAt(i);
    }
    if (missing.isEmpty())
        return true;
    qWarning().noquote() << "master open port fail for" << missing.constFirst().listenPort;
    return refuse(tr("端口监听失败！%1").arg(missing.constFirst().listenPort), why);
}

bool ProxyFactory::openHere(const QList<Forward> &planned, const QStringList &hosts, const ProxyTools &tools,
                            QString *why)
{
    // Another program may have a port by now that was free, or this master's, a moment ago.
    constexpr int Tries = 1000;
    QList<Forward> all;
    for (Forward one : planned) {
        bool open = tools.open(one);
        for (int i = 0; !open && i < Tries && one.listenPort < 65535; ++i) {
            ++one.listenPort;
            open = tools.open(one);
        }
        if (open)
            all.append(one);
        else if (hosts.contains(QStringLiteral("%1:%2").arg(one.host).arg(one.port)))
            return refuse(tr("端口监听失败！%1").arg(one.listenPort), why);
        else // of an earlier run: nobody has asked for it yet
            qWarning().noquote() << "ProxyFactory::openHere: no port for" << one.host << one.port;
    }
    const QByteArray json = recordsJson(all);
    if (all != parseRecords(readRecords()) && !VFunc::writeWhole(recordPath(), json))
        qWarning().noquote() << "ProxyFactory::openHere: can't write" << recordPath();
    QMutexLocker lock(&shared().mutex);
    for (const Forward &one : qAsConst(all))
        shared().ports.insert(one.listenPort, {one.host, one.port});
    return true;
}

bool ProxyFactory::openProxy(QStringList hosts, bool master, QString *why, const ProxyTools &tools)
{
    if (!master)
        return true;
    // One after the other: what two plan at once would be the same port.
    static QMutex one;
    const QMutexLocker turn(&one);
    if (pairs().size() + hosts.size() > MaxForwards)
        return refuse(tr("最多转发%1个端口").arg(MaxForwards), why);
    if (tools.open)
        return openHere(plan(hosts, usable(parseRecords(readRecords()), hosts), {}), hosts, tools, why);
    if (!tools.netstat || !tools.netshadd) {
        qDebug().noquote() << "ProxyFactory::openProxy: this system has no port forwarding, none opened for"
                           << hosts.join(' ');
        return true;
    }
    const QList<Forward> records = usable(parseRecords(readRecords()), hosts);
    if (!records.isEmpty())
        qDebug().noquote() << QStringLiteral("存在netshadd记录") << records.size();
    const QSet<int> open = listening(tools.netstat());
    const QList<Forward> all = plan(hosts, records, open);
    QList<Forward> missing;
    for (const Forward &one : all) {
        if (open.contains(one.listenPort))
            continue;
        qDebug().noquote() << QStringLiteral("netstat -an,检测不存在端口") << one.listenPort;
        if (!tools.tunnel || one.port != TlsPort)
            missing.append(one);
        else if (!tools.tunnel(one))
            return refuse(tr("端口监听失败！%1").arg(one.listenPort), why);
    }
    const QByteArray json = recordsJson(all);
    if (all != records && !VFunc::writeWhole(recordPath(), json))
        qWarning().noquote() << "ProxyFactory::openProxy: can't write" << recordPath();
    if (!missing.isEmpty() && !openMissing(missing, tools, why))
        return false;
    QMutexLocker lock(&shared().mutex);
    for (const Forward &one : all)
        shared().ports.insert(one.listenPort, {one.host, one.port});
    return true;
}

QJsonArray ProxyFactory::pairs()
{
    QMutexLocker lock(&shared().mutex);
    QJsonArray list;
    for (auto it = shared().ports.cbegin(); it != shared().ports.cend(); ++it)
        list.append(QJsonArray{QString::number(it.key()), it->first, it->second});
    return list;
}

void ProxyFactory::addPairs(const QJsonArray &pairs)
{
    QMutexLocker lock(&shared().mutex);
    for (const QJsonValue &value : pairs) {
        const QJsonArray pair = value.toArray();
        const int port = pair.at(0).toVariant().toInt();
        if (port > 0 && port < 65536 && !pair.at(1).toString().isEmpty())
            shared().ports.insert(port, {pair.at(1).toString(), pair.at(2).toVariant().toInt()});
    }
}

int ProxyFactory::portOf(const QString &host, int port)
{
    QMutexLocker lock(&shared().mutex);
    int found = 0;
    for (auto it = shared().ports.cbegin(); it != shared().ports.cend(); ++it) {
        if (it->first != host)
            continue;
        if (port != 0 && it->second == port)
            return it.key();
        if (found == 0 && (port == 0 || it->second == 0))
            found = it.key();
    }
    return found;
}

void ProxyFactory::clear()
{
    QMutexLocker lock(&shared().mutex);
    shared().ports.clear();
}

QStringList ProxyFactory::ownServers()
{
    QStringList list{QStringLiteral("%1:%2").arg(Session::qnIP()).arg(NetTcp::DefaultPort)};
    for (const QString &address :
         {Session::qnhttp(), Session::address(QStringLiteral("login")), Session::address(QStringLiteral("update")),
          Session::address(QStringLiteral("logs"))}) {
        const QUrl url(address);
        if (!url.host().isEmpty())
            list.append(QStringLiteral("%1:%2").arg(url.host()).arg(portOfUrl(url)));
    }
    list.removeDuplicates();
    return list;
}

bool ProxyFactory::leadsHere(const QString &host)
{
    const QHostAddress address(host);
    return address == QHostAddress::AnyIPv4 || address == QHostAddress::AnyIPv6 || OwnAddress::is(host);
}

QList<Forward> ProxyFactory::usable(const QList<Forward> &records, const QStringList &hosts)
{
    QList<Forward> kept;
    for (const Forward &one : records) {
        const bool asked = hosts.contains(QStringLiteral("%1:%2").arg(one.host).arg(one.port));
        if (asked || (!leadsHere(one.host) && kept.size() < MaxForwards - hosts.size()))
            kept.append(one);
    }
    if (kept.size() < records.size())
        qWarning().noquote() << "ProxyFactory::usable: of" << records.size() << "forwarded ports" << kept.size()
                             << "are kept";
    return kept;
}

QList<Forward> ProxyFactory::plan(const QStringList &hosts, const QList<Forward> &records, const QSet<int> &listening)
{
    QList<Forward> all = records;
    QSet<int> taken = listening;
    for (const Forward &record : records)
        taken.insert(record.listenPort);
    int next = FirstPort;
    for (const QString &entry : hosts) {
        const int colon = entry.lastIndexOf(':');
        const QString host = colon < 0 ? entry : entry.left(colon);
        const int port = colon < 0 ? WebPort : entry.mid(colon + 1).toInt();
        const bool known = std::any_of(all.cbegin(), all.cend(),
                                       [&](const Forward &one) { return one.host == host && one.port == port; });
        if (known || host.isEmpty() || port <= 0 || port > 65535)
            continue;
        while (taken.contains(next))
            ++next;
        if (next > 65535)
            break;
        taken.insert(next);
        all.append({next, host, port});
    }
    return all;
}

QSet<int> ProxyFactory::listening(const QString &netstat)
{
    static const QRegularExpression line(QStringLiteral("^\\s*tcp\\S*\\s+(?:\\d+\\s+\\d+\\s+)?\\S*:(\\d+)\\s.*LISTEN"),
                                         QRegularExpression::CaseInsensitiveOption |
                                             QRegularExpression::MultilineOption);
    QSet<int> ports;
    auto it = line.globalMatch(netstat);
    while (it.hasNext())
        ports.insert(it.next().captured(1).toInt());
    return ports;
}

QList<Forward> ProxyFactory::parseRecords(const QByteArray &json)
{
    QList<Forward> records;
    const QJsonDocument document = QJsonDocument::fromJson(json);
    const QJsonArray array = document.array();
    const auto isPort = [](int port) { return port > 0 && port < 65536; };
    QSet<int> taken;
    for (const QJsonValue &value : array) {
        const QJsonArray one = value.toArray();
        const Forward record{one.at(0).toVariant().toInt(), one.at(1).toString(), one.at(2).toVariant().toInt()};
        if (isPort(record.listenPort) && isPort(record.port) && !record.host.isEmpty() &&
            !taken.contains(record.listenPort)) {
            taken.insert(record.listenPort);
            records.append(record);
        }
    }
    if (records.size() < array.size() || (!json.isEmpty() && !document.isArray()))
        qWarning().noquote() << "ProxyFactory::parseRecords: the list of forwarded ports is damaged";
    return records;
}

QByteArray ProxyFactory::recordsJson(const QList<Forward> &records)
{
    QJsonArray array;
    for (const Forward &one : records)
        array.append(QJsonArray{QString::number(one.listenPort), one.host, QString::number(one.port)});
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}
