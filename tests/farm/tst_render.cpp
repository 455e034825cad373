// From an order to its frames, and the commands that steer a task while it renders.
#include "support/Row.h"
#include "support/TestMain.h"
#include "tasks/RenderPlan.h"
#include "Wires.h"

class TestRender : public QObject
{
    Q_OBJECT
    const QString key = QStringLiteral("d/island.tgd");
    // A task with its one file uploaded, and 10704 sent.
    int rendering(Bench &bench, const QString &frames, const QJsonObject &more = {}, qint64 flag = 1)
    {
        const int task = bench.order({key}, Bench::camera(frames), flag, more);
        FileWire(bench).upload(task, key, "scene");
        bench.wire->ask(10704, {{"missionId", task}});
        return task;
    }
    static FarmOptions fast()
    {
        FarmOptions options;
        options.framesPerSecond = 0;
        return options;
    }

private slots:
    void frames()
    {
        for (const auto &[text, numbers] : Rows<QString, QVector<int>>{{"5", {5}},
                                                                       {"-2-1", {-2, -1, 0, 1}},
                                                                       {"-3--1", {-3, -2, -1}},
                                                                       {"1-10:4,3", {1, 3, 5, 9}},
                                                                       {"1-3，2-4", {1, 2, 3, 4}},
                                                                       {"5-1", {}},
                                                                       {"a,1-b,,7", {7}}})
            QCOMPARE(farm::frameNumbers(text), numbers);
    }

    void plan_data()
    {
        columns<int, QByteArray, QStringList>("software", "order", "frames"); // frames: "path WxH", priority frames with a star
        addRow("Terragen", 8,
               QByteArray(
                   R"({"keyFrames":"2","modelParameters":{"cameras":[{"name":"A","width":"80","height":"40","frames":"1-2","selected":1},
            {"name":"B","width":80,"height":40,"frames":"1","selected":0}]}})"),
               QStringList{"*A/s.0002.png 80x40", "A/s.0001.png 80x40"});
        addRow("Terragen, nobody chosen, same names", 8,
               QByteArray(R"({"modelParameters":{"cameras":[{"name":"A","width":8,"height":4,"frames":"-1"},
            {"name":"A","width":8,"height":4,"frames":"1"}]}})"),
               QStringList{"A/s.-0001.png 8x4", "A_2/s.0001.png 8x4"});
        addRow("3ds Max, scaled", 3,
               QByteArray(R"({"modelParameters":{"width":4000,"height":2000,"frames":"7","cameras":["C1","a/b:c"]}})"),
               QStringList{"C1/s.0007.png 1000x500", "a_b_c/s.0007.png 1000x500"});
        addRow("3ds Max, enabled", 3,
               QByteArray(R"({"modelParameters":{"width":8,"height":4,"frames":"7","cameras":[],"enableCameras":["C2"]}})"),
               QStringList{"C2/s.0007.png 8x4"});
        addRow("Maya", 1,
               QByteArray(
                   R"({"modelParameters":[{"layer":"L","width":8,"height":4,"frames":"1","cameras_array":["persp"],"keyFrames":"1"}]})"),
               QStringList{"*L_persp/s.0001.png 8x4"});
        addRow("Houdini", 4, QByteArray(R"({"modelParameters":[{"rop":"/out/m","reslution":[8,4],"frames":"3","selected":1}]})"),
               QStringList{"_out_m/s.0003.png 8x4"});
        addRow(
            "Clarisse", 7,
            QByteArray(
                R"({"modelParameters":{"images":[{"name":"i","selected":1,"layers":[{"name":"l","frames":"0","selected":1},{"name":"m","frames":"0"}]}]}})"),
            QStringList{"i_l/s.0000.png 1000x562"});
        addRow(
            "forced", 5,
            QByteArray(
                R"({"noSolutionCheck":1,"canw":10,"canh":5,"noFrameCheck":1,"canframe":"4","modelParameters":{"cameras":["C"],"width":8,"height":4,"frames":"1"}})"),
            QStringList{"C/s.0004.png 10x5"});
        addRow("nothing told", 8, QByteArray("{}"), QStringList{"camera/s.0001.png 1000x562"});
    }
    void plan()
    {
        FETCH(int, software, QByteArray, order);
        QStringList got;
        for (const farm::FrameJob &job :
             farm::framePlan(QJsonDocument::fromJson(order).object(), software, QStringLiteral("dir/s.tgd"), 1000))
            got += QStringLiteral("%1%2 %3x%4").arg(job.key ? "*" : "", job.path).arg(job.width).arg(job.height);
        QTEST(got, "frames");
    }

    void strategy_data()
    {
        QTest::addColumn<int>("strategy");
        addRow("goes on", 1);
        addRow("waits", 0);
        addRow("waits, as settings say it", 2);
    }
    void strategy()
    {
        QFETCH(int, strategy);
        Bench bench(fast());
        bench.login();
        const int task = rendering(bench, "1-6", {{"keyFrames", "1,6"}, {"strategy", strategy}});
        if (strategy != 1) {
            const Reply push = bench.wire->push(10412);
            QCOMPARE(push.val, 1041200);
            QCOMPARE(push.object().value("missionId").toInt(), task);
            const FarmOrder waiting = bench.farm.order(task);
            QCOMPARE(waiting.subtype, 10);
            QCOMPARE(waiting.framesDone, 2);
            QCOMPARE(bench.wire->ask(10429, {{"missionId", task}}).val, 1042900);
        }
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        QCOMPARE(bench.farm.order(task).framesDone, 6);
        QVERIFY(bench.farm.results(task).at(1).keyFrame); // they came first
    }

    void steering()
    {
        FarmOptions options = fast();
        options.framesPerSecond = 20;
        Bench bench(options);
        bench.login();
        const int task = rendering(bench, "1-200"), other = rendering(bench, "1-2", {}, 2);
        QTRY_VERIFY(bench.farm.order(task).framesDone > 0);
        QCOMPARE(bench.wire->ask(10430, {{"missionId", task}, {"pauseRender", 1}}).val, 1043000);
        QCOMPARE(bench.farm.order(task).status, 3);
        const int done = bench.farm.order(task).framesDone;
        QTRY_COMPARE(bench.farm.order(other).status, 2); // the queue goes on without it
        QCOMPARE(bench.farm.order(task).framesDone, done);
        bench.restart(); // still paused
        bench.login();
        QCOMPARE(bench.farm.order(task).status, 3);
        QCOMPARE(bench.wire->ask(10429, {{"missionId", task}}).val, 1042900);
        QTRY_VERIFY(bench.farm.order(task).framesDone > done);
        QCOMPARE(bench.wire->ask(10430, {{"missionId", task}, {"pauseRender", 0}}).val, 1043000);
        QTRY_COMPARE(bench.farm.order(task).status, 3);
        QCOMPARE(bench.wire->ask(10401, {{"missionId", task}}).val, 1040100);
        QCOMPARE(bench.wire->ask(10401, {{"missionId", task}}).val, 1010103);
        const QJsonObject row = bench.wire->ask(10409, {{"missionId", task}}).object();
        QCOMPARE(row.value("result").toInt(), 3);
        QCOMPARE(row.value("cancelFrame").toInt() + row.value("successFrame").toInt(), 200);
        QCOMPARE(bench.instant(task, key, 5).object().value("code").toInt(), 1070006);
    }
};

VN_TEST(TestRender)
#include "tst_render.moc"
