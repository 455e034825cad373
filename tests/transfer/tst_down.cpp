#include "common/ResultRoots.h"
#include "DownRig.h"
#include "support/Row.h"
#include "support/Syncs.h"
#include "support/TestMain.h"

class TestDown : public QObject
{
    Q_OBJECT
    QScopedPointer<DownRig> m_rig;

    // One flagged file of the task, its queue running; answers when the row has settled.
    void fetch(const QJsonObject &row)
    {
        m_rig->start();
        push(m_rig->push({row}));
    }
    void push(const QJsonObject &obj)
    {
        m_rig->queue->resultPush(obj);
        m_rig->queue->handPush();
    }
    bool settled() const { return m_rig->mission().pri == 0 || m_rig->mission().state == TransSet::DownError; }

private slots:
    void init()
    {
        m_rig.reset(new DownRig);
        UserInfo::setAllValue("Server", "role", QString());
        UserInfo::setAllValue("Transfer", "downTh", 10);
        UserInfo::setUserValue("Set", "AutoSendResult", 1);
    }
    void cleanup()
    {
        QCOMPARE(m_rig->business.faults + m_rig->files.faults, QStringList());
        m_rig.reset();
    }

    void tenFiles()
    {
        QJsonArray rows;
        for (int id = 1; id <= 10; ++id)
            rows << m_rig->result(id, QString("beauty/%1.png").arg(id, 4, 10, QChar('0')), QByteArray(id * 10000, char('a' + id)));
        rows[9] = QJsonObject{{"id", 10}, {"path", "x/0010.png"}}; // no flag: below its id
        int inStore = -1;
        m_rig->business.answer(10413, [&](const BusinessPeer::Request &) {
            inStore = m_rig->mission().sum; // some may be over by now
            return BusinessPeer::Reply{1041300, {}, false};
        });
        int unsynced = 0; // at the moment the server hears of a frame: file and folder
        m_rig->business.answer(10802, [&](const BusinessPeer::Request &request) {
            unsynced += syncs::count(".xtemp") == 0 || syncs::count("/N7_shot/beauty") == 0;
            return BusinessPeer::Reply{request.body["fileId"] == 1 ? 1080202 : 1080200, {}, false}; // or forgotten meanwhile
        });
        syncs::reset();
        m_rig->start();
        m_rig->queue->resultPush(m_rig->push(rows));
        QTRY_COMPARE(inStore, 10); // by its own timer; the farm is told only then
        QVERIFY(syncs::count("qnfileDown.db-wal") > 0);
        QCOMPARE(m_rig->business.last(10413)["missionId"].toInt(), DownRig::Task);
        QTRY_COMPARE(m_rig->mission().pri, 0);
        QCOMPARE(m_rig->over, 1);
        QCOMPARE(DoneDAO::instance()->readPage(db_done::Mission, "N7", 0, 9).value(0).sum, 10);
        QTRY_COMPARE(DownloadDAO::instance()->untold().size(), 0);
        QCOMPARE(m_rig->business.count(10802), 10);
        QCOMPARE(unsynced, 0);
        QCOMPARE(m_rig->content("beauty/0003.png"), QByteArray(30000, 'd'));
        QCOMPARE(m_rig->content("10/0010.png").size(), 100000);
        QCOMPARE(m_rig->onDisk("beauty/0003.png"), QStringList("0003.png"));
        QCOMPARE(m_rig->files.asks.first()["path"].toString().left(6), QString("/farm/"));
        QCOMPARE(m_rig->business.count(10805), 0);
    }

