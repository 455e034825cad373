// The road of an order over hand-written wires, and what of it survives a farm that ends or is killed in the middle.
#include "support/TestMain.h"
#include "Wires.h"

class TestRoad : public QObject
{
    Q_OBJECT
    const QString scene = QStringLiteral("/home/u/场景 100%/island.tgd"), key = QStringLiteral("home/u/场景 100%/island.tgd");

    // A download by hand; the head's code where it isn't the good one.
    QByteArray fetch(const Bench &bench, const QString &path, qint64 from, qint64 size, int *code)
    {
        FileWire file(bench);
        file.send(0, 70100, -1, json({{"startPoint", from}, {"path", path}}));
        *code = file.reply().code;
        QByteArray bytes;
        while (*code == 7010003 && bytes.size() < size && (file.socket.bytesAvailable() || file.socket.waitForReadyRead(3000)))
            bytes += file.socket.readAll();
        return bytes;
    }

private slots:
    void whole()
    {
        FarmOptions options;
        options.framesPerSecond = 0;
        Bench bench(options);
        const Reply account = bench.login();
        QCOMPARE(account.val, 1030900);
        QCOMPARE(account.object().value("username").toString(), QStringLiteral("demo"));
        QVERIFY(account.object().contains("autoSubmit"));
        const QByteArray bytes = noise(50000);
        const int task = bench.order({scene}, Bench::camera("1-3"));
        QVERIFY(task > 0);
        const QJsonObject miss = bench.instant(task, key, bytes.size()).object();
        QCOMPARE(miss.value("code").toInt(), 101402);
        QCOMPARE(miss.value("data").toObject().value("portLan").toInt(), bench.farm.ports().file);
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 7000404);
        QCOMPARE(bench.farm.storedFiles().value(key), md5(bytes));
        QCOMPARE(bench.instant(task, key, bytes.size()).object().value("code").toInt(), 101401);
        QCOMPARE(bench.instant(task, key, bytes.size(), 6).object().value("code").toInt(), 101402);
        QCOMPARE(bench.wire->ask(10704, {{"missionId", task}}).val, 1070400);

