#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/ResolveDAO.h"
#include "resolve/BaseResolve.h"
#include "resolve/MaxVersion.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QThread>

namespace
{
enum Software { Maya = 1, Max = 3, Houdini = 4, Cinema4D = 5, Clarisse = 7, Terragen = 8 };
const QByteArray Answer = R"({"status":0,"content":{"files":["/t.jpg"],"modelParameters":{"layers":[]}},"details":""})";
} // namespace

// The drivers with stand-ins for the commercial programs: shell files that write down how they were called.
class TestDriver : public QObject
{
    Q_OBJECT
    QScopedPointer<QTemporaryDir> m_dir;
    qlonglong m_key = 100;

    QString path(const QString &name) const { return m_dir->filePath(name); }
    QString put(const QString &name, const QByteArray &content = {}) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        file.open(QFile::WriteOnly);
        file.write(content);
        return file.fileName();
    }
    static QString content(const QString &path)
    {
        QFile file(path);
        file.open(QFile::ReadOnly);
        return QString::fromUtf8(file.readAll());
    }
    // A program that notes its words and what it was given, and then does what the test wants.
    QString program(const QString &name, const QByteArray &script) const
    {
        const QString file = put(name, "#!/bin/sh\nfor w in \"$0\" \"$@\"; do echo \"$w\"; done >'" + path("words").toUtf8() +
                                           "'\necho \"$MachineType|$__COMPAT_LAYER|$vandrel_filepath|$vandrel_fileload\" >'" +
                                           path("given").toUtf8() + "'\n" + script);
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return file;
    }
    QStringList words() const { return content(path("words")).split('\n', Qt::SkipEmptyParts); }

    db_resolve row(const QString &scene, const QJsonObject &rset = {})
    {
        db_resolve res;
        res.rkey = res.pri = ++m_key;
        res.ordernum = "N1";
        res.lpath = scene;
        res.state = 101;
        res.rset = QString::fromUtf8(QJsonDocument(rset).toJson(QJsonDocument::Compact));
        QList<db_resolve> list{res};
        return ResolveDAO::instance()->insertBatch(&list) ? list.first() : db_resolve();
    }
    // As the queue does it: made here, run on another thread, deleted there.
    struct Run {
        BaseResolve *work;
        QThread thread;
        QList<db_resolve> finished;
        int overdue = 0;
        QString log;
        ~Run()
        {
            work->deleteLater();
            thread.quit();
            thread.wait();
        }
    };
    QSharedPointer<Run> start(int type, const QString &software, const db_resolve &res, int gpu = 0, int seconds = 0)
    {
        auto run = QSharedPointer<Run>::create();
        run->work = BaseResolve::create(type);
        run->log = UserInfo::userDir() + QStringLiteral("/resolve-%1-N1").arg(res.rkey);
        run->work->setUp(res, software, type, gpu, run->log);
        connect(run->work, &BaseResolve::resolveFinished, this, [r = run.data()](const db_resolve &one) { r->finished << one; });
        connect(run->work, &BaseResolve::resolveTimeOut, this, [r = run.data()] { ++r->overdue; });
        run->work->startTimer(seconds);
        run->work->moveToThread(&run->thread);
        run->thread.start();
        QMetaObject::invokeMethod(run->work, "resolve", Qt::QueuedConnection);
        return run;
    }
    db_resolve whole(const QSharedPointer<Run> &run)
    {
        if (!comes([&run] { return !run->finished.isEmpty(); }))
            return {};
        db_resolve res = run->finished.first();
        ResolveDAO::instance()->readPara(&res);
        return res;
    }
    static bool alive(const QString &pidFile)
    {
        const qint64 pid = content(pidFile).trimmed().toLongLong();
        for (const platform::Process &one : platform::processes()) {
            if (one.pid == pid && !one.dead)
                return true;
        }
        return false;
    }

