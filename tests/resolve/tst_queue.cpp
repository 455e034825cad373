#include "common/facts/AnalysisError.h"
#include "common/ResultRoots.h"
#include "common/VFunc.h"
#include "QueueRig.h"
#include "resolve/ClearMax.h"
#include "resolve/ResolveScan.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/Spies.h"
#include "support/TestMain.h"
#include "support/WindowSpy.h"
#include <QSqlDatabase>
#include <QSqlQuery>
#include <sys/stat.h>

namespace
{
const QByteArray Scene = "<terragen>\n<render name=\"R1\" master=\"1\" camera=\"/C1\" image_width=\"64\" image_height=\"32\" "
                         "sequence_first=\"1\" sequence_last=\"3\" sequence_step=\"1\">\n<render_GI_settings name=\"g\" /></render>\n"
                         "<camera name=\"C1\" />\n</terragen>\n";

ResolveDAO &dao() { return *ResolveDAO::instance(); }
} // namespace

class TestQueue : public QObject
{
    Q_OBJECT
private slots:
    void cleanupTestCase()
    {
        NetWork::destroy();
        NetTcp::destroy();
    }

    void fromADropToUploadRows()
    {
        QueueRig rig({}, {{"autoSubmit", 1}});
        const QString scene = rig.file("a.tgd", Scene);
        QList<int> states;
        bool early = false;
        QObject here;
        connect(&dao(), &ResolveDAO::stateChanged, &here, [&](const db_resolve &res) {
            states << res.state;
            early |= res.state == 110 && UploadDAO::instance()->count(res.ordernum) == 0;
        });
        rig.start();
        db_resolve res;
        res.rkey = 77;
        res.state = 100;
        res.lpath = scene;
        res.projectId = 3;
        res.rset = R"({"softwareType":8,"machineModel":"m","env":{"software":"terragen 4"},"clientResultRootPath":"/proj/out"})";
        rig.handler->addFile({res});
        QTRY_COMPARE(rig.state(77), 110);
        QCOMPARE(states, (QList<int>{101, 106, 107, 108, 110}));
        QVERIFY(!early);
        QCOMPARE(rig.peer.last(10421),
                 (QJsonObject{{"name", "a.tgd"}, {"clientFlag", 77}, {"projectId", 3}, {"softwareType", 8}, {"machineModel", "m"}}));
        const QJsonObject order = rig.peer.last(10400);
        QCOMPARE(order["scene"].toString(), scene);
        QCOMPARE(order["ordernum"].toString(), QString("N101"));
        QCOMPARE(order["fileCount"].toInt(), 1);
        QVERIFY(!order.contains("env") && order.contains("modelParameters"));
        const db_upfile up = UploadDAO::instance()->readPage("N101", 0).value(0);
        QCOMPARE(up.lpath, scene);
        QCOMPARE(up.id, order["files"].toArray().first().toObject()["id"].toInt());
        QCOMPARE(up.size, qlonglong(Scene.size()));
        QCOMPARE(up.modtime, QFileInfo(scene).lastModified().toMSecsSinceEpoch());
        QCOMPARE(up.farmid, 9);
        QCOMPARE(up.missid, 101);
        QCOMPARE(dao().read(77).fsum, 1);
        QVERIFY(ResultRoots::knows("/proj/out")); // its results may be written there
        rig.handler->fileOk("N101", 5);
        QCOMPARE(dao().read(77).fok, 1);
        QCOMPARE(rig.peer.faults, QStringList());
    }

    // A pipe would be waited for, a folder has no end: only files are scenes.
    void onlyFilesAreScenes_data()
    {
        QTest::addColumn<QString>("path");
        addRow("folder", testHome() + "/folder.tgd");
        addRow("pipe", testHome() + "/pipe.tgd");
        addRow("link to a device", testHome() + "/device.tgd");
    }
    void onlyFilesAreScenes()
    {
        QFETCH(QString, path);
        QDir().mkpath(testHome() + "/folder.tgd");
        mkfifo(qPrintable(testHome() + "/pipe.tgd"), 0600);
        QFile::link("/dev/zero", testHome() + "/device.tgd");
        QueueRig rig;
        const qlonglong key = rig.drop(path, {{"softwareType", 8}}, 100, "N5");
        rig.start();
        QTRY_COMPARE(rig.state(key), 104);
        QCOMPARE(rig.error(key), 10013);
        QFile file(path);
        QVERIFY(!VFunc::openRegular(&file));
    }

