#include "common/UserInfo.h"
#include "farm/Wires.h"
#include "support/BusinessPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"

class TestNetTcp : public QObject
{
    Q_OBJECT
    NetTcp *tcp = nullptr;
    QScopedPointer<BusinessPeer> server;
    using Request = BusinessPeer::Request;
    using Answer = BusinessPeer::Reply;
    QStringList ends; // of the questions, in order

    Ask question(int cmd, const QJsonObject &body = {})
    {
        static const char *const losses[] = {"no link", "link lost", "time out"};
        return Ask(cmd, body)
            .answered([this](int val, const QJsonDocument &doc) {
                ends << QStringLiteral("answered %1%2").arg(val).arg(doc.isNull() ? " null" : "");
            })
            .refused([this](int val, const QJsonDocument &) { ends << QStringLiteral("refused %1").arg(val); })
            .lost([this](Ask::Loss why) { ends << losses[why]; });
    }
    void start(const LinkTimes &times = {})
    {
        NetTcp::destroy();
        NetTcp::create(times);
        tcp = NetTcp::instance();
        tcp->setHost("127.0.0.1", server->port());
        tcp->resetLink();
        QTRY_COMPARE(tcp->socket()->state(), QAbstractSocket::ConnectedState);
        QTRY_COMPARE(server->links(), 1);
    }
    bool logIn(Bench &bench) // as the login page does
    {
        QString session;
        bool in = false;
        Ask(10308, {{"thirdParty", 0}})
            .whenLinked()
            .any([&session](int, const QJsonDocument &doc) { session = doc.object()["token"].toString(); })
            .send(this);
        if (!comes([&session] { return !session.isEmpty(); }))
            return false;
        bench.get("/xclient/login", {}, "POST", json({{"sessionId", session}, {"username", "demo"}, {"password", "demo"}}));
        Ask(10309).answered([&in](int, const QJsonDocument &) { in = true; }).send(this);
        if (!comes([&in] { return in; }))
            return false;
        tcp->setLogin(true);
        return true;
    }

private slots:
    void initTestCase() { UserInfo::init(); }
    void init()
    {
        ends.clear();
        server.reset(new BusinessPeer);
        server->answerOthers([](const Request &request) { return Answer{request.cmd * 100, request.body}; });
        start();
    }
    void cleanup()
    {
        NetTcp::destroy();
        server.reset();
    }

    void questions_data()
    {
        columns<QString, QString>("fault", "end");
        addRow("answered", "", "answered 1050200");
        addRow("refused", "refuse.10502=1050299@1", "refused 1050299");
        addRow("no json", "bad-json.10502=1@1", "answered 1050200 null");
        addRow("byte by byte", "split-business=1", "answered 1050200");
        addRow("reply dropped", "drop-reply.10502=1@1", "time out");
        addRow("too late", "delay-reply.10502=400", "time out");
        addRow("cut before", "cut-on.10502=1@1", "link lost");
        addRow("cut after", "cut-after.10502=1@1", "link lost");
    }
    void questions() // on the living farm
    {
        QFETCH(QString, fault);
        Bench bench;
        tcp->setHost("127.0.0.1", bench.ports.business);
        tcp->resetLink();
        QVERIFY(logIn(bench));
        if (!fault.isEmpty())
            QVERIFY(bench.farm.faults().set(fault));
        const bool silent = fault.contains("drop") || fault.contains("delay");
        question(10502).within(silent ? 100 : 10000).send(this);
        QTRY_COMPARE(ends.size(), 1);
        QTEST(ends[0], "end");
        QCOMPARE(tcp->pending(), 0);
        if (fault.startsWith("delay")) // what comes after the end finds nobody
            QTRY_VERIFY(bench.farm.counters().packages >= 3);
        QCOMPARE(ends.size(), 1);
        QCOMPARE(bench.farm.violations().join(" | "), QString());
    }

