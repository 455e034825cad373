#include "common/Session.h"
#include "common/UserInfo.h"
#include "io/NetDown.h"
#include "io/NetTcp.h"
#include "io/NetUp.h"
#include "io/NetWork.h"
#include "support/BusinessPeer.h"
#include "support/HttpPeer.h"
#include "support/TestMain.h"

class TestNetWork : public QObject
{
    Q_OBJECT
    QScopedPointer<HttpPeer> http;
    QScopedPointer<BusinessPeer> business;
    NetWork *net = nullptr;

    FuncBody get(const QString &path, int seconds = 0)
    {
        FuncBody back;
        bool done = false;
        net->nget(
            http->url(path),
            [&](Request, FuncBody rep) {
                back = rep;
                done = true;
            },
            QThread::currentThread(), this, seconds);
        [&] { QTRY_VERIFY(done); }();
        return back;
    }
    // The farm, asked on this thread and waited for.
    QString drive(int farm)
    {
        QString found, *out = &found;
        bool done = false;
        NetWork::skydriveUrl(farm, this, [&done, out](const QString &url) {
            *out = url;
            done = true;
        });
        [&] { QTRY_VERIFY(done); }();
        return found;
    }
    QString role(int farm)
    {
        QString found;
        bool done = false;
        NetWork::roleToken(farm, this, [&](const QString &, const QString &token) {
            found = token;
            done = true;
        });
        [&] { QTRY_VERIFY_WITH_TIMEOUT(done, 10000); }();
        return found;
    }
    // The farm's address, as the business server tells it.
    void tellFarm(const QString &address)
    {
        business->answer(11100, [=](const BusinessPeer::Request &request) {
            return BusinessPeer::Reply{1110000,
                                       {{"addr", address + "/"},
                                        {"addr-internal", "http://inside"},
                                        {"accessToken", QStringLiteral("token-%1").arg(request.body["farmId"].toInt())}}};
        });
    }

private slots:
    void initTestCase() { UserInfo::init(); }
    void init()
    {
        http.reset(new HttpPeer);
        business.reset(new BusinessPeer);
        QVERIFY(business->takeClient());
        net = NetWork::instance();
    }
    void cleanup()
    {
        NetWork::destroy();
        NetTcp::destroy();
        http.reset();
        business.reset();
    }

    void oneRoadOnly()
    {
        business->answer(11100, 1110000, {{"addr-internal", "10.1.2.3:81/"}, {"accessToken", "t"}});
        QCOMPARE(drive(5), QString("http://10.1.2.3:81/skydrive"));
    }

    void replies_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("relogin");
        QTest::newRow("object") << HttpPeer::response("{\"result\":1,\"code\":\"7\",\"msg\":\"m\",\"data\":{\"a\":1}}") << "" << 7 << -1;
        QTest::newRow("no json") << HttpPeer::response("5.2.6.0") << "" << 0 << -1;
        QTest::newRow("created") << HttpPeer::response("{\"code\":9}", "201 Created") << "" << 9 << -1;
        QTest::newRow("not found") << HttpPeer::response("{\"code\":9}", "404 Not Found") << "HttpError:" << 0 << -1;
        QTest::newRow("redirect") << HttpPeer::response("", "302 Found", "Location: /x\r\n") << "HttpError:" << 0 << -1;
        QTest::newRow("server fault") << HttpPeer::response("", "500 Oh") << "HttpError:" << 0 << -1;
        QTest::newRow("logged in elsewhere") << HttpPeer::response("", "401 Unauthorized", "status: 1000101\r\n") << "NetworkError:" << 0
                                             << 1000101;
        QTest::newRow("401 of another kind") << HttpPeer::response("", "401 Unauthorized") << "NetworkError:" << 0 << -1;
        QTest::newRow("cut off") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{") << "NetworkError:" << 0 << -1;
    }
    void replies()
    {
        QFETCH(QByteArray, response);
        QFETCH(QString, error);
        QFETCH(int, relogin);
        http->answer = [&](const HttpPeer::Request &) { return response; };
        if (response.endsWith("\n{"))
            http->answer = [&](const HttpPeer::Request &) {
                http->link->write(response);
                http->link->disconnectFromHost();
                return QByteArray();
            };
        QSignalSpy again(net, &NetWork::reLogin);
        const FuncBody rep = get("/x");
        QVERIFY2(error.isEmpty() ? rep.ok() : rep.error.startsWith(error), qPrintable(rep.error));
        QTEST(rep.code, "code");
        QCOMPARE(again.isEmpty() ? -1 : again[0][0].toInt(), relogin);
        if (rep.ok())
            QCOMPARE(rep.raw, response.mid(response.indexOf("\r\n\r\n") + 4));
    }

