#include "common/UserInfo.h"
#include "io/NetTcp.h"
#include "support/BusinessPeer.h"
#include "support/TestMain.h"

class TestNetTcp : public QObject
{
    Q_OBJECT
    NetTcp *tcp = nullptr;
    QScopedPointer<BusinessPeer> server;
    using Request = BusinessPeer::Request;
    using Reply = BusinessPeer::Reply;

private slots:
    void initTestCase() { UserInfo::init(); }
    void init()
    {
        server.reset(new BusinessPeer);
        server->answerOthers([](const Request &request) { return Reply{request.cmd * 100, request.body}; });
        QVERIFY(server->takeClient());
        tcp = NetTcp::instance();
        tcp->setLogin(false);
        QTRY_COMPARE(server->links(), 1);
    }
    void cleanup()
    {
        NetTcp::destroy();
        server.reset();
    }

    void beforeLogin_data()
    {
        QTest::addColumn<int>("cmd");
        QTest::addColumn<bool>("login");
        QTest::addColumn<bool>("sent");
        QTest::newRow("heart beat") << 10000 << false << true;
        QTest::newRow("session token") << 10308 << false << true;
        QTest::newRow("login") << 10309 << false << true;
        QTest::newRow("order too early") << 10400 << false << false;
        QTest::newRow("order") << 10400 << true << true;
    }
    void beforeLogin()
    {
        QFETCH(int, cmd);
        QFETCH(bool, login);
        QFETCH(bool, sent);
        tcp->setLogin(login);
        int val = -1;
        QJsonDocument doc;
        tcp->nvds(
            cmd / 100, cmd, QJsonObject{{"a", 1}},
            [&](int v, QJsonDocument d) {
                val = v;
                doc = d;
            },
            this);
        bool heart = false;
        tcp->nvds(
            100, 10000, QJsonObject(), [&heart](int, QJsonDocument) { heart = true; }, this);
        QTRY_VERIFY(heart); // requests go out in order, so the one before has had its turn
        QCOMPARE(val, sent ? cmd * 100 : -1);
        QCOMPARE(server->count(cmd) - (cmd == 10000 ? 1 : 0), sent ? 1 : 0);
        if (sent) {
            QCOMPARE(doc.object().value("a").toInt(), 1);
            QCOMPARE(server->requests(cmd).last().module, cmd / 100);
        }
        QCOMPARE(tcp->pending(), 0);
    }

    void replyWithoutJson()
    {
        server->answer(10308, [](const Request &) { return Reply{5, {}, false, "no json {"}; });
        bool called = false;
        tcp->nvds(
            103, 10308, QJsonObject(), [&](int val, QJsonDocument doc) { called = val == 5 && doc.isNull(); }, this);
        QTRY_VERIFY(called);
    }

    void deadGuard()
    {
        auto *guard = new QObject;
        int calls = 0;
        server->answer(10308, [&](const Request &) {
            delete guard;
            return Reply{1, {}};
        });
        tcp->nvds(
            103, 10308, QJsonObject(), [&calls](int, QJsonDocument) { ++calls; }, guard);
        QTRY_COMPARE(server->count(10308), 1);
        tcp->nvds(103, 10309, QJsonObject(), [&calls](int, QJsonDocument) { ++calls; }); // no guard at all
        bool done = false;
        tcp->nvds(
            100, 10000, QJsonObject(), [&done](int, QJsonDocument) { done = true; }, this);
        QTRY_VERIFY(done);
        QCOMPARE(calls, 0);
        QCOMPARE(tcp->pending(), 0);
    }

    void repliesGoBackToTheAskingThread()
    {
        QThread thread;
        thread.start();
        auto *worker = new QObject;
        worker->moveToThread(&thread);
        QAtomicInt right(0);
        QMetaObject::invokeMethod(worker, [&] {
            for (int i = 0; i < 50; ++i)
                tcp->nvds(
                    103, 10308, QJsonObject(), [&](int, QJsonDocument) { right.fetchAndAddOrdered(QThread::currentThread() == &thread); },
                    worker);
        });
        QTRY_COMPARE(right.loadAcquire(), 50);
        // A thread that is gone by the time of the answer.
        server->answerOthers({});
        QMetaObject::invokeMethod(worker, [&] {
            tcp->nvds(
                103, 10309, QJsonObject(), [&](int, QJsonDocument) { right.storeRelease(-1); }, worker);
        });
        QTRY_COMPARE(server->count(10309), 1);
        worker->deleteLater();
        thread.quit();
        QVERIFY(thread.wait());
        server->reply(server->requests(10309).last(), 1030900);
        QTRY_COMPARE(tcp->pending(), 0);
        QCOMPARE(right.loadAcquire(), 50);
    }

