// What can be done to tasks and their frames over the business link, each seen in the lists, on the disk and in the queue.
#include "support/Row.h"
#include "support/TestMain.h"
#include "Wires.h"
#include <QImage>

namespace
{
const QString key = QStringLiteral("d/island.tgd");

FarmOptions fast(int threads = 2)
{
    FarmOptions options;
    options.framesPerSecond = 0;
    options.renderThreads = threads;
    return options;
}

QJsonObject ask(Bench &bench, int cmd, const QJsonObject &body, int val)
{
    const Reply one = bench.wire->ask(cmd, body);
    if (one.val != val)
        qWarning() << cmd << "answered" << one.val << one.body;
    return one.val == val ? one.object() : QJsonObject();
}

QJsonArray frames(Bench &bench, int task, int status = -1)
{
    return ask(bench, 10402, {{"missionId", task}, {"status", status}, {"page", 0}}, 1040200).value("results").toArray();
}

QJsonObject head(Bench &bench, int task) { return bench.wire->ask(10409, {{"missionId", task}}).object(); }

QString list(const QJsonArray &rows, const char *word)
{
    QStringList words;
    for (const QJsonValue &one : rows)
        words += one.toObject().value(QLatin1String(word)).toVariant().toString();
    return words.join(QLatin1Char(','));
}
} // namespace

class TestTasks : public QObject
{
    Q_OBJECT
    static int rendering(Bench &bench, const QJsonObject &parameters, const QJsonObject &more = {}, qint64 flag = 1)
    {
        const int task = bench.order({key}, parameters, flag, more);
        FileWire(bench).upload(task, key, "scene");
        bench.wire->ask(10704, {{"missionId", task}});
        return task;
    }
    static int rendering(Bench &bench, const QString &frames, const QJsonObject &more = {}, qint64 flag = 1)
    {
        return rendering(bench, Bench::camera(frames), more, flag);
    }
    // The bytes of a log, as the file server gives them, until it closes the link.
    static QByteArray log(Bench &bench, const QJsonObject &where, qint64 from, int *code)
    {
        bench.token = QByteArray::fromHex(where.value("token").toString().toLatin1());
        FileWire file(bench);
        file.send(0, 70100, -1, json({{"startPoint", from}, {"path", where.value("path")}}));
        *code = file.reply().code;
        QByteArray bytes;
        while (file.socket.bytesAvailable() || file.socket.waitForReadyRead(3000))
            bytes += file.socket.readAll();
        return bytes;
    }

private slots:
    void lists()
    {
        Bench bench(fast());
        bench.farm.faults().set("hold-render", "1");
        bench.login();
        for (int i = 0; i < 25; ++i)
            rendering(bench, "1-3", {}, i + 1);
        bench.wire->ask(10436, {{"missionId", 4}, {"remark", QString(141, 'x')}});
        QCOMPARE(bench.wire->ask(10401, {{"missionId", 5}}).val, 1040100);
        QCOMPARE(bench.wire->askRaw(10432, "[5,6]").object().value("moved").toInt(), 1); // one that renders isn't moved
        const auto count = [&](QJsonObject body) {
            body.insert("name", body.value("name").toString());
            body.insert("pageCount", 20);
            body.insert("page", body.value("page").toInt());
            return ask(bench, 10427, body, 1042700).value("pageList").toArray().size();
        };
        for (const auto &[body, rows] : Rows<QByteArray, int>{{"{}", 20},
                                                              {R"({"page":1})", 4},
                                                              {R"({"page":9})", 0},
                                                              {R"({"missionStatus":[1000],"projectId":-1,"userId":-1})", 20},
                                                              {R"({"missionStatus":[2000]})", 1},
                                                              {R"({"missionStatus":[2300,1140]})", 1},
                                                              {R"({"missionStatus":[1110]})", 0},
                                                              {R"({"remark":1})", 1},
                                                              {R"({"remark":0,"page":1})", 3},
                                                              {R"({"userId":[1002]})", 0},
                                                              {R"({"projectId":[2]})", 0},
                                                              {R"({"name":"ISLAND"})", 20},
                                                              {R"({"name":"none"})", 0}})
            QVERIFY2(count(QJsonDocument::fromJson(body).object()) == rows, body.constData());
        QCOMPARE(head(bench, 4).value("remark").toString().size(), 140);
        const QJsonObject sorted = ask(bench, 10427, {{"name", ""}, {"pageCount", 20}, {"page", 0}, {"subTimeSort", 12}}, 1042700);
        QVERIFY(list(sorted.value("pageList").toArray(), "id").startsWith("1,2,3,4,6,7"));
    }