    void orderRefusedIsAskedAgain()
    {
        QueueRig rig;
        int asked = 0;
        rig.peer.answer(10421, [&](const BusinessPeer::Request &) {
            return ++asked < 3 ? BusinessPeer::Reply{1042101, {}, false} : BusinessPeer::Reply{1042100, {{"id", 5}, {"num", "N5"}}, false};
        });
        QSignalSpy states(&dao(), &ResolveDAO::stateChanged);
        const qlonglong key = rig.drop("/gone.tgd", {{"softwareType", 8}});
        rig.start();
        QTRY_COMPARE(rig.state(key), 104);
        QCOMPARE(states.first().first().value<db_resolve>().state, 114);
        QCOMPARE(states.first().first().value<db_resolve>().error, 1042101);
        QCOMPARE(rig.error(key), 10013); // with its order it was analysed, and the scene isn't there
        QCOMPARE(asked, 3);
    }
    // One that the server refuses stands behind the others, with the reason on it, also where it's paused.
    void refusedOrderLetsOthersPass()
    {
        QueueRig rig;
        bool refuse = true;
        rig.peer.answer(10421, [&](const BusinessPeer::Request &request) {
            const bool first = request.body["clientFlag"].toInt() == 1000;
            return first && refuse ? BusinessPeer::Reply{1042101, {}, false}
                                   : BusinessPeer::Reply{1042100, {{"id", 5}, {"num", request.body["name"]}}, false};
        });
        const qlonglong paused = rig.drop("/a.tgd", {{"softwareType", 8}}, 102);
        QCOMPARE(paused, 1000ll);
        QList<qlonglong> others;
        for (const char *path : {"/b.tgd", "/c.tgd"})
            others << rig.drop(path, {{"softwareType", 8}}, 102);
        const qlonglong sketch = rig.drop(rig.file("d.skp"), {{"softwareType", 6}}, 100, "N9");
        rig.start();
        for (qlonglong key : others)
            QTRY_VERIFY(!dao().read(key).ordernum.isEmpty());
        QTRY_COMPARE(rig.error(paused), 1042101);
        QCOMPARE(rig.state(paused), 102);
        QTRY_COMPARE(rig.error(sketch), int(AnalysisError::NoAnalyser)); // waits, but not without a word
        QCOMPARE(rig.state(sketch), 100);
        refuse = false;
        QTRY_COMPARE(dao().read(paused).ordernum, QString("a.tgd"));
        QTRY_COMPARE(rig.error(paused), 0);
    }

    // A store that another program holds: what ended, was paused or deleted meanwhile is written as soon as it can be.
    void heldStore()
    {
        QueueRig rig;
        UserInfo::setResolveThread(1);
        rig.fakeMaya();
        const QString scene = rig.file("a.ma");
        const qlonglong analysed = rig.drop(scene, rig.maya(), 100, "N1"), uploading = rig.drop("/b", {}, 111, "N2");
        const qlonglong deleted = rig.drop("/c", {}, 106, "N3"), orphan = rig.drop("/d", rig.maya(), 101, "N4");
        const qlonglong seats = rig.drop("/e", {}, 118, "N5"); // nobody asks for it any more
        rig.start();
        QTRY_VERIFY(QFile::exists(scene + ".started"));
        QTRY_COMPARE(rig.state(seats), 0);
        QTRY_COMPARE(rig.state(orphan), 100); // nobody analysed it; it waits for its turn
        {
            RawFile other(UserInfo::userDir() + "/resolve.db");
            QVERIFY(other.run({"begin immediate"}));
            rig.letGo(scene);
            QTRY_COMPARE(rig.handler->running(), 0);
            rig.handler->changeResolveState(uploading, 2);
            QCOMPARE(rig.state(analysed), 101);
            QCOMPARE(rig.state(uploading), 111);
            QVERIFY(other.run({"rollback"}));
        }
        rig.handler->delResolve(deleted);
        QTRY_COMPARE(rig.state(analysed), 106);
        QTRY_COMPARE(rig.state(uploading), 112);
        QTRY_COMPARE(rig.state(deleted), 0);
        QTRY_COMPARE(rig.error(orphan), int(AnalysisError::NoScene));
    }

