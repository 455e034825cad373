// Scenes on the drive, analysed by a living farm: the client's queue, its store, and the order that comes of them.
#include "common/facts/AnalysisError.h"
#include "db/ResolveDDAO.h"
#include "QueueRig.h"
#include "resolve/cloud/CloudModel.h"
#include "resolve/cloud/CloudQueue.h"
#include "resolve/ParameterModel.h"
#include "resolve/ParameterSheet.h"
#include "support/FarmRig.h"
#include "support/TestMain.h"
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

class TestCloud : public QObject
{
    Q_OBJECT
    // An account at the farm with both stores open and a queue that looks every few ms.
    struct Rig : FarmRig {
        explicit Rig(int stepMs = 5)
        {
            farm.stop();
            options.analysisStepMs = stepMs;
            started = farm.start(options);
            UserInfo::init({});
            UserInfo::initUser({{"userId", 7000 + ++counter()}, {"username", "u"}});
            CommonConfig::fromJson({});
            QVERIFY(login() && ResolveDAO::instance()->open(UserInfo::userDir()) && UploadDAO::instance()->open(UserInfo::userDir()));
            NetWork::instance()->forgetDrives();
            Session::setLive(true);
            begin();
            QVERIFY(farm.putDriveFile(1, "D/p/a.ma", "scene"));
        }
        ~Rig()
        {
            end();
            Session::setLive(false);
            ResolveDAO::instance()->releaseResolve();
            UploadDAO::instance()->releaseUp();
            UserInfo::clearCache();
        }
        void begin()
        {
            QVERIFY(ResolveDDAO::instance()->open(UserInfo::userDir()));
            queue.reset(new CloudQueue);
            queue->start(10);
        }
        void end()
        {
            queue.reset();
            ResolveDDAO::instance()->close();
        }
        qlonglong add(const QString &scene = "D/p/a.ma", int count = 1, int farm = 1)
        {
            db_resolve one;
            one.lpath = scene;
            one.rootpath = "D/p";
            one.farmid = farm;
            one.filetype = 1;
            QList<db_resolve> list;
            for (int i = 0; i < count; ++i)
                list << one;
            queue->addScenes(list);
            return row().rkey;
        }
        db_resolve row() const { return ResolveDDAO::instance()->read(ResolveDDAO::instance()->all().value(0).rkey); }
        int state() const { return row().state; }
        int count(const char *what) const { return farm.analysisCounts().value(what); }
        static int &counter()
        {
            static int n = 0;
            return n;
        }
        std::unique_ptr<CloudQueue> queue;
    };

private slots:
    // From the drive to the order: analysed, submitted, followed until the order is the server's.
    void road()
    {
        Rig rig;
        const qlonglong key = rig.add();
        QTRY_COMPARE(rig.state(), int(SceneState::Clean));
        db_resolve row = rig.row();
        QVERIFY(row.rtime > 0 && row.etime >= row.rtime - 1000);
        QVERIFY(QJsonDocument::fromJson(row.rdata.toUtf8()).object().value("modelParameters").isObject());
        row.rset = R"({"softwareType":1,"machineModel":"m","project":{"id":1,"name":"p"},"farmId":1})";
        rig.queue->submit(row);
        QTRY_COMPARE(ResolveDAO::instance()->readAll().size(), 1);
        rig.end(); // the program ends between the two rows
        rig.begin();
        ResolveHandler handler;
        handler.setTimes({10, 10, 1000, 10000});
        handler.startScan();
        QTRY_COMPARE(rig.state(), int(SceneState::UploadWaiting));
        const QList<FarmOrder> orders = rig.farm.orders();
        QCOMPARE(orders.size(), 1);
        QVERIFY(orders.first().ordered && orders.first().fileList.isEmpty());
        QCOMPARE(orders.first().body.value("scene").toString(), QString("D/p/a.ma"));
        QVERIFY(!orders.first().body.contains("cloudKey") && orders.first().body.contains("modelParameters"));
        ResolveDAO::instance()->remove(ResolveDAO::instance()->readAll().first().rkey); // the upload queue has nothing to send
        QTRY_COMPARE(rig.state(), int(SceneState::Submitted));
        QCOMPARE(rig.row().rkey, key);
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    void ends_data()
    {
        QTest::addColumn<QString>("scene");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("text");
        QTest::newRow("warnings") << "D/p/a.ma"
                                  << "analysis-details=1" << 103 << "贴图缺失";
        QTest::newRow("failed") << "D/p/a.ma"
                                << "analysis-details=2" << 104 << "场景文件无法打开";
        QTest::newRow("nothing found") << "D/p/a.ma"
                                       << "analysis-details=3" << 105 << "";
        QTest::newRow("no such scene") << "D/p/b.ma"
                                       << "split-http=0" << 104 << "模型文件不存在";
        QTest::newRow("refused") << "D/p/a.ma"
                                 << "analysis-refuse=没有权限" << 104 << "没有权限";
        QTest::newRow("no such details") << "D/p/a.ma"
                                         << "analysis-details=4" << 104 << "农场的解析服务的回复无法读取";
        QTest::newRow("never known") << "D/p/a.ma"
                                     << "analysis-forgets=1" << 104 << "农场的解析服务的回复无法读取";
        QTest::newRow("a page") << "D/p/a.ma"
                                << "analysis-no-json=1" << 101 << "农场的解析服务没有应答，恢复后自动继续";
        QTest::newRow("nobody where it is said to be") << "D/p/a.ma"
                                                       << "analysis-place=1" << 106 << "";
        QTest::newRow("strange word") << "D/p/a.ma"
                                      << "analysis-broken=内存不足" << 101 << "内存不足";
    }
    void ends()
    {
        QFETCH(QString, scene);
        QFETCH(QString, fault);
        QFETCH(int, state);
        QFETCH(QString, text);
        Rig rig;
        QVERIFY(rig.farm.faults().set(fault));
        rig.add(scene);
        QTRY_VERIFY(rig.state() == state && rig.row().errstr == text);
        rig.queue->reAdd(rig.row().rkey); // asked anew, even of a farm that is silent
        QTRY_VERIFY(rig.state() == state && rig.row().errstr == text);
        rig.farm.faults().clear();
        rig.farm.putDriveFile(1, scene, "scene");
        rig.queue->reAdd(rig.row().rkey); // begun anew, it ends well
        QTRY_COMPARE(rig.state(), int(SceneState::Clean));
        QCOMPARE(rig.row().errstr, QString());
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // Whatever gets lost on the way: the task is posted once, resumed once a restart, and comes to its end.
    void lost()
    {
        Rig rig;
        QVERIFY(rig.farm.faults().set("hold-analysis=1"));
        QVERIFY(rig.farm.faults().set("http-delay=200"));
        rig.add();
        for (int i = 1; i < 4; ++i) { // the first time its answer is still on the way
            QTRY_COMPARE(rig.count(i == 1 ? "started" : "resumed"), qMax(1, i - 1));
            QCOMPARE(rig.row().cloudstate, i == 1 ? -1 : 1);
            rig.end();
            rig.farm.faults().set("http-delay", "");
            rig.begin();
            QTRY_COMPARE(rig.row().cloudstate, 1);
        }
        QCOMPARE(rig.count("resumed"), 3);
        QVERIFY(rig.farm.faults().set("stale-status=401@3"));
        rig.farm.rotateTokens(); // in the middle of it
        rig.farm.faults().set("analysis-word=Thinking@1");
        const int asked = rig.count("asked");
        QTRY_VERIFY(rig.count("asked") > asked + 1);
        QCOMPARE(rig.state(), int(SceneState::Analysing));
        rig.farm.faults().clear();
        QTRY_COMPARE(rig.state(), int(SceneState::Clean));
        QCOMPARE(rig.row().errstr, QString());
        QCOMPARE(rig.count("started"), 1);
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // The client ends after one, two ... five requests, answered or not, over and over: one task and one order come of it.
    void endsAtEachStep()
    {
        Rig rig(60);
        rig.add();
        for (int lives = 0; rig.state() != SceneState::Clean; ++lives) {
            QVERIFY(lives < 60);
            const int until = rig.farm.counters().requests + 1 + lives % 5;
            QTRY_VERIFY(rig.farm.counters().requests >= until || rig.state() == SceneState::Clean);
            rig.end();
            rig.begin();
        }
        QCOMPARE(rig.count("started"), 1);
        db_resolve row = rig.row();
        row.rset = R"({"softwareType":1,"machineModel":"m","project":{"id":1,"name":"p"}})";
        rig.queue->submit(row);
        ResolveHandler handler;
        handler.setTimes({10, 10, 1000, 10000});
        handler.startScan();
        for (int step = 0; rig.state() < SceneState::UploadWaiting; ++step) {
            const int packages = rig.farm.counters().packages;
            QTRY_VERIFY(rig.farm.counters().packages > packages || rig.state() == SceneState::UploadWaiting);
            rig.end();
            rig.begin();
        }
        QCOMPARE(ResolveDAO::instance()->readAll().size(), 1);
        QCOMPARE(rig.farm.orders().size(), 1);
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // What a farm found can be shown and ordered, whatever the program.
    void shapes()
    {
        Rig rig;
        for (const QString name : {"a.ma", "b.max", "c.hip", "d.c4d", "e.project", "f.tgd"}) {
            QVERIFY(rig.farm.putDriveFile(1, "D/p/" + name, "scene"));
            for (const db_resolve &old : ResolveDDAO::instance()->readAll())
                rig.queue->removeScene(old.rkey);
            rig.add("D/p/" + name);
            QTRY_COMPARE(rig.state(), int(SceneState::Clean));
            db_resolve res = CloudModel::opened(rig.row());
            const ParameterSheet sheet = ParameterSheet::read(res, CommonConfig::get());
            QVERIFY2(sheet.check().isEmpty(), qPrintable(name + ' ' + sheet.check()));
            QVERIFY2(sheet.summary().frames > 0 && (sheet.summary().pixels > 0 || name == "e.project"), qPrintable(name + res.rdata));
            sheet.write(&res);
            QString message;
            QVERIFY2(ParameterModel::prepare(&res, CommonConfig::get(), &message), qPrintable(name + ' ' + message));
        }
    }

    // Two run at a time, which the farm judges too, whatever its service does meanwhile; all come to their end.
    void limit_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("works") << "split-http=0";
        QTest::newRow("fails") << "drive-status=503";
        QTest::newRow("answers get lost") << "drive-drop-reply=1";
        QTest::newRow("old token") << "drive-stale=1";
    }
    void limit()
    {
        QFETCH(QString, fault);
        Rig rig;
        rig.add("D/p/a.ma", 12);
        QTRY_VERIFY(rig.count("started") >= 4);
        rig.farm.faults().set(fault);
        const int requests = rig.farm.counters().requests;
        QTRY_VERIFY(rig.farm.counters().requests > requests + 20);
        QVERIFY(ResolveDDAO::instance()->in({SceneState::Analysing}).size() <= 2);
        QVERIFY(fault != "drive-status=503" || ResolveDDAO::instance()->in({SceneState::Analysing}).value(0).errstr.contains("没有应答"));
        rig.farm.faults().clear();
        QTRY_COMPARE(ResolveDDAO::instance()->in({SceneState::Clean}).size(), 12);
        QCOMPARE(rig.row().errstr, QString());
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // A farm that has gone says so with its rows, and holds up nobody else; what is removed is out of sight at once.
    void farmGone()
    {
        Rig rig;
        rig.add("D/p/a.ma", 3, 9);
        rig.add();
        const auto rows = [](SceneState::State state) { return ResolveDDAO::instance()->in({state}); };
        QTRY_COMPARE(rows(SceneState::Clean).size(), 1);
        QTRY_COMPARE(rows(SceneState::Analysing).size(), 2);
        QTRY_VERIFY(rows(SceneState::Analysing).last().errstr.contains("没有应答"));
        QCOMPARE(rows(SceneState::Waiting).size(), 1);
        rig.queue->removeScene(rows(SceneState::Analysing).first().rkey);
        QCOMPARE(ResolveDDAO::instance()->all().size(), 3);
        QTRY_COMPARE(ResolveDDAO::instance()->toRemove().size(), 0);
    }

    // Removed or begun anew while the answer to its first question is on the way, and over a restart: stopped once it's
    // there, never two of it.
    void changedMeanwhile_data()
    {
        QTest::addColumn<bool>("again");
        QTest::addColumn<bool>("restart");
        QTest::newRow("removed") << false << false;
        QTest::newRow("removed, restart") << false << true;
        QTest::newRow("again") << true << false;
        QTest::newRow("again, restart") << true << true;
    }
    void changedMeanwhile()
    {
        QFETCH(bool, again);
        QFETCH(bool, restart);
        Rig rig;
        rig.farm.faults().set("hold-analysis=1");
        rig.farm.faults().set("http-delay=150");
        const qlonglong key = rig.add();
        QTRY_COMPARE(rig.count("started"), 1);
        QCOMPARE(rig.row().cloudstate, int(ResolveDDAO::ToResume));
        again ? rig.queue->reAdd(key) : rig.queue->removeScene(key);
        QCOMPARE(rig.row().state, again ? int(SceneState::Waiting) : 0);
        if (restart) {
            rig.end();
            rig.begin();
        }
        QTRY_COMPARE(rig.count("stopped"), 1);
        rig.farm.faults().clear();
        QTRY_COMPARE(rig.row().state, again ? int(SceneState::Clean) : 0);
        QTRY_COMPARE(ResolveDDAO::instance()->toRemove().size(), 0);
        QCOMPARE(rig.count("started"), again ? 2 : 1);
        QCOMPARE(rig.count("resumed"), 0);
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // Rows of an older program, and a result that nothing could be made of.
    void strangeRows()
    {
        Rig rig;
        rig.end();
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "old");
            db.setDatabaseName(UserInfo::userDir() + "/resolveD.db");
            QVERIFY(
                db.open() &&
                !db.exec("insert into resolve(rkey,lpath,state,farmid) values(5,'D/p/a.ma',101,1),(6,'x',999,null)").lastError().isValid());
        }
        QSqlDatabase::removeDatabase("old");
        rig.begin();
        QTRY_COMPARE(rig.state(), int(SceneState::Clean));
        QCOMPARE(rig.count("started"), 1);
        rig.queue->removeScene(6);
        QCOMPARE(ResolveDDAO::instance()->all().size(), 1);

        FuncBody rep;
        rep.object = {{"details", 0}, {"content", QJsonObject{{"modelParameters", QJsonObject()}}}};
        db_resolve res;
        QVERIFY(CloudReply::result(rep, &res) && res.state == SceneState::Clean);
        rep.raw.resize(50 << 20);
        QVERIFY(CloudReply::result(rep, &res) && res.state == SceneState::Failed && res.errstr.contains("50 MB"));
    }
};

VN_TEST(TestCloud)
#include "tst_cloud.moc"