    // The link is lost while a file streams: it arrives all the same, and the server hears of it at the next login, in
    // another run of the client if need be, until it answers.
    void toldAfterTheLink()
    {
        const QJsonArray rows{m_rig->result(1, "beauty/1.png", QByteArray(5000, 'x'))};
        m_rig->files.asked = [] { NetTcp::instance()->setLogin(false); };
        m_rig->still = true;
        m_rig->start();
        m_rig->queue->resultPush(m_rig->push(rows));
        QTRY_COMPARE(m_rig->content("beauty/1.png").size(), 5000);
        QTRY_COMPARE(m_rig->rows().size(), 0);
        QCOMPARE(m_rig->business.count(10802), 0);
        m_rig->queue.reset();
        DownloadDAO::instance()->open(m_rig->folder.path());
        NetTcp::instance()->setLogin(true);
        m_rig->start();
        QTRY_COMPARE(m_rig->business.last(10802), (QJsonObject{{"fileId", 1}}));
        QTRY_COMPARE(m_rig->mission().pri, 0);
        m_rig->ahead = DownHandler::RetellMs - 1;
        m_rig->queue->scan();
        QCOMPARE(m_rig->business.count(10802), 1);
        m_rig->business.answer(10802, 1080200);
        m_rig->ahead = DownHandler::RetellMs;
        QTRY_COMPARE(DownloadDAO::instance()->untold().size(), 0);
        QCOMPARE(m_rig->business.count(10802), 2);
    }

    // The client dies before its confirmation arrives, so the farm pushes again: nothing is fetched twice, another
    // version of a frame is.
    void pushedOnceMore()
    {
        const QJsonArray rows{m_rig->result(1, "1.png", "one"), m_rig->result(2, "2.png", "two")};
        QJsonArray told;
        for (const QJsonValue &row : rows) {
            QJsonObject one = row.toObject();
            for (const char *key : {"size", "hash"})
                one[key] = m_rig->answers[one["id"].toInt()][key];
            told << one;
        }
        m_rig->start();
        push(m_rig->push(told));
        QTRY_COMPARE(m_rig->over, 1);
        m_rig->queue.reset();
        m_rig->start();
        push(m_rig->push(told));
        QTRY_COMPARE(m_rig->business.count(10413), 2); // confirmed all the same
        QCOMPARE(m_rig->mission().pri, 0);
        QCOMPARE(m_rig->files.asks.size(), 2);
        m_rig->result(2, "2.png", "new"); // as many bytes
        QJsonObject again = told[1].toObject();
        again["hash"] = m_rig->answers[2]["hash"];
        QFile::remove(m_rig->path("1.png"));
        push(m_rig->push({told[0], again}));
        QTRY_COMPARE(m_rig->over, 2);
        QCOMPARE(m_rig->files.asks.size(), 4);
        QCOMPARE(m_rig->content("1.png") + m_rig->content("2.png"), QByteArray("onenew"));
        // And one whose former version is on the way.
        m_rig->files.hold = true;
        QJsonObject big = m_rig->result(3, "3.png", QByteArray(5000, 'a'));
        big["size"] = 5000;
        push(m_rig->push({big}));
        QTRY_COMPARE(m_rig->files.asks.size(), 5);
        push(m_rig->push({big}));
        QCOMPARE(m_rig->queue->running(), 1);
        m_rig->files.hold = false;
        m_rig->result(3, "3.png", QByteArray(6000, 'b'));
        big["size"] = 6000;
        push(m_rig->push({big}));
        QTRY_COMPARE(m_rig->over, 3);
        QCOMPARE(m_rig->content("3.png"), QByteArray(6000, 'b'));
    }

    void goesOn_data()
    {
        columns<int, QByteArray, QList<qint64>, QList<qint64>>("size", "mark", "cuts", "starts");
        addRow("from the number on", 5000, QByteArray("      1000"), QList<qint64>{}, QList<qint64>{1000});
        addRow("all there: no socket", 5000, QByteArray("      5000"), QList<qint64>{}, QList<qint64>{});
        addRow("no bytes: no socket", 0, QByteArray(), QList<qint64>{}, QList<qint64>{});
        addRow("cut again and again", 900000, QByteArray(), QList<qint64>{200000, 1, 300000}, QList<qint64>{0, 200000, 200001, 500001});
        addRow("ends before the first byte", 5000, QByteArray(), QList<qint64>{0, 0}, QList<qint64>{0, 0, 0});
    }
    void goesOn()
    {
        FETCH(int, size, QByteArray, mark, QList<qint64>, cuts);
        QByteArray content(size, 'n');
        const QJsonObject row = m_rig->result(1, "f.png", content);
        if (!mark.isEmpty()) {
            m_rig->write("f.png.xtemp", content);
            m_rig->write("f.png.vd", mark);
        }
        m_rig->files.cuts = cuts;
        fetch(row);
        QTRY_COMPARE(m_rig->mission().pri, 0);
        QTEST(m_rig->files.starts(), "starts");
        QCOMPARE(m_rig->content("f.png"), content);
        QCOMPARE(m_rig->onDisk("f.png"), QStringList("f.png"));
        QTRY_COMPARE(m_rig->business.count(10802), 1);
    }