        const Reply push = bench.wire->push(10413);
        QCOMPARE(push.seq, -1);
        QCOMPARE(push.object().value("prefixPath").toString(), QStringLiteral("%1_island.tgd/").arg(task));
        const QJsonArray rows = push.object().value("rows").toArray();
        QCOMPARE(rows.size(), 3);
        QCOMPARE(bench.wire->ask(10413, {{"missionId", task}}).val, 1041300);
        QSet<QByteArray> different;
        for (const QJsonValue &one : rows) {
            const QJsonObject told = bench.wire->ask(10800, {{"fileId", one.toObject().value("id")}}).object();
            const qint64 size = told.value("size").toInt();
            int code = 0;
            const QByteArray whole = fetch(bench, told.value("downloadPath").toString(), 0, size, &code);
            QCOMPARE(md5(whole), told.value("hash").toString());
            QCOMPARE(QSize(at32(whole, 16), at32(whole, 20)), QSize(64, 36)); // head of a PNG
            QCOMPARE(fetch(bench, told.value("downloadPath").toString(), size / 2, size - size / 2, &code), whole.mid(int(size / 2)));
            QCOMPARE(bench.wire->ask(10802, {{"fileId", one.toObject().value("id")}}).val, 1080200);
            different.insert(whole);
        }
        QCOMPARE(different.size(), 3);
        const FarmOrder done = bench.farm.order(task);
        QCOMPARE(done.stage, 5);
        QCOMPARE(done.status, 2);
        QCOMPARE(bench.farm.violations(), QStringList());
    }

    // What a lost reply makes the client send again changes nothing.
    void repeats()
    {
        Bench bench;
        bench.login();
        const QJsonObject ask{{"name", "island.tgd"}, {"clientFlag", 7}, {"projectId", 1}, {"softwareType", 8}, {"machineModel", "m"}};
        const QJsonObject first = bench.wire->ask(10421, ask).object();
        QCOMPARE(bench.wire->ask(10421, ask).object(), first);
        const int task = bench.order({scene}, Bench::camera("1-2"), 7);
        QCOMPARE(task, first.value("id").toInt());
        const Reply again = bench.wire->ask(10400, bench.lastOrder);
        QCOMPARE(again.val, 1040000);
        QCOMPARE(again.object().value("missionId").toInt(), task);
        QCOMPARE(FileWire(bench).upload(task, key, "x"), 7000404);
        QCOMPARE(FileWire(bench).upload(task, key, "x"), 7000441); // the commit's answer was lost
        bench.farm.faults().set("hold-render", "1");
        for (int i = 0; i < 2; ++i)
            QCOMPARE(bench.wire->ask(10704, {{"missionId", task}}).val, 1070400);
        QCOMPARE(bench.wire->ask(10400, bench.lastOrder).val, 1040000);
        QCOMPARE(bench.farm.orders().size(), 1);
        QCOMPARE(bench.farm.order(task).frames, 2);
        QVERIFY(bench.wire->ask(10421, ask).object() != first); // the row is ordered: this is another scene
        QCOMPARE(bench.farm.violations(), QStringList());
    }

    void resume_data()
    {
        QTest::addColumn<int>("cut");
        for (int cut : {1, 19999, 20000, 20001, 49999})
            QTest::addRow("%d", cut) << cut;
    }
    void resume()
    {
        QFETCH(int, cut);
        Bench bench;
        bench.login();
        const QByteArray bytes = noise(50000);
        const int task = bench.order({scene}, Bench::camera("1"));
        bench.farm.faults().set("cut-upload", QString::number(cut) + "@1");
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 0);
        bench.restart();
        bench.login();
        FileWire file(bench);
        QCOMPARE(FileWire::start(file.ask(task, key, bytes.size())), qint64(cut));
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 7000404);
        QCOMPARE(bench.farm.storedFiles().value(key), md5(bytes));
        QCOMPARE(bench.farm.violations(), QStringList());
    }

    // Unconfirmed results are told again after the next login, confirmed ones aren't; priority frames travel apart.
    void confirmation()
    {
        FarmOptions options;
        options.framesPerSecond = 0;
        Bench bench(options);
        bench.login();
        const int task = bench.order({scene}, Bench::camera("1-5"), 1, {{"keyFrames", "1,3"}, {"strategy", 1}});
        FileWire(bench).upload(task, key, "scene");
        bench.wire->ask(10704, {{"missionId", task}});
        QCOMPARE(bench.wire->push(10413).object().value("rows").toArray().size(), 2);
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        bench.restart();
        bench.login();
        const QJsonObject keys = bench.wire->push(10413).object();
        QCOMPARE(keys.value("isKeyframe").toInt(), 1);
        QCOMPARE(bench.wire->ask(10413, {{"missionId", task}}).val, 1041300);
        const QJsonArray rest = bench.wire->push(10413).object().value("rows").toArray();
        QCOMPARE(rest.size(), 3);
        QCOMPARE(rest.first().toObject().value("isKeyframe").toInt(), 0);
        QCOMPARE(bench.wire->ask(10413, {{"missionId", task}}).val, 1041300);
        bench.restart();
        bench.login();
        QCOMPARE(bench.wire->push(10413, 800).cmd, 0);
        for (const FarmResult &one : bench.farm.results(task))
            QVERIFY(one.confirmed && one.pushed && md5([&] {
                                                       QFile f(one.file);
                                                       f.open(QIODevice::ReadOnly);
                                                       return f.readAll();
                                                   }()) == one.hash);
    }

    void download_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("code");
        QTest::newRow("at the end") << "" << 0 << 7010003;
        QTest::newRow("past the end") << "" << 1 << 13020304;
        QTest::newRow("absent") << "results/1/Cam/none.png" << 0 << 7010007;
        QTest::newRow("outside") << "results/../farm.db" << 0 << 7010007;
        QTest::newRow("absolute") << "/etc/passwd" << 0 << 7010007;
    }
    void download()
    {
        QFETCH(QString, path);
        QFETCH(int, from);
        FarmOptions options;
        options.framesPerSecond = 0;
        Bench bench(options);
        bench.login();
        const int task = bench.order({scene}, Bench::camera("1"));
        FileWire(bench).upload(task, key, "scene");
        bench.wire->ask(10704, {{"missionId", task}});
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        const FarmResult row = bench.farm.results(task).first();
        int code = 0;
        fetch(bench, path.isEmpty() ? QStringLiteral("results/%1/%2").arg(task).arg(row.path) : path, path.isEmpty() ? row.size + from : 0,
              0, &code);
        QTEST(code, "code");
    }
};

VN_TEST(TestRoad)
#include "tst_road.moc"