    void beforeLogin_data()
    {
        columns<int, bool, QString>("cmd", "login", "end");
        addRow("session token", 10308, false, "answered 1030800");
        addRow("login", 10309, false, "answered 1030900");
        addRow("order too early", 10421, false, "no link");
        addRow("order", 10421, true, "answered 1042100");
    }
    void beforeLogin()
    {
        FETCH(int, cmd, bool, login);
        tcp->setLogin(login);
        question(cmd, {{"a", 1}}).send(this);
        QTRY_COMPARE(ends.size(), 1);
        QTEST(ends[0], "end");
        QCOMPARE(server->count(cmd), ends[0] == "no link" ? 0 : 1);
        if (ends[0] != "no link") {
            QCOMPARE(server->last(cmd), (QJsonObject{{"a", 1}}));
            QCOMPARE(server->requests(cmd).last().module, cmd / 100);
        }
    }

    // A question that may wait goes out with the login, or ends at its deadline; without a link object it ends too.
    void waitsForTheLogin()
    {
        question(10421).within(20).whenLinked().send(this);
        QTRY_COMPARE(ends, QStringList("time out"));
        question(10502).within(10000).whenLinked().send(this);
        auto *guard = new QObject;
        question(10506).within(10000).whenLinked().send(guard);
        int logins = 0;
        NetTcp::afterLogin(this, [&logins] { ++logins; });
        QCOMPARE(logins, 0);
        question(10308).send(this);
        QTRY_COMPARE(ends.size(), 2);
        delete guard;
        tcp->setLogin(true);
        QTRY_COMPARE(ends.value(2), QString("answered 1050200"));
        NetTcp::afterLogin(this, [&logins] { ++logins; }); // at once
        QCOMPARE(logins, 2);
        tcp->setLogin(false);
        tcp->setLogin(true);
        QCOMPARE(logins, 4);
        QTRY_COMPARE(server->count(10506), 1); // sent, but nobody hears of it
        QCOMPARE(server->count(10421), 0);
        NetTcp::destroy();
        question(10502).send(this);
        QTRY_COMPARE(ends.size(), 4);
        QCOMPARE(ends[3], QString("no link"));
    }

    void deadGuard()
    {
        auto *guard = new QObject;
        server->answer(10308, [&](const Request &) {
            delete guard;
            return Answer{1, {}};
        });
        question(10308).send(guard);
        QTRY_COMPARE(server->count(10308), 1);
        tcp->nvds(
            103, 10309, QJsonObject(), [this](int, QJsonDocument) { ends << "heard"; }, nullptr);
        tcp->nvds(
            100, 10000, QJsonObject(), [this](int, QJsonDocument) { ends << "end"; }, this);
        QTRY_COMPARE(ends, QStringList("end"));
        QCOMPARE(tcp->pending(), 0);
    }

