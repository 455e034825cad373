#include "FakeBusiness.h"
#include "FakeHttp.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "io/NetDown.h"
#include "io/NetTcp.h"
#include "io/NetUp.h"
#include "io/NetWork.h"
#include "support/TestMain.h"

class TestNetWork : public QObject
{
    Q_OBJECT
    QScopedPointer<FakeHttp> http;
    QScopedPointer<FakeBusiness> business;
    NetWork *net = nullptr;

    FuncBody get(const QString &path, int seconds = 0)
    {
        FuncBody back;
        bool done = false;
        net->nget(http->url(path), [&](Request, FuncBody rep) { back = rep; done = true; }, QThread::currentThread(), this, seconds);
        [&] { QTRY_VERIFY(done); }();
        return back;
    }
    // The farm's address, as the business server tells it.
    void tellFarm(const QString &address)
    {
        NetTcp::instance()->setLogin(true);
        business->answer = [=](const FakeRequest &request) {
            const QJsonObject farm{{"addr", address + "/"}, {"addr-internal", "http://inside"},
                                   {"accessToken", QStringLiteral("token-%1").arg(request.object()["farmId"].toInt())}};
            business->reply(request, 1110000, QJsonDocument(farm).toJson());
        };
    }

private slots:
    void initTestCase() { UserInfo::init(); }
    void init()
    {
        http.reset(new FakeHttp);
        business.reset(new FakeBusiness);
        net = NetWork::instance();
        NetTcp::instance()->setHost("127.0.0.1", business->serverPort());
        NetTcp::instance()->resetLink();
        QTRY_VERIFY(business->link);
        QTRY_COMPARE(NetTcp::instance()->socket()->state(), QAbstractSocket::ConnectedState);
    }
    void cleanup()
    {
        NetWork::destroy();
        NetTcp::destroy();
        http.reset();
        business.reset();
    }

    void replies_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("relogin");
        QTest::newRow("object") << FakeHttp::response("{\"result\":1,\"code\":\"7\",\"msg\":\"m\",\"data\":{\"a\":1}}") << "" << 7 << -1;
        QTest::newRow("no json") << FakeHttp::response("5.2.6.0") << "" << 0 << -1;
        QTest::newRow("created") << FakeHttp::response("{\"code\":9}", "201 Created") << "" << 9 << -1;
        QTest::newRow("not found") << FakeHttp::response("{\"code\":9}", "404 Not Found") << "HttpError:" << 0 << -1;
        QTest::newRow("redirect") << FakeHttp::response("", "302 Found", "Location: /x\r\n") << "HttpError:" << 0 << -1;
        QTest::newRow("server fault") << FakeHttp::response("", "500 Oh") << "HttpError:" << 0 << -1;
        QTest::newRow("logged in elsewhere") << FakeHttp::response("", "401 Unauthorized", "status: 1000101\r\n") << "NetworkError:" << 0 << 1000101;
        QTest::newRow("401 of another kind") << FakeHttp::response("", "401 Unauthorized") << "NetworkError:" << 0 << -1;
        QTest::newRow("cut off") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{") << "NetworkError:" << 0 << -1;
    }
    void replies()
    {
        QFETCH(QByteArray, response);
        QFETCH(QString, error);
        QFETCH(int, relogin);
        http->answer = [&](const FakeHttpRequest &) { return response; };
        if (response.endsWith("\n{"))
            http->answer = [&](const FakeHttpRequest &) { http->link->write(response); http->link->disconnectFromHost(); return QByteArray(); };
        QSignalSpy again(net, &NetWork::reLogin);
        const FuncBody rep = get("/x");
        QVERIFY2(error.isEmpty() ? rep.ok() : rep.error.startsWith(error), qPrintable(rep.error));
        QTEST(rep.code, "code");
        QCOMPARE(again.isEmpty() ? -1 : again[0][0].toInt(), relogin);
        if (rep.ok())
            QCOMPARE(rep.raw, response.mid(response.indexOf("\r\n\r\n") + 4));
    }

    void dataAsObjectOrArray()
    {
        const FuncBody object = FuncBody::fromBytes("{\"data\":{\"a\":1}}"), array = FuncBody::fromBytes("{\"data\":[1,2]}");
        QCOMPARE(object.data.value("a").toInt(), 1);
        QVERIFY(object.array.isEmpty() && array.data.isEmpty());
        QCOMPARE(array.array.size(), 2);
    }

    void timeOutThenFinish()
    {
        int calls = 0;
        FuncBody back;
        net->nget(http->url("/slow"), [&](Request, FuncBody rep) { ++calls; back = rep; }, QThread::currentThread(), this, 1);
        QTRY_COMPARE(http->requests.size(), 1);
        QTRY_COMPARE(calls, 1);
        QCOMPARE(back.error, "time out:" + http->url("/slow"));
        if (http->link)
            http->link->write(FakeHttp::response("{}"));
        http->answer = [](const FakeHttpRequest &) { return FakeHttp::response("{}"); };
        get("/after"); // the manager has dealt with all that came before
        QCOMPARE(calls, 1);
    }