    void timeOutThenFinish()
    {
        int calls = 0;
        FuncBody back;
        net->nget(
            http->url("/slow"),
            [&](Request, FuncBody rep) {
                ++calls;
                back = rep;
            },
            QThread::currentThread(), this, 1);
        QTRY_COMPARE(http->requests.size(), 1);
        QTRY_COMPARE(calls, 1);
        QCOMPARE(back.error, "time out:" + http->url("/slow"));
        if (http->link)
            http->link->write(HttpPeer::response("{}"));
        http->answer = [](const HttpPeer::Request &) { return HttpPeer::response("{}"); };
        get("/after"); // the manager has dealt with all that came before
        QCOMPARE(calls, 1);
    }

    void headersOfEachVerb()
    {
        UserInfo::setSessionToken("session");
        http->answer = [](const HttpPeer::Request &) { return HttpPeer::response("{}"); };
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
            const HttpPeer::Request &one = http->requests[i];
            QCOMPARE(one.method, methods[i]);
            QCOMPARE(one.header("token"), i < 3 ? UserInfo::token().toUtf8() : QByteArray());
            QCOMPARE(one.header("lang"), i < 3 ? QByteArray::number(UserInfo::languageNumber()) : QByteArray());
            QCOMPARE(one.header("Content-Type"), i < 2 ? QByteArray("application/json") : QByteArray());
            QCOMPARE(one.has("X-BRONTEL-ROLE"), false);
        }
        QCOMPARE(http->requests[0].header("x-own"), QByteArray("1"));
        QCOMPARE(http->requests[1].body, QByteArray("put"));
    }

    void driveAddressAndStaleOne()
    {
        tellFarm(http->url());
        http->answer = [](const HttpPeer::Request &one) {
            return HttpPeer::response(one.path.contains("stale") ? "{\"code\":203}" : "{}");
        };
        QCOMPARE(drive(3), http->url("/skydrive"));
        QCOMPARE(drive(3), http->url("/skydrive"));
        QCOMPARE(net->accessToken(3), QString("token-3"));
        QCOMPARE(business->count(11100), 1); // asked once
        get("/skydrive/files");
        QCOMPARE(http->requests.last().header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("token-3"));
        QCOMPARE(http->requests.last().header("X-BRONTEL-ROLE"), QByteArray("user"));
        get("/skydrive/stale");
        get("/skydrive/files");
        QVERIFY(!http->requests.last().has("X-BRONTEL-ACCESS-TOKEN"));
        QCOMPARE(drive(3), http->url("/skydrive"));
        QCOMPARE(business->count(11100), 2);
        net->forgetTokens();
        drive(3);
        QCOMPARE(business->count(11100), 3);
    }

    void farmThatNobodyKnows()
    {
        business->answer(11100, [](const BusinessPeer::Request &) { return BusinessPeer::Reply{1110001, {}, false, "[]"}; });
        QCOMPARE(drive(9), QString());
        QCOMPARE(role(9), QString());
    }

    void roleToken_data()
    {
        QTest::addColumn<QByteArray>("post");
        QTest::addColumn<QByteArray>("get");
        QTest::addColumn<QString>("token");
        const QString uuid = "0b0e6a5c-1111-2222-3333-444455556666";
        const QByteArray data = uuid.toUtf8(), none;
        QTest::newRow("token") << HttpPeer::response("{\"data\":{\"name\":\"x\",\"token\":\"" + data + "\"}}") << none << uuid;
        QTest::newRow("other name") << HttpPeer::response("{\"data\":{\"a\":\"x\",\"uuid\":\"" + data + "\"}}") << none << uuid;
        QTest::newRow("plain text") << HttpPeer::response("{\"data\":\"" + data + "\"}") << none << uuid;
        QTest::newRow("only by GET") << HttpPeer::response("", "405 Method Not Allowed")
                                     << HttpPeer::response("{\"data\":\"" + data + "\"}") << uuid;
        QTest::newRow("none") << HttpPeer::response("{\"data\":{\"a\":\"x\"}}") << none << QString();
        QTest::newRow("refused") << HttpPeer::response("", "403 No") << HttpPeer::response("", "403 No") << QString();
    }
    void roleToken()
    {
        QFETCH(QByteArray, post);
        QFETCH(QByteArray, get);
        tellFarm(http->url());
        http->answer = [&](const HttpPeer::Request &one) { return one.method == "POST" ? post : get; };
        QTEST(role(4), "token");
        const int asked = http->requests.size();
        QCOMPARE(http->requests[0].path, QByteArray("/storage-secret-token/role"));
        QCOMPARE(http->requests[0].header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("token-4"));
        QCOMPARE(http->requests[0].header("X-BRONTEL-ROLE"), QByteArray("user"));
        QVERIFY(http->requests[0].body.isEmpty());
        QTEST(role(4), "token");
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
        http->answer = [&](const HttpPeer::Request &) { return HttpPeer::response(body); };
        NetWork::FarmHost host;
        bool done = false;
        NetWork::farmHost(8, this, [&](const NetWork::FarmHost &found) {
            host = found;
            done = true;
        });
        QTRY_VERIFY(done);
        ini.remove();
        QTEST(host.port, "port");
        QCOMPARE(http->requests[0].path, QByteArray("/bs/farm/8"));
        if (host.known())
            QVERIFY(QHostAddress(host.ip).isLoopback());
        Session::clearAddresses();
    }

    void multipartBody()
    {
        const QByteArray body = NetUp::formBody("B", {{"name", "张"}, {"date", "20240101"}}, "part", "log.zip", QByteArray("\0\r\n", 3));
        QCOMPARE(body, QByteArray("--B\r\nContent-Disposition: form-data;name=\"name\"\r\n\r\n张\r\n"
                                  "--B\r\nContent-Disposition: form-data;name=\"date\"\r\n\r\n20240101\r\n"
                                  "--B\r\nContent-Disposition: form-data;name=\"part\";filename=\"log.zip\"\r\n"
                                  "Content-Type: application/octet-stream\r\n\r\n") +
                           QByteArray("\0\r\n", 3) + "\r\n--B--\r\n");
        NetUp up;
        QVERIFY(!up.upload({{"date", "20240101"}}));              // no name
        QVERIFY(!up.upload({{"name", "a"}, {"date", "no-day"}})); // no such log
    }

    void fetchedFile()
    {
        const QByteArray content(100000, 'z');
        http->answer = [&](const HttpPeer::Request &one) { return HttpPeer::response(content, one.path == "/file" ? "200 OK" : "404 No"); };
        QFile target(testHome() + "/sub/file.bin");
        for (const char *path : {"/none", "/file"}) { // what the first one leaves is in the way of the second
            NetDown down(http->url(path), target.fileName());
            QSignalSpy finished(&down, &NetDown::netDownFinish);
            QVERIFY(down.start());
            QTRY_COMPARE(finished.size(), 1);
            QCOMPARE(down.ok(), path == QByteArray("/file"));
        }
        QVERIFY(target.open(QIODevice::ReadOnly));
        QVERIFY(target.readAll() == content);
        QVERIFY(!NetDown(http->url(), "/proc/none/x").start());
    }
};

VN_TEST(TestNetWork)
#include "tst_network.moc"