    // Paused later: what runs is finished first, and no frame more; the limit holds; the record tells who did what.
    void steering()
    {
        FarmOptions options = fast(4);
        options.frameSeconds = 0.3;
        Bench bench(options);
        bench.login();
        const int task = rendering(bench, "1-40");
        QCOMPARE(bench.wire->ask(10424, {{"missionId", task}, {"nodeLimit", 9}}).object().value("serverNodeLimit").toInt(), 4);
        QCOMPARE(bench.wire->ask(10424, {{"missionId", task}, {"nodeLimit", 1}}).val, 1042400);
        QTRY_COMPARE(head(bench, task).value("renderingFrame").toInt(), 1); // after the first four
        QCOMPARE(bench.wire->ask(10430, {{"missionId", task}, {"pauseRender", 0}}).val, 1043000);
        const QJsonObject pausing = head(bench, task);
        const int last = pausing.value("renderingFrame").toInt(); // 0 where it has just ended
        QCOMPARE(pausing.value("subtype").toInt() == 15, last == 1);
        QTRY_COMPARE(bench.farm.order(task).status, 3);
        QCOMPARE(bench.farm.order(task).framesDone, pausing.value("successFrame").toInt() + last);
        QCOMPARE(head(bench, task).value("suspendFrame").toInt(), 40 - bench.farm.order(task).framesDone);
        QCOMPARE(list(frames(bench, task, 2), "status").count('2'), 30); // a page of them
        QCOMPARE(bench.wire->ask(10401, {{"missionId", task}}).val, 1040100);
        QCOMPARE(bench.wire->push(10431).object().value("missionId").toInt(), task);
        const QJsonArray notes = ask(bench, 10428, {{"missionId", task}}, 1042800).value("rows").toArray();
        QCOMPARE(list(notes, "content"), QString("提交渲染,最大节点数：1,延时暂停,取消渲染"));
        QCOMPARE(notes.first().toObject().value("operator").toString(), QString("demo"));
    }