    void headersOfEachVerb()
    {
        UserInfo::setSessionToken("session");
        http->answer = [](const FakeHttpRequest &) { return FakeHttp::response("{}"); };
        int done = 0;
        const FuncBack count = [&done](Request, FuncBody) { ++done; };
        Request post;
        post.url = http->url("/post");
        post.byte = "body";
        post.guard = this;
        post.headers = {{"X-Own", "1"}};
        net->npost(post, count, QThread::currentThread());
        QTRY_COMPARE(done, 1);
        net->nput(http->url("/put"), "put", count, QThread::currentThread(), this);
        QTRY_COMPARE(done, 2);
        net->ndel(http->url("/del"), count, QThread::currentThread(), this);
        QTRY_COMPARE(done, 3);
        post.bareAddress = true;
        net->nget(post, count, QThread::currentThread(), this);
        QTRY_COMPARE(done, 4);
        const QList<QByteArray> methods{"POST", "PUT", "DELETE", "GET"};
        for (int i = 0; i < 4; ++i) {
            const FakeHttpRequest &one = http->requests[i];
            QCOMPARE(one.method, methods[i]);
            QCOMPARE(one.header("token"), i < 3 ? UserInfo::token().toUtf8() : QByteArray());
            QCOMPARE(one.header("lang"), i < 3 ? QByteArray::number(UserInfo::languageNumber()) : QByteArray());
            QCOMPARE(one.header("Content-Type"), i < 2 ? QByteArray("application/json") : QByteArray());
            QCOMPARE(one.has("X-BRONTEL-ROLE"), false);
        }
        QCOMPARE(http->requests[0].header("x-own"), QByteArray("1"));
        QCOMPARE(http->requests[1].body, QByteArray("put"));
    }

    void guardGone()
    {
        auto *guard = new QObject;
        int calls = 0;
        http->answer = [&](const FakeHttpRequest &one) {
            if (one.path == "/gone")
                delete guard;
            return FakeHttp::response("{}");
        };
        net->nget(http->url("/gone"), [&calls](Request, FuncBody) { ++calls; }, QThread::currentThread(), guard);
        QTRY_COMPARE(http->requests.size(), 1);
        get("/after");
        QCOMPARE(calls, 0);
    }

    void driveAddressAndStaleOne()
    {
        tellFarm(http->url());
        http->answer = [](const FakeHttpRequest &one) { return FakeHttp::response(one.path.contains("stale") ? "{\"code\":203}" : "{}"); };
        QCOMPARE(net->skydriveUrl(3), http->url("/skydrive"));
        QCOMPARE(net->skydriveUrl(3), http->url("/skydrive"));
        QCOMPARE(net->accessToken(3), QString("token-3"));
        QCOMPARE(business->count(11100), 1); // asked once
        get("/skydrive/files");
        QCOMPARE(http->requests.last().header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("token-3"));
        QCOMPARE(http->requests.last().header("X-BRONTEL-ROLE"), QByteArray("user"));
        get("/skydrive/stale");
        get("/skydrive/files");
        QVERIFY(!http->requests.last().has("X-BRONTEL-ACCESS-TOKEN"));
        QCOMPARE(net->skydriveUrl(3), http->url("/skydrive"));
        QCOMPARE(business->count(11100), 2);
        net->forgetTokens();
        net->skydriveUrl(3);
        QCOMPARE(business->count(11100), 3);
    }

    void farmThatNobodyKnows()
    {
        business->answer = [this](const FakeRequest &request) { business->reply(request, 1110001, "[]"); };
        NetTcp::instance()->setLogin(true);
        QCOMPARE(net->skydriveUrl(9), QString());
        QCOMPARE(net->roleToken(9), QString());
    }

    void roleToken_data()
    {
        QTest::addColumn<QByteArray>("post");
        QTest::addColumn<QByteArray>("get");
        QTest::addColumn<QString>("token");
        const QString uuid = "0b0e6a5c-1111-2222-3333-444455556666";
        const QByteArray data = uuid.toUtf8(), none;
        QTest::newRow("token") << FakeHttp::response("{\"data\":{\"name\":\"x\",\"token\":\"" + data + "\"}}") << none << uuid;
        QTest::newRow("other name") << FakeHttp::response("{\"data\":{\"a\":\"x\",\"uuid\":\"" + data + "\"}}") << none << uuid;
        QTest::newRow("plain text") << FakeHttp::response("{\"data\":\"" + data + "\"}") << none << uuid;
        QTest::newRow("only by GET") << FakeHttp::response("", "405 Method Not Allowed") << FakeHttp::response("{\"data\":\"" + data + "\"}") << uuid;
        QTest::newRow("none") << FakeHttp::response("{\"data\":{\"a\":\"x\"}}") << none << QString();
        QTest::newRow("refused") << FakeHttp::response("", "403 No") << FakeHttp::response("", "403 No") << QString();
    }
    void roleToken()
    {
        QFETCH(QByteArray, post);
        QFETCH(QByteArray, get);
        tellFarm(http->url());
        http->answer = [&](const FakeHttpRequest &one) { return one.method == "POST" ? post : get; };
        QTEST(net->roleToken(4), "token");
        const int asked = http->requests.size();
        QCOMPARE(http->requests[0].path, QByteArray("/storage-secret-token/role"));
        QCOMPARE(http->requests[0].header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("token-4"));
        QCOMPARE(http->requests[0].header("X-BRONTEL-ROLE"), QByteArray("user"));
        QVERIFY(http->requests[0].body.isEmpty());
        QTEST(net->roleToken(4), "token");
        QFETCH(QString, token);
        QCOMPARE(http->requests.size() == asked, !token.isEmpty()); // a good one is kept
    }

