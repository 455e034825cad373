// What the farm refuses, and the faults that it commits when told to: each is seen on the wire by whoever would suffer
// it.
#include "support/TestMain.h"
#include "Wires.h"
#include <zlib.h>

namespace
{
const QString key = QStringLiteral("d/island.tgd");

// A ZIP with one entry, by hand. broken: 1 wrong checksum, 2 cut data, 3 a second entry.
QByteArray zipOf(const QByteArray &bytes, bool packed, int broken)
{
    const auto le = [](quint64 value, int count) {
        QByteArray out;
        for (int i = 0; i < count; ++i)
            out += char(value >> (8 * i));
        return out;
    };
    QByteArray data = packed ? qCompress(bytes).mid(6) : bytes; // without Qt's length and zlib's head
    if (packed)
        data.chop(4);
    const quint32 crc = quint32(crc32(0, reinterpret_cast<const Bytef *>(bytes.constData()), uInt(bytes.size()))) + (broken == 1 ? 1 : 0);
    const QByteArray facts =
        le(packed ? 8 : 0, 2) + le(0, 4) + le(crc, 4) + le(quint32(data.size()), 4) + le(quint32(bytes.size()), 4) + le(1, 2) + le(0, 2);
    const QByteArray local = le(0x04034b50, 4) + le(20, 2) + le(0, 2) + facts + "a";
    const QByteArray record = le(0x02014b50, 4) + le(20, 2) + le(20, 2) + le(0, 2) + facts + le(0, 6) + le(0, 4) + le(0, 4) + "a";
    const int count = broken == 3 ? 2 : 1;
    const QByteArray central = record.repeated(count);
    if (broken == 2)
        data.truncate(data.size() / 2);
    return local + data + central + le(0x06054b50, 4) + le(0, 4) + le(quint32(count), 2) + le(quint32(count), 2) +
           le(quint32(central.size()), 4) + le(quint32(local.size() + data.size()), 4) + le(0, 2);
}
} // namespace

class TestFaults : public QObject
{
    Q_OBJECT
private slots:
    void badPackages_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray good = BusinessWire::package(0, 103, 10308, "{\"thirdParty\":0}");
        QTest::newRow("magic") << QByteArray("\x14").append(good.mid(1));
        QTest::newRow("checksum") << good.left(16) + be32(1) + good.mid(20);
        QTest::newRow("reserved") << good.left(12) + be32(1) + good.mid(16);
        QTest::newRow("module") << BusinessWire::package(0, 104, 10308, "{}");
        QTest::newRow("length 0") << good.left(4) + be32(0) + good.mid(8);
        QTest::newRow("negative") << good.left(4) + be32(-1) + good.mid(8);
        QTest::newRow("huge") << good.left(4) + be32(0x7fffffff) + good.mid(8);
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

    void inPieces()
    {
        Bench bench;
        BusinessWire wire(bench.ports);
        QByteArray many;
        for (int i = 0; i < 1000; ++i)
            many += BusinessWire::package(i, 100, 10000, "{}");
        wire.raw(many);
        Reply one;
        for (int i = 0; i < 1000; ++i)
            QVERIFY(wire.next(&one, 5000) && one.seq == i);
        for (char byte : BusinessWire::package(7, 103, 10308, "{\"thirdParty\":0}"))
            wire.raw(QByteArray(1, byte));
        QVERIFY(wire.next(&one, 5000));
        QCOMPARE(one.val, 1030800);
        QVERIFY(bench.farm.violations().isEmpty());
    }

    void order_data()
    {
        QTest::addColumn<int>("cmd");
        QTest::addColumn<bool>("login");
        QTest::addColumn<int>("answer"); // of a reply, or the reason of a kick
        QTest::newRow("order before login") << 10400 << false << 1000100;
        QTest::newRow("confirmation without the page") << 10309 << false << 1030901;
        QTest::newRow("unknown") << 10999 << true << 1099901;
        QTest::newRow("no such task") << 10704 << true << 1070401;
    }
    void order()
    {
        QFETCH(int, cmd);
        QFETCH(bool, login);
        Bench bench;
        if (login)
            bench.login();
        else
            bench.wire = std::make_unique<BusinessWire>(bench.ports);
        bench.wire->post(cmd, "{\"missionId\":99}");
        Reply one;
        QVERIFY(bench.wire->next(&one, 5000));
        QTEST(one.val, "answer");
    }