    // Failed frames again in their place, one frame again beside it, one cancelled; what a restart finds.
    void again()
    {
        Bench bench(fast());
        bench.farm.faults().set("render-fail", "1@2");
        bench.login();
        const int task = rendering(bench, "1-5");
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        QCOMPARE(bench.farm.order(task).framesFailed, 2);
        QCOMPARE(bench.wire->askRaw(10406, "[99]").val, 1040604);
        QCOMPARE(bench.wire->askRaw(10406, "[" + QByteArray::number(task) + "]").val, 1040600);
        QTRY_COMPARE(bench.farm.order(task).framesDone, 5);
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        QCOMPARE(list(frames(bench, task), "flag"), QString("3,3,0,0,0"));
        const QString second = frames(bench, task).at(1).toObject().value("id").toVariant().toString();
        QCOMPARE(bench.wire->ask(10425, {{"missionId", task}, {"subjobIds", second}}).val, 1042500);
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        bench.restart();
        bench.login();
        const QJsonArray rows = frames(bench, task);
        QCOMPARE(list(rows, "flag"), QString("3,3,1,0,0,0")); // behind the one that it replaces
        QCOMPARE(rows.at(2).toObject().value("parentViewId").toVariant().toString(), second);
        QCOMPARE(head(bench, task).value("successFrame").toInt(), 5);
        QCOMPARE(bench.farm.results(task).size(), 5);
        QVERIFY(!rows.at(0).toObject().value("start_time").toString().isEmpty());
        bench.farm.faults().set("hold-render", "1");
        QCOMPARE(ask(bench, 10405, {{"missionId", task}, {"softwareType", 8}, {"modelParameters", QJsonObject{{"frames", "x"}}}}, 1040519)
                     .value("added")
                     .toInt(),
                 0);
        QJsonObject parameters = head(bench, task).value("modelParameters").toObject();
        parameters.insert("frames", "5-7");
        QCOMPARE(
            ask(bench, 10405, {{"missionId", task}, {"softwareType", 8}, {"modelParameters", parameters}}, 1040500).value("added").toInt(),
            3);
        QCOMPARE(head(bench, task).value("totalFrame").toInt(), 7);
        const QJsonObject last = frames(bench, task).last().toObject();
        QCOMPARE(bench.wire->ask(10403, {{"missionId", task}, {"jobId", task}, {"subJobId", last.value("id")}, {"farmId", 1}}).val,
                 1040300);
        bench.farm.faults().clear();
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        QCOMPARE(head(bench, task).value("cancelFrame").toInt(), 1);
        QCOMPARE(bench.farm.order(task).framesDone, 6);
    }

    // A frame in pieces is put together to the same bytes; a piece has a picture, a log and a result of its own.
    void blocks()
    {
        Bench bench(fast());
        bench.login();
        const int whole = rendering(bench, "1-2", {{"keyFrames", "1"}, {"strategy", 1}}),
                  pieces = rendering(bench, "1-2", {{"keyFrames", "1"}, {"strategy", 1}, {"blocksCount", 5}}, 2);
        QTRY_COMPARE(bench.farm.order(whole).status, 2);
        QTRY_COMPARE(bench.farm.order(pieces).status, 2);
        const QJsonObject first = frames(bench, pieces).first().toObject();
        QCOMPARE(first.value("blocks_count").toInt(), 5);
        QCOMPARE(bench.farm.order(pieces).frames, 2); // pieces aren't frames
        QCOMPARE(bench.farm.results(pieces).size(), 2);
        QCOMPARE(QImage(bench.farm.results(pieces).first().file), QImage(bench.farm.results(whole).first().file));
        const QJsonObject told =
            ask(bench, 10437, {{"missionId", pieces}, {"subjobId", first.value("id")}, {"status", 3}, {"page", 0}}, 1043700);
        QCOMPARE(told.value("successBlock").toInt(), 5);
        QCOMPARE(list(told.value("results").toArray(), "block"), QString("1,2,3,4,5"));
        const QString block = told.value("results").toArray().at(2).toObject().value("id").toVariant().toString();
        const QJsonArray rows = ask(bench, 10806, {{"missionId", pieces}, {"subjobIds", block}}, 1080600).value("rows").toArray();
        QCOMPARE(list(rows, "isBlock"), QString("1"));
        QCOMPARE(QImage::fromData(bench.wire->ask(10407, {{"missionId", pieces}, {"subjobId", block}, {"newVer", 1}}).body).size(),
                 QSize(64, 7));
        bench.farm.faults().set("hold-render", "1");
        QCOMPARE(bench.wire->ask(10425, {{"missionId", pieces}, {"subjobIds", block}}).val, 1042500);
        QCOMPARE(head(bench, pieces).value("untreatedFrame").toInt(), 1); // its frame waits with it
        bench.farm.faults().clear();
        QTRY_COMPARE(bench.farm.order(pieces).framesDone, 2);
    }

