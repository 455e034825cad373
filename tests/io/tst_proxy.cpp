#include "common/Session.h"
#include "common/UserInfo.h"
#include "io/PortRelay.h"
#include "io/ProxyFactory.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>

class TestProxy : public QObject
{
    Q_OBJECT
    static QString state(const QList<int> &ports)
    {
        QString text = "Active Connections\r\n  Proto  Local Address          Foreign Address        State\r\n"
                       "  TCP    10.0.0.2:50000         10.0.0.1:46270         ESTABLISHED\r\n";
        for (int port : ports)
            text += QStringLiteral("  TCP    0.0.0.0:%1           0.0.0.0:0              LISTENING\r\n").arg(port);
        return text;
    }

private slots:
    void initTestCase() { UserInfo::init(); }
    void init()
    {
        ProxyFactory::clear();
        QFile::remove(UserInfo::allUserDir() + "/netshadd");
    }

    void listening()
    {
        QCOMPARE(ProxyFactory::listening(state({80, 46261})), (QSet<int>{80, 46261}));
        QCOMPARE(ProxyFactory::listening("tcp        0      0 127.0.0.1:631   0.0.0.0:*   LISTEN\n"), (QSet<int>{631}));
        QVERIFY(ProxyFactory::listening("garbage").isEmpty());
    }

    void plan()
    {
        const QList<Forward> records{{46261, "bs", 29909}};
        const QList<Forward> all = ProxyFactory::plan({"bs:29909", "rest:8080", "rest:8080", "plain", ":1", "x:99999"}, records, {46262});
        QCOMPARE(all, (QList<Forward>{{46261, "bs", 29909}, {46263, "rest", 8080}, {46264, "plain", 80}}));
        QCOMPARE(ProxyFactory::parseRecords(ProxyFactory::recordsJson(all)), all);
        QVERIFY(ProxyFactory::parseRecords("[[1],[\"a\",2],3,").isEmpty());
        const QByteArray damaged = R"([["5","a","1"],["5","b","2"],[6,"c",70000],7,["8","d","3"]])";
        QCOMPARE(ProxyFactory::parseRecords(damaged), (QList<Forward>{{5, "a", 1}, {8, "d", 3}}));
    }

    void openProxy_data()
    {
        columns<int, bool, bool, QString>("elevated", "opens", "ok", "why");
        addRow("opened", 1, true, true, "");
        addRow("refused by the user", -1, false, false, "端口转发失败！请检查系统相关服务是否正常运行。");
        addRow("service doesn't run", 1, false, false, "端口监听失败！46261");
    }
    void openProxy()
    {
        FETCH(int, elevated, bool, opens);
        QList<int> open;
        int runs = 0;
        ProxyTools tools;
        tools.netstat = [&] { return state(open); };
        tools.netshadd = [&](const QString &json) {
            ++runs;
            for (const Forward &one : ProxyFactory::parseRecords(json.toUtf8()))
                if (opens)
                    open.append(one.listenPort);
            return elevated;
        };
        QString why;
        QTEST(ProxyFactory::openProxy({"bs:29909"}, true, &why, tools), "ok");
        QTEST(why, "why");
        QFETCH(bool, ok);
        QCOMPARE(ProxyFactory::portOf("bs"), ok ? 46261 : 0);
        QCOMPARE(ProxyFactory::pairs().size(), ok ? 1 : 0);
        if (ok) { // a second start finds all of it in place
            QVERIFY(ProxyFactory::openProxy({"bs:29909"}, true, &why, tools));
            QCOMPARE(runs, 1);
            QCOMPARE(ProxyFactory::pairs()[0].toArray(), (QJsonArray{"46261", "bs", 29909}));
        }
    }