    // Deleted without a link: the row goes at once, the server hears of it after the next login, also of another run.
    void deletedWithoutALink()
    {
        QueueRig rig;
        const qlonglong key = rig.drop("/a", {}, 106, "N8");
        rig.start();
        NetTcp::instance()->nvds(100, 10000, QJsonObject());
        QTRY_COMPARE(rig.peer.count(10000), 1);
        rig.peer.cut();
        QTRY_VERIFY(!NetTcp::isLogin());
        db_upfile file;
        file.ordernum = "N8";
        file.lpath = "/f";
        QCOMPARE(UploadDAO::instance()->addOrder({file}), 1);
        rig.handler->delResolve(key);
        QCOMPARE(rig.state(key), 0);
        QCOMPARE(UploadDAO::instance()->count("N8"), 0);
        rig.handler.reset();
        QVERIFY(dao().open(UserInfo::userDir()));
        rig.peer.answer(10417, 1041700);
        rig.start();
        QVERIFY(rig.peer.takeClient());
        QTRY_COMPARE(rig.peer.last(10417), (QJsonObject{{"missionId", 8}}));
        QTRY_VERIFY(dao().givenUp().isEmpty());
        QCOMPARE(rig.peer.count(10417), 1);
        // An analysis asked for anew gives its old order up as well; a refusal keeps the note.
        rig.peer.answer(10417, 1041701);
        const qlonglong again = rig.drop("/b", {}, 106, "N9");
        rig.handler->reAddFile(again);
        QCOMPARE(rig.state(again), 0);
        QTRY_COMPARE(rig.peer.last(10417), (QJsonObject{{"missionId", 9}}));
        QCOMPARE(dao().givenUp(), QList<int>{9});
        QCOMPARE(dao().readAll().size(), 1);
    }

    // What the server hears of a row's life; what happens without a link is told after the next login.
    void reports()
    {
        using SceneState::Act;
        const auto typed = [](int type) { return QJsonObject{{"missionId", 8}, {"type", type}}; };
        QueueRig rig;
        ResolveHandler handler; // never scans
        const qlonglong key = rig.drop("/a", {}, 100, "N8");
        const auto told = [&](Act act, int to = 0) { return dao().step(key, act, to) == 1; };
        QVERIFY(told(Act::Start));
        QTRY_COMPARE(rig.peer.last(10422), typed(6));
        const QString started = QDateTime::fromMSecsSinceEpoch(dao().read(key).rtime).toString("yyyy-MM-dd HH:mm:ss");
        for (int state : {103, 105, 106}) {
            rig.put(key, 101);
            QVERIFY(told(Act::Finish, state));
            QTRY_COMPARE(rig.peer.last(10422).value("type").toInt(), 4);
            QVERIFY(!rig.peer.last(10422).value("analysisEndTime").toString().isEmpty());
            if (state == 103)
                QCOMPARE(rig.peer.last(10422).value("analysisStartTime").toString(), started);
            rig.put(key, 101);
            QVERIFY(told(Act::Finish, 104));
            QTRY_COMPARE(rig.peer.last(10422), typed(3));
        }
        rig.put(key, 100);
        QVERIFY(told(Act::PauseAnalysis));
        QTRY_COMPARE(rig.peer.last(10422), typed(5));
        const int before = rig.peer.count(10422);
        rig.put(key, 106);
        QVERIFY(told(Act::Commit) && told(Act::Submit) && told(Act::Accept) && told(Act::TakeUp));
        QTRY_COMPARE(rig.peer.last(10414), (QJsonObject{{"missionId", 8}}));
        rig.peer.cut();
        QTRY_VERIFY(!NetTcp::isLogin());
        QVERIFY(told(Act::PauseUpload));
        QCoreApplication::processEvents();
        QVERIFY(rig.peer.takeClient());
        QTRY_COMPARE(rig.peer.last(10415), (QJsonObject{{"missionId", 8}}));
        QCOMPARE(rig.peer.count(10422), before);
        QCOMPARE(dao().remove(key), 1);
        QTRY_COMPARE(rig.peer.last(10422), typed(2));
    }
    void slowOrderIsAskedForOnce_data()
    {
        columns<int, int>("againMs", "requests");
        addRow("slow answer", 100000, 1);
        addRow("no answer within the bound", 60, 2);
    }
    void slowOrderIsAskedForOnce()
    {
        FETCH(int, againMs, int, requests);
        QueueRig rig;
        rig.peer.silence(10421);
        const qlonglong key = rig.drop("/x.tgd", {{"softwareType", 8}}, 102);
        rig.start({5, 5, againMs, 1000});
        QTRY_VERIFY(rig.peer.count(10421) >= requests);
        QElapsedTimer scans;
        scans.start();
        QTRY_VERIFY(scans.elapsed() > 40); // some gates have opened meanwhile
        QVERIFY(requests > 1 || rig.peer.count(10421) == 1);
        const auto asked = rig.peer.requests(10421);
        rig.peer.reply(asked.first(), 1042100, {{"id", 1}, {"num", "first"}});
        QTRY_COMPARE(dao().read(key).ordernum, QString("first"));
        rig.peer.reply(asked.last(), 1042100, {{"id", 2}, {"num", "second"}});
        rig.peer.push(10001, 0, {});
        NetTcp::instance()->nvds(100, 10000, QJsonObject());
        QTRY_COMPARE(rig.peer.count(10000), 1);
        QCOMPARE(dao().read(key).ordernum, QString("first"));
        QCOMPARE(rig.state(key), 102);
    }
    void cloneNeedsNoAnalysis()
    {
        QueueRig rig;
        rig.start();
        db_resolve res;
        res.lpath = "/clone.tgd";
        res.rset = R"({"hasClone":1,"softwareType":8})";
        res.rdata = R"({"softwareType":8})";
        rig.handler->saveDataSet(res);
        const qlonglong key = dao().readAll().first().rkey;
        QCOMPARE(rig.state(key), 107);
        const qlonglong dropped = rig.drop("/other.tgd", {{"hasClone", 1}, {"softwareType", 8}});
        QTRY_COMPARE(rig.state(key), 110);
        QTRY_COMPARE(rig.state(dropped), 110);
        QVERIFY(!rig.peer.last(10400).contains("hasClone"));
    }