    void pushes()
    {
        QSignalSpy kicked(tcp, &NetTcp::kicked), pushed(tcp, &NetTcp::bsPush), stream(tcp, &NetTcp::bsStream);
        server->sendText(-1, 10001, 1000101, {});
        server->sendText(-1, 10413, 1041300, "{\"missionId\":7}");
        server->sendText(-1, 10407, 3, "raw");
        server->sendText(999, 10407, 4, "late");
        QTRY_COMPARE(stream.size(), 2);
        QCOMPARE(kicked.size(), 1);
        QCOMPARE(kicked[0][0].toInt(), 1000101);
        QCOMPARE(pushed.size(), 2);
        QCOMPARE(pushed[0][2].toInt(), 10413);
        QCOMPARE(pushed[0][1].toJsonDocument().object().value("missionId").toInt(), 7);
        QCOMPARE(stream[0][2].toByteArray(), QByteArray("raw"));
        QCOMPARE(stream[1][1].toInt(), 4);
    }

    // A kick resets the link while its package is being read; what came with it belongs to the old session.
    void resetForgetsEverything()
    {
        server->answerOthers({});
        int calls = 0;
        tcp->nvds(
            103, 10308, QJsonObject(), [&calls](int, QJsonDocument) { ++calls; }, this);
        QTRY_COMPARE(server->count(10308), 1);
        QCOMPARE(tcp->pending(), 1);
        const auto once = connect(tcp, &NetTcp::kicked, this, [this] { tcp->resetLink(); });
        server->socket()->write(BusinessPeer::package(-1, 10001, 110, "") + BusinessPeer::package(0, 10308, 1, "{}"));
        QTRY_COMPARE(server->links(), 2);
        QTRY_COMPARE(tcp->socket()->state(), QAbstractSocket::ConnectedState);
        disconnect(once);
        QCOMPARE(tcp->pending(), 0);
        QCOMPARE(calls, 0);
    }

    void loss()
    {
        QSignalSpy lost(tcp, &NetTcp::linkLost), up(tcp, &NetTcp::linkUp), login(tcp, &NetTcp::loginChanged);
        QCOMPARE(tcp->heartInterval(), 60000);
        tcp->setLogin(true);
        QVERIFY(NetTcp::isLogin());
        server->socket()->disconnectFromHost();
        QTRY_COMPARE(lost.size(), 1);
        QCOMPARE(tcp->heartInterval(), 6000);
        QVERIFY(!NetTcp::isLogin());
        QCOMPARE(login.last()[0].toBool(), false);
        tcp->reconnect();
        tcp->reconnect(); // one attempt at a time
        QTRY_COMPARE(up.size(), 1);
        QCOMPARE(tcp->heartInterval(), 60000);
        QTRY_COMPARE(server->links(), 2);
    }

    // A server that drops every link at once is left alone for a moment between two.
    void shortLivedLink()
    {
        const auto again = connect(tcp, &NetTcp::linkLost, this, [this] { tcp->resetLink(); });
        QElapsedTimer since;
        since.start();
        server->cut();
        QTRY_COMPARE(server->links(), 2);
        QVERIFY2(since.elapsed() >= 900, qPrintable(QString::number(since.elapsed())));
        disconnect(again);
    }

    void brokenStreamClosesTheLink()
    {
        QSignalSpy lost(tcp, &NetTcp::linkLost);
        QByteArray bad = BusinessPeer::package(1, 10400, 0, "");
        qToBigEndian<qint32>(-5, bad.data() + 4);
        server->socket()->write(QByteArray(36, 'x'));
        QTRY_COMPARE(tcp->badHeads(), 1);
        QCOMPARE(lost.size(), 0); // out of step, but the link stays
        server->socket()->write(bad);
        QTRY_COMPARE(lost.size(), 1);
    }
};

VN_TEST(TestNetTcp)
#include "tst_nettcp.moc"