    void farmHost_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("port");
        QTest::newRow("at the top") << QByteArray("{\"status\":11040000,\"domain\":\"localhost\",\"port\":7001}") << 7001;
        QTest::newRow("in data") << QByteArray("{\"status\":11040000,\"data\":{\"domain\":\"localhost\",\"port\":\"7001\"}}") << 7001;
        QTest::newRow("refused") << QByteArray("{\"status\":11040001,\"domain\":\"localhost\",\"port\":7001}") << 0;
        QTest::newRow("no json") << QByteArray("<html>") << 0;
    }
    void farmHost()
    {
        QFETCH(QByteArray, body);
        QFile ini(QCoreApplication::applicationDirPath() + "/service.ini");
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[server]\nqnbs=" + http->url().toUtf8() + "\n");
        ini.close();
        Session::clearAddresses();
        http->answer = [&](const FakeHttpRequest &) { return FakeHttp::response(body); };
        const NetWork::FarmHost host = net->farmHost(8);
        ini.remove();
        QTEST(host.port, "port");
        QCOMPARE(http->requests[0].path, QByteArray("/bs/farm/8"));
        if (host.known())
            QVERIFY(QHostAddress(host.ip).isLoopback());
        Session::clearAddresses();
    }

    // Several threads want the same farm at once, and each asks again out of its own nested loop.
    void manyAskForTheSameFarm()
    {
        tellFarm(http->url());
        http->answer = [](const FakeHttpRequest &) { return FakeHttp::response("{\"data\":\"0b0e6a5c111122223333444455556666\"}"); };
        QList<QSharedPointer<QThread>> threads;
        QAtomicInt good(0), inner(0);
        for (int i = 0; i < 4; ++i) {
            auto *worker = new QObject;
            QSharedPointer<QThread> thread(new QThread);
            worker->moveToThread(thread.data());
            connect(thread.data(), &QThread::finished, worker, &QObject::deleteLater);
            connect(thread.data(), &QThread::started, worker, [&, worker] {
                QMetaObject::invokeMethod(worker, [&] { inner.fetchAndAddOrdered(net->roleToken(5).size() != 1); }, Qt::QueuedConnection);
                good.fetchAndAddOrdered(net->roleToken(5) == "0b0e6a5c111122223333444455556666");
            });
            thread->start();
            threads.append(thread);
        }
        QTRY_COMPARE(good.loadAcquire(), 4);
        QTRY_COMPARE(inner.loadAcquire(), 4);
        for (const auto &thread : threads) {
            thread->quit();
            QVERIFY(thread->wait());
        }
    }

    void multipartBody()
    {
        const QByteArray body = NetUp::formBody("B", {{"name", "张"}, {"date", "20240101"}}, "part", "log.zip", QByteArray("\0\r\n", 3));
        QCOMPARE(body, QByteArray("--B\r\nContent-Disposition: form-data;name=\"name\"\r\n\r\n张\r\n"
                                  "--B\r\nContent-Disposition: form-data;name=\"date\"\r\n\r\n20240101\r\n"
                                  "--B\r\nContent-Disposition: form-data;name=\"part\";filename=\"log.zip\"\r\n"
                                  "Content-Type: application/octet-stream\r\n\r\n")
                           + QByteArray("\0\r\n", 3) + "\r\n--B--\r\n");
        NetUp up;
        QVERIFY(!up.upload({{"date", "20240101"}}));              // no name
        QVERIFY(!up.upload({{"name", "a"}, {"date", "no-day"}})); // no such log
    }

    void fetchedFile_data()
    {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<bool>("ok");
        QTest::newRow("whole") << QByteArray("200 OK") << true;
        QTest::newRow("missing") << QByteArray("404 Not Found") << false;
    }
    void fetchedFile()
    {
        QFETCH(QByteArray, status);
        QFETCH(bool, ok);
        const QByteArray content(100000, 'z');
        http->answer = [&](const FakeHttpRequest &) { return FakeHttp::response(content, status); };
        const QString target = testHome() + "/sub/file.bin";
        NetDown down(http->url("/file"), target);
        QSignalSpy finished(&down, &NetDown::netDownFinish);
        QVERIFY(down.start());
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(down.ok(), ok);
        QFile file(target);
        QVERIFY(file.open(QIODevice::ReadOnly));
        if (ok)
            QVERIFY(file.readAll() == content);
        QVERIFY(!NetDown(http->url(), "/proc/none/x").start());
    }
};

VN_TEST(TestNetWork)
#include "tst_network.moc"