    // The program's own forwarding takes the next port where one can't be had, and keeps to it afterwards.
    void openHere()
    {
        ProxyTools tools;
        tools.open = [](const Forward &one) { return one.listenPort > 46262; };
        for (int start = 0; start < 2; ++start) {
            QVERIFY(ProxyFactory::openProxy({"bs:29909"}, true, nullptr, tools));
            QCOMPARE(ProxyFactory::portOf("bs", 29909), 46263);
        }
        // Of a thousand records of an earlier run only so many are kept, none that leads to this machine unasked, and one
        // whose port can't be had any more doesn't keep the others from theirs.
        QList<Forward> many{{46263, "bs", 29909}, {46264, "127.0.0.1", 22}, {46265, "localhost", 80}};
        for (int i = 0; i < 1500; ++i)
            many.append({47000 + i, "farm.example", i + 1});
        ProxyFactory::clear();
        QFile records(UserInfo::allUserDir() + "/netshadd");
        QVERIFY(records.open(QIODevice::WriteOnly) && records.write(ProxyFactory::recordsJson(many)) > 0);
        records.close();
        tools.open = [](const Forward &one) { return one.port != 3; };
        QVERIFY(ProxyFactory::openProxy({"bs:29909", "127.0.0.1:80"}, true, nullptr, tools));
        QCOMPARE(ProxyFactory::pairs().size(), ProxyFactory::MaxForwards - 1 - 1);
        QCOMPARE(ProxyFactory::portOf("bs", 29909), 46263);
        QCOMPARE(ProxyFactory::portOf("127.0.0.1", 22) + ProxyFactory::portOf("localhost", 80), 0);
        QVERIFY(ProxyFactory::portOf("127.0.0.1", 80) != 0); // asked for by service.ini
        ProxyFactory::clear();
        tools.open = [](const Forward &) { return false; };
        QString why;
        QVERIFY(!ProxyFactory::openProxy({"rest:80"}, true, &why, tools));
        QVERIFY(why.startsWith("端口监听失败！"));
    }

    // Two at once don't plan for the same port.
    void twoAtOnce()
    {
        QMutex mutex;
        QList<int> open;
        QSemaphore reading;
        ProxyTools tools;
        tools.netstat = [&] {
            reading.release(); // the other one has its turn before this one has opened anything
            reading.tryAcquire(2, 100);
            const QMutexLocker lock(&mutex);
            return state(open);
        };
        tools.netshadd = [&](const QString &json) {
            const QMutexLocker lock(&mutex);
            for (const Forward &one : ProxyFactory::parseRecords(json.toUtf8()))
                open.append(one.listenPort);
            return 1;
        };
        QScopedPointer<QThread> other(QThread::create([&] { ProxyFactory::openProxy({"a:80"}, true, nullptr, tools); }));
        other->start();
        QVERIFY(ProxyFactory::openProxy({"b:80"}, true, nullptr, tools));
        QVERIFY(other->wait());
        QCOMPARE(ProxyFactory::pairs().size(), 2);
        QVERIFY(ProxyFactory::portOf("a", 80) != ProxyFactory::portOf("b", 80));
    }

    // The login page of a farm may stand on a host of its own, behind https.
    void ownServers()
    {
        QFile service(UserInfo::programDir() + "/service.ini");
        QVERIFY(service.open(QIODevice::WriteOnly));
        service.write("[server]\nqnbs=http://farm.example:8080\nlogin=https://login.example/a\nupdate=http://farm.example:8080\n");
        service.close();
        Session::clearAddresses();
        QCOMPARE(ProxyFactory::ownServers(), (QStringList{"farm.example:29909", "farm.example:8080", "login.example:443"}));
        QVERIFY(service.remove());
        Session::clearAddresses();
        // Where the system's own service forwards, the program does what that can't.
        QStringList tunnels, forwarded;
        ProxyTools tools;
        tools.netstat = [&] { return state(forwarded.isEmpty() ? QList<int>() : QList<int>{46261}); };
        tools.netshadd = [&](const QString &json) {
            forwarded.append(json);
            return 1;
        };
        tools.tunnel = [&](const Forward &one) {
            tunnels.append(one.host);
            return true;
        };
        QVERIFY(ProxyFactory::openProxy({"farm.example:8080", "login.example:443"}, true, nullptr, tools));
        QCOMPARE(tunnels, QStringList{"login.example"});
        QVERIFY(forwarded.size() == 1 && !forwarded[0].contains("login"));
        QCOMPARE(ProxyFactory::portOf("login.example", 443), 46262);
    }

    // One host with two servers: each has its own port, and the master itself is never asked through itself.
    void twoServersOfAHost()
    {
        const QUrl master(UserInfo::master());
        ProxyFactory::addPairs({QJsonArray{"46270", master.host(), 29909}, QJsonArray{"46271", master.host(), 8080}});
        ProxyFactory factory;
        const auto port = [&](int target) {
            return int(
                factory.queryProxy(QNetworkProxyQuery(QUrl(QStringLiteral("http://%1:%2/x").arg(master.host()).arg(target))))[0].port());
        };
        QCOMPARE(port(8080), 46271);
        QCOMPARE(port(8081), 0);
        QCOMPARE(port(master.port()), 0);
    }