private slots:
    void initTestCase()
    {
        UserInfo::init({});
        UserInfo::initUser({{"userId", 31}, {"username", "u"}});
        QVERIFY(ResolveDAO::instance()->open(UserInfo::userDir()));
        qputenv("__COMPAT_LAYER", "RunAsAdmin");
    }
    void cleanupTestCase()
    {
        ResolveDAO::instance()->releaseResolve();
        UserInfo::clearCache();
    }
    void init() { m_dir.reset(new QTemporaryDir); }

    void ends_data()
    {
        columns<QByteArray, int, int, QString, bool>("script", "state", "error", "errstr", "stored");
        const QByteArray good = "printf '\\nVandrel Info:%s\\nVandrel Debug:\\n' '" + Answer + "'\n";
        const auto answer = [](const QByteArray &status) {
            return "echo 'Vandrel Info:{\"status\":" + status + ",\"content\":{\"a\":1},\"details\":\"d\"}'\n";
        };
        addRow("clean", good, 106, 0, "", true);
        addRow("crash behind the answer", good + "kill -SEGV $$\n", 106, 0, "", true);
        addRow("failure behind the answer", good + "exit 3\n", 106, 0, "", true);
        addRow("warnings", answer("1"), 103, 0, "d", true);
        addRow("errors", answer("2"), 104, 0, "d", false);
        addRow("parameters missing", answer("3"), 105, 0, "d", true);
        addRow("nothing", QByteArray("exit 0\n"), 106, 0, "", false);
        addRow("cut answer", QByteArray("printf 'Vandrel Info:{\"status\":0,'\n"), 104, 10012, "", false);
        addRow("answer in two writes",
               QByteArray("printf 'Vandrel In'; sleep 0.1; printf 'fo:{\"status\":1,\"content\":{\"a\":1},\"details\":\"d\"}'\n"), 103, 0,
               "d", true);
        addRow("noise on both channels", "head -c 300000 /dev/zero | tr '\\0' n >&2; head -c 300000 /dev/zero | tr '\\0' n; echo\n" + good,
               106, 0, "", true);
        addRow("leaves a child that holds its output", good + "sleep 1000 &\necho $! >child\n", 106, 0, "", true);
    }
    void ends()
    {
        FETCH(QByteArray, script, bool, stored);
        UserInfo::setAllValue("SoftwarePath", "maya2016", program("bin/mayabatch", "cd '" + m_dir->path().toUtf8() + "'\n" + script));
        const db_resolve res = whole(start(Maya, "Maya2016", row(put("s.mb"))));
        QTEST(res.state, "state");
        QTEST(res.error, "error");
        QTEST(res.errstr, "errstr");
        QTEST(ResolveDAO::instance()->read(res.rkey).errstr, "errstr");
        const QJsonObject rdata = QJsonDocument::fromJson(res.rdata.toUtf8()).object();
        QCOMPARE(rdata.contains("resStatus"), stored);
        QCOMPARE(res.rfile.startsWith("\"files\":[\"" + path("s.mb") + '"'), stored);
        QVERIFY(!QFileInfo::exists(path("child")) || !alive(path("child")));
    }

    void hangingTreeDiesWithItsAnalysis()
    {
        // A grandchild in the background, one that ignores what can be ignored, and one that left its parent.
        UserInfo::setAllValue("SoftwarePath", "maya2016",
                              program("bin/mayabatch", "cd '" + m_dir->path().toUtf8() +
                                                           "'\ntrap '' TERM INT HUP\n"
                                                           "sleep 1000 & echo $! >one\n(sh -c 'trap \"\" TERM; sleep 1000 & echo $! >>two; "
                                                           "wait' &)\nwhile [ ! -s two ]; do sleep 0.02; done\necho $$ >main\nwait\n"));
        auto run = start(Maya, "Maya2016", row(put("s.mb")), 0, 1);
        QTRY_VERIFY(QFileInfo(path("main")).size() > 0);
        QTRY_COMPARE(run->overdue, 1); // told, and left alone
        QVERIFY(run->finished.isEmpty());
        QCOMPARE(run->work->record().state, 101);
        for (const char *one : {"main", "one", "two"})
            QVERIFY2(alive(path(one)), one);
        run.reset();
        for (const char *one : {"main", "one", "two"})
            QVERIFY2(!alive(path(one)), one);
    }

    // A time-out is told while a scene is read, and its end doesn't wait for the reading, nor for a share that is dead.
    void timeOutReachesAReader()
    {
        QFile file(path("slow.tgd"));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("<terragen>");
        for (int i = 0; i < 400000; ++i)
            file.write(QStringLiteral("<x filename=\"n%1/%1/%1/gone.obj\"/>").arg(i).toUtf8());
        file.write("</terragen>");
        file.close();
        auto run = start(Terragen, "terragen 4", row(file.fileName()), 0, 1);
        QTRY_COMPARE(run->overdue, 1);
        QVERIFY(run->finished.isEmpty());
        run.reset();

        QSemaphore asked, dead;
        bool told = false;
        auto owner = std::make_unique<QObject>();
        auto work = std::make_unique<DiskWork>(owner.get());
        work->start([&](const StopToken &stop) -> DiskWork::Result {
            asked.release();
            dead.acquire();
            told = stop.stopped();
            asked.release();
            return [] { qFatal("delivered to nobody"); };
        });
        asked.acquire();
        work.reset();
        owner.reset();
        dead.release();
        asked.acquire();
        QVERIFY(told);
        QCoreApplication::processEvents();
    }

    void notStarted_data()
    {
        columns<int, QString, int>("type", "software", "error");
        addRow("maya not installed", int(Maya), "maya1999", 10011);
        addRow("program that isn't one", int(Maya), "mayanoexec", 10000);
        addRow("max in two words", int(Max), "3dsmax 2016", 10010);
        addRow("max not installed", int(Max), "3ds max 2016", 10011);
        addRow("max of no known year", int(Max), "3ds max 2031", 10030);
        addRow("max too old for the scene", int(Max), "3ds max 2012", 10033);
        addRow("houdini in one word", int(Houdini), "houdini16", 10010);
        addRow("houdini not installed", int(Houdini), "houdini-16.5", 10011);
        addRow("c4d not installed", int(Cinema4D), "cinema 4d r20", 10011);
        addRow("clarisse not installed", int(Clarisse), "clarisse 4.0", 10011);
        addRow("terragen, not a scene", int(Terragen), "terragen 4", 10012);
    }
    void notStarted()
    {
        FETCH(int, type, QString, software);
        UserInfo::setAllValue("SoftwarePath", "mayanoexec", put("bin/mayabatch", "#!/bin/sh\n"));
        QByteArray scene(0x6000, '\0');
        scene[0x3000] = char(0xFE);
        scene[0x5000] = 0x21;
        auto run = start(type, software, row(put("s.x", scene)));
        const db_resolve res = whole(run);
        QCOMPARE(res.state, 104);
        QTEST(res.error, "error");
        QVERIFY(BaseResolve::create(6) == nullptr);
    }

    void maya_data()
    {
        columns<QString, QString, QJsonObject, bool, QString>("binary", "software", "rset", "fast", "expected");
        const QString command = "python(\"import sys,os\");python(\"sys.path.append(\\\"@S/scripts/maya/%1\\\")\");"
                                "python(\"import vanalyzer\");python(\"vanalyzer.runMain(0,1)\")";
        const QJsonObject project{{"mayaProject", "/p r"}};
        addRow("batch", "bin/mayabatch", "Maya2016", QJsonObject(), false, "@P|-file|@D/s.mb|-command|" + command.arg("p27"));
        addRow("project", "bin/mayabatch", "Maya2012", project, false, "@P|-proj|/p r|-file|@D/s.mb|-command|" + command.arg("p26"));
        addRow("no batch program", "bin/maya", "Maya2016", QJsonObject(), false, "@P|-batch|-file|@D/s.mb|-command|" + command.arg("p27"));
        addRow("fast", "bin/mayabatch", "Maya2016", project, true, "@D/bin/mayapy|@S/scripts/maya/p27/VMA.py|@D/s.mb|-proj|/p r");
    }
    void maya()
    {
        FETCH(QString, binary, QString, software, QJsonObject, rset, bool, fast, QString, expected);
        UserInfo::setAllValue("Resolve", "fastMaya", fast ? 1 : 0);
        UserInfo::setUserValue("Resolve", "mayaCache", 1);
        UserInfo::setAllValue("SoftwarePath", software.toLower(),
                              program(binary, "echo 'Vandrel Info:{\"status\":0,\"content\":{\"a\":1}}'\n"));
        program("bin/mayapy", "echo 'Vandrel Info:{\"status\":0,\"content\":{\"a\":1}}'\n");
        const db_resolve res = whole(start(Maya, software, row(put("s.mb"), rset), 1));
        UserInfo::setAllValue("Resolve", "fastMaya", 0);
        QCOMPARE(res.state, 106);
        QCOMPARE(res.rdata.contains("parseSubmit"), fast);
        const QString scripts = UserInfo::programDir();
        QCOMPARE(words().join('|'), expected.replace("@P", path(binary)).replace("@D", m_dir->path()).replace("@S", scripts));
        QVERIFY(content(path("given")).startsWith("startGpu||"));
    }

    void maxBatch()
    {
        UserInfo::setAllValue("SoftwarePath", "3dsMax2016",
                              program("3dsmax", "printf 'Vandrel Info:\\r\\n\\r\\nVandrel_sceneName:\\r\\n%s\\r\\n\\r\\n"
                                                "Vandrel_renderCam:\\r\\nc\\r\\n\\r\\nVandrel_width:\\r\\n8\\r\\n\\r\\nVandrel_height:"
                                                "\\r\\n6\\r\\n\\r\\nVandrel_outputFile:\\r\\no\\r\\n' "
                                                "\"$vandrel_fileload\" >>\"$vandrel_filepath\"\n"));
        QByteArray scene(0x5001, '\x21');
        const QString name = put(QString::fromUtf8("it's a \"场景\" $(x).max"), scene);
        auto run = start(Max, "3ds max 2016", row(name));
        const db_resolve res = whole(run);
        QCOMPARE(res.state, 106);
        const QString log = run->log + '-' + QFileInfo(name).fileName() + "_vdtemp.txt";
        QCOMPARE(words().join('|'), path("3dsmax") + "|-q|-silent|-mip|-u|MAXScript|" + log + ".ms");
        QCOMPARE(content(path("given")), "startCpu||" + log + '|' + name + '\n');
        QVERIFY(content(log + ".ms").startsWith("filein \"") && content(log + ".ms").contains("/scripts/max/Vandrel_param.ms"));
        QCOMPARE(QJsonDocument::fromJson('{' + res.rfile.toUtf8() + '}').object()["files"].toArray(), QJsonArray{name});
    }

    void namesAndOldLogs()
    {
        // A scene name that fills a file name still gets its log.
        const QString scene = put(QString(80, QChar(0x573a)) + ".tgd", "<terragen><render name=\"r\"/></terragen>");
        QCOMPARE(whole(start(Terragen, "", row(scene))).state, 106);

        const QString old = put("resolve-1-N-s.mb_vdtemp.txt", "Vandrel Info:" + Answer);
        const QString other = put("resolve-2-N-x-s.mb_vdtemp.txt");
        put("resolve-3-N-ss.mb_vdtemp.txt");
        QCOMPARE(BaseResolve::oldLog(m_dir->path(), "/d/s.mb"), old);
        QCOMPARE(BaseResolve::oldLog(m_dir->path(), "/d/x-s.mb"), other);
        QCOMPARE(BaseResolve::oldLog(m_dir->path(), "/d/b.mb"), QString());
        put("resolve-1-N-s.mb.txt", "Vandrel Info:{\"status\":2}"); // of an earlier analysis
        BaseResolve work;
        work.logOnly = true;
        work.setUp(row("/s.mb"), "Maya2016 Linux", Maya, 0, old);
        QSignalSpy finished(&work, &BaseResolve::resolveFinished);
        work.finishResolve();
        work.finishResolve();
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished[0][0].value<db_resolve>().state, 106);
        QVERIFY(QFileInfo::exists(old));
    }
};
VN_TEST(TestDriver)
#include "tst_driver.moc"
