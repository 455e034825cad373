#pragma once
// Lets subordinate seats reach the servers through their master. On the master, openProxy() makes the system forward
// one local port per server; on a seat, an instance installed as the application's proxy factory sends requests for a
// forwarded host to the master's port. The map is shared by all instances and may be used from any thread.
#include <functional>
#include <QCoreApplication>
#include <QJsonArray>
#include <QList>
#include <QNetworkProxyFactory>
#include <QSet>
#include <QStringList>

struct Forward {
    int listenPort = 0;
    QString host;
    int port = 0;
    bool operator==(const Forward &o) const { return listenPort == o.listenPort && host == o.host && port == o.port; }
};

// The system's tools as seen by openProxy; tests put their own here.
struct ProxyTools {
    std::function<QString()> netstat;                 // output of "netstat -an"
    std::function<int(const QString &json)> netshadd; // elevated run; 1 started, -1 refused
    std::function<void()> settle;                     // gives the system's service time to open the ports
    // Where the program itself forwards, in place of the others: false when the port can't be had.
    std::function<bool(const Forward &)> open;
    std::function<bool(const Forward &)> tunnel; // ... beside the others, for what they can't: https
    static ProxyTools system();                  // empty members where the system has no such tools
};

class ProxyFactory : public QNetworkProxyFactory
{
    Q_DECLARE_TR_FUNCTIONS(ProxyFactory)
public:
    static constexpr int FirstPort =
        46261; // forwarded ports are taken from here on, clear of those that seats beside it listen on
    static constexpr int MaxForwards = 64;
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override;

    // hosts: "host:port" each. Blocks while the tools run (some seconds). master: this seat's role; on another seat,
    // and on a system without port forwarding, nothing is opened and true is returned. On false, why has a text for the
    // user, who is told through the window too if there is one.
    static bool openProxy(QStringList hosts, bool master, QString *why = nullptr,
                          const ProxyTools &tools = ProxyTools::system());

    // The pairs (port as text, host; this client adds the server's port, since one host may have several servers) that
    // a seat asks its master for, and their way into the seat's map.
    static QJsonArray pairs();
    static void addPairs(const QJsonArray &pairs);
    // The master's port for a server; port 0 takes any of the host. 0: not forwarded.
    static int portOf(const QString &host, int port = 0);
    static void clear();

    // What a seat needs before it can log in, "host:port" each: the business server and the addresses of service.ini
    // that its windows ask.
    static QStringList ownServers();
    static bool leadsHere(const QString &host); // the host is this machine

    // What may be opened again of the ports kept from an earlier run: none that leads to this machine but those in
    // hosts, MaxForwards at most; the others are told and passed by.
    static QList<Forward> usable(const QList<Forward> &records, const QStringList &hosts);
    // Decisions of openProxy. A host that has a record keeps its port; others get the next port that nobody listens on.
    static QList<Forward> plan(const QStringList &hosts, const QList<Forward> &records, const QSet<int> &listening);
    static QSet<int> listening(const QString &netstat);
    static QList<Forward> parseRecords(const QByteArray &json);
    static QByteArray recordsJson(const QList<Forward> &records); // [[listenPort, connectAddress, connectPort], ...]

private:
    static bool openHere(const QList<Forward> &all, const QStringList &hosts, const ProxyTools &tools, QString *why);
    static bool openMissing(QList<Forward> missing, const ProxyTools &tools, QString *why);
};
