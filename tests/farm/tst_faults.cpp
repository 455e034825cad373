// What the farm refuses, and the faults that it commits when told to: each is seen on the wire by whoever would suffer
// it.
#include "support/Row.h"
#include "support/TestMain.h"
#include "Wires.h"

namespace
{
const QString key = QStringLiteral("d/island.tgd");
} // namespace

class TestFaults : public QObject
{
    Q_OBJECT
private slots:
    void badPackages_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray good = BusinessWire::package(0, 103, 10308, "{\"thirdParty\":0}");
        addRow("magic", QByteArray("\x14").append(good.mid(1)));
        addRow("checksum", good.left(16) + be32(1) + good.mid(20));
        addRow("reserved", good.left(12) + be32(1) + good.mid(16));
        addRow("module", BusinessWire::package(0, 104, 10308, "{}"));
        addRow("length 0", good.left(4) + be32(0) + good.mid(8));
        addRow("negative", good.left(4) + be32(-1) + good.mid(8));
        addRow("huge", good.left(4) + be32(0x7fffffff) + good.mid(8));
    }
    void badPackages()
    {
        QFETCH(QByteArray, bytes);
        Bench bench;
        BusinessWire wire(bench.ports);
        wire.raw(bytes);
        QVERIFY(wire.closed());
        QCOMPARE(bench.farm.violations().size(), 1);
        QCOMPARE(BusinessWire(bench.ports).ask(10000, {}).val, 1000000); // the others don't notice
    }

    void order_data()
    {
        columns<int, bool, int>("cmd", "login", "answer"); // answer: of a reply, or the reason of a kick
        addRow("order before login", 10400, false, 1000100);
        addRow("confirmation without the page", 10309, false, 1030901);
        addRow("unknown", 10999, true, 1099901);
        addRow("no such task", 10704, true, 1070401);
    }
    void order()
    {
        FETCH(int, cmd, bool, login);
        Bench bench;
        if (login)
            bench.login();
        else
            bench.wire = std::make_unique<BusinessWire>(bench.ports);
        bench.wire->post(cmd, "{\"missionId\":99}");
        Reply one;
        QVERIFY(bench.wire->next(&one, Patience));
        QTEST(one.val, "answer");
    }

    void heads()
    {
        Bench bench;
        bench.login();
        const int task = bench.order({key}, Bench::camera("1"));
        bench.farm.faults().set("short-head", "1@1");
        FileWire cut(bench);
        QCOMPARE(cut.ask(task, key, 10, 0, 300).command, 31); // so many bytes came
        bench.farm.faults().set("start-past", "1@1");
        QCOMPARE(FileWire::start(FileWire(bench).ask(task, key, 10)), 11);
        bench.farm.rotateTokens();
        const FileReply stale = FileWire(bench).ask(task, key, 10);
        QCOMPARE(stale.phase, -1);
        QCOMPARE(stale.command, 79999);
        QCOMPARE(bench.instant(task, key, 10).object().value("code").toInt(), 203);
        bench.login();
        FileWire file(bench);
        file.send(1, 70002, 0, "no ask");
        QCOMPARE(file.reply().code, 13010201);
        file.ask(task, key, 10);
        file.send(1, 70002, 4, "gap");
        QCOMPARE(file.reply().code, 13010202);
        file.ask(task, key, 10);
        file.send(1, 70002, 0, "more than ten bytes");
        QCOMPARE(file.reply().code, 13010202);
        QCOMPARE(bench.farm.violations().size(), 3);
        file.socket.write(QByteArray(40, 'x'));
        QTRY_VERIFY(file.socket.waitForDisconnected(10) || file.socket.state() == QAbstractSocket::UnconnectedState);
    }

    void web_data()
    {
        columns<QByteArray, int>("request", "status");
        addRow("no line", QByteArray("nonsense\r\n\r\n"), 400);
        addRow("method", QByteArray("DELETE / HTTP/1.1\r\n\r\n"), 405);
        addRow("length", QByteArray("POST /logs HTTP/1.1\r\nContent-Length: -4\r\n\r\n"), 400);
        addRow("too long", QByteArray("POST /logs HTTP/1.1\r\nContent-Length: 999999999999\r\n\r\n"), 413);
        addRow("chunked", QByteArray("POST /logs HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"), 411);
        addRow("endless head", "GET /" + QByteArray(70000, 'a'), 413);
        addRow("unknown", QByteArray("GET /nothing HTTP/1.1\r\n\r\n"), 404);
        addRow("no token", QByteArray("GET /bs/farm/1 HTTP/1.1\r\n\r\n"), 401);
        const auto control = [](const char *name, const QByteArray &headers, int status) {
            addRow(name, "GET /farm/state HTTP/1.1\r\n" + headers + "\r\n", status);
        };
        control("program", "Host: HERE\r\n", 200);
        control("own page", "Host: HERE\r\nOrigin: http://HERE\r\nReferer: http://HERE/x\r\nSec-Fetch-Site: same-origin\r\n", 200);
        control("another site", "Host: HERE\r\nOrigin: http://elsewhere\r\n", 403);
        control("its name leads here", "Host: evil.example\r\n", 403);
        control("its picture", "Host: HERE\r\nSec-Fetch-Site: cross-site\r\n", 403);
        control("its link", "Host: HERE\r\nReferer: http://HERE.evil.example/\r\n", 403);
        addRow("version", QByteArray("GET /getUpdateVersion.htm HTTP/1.1\r\n\r\n"), 200);
    }
    void web()
    {
        QFETCH(QByteArray, request);
        Bench bench;
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(bench.ports.http));
        QVERIFY(socket.waitForConnected(Patience));
        QTEST(http(socket, request.replace("HERE", "127.0.0.1:" + QByteArray::number(bench.ports.http))).status, "status");
    }

    // Two requests on one connection, the second in single bytes.
    void webKept()
    {
        Bench bench;
        bench.login();
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(bench.ports.http));
        QVERIFY(socket.waitForConnected(Patience));
        const QByteArray ask = "GET /bs/farm/1 HTTP/1.1\r\n" + bench.headers() + "\r\n";
        QCOMPARE(http(socket, ask).object().value("status").toInt(), 11040000);
        for (int i = 0; i < ask.size() - 1; ++i) {
            socket.write(ask.mid(i, 1));
            socket.flush();
        }
        QCOMPARE(http(socket, ask.right(1)).object().value("port").toInt(), bench.ports.file);
        QCOMPARE(bench.get("/farm/fault?name=refuse.10400&value=1040006").object().value("result").toInt(), 1);
        QCOMPARE(bench.get("/farm/fault?name=nonsense&value=1").status, 404);
        QCOMPARE(bench.order({key}, Bench::camera("1")), 0);
        QCOMPARE(bench.get("/farm/state").object().value("tasks").toArray().size(), 1);
    }
};

VN_TEST(TestFaults)
#include "tst_faults.moc"