    void uploads_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("first");  // how the upload ends under the fault
        QTest::addColumn<int>("second"); // and when it is tried again
        QTest::newRow("cut") << "cut-upload=100@1" << 0 << 7000404;
        QTest::newRow("commit") << "commit-code=13010203@1" << 13010203 << 7000404;
        QTest::newRow("hash") << "hash-fail=1@1" << 13010203 << 7000404;
        QTest::newRow("refused") << "refuse-frame=1@1" << 0 << 7000404;
        QTest::newRow("closed") << "refuse-file=1@1" << 0 << 7000404;
        QTest::newRow("split") << "split-file=1@3" << 7000404 << 7000441;
        QTest::newRow("stages") << "stage=7000411,7000430:200@1" << 7000411 << 7000441;
    }
    void uploads()
    {
        QFETCH(QString, fault);
        Bench bench;
        bench.login();
        const QByteArray bytes = noise(60000);
        const int task = bench.order({key}, Bench::camera("1"));
        QVERIFY(bench.farm.faults().set(fault));
        QTEST(FileWire(bench).upload(task, key, bytes), "first");
        QTRY_VERIFY(!fault.startsWith("stage") || bench.instant(task, key, bytes.size()).object().value("code").toInt() == 101401);
        QTEST(FileWire(bench).upload(task, key, bytes), "second");
        QCOMPARE(bench.farm.storedFiles().value(key), md5(bytes));
        QCOMPARE(bench.farm.taskFiles(task, false), QStringList());
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

    void zipped_data()
    {
        QTest::addColumn<bool>("packed");
        QTest::addColumn<int>("broken");
        QTest::addColumn<int>("code");
        QTest::newRow("stored") << false << 0 << 7000404;
        QTest::newRow("deflated") << true << 0 << 7000404;
        QTest::newRow("checksum") << true << 1 << 7000421;
        QTest::newRow("cut") << true << 2 << 7000421;
        QTest::newRow("two entries") << false << 3 << 7000421;
    }
    void zipped()
    {
        QFETCH(bool, packed);
        QFETCH(int, broken);
        Bench bench;
        bench.login();
        const QByteArray scene = noise(30000) + QByteArray(500000, 'a'), zip = zipOf(scene, packed, broken);
        const int task = bench.order({key}, Bench::camera("1"));
        FileWire file(bench);
        const int code = file.upload(task, key, zip, 100000, scene.size());
        QTEST(code, "code");
        QCOMPARE(bench.farm.storedFiles().value(key), code == 7000404 ? md5(scene) : QString());
        QCOMPARE(FileWire::start(file.ask(task, key, scene.size(), zip.size())),
                 code == 7000404 ? qint64(-1) : qint64(0)); // a broken one starts over
    }

    void web_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("status");
        QTest::newRow("no line") << QByteArray("nonsense\r\n\r\n") << 400;
        QTest::newRow("method") << QByteArray("DELETE / HTTP/1.1\r\n\r\n") << 405;
        QTest::newRow("length") << QByteArray("POST /logs HTTP/1.1\r\nContent-Length: -4\r\n\r\n") << 400;
        QTest::newRow("too long") << QByteArray("POST /logs HTTP/1.1\r\nContent-Length: 999999999999\r\n\r\n") << 413;
        QTest::newRow("chunked") << QByteArray("POST /logs HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n") << 411;
        QTest::newRow("endless head") << "GET /" + QByteArray(70000, 'a') << 413;
        QTest::newRow("unknown") << QByteArray("GET /nothing HTTP/1.1\r\n\r\n") << 404;
        QTest::newRow("no token") << QByteArray("GET /bs/farm/1 HTTP/1.1\r\n\r\n") << 401;
        const auto control = [](const char *name, const QByteArray &headers, int status) {
            QTest::newRow(name) << "GET /farm/state HTTP/1.1\r\n" + headers + "\r\n" << status;
        };
        control("program", "Host: HERE\r\n", 200);
        control("own page", "Host: HERE\r\nOrigin: http://HERE\r\nReferer: http://HERE/x\r\nSec-Fetch-Site: same-origin\r\n", 200);
        control("another site", "Host: HERE\r\nOrigin: http://elsewhere\r\n", 403);
        control("its name leads here", "Host: evil.example\r\n", 403);
        control("its picture", "Host: HERE\r\nSec-Fetch-Site: cross-site\r\n", 403);
        control("its link", "Host: HERE\r\nReferer: http://HERE.evil.example/\r\n", 403);
        QTest::newRow("version") << QByteArray("GET /getUpdateVersion.htm HTTP/1.1\r\n\r\n") << 200;
    }
    void web()
    {
        QFETCH(QByteArray, request);
        Bench bench;
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(bench.ports.http));
        QVERIFY(socket.waitForConnected(5000));
        QTEST(http(socket, request.replace("HERE", "127.0.0.1:" + QByteArray::number(bench.ports.http))).status, "status");
    }

    // Two requests on one connection, the second in single bytes.
    void webKept()
    {
        Bench bench;
        bench.login();
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(bench.ports.http));
        QVERIFY(socket.waitForConnected(5000));
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