    void replyOfTheOrder_data()
    {
        columns<QString, int, int>("event", "state", "error");
        addRow("refused", "refuse", 109, 1040006);
        addRow("never answered", "silence", 109, 10002);
        addRow("answered too late, yet good", "late", 110, 0);
        addRow("link lost: sent again after the login", "cut", 110, 0);
        addRow("row deleted meanwhile", "delete", 0, 0);
        addRow("upload store closed: tried until it takes the rows", "store", 110, 0);
        addRow("result unreadable: nothing is sent", "broken", 109, 10012);
    }
    void replyOfTheOrder()
    {
        FETCH(QString, event, int, state);
        QueueRig rig;
        if (event == "refuse")
            rig.peer.answer(10400, 1040006);
        else if (event != "store")
            rig.peer.silence(10400);
        if (event == "store")
            UploadDAO::instance()->releaseUp();
        const qlonglong key =
            rig.drop("/a.tgd", {{"softwareType", 8}}, 107, "N7", event == "broken" ? "{" : "{}", "\"files\":[\"/a.tgd\",\"/b\"]");
        // Rows of an earlier try, whose ids nobody knows any more.
        db_upfile old;
        old.ordernum = "N7";
        old.missid = 7;
        old.lpath = "/b";
        old.id = 1;
        UploadDAO::instance()->addOrder({old});
        rig.start({5, 5, 1000, event == "silence" || event == "late" ? 30 : 100000});
        if (event != "broken")
            QTRY_COMPARE(rig.peer.count(10400), 1);
        const BusinessPeer::Request asked = rig.peer.requests(10400).value(0);
        if (event == "late") {
            QTRY_COMPARE(rig.state(key), 109);
            rig.peer.reply(asked, 1040000, {{"farmId", 1}});
        } else if (event == "cut") {
            rig.peer.answer(10400, 1040000);
            rig.peer.cut();
            QTRY_COMPARE(rig.state(key), 107);
            QVERIFY(rig.peer.takeClient());
        } else if (event == "delete") {
            rig.handler->delResolve(key);
            rig.peer.reply(asked, 1040000, {});
        } else if (event == "store") {
            QTRY_COMPARE(rig.state(key), 108);
            UploadDAO::instance()->open(UserInfo::userDir());
        }
        QTRY_COMPARE(rig.state(key), state);
        QTEST(rig.error(key), "error");
        if (state == 110) {
            const auto rows = UploadDAO::instance()->readPage("N7", 0);
            QCOMPARE(rows.size(), 2);
            QVERIFY(rows.at(0).id > 1 && rows.at(1).id > 1);
            QCOMPARE(rows.at(1).modtime + rows.at(1).size, 0ll); // there is no such file
        }
    }