    // A log grows while its frame runs, is read on from where it stood, and begins anew with a new render.
    void logs()
    {
        FarmOptions options = fast(1);
        options.frameSeconds = 1;
        Bench bench(options);
        bench.farm.faults().set("render-fail", "1@2");
        bench.login();
        const int task = rendering(bench, "1");
        QJsonObject where;
        QTRY_VERIFY(!(where = bench.wire->ask(10804, {{"missionId", task}, {"subjobId", task * 10000000LL}}).object()).isEmpty());
        QCOMPARE(where.value("running").toInt(), 1);
        int code = 0;
        QByteArray begun;
        QTRY_COMPARE((begun = log(bench, where, 0, &code)).count("node node-01"), 1);
        QCOMPARE(code, 7010003);
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        const QByteArray rest = log(bench, where, begun.size(), &code);
        QVERIFY(rest.contains("ERROR: "));
        QCOMPARE(log(bench, where, begun.size() + rest.size(), &code), QByteArray());
        QCOMPARE(code, 7010003);
        bench.farm.faults().set("log-bytes", "300000@1");
        bench.wire->askRaw(10406, "[" + QByteArray::number(task) + "]");
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        QCOMPARE(log(bench, where, 400000, &code), QByteArray());
        QCOMPARE(code, 13020304);
        QVERIFY(log(bench, where, 0, &code).size() > 300000);
        where.insert("path", "farm.db");
        QCOMPARE(log(bench, where, 0, &code), QByteArray());
        QCOMPARE(code, 7010007);
    }

    // A Max order with a light cache of its own: that goes first, is steered with it, and stays on the farm.
    void lightCache()
    {
        Bench bench(fast());
        bench.farm.faults().set("hold-render", "1");
        bench.login();
        const QJsonObject model{{"width", 64}, {"height", 36},  {"frames", "1-6"}, {"cameras", QJsonArray{"C"}},  {"vrMode", 4},
                                {"giStep", 3}, {"giWidth", 32}, {"giHeight", 18},  {"elements", QJsonArray{"GI"}}};
        const int task = rendering(bench, model, {{"softwareType", 3}});
        const QJsonObject row = head(bench, task);
        const int cache = row.value("GZ_ID").toInt();
        QCOMPARE(row.value("identity").toString(), QString("MAIN"));
        QCOMPARE(head(bench, cache).value("identity").toString(), QString("GZ"));
        QCOMPARE(bench.wire->ask(10430, {{"missionId", cache}, {"pauseRender", 1}}).val, 1043000);
        QCOMPARE(bench.farm.order(task).status, 3);
        bench.farm.faults().clear();
        QCOMPARE(bench.wire->ask(10429, {{"missionId", task}}).val, 1042900);
        QTRY_COMPARE(bench.farm.order(task).status, 2);
        const QJsonArray parts = frames(bench, cache);
        QCOMPARE(list(parts, "frame_from"), QString("1,4,1"));
        QCOMPARE(list(parts, "type"), QString("100,100,101"));
        QVERIFY(parts.last().toObject().value("end_time").toString() <=
                frames(bench, task).first().toObject().value("start_time").toString());
        QCOMPARE(QImage(bench.farm.results(cache).last().file).size(), QSize(32, 18));
        const Reply push = bench.wire->push(10413);
        QCOMPARE(push.object().value("missionId").toInt(), task); // and none of the light cache
        const QJsonObject first = frames(bench, task).first().toObject();
        QCOMPARE(ask(bench, 10402, {{"missionId", task}, {"status", -1}, {"page", 0}}, 1040200).value("picCount").toInt(), 2);
        const QString all =
            ask(bench, 10407, {{"missionId", task}, {"subjobId", first.value("id")}, {"newVer", 0}}, 1040700).value("url").toString();
        const auto picture = [&](const QString &url) {
            return QImage::fromData(bench.get(url.mid(url.indexOf("/preview")).toLatin1()).body);
        };
        QCOMPARE(picture(all).size(), QSize(64, 36));
        QVERIFY(picture(QString(all).replace("-0-", "-1-")).isNull()); // another link than the one given
        const QString pass =
            ask(bench, 10801, {{"missionId", task}, {"subjobId", first.value("id")}, {"picIndex", 1}}, 1080100).value("url").toString();
        QVERIFY(picture(pass).allGray());
        QCOMPARE(bench.wire->ask(10801, {{"missionId", task}, {"subjobId", first.value("id")}, {"picIndex", 2}}).val, 1080102);
    }