    void query()
    {
        ProxyFactory::addPairs({QJsonArray{"46265", "far"}, QJsonArray{"no", "bad"}, 5});
        ProxyFactory factory;
        const QNetworkProxy through = factory.queryProxy(QNetworkProxyQuery(QUrl("http://far/x")))[0];
        QCOMPARE(through.hostName(), UserInfo::masterHost());
        QCOMPARE(int(through.port()), 46265);
        ProxyFactory::addPairs({QJsonArray{"46266", "login.example", 443}, 5});
        const QNetworkProxy sealed = factory.queryProxy(QNetworkProxyQuery(QUrl("https://login.example/x")))[0];
        QCOMPARE(QStringLiteral("%1 %2").arg(sealed.type()).arg(sealed.port()), QStringLiteral("%1 46266").arg(QNetworkProxy::HttpProxy));
        QCOMPARE(factory.queryProxy(QNetworkProxyQuery(QUrl("http://bad/x")))[0].type(), QNetworkProxy::NoProxy);
        QCOMPARE(factory.queryProxy(QNetworkProxyQuery("far", 29909))[0].type(), QNetworkProxy::NoProxy);
    }
};

class TestPortRelay : public QObject
{
    Q_OBJECT
    static int freePort()
    {
        QTcpServer probe;
        return probe.listen(QHostAddress::LocalHost) ? probe.serverPort() : 0;
    }

private slots:
    void directRequest_data()
    {
        columns<QByteArray, QByteArray>("in", "out");
        addRow("path", QByteArray("POST http://h:8080/a?b HTTP/1.1\r\n"), QByteArray("POST /a?b HTTP/1.1\r\n"));
        addRow("no path", QByteArray("GET HTTP://h HTTP/1.1\r\n"), QByteArray("GET / HTTP/1.1\r\n"));
        for (const char *same : {"GET /http://h HTTP/1.1", "\x01\x02 http://h/ ", "", "GET http://h", "DATA1234567 http://h/"})
            addRow(same, QByteArray(same), QByteArray(same));
    }
    void directRequest()
    {
        QFETCH(QByteArray, in);
        QTEST(PortRelay::directRequest(in), "out");
    }

    void carriesBothWays()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const Forward forward{freePort(), "127.0.0.1", server.serverPort()};
        QVERIFY(PortRelay::instance()->open(forward) && PortRelay::instance()->open(forward));
        QVERIFY(!PortRelay::instance()->open({forward.listenPort, "127.0.0.2", forward.port})); // it leads elsewhere
        QTcpSocket seat;
        seat.connectToHost("127.0.0.1", quint16(forward.listenPort));
        QTRY_VERIFY(server.hasPendingConnections());
        QTcpSocket *far = server.nextPendingConnection();
        const QByteArray much(3000000, 'u');
        seat.write("GET http://x/p HTTP/1.1\r\n\r\n");
        QTRY_COMPARE(far->bytesAvailable(), qint64(19));
        QCOMPARE(far->readAll(), QByteArray("GET /p HTTP/1.1\r\n\r\n"));
        far->write(much);
        far->disconnectFromHost();
        QTRY_COMPARE(seat.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(seat.readAll().size(), much.size());

        // An https client asks for its server first; every byte behind that is the two ends' own.
        const QByteArray own = "127.0.0.1:" + QByteArray::number(server.serverPort());
        QTcpSocket sealed, strange;
        sealed.connectToHost("127.0.0.1", quint16(forward.listenPort));
        QTRY_VERIFY(server.hasPendingConnections());
        far = server.nextPendingConnection();
        sealed.write("CONNE");
        QVERIFY(sealed.waitForBytesWritten());
        sealed.write("CT " + own + " HTTP/1.1\r\nHost: " + own + "\r\n\r\n");
        QTRY_COMPARE(sealed.bytesAvailable(), qint64(39));
        QCOMPARE(sealed.readAll(), QByteArray("HTTP/1.1 200 Connection established\r\n\r\n"));
        sealed.write("GET http://x/p HTTP/1.1\r\n");
        QTRY_COMPARE(far->bytesAvailable(), qint64(25));
        QCOMPARE(far->readAll(), QByteArray("GET http://x/p HTTP/1.1\r\n"));
        strange.connectToHost("127.0.0.1", quint16(forward.listenPort));
        strange.write("CONNECT 127.0.0.1:22 HTTP/1.1\r\n\r\n");
        QTRY_COMPARE(strange.state(), QAbstractSocket::UnconnectedState);
    }
};

VN_TEST(TestPortRelay)
VN_TEST(TestProxy)
#include "tst_proxy.moc"
