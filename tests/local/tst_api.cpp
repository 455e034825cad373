#include "common/CommonConfig.h"
#include "common/UserInfo.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "io/KnownHosts.h"
#include "io/local/ApiTable.h"
#include "io/local/CmdHand.h"
#include "io/local/HttpServer.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "io/PortRelay.h"
#include "io/ProxyFactory.h"
#include "resolve/ParameterModel.h"
#include "support/BusinessPeer.h"
#include "support/Row.h"
#include "support/Spies.h"
#include "support/TestMain.h"

namespace
{
QByteArray json(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }
} // namespace

class TestApi : public QObject
{
    Q_OBJECT
    QScopedPointer<BusinessPeer> business;
    using Reply = BusinessPeer::Reply;
    QScopedPointer<HttpServer> server;
    QScopedPointer<ResolveSpy> queue;
    QScopedPointer<DownSpy> down;

    // Sends the pieces one after the other, each once the one before is on its way, and reads until the server closes.
    QByteArray raw(const QList<QByteArray> &pieces)
    {
        QTcpSocket socket;
        QByteArray got;
        bool closed = false;
        connect(&socket, &QTcpSocket::readyRead, &socket, [&] { got += socket.readAll(); });
        connect(&socket, &QTcpSocket::disconnected, &socket, [&] { closed = true; });
        socket.connectToHost("127.0.0.1", server->port());
        [&] { QTRY_VERIFY(closed || socket.state() == QAbstractSocket::ConnectedState); }();
        for (const QByteArray &piece : pieces) {
            socket.write(piece);
            [&] { QTRY_COMPARE(socket.bytesToWrite(), 0); }();
            QCoreApplication::processEvents();
        }
        [&] { QTRY_VERIFY(closed); }();
        return got + socket.readAll();
    }
    QJsonObject post(const QString &target, const QByteArray &body = "", const QByteArray &method = "POST")
    {
        const QByteArray got =
            raw({method + " " + target.toUtf8() + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + QByteArray::number(body.size()) +
                 "\r\n\r\n" + body});
        if (!got.startsWith("HTTP/1.1 200 OK\r\nServer: qserver\r\nConnection: keep-alive\r\nContent-Length: "))
            return {{"msg", "bad head: " + QString::fromUtf8(got.left(200))}};
        return QJsonDocument::fromJson(got.mid(got.indexOf("\r\n\r\n") + 4)).object();
    }
    QString msg(const QString &target, const QByteArray &body = "", const QByteArray &method = "POST")
    {
        return post(target, body, method).value("msg").toString();
    }
    void beMaster()
    {
        ProxyFactory::clear();
        KnownHosts::clear();
        UserInfo::setAllValue("Server", "role", "master");
        QVERIFY(UserInfo::isMaster());
    }
    QString scene(const QString &name)
    {
        QFile file(testHome() + "/" + name);
        [&] { QVERIFY(file.open(QIODevice::WriteOnly)); }();
        return file.fileName();
    }
    db_resolve addScene(int state, const QString &order, const QString &rset = "{}")
    {
        db_resolve row;
        row.rkey = row.pri = 1000;
        row.state = state;
        row.ordernum = order;
        row.missionid = order.toInt();
        row.lpath = "/scenes/a_" + order + ".tgd";
        row.project = "p";
        row.projectId = 3;
        row.rtime = QDateTime(QDate(2024, 2, 3), QTime(4, 5, 6)).toMSecsSinceEpoch();
        row.fok = 2;
        row.fsum = 5;
        row.rset = rset;
        row.rdata = R"({"sceneName":"a","modelParameters":{"frames":"1-3"},"resStatus":0})";
        row.rfile = R"("files":["/t.png"])";
        QList<db_resolve> rows{row};
        [&] { QVERIFY(ResolveDAO::instance()->insertBatch(&rows)); }();
        return rows[0];
    }

private slots:
    void initTestCase()
    {
        UserInfo::init();
        UserInfo::initUser({{"userId", 42}, {"username", "u"}, {"feeUserIds", QJsonArray{77}}});
    }
    void init()
    {
        QDir(UserInfo::userDir()).removeRecursively();
        QDir().mkpath(UserInfo::userDir());
        QVERIFY(ResolveDAO::instance()->open(UserInfo::userDir()));
        QVERIFY(DownloadDAO::instance()->open(UserInfo::userDir()));
        business.reset(new BusinessPeer);
        business->answerOthers([](const BusinessPeer::Request &request) { return Reply{request.cmd * 100, request.body}; });
        QVERIFY(business->takeClient());
        queue.reset(new ResolveSpy);
        down.reset(new DownSpy);
        server.reset(new HttpServer);
        QVERIFY(server->initHttpServer(0));
    }
    void cleanup()
    {
        server.reset();
        queue.reset();
        down.reset();
        NetTcp::destroy();
        business.reset();
        ResolveDAO::instance()->releaseResolve();
        DownloadDAO::instance()->releaseDown();
        UserInfo::setAllValue("Server", "role", "");
        ProxyFactory::clear();
    }

