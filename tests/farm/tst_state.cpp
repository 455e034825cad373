// What the farm keeps: content by its hash, the account with its lists, a folder that is damaged, taken or half
// written.
#include "support/Row.h"
#include "support/TestMain.h"
#include "Wires.h"

class TestState : public QObject
{
    Q_OBJECT
    const QString key = QStringLiteral("d/a.tif");

    static QStringList parts(const Bench &bench) { return QDir(bench.options.dir + "/incoming").entryList(QDir::Files); }
    // Like Bench::instant, with the content's hash told.
    static int instantByHash(Bench &bench, int task, const QString &key, qint64 size, const QByteArray &etag)
    {
        const QByteArray name = QUrl::toPercentEncoding(key);
        return bench
            .get("/skydrive/sourceFiles?fileType=1&key=" + name + "&diskKey=" + name + "&size=" + QByteArray::number(size) +
                     "&lastModified=9&taskId=" + QByteArray::number(task) + "&ETag=" + etag + "&upwork=abc",
                 bench.headers())
            .object()
            .value("code")
            .toInt();
    }

private slots:
    // The same bytes under another name aren't sent again, and stand in the store once.
    void content()
    {
        Bench bench;
        bench.login();
        const QByteArray bytes = noise(9000), hash = md5(bytes).toLatin1();
        const int task = bench.order({key, "d/b.tif", "d/empty.tif"}, Bench::camera("1"));
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 7000404);
        QCOMPARE(FileWire(bench).upload(task, "d/empty.tif", ""), 7000404);
        QTRY_VERIFY(parts(bench).isEmpty());
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9000, QByteArray(32, '0')), 101402);
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9001, hash), 101402);
        QFile outside(bench.folder.filePath("farm.db")); // a hash is no path
        QVERIFY(outside.open(QIODevice::WriteOnly) && outside.resize(9000));
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9000, "../farm.db"), 101402);
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9000, hash), 101401);
        QCOMPARE(bench.farm.taskFiles(task, true), (QStringList{key, "d/b.tif", "d/empty.tif"}));
        QCOMPARE(bench.farm.storedFiles().value("d/empty.tif"), md5(""));
        QFile stored(bench.options.dir + "/store/" + hash.left(2) + '/' + hash);
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QCOMPARE(stored.readAll(), bytes);
        stored.remove(); // gone behind the farm's back: it asks for the bytes again
        QCOMPARE(bench.instant(task, key, 9000).object().value("code").toInt(), 101402);
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 7000404);
        QCOMPARE(bench.farm.violations(), QStringList());
    }

    void bodies_data()
    {
        columns<int, QByteArray, QString>("cmd", "body", "told");
        addRow("good", 10409, QByteArray(R"({"missionId":1})"), "");
        addRow("text for a number", 10409, QByteArray(R"({"missionId":"1"})"), "body of command 10409: missionId");
        addRow("missing", 10421, QByteArray(R"({"name":"a","clientFlag":1,"projectId":1})"),
               "body of command 10421: softwareType,machineModel");
        addRow("not JSON", 10409, QByteArray("{\"missionId\":"), "body of command 10409 isn't JSON");
    }
    void bodies()
    {
        FETCH(int, cmd, QByteArray, body, QString, told);
        Bench bench;
        bench.login();
        QVERIFY(bench.wire->askRaw(cmd, body).val != 0); // answered all the same
        QCOMPARE(bench.farm.violations(), told.isEmpty() ? QStringList() : QStringList{told});
    }

    void folder()
    {
        Bench bench;
        Farm second;
        QVERIFY(!second.start(bench.options));
        QVERIFY2(second.error().contains("in use"), qPrintable(second.error()));
        FarmOptions options = bench.options;
        options.dir += QStringLiteral("/other");
        options.httpPort = bench.ports.http;
        QVERIFY(!second.start(options));
        QVERIFY2(second.error().contains(QString::number(bench.ports.http)), qPrintable(second.error()));
        options.httpPort = 0;
        options.address = QStringLiteral("0.0.0.0");
        QVERIFY(!second.start(options));
        options.address = bench.options.address;
        options.faults = QStringList{"no-such-fault=1"};
        QVERIFY(!second.start(options));

        bench.farm.stop();
        QFile database(bench.options.dir + "/farm.db");
        QVERIFY(database.open(QIODevice::WriteOnly));
        database.write(QByteArray(20000, 'x'));
        database.close();
        QFile::remove(bench.options.dir + "/farm.db-wal");
        bench.start(); // the damaged file is kept aside
        QCOMPARE(QDir(bench.options.dir).entryList({"farm.db.bad-*"}).size(), 1);
        QCOMPARE(bench.login().val, 1030900);
    }
};

VN_TEST(TestState)
#include "tst_state.moc"