    void fails_data()
    {
        QTest::addColumn<int>("error");
        addRow("wrong hash", 10018);
        addRow("refused by the farm", 7010007);
        addRow("half a head", 10011);
        addRow("too many bytes", 10013);
        addRow("not writable", 10014);
        addRow("no balance", 1080009);
        addRow("no size", 10015);
        addRow("a hash that isn't a text", 10016);
        addRow("no row at the server", 1080002);
        addRow("nobody listens", 100000);
    }
    void fails()
    {
        QFETCH(int, error);
        const QJsonObject row = m_rig->result(1, "d/f.png", QByteArray(5000, 'x'), error == 10018 ? "0123" : "right");
        QJsonObject &answer = m_rig->answers[1];
        const QHash<int, std::function<void()>> spoil{{10011, [&] { m_rig->files.headBytes = 31; }},
                                                      {10013, [&] { m_rig->files.extra = "y"; }},
                                                      {10014, [&] { m_rig->write("d", "a file where the folder should be"); }},
                                                      {10015, [&] { answer.remove("size"); }},
                                                      {10016, [&] { answer["hash"] = 5; }},
                                                      {100000, [&] { answer["portWan"] = 1; }},
                                                      {1080002, [&] { answer = {}; }},
                                                      {1080009, [&] { answer["val"] = error; }},
                                                      {7010007, [&] { m_rig->files.code = error; }}};
        if (spoil.contains(error))
            spoil[error]();
        m_rig->rate = 200;
        fetch(row);
        QTRY_VERIFY(settled());
        QCOMPARE(m_rig->rows().value(0).state, int(TransSet::DownGaveUp));
        QCOMPARE(m_rig->rows().value(0).error, error);
        QCOMPARE(m_rig->count(3, error), 4); // the first try and three more
        QVERIFY(m_rig->onDisk("d/f.png").isEmpty());
        const bool reached = QList<int>{10011, 10013, 10018, 7010007}.contains(error);
        QCOMPARE(m_rig->files.starts(), reached ? (QList<qint64>{0, 0, 0, 0}) : QList<qint64>{});
        QTRY_COMPARE(m_rig->window.tips.size(), error == 1080009 ? 4 : 0);
        QCOMPARE(m_rig->business.count(10802), 0);
    }

    // A hard failure is tried again after one, two and four seconds; another file of the mission doesn't wait for it.
    void waitsBetweenFailures()
    {
        UserInfo::setAllValue("Transfer", "downTh", 1);
        m_rig->still = true;
        m_rig->answers[1] = {};
        m_rig->start();
        push(m_rig->push({QJsonObject{{"id", 1}, {"path", "1.png"}}, m_rig->result(2, "2.png", "data")}));
        QTRY_COMPARE(m_rig->rows().size(), 1);
        QCOMPARE(m_rig->content("2.png"), QByteArray("data"));
        for (int tries = 1; tries <= 3; ++tries) {
            QTRY_COMPARE(m_rig->count(3, 1080002), tries);
            QTRY_COMPARE(m_rig->rows().value(0).state, int(TransSet::DownWait));
            m_rig->ahead += (1000 << (tries - 1)) - 1;
            m_rig->queue->scan();
            QCOMPARE(m_rig->queue->running(), 0);
            m_rig->ahead += 1;
            m_rig->queue->scan();
            QCOMPARE(m_rig->queue->running(), 1);
        }
        QTRY_COMPARE(m_rig->rows().value(0).state, int(TransSet::DownGaveUp));
    }

