#include "common/Session.h"
#include "common/UserInfo.h"
#include "farm/Wires.h"
#include "io/NetDown.h"
#include "io/NetTcp.h"
#include "io/NetTcpDown.h"
#include "io/NetUp.h"
#include "io/ProxyFactory.h"
#include "io/WebAsk.h"
#include "support/BusinessPeer.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <quazip/quazipfile.h>

class TestNetWork : public QObject
{
    Q_OBJECT
    QScopedPointer<HttpPeer> http;
    QScopedPointer<BusinessPeer> business;
    NetWork *net = nullptr;

    QString end; // of the last question, with the word of the way it went
    FuncBody got;

    WebAsk question(const QString &url)
    {
        end.clear();
        return WebAsk::get(url)
            .answered([this](const FuncBody &rep) { end = "answered", got = rep; })
            .refused([this](const FuncBody &rep) { end = "refused " + rep.error, got = rep; })
            .lost([this](const QString &error) { end = "lost " + error; });
    }
    FuncBody get(const QString &path)
    {
        got = {};
        question(http->url(path)).send(this);
        [&] { QTRY_VERIFY(!end.isEmpty()); }();
        return got;
    }
    static QString withoutWords(const QString &text) // the words behind it are the toolkit's
    {
        return QString(text).replace(QRegularExpression("NetworkError:.*$"), "NetworkError");
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
        [&] { QTRY_VERIFY(done); }();
        return found;
    }
    // The farm's address, as the business server tells it.
    void tellFarm(const QString &address)
    {
        business->answer(11100, [=](const BusinessPeer::Request &request) {
            return BusinessPeer::Reply{
                1110000,
                {{"addr", "HTTP" + address.mid(4) + "/"},
                 {"addr-internal", "http://inside"},
                 {"accessToken", QStringLiteral("00000000-0000-0000-0000-00000000000%1").arg(request.body["farmId"].toInt())}}};
        });
    }

