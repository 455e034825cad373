// The road of an order over hand-written wires, and what of it survives a farm that ends or is killed in the middle.
#include "support/Row.h"
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

    void download()
    {
        FarmOptions options;
        options.framesPerSecond = 0;
        Bench bench(options);
        bench.login();
        const int task = bench.order({scene}, Bench::camera("1"));
        FileWire(bench).upload(task, key, "scene");
        bench.wire->ask(10704, {{"missionId", task}});
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        const FarmResult row = bench.farm.results(task).first();
        const QString good = QStringLiteral("results/%1/%2").arg(task).arg(row.path);
        for (const auto &[path, from, wanted] : Rows<QString, qint64, int>{{good, row.size, 7010003},
                                                                           {good, row.size + 1, 13020304},
                                                                           {"results/1/Cam/none.png", 0, 7010007},
                                                                           {"results/../farm.db", 0, 7010007},
                                                                           {"/etc/passwd", 0, 7010007}}) {
            int code = 0;
            fetch(bench, path, from, 0, &code);
            QVERIFY2(code == wanted, qPrintable(path));
        }
    }
};

VN_TEST(TestRoad)
#include "tst_road.moc"