    // A server that takes links and sends nothing is left alone for a while.
    void restsFromASilentServer()
    {
        m_rig->still = true;
        m_rig->files.cuts = {0, 0, 0, 0};
        fetch(m_rig->result(1, "1.png", "data"));
        QTRY_COMPARE(m_rig->files.asks.size(), 4);
        QTRY_COMPARE(m_rig->rows().value(0).state, int(TransSet::DownWait));
        m_rig->ahead += 249;
        m_rig->queue->scan();
        QCOMPARE(m_rig->queue->running(), 0);
        m_rig->ahead += 1;
        QTRY_COMPARE(m_rig->content("1.png"), QByteArray("data"));
    }

    // Refused rows are told once and passed by, those that an earlier version kept as well; a row that uses its file's
    // name alone isn't refused for its path.
    void refusedRows()
    {
        QJsonArray rows{m_rig->result(9, "f.png", "data")};
        m_rig->result(5, "x.png", "own");
        rows << QJsonObject{{"id", 5}, {"path", "../../x.png"}};
        for (int id = 1; id <= 3; ++id)
            rows << QJsonObject{{"id", id}, {"path", "../../x.png"}, {"isBlock", 1}};
        m_rig->rate = 200;
        m_rig->start();
        push(m_rig->push(rows));
        QTRY_COMPARE(m_rig->over, 1);
        push(m_rig->push(rows));
        QTRY_COMPARE(m_rig->business.count(10413), 2);
        QCOMPARE(m_rig->window.infos.size(), 1);
        QVERIFY(m_rig->window.infos[0].contains(" 3 "));
        QCOMPARE(m_rig->content("f.png") + m_rig->content("5/x.png"), QByteArray("dataown"));
        QCOMPARE(QDir(m_rig->folder.path()).entryList({"x.png*"}), QStringList());
        db_downmiss old;
        old.pri = 77;
        old.missid = 1;
        old.ordernum = "N7";
        QList<db_downfile> files;
        for (const char *path : {".._x.png", "../x.png", "/a/../x.png", "/a/.bashrc"}) {
            files << db_downfile{};
            files.last().id = 20 + files.size();
            files.last().lpath = path;
            files.last().state = TransSet::DownGaveUp;
        }
        QVERIFY(DownloadDAO::instance()->addMission(old, files));
        m_rig->queue->reDown(77);
        QTRY_COMPARE(m_rig->over, 2);
    }

    // A server can't choose where it writes: only below folders that this machine knows, and never hidden files.
    void unknownRoot()
    {
        QDir(m_rig->folder.path()).mkpath("home");
        const QString home = m_rig->folder.filePath("home");
        QJsonObject evil = m_rig->push({m_rig->result(1, "evil.desktop", "evil")});
        evil["resultRootPathEnum"] = 2;
        evil["clientResultRootPath"] = home;
        evil["resultMiddleRulePath"] = ".config/autostart";
        m_rig->start();
        push(evil);
        evil["num"] = "N9";
        push(evil);
        QTRY_COMPARE(m_rig->window.asked, QStringList(home + "|shot"));
        m_rig->business.answer(10805, 1080500, evil);
        m_rig->queue->missionResult(4712, false, false);
        QTRY_COMPARE(m_rig->window.asked.size(), 2); // the user who asks in person is asked again
        QCOMPARE(m_rig->business.count(10413), 0);
        QVERIFY(QDir(home).isEmpty());
        m_rig->queue->rootConfirmed(home);
        QTRY_COMPARE(m_rig->business.count(10413), 3);
        QTRY_VERIFY(m_rig->over > 0);
        QVERIFY(QFile::exists(home + "/_.config/autostart/evil.desktop"));
        QCOMPARE(QDir(home).entryList(QDir::Hidden | QDir::AllEntries | QDir::NoDotAndDotDot), QStringList("_.config"));
        // Files that an earlier version was told to put elsewhere wait for the same word.
        QDir(m_rig->folder.path()).mkpath("old");
        db_downmiss old;
        old.pri = 77;
        old.ordernum = "N7";
        old.missname = "old";
        old.lpath = m_rig->folder.filePath("old");
        db_downfile file;
        file.id = 1;
        file.lpath = old.lpath + "/f.png";
        QVERIFY(DownloadDAO::instance()->addMission(old, {file}));
        QTRY_COMPARE(m_rig->window.asked.last(), old.lpath + "|old");
        QVERIFY(QDir(old.lpath).isEmpty());
        m_rig->queue->rootConfirmed(old.lpath);
        QTRY_VERIFY(QFile::exists(file.lpath));
    }

