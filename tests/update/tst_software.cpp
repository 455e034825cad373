// Updates of software from the farm's list to the files in their places, through the child and the windows.
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "Farm.h"
#include "package/FileInstall.h"
#include "package/PackageWriter.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/Startup.h"
#include "view/update/CVersionManager.h"
#include "view/update/SoftwareProgressBar.h"
#include "view/update/SoftwareUpdateManager.h"
#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QSettings>

class TestSoftware : public QObject
{
    Q_OBJECT
    const PackageWriter::Key m_key = PackageWriter::makeKey(QByteArray(64, '1'));
    Farm m_farm;
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_feed, m_program, m_folder;
    QWidget m_over;

    static void put(const QString &path, const QByteArray &text)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
    }
    static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    // A package of scripts on the list, as a studio puts it there.
    bool release(const QString &version, const QStringList &with = {}, const QByteArray &seed = QByteArray(64, '1'))
    {
        const PackageWriter::Key key = PackageWriter::makeKey(seed);
        put(m_home->filePath("key.json"),
            QJsonDocument(QJsonObject{{"public", QString::fromLatin1(key.publicHex)}, {"secret", QString::fromLatin1(key.secretHex)}})
                .toJson());
        put(m_home->filePath("in/scripts/maya/new.py"), version.toUtf8());
        put(m_home->filePath("in/readme.txt"), "of the package");
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const QString &one : with)
            env.insert(one.section('=', 0, 0), one.section('=', 1));
        process.setProcessEnvironment(env);
        process.start(VN_SOURCE_DIR "/tools/release.sh", {"software", m_home->filePath("key.json"), m_feed, "linux", version,
                                                          m_home->filePath("in"), "maya_scripts", "Maya 分析脚本"});
        return process.waitForFinished() && process.exitCode() == 0;
    }
    std::unique_ptr<SoftwareUpdateManager> looked()
    {
        auto manager = std::make_unique<SoftwareUpdateManager>(SoftwareUpdateManager::Places{m_program, m_folder, m_key.publicHex});
        manager->setWindow([this] { return &m_over; });
        QSignalSpy over(manager.get(), &SoftwareUpdateManager::looked);
        manager->start("prod");
        if (over.isEmpty() && !over.wait(Patience))
            return {};
        return manager;
    }
    template <class Window> Window *window() const
    {
        const QList<Window *> all = m_over.findChildren<Window *>();
        return all.isEmpty() ? nullptr : all.last();
    }
    static void press(QWidget *in, const char *button)
    {
        auto *one = in->findChild<QPushButton *>(button);
        QVERIFY(one && one->isVisible() && one->isEnabled());
        QTest::mouseClick(one, Qt::LeftButton);
    }
    static QString text(QWidget *in, const char *label) { return in->findChild<QLabel *>(label)->text(); }

