// The farm over a real Slurm of this machine alone; and what Slurm's programs write, as values.
#include "farm/Wires.h"
#include "slurm/ClusterText.h"
#include "support/Row.h"
#include "support/TestMain.h"

namespace
{
const QString key = QStringLiteral("d/island.tgd");

// A cluster that goes with the test.
class Slurm
{
public:
    QString start()
    {
        const QString why = act("start", {"4"});
        if (why.isEmpty())
            qputenv("SLURM_CONF", folder.filePath("slurm.conf").toLocal8Bit());
        return why;
    }
    ~Slurm() { act("stop"); }
    QString act(const QString &word, const QStringList &more = {})
    {
        QProcess script;
        script.setStandardErrorFile(folder.filePath("script.log"));
        script.start(VN_SLURM_SCRIPT, QStringList{word, folder.path()} + more);
        if (script.waitForFinished(60000) && script.exitCode() == 0)
            return {};
        QFile log(folder.filePath("script.log"));
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString("the script didn't end");
    }
    static QString tell(const QStringList &words)
    {
        QProcess program;
        program.start(words.first(), words.mid(1));
        program.waitForFinished(20000);
        return QString::fromUtf8(program.readAllStandardOutput()).trimmed();
    }
    QTemporaryDir folder;
};
} // namespace

class TestSlurm : public QObject
{
    Q_OBJECT
    std::unique_ptr<Slurm> slurm;