    void limited()
    {
        UserInfo::setAllValue("Transfer", "downSpeed", 64); // KiB/s
        const QJsonObject row = m_rig->result(1, "f.png", QByteArray(40000, 'x'));
        QElapsedTimer since;
        since.start();
        fetch(row);
        QTRY_COMPARE(m_rig->over, 1);
        UserInfo::setAllValue("Transfer", "downSpeed", 0);
        QVERIFY2(since.elapsed() > 500, qPrintable(QString::number(since.elapsed())));
        QCOMPARE(m_rig->content("f.png").size(), 40000);
    }

    void threeFailuresStop()
    {
        UserInfo::setAllValue("Transfer", "downTh", 1);
        QJsonArray rows;
        for (int id = 1; id <= 10; ++id)
            rows << m_rig->result(id, QString("%1.png").arg(id), "data");
        for (int id = 1; id <= 10; ++id)
            m_rig->answers[id] = {};
        m_rig->rate = 20000; // no file rests longer than a look takes: they fail one after the other
        m_rig->start();
        m_rig->queue->resultPush(m_rig->push(rows));
        m_rig->queue->handPush();
        QTRY_COMPARE(m_rig->mission().state, int(TransSet::DownError));
        const auto left = m_rig->rows();
        QCOMPARE(left.size(), 10);
        const auto failed = std::count_if(left.begin(), left.end(), [](const db_downfile &file) { return file.error != 0; });
        QVERIFY(failed >= 3 && failed < 6); // on a slow machine one or two may follow
        for (int id = 1; id <= 10; ++id)
            m_rig->result(id, QString("%1.png").arg(id), "data");
        m_rig->queue->reDown(m_rig->mission().pri);
        QTRY_COMPARE(m_rig->mission().pri, 0);
        QCOMPARE(m_rig->content("10.png"), QByteArray("data"));
    }

    void pushedAgainWhileRunning()
    {
        m_rig->files.hold = true;
        const QJsonObject row = m_rig->result(1, "f.png", QByteArray(5000, 'x'));
        fetch(row);
        QTRY_COMPARE(m_rig->files.asks.size(), 1);
        const qlonglong pri = m_rig->mission().pri;
        m_rig->queue->resultPush(m_rig->push({row, m_rig->result(2, "g.png", "data")}));
        m_rig->queue->handPush();
        QCOMPARE(m_rig->rows().size(), 2);
        QCOMPARE(m_rig->mission().pri, pri);
        QCOMPARE(m_rig->rows().value(0).state, int(TransSet::DownRun));
        m_rig->files.hold = false;
        QTRY_COMPARE(m_rig->content("g.png"), QByteArray("data"));
        QTRY_COMPARE(m_rig->rows().size(), 1);
        QCOMPARE(m_rig->queue->running(), 1);
        // Another task's file with the same target waits until this one is through.
        QJsonObject other = m_rig->push({m_rig->result(3, "f.png", "other")});
        other["resultMiddleRulePath"] = "N7_shot";
        other["num"] = "N8";
        m_rig->queue->resultPush(other);
        m_rig->queue->handPush();
        QTRY_COMPARE(DownloadDAO::instance()->missionByOrder("N8").state, int(TransSet::DownRun));
        for (int tick = 0; tick < 5; ++tick)
            m_rig->queue->scan();
        QCOMPARE(m_rig->queue->running(), 1);
        QCOMPARE(m_rig->files.asks.size(), 2);
        DownloadDAO *store = DownloadDAO::instance();
        m_rig->queue->priDown(store->missionByOrder("N8").pri);
        QCOMPARE(store->missions({TransSet::DownRun}).first().ordernum, QString("N8"));
    }

