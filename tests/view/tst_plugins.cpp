// The menus inside the 3D software: found, laid down, repaired and removed in folders of the test's own.
#include "common/platform/Platform.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/PluginManager.h"
#include "ViewRig.h"
#include <QAction>

class TestPlugins : public QObject
{
    Q_OBJECT
private:
    QScopedPointer<QTemporaryDir> m_dir;
    PluginPlaces::Machine m_machine;
    QString at(const QString &name) const { return m_dir->filePath(name); }
    void write(const QString &path, const QByteArray &bytes = "x")
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray bytes(const QString &path) const
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "none";
    }
    PluginPlace place(const QString &program) const
    {
        for (const PluginPlace &one : PluginPlaces::find(m_machine))
            if (one.program == program)
                return one;
        return {};
    }
    QString max(const char *product, const char *version, const QString &folder)
    {
        QDir().mkpath(at(folder + "/scripts/Startup"));
        platform::regSet(platform::Hive::LocalMachine, std::string("SOFTWARE\\Autodesk\\") + product + "\\" + version, "Installdir",
                         at(folder).replace('/', '\\').toStdString() + "\\");
        return at(folder + "/scripts/Startup");
    }

private slots:
    void init()
    {
        account(81);
        m_dir.reset(new QTemporaryDir);
        UserInfo::setProgramDir(at("program"));
        m_machine = {true, at("appdata"), at("documents"), at("home"), QFINDTESTDATA("../../scripts"), 46160, 46161};
    }
    void cleanup()
    {
        Background::finish();
        UserInfo::setProgramDir({});
    }

    void finds()
    {
        const QStringList starts{max("3dsMax", "14.0\\MAX-1:804", "3ds Max 2012"), max("3dsMax", "15.0", "3ds Max 2013"),
                                 max("3dsMaxDesign", "27.0", "3ds Max 2025")};
        max("3dsMax", "18.0", "uninstalled");
        QVERIFY(QDir(at("uninstalled")).removeRecursively());
        QCOMPARE(PluginPlaces::allMaxPath(), starts);
        for (const char *folder :
             {"appdata/SketchUp/SketchUp 2021/SketchUp", "appdata/SketchUp/broken", "documents/maya/2010", "documents/maya/2026",
              "documents/maya/scripts", "documents/houdini19.5", "documents/houdini16.5", "home/maya/2022", "home/houdini20.0",
              "appdata/Maxon/Cinema 4D R21_64C2B3BD", "appdata/Maxon/Maxon Cinema 4D 2024_A5DBFD", "appdata/Maxon/other"})
            QVERIFY(QDir().mkpath(at(folder)));
        const auto names = [this] {
            QStringList all;
            for (const PluginPlace &one : PluginPlaces::find(m_machine))
                all << one.program;
            return all.join('|');
        };
        QCOMPARE(
            names(),
            QString("3ds Max 2012|3ds Max 2013|3ds Max 2025|SketchUp 2021|Maya 2010|Maya 2026|Houdini 19.5|Cinema 4D R21|Cinema 4D 2024"));
        QCOMPARE(place("3ds Max 2012").files[0].target, QString("o_vandrelMenu.ms"));
        QCOMPARE(place("3ds Max 2013").files[0].target, QString("vandrelMenu.ms"));
        m_machine.windows = false; // only hosts that exist there
        QCOMPARE(names(), QString("Maya 2022|Houdini 20.0"));
        UserInfo::setAllValue("SoftwarePath", "maya2031", at("no/such"));
        QCOMPARE(names(), QString("Maya 2022|Houdini 20.0"));
        for (const char *version : {"14.0\\MAX-1:804", "15.0", "18.0"})
            platform::regDelete(platform::Hive::LocalMachine, std::string("SOFTWARE\\Autodesk\\3dsMax\\") + version, "Installdir");
        platform::regDelete(platform::Hive::LocalMachine, "SOFTWARE\\Autodesk\\3dsMaxDesign\\27.0", "Installdir");
    }

    // Whole after it, without a word where it's so already; what somebody changed is kept with a date, what an earlier
    // version of the client laid down isn't.
    void laidDownRepairedRemoved()
    {
        QDir().mkpath(at("appdata/SketchUp/2021/SketchUp"));
        PluginPlace sketch = place("SketchUp 2021");
        const QString folder = sketch.folder, script = folder + "/Vandrel_UI.rb", part = folder + "/Vandrel_UI/main.rb";
        const QDate day(2026, 11, 21);
        QCOMPARE(int(sketch.state), int(PluginPlace::Missing));
        QCOMPARE(PluginPlaces::install(sketch, day), QString());
        QCOMPARE(int(place("SketchUp 2021").state), int(PluginPlace::Installed));
        QCOMPARE(bytes(folder + "/Vandrel_UI/port.txt"), QByteArray("46161\n"));
        QVERIFY(bytes(part).contains("UI.menu"));
        QFile::remove(part);
        QCOMPARE(int(place("SketchUp 2021").state), int(PluginPlace::Damaged));
        write(script, "mine");
        QCOMPARE(PluginPlaces::install(sketch, day), QString());
        QCOMPARE(bytes(script + ".2026-11-21.bak"), QByteArray("mine"));
        write(script, "mine again");
        QCOMPARE(PluginPlaces::install(sketch, day), QString());
        QCOMPARE(bytes(script + ".2026-11-21.bak.1"), QByteArray("mine again"));
        QCOMPARE(bytes(script + ".2026-11-21.bak"), QByteArray("mine"));
        PluginPlace newer = sketch; // the client has been updated since
        newer.files = {{{}, "Vandrel_UI.rb", "newer"}};
        QCOMPARE(PluginPlaces::install(newer, day), QString());
        QCOMPARE(bytes(script), QByteArray("newer"));
        QVERIFY(!QFileInfo::exists(script + ".2026-11-21.bak.2"));
        write(folder + "/another.rb");
        QCOMPARE(PluginPlaces::remove(sketch, day), QString());
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(' '),
                 QString("another.rb Vandrel_UI.rb.2026-11-21.bak Vandrel_UI.rb.2026-11-21.bak.1"));
    }
    void oldMaxScripts()
    {
        for (const auto &[year, version, old, other] :
             Rows<QString, std::string, QString, QString>{{"2011", "13.0\\MAX-1:409", "o_RegisterMenu.ms", "RegisterMenu.ms"},
                                                          {"2016", "18.0", "RegisterMenu.ms", "o_RegisterMenu.ms"}}) {
            const QString start = max("3dsMax", version.c_str(), "3ds Max " + year);
            write(start + '/' + old);
            write(start + '/' + other);
            m_machine.clientPort = 50000;
            QCOMPARE(PluginPlaces::install(place("3ds Max " + year)), QString());
            QVERIFY(!QFileInfo::exists(start + '/' + old) && QFileInfo::exists(start + '/' + other));
            QVERIFY(bytes(start + "/vandrelMenu.ini").contains("port=50000"));
            platform::regDelete(platform::Hive::LocalMachine, "SOFTWARE\\Autodesk\\3dsMax\\" + version, "Installdir");
        }
    }
    void cantBeWritten()
    {
        QDir().mkpath(at("documents/maya/2020"));
        write(at("documents/maya/2020/modules"), "a file where a folder should be");
        const PluginPlace maya = place("Maya 2020");
        QVERIFY(!maya.writable && PluginManager::stateText(maya).contains("没有写入权限"));
        QVERIFY(PluginPlaces::install(maya).contains("vandrel.mod"));
        PluginPlace gone = maya; // the program's own copy is missing
        gone.folder = at("elsewhere");
        gone.files = {{at("no/source.py"), "source.py", {}}};
        QVERIFY(PluginPlaces::install(gone).contains("source.py"));
        QVERIFY(!QFileInfo::exists(at("elsewhere/source.py")));
    }

    // The page, by its buttons, on this system's own folders.
    void page()
    {
        const QString user = QDir::homePath() + "/maya/2024";
        QDir().mkpath(user);
        QVERIFY(QFile::link(m_machine.scripts, at("scripts")));
        UserInfo::setProgramDir(m_dir->path());
        PluginManager page;
        page.resize(900, 400);
        page.show();
        RecordModelBase *rows = page.table()->view()->records();
        const auto state = [&] { return rows->index(0, 1).data().toString(); };
        const auto act = [&](const char *id) {
            page.table()->view()->select(rows->keys());
            QAction *action = page.table()->acts()->action(id);
            return action->isEnabled() ? action->trigger(), true : false;
        };
        QTRY_COMPARE(state(), QString("未安装"));
        QVERIFY(!act("repair") && act("install"));
        QTRY_COMPARE(state(), QString("已安装"));
        QCOMPARE(bytes(user + "/modules/vandrel/scripts/vandrel_port.txt").trimmed(), QByteArray::number(UserInfo::clientPort()));
        write(user + "/modules/vandrel/scripts/userSetup.py", "mine");
        page.refresh();
        QTRY_COMPARE(state(), QString("需要修复"));
        page.repairPlugin();
        QTRY_COMPARE(state(), QString("已安装"));
        QVERIFY(act("remove"));
        QTRY_VERIFY(message().contains("1 个插件"));
        QVERIFY(answer("确定"));
        QTRY_COMPARE(state(), QString("未安装"));
        QVERIFY(!QFileInfo::exists(user + "/modules/vandrel.mod"));
        QVERIFY(QDir(QDir::homePath() + "/maya").removeRecursively());
    }
};

VN_TEST(TestPlugins)
#include "tst_plugins.moc"