    void repliesGoBackToTheAskingThread()
    {
        QThread thread;
        thread.start();
        auto *worker = new QObject;
        worker->moveToThread(&thread);
        QAtomicInt right(0);
        const auto ask = [&](int cmd) {
            Ask(cmd).any([&](int, QJsonDocument) { right.fetchAndAddOrdered(QThread::currentThread() == &thread); }).send(worker);
        };
        QMetaObject::invokeMethod(worker, [&] {
            for (int i = 0; i < 50; ++i)
                ask(10308);
        });
        QTRY_COMPARE(right.loadAcquire(), 50);
        // A thread that is gone by the time of the answer.
        server->answerOthers({});
        QMetaObject::invokeMethod(worker, [&] { ask(10309); });
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

    // What ends the server's memory of something goes out only once the stores are on the disk.
    void lastWordsWaitForTheDisk()
    {
        static bool settled;
        settled = false;
        NetTcp::setBarrier([] { return settled; });
        tcp->setLogin(true);
        for (int cmd : {10400, 10413, 10417, 10703, 10704, 10802})
            question(cmd).send(this);
        QTRY_COMPARE(ends.size(), 6);
        QCOMPARE(ends.count("no link"), 6);
        QVERIFY(server->all().isEmpty());
        settled = true;
        question(10704).send(this);
        QTRY_COMPARE(ends.last(), QString("answered 1070400"));
        NetTcp::setBarrier(nullptr);
    }

    // What was asked within a login ends with it, also where the link stays.
    void endOfALogin()
    {
        tcp->setLogin(true);
        server->answerOthers({});
        question(10502).send(this);
        QTRY_COMPARE(server->count(10502), 1);
        tcp->setLogin(false);
        QTRY_COMPARE(ends, QStringList("link lost"));
    }

    // A kick resets the link while its package is being read; what came with it belongs to the old session.
    void resetForgetsEverything()
    {
        server->answerOthers({});
        question(10308).send(this);
        QTRY_COMPARE(server->count(10308), 1);
        const auto once = connect(tcp, &NetTcp::kicked, this, [this] { tcp->resetLink(); });
        server->socket()->write(BusinessPeer::package(-1, 10001, 110, "") + BusinessPeer::package(0, 10308, 1030800, "{}"));
        QTRY_COMPARE(server->links(), 2);
        QTRY_COMPARE(tcp->socket()->state(), QAbstractSocket::ConnectedState);
        disconnect(once);
        QCOMPARE(tcp->pending(), 0);
        QCOMPARE(ends, QStringList("link lost"));
    }

    void loss()
    {
        QSignalSpy lost(tcp, &NetTcp::linkLost), up(tcp, &NetTcp::linkUp), login(tcp, &NetTcp::loginChanged);
        QCOMPARE(tcp->heartInterval(), 60000);
        tcp->setLogin(true);
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

    // A kick, or a link that ended at once, is followed by a pause; kicks in a row by longer ones, until a link holds.
    void pauses()
    {
        QList<int> pauses;
        for (int i = 0; i < 9; ++i) {
            tcp->resetLink(1000101);
            QCOMPARE(tcp->heartInterval(), 6000);
            pauses << tcp->pause();
        }
        QCOMPARE(pauses, (QList<int>{1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000, 60000}));
        tcp->reconnect(); // the user's wish
        QCOMPARE(tcp->pause(), 0);
        QTRY_COMPARE(tcp->socket()->state(), QAbstractSocket::ConnectedState);
        QTRY_COMPARE(server->links(), 2);
        const auto again = connect(tcp, &NetTcp::linkLost, this, [this] { tcp->resetLink(112); });
        server->cut(); // at once
        QTRY_COMPARE(tcp->pause(), 1000);
        disconnect(again);

        LinkTimes quick;
        quick.pause = 10;
        quick.stable = 1;
        quick.shortLife = 0;
        quick.heartOff = 20; // a heart beat doesn't cut the pause short
        server.reset(new BusinessPeer);
        start(quick);
        for (int i = 0; i < 3; ++i) {
            bool held = false;
            QTimer::singleShot(30, this, [&held] { held = true; });
            QTRY_VERIFY(held);
            tcp->resetLink(1000100);
            QCOMPARE(tcp->pause(), 10);
            QTRY_COMPARE(server->links(), 2 + i);
        }
    }

    void heartBeats()
    {
        LinkTimes quick;
        quick.heartOn = quick.heartOff = 10;
        server.reset(new BusinessPeer);
        server->answer(10000, 0);
        start(quick);
        QSignalSpy lost(tcp, &NetTcp::linkLost);
        QTRY_VERIFY(server->count(10000) >= 6);
        QCOMPARE(lost.size(), 0);
        server->silence(10000);
        server->forget();
        QTRY_COMPARE(lost.size(), 1);
        QVERIFY(server->count(10000) >= 3 && server->count(10000) < 8); // some may have been on their way
        server->answer(10000, 0);
        QTRY_COMPARE(server->links(), 2); // the next one brings the link back
    }

    void packageWithoutEnd()
    {
        LinkTimes quick;
        quick.package = 400;
        server.reset(new BusinessPeer);
        start(quick);
        QSignalSpy lost(tcp, &NetTcp::linkLost), pushed(tcp, &NetTcp::bsPush);
        const QByteArray whole = BusinessPeer::package(-1, 10413, 0, "{}");
        server->socket()->write(whole + whole.left(20));
        QTRY_COMPARE(pushed.size(), 1);
        server->socket()->write(whole.mid(20));
        QTRY_COMPARE(pushed.size(), 2);
        bool later = false;
        QTimer::singleShot(quick.package + 50, this, [&later] { later = true; });
        QTRY_VERIFY(later);
        QCOMPARE(lost.size(), 0); // it was completed
        server->socket()->write(whole.left(40 - 3));
        QTRY_COMPARE(lost.size(), 1);
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