    void pauseGoOnDelete()
    {
        m_rig->files.hold = true;
        fetch(m_rig->result(1, "f.png", QByteArray(400000, 'x')));
        const qlonglong pri = m_rig->mission().pri;
        QTRY_COMPARE(m_rig->files.asks.size(), 1);
        QTRY_COMPARE(m_rig->position, 200000);
        m_rig->queue->pauseDown(pri);
        QCOMPARE(m_rig->mission().state, int(TransSet::DownPause));
        QCOMPARE(m_rig->rows().value(0).state, int(TransSet::DownPause));
        QCOMPARE(m_rig->queue->running(), 0);
        // A push doesn't wake what the user paused.
        m_rig->queue->resultPush(m_rig->push({m_rig->result(2, "g.png", "data")}));
        m_rig->queue->handPush();
        QCOMPARE(m_rig->mission().state, int(TransSet::DownPause));
        QTRY_COMPARE(m_rig->business.count(10413), 2);
        QTRY_COMPARE(m_rig->onDisk("f.png"), (QStringList{"f.png.vd", "f.png.xtemp"}));
        QTRY_COMPARE(m_rig->content("f.png.vd"), QByteArray("    200000"));
        m_rig->queue->reDown(pri);
        QTRY_VERIFY(m_rig->files.starts().mid(1).contains(200000)); // g.png is asked for beside it
        QTRY_COMPARE(m_rig->rows().size(), 1);                      // g.png came
        m_rig->queue->delDown(pri);
        QCOMPARE(m_rig->mission().pri, 0);
        QTRY_COMPARE(m_rig->onDisk("f.png"), QStringList());
    }

    void whoStopsThePush_data()
    {
        columns<QString, int>("role", "autoSend");
        addRow("alone", "", 1);
        addRow("slave", "slave", 1);
        addRow("switched off", "", 0);
    }
    void whoStopsThePush()
    {
        FETCH(QString, role, int, autoSend);
        UserInfo::setAllValue("Server", "role", role);
        UserInfo::setUserValue("Set", "AutoSendResult", autoSend);
        UserInfo::clearCache();
        UserInfo::initUser(QJsonObject{{"userId", 7}});
        m_rig->business.answer(10805, 1080500, m_rig->list({m_rig->result(1, "f.png", "data")}));
        m_rig->start();
        m_rig->queue->resultPush({{"prefixPath", "4711_shot/"}});
        m_rig->queue->resultPush({{"missionId", double((1ll << 32) + 4712)}}); // no task of this client's range, nor its rest
        m_rig->queue->handPush();
        m_rig->queue->missionResult(1, true, false); // asks whatever the settings are
        QTRY_COMPARE(m_rig->business.last(10805)["missionId"].toInt(), 1);
        const bool taken = role.isEmpty() && autoSend == 1;
        QCOMPARE(m_rig->business.count(10805), taken ? 2 : 1);
        QCOMPARE(m_rig->business.requests(10805)[0].body["missionId"].toInt(), taken ? DownRig::Task : 1);
        if (role.isEmpty()) // a seat's way to the files leads through its master, and there is none here
            QTRY_COMPARE(m_rig->content("f.png"), QByteArray("data"));
    }

