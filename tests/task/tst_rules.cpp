#include "common/facts/Command.h"
#include "common/facts/SceneState.h"
#include "support/TestMain.h"
#include "task/Cell.h"
#include "task/TaskAct.h"
#include "task/TaskEta.h"
#include "task/TaskFilter.h"
#include "task/TaskHands.h"
#include "task/TaskNews.h"
#include "task/TaskRequest.h"
#include <QJsonArray>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace TaskAct;
Q_DECLARE_METATYPE(QList<TaskAct::Act>)

namespace
{
TaskRecord task(int stage, int status, int subtype = 0, int result = 0, const char *name = "a.ma")
{
    TaskRecord one;
    one.id = "7";
    one.name = name;
    one.software = TaskState::softwareOf(one.name);
    one.stand = {stage, status, result, subtype};
    return one;
}

TaskRecord running(int done, qlonglong seconds, int left, int lanes = 1)
{
    TaskRecord one = task(4, 1);
    one.successFrame = done;
    one.succSeconds = seconds;
    one.renderingFrame = lanes;
    one.untreatedFrame = left - lanes;
    one.totalFrame = done + left;
    return one;
}
} // namespace

class TestTaskRules : public QObject
{
    Q_OBJECT
private slots:
    // Where each act is possible: stage, status, subtype (a 10, f 15) and result of the rows that pass.
    void everyState_data()
    {
        QTest::addColumn<QList<Act>>("acts");
        QTest::addColumn<QString>("passes");
        const auto row = [](const char *name, QList<Act> acts, const char *passes) { QTest::newRow(name) << acts << QString(passes); };
        row("pause", {Pause}, "4[01]..");
        row("continue", {Continue}, "43[0f].|41f.");
        row("in render", {Cancel, HandOver, Priority, Limit}, "4[013]..");
        row("history", {ToHistory}, "42..|52..|32.2");
        row("ordered", {ChangeEnvironment, Fill, Clone}, "[1345]...");
        row("always", {Detail, OpenFolder, Remark}, "....");
    }
    void everyState()
    {
        QFETCH(QList<Act>, acts);
        QFETCH(QString, passes);
        const QRegularExpression wanted(QRegularExpression::anchoredPattern(passes));
        for (int stage = 0; stage <= 5; ++stage)
            for (int status = 0; status <= 3; ++status)
                for (int subtype : {0, 10, 15})
                    for (int result : {0, 2, 3}) {
                        const QString at = QString("%1%2%3%4").arg(stage).arg(status).arg(subtype, 0, 16).arg(result);
                        for (Act act : acts)
                            QVERIFY2(possible(act, task(stage, status, subtype, result), {}) == wanted.match(at).hasMatch(),
                                     qPrintable(text(act) + at));
                    }
    }

    void whatElseTheRowTells()
    {
        TaskRecord one = task(4, 1);
        QVERIFY(!possible(RerenderFailed, one, {}) && !possible(Fetch, one, {}) && !possible(FullSpeed, one, {}));
        one.failureFrame = one.successFrame = 1;
        one.keyFrames = "1,5";
        QVERIFY(possible(RerenderFailed, one, {}) && possible(Fetch, one, {}) && possible(FullSpeed, one, {}));
        for (int subtype : {0, 10}) {
            one.stand = {4, 3, 0, subtype};
            QCOMPARE(possible(FullSpeed, one, {}), subtype == 10);
        }
        one.stand.stage = 2;
        QVERIFY(!possible(Fetch, one, {}));
        TaskRecord light = task(4, 1, 0, 0, "b.max");
        light.identity = "GZ";
        light.keyFrames = "1";
        QVERIFY(!possible(FullSpeed, light, {}) && !possible(Fill, light, {}) && !possible(Clone, light, {}));
        QVERIFY(!possible(Fill, task(4, 2, 0, 0, "c.SKP"), {}) && possible(ChangeEnvironment, task(4, 2, 0, 0, "c.SKP"), {}));
        // One that doesn't fit takes the others along.
        QVERIFY(possible(Pause, QList<TaskRecord>{task(4, 0), task(4, 1)}, {}) &&
                !possible(Pause, QList<TaskRecord>{task(4, 0), task(0, 1)}, {}) && !possible(Pause, QList<TaskRecord>(), {}));
    }

    void aRightThatIsTakenAway()
    {
        TaskRecord one = task(4, 3);
        one.failureFrame = one.successFrame = 1;
        const QList<QPair<Act, int>> grants{{RerenderFailed, 4}, {Continue, 5},          {Cancel, 6}, {Fill, 7},
                                            {Clone, 7},          {ChangeEnvironment, 8}, {Fetch, 10}};
        for (int denied = 0; denied <= 23; ++denied)
            for (const auto &[act, grant] : grants)
                QCOMPARE(possible(act, one, [=](int asked) { return asked == denied; }), grant != denied);
        QVERIFY(!possible(ToHistory, task(4, 2), [](int grant) { return grant == 3; }));
        QCOMPARE(menu(false).size(), 14);
        QCOMPARE(text(menu(false).at(8)), QString("全速渲染"));
        QCOMPARE(text(menu(true).first()) + text(menu(true).last()), QString("任务详情克隆任务"));
    }

