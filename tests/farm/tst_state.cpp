// What the farm keeps: content by its hash, the account with its lists, a folder that is damaged, taken or half
// written.
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

    void toldHash_data()
    {
        QTest::addColumn<QByteArray>("etag");
        QTest::addColumn<int>("code");
        const QByteArray right = md5(noise(5000)).toLatin1();
        QTest::newRow("right") << right << 7000404;
        QTest::newRow("in capitals") << right.toUpper() << 7000404;
        QTest::newRow("wrong") << QByteArray(32, '1') << 13010203;
    }
    void toldHash()
    {
        QFETCH(QByteArray, etag);
        Bench bench;
        bench.login();
        const int task = bench.order({key}, Bench::camera("1"));
        FileWire file(bench);
        const QJsonObject ask{{"fileId", "1"},
                              {"key", key},
                              {"diskKey", key},
                              {"size", 5000},
                              {"isCompressed", false},
                              {"compressedSize", 0},
                              {"lastModified", 9},
                              {"taskId", task},
                              {"ETag", QString::fromLatin1(etag)}};
        file.send(0, 70000, -1, json(ask));
        QCOMPARE(FileWire::start(file.reply()), 0);
        file.send(1, 70002, 0, noise(5000));
        QCOMPARE(file.reply().code, 7000201);
        file.send(2, 70004, -1, json({{"lastModified", 9}}));
        const int code = file.reply().code;
        QTEST(code, "code");
        file.send(0, 70000, -1, json(ask));
        QCOMPARE(FileWire::start(file.reply()), code == 7000404 ? -1 : 0); // a wrong one is sent anew
    }

    // A file whose hash was never worked out, or that stopped on its way into the store, is all there after a restart.
    void halfStored()
    {
        Bench bench;
        bench.login();
        const QByteArray bytes = noise(7000);
        const int task = bench.order({key}, Bench::camera("1"));
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 7000404);
        bench.restart(); // maybe before the hash
        QTRY_VERIFY(parts(bench).isEmpty());
        bench.login();
        QCOMPARE(bench.instant(task, key, 7000).object().value("code").toInt(), 101401);
        QCOMPARE(bench.farm.storedFiles().value(key), md5(bytes));
    }

    // Ask, answer and what comes of it for the account's lists; everything is there after a restart.
    void account()
    {
        Bench bench;
        bench.login();
        const auto ask = [&](int cmd, const QJsonObject &body) { return bench.wire->ask(cmd, body); };
        const int project = ask(10500, {{"name", "Film"}}).object().value("id").toInt();
        QCOMPARE(ask(10500, {{"name", "Film"}}).val, 1050002);
        QCOMPARE(ask(10501, {{"projectId", 1}}).val, 1050104); // the default one stays
        const int combo =
            ask(10504,
                {{"projectId", project}, {"software_type", 8}, {"software", "Terragen 4.7"}, {"startGpu", 1}, {"outputPath", "/out"}})
                .object()
                .value("id")
                .toInt();
        QCOMPARE(ask(10508, {{"projectId", project}, {"software_type", 8}, {"id", combo}, {"software", "Terragen 4.8"}}).val, 1050800);
        QCOMPARE(ask(10303, {{"parseTime", 30}, {"autoPushResult", 0}}).val, 1030300);
        bench.farm.addNotice(QStringLiteral("hello"));
        bench.farm.setBalance(0);
        bench.restart();
        const QJsonObject self = bench.login().object();
        QCOMPARE(self.value("parseTime").toInt(), 30);
        QCOMPARE(self.value("hashPrefix").toString(), QStringLiteral("qn"));
        QCOMPARE(ask(10502, {}).object().value("projects").toArray().size(), 2);
        const QJsonObject config = ask(10506, {{"projectId", project}, {"software_type", 8}}).object();
        QCOMPARE(config.value("extraConfig").toObject().value("outputPath").toString(), QStringLiteral("/out"));
        QCOMPARE(config.value("combos").toArray().last().toObject().value("software").toString(), QStringLiteral("Terragen 4.8"));
        QCOMPARE(ask(10505, {{"projectId", project}, {"software_type", 8}, {"id", combo}}).val, 1050500);
        const QJsonObject notice = ask(10311, {{"page", 0}}).object().value("pageList").toArray().first().toObject();
        QCOMPARE(notice.value("content").toString(), QStringLiteral("hello"));
        QCOMPARE(ask(10313, {{"ids", QString::number(notice.value("id").toInt())}, {"status", 2}}).object().value("status").toInt(), 1);
        QVERIFY(ask(10311, {{"page", 0}}).object().value("pageList").toArray().first().toObject() != notice);
        // In arrears nothing is ordered; with money again it goes on.
        QCOMPARE(ask(10302, {}).object().value("balance").toDouble(), 0.0);
        QCOMPARE(bench.order({key}, Bench::camera("1")), 0);
        bench.farm.setBalance(5);
        QVERIFY(bench.order({key}, Bench::camera("1")) > 0);
        QCOMPARE(bench.wire->push(10413, 300).cmd, 0);
    }

    // Rows of 10417 and 10422: what a scene that is given up leaves, by how far it had come.
    void givenUp()
    {
        Bench bench;
        bench.login();
        const QJsonObject number =
            bench.wire->ask(10421, {{"name", "x.tgd"}, {"clientFlag", 3}, {"projectId", 1}, {"softwareType", 8}, {"machineModel", "m"}})
                .object();
        QCOMPARE(bench.wire->ask(10422, {{"missionId", number.value("id")}, {"type", 6}}).val, 1042200);
        QCOMPARE(bench.farm.order(number.value("id").toInt()).analysisType, 6);
        QCOMPARE(bench.wire->ask(10417, {{"missionId", number.value("id")}}).val, 1041700);
        QVERIFY(bench.farm.orders().isEmpty());
        QCOMPARE(bench.wire->ask(10417, {{"missionId", number.value("id")}}).val, 1041700);
        const int task = bench.order({key}, Bench::camera("1"));
        QCOMPARE(bench.wire->ask(10417, {{"missionId", task}}).val, 1041700);
        QCOMPARE(bench.farm.order(task).result, 3);
        QCOMPARE(bench.wire->ask(10704, {{"missionId", task}}).val, 1070406);
        QCOMPARE(FileWire(bench).upload(task, key, "x"), 13010005);
    }

    void bodies_data()
    {
        QTest::addColumn<int>("cmd");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("told");
        QTest::newRow("good") << 10409 << QByteArray(R"({"missionId":1})") << "";
        QTest::newRow("text for a number") << 10409 << QByteArray(R"({"missionId":"1"})") << "body of command 10409: missionId";
        QTest::newRow("missing") << 10421 << QByteArray(R"({"name":"a","clientFlag":1,"projectId":1})")
                                 << "body of command 10421: softwareType,machineModel";
        QTest::newRow("times") << 10422 << QByteArray(R"({"missionId":1,"type":4,"analysisStartTime":"x"})")
                               << "body of command 10422: analysisEndTime";
        QTest::newRow("object for an array") << 10432 << QByteArray(R"({"a":1})") << "body of command 10432: not an array";
        QTest::newRow("not JSON") << 10409 << QByteArray("{\"missionId\":") << "body of command 10409 isn't JSON";
        QTest::newRow("empty") << 10409 << QByteArray() << "body of command 10409 isn't JSON";
    }
    void bodies()
    {
        QFETCH(int, cmd);
        QFETCH(QByteArray, body);
        QFETCH(QString, told);
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