    void limitAndPause()
    {
        QueueRig rig;
        rig.fakeMaya();
        const QString first = rig.file("1.ma"), second = rig.file("2.ma"), third = rig.file("3.ma");
        const qlonglong a = rig.drop(first, rig.maya(), 100, "N1"), b = rig.drop(second, rig.maya(), 100, "N2");
        const qlonglong c = rig.drop(third, rig.maya(), 100, "N3"), skp = rig.drop(rig.file("4.skp"), {{"softwareType", 6}}, 100, "N4");
        dao().setPriority(0, {skp, c});
        UserInfo::setResolveThread(1);
        rig.start();
        QTRY_VERIFY(QFile::exists(third + ".started"));
        QCOMPARE(rig.state(skp), 100); // no analyser: left as it is, and nobody waits behind it
        QCOMPARE(rig.handler->running(), 1);
        rig.handler->changeResolveState(c, 0);
        QCOMPARE(rig.state(c), 102);
        QTRY_VERIFY(QFile::exists(first + ".started"));
        QCOMPARE(rig.state(b), 100);
        UserInfo::setResolveThread(2);
        QTRY_VERIFY(QFile::exists(second + ".started"));
        rig.handler->changeResolveState(c, 1);
        QCOMPARE(rig.state(c), 100);
        rig.handler->delResolve(b);
        rig.letGo(second);
        rig.letGo(first);
        QTRY_COMPARE(rig.state(a), 106);
        QTRY_COMPARE(rig.state(c), 101);
        QCOMPARE(rig.state(b), 0);
        rig.letGo(third);
        QTRY_COMPARE(rig.state(c), 106);
        UserInfo::setResolveThread(1);
    }
    // What is still being ended of the analysis before must not end the next one, whose log has the same name.
    void resumedAtOnce()
    {
        QueueRig rig;
        rig.fakeMaya();
        const QString scene = rig.file("r.ma");
        const qlonglong key = rig.drop(scene, rig.maya());
        rig.start({1, 100000, 100000, 100000});
        for (int i = 0; i < 10; ++i) {
            QTRY_VERIFY(QFile::exists(scene + ".started"));
            QFile::remove(scene + ".started");
            rig.handler->changeResolveState(key, 0);
            rig.handler->changeResolveState(key, 1);
        }
        QTRY_VERIFY(QFile::exists(scene + ".started"));
        QCOMPARE(rig.state(key), 101);
        rig.letGo(scene);
        QTRY_COMPARE(rig.state(key), 106);
    }
    void overdue_data()
    {
        columns<int, int>("kill", "state");
        addRow("killed and paused", 1, 102);
        addRow("goes on and carries the mark", 0, 106);
    }
    void overdue()
    {
        QFETCH(int, kill);
        QueueRig rig({}, {{"parseTime", 1}, {"killParseTime", kill}});
        rig.fakeMaya();
        const QString scene = rig.file("o.ma");
        const qlonglong key = rig.drop(scene, rig.maya());
        rig.start();
        QTRY_COMPARE(rig.error(key), 10015);
        QCOMPARE(rig.handler->running(), kill ? 0 : 1);
        rig.letGo(scene);
        QTRY_COMPARE(rig.state(key), kill ? 102 : 106);
        QCOMPARE(rig.error(key), 10015);
    }
    void oldLogStandsIn()
    {
        QueueRig rig({"noresolve"});
        QFile log(UserInfo::userDir() + "/resolve-1-N1-old.ma_vdtemp.txt");
        QVERIFY(log.open(QFile::WriteOnly));
        log.write("Vandrel "
                  "Info:{\"status\":1,\"content\":{\"files\":[\"/"
                  "t.tga\"],\"sceneName\":\"s\"},\"details\":\"w\"}Vandrel Debug:\n");
        log.close();
        const qlonglong key = rig.drop("/nowhere/old.ma", rig.maya(), 100, "N3");
        rig.start();
        QTRY_COMPARE(rig.state(key), 103);
        QCOMPARE(dao().read(key).errstr, QString("w"));
        QVERIFY(dao().readWithPara(key).rfile.contains("/t.tga"));
        UserInfo::init();
    }

