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
        FileWire empty(bench);
        empty.id = 502;
        QCOMPARE(empty.upload(task, "d/empty.tif", ""), 7000404);
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

    // A folder of an earlier version keeps its tasks, their frames and their results.
    void earlier()
    {
        Bench bench;
        bench.login();
        const int task = bench.order({key}, Bench::camera("1-3"));
        FileWire(bench).upload(task, key, "scene");
        bench.farm.faults().set("hold-render", "1");
        bench.wire->ask(10704, {{"missionId", task}});
        bench.wire.reset();
        bench.farm.stop();
        QProcess python;
        python.start("python3", {"-c",
                                 "import sqlite3, sys\nc = sqlite3.connect(sys.argv[1])\n"
                                 "for t in 'sub', 'extra', 'oper', 'slurm', 'result', 'session': c.execute('drop table ' + t)\n"
                                 "c.execute('create table frame(mid integer, idx integer, state integer, primary key(mid, idx))')\n"
                                 "c.execute('create table session(token text primary key, auth text, made integer)')\n"
                                 "c.execute('create table result(id integer primary key, mid, idx, path, frame, size, hash, keyframe, "
                                 "pushed, confirmed, downloaded)')\n"
                                 "c.execute(\"insert into result values(1, 1, 0, 'Cam/island.0001.png', 1, 5, 'x', 0, 0, 1, 0)\")\n"
                                 "c.execute('insert into frame values(1, 0, 3), (1, 1, 4)')\nc.commit()",
                                 bench.options.dir + "/farm.db"});
        QVERIFY(python.waitForFinished(20000) && python.exitCode() == 0);
        bench.start();
        bench.login();
        const FarmOrder kept = bench.farm.order(task);
        QCOMPARE(kept.framesDone * 10 + kept.framesFailed, 11);
        QCOMPARE(bench.farm.results(task).size(), 1);
    }

    void bodies()
    {
        Bench bench;
        bench.login();
        for (const auto &[cmd, body, told] : Rows<int, QByteArray, QString>{
                 {10409, R"({"missionId":1})", ""},
                 {10409, R"({"missionId":"1"})", "body of command 10409: missionId"},
                 {10421, R"({"name":"a","clientFlag":1,"projectId":1})", "body of command 10421: softwareType,machineModel"},
                 {10409, "{\"missionId\":", "body of command 10409 isn't JSON"}}) {
            const int before = bench.farm.violations().size();
            QVERIFY(bench.wire->askRaw(cmd, body).val != 0); // answered all the same
            QCOMPARE(bench.farm.violations().mid(before), told.isEmpty() ? QStringList() : QStringList{told});
        }
    }
};

VN_TEST(TestState)
#include "tst_state.moc"