    // A port that another program has is taken once it's free.
    void portIsTakenLater()
    {
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::Any));
        const int port = other.serverPort();
        HttpServer late;
        late.setRetry(10);
        QVERIFY(!late.initHttpServer(port));
        other.close();
        QTRY_COMPARE(int(late.port()), port);
    }

    void forwarded_data()
    {
        columns<QString, int, QByteArray>("target", "cmd", "body");
        addRow("account", "/account", 10307, QByteArray("{}"));
        addRow("projects", "/project", 10502, QByteArray("{}"));
        addRow("environments", "/env?projectId=3&softwareType=8", 10506, QByteArray(R"({"projectId":3,"software_type":8})"));
        addRow("machines", "/machine?farmId=2&projectId=3", 11102, QByteArray(R"({"farmId":2,"projectId":3})"));
        addRow("tasks", "/job", 10427,
               QByteArray(R"({"missionStatus":[1000],"name":"","page":0,"pageCount":20,"projectId":[-1],"userId":[-1]})"));
        addRow("tasks, chosen", "/job?status=1110,1120&name=%E5%9C%BA&page=2&projectId=5&userId=-1", 10427,
               QByteArray(R"({"missionStatus":[1110,1120],"name":"场","page":2,"pageCount":20,"projectId":[5],"userId":[-1]})"));
        addRow("task", "/job/detail?mid=7", 10409, QByteArray(R"({"missionId":7})"));
        addRow("frames", "/subjob?mid=7&page=1", 10402, QByteArray(R"({"missionId":7,"status":-1,"page":1})"));
        addRow("log", "/subjob/log?mid=7&subjobId=70&farmId=2", 10804, QByteArray(R"({"missionId":7,"subjobId":70,"farmId":2})"));
        addRow("frames again", "/subjob/rerender?mid=7&subjobIds=70,72-73", 10425, QByteArray(R"({"missionId":7,"subjobIds":"70,72,73"})"));
        addRow("handover", "/job/handover?mids=7,8&userId=43", 10423, QByteArray(R"({"missionIds":"7,8","handoverUserId":43})"));
    }
    void forwarded()
    {
        FETCH(QString, target, int, cmd, QByteArray, body);
        const QJsonObject rep = post(target);
        QCOMPARE(rep.value("code").toInt(), cmd * 100);
        QCOMPARE(rep.value("result").toInt(), 1);
        QCOMPARE(QJsonDocument::fromJson(business->requests(cmd).last().text), QJsonDocument::fromJson(body));
        QCOMPARE(business->requests(cmd).last().module, cmd / 100);
        QCOMPARE(rep.value("data").toObject(), QJsonDocument::fromJson(body).object());
    }

    void refusedByTheServer()
    {
        business->answer(10409, [](const BusinessPeer::Request &) { return Reply{1040522, {}, false, "not json"}; });
        const QJsonObject rep = post("/job/detail?mids=1,2");
        QCOMPARE(rep.value("code").toInt(), 1040522);
        QCOMPARE(rep.value("result").toInt(), 0);
        QCOMPARE(rep.value("msg").toString(), QString("补帧失败，账户信息获取失败"));
        QCOMPARE(business->count(10409), 2);
    }

    void noAnswerOrNoSession()
    {
        business->answerOthers({});
        QByteArray got;
        auto *hand = new CmdHand(1);
        connect(hand, &CmdHand::cmdOver, this, [&got](const QByteArray &body) { got = body; });
        hand->start("POST", "/account");
        QTRY_VERIFY(!got.isEmpty());
        QCOMPARE(QJsonDocument::fromJson(got).object().value("msg").toString(), QString("服务器没有应答，请稍后再试"));
        NetTcp::instance()->setLogin(false);
        QCOMPARE(msg("/account"), QString("客户端未登录"));
    }

    void unknown_data()
    {
        QTest::addColumn<QByteArray>("request");
        addRow("path", QByteArray("POST /jobs HTTP/1.1\r\n\r\n"));
        addRow("longer path", QByteArray("POST /job/ HTTP/1.1\r\n\r\n"));
        addRow("get", QByteArray("GET /account HTTP/1.1\r\n\r\n"));
        addRow("put", QByteArray("PUT /masterInfo HTTP/1.1\r\n\r\n"));
        addRow("words from outside", QByteArray("POST /localClient HTTP/1.1\r\n\r\n"));
        addRow("foreign page", QByteArray("POST /account HTTP/1.1\r\nOrigin: http://evil.example\r\n\r\n"));
        addRow("foreign host", QByteArray("POST /account HTTP/1.1\r\nHost: evil.example\r\n\r\n"));
    }
    void unknown()
    {
        QFETCH(QByteArray, request);
        const QByteArray got = raw({request});
        QVERIFY(got.startsWith("HTTP/1.1 200 OK\r\n"));
        const QJsonObject rep = QJsonDocument::fromJson(got.mid(got.indexOf("\r\n\r\n"))).object();
        QCOMPARE(rep.value("msg").toString(), QString("没有此接口"));
        QVERIFY(!rep.contains("data"));
        QCOMPARE(rep.value("result").toInt(-1), 0);
        QVERIFY(business->all().isEmpty());
    }

    void piecesAndForms()
    {
        QVERIFY(raw({"po", "st //readable///acc", "ount HTTP/1.1\r\nContent-Le", "ngth: 3\r\n\r\na", "bcdef"}).contains("{\n    \"code\""));
        QCOMPARE(business->count(10307), 1);
        QCOMPARE(msg("/masterInfo", "", "get"), QString());
        // A tool that waits to be told before it sends its body.
        const QByteArray got = raw({"POST /account HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n", "{}"});
        QVERIFY(got.startsWith("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n"));
    }

    // Who may not ask is told so before the body comes, and all bodies together have one ceiling.
    void refusedAtTheHead()
    {
        const QByteArray head = "POST /account HTTP/1.1\r\nContent-Length: " + QByteArray::number(HttpRequest::MaxBody) + "\r\n";
        QVERIFY(raw({head + "Origin: http://evil.example\r\n\r\n"}).contains("没有此接口"));
        QCOMPARE(server->bodies(), 0);
        const QByteArray half(HttpRequest::MaxBody / 2, 'x');
        QTcpSocket first, second;
        for (QTcpSocket *one : {&first, &second}) {
            one->connectToHost("127.0.0.1", server->port());
            one->write(head + "\r\n" + half);
        }
        QTRY_COMPARE(server->bodies(), qint64(HttpRequest::MaxBody));
        QVERIFY(raw({head + "\r\nx"}).contains("正在处理的请求过多"));
        first.abort();
        QTRY_COMPARE(server->bodies(), qint64(half.size()));
        QCOMPARE(post("/account", "{}").value("result").toInt(), 1);
        second.abort();
        QTRY_COMPARE(server->bodies(), 0);
    }

    void limits()
    {
        QCOMPARE(raw({"POST /account HTTP/1.1\r\nContent-Length: -5\r\n\r\n"}), QByteArray());
        QCOMPARE(raw({QByteArray(9000, 'x')}), QByteArray());
        server->setTimeout(1);
        QCOMPARE(raw({"POST /account HTTP/1.1\r\nContent-Length: 5\r\n\r\n1"}), QByteArray()); // takes too long
        server->setTimeout(30000);
        QTRY_COMPARE(server->connections(), 0);
        std::vector<std::unique_ptr<QTcpSocket>> open;
        for (int i = 0; i < HttpServer::MaxConnections; ++i) {
            open.emplace_back(new QTcpSocket);
            open.back()->connectToHost("127.0.0.1", server->port());
        }
        QTRY_COMPARE(server->connections(), HttpServer::MaxConnections);
        QCOMPARE(raw({}), QByteArray()); // one too many
        open.clear();
        QTRY_COMPARE(server->connections(), 0);
        QCOMPARE(post("/account").value("result").toInt(), 1);
    }

    void jobSelector_data()
    {
        columns<QString, QStringList, QString>("query", "calls", "text");
        addRow("one", "mid=7", QStringList{"result 7 0 0"}, "已加入下载队列");
        addRow("range", "mids=7-8", QStringList{"result 7 0 1", "result 8 0 1"}, "已加入下载队列");
        addRow("order in the store", "i=500", QStringList{"result 500 0 0"}, "已加入下载队列");
        addRow("order on the server", "is=500,N9", QStringList{"result 500 0 1", "result 99 0 1"}, "已加入下载队列");
        addRow("unknown order", "i=N8", QStringList(), "没有相关大任务");
        addRow("none", "page=1", QStringList(), "没有相关大任务");
        addRow("beyond the store's ids", "mids=9007199254740993,7", QStringList{"result 7 0 1"},
               "任务编号 9007199254740993 超出可下载的范围");
        addRow("too many", "mids=1-999999999", QStringList(), "一次最多处理1000个");
    }
    void jobSelector()
    {
        FETCH(QString, query, QStringList, calls);
        addScene(110, "500");
        business->answer(10427, 1042700,
                         {{"pageList", QJsonArray{QJsonObject{{"id", 98}, {"num", "N99"}}, QJsonObject{{"id", 99}, {"num", "N9"}}}}});
        QTEST(msg("/job/download?" + query), "text");
        QTRY_COMPARE(down->calls, calls);
    }

    // What an operation sends for each task, in their order; the first failure stands for all and each is told.
    void operations_data()
    {
        columns<QString, int, QStringList, QString>("target", "cmd", "sent",
                                                    "text"); // sent: the last one is refused; none: nothing is sent, and text says why
        const auto row = [](const char *target, int cmd, const QStringList &sent, const QString &text = {}) {
            addRow(target, target, cmd, sent, text);
        };
        row("/job/cancel?mid=9007199254740993", 10401, {R"({"missionId":"9007199254740993"})"});
        row("/job/cancel?mids=7,8", 10401, {R"({"missionId":7})", R"({"missionId":8})"});
        row("/job/continue?mid=7", 10429, {R"({"missionId":7})"});
        row("/job/pause?mid=7", 10430, {R"({"missionId":7,"pauseRender":1})"});
        row("/job/pause?mid=7&later=1", 10430, {R"({"missionId":7,"pauseRender":0})"});
        row("/job/limit?mid=7&nodes=5", 10424, {R"({"missionId":7,"nodeLimit":5})"});
        row("/job/remark?mid=7&remark=a", 10436, {R"({"missionId":7,"remark":"a"})"});
        row("/job/rerender?mids=7-8", 10406, {"[7,8]"});
        row("/job/history?mid=7", 10432, {"[7]"});
        row("/job/fill?mid=7&frames=4-6", 10405, {R"({"missionId":7,"softwareType":8,"modelParameters":{"frames":"4-6","k":1}})"});
        row("/subjob/cancel?mid=9007199254740993&subjobId=70&jobId=5&farmId=2", 10403,
            {R"({"missionId":"9007199254740993","jobId":5,"subJobId":70,"farmId":2})"});
        row("/job/cancel", 10401, {}, "没有相关大任务");
        row("/job/limit?mid=7&nodes=0", 10424, {}, "请输入正整数");
        row("/job/fill?mid=7&frames=", 10405, {}, "请输入补帧号");
        row("/job/fill?mid=7&frames=a", 10405, {}, "输入的字符格式不正确，请检查！");
        row("/job/handover?mid=7", 10423, {}, "参数异常");
        row("/subjob/cancel?mid=7", 10403, {}, "没有相关子任务");
    }
    void operations()
    {
        FETCH(QString, target, int, cmd, QStringList, sent);
        business->answer(10409, 1040900, {{"softwareType", 8}, {"modelParameters", QJsonObject{{"frames", "1-3"}, {"k", 1}}}});
        int answered = 0;
        business->answer(cmd, [&](const BusinessPeer::Request &) {
            return Reply{++answered == sent.size() ? cmd * 100 + 99 : cmd * 100, {}};
        });
        const QJsonObject rep = post(target);
        QCOMPARE(rep.value("result").toInt(-1), 0);
        const auto asked = business->requests(cmd);
        QCOMPARE(asked.size(), sent.size());
        if (sent.isEmpty())
            QTEST(rep.value("msg").toString(), "text");
        else
            QCOMPARE(rep.value("code").toInt(), cmd * 100 + 99);
        for (int i = 0; i < sent.size(); ++i)
            QCOMPARE(QJsonDocument::fromJson(asked[i].text), QJsonDocument::fromJson(sent[i].toUtf8()));
        if (sent.size() == 2)
            QCOMPARE(json(rep.value("data").toArray().at(0).toObject()), QByteArray(R"({"code":1040100,"mid":7})"));
    }

    void transfers()
    {
        addScene(111, "500");
        addScene(106, "501"); // not on its way yet
        db_downmiss miss;
        miss.ordernum = "502";
        miss.missid = 9;
        miss.pri = DownloadDAO::instance()->newMissionPri();
        db_downfile file;
        file.id = 1;
        QVERIFY(DownloadDAO::instance()->addMission(miss, {file}));
        const QJsonObject data = post("/transfer").value("data").toObject();
        QCOMPARE(data["uploads"].toArray().size(), 1);
        QCOMPARE(QStringLiteral("%1 %2/%3")
                     .arg(data["uploads"][0]["num"].toString())
                     .arg(data["uploads"][0]["done"].toInt())
                     .arg(data["uploads"][0]["total"].toInt()),
                 QString("500 2/5"));
        const qlonglong id = data["downloads"][0]["id"].toVariant().toLongLong();
        QCOMPARE(id, miss.pri);
        QCOMPARE(post(QStringLiteral("/transfer/pause?nums=500,501&id=%1").arg(id)).value("result").toInt(), 1);
        QCOMPARE(post(QStringLiteral("/transfer/continue?num=500&ids=%1,77").arg(id)).value("result").toInt(), 1);
        QTRY_COMPARE(queue->calls, (QStringList{"change 0 2 500", "change 0 3 500"}));
        QTRY_COMPARE(down->calls, (QStringList{QString("pause %1").arg(id), QString("re %1").arg(id)}));
        for (const char *query : {"", "?num=501", "?id=77"})
            QCOMPARE(msg(QString("/transfer/pause") + query), QString("没有相关传输"));
    }

    // The description's own examples, each sent as it's told.
    void everyExample()
    {
        addScene(106, "20240203000001");
        const QByteArray got = raw({"GET /openapi.json HTTP/1.1\r\n\r\n"});
        const QJsonObject paths = QJsonDocument::fromJson(got.mid(got.indexOf("\r\n\r\n"))).object().value("paths").toObject();
        QCOMPARE(paths.size(), ApiTable::routes().size());
        const QMap<QString, QString> refused{{"/model/analysis", "没有模型文件"},
                                             {"/job/dir", "输出路径不存在"},
                                             {"/transfer/pause", "没有相关传输"},
                                             {"/transfer/continue", "没有相关传输"},
                                             {"/drive/ls", "无法获取农场 1 的地址"},
                                             {"/drive/get", "无法获取农场 1 的地址"},
                                             {"/drive/put", "文件不存在：/scenes/film"},
                                             {"/drive/check", "文件不存在：/fetched/film"},
                                             {"/drive/resolve", "客户端未登录"},
                                             {"/drive/resolve/parameter", "没有相关解析记录"},
                                             {"/drive/resolve/submit", "没有相关解析记录"},
                                             {"/drive/resolve/again", "没有相关解析记录"},
                                             {"/drive/resolve/stop", "没有相关解析记录"},
                                             {"/subjob/preview", "暂时无截图预览，请稍后再试！"}};
        for (const QString &path : paths.keys()) {
            const QJsonObject verbs = paths[path].toObject();
            for (const QString &verb : verbs.keys()) {
                QStringList query;
                for (const QJsonValue &arg : verbs[verb]["parameters"].toArray())
                    if (!arg["example"].isUndefined())
                        query << arg["name"].toString() + '=' + arg["example"].toVariant().toString();
                const QJsonObject body = verbs[verb]["requestBody"]["content"]["application/json"]["example"].toObject();
                const QJsonObject rep = post(path + '?' + query.join('&').replace(' ', "%20"), body.isEmpty() ? QByteArray() : json(body),
                                             verb.toUpper().toUtf8());
                if (path == "/openapi.json")
                    QCOMPARE(rep["paths"].toObject(), paths);
                else
                    QVERIFY2(rep["result"].toInt(-1) == 1 || (refused.contains(path) && rep["msg"].toString() == refused[path]),
                             qPrintable(verb + path + json(rep)));
            }
        }
    }

    void modelRoutes()
    {
        const db_resolve row = addScene(106, "500", R"({"softwareType":8})");
        const QJsonArray list = post("/model/list").value("data").toArray();
        QCOMPARE(list.size(), 1);
        QCOMPARE(
            json(list[0].toObject()),
            QByteArray(
                R"({"analysisTime":"2024-02-03 04:05:06","mid":500,"name":"a_500.tgd","num":"500",)"
                R"("project":"p","rkey":1000,"scene":"/scenes/a_500.tgd","speed":"2/5","state":106,"status":"解析完成，请提交渲染"})"));
        QCOMPARE(post("/model/list?rkeys=1,2").value("data").toArray().size(), 0);
        QCOMPARE(post("/model/list?rkey=1000").value("data").toArray().size(), 1);

        QCOMPARE(post("/model/parameter?num=500").value("data").toObject(), QJsonDocument::fromJson(row.rdata.toUtf8()).object());
        for (const char *path : {"/model/parameter", "/model/parameterSet", "/model/srcParameter", "/model/commit"})
            for (const char *num : {"", "?num=501"})
                QCOMPARE(msg(QString(path) + num, "{\"a\":1}"), QString("没有此订单下的模型"));

        // A scene read directly has no log; what was found stands in the store.
        const QJsonObject found = post("/model/srcParameter?num=500").value("data").toObject();
        QCOMPARE(found.value("softwareType").toInt(), 8);
        QCOMPARE(found.value("content").toObject().value("files").toArray(), QJsonArray{"/t.png"});

        QCOMPARE(post("/model/commit?nums=500,501").value("data").toArray(), QJsonArray{"500"});
        QTRY_COMPARE(queue->calls, QStringList{"commit 0 0 500"});
        for (auto act : {SceneState::Act::Commit, SceneState::Act::Submit, SceneState::Act::Accept})
            QCOMPARE(ResolveDAO::instance()->step(1000, act), 1);
        QCOMPARE(msg("/model/parameterSet?num=500", "{\"a\":1}"), QString("任务已提交，参数不能再修改"));
        QCOMPARE(json(post("/model/checkSlave?rkey=1000", "", "GET").value("data").toObject()),
                 QByteArray(R"({"fok":2,"fsum":5,"rkey":1000,"state":110})"));
        QCOMPARE(post("/model/checkSlave?rkey=9").value("data").toObject().value("state").toInt(), -1);
    }

    // What another program sets is held to what a dialog would let through, and a commit leaves it as it is.
    void parameters_data()
    {
        columns<int, QString, QString, QString>(
            "state", "found", "set", "wanted"); // found: by the analysis; wanted: "frames selected" of each camera, or the message
        const QString two =
            R"({"softwareType":8,"modelParameters":{"cameras":[{"name":"a","frames":"%1"%2},{"name":"b","frames":"7"%3}]}%4})";
        const QString found = two.arg("1-3", "", "", "");
        const auto row = [&](const char *name, const QString &set, const QString &wanted, int state = 106) {
            addRow(name, state, found, set, wanted);
        };
        row("frames", two.arg("5-6", "", "", ""), "5-6 1,7 1");
        row("a choice", two.arg("1-3", "", ",\"selected\":0", ""), "1-3 1,7 0");
        row("no choice left", two.arg("1", ",\"selected\":0", ",\"selected\":0", ""), "请选择节点");
        row("backwards", two.arg("9-1", "", "", ""), "参数设置项的序列帧只支持从小到大排列！");
        row("no frames", two.arg("a;b", "", "", ""), "输入的字符格式不正确，请检查！");
        row("priority frames outside", two.arg("1-3", "", "", ",\"keyFrames\":\"20\""), "优先帧不在序列帧范围内！");
        row("not an object", "[1]", "参数异常");
        row("not analysed yet", two.arg("1", "", "", ""), "解析尚未完成，参数还不能修改", 101);
        addRow("set before", 106, two.arg("1-3", ",\"selected\":0", ",\"selected\":1", ",\"hasHand\":1"),
               two.arg("1-3", ",\"selected\":1", ",\"selected\":0", ""), "1-3 1,7 0");
    }
    void parameters()
    {
        FETCH(int, state, QString, found, QString, set, QString, wanted);
        db_resolve row = addScene(state, "500");
        row.rdata = found;
        row.rfile = R"("files":["/t.png"])";
        QVERIFY(ResolveDAO::instance()->savePara(row));
        const QJsonObject rep = post("/model/parameterSet?num=500", set.toUtf8());
        db_resolve after = ResolveDAO::instance()->readWithPara(1000);
        QCOMPARE(after.rfile, row.rfile);
        if (rep.value("result").toInt() == 0) {
            QCOMPARE(rep.value("msg").toString(), wanted);
            QCOMPARE(after.rdata, found);
            return;
        }
        QTRY_COMPARE(queue->calls, QStringList{"saved 1000"}); // it may have been held for what is mended now
        QString message;
        QVERIFY(ParameterModel::prepare(&after, CommonConfig::get(), &message)); // as a commit does
        QStringList cameras;
        for (const QJsonValue &one : QJsonDocument::fromJson(after.rdata.toUtf8()).object().value("modelParameters")["cameras"].toArray())
            cameras << QStringLiteral("%1 %2").arg(one["frames"].toString()).arg(one["selected"].toInt(-1));
        QCOMPARE(cameras.join(','), wanted);
    }

    void analysisRefused_data()
    {
        columns<QJsonObject, QStringList, QString>("change", "scenes", "text"); // change: laid over a good parameter
        const QStringList one{"a.tgd"};
        addRow("no software", QJsonObject{{"env", QJsonObject()}}, one, "缺失软件类型");
        addRow("no scene", QJsonObject(), QStringList(), "没有模型文件");
        addRow("gone", QJsonObject(), QStringList{"gone.tgd"}, "没有模型文件");
        addRow("another type", QJsonObject(), QStringList{"a.max"}, "请拖入类型为.tgd场景文件！");
        addRow("two types", QJsonObject(), QStringList{"a.tgd", "a.max"}, "场景文件中包含多种类型，请筛选后再拖入！");
        addRow("no project", QJsonObject{{"project", QJsonObject{{"id", 3}}}}, one, "缺失项目信息");
        addRow("no machine", QJsonObject{{"machine", QJsonObject()}}, one, "缺失机型");
        addRow("no maya project", QJsonObject{{"env", "x"}, {"software", "maya2016"}, {"mayaProject", "/no/such"}}, QStringList{"a.mb"},
               "项目路径不存在");
        addRow("strange seat", QJsonObject{{"fromSlave", 1}, {"feeUserId", 5}}, one, "上级账号不匹配，请重新设置");
        addRow("seat without scene", QJsonObject{{"fromSlave", 1}, {"feeUserId", QJsonArray{5, 77}}}, QStringList(), "缺失场景文件");
    }
    void analysisRefused()
    {
        FETCH(QJsonObject, change, QStringList, scenes);
        QJsonObject parameter{{"env", QJsonObject{{"software", "Terragen4"}}},
                              {"project", QJsonObject{{"name", "p"}, {"id", 3}}},
                              {"machine", QJsonObject{{"name", "m"}}}};
        for (auto it = change.begin(); it != change.end(); ++it)
            parameter[it.key()] = it.value();
        QJsonArray paths;
        for (const QString &name : scenes)
            paths.append(name.startsWith("gone") ? "/no/such/gone.tgd" : scene(name));
        const QJsonObject rep = post("/model/analysis", json({{"scenes", paths}, {"parameter", parameter}}));
        QTEST(rep.value("msg").toString(), "text");
        QCOMPARE(rep.value("code").toInt(), 1);
        QVERIFY(ResolveDAO::instance()->readAll().isEmpty());
    }

    void analysisAccepted()
    {
        const QJsonObject machine{{"machineModel", "big"}, {"name", "m"}, {"clientId", 6}, {"farmId", 2}};
        const QJsonObject parameter{{"env", QJsonObject{{"software", "terragen4"}, {"startGpu", 1}}},
                                    {"machine", machine},
                                    {"projectConfig", QJsonObject{{"name", "a_b"}, {"id", 3}}},
                                    {"keyFrames", "1,5"}};
        const QJsonArray paths{scene("b.tgd"), scene("c.TGD"), scene("b.tgd"), "/no/such.tgd"};
        const QJsonObject rep = post("/model/analysis", json({{"scenes", paths}, {"parameter", parameter}}));
        QCOMPARE(rep.value("msg").toString(), QString("提交到客户端成功"));
        QCOMPARE(rep.value("result").toInt(), 1);
        const QList<db_resolve> rows = ResolveDAO::instance()->readAll();
        QCOMPARE(rows.size(), 2);
        const auto told = [](const db_resolve &row) {
            return QStringLiteral("%1 %2 %3 %4").arg(row.state).arg(row.lpath, row.project).arg(row.projectId);
        };
        QCOMPARE(told(rows[0]), QStringLiteral("100 %1 a_b 3").arg(paths[0].toString()));
        QCOMPARE(rows[1].rkey, rows[0].rkey + 1);
        QCOMPARE(rep.value("data").toObject().value("details").toArray()[1].toObject().value("rkey").toDouble(), double(rows[1].rkey));
        const QJsonObject rset = QJsonDocument::fromJson(rows[1].rset.toUtf8()).object();
        QCOMPARE(json(rset), json({{"env", parameter["env"]},
                                   {"machine", machine},
                                   {"project", parameter["projectConfig"]},
                                   {"projectConfig", parameter["projectConfig"]},
                                   {"keyFrames", "1,5"},
                                   {"sceneName", QFileInfo(paths[1].toString()).fileName()},
                                   {"clientResultRootPath", QFileInfo(paths[1].toString()).absolutePath()},
                                   {"softwareType", 8},
                                   {"machineModel", "big"},
                                   {"clientId", 6},
                                   {"startGpu", 1},
                                   {"farmId", 2}}));
    }

    // A seat hands over what it has analysed, twice since the first answer got lost, and asks after it by its own key.
    void seat_data()
    {
        QTest::addColumn<bool>("check");
        addRow("waits for approval", true);
        addRow("goes on", false);
    }
    void seat()
    {
        QFETCH(bool, check);
        addScene(104, "500"); // has the seat's key already
        const QJsonObject content{{"modelParameters", QJsonObject{{"frames", "1"}}}, {"sceneName", "s"}, {"files", QJsonArray{"/x.png"}}};
        const QByteArray body = json(
            {{"scene", "/far/s.c4d"},
             {"analysisTime", 5000},
             {"feeUserId", 42},
             {"needMasterCheck", check},
             {"clientFlag", 1000},
             {"missionId", 0},
             {"ordernum", ""},
             {"parameter", QJsonObject{{"status", 3},
                                       {"fromSlave", 1},
                                       {"details", "warn"},
                                       {"content", content},
                                       {"rset", QJsonObject{{"softwareType", 5}, {"project", QJsonObject{{"name", "p"}, {"id", 4}}}}}}}});
        for (int i = 0; i < 2; ++i)
            QCOMPARE(post("/model/analysis", body).value("result").toInt(), 1);
        const QList<db_resolve> rows = ResolveDAO::instance()->readAll();
        QCOMPARE(rows.size(), 2);
        const db_resolve row = ResolveDAO::instance()->readWithPara(1001);
        QCOMPARE(QStringLiteral("%1 %2 %3").arg(row.state).arg(row.rtime).arg(row.errstr), QString("106 5000 warn"));
        QCOMPARE(row.rfile, QString(R"("files":["/far/s.c4d","/x.png"])"));
        QCOMPARE(row.rdata, QString(R"({"fromSlave":1,"hasHand":1,"modelParameters":{"frames":"1"},"resStatus":3,"sceneName":"s"})"));
        QTRY_COMPARE(queue->calls, check ? QStringList() : QStringList{"commit 1001 0"});
        for (auto act : {SceneState::Act::Commit, SceneState::Act::Submit, SceneState::Act::Accept, SceneState::Act::TakeUp})
            QCOMPARE(ResolveDAO::instance()->step(1001, act), 1);
        QCOMPARE(post("/model/checkSlave?rkey=1000").value("data").toObject().value("state").toInt(), 111);

        // Another seat with a row of the same second: neither takes the other's for its own.
        QJsonObject other = QJsonDocument::fromJson(body).object();
        other["seat"] = "b";
        QCOMPARE(post("/model/analysis", json(other)).value("result").toInt(), 1);
        QCOMPARE(ResolveDAO::instance()->readAll().size(), 3);
        const auto state = [this](const QString &query) {
            return post("/model/checkSlave?rkey=1000" + query.toUtf8()).value("data").toObject().value("state").toInt();
        };
        QCOMPARE(state("&seat=b"), 106);
        QCOMPARE(state("&seat=c"), -1);

        // A finished row stands until its seat has heard of it, and for a while longer.
        ResolveDAO *dao = ResolveDAO::instance();
        const auto later = [] { return QDateTime::currentMSecsSinceEpoch() + ResolveDAO::ToldMs; };
        const qlonglong key = dao->readAll().last().rkey;
        for (auto act : {SceneState::Act::Commit, SceneState::Act::Submit, SceneState::Act::Accept, SceneState::Act::KeepForSeat})
            QCOMPARE(dao->step(key, act), 1);
        QVERIFY(dao->forgetOld(later()));
        QCOMPARE(state("&seat=b"), 118);
        QVERIFY(dao->forgetOld(later()));
        QCOMPARE(state("&seat=b"), -1);
    }

    // Only a seat that this master has met hands work over, and never a file that no scene there names.
    void strangeSeat()
    {
        beMaster();
        const auto ask = [](const QString &method, const QString &cmd, const QByteArray &body, bool known) {
            QByteArray got;
            auto *hand = new CmdHand;
            hand->setBody(body);
            hand->setCaller({"192.0.2.9", known});
            connect(hand, &CmdHand::cmdOver, [&got](const QByteArray &over) { got = over; });
            hand->initCmdHand(method, cmd);
            return QJsonDocument::fromJson(got).object();
        };
        for (const char *acting :
             {"/job/cancel?mid=7", "//job/continue?mid=7", "/readable/model/commit?num=N1", "/model/parameterSet?num=N1", "/job/dir?mid=7",
              "/job/download?mid=7", "/subjob/cancel?mid=7&subjobId=1", "/transfer/pause?id=1"})
            QVERIFY2(ask("POST", acting, "{}", false).value("msg").toString().contains("令牌"), acting);
        for (const char *drop : {R"(["/a.tgd"])", R"({"scenes":["/a.tgd"],"mayaProject":"/"})", R"({"scenes":["/a.tgd"],"parameter":{}})"})
            QVERIFY2(ask("POST", "/model/analysis", drop, false).value("msg").toString().contains("令牌"), drop);
        QVERIFY(business->count(10401) == 0 && queue->calls.isEmpty());
        QCOMPARE(ask("POST", "/model/list", {}, false).value("result").toInt(), 1);
        const QString hidden = testHome() + "/.ssh/id", link = testHome() + "/link.png";
        QVERIFY(QFile::link("/etc/hostname", link));
        const QJsonArray files{"/t.png", "/etc/passwd", hidden, link, "/a/../etc/shadow", "/a/b/../t.tif", "C:\\Windows\\win.ini"};
        const QByteArray body =
            json({{"scene", "/far/s.ma"},
                  {"feeUserId", 42},
                  {"parameter",
                   QJsonObject{{"fromSlave", 1}, {"rset", QJsonObject{{"softwareType", 1}}}, {"content", QJsonObject{{"files", files}}}}}});
        QVERIFY(ask("POST", "/model/analysis", body, false).value("msg").toString().startsWith("主机不认识此分机"));
        QVERIFY(ResolveDAO::instance()->readAll().isEmpty());
        QCOMPARE(ask("GET", "/masterInfo", {}, false).value("result").toInt(), 1); // as a seat does at its start
        UserInfo::clearCache();                                                    // the master starts again
        UserInfo::initUser({{"userId", 42}, {"feeUserIds", QJsonArray{77}}});
        QCOMPARE(ask("POST", "/model/analysis", body, false).value("result").toInt(), 1);
        const db_resolve row = ResolveDAO::instance()->readWithPara(ResolveDAO::instance()->readAll().value(0).rkey);
        QCOMPARE(row.rfile, QString(R"("files":["/far/s.ma","/t.png","/a/b/../t.tif"])"));
        QCOMPARE(row.state, 103);
        QVERIFY(row.errstr.contains("/etc/passwd") && row.errstr.contains(hidden) && row.errstr.contains("win.ini"));
        QVERIFY(queue->calls.isEmpty()); // somebody looks at it first
        QJsonObject other = QJsonDocument::fromJson(body).object();
        other["scene"] = "/etc/s.ma";
        QCOMPARE(ask("POST", "/model/analysis", json(other), true).value("msg").toString(), QString("缺失场景文件"));
    }

    void masterInfo()
    {
        QCOMPARE(post("/masterInfo?host=h&port=1", "", "GET").value("data").toArray(), QJsonArray());
        beMaster();
        QFile service(UserInfo::programDir() + "/service.ini");
        QVERIFY(service.open(QIODevice::WriteOnly));
        service.write("[server]\nlogs=http://logs.example:8080/x\nshare=127.0.0.1\n");
        service.close();
        business->answer(11100, [](const BusinessPeer::Request &request) {
            return Reply{1110000, {{"addr", request.body["farmId"].toInt() == 3 ? "http://drive.example:88" : "http://0.0.0.0"}}};
        });
        const auto ask = [this](const QString &query) { return post("/masterInfo?" + query, "", "GET"); };
        QCOMPARE(post("/masterInfo").value("masterUserId").toInt(), 42);
        for (const char *query : {"host=a%22%20b&port=1", "host=logs.example&port=70000"})
            QCOMPARE(ask(query).value("msg").toString(), QString("参数异常"));
        for (const char *query : {"host=evil.example&port=80", "host=127.0.0.1&port=22", "host=localhost&port=22",
                                  "host=evil.example&port=80&farmId=3", "host=0.0.0.0&port=22&farmId=4"})
            QVERIFY2(ask(query).value("msg").toString().endsWith("不是农场的服务器，不予转发"), query);
        QCOMPARE(ProxyFactory::pairs().size(), 0);
        QCOMPARE(ask("host=LOGS.example&port=8080").value("data").toArray().at(0).toArray().at(1).toString(), QString("logs.example"));
        QCOMPARE(ask("host=drive.example&port=88&farmId=3").value("data").toArray().size(), 2);
        QCOMPARE(business->count(11100), 2); // what is known is not asked for again
        for (int port = 1; port <= 62; ++port)
            QCOMPARE(ask(QStringLiteral("host=logs.example&port=%1").arg(port)).value("result").toInt(), 1);
        QCOMPARE(ask("host=logs.example&port=99").value("msg").toString(), QString("最多转发64个端口"));
        QCOMPARE(ask("host=logs.example&port=62").value("data").toArray().size(), 64); // an old one is still told
        QVERIFY(service.remove());
    }

    // What comes through a port that this master forwards is no program of this machine; a seat that holds the token gets in.
    void throughAForward()
    {
        int port = 47000;
        while (!PortRelay::instance()->open({port, "127.0.0.1", server->port()}))
            ++port;
        UserInfo::setAllValue("Server", "master", QStringLiteral("http://127.0.0.1:%1").arg(port));
        UserInfo::setAllValue("Server", "apiToken", "secret");
        const auto ask = [](const QString &url) {
            Request request;
            request.url = url + "/model/checkSlave?rkey=9";
            request.bareAddress = true;
            QString got;
            QObject guard;
            NetWork::instance()->nget(
                request, [&got](const Request &, const FuncBody &rep) { got = rep.object.contains("data") ? "in" : rep.msg; },
                QThread::currentThread(), &guard);
            [&] { QTRY_VERIFY(!got.isEmpty()); }();
            return got;
        };
        QCOMPARE(ask(UserInfo::master()), QString("in"));
        QCOMPARE(ask(QStringLiteral("http://localhost:%1").arg(port)), QString("没有此接口")); // the token goes to the master alone
        UserInfo::setAllValue("Server", "apiToken", "");
        NetWork::destroy();
    }
};

VN_TEST(TestApi)
#include "tst_api.moc"