    void stateRequests_data()
    {
        columns<int, QMap<int, int>>("type", "changes");
        addRow("pause analysis", 0, QMap<int, int>{{100, 102}, {101, 102}});
        addRow("resume analysis", 1, QMap<int, int>{{102, 100}});
        addRow("pause upload", 2, QMap<int, int>{{110, 112}, {111, 112}});
        addRow("resume upload", 3, QMap<int, int>{{112, 110}, {113, 110}});
    }
    void stateRequests()
    {
        QFETCH(int, type);
        typedef QMap<int, int> Changes;
        QFETCH(Changes, changes);
        QueueRig rig;
        UpSpy up;
        ResolveHandler handler; // never scans
        for (int state = 100; state <= 120; ++state) {
            const qlonglong key = rig.drop("/s", {}, state, QStringLiteral("N%1").arg(state));
            handler.changeResolveState(key, type);
            QCOMPARE(rig.state(key), changes.value(state, state));
        }
        db_upfile failed;
        failed.ordernum = "N113";
        failed.lpath = "/f";
        failed.state = 30;
        UploadDAO::instance()->addOrder({failed});
        UserInfo::setRolePerm({{"grants", QJsonArray{type < 2 ? 19 : 1}}, {"result", 1}});
        rig.put(dao().readByOrder("N113").rkey, changes.firstKey());
        handler.changeResolveState(0, type, "N113");
        QCOMPARE(dao().readByOrder("N113").state, changes.firstKey());
        UserInfo::setRolePerm({{"grants", QJsonArray()}, {"result", 1}});
        handler.changeResolveState(0, type, "N113");
        QCOMPARE(dao().readByOrder("N113").state, changes.first());
        QCOMPARE(UploadDAO::instance()->nextWaiting("N113", {}, 1).size(), type == 3 ? 1 : 0);
        QTRY_COMPARE(up.calls.filter("pause"), type == 2 ? QStringList({"pause N110", "pause N111", "pause N113"}) : QStringList());
    }

    void commits_data()
    {
        columns<QString, QString, int, int, QString>("scene", "rdata", "before", "after", "told");
        const QString good = R"({"softwareType":3,"modelParameters":{"outputFile":"o.png","vrMode":0}})";
        const QString noOutput = R"({"softwareType":3,"modelParameters":{"outputFile":""}})";
        for (int state : {103, 104, 105, 106, 109})
            QTest::addRow("goes from %d", state) << "/a.max" << good << state << 107 << "";
        for (int state : {100, 101, 102, 107, 110, 115})
            QTest::addRow("stays in %d", state) << "/a.max" << good << state << state << "";
        addRow("no output path", "/a.max", noOutput, 106, 103, "a.max:无输出路径，请先进行参数设置");
    }
    void commits()
    {
        FETCH(QString, scene, QString, rdata, int, before, int, after, QString, told);
        QueueRig rig;
        WindowSpy window;
        ResolveHandler handler;
        const qlonglong key = rig.drop(scene, {{"softwareType", 3}}, before, "N1", rdata, "\"files\":[]");
        const bool batch = before != 105;
        handler.commitResolve(key, batch);
        QCOMPARE(rig.state(key), after);
        QCOMPARE(dao().batchMarked(key), batch && after == 107 && before != 107);
        if (!told.isEmpty())
            QTRY_COMPARE(window.messages, QStringList(told));
        handler.commitResolve(0, false, "N1");
        QCOMPARE(rig.state(key), after);
    }
    void automatic_data()
    {
        columns<QJsonObject, int, bool, QString, bool>("config", "state", "flagged", "errstr", "goes");
        const QJsonObject on{{"autoSubmit", 1}}, all{{"autoSubmit", 1}, {"ignoreWarn", 1}};
        addRow("off", QJsonObject{}, 106, false, "", false);
        addRow("clean", on, 106, false, "", true);
        addRow("clean, but a seat wants it looked at", on, 106, false, "", false);
        addRow("warned", on, 103, false, "", false);
        addRow("warned, ignored", all, 103, false, "", true);
        addRow("warned, ignored but not automatic", QJsonObject{{"ignoreWarn", 1}}, 103, false, "", false);
        addRow("warned, its batch went", QJsonObject{}, 103, true, "", true);
        addRow("no camera", all, 103, false, "警告：没有设置默认相机。\r\n", false);
        addRow("failed", all, 104, true, "", false);
    }
    void automatic()
    {
        FETCH(QJsonObject, config, int, state, bool, flagged, QString, errstr, bool, goes);
        QueueRig rig({}, config);
        rig.peer.silence(10400);
        const qlonglong key =
            rig.drop("/a.max", {{"softwareType", 3}, {"needMasterCheck", QString(QTest::currentDataTag()).contains("seat")}}, state, "N1",
                     R"({"softwareType":3,"modelParameters":{"outputFile":"o.png"}})");
        dao().saveMessage(key, errstr);
        if (flagged)
            dao().markBatch(key);
        rig.start();
        // A row behind it that needs an order tells that whole scans have passed.
        rig.drop("/later.max", {}, 102);
        QTRY_VERIFY(!dao().readAll().last().ordernum.isEmpty());
        QTRY_COMPARE(rig.state(key), goes ? 108 : state);
    }

