#include "common/WindowCalls.h"
#include "io/local/PluginListen.h"
#include "io/NetTcp.h"
#include "support/BusinessPeer.h"
#include "support/TestMain.h"
#include "support/WindowSpy.h"
#include <QTcpSocket>

namespace
{
// A brace and a quotation mark within a text end nothing.
const QString file = "/m/{a\"}.skp";
const QByteArray scene =
    QJsonDocument(QJsonObject{{"content", QJsonArray{QJsonObject{{"renderfile", file},
                                                                 {"pagename", "p"},
                                                                 {"Output", "png"},
                                                                 {"reslution", QJsonObject{{"width", 3}, {"height", 2}}},
                                                                 {"taskname", "t"},
                                                                 {"root", "/m"},
                                                                 {"files", QJsonArray{"/m/x.png"}},
                                                                 {"Modal", "cpu"},
                                                                 {"clientId", 4},
                                                                 {"Project", "film"},
                                                                 {"ProjectID", 3},
                                                                 {"SketchupVersion", "sketchup2018"},
                                                                 {"other", 1}}}}})
        .toJson(QJsonDocument::Compact);
} // namespace

class TestPlugin : public QObject
{
    Q_OBJECT
private slots:
    void reader_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("paused"); // ... and after a pause
        QTest::addColumn<int>("project");
        const auto row = [](const char *name, const QByteArray &bytes, int state, int paused, int project = 0) {
            QTest::newRow(name) << bytes << state << paused << project;
        };
        using R = PluginRequest;
        row("projects", "getProject\r\n", R::Projects, R::Projects);
        row("projects without an end", "getProject", R::Incomplete, R::Projects);
        row("half a word", "getPro", R::Incomplete, R::Bad);
        row("machines", "getMachine_12\n", R::Machines, R::Machines, 12);
        row("machines, other separators", "getMachine 3|id=12 ", R::Incomplete, R::Machines, 12);
        row("machines of no project", "getMachine\n", R::Machines, R::Machines, 0);
        row("scene", " \n" + scene + "\n", R::Scene, R::Scene);
        row("half a scene", scene.left(scene.size() - 1), R::Incomplete, R::Incomplete);
        row("no scene named", R"({"content":[{"pagename":"p"}]})", R::Bad, R::Bad);
        row("no JSON", "{,}", R::Bad, R::Bad);
        row("unbalanced", "{]}", R::Bad, R::Bad);
        row("a browser", "POST / HTTP/1.1\r\n", R::Bad, R::Bad);
        row("too long", "{\"" + QByteArray(PluginRequest::MaxBytes, 'x'), R::Bad, R::Bad);
        row("nothing", "", R::Incomplete, R::Incomplete);
    }
    // Whole, cut at every byte, and byte by byte.
    void reader()
    {
        QFETCH(QByteArray, bytes);
        const auto check = [&](PluginRequest &request) {
            QTEST(int(request.state()), "state");
            request.pause();
            QTEST(int(request.state()), "paused");
            QTEST(request.projectId(), "project");
        };
        for (int cut = 0; cut <= qMin(bytes.size(), 400); ++cut) {
            PluginRequest request;
            request.feed(bytes.left(cut));
            request.feed(bytes.mid(cut));
            check(request);
        }
        PluginRequest slow;
        for (int i = 0; i < bytes.size() && bytes.size() < 1000; ++i)
            slow.feed(bytes.mid(i, 1));
        if (bytes.size() < 1000)
            check(slow);
    }

    void order()
    {
        const QJsonObject order = PluginRequest::orderOf(QJsonDocument::fromJson(scene).object());
        QCOMPARE(order, (QJsonObject{{"clientId", 4},
                                     {"files", QJsonArray{"/m/x.png"}},
                                     {"machineModel", "cpu"},
                                     {"modelParameters",
                                      QJsonObject{{"outputFormat", "png"}, {"reslution", QJsonObject{{"height", 2}, {"width", 3}}}}},
                                     {"name", "t"},
                                     {"project", "film"},
                                     {"projectId", 3},
                                     {"renderfile", file},
                                     {"root", "/m"},
                                     {"sceneName", "p"},
                                     {"scenePath", file},
                                     {"software", "sketchup2018"},
                                     {"softwareType", 6}}));
    }

    // The plug-in's own road over a socket, and what isn't a plug-in.
    void listener()
    {
        BusinessPeer business;
        business.answerOthers([](const BusinessPeer::Request &request) { return BusinessPeer::Reply{request.cmd * 100, request.body}; });
        QVERIFY(business.takeClient());
        WindowSpy window;
        PluginListen plugins;
        QCOMPARE(int(plugins.port()), 0); // closed until it's told a port
        QVERIFY(plugins.start(0));
        const auto say = [&](const QList<QByteArray> &pieces) {
            QTcpSocket socket;
            QByteArray got;
            bool closed = false;
            connect(&socket, &QTcpSocket::readyRead, &socket, [&] { got += socket.readAll(); });
            connect(&socket, &QTcpSocket::disconnected, &socket, [&] { closed = true; });
            socket.connectToHost("127.0.0.1", plugins.port());
            for (const QByteArray &piece : pieces) {
                socket.write(piece);
                [&] { QTRY_VERIFY(closed || socket.bytesToWrite() == 0); }();
                QCoreApplication::processEvents();
            }
            [&] { QTRY_VERIFY(closed); }();
            return got + socket.readAll();
        };
        QCOMPARE(say({"getProject"}), QByteArray("{}")); // after a pause
        QCOMPARE(business.count(10502), 1);
        QCOMPARE(say({"getMach", "ine_12\r\n"}), QByteArray(R"({"projectId":12})"));
        QCOMPARE(business.requests(11102).last().text, QByteArray(R"({"projectId":12})"));
        QCOMPARE(say({scene.left(50), scene.mid(50)}), QByteArray());
        QTRY_COMPARE(window.orders.size(), 1);
        QCOMPARE(window.orders[0]["name"].toString(), QString("t"));
        QCOMPARE(say({"GET / HTTP/1.1\r\n\r\n"}), QByteArray());
        QCOMPARE(window.orders.size(), 1);
        NetTcp::instance()->setLogin(false);
        QCOMPARE(say({"getProject\n"}), QByteArray("{}"));
        std::vector<std::unique_ptr<QTcpSocket>> open;
        for (int i = 0; i < PluginListen::MaxConnections; ++i) {
            open.emplace_back(new QTcpSocket);
            open.back()->connectToHost("127.0.0.1", plugins.port());
        }
        QTRY_COMPARE(plugins.connections(), PluginListen::MaxConnections);
        QCOMPARE(say({}), QByteArray()); // one too many
        plugins.stop();
        QTRY_COMPARE(open.front()->state(), QAbstractSocket::UnconnectedState);
        NetTcp::destroy();
    }
};

VN_TEST(TestPlugin)
#include "tst_plugin.moc"