private slots:
    void initTestCase()
    {
        FarmOptions options;
        m_feed = testHome() + "/feed";
        options.dir = testHome() + "/farm";
        options.businessPort = options.httpPort = 0;
        options.feedDir = m_feed;
        QVERIFY2(m_farm.start(options), qPrintable(m_farm.error()));
        Startup::applyStyle();
        m_over.resize(960, 540);
        m_over.show();
    }
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QDir(m_feed).removeRecursively();
        m_program = m_home->filePath("program");
        m_folder = m_home->filePath("softwares/1");
        put(m_program + "/service.ini", "[server]\nupdate=http://127.0.0.1:" + QByteArray::number(m_farm.ports().http) + "\n");
        put(m_program + "/readme.txt", "of the program");
        put(m_program + "/scripts/maya/new.py", "old");
        QVERIFY(QFile::copy(QCoreApplication::applicationDirPath() + "/software_upgrade", m_program + "/software_upgrade"));
    }
    void cleanup()
    {
        qDeleteAll(m_over.findChildren<BaseWidget *>(QString(), Qt::FindDirectChildrenOnly));
        Background::finish();
    }

    void wholeRoad()
    {
        QVERIFY(release("1.0.0.2", {"ACTIONS=[{\"cmd\": \"touch \\\"was run\\\"\"}, \"restart app\"]", "NOTES=支持 Maya 2025 的新材质"}));
        // What lies in the user's folder is never run.
        QSettings ini(SoftwareState::file(m_folder), QSettings::IniFormat);
        ini.setValue("versions", "[{\"softwareId\":\"maya_scripts\",\"version\":\"1.0.0.2\",\"package\":\"x\",\"actions\":"
                                 "[{\"cmd\":\"touch evil\"},\"restart self\"]}]");
        ini.setValue("currentversions", "[{\"softwareId\":\"maya_scripts\",\"version\":\"1.0.0.1\",\"updatetime\":\"2026-01-01\"}]");
        ini.sync();
        auto manager = looked();
        QVERIFY(manager);
        QTRY_VERIFY(window<CVersionManager>() && window<CVersionManager>()->isVisible());
        press(window<CVersionManager>(), "UpdateBtn");
        QTRY_VERIFY(window<SoftwareProgressBar>());
        auto *bar = window<SoftwareProgressBar>();
        QSignalSpy success(bar, &SoftwareProgressBar::updatesuccess);
        QVERIFY2(success.wait(Patience), qPrintable(bar->error()));
        QCOMPARE(text(bar, "updateText"), QString("更新完成,重启客户端"));
        QCOMPARE(content(m_program + "/scripts/maya/new.py"), QByteArray("1.0.0.2"));
        QCOMPARE(content(m_program + "/readme.txt"), QByteArray("of the program"));
        QVERIFY(QFileInfo::exists(m_program + "/was run") && !QFileInfo::exists(m_program + "/evil"));
        const SoftwareState state = SoftwareState::read(m_folder);
        QCOMPARE(state.current.value("maya_scripts").version, QString("1.0.0.2"));
        QCOMPARE(state.current.value("maya_scripts").updatetime, QDate::currentDate().toString("yyyy-MM-dd"));
        QVERIFY(state.versions.isEmpty());
        QVERIFY(QDir(m_folder + "/packages").isEmpty());
        QTimer::singleShot(0, bar, [bar] { press(bar, "updateBtn"); });
        QCOMPARE(qApp->exec(), 773);
        // It is here now: nobody is asked again.
        manager = looked();
        QVERIFY(manager && manager->state().updates().isEmpty() && !window<CVersionManager>());
    }

    void nothingOffered_data()
    {
        columns<QString>("how");
        for (const char *how :
             {"signed by another", "changed", "expired", "no list", "no server", "no child", "a child that prints rubbish"})
            addRow(how, QString(how));
    }
    void nothingOffered()
    {
        QFETCH(QString, how);
        QVERIFY(release("1.0.0.2", {how == "expired" ? "DAYS=-1" : "DAYS=1"}, QByteArray(64, how == "signed by another" ? '2' : '1')));
        const QString list = m_feed + "/feed/linux/prod.json";
        if (how == "changed")
            put(list, content(list).replace("1.0.0.2", "1.0.0.3"));
        if (how == "no list")
            QFile::remove(list);
        if (how == "no server")
            put(m_program + "/service.ini", "[server]\nupdate=http://127.0.0.1:1\n");
        if (how == "no child" || how.startsWith("a child"))
            QFile::remove(m_program + "/software_upgrade");
        if (how.startsWith("a child")) {
            put(m_program + "/software_upgrade",
                "#!/bin/sh\necho '[{'; echo '{\"success\": true, \"versions\": [1, {\"softwareId\": \"../x\"}]}'\n");
            QFile::setPermissions(m_program + "/software_upgrade", QFile::ReadOwner | QFile::ExeOwner);
        }
        auto manager = looked();
        QVERIFY(manager && manager->state().updates().isEmpty() && !window<CVersionManager>());
        QVERIFY2(!window<MsgBox>(), "a look that nobody asked for is silent");
        manager->ask();
        QTRY_VERIFY(window<MsgBox>());
        const QString said = window<MsgBox>()->text();
        QVERIFY2(said.startsWith(how.startsWith("a child") ? "软件都是最新版本" : "没有取得更新列表：") && said.size() > 7,
                 qPrintable(said));
        QVERIFY2(how != "signed by another" || said.contains("isn't signed by a known key"), qPrintable(said));
    }
    // Betas alone bring no window; who asks sees them.
    void betasByHand()
    {
        QVERIFY(release("1.1.0.0", {"TYPE=1"}));
        auto manager = looked();
        QVERIFY(manager && !window<CVersionManager>());
        manager->ask();
        QTRY_VERIFY(window<CVersionManager>() && window<CVersionManager>()->isVisible());
        QVERIFY(window<CVersionManager>()->findChild<QCheckBox *>("betas")->isChecked());
        SoftwareUpdateManager keyless({m_program, m_folder, {}});
        keyless.setWindow([this] { return &m_over; });
        keyless.ask();
        QVERIFY(window<MsgBox>()->text().contains("密钥"));
    }

    // What can't be installed is told, changes nothing, and comes with another try.
    void faultyPackage_data()
    {
        columns<QString, QString>("how", "sentence");
        addRow("cut", "cut", "isn't an archive, or was cut");
        addRow("signed by another", "other", "isn't signed by a known key");
        addRow("of another software", "else", "holds something else");
        addRow("behind a link", "link", "is a link");
    }
    void faultyPackage()
    {
        FETCH(QString, how, QString, sentence);
        const QString file = m_feed + "/packages/linux/maya_scripts-1.0.0.2.vnp";
        QVERIFY(release("1.0.0.2"));
        const QByteArray good = content(file);
        QJsonObject head{{"program", "software"},
                         {"platform", "linux"},
                         {"version", "1.0.0.2"},
                         {"softwareId", how == "else" ? "houdini" : "maya_scripts"}};
        QString why;
        if (how == "cut")
            put(file, good.left(good.size() / 2));
        else if (how != "link")
            QVERIFY(PackageWriter::pack(m_home->filePath("in"), head, {}, how == "other" ? PackageWriter::makeKey() : m_key, file, &why));
        if (how == "link") {
            QVERIFY(QDir().rename(m_program + "/scripts", m_home->filePath("elsewhere")));
            QVERIFY(QFile::link(m_home->filePath("elsewhere"), m_program + "/scripts"));
        }
        // The list tells its size, and no more is fetched.
        QVERIFY(QFileInfo(file).size() <= good.size() + 2000);
        auto manager = looked();
        QTRY_VERIFY(manager && window<CVersionManager>());
        press(window<CVersionManager>(), "UpdateBtn");
        QTRY_VERIFY(window<SoftwareProgressBar>());
        auto *bar = window<SoftwareProgressBar>();
        QTRY_VERIFY(!bar->error().isEmpty());
        QVERIFY2(bar->error().contains(sentence) || bar->error().contains("no room"), qPrintable(bar->error()));
        QCOMPARE(content(m_program + "/scripts/maya/new.py"), QByteArray("old"));
        QVERIFY(SoftwareState::read(m_folder).current.isEmpty());
        put(file, good);
        if (how == "link") {
            QFile::remove(m_program + "/scripts");
            QVERIFY(QDir().rename(m_home->filePath("elsewhere"), m_program + "/scripts"));
        }
        QSignalSpy success(bar, &SoftwareProgressBar::updatesuccess);
        press(bar, "updateBtn");
        QVERIFY2(success.wait(Patience), qPrintable(bar->error()));
        QCOMPARE(text(bar, "updateText"), QString("更新完成"));
        QCOMPARE(content(m_program + "/scripts/maya/new.py"), QByteArray("1.0.0.2"));
    }

    // A client that died while files went into their places.
    void finishedAtTheNextStart()
    {
        SoftwareUpdateManager manager({m_program, m_folder, m_key.publicHex});
        put(manager.journal(), "{\"step\":\"commit\",\"folder\":\"" + m_program.toUtf8() + "\",\"paths\":[\"scripts/maya/new.py\"]}");
        put(m_program + "/scripts/maya/new.py.vnnew", "new");
        QVERIFY(looked());
        QCOMPARE(content(m_program + "/scripts/maya/new.py"), QByteArray("new"));
        QVERIFY(!QFileInfo::exists(m_program + "/scripts/maya/new.py.vnnew"));
    }

    void forcedOne()
    {
        QVERIFY(release("1.0.0.2", {"FORCE=1"}) && release("1.1.0.0", {"TYPE=1", "FORCE=1"}));
        auto manager = looked();
        QTRY_VERIFY(manager && window<CVersionManager>());
        QSignalSpy later(window<CVersionManager>(), &CVersionManager::putOff);
        press(window<CVersionManager>(), "laterBtn");
        QCOMPARE(later.size(), 1);
        Background::finish();
        // Its day is over.
        SoftwareState state = SoftwareState::read(m_folder);
        QCOMPARE(state.forcedSince.keys(), QStringList{"maya_scripts/1.0.0.2"});
        state.forcedSince["maya_scripts/1.0.0.2"] -= SoftwareState::PutOffMs;
        QVERIFY(state.write(m_folder));
        qDeleteAll(m_over.findChildren<DialogFrame *>());
        manager = looked();
        QTRY_VERIFY(manager && window<CVersionManager>());
        auto *must = window<CVersionManager>();
        QVERIFY(!must->findChild<QPushButton *>("laterBtn") && !must->error().isEmpty());
        QTest::keyClick(must, Qt::Key_Escape);
        QVERIFY(!must->close() && must->isVisible());
        // The beta stays out of sight, and isn't taken for the release; leaving the release out isn't possible.
        QCOMPARE(must->chosen().value(0).version, QString("1.0.0.2"));
        QTest::mouseClick(must->findChild<QCheckBox *>("betas"), Qt::LeftButton);
        QCOMPARE(must->chosen().value(0).version, QString("1.0.0.2"));
        QCheckBox *release = nullptr;
        for (QCheckBox *box : must->findChildren<QCheckBox *>())
            release = box->text() == "1.0.0.2" ? box : release;
        QVERIFY(release);
        QTest::mouseClick(release, Qt::LeftButton);
        QVERIFY(must->chosen().isEmpty() && !must->findChild<QPushButton *>("UpdateBtn")->isEnabled());
    }

    void whatIsOffered_data()
    {
        columns<bool, QString, QStringList>("all", "have", "updates");
        addRow("complete: what isn't on it goes", true, "", QStringList{"a 1.0.0.2"});
        addRow("not complete: what was known stays", false, "", QStringList{"b 2.0.0.0", "a 1.0.0.2"});
        addRow("the installed one is dropped", true, "1.0.0.2", QStringList{});
        addRow("an older one would be refused", true, "1.0.0.10", QStringList{});
        addRow("a version that says nothing is replaced", true, "beta", QStringList{"a 1.0.0.2"});
    }
    void whatIsOffered()
    {
        FETCH(bool, all, QString, have);
        const auto offer = [](const QString &id, const QString &version) {
            return SoftwareOffer::fromJson({{"softwareId", id}, {"version", version}, {"package", "p"}});
        };
        SoftwareState state;
        state.versions = {offer("b", "2.0.0.0")};
        if (!have.isEmpty())
            state.current.insert("a", {have, {}});
        state.offer({offer("a", "1.0.0.2")}, all, 1000);
        QVERIFY(state.write(m_home->path()));
        QStringList found;
        for (const SoftwareOffer &one : SoftwareState::read(m_home->path()).updates())
            found << one.softwareId + ' ' + one.version;
        QTEST(found, "updates");
    }
};

VN_TEST(TestSoftware)
#include "tst_software.moc"
