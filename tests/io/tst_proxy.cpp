#include "common/UserInfo.h"
#include "io/ProxyFactory.h"
#include "support/TestMain.h"

class TestProxy : public QObject
{
    Q_OBJECT
    static QString state(const QList<int> &ports)
    {
        QString text = "Active Connections\r\n  Proto  Local Address          Foreign Address        State\r\n"
                       "  TCP    10.0.0.2:50000         10.0.0.1:46170         ESTABLISHED\r\n";
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
        QCOMPARE(ProxyFactory::listening(state({80, 46161})), (QSet<int>{80, 46161}));
        QCOMPARE(ProxyFactory::listening("tcp        0      0 127.0.0.1:631   0.0.0.0:*   LISTEN\n"), (QSet<int>{631}));
        QVERIFY(ProxyFactory::listening("garbage").isEmpty());
    }

    void plan()
    {
        const QList<Forward> records{{46161, "bs", 29909}};
        const QList<Forward> all = ProxyFactory::plan({"bs:29909", "rest:8080", "rest:8080", "plain", ":1", "x:99999"}, records, {46162});
        QCOMPARE(all, (QList<Forward>{{46161, "bs", 29909}, {46163, "rest", 8080}, {46164, "plain", 80}}));
        QCOMPARE(ProxyFactory::parseRecords(ProxyFactory::recordsJson(all)), all);
        QVERIFY(ProxyFactory::parseRecords("[[1],[\"a\",2],3,").isEmpty());
    }

    void openProxy_data()
    {
        QTest::addColumn<int>("elevated");
        QTest::addColumn<bool>("opens");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("why");
        QTest::newRow("opened") << 1 << true << true << "";
        QTest::newRow("refused by the user") << -1 << false << false << "端口转发失败！请检查系统相关服务是否正常运行。";
        QTest::newRow("service doesn't run") << 1 << false << false << "端口监听失败！46161";
    }
    void openProxy()
    {
        QFETCH(int, elevated);
        QFETCH(bool, opens);
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
        QCOMPARE(ProxyFactory::portOf("bs"), ok ? 46161 : 0);
        QCOMPARE(ProxyFactory::pairs().size(), ok ? 1 : 0);
        if (ok) { // a second start finds all of it in place
            QVERIFY(ProxyFactory::openProxy({"bs:29909"}, true, &why, tools));
            QCOMPARE(runs, 1);
            QCOMPARE(ProxyFactory::pairs()[0].toArray(), (QJsonArray{"46161", "bs"}));
        }
    }

    void seatWithoutTools()
    {
        QVERIFY(ProxyFactory::openProxy({"bs:1"}, true, nullptr, ProxyTools()));
        QVERIFY(ProxyFactory::openProxy({"bs:1"}, false));
        QCOMPARE(ProxyFactory::portOf("bs"), 0);
    }

    void query()
    {
        ProxyFactory::addPairs({QJsonArray{"46165", "far"}, QJsonArray{"no", "bad"}, 5});
        ProxyFactory factory;
        const QNetworkProxy through = factory.queryProxy(QNetworkProxyQuery(QUrl("http://far/x")))[0];
        QCOMPARE(through.hostName(), UserInfo::masterHost());
        QCOMPARE(int(through.port()), 46165);
        QCOMPARE(factory.queryProxy(QNetworkProxyQuery(QUrl("http://bad/x")))[0].type(), QNetworkProxy::NoProxy);
        QCOMPARE(factory.queryProxy(QNetworkProxyQuery("far", 29909))[0].type(), QNetworkProxy::NoProxy);
    }
};

VN_TEST(TestProxy)
#include "tst_proxy.moc"