    void whatTravels()
    {
        const QStringList ids{"7", "9007199254740993"};
        QCOMPARE(TaskRequest::list(10432, ids).body, QByteArray(R"([7,"9007199254740993"])"));
        const auto pause = TaskRequest::pause(ids, true);
        QCOMPARE(pause.size(), 2);
        QCOMPARE(pause.first().body, QByteArray(R"({"missionId":7,"pauseRender":0})"));
        QCOMPARE(TaskRequest::handOver(ids, "43").body, QByteArray(R"({"handoverUserId":43,"missionIds":"7,9007199254740993"})"));
        QCOMPARE(TaskRequest::remark({"7"}, QString(141, 'x')).first().body.count('x'), 140);
        QCOMPARE(TaskRequest::move(1, {"5", "6"}, "9", true).body,
                 QByteArray(R"({"farmId":1,"insert_after_position":true,"job_id_to":9,"job_ids_from":["5","6"]})"));
        const QJsonObject detail = QJsonDocument::fromJson(R"({"softwareType": 8, "machineModel": "A", "clientId": 3, "software": "t4",
            "plugins": [], "modelParameters": {"width": 10, "frames": "1-3", "cameras": [{"name": "l", "frames": "1-3"}, {"name": "r", "selected": 1}]}})")
                                       .object();
        const QJsonObject fill = QJsonDocument::fromJson(TaskRequest::fill("7", detail, "9", {"r"}).body).object();
        const QJsonObject model = fill.value("modelParameters").toObject();
        QCOMPARE(model.value("frames").toString() + model.value("width").toVariant().toString(), QString("910"));
        QCOMPARE(model.value("cameras").toArray().at(0).toObject().value("selected"), QJsonValue(0));
        QCOMPARE(model.value("cameras").toArray().at(1).toObject().value("frames"), QJsonValue("9"));
        QCOMPARE(fill.value("softwareType"), QJsonValue(8));
        // Layers are a list of their own: only those that take part are sent.
        const QJsonObject maya{{"softwareType", 1},
                               {"modelParameters", QJsonArray{QJsonObject{{"layer", "a"}}, QJsonObject{{"layer", "b"}}}}};
        QCOMPARE(TaskFill::outputs(1, maya), QStringList({"a", "b"}));
        QCOMPARE(TaskFill::model(1, maya, "5", {"b"}), QJsonValue(QJsonArray{QJsonObject{{"frames", "5"}, {"layer", "b"}}}));
        QCOMPARE(TaskRequest::environment("7", detail, {{"clientId", 4}}).body,
                 QByteArray(R"({"clientId":4,"machineModel":"A","missionId":7,"plugins":[],"software":"t4"})"));
        QCOMPARE(TaskText::result(1010103), QString("取消任务失败，任务不可以取消"));
        QVERIFY(TaskText::result(1043510).contains("母账号") && TaskText::result(1999999).contains("1999999"));
    }

    void aCloneIsWhatWasOrdered()
    {
        QJsonObject detail{{"scene", "D/p/shot.ma"},
                           {"projectId", "3"},
                           {"projectName", "film"},
                           {"software", "maya2022"},
                           {"clientResultRootPath", "D:/out"}};
        db_resolve row;
        QString fault;
        QVERIFY(!TaskHands::clone(detail, &row, &fault) && fault.contains("网盘") && row.rkey == 0);
        detail["modelParameters"] = QJsonArray{QJsonObject{{"layer", "a"}}};
        QVERIFY(TaskHands::clone(detail, &row, &fault));
        QCOMPARE(row.lpath, QString("D:/p/shot.ma"));
        QVERIFY(row.state == SceneState::Clean && row.projectId == 3 && row.missionid == 0 && row.ordernum.isEmpty());
        QCOMPARE(row.rfile, QString(R"("files":[""])"));
        const QJsonObject rset = QJsonDocument::fromJson(row.rset.toUtf8()).object(),
                          rdata = QJsonDocument::fromJson(row.rdata.toUtf8()).object();
        QCOMPARE(rset.value("env").toObject().value("software"), QJsonValue("maya2022"));
        QCOMPARE(rset.value("softwareType"), QJsonValue(1));
        QVERIFY(!rset.contains("hasClone") && rdata.value("hasHand") == QJsonValue(1) && rdata.value("modelParameters").isArray());
    }

    void whatTheFilterAsksFor()
    {
        TaskFilter filter;
        filter.project.setEntries({{"3", "film"}, {"4", "ad"}});
        QCOMPARE(filter.request(2), QJsonObject({{"name", ""}, {"page", 2}, {"pageCount", 20}, {"missionStatus", QJsonArray{1000}}}));
        filter.status.toggle("1110"), filter.status.toggle("1130");
        filter.project.toggle("4"), filter.remark.toggle("0");
        filter.sort = TaskFilter::ByTime, filter.down = true;
        QJsonObject body = filter.request(0);
        QCOMPARE(body.value("missionStatus").toArray(), QJsonArray({1110, 1130}));
        QCOMPARE(body.value("projectId").toArray(), QJsonArray{4});
        QVERIFY(body.value("remark") == QJsonValue(0) && body.value("subTimeSort") == QJsonValue(13) && !body.contains("userId"));
        // The last one ticks the first entry; that one alone takes all.
        filter.project.toggle("3");
        QVERIFY(!filter.request(0).contains("projectId") && !filter.project.narrowed());
        filter.project.toggle("-1");
        QVERIFY(!filter.request(0).contains("projectId"));
        filter.remark.toggle("1");
        QVERIFY(!filter.request(0).contains("remark"));
        // Kept over a restart, also what the server no longer names; nonsense is left out.
        filter.project.toggle("4"), filter.status.toggle("1130");
        QJsonObject kept = filter.saved();
        kept["remark"] = QJsonArray{QJsonArray{"77", "x"}, 5}, kept["user"] = "x";
        TaskFilter again;
        again.restore(kept);
        again.project.setEntries({{"9", "new"}});
        QCOMPARE(again.request(0).value("projectId").toArray(), QJsonArray{4});
        QCOMPARE(again.project.entries.last().second, QString("ad"));
        QCOMPARE(again.request(0).value("missionStatus").toArray(), QJsonArray{1110});
        QVERIFY(!again.remark.narrowed() && !again.user.narrowed());
        QCOMPARE(TaskFilter(TaskFilter::Old).request(0).value("missionStatus").toArray(), QJsonArray{2000});
    }

    // Even frames: the guess narrows as they come in; uneven ones keep it wide and say so.
    void whenItWillBeDone()
    {
        EtaBook even, uneven;
        QVERIFY(!even.of(running(0, 0, 10)).known());
        even.see(running(1, 60, 100));
        const TaskEta first = even.of(running(1, 60, 100));
        QVERIFY(first.known() && first.rough());
        for (int done = 1; done <= 50; ++done)
            even.see(running(done, done * 60, 100)), uneven.see(running(done, done * 60 + (done % 2 ? 55 : 0), 100));
        const TaskEta narrow = even.of(running(50, 3000, 21, 2)), wide = uneven.of(running(50, 3000, 21, 2));
        QVERIFY(qAbs(narrow.seconds - 600) < 1);
        QVERIFY2(narrow.spread < first.spread / 10 && narrow.spread < 60 && wide.spread > 3 * narrow.spread,
                 qPrintable(QString("%1 %2").arg(narrow.spread).arg(wide.spread)));
        QCOMPARE(TaskEta({7800, 1200}).text(), QString("约 2 小时 10 分，±20 分"));
        QVERIFY(TaskEta({600, 400}).text().contains("相差较大"));
        // Times of single frames, once each: of a task that nobody has watched so far.
        EtaBook told;
        told.see(running(50, 3000, 21, 2));
        QList<SubTask> frames = QVector<SubTask>(40).toList();
        for (int i = 0; i < frames.size(); ++i)
            frames[i].id = QString::number(i), frames[i].status = SubTask::Done, frames[i].seconds = i % 2 ? 55 : 65;
        frames[0].type = SubTask::LightCache, frames[0].seconds = 90000, frames[2].last = 10, frames[2].seconds = 600;
        const double blind = told.of(running(50, 3000, 21, 2)).spread;
        told.see(running(0, 0, 0).id, frames), told.keep({});
        const double seen = told.of(running(50, 3000, 21, 2)).spread;
        told.see(running(0, 0, 0).id, frames);
        QVERIFY(seen < blind / 2 && told.of(running(50, 3000, 21, 2)).spread == seen);
        // Rendered again from the start: what was learnt counts no more.
        even.see(running(1, 90, 100));
        QCOMPARE(int(even.of(running(1, 90, 10)).seconds), int(9.5 * 90));
        TaskRecord paid = running(10, 100, 30);
        paid.cost = "¥5.00";
        QCOMPARE(TaskText::expectedCost(paid), QString("约 20.00"));
        paid.stand.status = 3, paid.cost = "x";
        QVERIFY(TaskText::expectedCost(paid).isEmpty() && !even.of(paid).known());
    }

    void aBurstOfEndsIsOneNote()
    {
        TaskNews news(20);
        QSignalSpy notes(&news, &TaskNews::note);
        for (int i = 1; i <= 300; ++i)
            news.over({{"missionId", QString::number(i)}, {"name", QString("s%1").arg(i)}, {"result", i % 3 == 0 ? 2 : 0}});
        news.over({}), news.over({{"result", "2"}});
        QCOMPARE(notes.size(), 1); // the first at once
        QVERIFY(notes.wait(Patience));
        QCOMPARE(notes.size(), 2);
        QVERIFY(notes.at(1).at(0).toString().contains("199") && notes.at(1).at(0).toString().contains("100") && notes.at(1).at(2).toBool());
        QCOMPARE(notes.at(1).at(3).toStringList().size(), 299);
    }
};
VN_TEST(TestTaskRules)
#include "tst_rules.moc"