    static FarmOptions cluster(double seconds)
    {
        FarmOptions options;
        options.slurm = true;
        options.slurmProgram = VN_LOCALFARM;
        options.frameSeconds = seconds;
        return options;
    }
    static int rendering(Bench &bench, const QString &frames, const QJsonObject &more = {}, qint64 flag = 1)
    {
        const int task = bench.order({key}, Bench::camera(frames), flag, more);
        FileWire(bench).upload(task, key, "scene");
        bench.wire->ask(10704, {{"missionId", task}});
        return task;
    }
    static QJsonObject head(Bench &bench, int task) { return bench.wire->ask(10409, {{"missionId", task}}).object(); }
    static int running() { return Slurm::tell({"squeue", "-h", "-r", "-t", "RUNNING"}).split('\n', Qt::SkipEmptyParts).size(); }

private slots:
    void texts()
    {
        using namespace farm;
        for (const auto &[text, places] :
             Rows<QString, QVector<int>>{{"0-2,6%2", {0, 1, 2, 6}}, {"7", {7}}, {"0-9:4", {0, 4, 8}}, {"N/A", {}}, {"-3,2-1,x", {}}})
            QCOMPARE(placesOf(text), places);
        QCOMPARE(placesText({0, 1, 2, 5, 7, 8}), QString("0-2,5,7-8"));
        const QList<QueueLine> lines = queueLines("9|3|RUNNING|n1|vn-1-1\nslurm_load_jobs error\n9|4-5%1|PENDING||vn-1-1\n0|1|X||\n");
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(0).node + lines.at(0).state, QString("n1RUNNING"));
        QCOMPARE(lines.at(1).places, (QVector<int>{4, 5}));
        EndLine end;
        QVERIFY(endLine("JobId=5 Name=vn-1-1 JobState=FAILED StartTime=2026-11-21T21:48:29 EndTime=2026-11-21T21:48:31 NodeList=n1 "
                        "ArrayJobId=1 ArrayTaskId=2 DerivedExitCode=0:0 ExitCode=7:0 ",
                        &end));
        QCOMPARE(end.exitCode * 100 + end.place * 10 + int(end.job), 721);
        QCOMPARE(end.endMs - end.startMs, qint64(2000));
        for (const char *line : {"", "JobId=5 Name=x JobState=FAILED ExitCode=0:0", "ArrayJobId=1 ArrayTaskId=x JobState=A ExitCode=0:0"})
            QVERIFY(!endLine(line, &end));
    }

    // Without Slurm's programs the farm stands, says so once, and the tasks wait.
    void missing()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nowhere");
        Bench bench(cluster(0));
        bench.login();
        const int task = rendering(bench, "1");
        QTRY_VERIFY(!bench.farm.events().filter("the cluster doesn't answer").isEmpty());
        QTRY_VERIFY(bench.farm.events().filter("doesn't answer").size() == 1 && bench.farm.order(task).status == 0);
        qputenv("PATH", path);
    }

    void initCluster()
    {
        slurm = std::make_unique<Slurm>();
        const QString why = slurm->start();
        if (why.isEmpty())
            return;
        slurm.reset();
        QSKIP(qPrintable("SLURM IS NOT TESTED HERE, a cluster of this machine can't be started: " + why));
    }

    // One array with its limit; held and released; a frame that fails, one killed by hand, one that is cancelled.
    void steering()
    {
        if (!slurm)
            QSKIP("SLURM IS NOT TESTED HERE");
        Bench bench(cluster(0.4));
        bench.farm.faults().set("render-fail", "1@1");
        bench.login();
        QTRY_VERIFY(!bench.farm.events().filter("cluster localfarm").isEmpty());
        bench.farm.faults().set("hold-render", "1");
        const int task = rendering(bench, "1-40");
        QTRY_COMPARE(bench.wire->ask(10424, {{"missionId", task}, {"nodeLimit", 9}}).object().value("serverNodeLimit").toInt(), 4);
        QCOMPARE(bench.wire->ask(10424, {{"missionId", task}, {"nodeLimit", 2}}).val, 1042400);
        bench.farm.faults().set("hold-render", "");
        bench.wire->ask(10429, {{"missionId", task}}); // looks again at once
        QTRY_VERIFY(head(bench, task).value("renderingFrame").toInt() == 2);
        QCOMPARE(bench.wire->ask(10430, {{"missionId", task}, {"pauseRender", 0}}).val, 1043000);
        QTRY_COMPARE(bench.farm.order(task).status, 3);
        const int done = bench.farm.order(task).framesDone;
        QVERIFY(Slurm::tell({"squeue", "-h", "-o", "%r"}).startsWith("JobHeld"));
        QCOMPARE(bench.farm.order(task).framesDone, done);
        QCOMPARE(bench.wire->ask(10424, {{"missionId", task}, {"nodeLimit", 4}}).val, 1042400);
        QCOMPARE(bench.wire->ask(10429, {{"missionId", task}}).val, 1042900);
        QTRY_VERIFY(running() > 2); // what a limit that was told later gives
        QTRY_COMPARE_WITH_TIMEOUT(bench.farm.order(task).status, 2, 60000);
        QCOMPARE(bench.farm.order(task).framesFailed, 1);
        QCOMPARE(bench.farm.order(task).framesDone, 39);
        QCOMPARE(bench.farm.results(task).size(), 39);
        QCOMPARE(bench.farm.events().filter("job ").size(), 1); // one array for all of it
        QCOMPARE(bench.wire->askRaw(10406, "[" + QByteArray::number(task) + "]").val, 1040600);
        QTRY_COMPARE(bench.farm.order(task).framesDone, 40);
    }

    // The farm ends while frames run and finds them again; the controller goes and comes back; one job is killed by hand.
    void accidents()
    {
        if (!slurm)
            QSKIP("SLURM IS NOT TESTED HERE");
        FarmOptions options = cluster(0);
        options.renderCommands.insert(8, "sh -c \"sleep 0.6; cat $0 >$1\" %scene% %out%");
        Bench bench(options);
        bench.login();
        const int task = rendering(bench, "1-28");
        QTRY_VERIFY(bench.farm.order(task).framesDone > 0);
        bench.restart();
        bench.login();
        QTRY_VERIFY(head(bench, task).value("renderingFrame").toInt() > 0);
        slurm->act("controller-stop");
        const QJsonObject before = head(bench, task);
        QTRY_VERIFY(!bench.farm.events().filter("doesn't answer").isEmpty());
        QCOMPARE(head(bench, task).value("failureFrame").toInt(), 0);
        QCOMPARE(slurm->act("controller-start"), QString());
        QTRY_VERIFY(!bench.farm.events().filter("answers again").isEmpty());
        QString one;
        QTRY_VERIFY_WITH_TIMEOUT(!(one = Slurm::tell({"squeue", "-h", "-r", "-t", "RUNNING", "-o", "%i"}).section('\n', -1)).isEmpty(),
                                 20000);
        Slurm::tell({"scancel", one});
        QTRY_COMPARE_WITH_TIMEOUT(bench.farm.order(task).status, 2, 60000);
        QCOMPARE(bench.farm.order(task).framesFailed, 1);
        QCOMPARE(bench.farm.order(task).framesDone, 27);
        QVERIFY(bench.farm.events().filter("job ").isEmpty()); // of this start: nothing was handed over twice
        QFile picture(bench.farm.results(task).first().file);
        QVERIFY(picture.open(QIODevice::ReadOnly));
        QCOMPARE(picture.readAll(), QByteArray("scene")); // what the command made of it
        const QJsonObject failed = bench.wire->ask(10402, {{"missionId", task}, {"status", 4}, {"page", 0}})
                                       .object()
                                       .value("results")
                                       .toArray()
                                       .first()
                                       .toObject();
        QFile log(bench.options.dir + '/' + failed.value("log_file").toString());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("ERROR: the job ended as CANCELLED"));
        QVERIFY(head(bench, task).value("succSeconds").toInt() >= 14);
    }

    // Without accounts the jobs' own word tells how each ended; a farm that dies while it reads one's picture finds it again.
    void endsWithoutTheFarm()
    {
        if (!slurm)
            QSKIP("SLURM IS NOT TESTED HERE");
        FarmOptions options = cluster(0);
        options.slurmAccounting = "/nowhere";
        options.renderCommands.insert(8, "sh -c \"test $1 != 2 && truncate -s 600M $0\" %out% %frame%");
        Bench bench(options);
        bench.login();
        const int task = rendering(bench, "1-2");
        QTRY_COMPARE(bench.farm.events().filter(" ended").size(), 2);
        bench.restart();
        bench.login();
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        QVERIFY(bench.farm.order(task).framesDone == 1 && bench.farm.order(task).framesFailed == 1);
        QVERIFY(bench.farm.events().filter("job ").isEmpty()); // of this start: nothing was handed over twice
        const QJsonArray failed =
            bench.wire->ask(10402, {{"missionId", task}, {"status", 4}, {"page", 0}}).object().value("results").toArray();
        QFile log(bench.options.dir + '/' + failed.at(0).toObject().value("log_file").toString());
        QVERIFY(log.open(QIODevice::ReadOnly) && log.readAll().contains("ended as FAILED, exit code 1"));
        QTRY_COMPARE(QDir(bench.options.dir + "/slurm").entryList({"*.end", "*.frames"}), QStringList());
    }

    // Two tasks change places; one is paused at once, continued and cancelled: nothing of it stays in the cluster.
    void order()
    {
        if (!slurm)
            QSKIP("SLURM IS NOT TESTED HERE");
        Bench bench(cluster(0.5));
        bench.login();
        const int first = rendering(bench, "1-120"),
                  second = rendering(bench, "1-4", {{"keyFrames", "1"}, {"strategy", 1}, {"blocksCount", 2}}, 2);
        QTRY_VERIFY(bench.farm.events().filter("job ").size() == 2);
        QCOMPARE(bench.wire
                     ->ask(10419, {{"farmId", 1},
                                   {"job_ids_from", QJsonArray{QString::number(second)}},
                                   {"job_id_to", first},
                                   {"insert_after_position", false}})
                     .val,
                 1041900);
        QTRY_COMPARE_WITH_TIMEOUT(bench.farm.order(second).status, 2, 60000); // blocks there, put together here
        QCOMPARE(bench.farm.order(second).framesDone, 4);
        QVERIFY(bench.farm.order(first).framesDone < 90);
        QTRY_VERIFY(head(bench, first).value("renderingFrame").toInt() > 0);
        QCOMPARE(bench.wire->ask(10430, {{"missionId", first}, {"pauseRender", 1}}).val, 1043000);
        QCOMPARE(head(bench, first).value("renderingFrame").toInt(), 0);
        QTRY_COMPARE(running(), 0);
        QCOMPARE(bench.wire->ask(10429, {{"missionId", first}}).val, 1042900);
        QTRY_VERIFY(head(bench, first).value("renderingFrame").toInt() > 0);
        QCOMPARE(bench.farm.order(first).framesFailed, 0); // what the pause stopped isn't a failure
        QCOMPARE(bench.wire->ask(10401, {{"missionId", first}}).val, 1040100);
        QTRY_COMPARE(Slurm::tell({"squeue", "-h"}), QString());
    }
};

VN_TEST(TestSlurm)
#include "tst_slurm.moc"