    void userAsks()
    {
        QJsonArray rows;
        m_rig->business.answer(10805, [&](const auto &) { return BusinessPeer::Reply{1080500, m_rig->list(rows), false}; });
        m_rig->start();
        m_rig->queue->missionResult(DownRig::Task, false, false);
        QTRY_COMPARE(m_rig->window.infos, QStringList("暂无结果文件"));
        for (int id = 1; id <= 9; ++id)
            rows << m_rig->result(id, QString("%1.png").arg(id), "new");
        for (int id : {1, 2, 3, 7, 9})
            m_rig->write(QString("%1.png").arg(id), "old");
        m_rig->queue->missionResult(DownRig::Task, false, false);
        QTRY_COMPARE(m_rig->window.covers, QStringList("任务：shot\r\n以下帧缺失，请重新下载：\r\n4-6,8"));
        QCOMPARE(m_rig->window.infos.last(), QString("以下帧缺失，请重新下载：\r\n4-6,8"));
        QCOMPARE(m_rig->mission().pri, 0);
        m_rig->queue->coverResult(DownRig::Task, 2);
        m_rig->queue->coverResult(DownRig::Task, 0); // cancelled: nothing waits any more
        QCOMPARE(m_rig->mission().pri, 0);
        m_rig->queue->missionResult(DownRig::Task, false, false);
        QTRY_COMPARE(m_rig->window.covers.size(), 2);
        m_rig->queue->coverResult(DownRig::Task, 1);
        QCOMPARE(m_rig->mission().sum, 4);
        QTRY_COMPARE(m_rig->mission().pri, 0);
        QCOMPARE(m_rig->content("3.png"), QByteArray("old"));
        QCOMPARE(m_rig->content("4.png"), QByteArray("new"));
        m_rig->queue->missionResult(DownRig::Task, false, false);
        QTRY_COMPARE(m_rig->window.infos.last(), QString("文件已全部下载完成"));
        QFile::remove(m_rig->path("5.png"));
        m_rig->queue->missionResult(DownRig::Task, true, false); // nobody to ask: what is missing comes
        QTRY_COMPARE(m_rig->content("5.png"), QByteArray("new"));
        QCOMPARE(m_rig->window.covers.size(), 2);
    }

    void projectFolder()
    {
        QDir(m_rig->folder.path()).mkpath("project");
        m_rig->business.answer(10502, 1050200, {{"projects", QJsonArray{QJsonObject{{"id", 5}, {"name", "Film"}}}}});
        m_rig->business.answer(10506, 1050600, {{"extraConfig", QJsonObject{{"outputPath", m_rig->folder.filePath("project")}}}});
        QJsonObject push = m_rig->push({m_rig->result(1, "f.png", "data")});
        push["resultRootPathEnum"] = 1;
        push["projectName"] = "Film";
        push["softwareType"] = 8;
        ResultRoots::add(m_rig->folder.filePath("project"));
        m_rig->start();
        m_rig->queue->resultPush(push);
        m_rig->queue->handPush();
        QTRY_VERIFY(QFile::exists(m_rig->folder.filePath("project/N7_shot/f.png")));
        QCOMPARE(m_rig->business.last(10506), (QJsonObject{{"projectId", 5}, {"software_type", 8}}));
    }

#ifdef Q_OS_LINUX
    void noRoom()
    {
        UserInfo::setResultDir("/proc/self"); // a file system without a free byte
        fetch(m_rig->result(1, "f.png", "data"));
        QTRY_COMPARE(m_rig->window.spaces.size(), 1);
        QCOMPARE(m_rig->mission().pri, 0);
        QCOMPARE(m_rig->business.count(10413), 0);
    }
#endif
    void noFolder()
    {
        UserInfo::setResultDir(m_rig->folder.filePath("gone"));
        fetch(m_rig->result(1, "f.png", "data"));
        m_rig->queue->resultPush(m_rig->push({m_rig->result(2, "g.png", "data")}));
        m_rig->queue->handPush();
        m_rig->business.answer(10805, 1080500, m_rig->list({m_rig->result(3, "h.png", "data")}));
        push({{"prefixPath", "4712_shot/"}}); // one that has to ask for its list
        QTRY_COMPARE(m_rig->business.count(10805), 1);
        QTRY_COMPARE(m_rig->window.roots.size(), 1); // told once for all pushes
        QCOMPARE(m_rig->mission().pri, 0);
        QCOMPARE(m_rig->business.count(10413), 0);
        QDir(m_rig->folder.path()).mkpath("gone"); // what was pushed meanwhile comes
        m_rig->ahead = DownHandler::BlockedMs;
        for (const char *name : {"f", "g", "h"})
            QTRY_VERIFY(QFile::exists(m_rig->folder.filePath(QStringLiteral("gone/N7_shot/%1.png").arg(name))));
    }
};
VN_TEST(TestDown)
#include "tst_down.moc"