    void analysedAgain()
    {
        QueueRig rig;
        rig.peer.answer(10417, 1041700);
        ResolveHandler handler;
        const qlonglong key = rig.drop("/a.tgd", {{"softwareType", 8}}, 104, "N8");
        const qlonglong sent = rig.drop("/b.tgd", {}, 107, "N9");
        dao().saveMessage(key, "old");
        handler.reAddFile(sent);
        handler.reAddFile(key);
        QTRY_COMPARE(rig.state(key), 0);
        QTRY_COMPARE(rig.peer.last(10417), (QJsonObject{{"missionId", 8}}));
        QCOMPARE(rig.peer.count(10417), 1);
        const db_resolve fresh = dao().nextWithoutOrder();
        QCOMPARE(fresh.lpath, QString("/a.tgd"));
        QCOMPARE(fresh.state + fresh.missionid + fresh.error, 100);
        QCOMPARE(fresh.errstr, QString());
        QVERIFY(qAbs(fresh.rkey - QDateTime::currentSecsSinceEpoch()) < 60);
        QSignalSpy warns(&handler, &ResolveHandler::seeWarn);
        handler.seeError(1, fresh.rkey);
        QCOMPARE(warns.size(), 1);
    }

    void dropSurvivesALockedStore()
    {
        QueueRig rig;
        rig.peer.silence(10421);
        dao().setBusyMs(20);
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other");
            other.setDatabaseName(dao().filePath());
            QVERIFY(other.open() && QSqlQuery(other).exec("begin immediate"));
            rig.start();
            db_resolve res;
            res.rkey = 5;
            res.state = 100;
            rig.handler->addFile({res});
            QVERIFY(dao().readAll().isEmpty());
            QSqlQuery(other).exec("rollback");
            other.close();
        }
        QSqlDatabase::removeDatabase("other");
        QTRY_COMPARE(dao().readAll().size(), 1);
        dao().setBusyMs(ResolveDAO::BusyMs);
    }
    void errorTexts()
    {
        QueueRig rig;
        WindowSpy window;
        ResolveHandler handler;
        const qlonglong key = rig.drop("/a.max", {}, 104);
        QStringList wanted;
        for (const auto &[error, errstr, told] : Rows<int, QString, QString>{{10011, "", "软件未找到"},
                                                                             {1040006, "", "余额不足"},
                                                                             {4711, "", "4711"},
                                                                             {0, "错误：没有可用相机。\r\n", "错误：没有可用相机。"}}) {
            rig.put(key, 104, error);
            dao().saveMessage(key, errstr);
            handler.seeError(0, key);
            wanted << told;
            QTRY_COMPARE(window.messages, wanted);
        }
    }

    // A subordinate seat and its master.
    void slaveSeat()
    {
        HttpPeer master;
        QJsonObject handedOver, approval{{"state", 111}, {"fok", 1}, {"fsum", 4}};
        master.answer = [&](const HttpPeer::Request &request) {
            if (request.path == "/model/analysis")
                handedOver = QJsonDocument::fromJson(request.body).object();
            return HttpPeer::response(QJsonDocument(QJsonObject{{"result", 1}, {"code", 0}, {"data", approval}}).toJson(), "200 OK",
                                      "Connection: close\r\n");
        };
        QueueRig rig;
        UserInfo::setAllValue("Server", "role", "slave");
        UserInfo::setAllValue("Server", "master", master.url());
        const qlonglong key = rig.drop("/a.tgd", {{"softwareType", 8}}, 107, {}, "{\"resStatus\":0}", "\"files\":[\"/a.tgd\"]");
        rig.start();
        QTRY_COMPARE(rig.state(key), 116);
        QTRY_COMPARE(dao().read(key).fsum, 4);
        QCOMPARE(handedOver["clientFlag"].toVariant().toLongLong(), key);
        QCOMPARE(handedOver["feeUserId"].toInt(), UserInfo::userId());
        QCOMPARE(rig.peer.count(10421) + rig.peer.count(10400), 0);
        approval["state"] = 118;
        QTRY_COMPARE(rig.state(key), 0);
        QVERIFY(SlaveSeat::approval(-1) == SceneState::Act::Reject && SlaveSeat::approval(106) == SceneState::Act::None);
        master.close();
        const qlonglong other = rig.drop("/b.tgd", {}, 107);
        QSignalSpy states(&dao(), &ResolveDAO::stateChanged);
        QTRY_VERIFY(states.size() >= 2);
        QCOMPARE(states.at(0).first().value<db_resolve>().state, 108);
        QCOMPARE(states.at(1).first().value<db_resolve>().state, 107);
        QVERIFY(dao().read(other).rkey == other);
    }

    void threadReportsTheMachine()
    {
        QueueRig rig;
        {
            ResolveScan thread;
            thread.start();
            QTRY_VERIFY(rig.peer.count(10310) == 1);
            for (const char *key : {"os", "cpu", "mac", "diskNo", "mainboard", "graphics", "memory", "screenW", "screenH", "maxVersions"})
                QVERIFY2(rig.peer.last(10310).contains(QLatin1String(key)), key);
            QVERIFY(Seam<ResolveCalls>::attached());
        }
        QVERIFY(!Seam<ResolveCalls>::attached());
    }

    void cleaning()
    {
        QueueRig rig;
        rig.drop("/a", {});
        const qlonglong gone = rig.drop("/b", {}, 100, "N1");
        for (int i = 0; i < 3; ++i)
            rig.drop("/c", {});
        dao().remove(1000);
        dao().remove(gone);
        dao().releaseResolve();
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        const QStringList names{"resolve-999-N-a.txt", "resolve-1002-N-a.txt", "resolve-5-N-fresh.txt",
                                "resolve-6-N-a.ms",    "other-7.txt",          "resolve-x.txt"};
        for (const QString &name : names) {
            QFile file(UserInfo::userDir() + '/' + name);
            QVERIFY(file.open(QFile::WriteOnly));
            const qint64 age = name.contains("fresh") ? 1000 : ClearMax::KeepMs + 60000;
            file.setFileTime(QDateTime::fromMSecsSinceEpoch(now - age), QFile::FileModificationTime);
        }
        ClearMax::clearAccounts(UserInfo::baseDir(), now);
        QCOMPARE(QDir(UserInfo::userDir()).entryList({"resolve-*.*", "other*"}),
                 (QStringList{"other-7.txt", "resolve-1002-N-a.txt", "resolve-5-N-fresh.txt", "resolve-x.txt"}));
        dao().open(UserInfo::userDir());
        QVERIFY(!dao().markBatch(0) || !dao().batchMarked(1000));
        QTemporaryDir tree;
        QDir(tree.path()).mkpath("a/b");
        QDir(tree.path()).mkpath("c");
        for (const char *name : {"a/b/1.vrscene", "c/2.vrscene", "c/keep.txt"})
            QVERIFY(QFile(tree.filePath(name)).open(QFile::WriteOnly));
        ClearMax::clearTree(tree.path(), "*.vrscene");
        QCOMPARE(QDir(tree.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList("c"));
        QCOMPARE(QDir(tree.filePath("c")).entryList(QDir::Files), QStringList("keep.txt"));
    }
};
static const int poolEnds = atTestEnd([] { ThreadPool::instance()->stop(); });
VN_TEST(TestQueue)
#include "tst_queue.moc"