    static void setAddress(const QByteArray &name, const QString &url)
    {
        QFile ini(QCoreApplication::applicationDirPath() + "/service.ini");
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[server]\n" + name + "=" + url.toUtf8() + "\n");
        ini.close();
        if (name.isEmpty())
            ini.remove();
        Session::clearAddresses();
    }
    static QByteArray askFor(const Bench &bench, const QJsonObject &told)
    {
        const QByteArray body = json({{"startPoint", 0}, {"path", told["downloadPath"]}});
        return be32(0x11121314) + be32(0) + be64(-1) + be32(70100) + bench.token + be32(body.size()) + body;
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

    void replies_data()
    {
        columns<QByteArray, QString, int, int>("response", "wanted", "code", "relogin");
        addRow("object", HttpPeer::response("{\"result\":1,\"code\":\"7\",\"msg\":\"m\",\"data\":{\"a\":1}}"), "answered", 7, -1);
        addRow("no json", HttpPeer::response("5.2.6.0"), "answered", 0, -1);
        addRow("created", HttpPeer::response("{\"code\":9}", "201 Created"), "answered", 9, -1);
        addRow("not found", HttpPeer::response("{\"code\":9}", "404 Not Found"), "refused HttpError:404", 0, -1);
        addRow("redirect", HttpPeer::response("", "302 Found", "Location: /x\r\n"), "refused HttpError:302", 0, -1);
        addRow("server fault", HttpPeer::response("", "500 Oh"), "refused HttpError:500", 0, -1);
        addRow("logged in elsewhere", HttpPeer::response("", "401 Unauthorized", "status: 1000101\r\n"), "refused NetworkError", 0,
               1000101);
        addRow("401 of another kind", HttpPeer::response("", "401 Unauthorized"), "refused NetworkError", 0, -1);
        addRow("cut off", QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{"), "lost NetworkError", 0, -1);
    }
    void replies()
    {
        FETCH(QByteArray, response, int, relogin);
        http->answer = [&](const HttpPeer::Request &) {
            if (!response.endsWith("\n{"))
                return response;
            http->link->write(response);
            http->link->disconnectFromHost();
            return QByteArray();
        };
        QSignalSpy again(net, &NetWork::reLogin);
        const FuncBody rep = get("/x");
        QTEST(withoutWords(end), "wanted");
        QTEST(rep.code, "code");
        QCOMPARE(again.isEmpty() ? -1 : again[0][0].toInt(), relogin);
        if (rep.ok() && end == "answered")
            QCOMPARE(rep.raw, response.mid(response.indexOf("\r\n\r\n") + 4));
    }

    // What was asked for isn't done twice where the link breaks in place of the answer.
    void sentOnce()
    {
        http->answer = [this](const HttpPeer::Request &) {
            http->link->disconnectFromHost();
            return QByteArray();
        };
        Request request;
        request.url = http->url("/make");
        using Verb = WebAsk (*)(const Request &);
        for (const auto &[verb, name, body] : Rows<Verb, QByteArray, QByteArray>{{&WebAsk::post, "POST", "{\"a\":1}"},
                                                                                 {&WebAsk::post, "POST", QByteArray(70000, ' ')},
                                                                                 {&WebAsk::post, "POST", ""},
                                                                                 {&WebAsk::put, "PUT", "{}"},
                                                                                 {&WebAsk::del, "DELETE", ""}}) {
            request.byte = body;
            http->requests.clear();
            end.clear();
            verb(request).failed([this] { end = "failed"; }).send(this);
            QTRY_COMPARE(end, QString("failed"));
            QCOMPARE(http->requests.size(), 1);
            QVERIFY(http->requests[0].method == name && http->requests[0].body == body);
        }
    }

    // A service that takes requests and never answers: each is aborted at its deadline, and those behind it get their
    // turn, though only six go to one service at a time.
    void silentService()
    {
        int lost = 0;
        for (int i = 0; i < 12; ++i)
            WebAsk::get(http->url("/silent"))
                .within(50)
                .failed([&lost] { ++lost; })
                .answered([](const FuncBody &) { QFAIL("?"); })
                .send(this);
        QTRY_COMPARE(lost, 12);
        http->answer = [](const HttpPeer::Request &) { return HttpPeer::response("{}"); };
        get("/after");
        QCOMPARE(end, QString("answered"));
        NetWork::destroy();
        question(http->url()).send(this);
        QTRY_VERIFY(end.startsWith("lost"));
        QCOMPARE(lost, 12);
    }

    // A master that refuses to forward, or names other ports, isn't taken for a road to the farm.
    void seatBehindItsMaster_data()
    {
        columns<QByteArray, bool>("answer", "reached");
        addRow("forwarded", QByteArray(R"({"result":1,"code":0,"data":[["46270","127.0.0.1",PORT]]})"), true);
        addRow("refused", QByteArray(R"({"result":0,"code":1,"msg":"no","data":[]})"), false);
        addRow("another server", QByteArray(R"({"result":1,"code":0,"data":[["46270","127.0.0.1",9]]})"), false);
        addRow("refused, with pairs", QByteArray(R"({"result":0,"code":1,"data":[["46270","127.0.0.1",PORT]]})"), false);
    }
    void seatBehindItsMaster()
    {
        FETCH(QByteArray, answer, bool, reached);
        UserInfo::setAllValue("Server", "role", "slave");
        UserInfo::setAllValue("Server", "master", http->url());
        tellFarm(http->url());
        http->answer = [&](const HttpPeer::Request &) {
            return HttpPeer::response(QByteArray(answer).replace("PORT", QByteArray::number(http->serverPort())));
        };
        const QString url = drive(6);
        UserInfo::setAllValue("Server", "role", "");
        ProxyFactory::clear();
        QCOMPARE(url, reached ? http->url("/skydrive") : QString());
        QCOMPARE(net->skydriveUrl(6), url); // only a good one is kept
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
        QCOMPARE(net->accessToken(3), QString("00000000-0000-0000-0000-000000000003"));
        QCOMPARE(business->count(11100), 1); // asked once
        get("/skydrive/files");
        QCOMPARE(http->requests.last().header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("00000000-0000-0000-0000-000000000003"));
        QCOMPARE(http->requests.last().header("X-BRONTEL-ROLE"), QByteArray("user"));
        get("/skydrive/stale");
        get("/skydrive/files");
        QCOMPARE(http->requests.last().header("X-BRONTEL-ACCESS-TOKEN"),
                 QByteArray("00000000-0000-0000-0000-000000000003")); // until there is a new one
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
        columns<QByteArray, QByteArray, QString>("post", "get", "token");
        const QString uuid = "0b0e6a5c-1111-2222-3333-444455556666";
        const QByteArray data = uuid.toUtf8(), none;
        addRow("token", HttpPeer::response("{\"data\":{\"name\":\"x\",\"token\":\"" + data + "\"}}"), none, uuid);
        addRow("other name", HttpPeer::response("{\"data\":{\"a\":\"x\",\"uuid\":\"" + data + "\"}}"), none, uuid);
        addRow("plain text", HttpPeer::response("{\"data\":\"" + data + "\"}"), none, uuid);
        addRow("only by GET", HttpPeer::response("", "405 Method Not Allowed"), HttpPeer::response("{\"data\":\"" + data + "\"}"), uuid);
        addRow("its access alone", HttpPeer::response("{\"data\":{\"a\":\"x\"}}"), none, "00000000-0000-0000-0000-000000000004");
        addRow("none", HttpPeer::response("{\"result\":0,\"code\":1,\"data\":{}}"), none, QString());
        addRow("refused", HttpPeer::response("", "403 No"), HttpPeer::response("", "403 No"), QString());
        addRow("unknown there", HttpPeer::response("", "400 No"), HttpPeer::response("", "404 No"), "00000000-0000-0000-0000-000000000004");
    }
    void roleToken()
    {
        FETCH(QByteArray, post, QByteArray, get);
        tellFarm(http->url());
        http->answer = [&](const HttpPeer::Request &one) { return one.method == "POST" ? post : get; };
        QTEST(role(4), "token");
        const int asked = http->requests.size();
        QCOMPARE(http->requests[0].path, QByteArray("/storage-secret-token/role"));
        QCOMPARE(http->requests[0].header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("00000000-0000-0000-0000-000000000004"));
        QCOMPARE(http->requests[0].header("X-BRONTEL-ROLE"), QByteArray("user"));
        QVERIFY(http->requests[0].body.isEmpty());
        QTEST(role(4), "token");
        QFETCH(QString, token);
        QCOMPARE(http->requests.size() == asked, !token.isEmpty()); // a good one is kept
    }

    void farmHost_data()
    {
        columns<QByteArray, int>("body", "port");
        addRow("at the top", QByteArray("{\"status\":11040000,\"domain\":\"localhost\",\"port\":7001}"), 7001);
        addRow("in data", QByteArray("{\"status\":11040000,\"data\":{\"domain\":\"localhost\",\"port\":\"7001\"}}"), 7001);
        addRow("refused", QByteArray("{\"status\":11040001,\"domain\":\"localhost\",\"port\":7001}"), 0);
        addRow("no json", QByteArray("<html>"), 0);
    }
    void farmHost()
    {
        QFETCH(QByteArray, body);
        setAddress("qnbs", http->url());
        http->answer = [&](const HttpPeer::Request &) { return HttpPeer::response(body); };
        NetWork::FarmHost host;
        bool done = false;
        NetWork::farmHost(8, this, [&](const NetWork::FarmHost &found) {
            host = found;
            done = true;
        });
        QTRY_VERIFY(done);
        QTEST(host.port, "port");
        QCOMPARE(http->requests[0].path, QByteArray("/bs/farm/8"));
        if (host.known())
            QVERIFY(QHostAddress(host.ip).isLoopback());
        setAddress({}, {});
    }

    // The small transfers, from the living farm: a result, byte by byte off its file server, a page, and a day's log.
    void smallTransfers()
    {
        FarmOptions options;
        options.framesPerSecond = 0;
        Bench bench(options);
        bench.login();
        const int task = bench.order({"D:/a/island.tgd"}, Bench::camera("1"));
        QCOMPARE(FileWire(bench).upload(task, "D/a/island.tgd", noise(50)), 7000404);
        bench.wire->ask(10704, {{"missionId", task}});
        const QJsonArray rows = bench.wire->push(10413).object()["rows"].toArray();
        const QJsonObject told = bench.wire->ask(10800, {{"fileId", rows.at(0).toObject()["id"]}}).object();
        const QByteArray request = askFor(bench, told);
        for (const char *fault : {"", "download-code=7010001@1", "refuse-file=1@1", "delay-file=60000@1"}) {
            bench.farm.faults().set(fault);
            NetTcpDown stream;
            QByteArray bytes;
            connect(&stream, &NetTcpDown::dataRead, this, [&bytes](const QByteArray &piece) { bytes += piece; });
            connect(&stream, &NetTcpDown::dataRead, &stream, [&] {
                if (bytes.size() == told["size"].toInt())
                    stream.stop();
            });
            QSignalSpy over(&stream, &NetTcpDown::tcpDownOver);
            stream.start("127.0.0.1", bench.ports.file, request, QByteArray(fault).startsWith("delay") ? 300 : Patience);
            QTRY_COMPARE(over.size(), 1);
            QCOMPARE(md5(bytes) == told["hash"].toString(), fault[0] == 0);
        }
        const QString url = QStringLiteral("http://127.0.0.1:%1").arg(bench.ports.http);
        QFile target(testHome() + "/sub/file.bin");
        for (const char *fault : {"http-status=404@1", "http-silent=1@1", "http-delay=1"}) {
            bench.farm.faults().clear();
            bench.farm.faults().set(fault); // what a failed one leaves is in the way of the next
            NetDown down(url + "/getUpdateVersion.htm", target.fileName());
            QSignalSpy finished(&down, &NetDown::netDownFinish);
            QVERIFY(down.start(QByteArray(fault).startsWith("http-silent") ? 300 : Patience));
            QTRY_COMPARE(finished.size(), 1);
            QCOMPARE(down.ok(), fault == QByteArray("http-delay=1"));
        }
        QVERIFY(target.open(QIODevice::ReadOnly));
        QCOMPARE(target.readAll(), options.version.toUtf8());
        QVERIFY(!NetDown(url, "/proc/none/x").start());
        bench.farm.faults().clear();

        QFile log(UserInfo::allUserDir() + "/log-20240101.txt");
        QVERIFY(log.open(QIODevice::WriteOnly));
        log.write("[1]-3- [0|0] {\"password\":\"hunter2\",\"a\":1}\r\n");
        log.close();
        setAddress("logs", url + "/logs");
        NetUp up;
        QVERIFY(!up.upload({{"date", "20240101"}}));              // no name
        QVERIFY(!up.upload({{"name", "a"}, {"date", "no-day"}})); // no such log
        QSignalSpy sent(&up, &NetUp::finished);
        QVERIFY(up.upload({{"name", "张"}, {"date", "20240101"}}));
        QTRY_COMPARE(sent.size(), 1);
        setAddress({}, {});
        QCOMPARE(sent[0][0].toBool(), true);
        QDir logs(bench.options.dir + "/logs");
        QFile form(logs.filePath(logs.entryList({"upload-*"}).value(0)));
        QVERIFY(form.open(QIODevice::ReadOnly));
        const QByteArray body = form.readAll();
        QVERIFY(body.contains("form-data;name=\"name\"\r\n\r\n张\r\n"));
        QFile zip(testHome() + "/log.zip");
        QVERIFY(zip.open(QIODevice::WriteOnly));
        const int from = body.indexOf("octet-stream\r\n\r\n") + 16;
        zip.write(body.mid(from, body.lastIndexOf("\r\n--") - from));
        zip.close();
        QuaZipFile unzip(zip.fileName(), "log-20240101.txt");
        QVERIFY(unzip.open(QIODevice::ReadOnly));
        const QByteArray text = unzip.readAll();
        QVERIFY2(text.contains("\"a\":1") && !text.contains("hunter2"), text.constData());
    }
};

VN_TEST(TestNetWork)
#include "tst_network.moc"