    // A task goes to the sub-account with its results, and out of its sight come those of others.
    void handover()
    {
        Bench bench(fast());
        bench.farm.faults().set("hold-render", "1");
        bench.login();
        const int given = rendering(bench, "1-2"), kept = rendering(bench, "1-2", {}, 2);
        const QJsonObject other = ask(bench, 10307, {}, 1030700).value("rows").toArray().first().toObject();
        QCOMPARE(other.value("name").toString(), QString("demo2"));
        QCOMPARE(bench.wire->ask(10423, {{"missionIds", "7"}, {"handoverUserId", other.value("id")}}).val, 1042301);
        QCOMPARE(ask(bench, 10423, {{"missionIds", QStringLiteral("%1,7").arg(given)}, {"handoverUserId", other.value("id")}}, 1042300)
                     .value("moved")
                     .toInt(),
                 1);
        QCOMPARE(head(bench, given).value("username").toString(), QString("demo2"));
        auto master = std::move(bench.wire);
        bench.user = "demo2";
        QCOMPARE(bench.login().object().value("userId"), other.value("id"));
        const QJsonArray rows = ask(bench, 10427, {{"name", ""}, {"pageCount", 20}, {"page", 0}}, 1042700).value("pageList").toArray();
        QCOMPARE(list(rows, "id"), QString::number(given));
        QCOMPARE(bench.wire->ask(10401, {{"missionId", kept}}).val, 1040101);
        bench.farm.faults().clear();
        QTRY_COMPARE(bench.farm.order(given).status, 2);
        QCOMPARE(bench.wire->push(10413).object().value("missionId").toInt(), given);
        QCOMPARE(master->push(10413).object().value("missionId").toInt(), kept); // each hears of its own alone
        // What the one hasn't confirmed goes to the other with the task.
        QCOMPARE(master->ask(10423, {{"missionIds", QString::number(kept)}, {"handoverUserId", other.value("id")}}).val, 1042300);
        QCOMPARE(bench.wire->push(10413).object().value("missionId").toInt(), kept);
    }

    // Nobody says a word after the priority frames; a node is lost; a machine is changed; frames fail by chance, alike each time.
    void accidents()
    {
        FarmOptions options = fast(1);
        options.confirmHours = 3.0 / 3600;
        Bench bench(options);
        bench.farm.faults().set("node-vanish", "300@1");
        bench.login();
        const int late = rendering(bench, "1-3", {{"keyFrames", "1"}, {"strategy", 0}});
        QCOMPARE(bench.wire->push(10412).object().value("remainHour").toInt(), 1);
        QTRY_COMPARE(bench.farm.order(late).result, 3);
        QCOMPARE(bench.farm.order(late).framesDone, 1);
        QCOMPARE(frames(bench, late).first().toObject().value("tries").toInt(), 2);
        QCOMPARE(bench.wire->ask(10429, {{"missionId", late}}).val, 1042904);
        bench.farm.faults().set("fail-chance", "40");
        const int first = rendering(bench, "1-20", {}, 2);
        QTRY_COMPARE(bench.farm.order(first).status, 2);
        const int failed = bench.farm.order(first).framesFailed;
        QVERIFY2(failed > 2 && failed < 15, qPrintable(QString::number(failed)));
        bench.farm.faults().set("hold-render", "1");
        const int task = rendering(bench, "1", {}, 3);
        QJsonObject change{
            {"missionId", task}, {"machineModel", "m"}, {"clientId", 1}, {"software", "Terragen 4.5"}, {"plugins", QJsonArray()}};
        QCOMPARE(bench.wire->ask(10426, change).val, 1042600);
        change.insert("machineModel", "local-gpu");
        QCOMPARE(bench.wire->ask(10426, change).val, 1042601);
        change.insert("software", "Terragen 4.6");
        QCOMPARE(bench.wire->ask(10426, change).val, 1042606);
        change.insert("machineModel", "none");
        QCOMPARE(bench.wire->ask(10426, change).val, 1042603);
        bench.restart();
        bench.login();
        QCOMPARE(head(bench, task).value("software").toString(), QString("Terragen 4.6"));
        QCOMPARE(head(bench, task).value("machine").toObject().value("machineModel").toString(), QString("local-gpu"));
    }

    void queue()
    {
        Bench bench(fast());
        bench.farm.faults().set("hold-render", "1");
        bench.login();
        for (int i = 1; i < 6; ++i)
            rendering(bench, "1", {}, i);
        const auto move = [&](const QJsonArray &from, int to, bool after) {
            bench.wire->ask(10419, {{"farmId", 1}, {"job_ids_from", from}, {"job_id_to", to}, {"insert_after_position", after}});
            return list(bench.wire->ask(10420, {{"farmId", 1}}).object().value("rows").toArray(), "jobId");
        };
        QCOMPARE(move({"4", "2"}, 1, false), QString("2,4,1,3,5"));
        QCOMPARE(move({"2"}, 4, true), QString("4,2,1,3,5"));
        QCOMPARE(move({"4", "2"}, 5, true), QString("1,3,5,4,2"));
        QCOMPARE(move({"9"}, 5, true), QString("1,3,5,4,2"));
        bench.restart();
        bench.login();
        bench.farm.faults().clear();
        QTRY_COMPARE(bench.farm.order(2).status, 2);
        QStringList over;
        for (const QString &one : bench.farm.events())
            if (one.startsWith("rendering"))
                over += one.section(QLatin1Char(' '), 1, 1).remove(QLatin1Char(','));
        QCOMPARE(over.join(QLatin1Char(',')), QString("1,3,5,4,2"));
    }

    void filled()
    {
        FarmOptions options = fast();
        options.filled = true;
        Bench bench(options);
        bench.farm.faults().set("hold-render", "1");
        bench.login();
        const QJsonObject body{{"name", ""}, {"pageCount", 20}, {"page", 0}};
        QJsonArray rows = ask(bench, 10427, body, 1042700).value("pageList").toArray();
        QSet<QString> states;
        for (const QJsonValue &one : qAsConst(rows))
            states += QStringLiteral("%1 %2").arg(one.toObject().value("stage").toInt()).arg(one.toObject().value("status").toInt());
        QVERIFY2(rows.size() >= 12 && states.size() >= 5, qPrintable(QStringLiteral("%1 rows").arg(rows.size())));
        for (const QJsonValue &one : qAsConst(rows)) {
            const int id = one.toObject().value("id").toInt();
            for (const FarmResult &result : bench.farm.results(id))
                QVERIFY2(QFile::exists(result.file) && result.size > 0, qPrintable(result.file));
            const int has = bench.farm.results(id).size(), told = one.toObject().value("successFrame").toInt();
            const bool over = one.toObject().value("status").toInt() == 2; // else a frame may have come since
            QVERIFY2(over ? has == told : has >= told, qPrintable(QStringLiteral("%1: %2 of %3").arg(id).arg(has).arg(told)));
        }
        const int before = bench.farm.orders().size();
        bench.restart(); // a folder that has something isn't filled
        QCOMPARE(bench.farm.orders().size(), before);
    }
};

VN_TEST(TestTasks)
#include "tst_tasks.moc"
