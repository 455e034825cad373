#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "resolve/BatchFile.h"
#include "resolve/C4DPlugin.h"
#include "resolve/C4DResolve.h"
#include "resolve/ClarisseResolve.h"
#include "resolve/MaxVersion.h"
#include "resolve/SoftwareFinder.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <sys/stat.h>

class TestSoftware : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString put(const QString &name, const QByteArray &content = "x") const
    {
        const QString path = m_dir.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        file.open(QFile::WriteOnly);
        file.write(content);
        return path;
    }
    static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void initTestCase()
    {
        UserInfo::init({});
        UserInfo::initUser({{"userId", 32}});
    }
    void cleanupTestCase() { UserInfo::clearCache(); }

    void maxStamps_data()
    {
        columns<QString, int, int, QString>("year", "early", "late",
                                            "outcome"); // early: byte at 0x3000, -1: the file ends before it; late: at 0x5000
        const auto row = [](const QByteArray &year, int early, int late, const char *outcome) {
            addRow(qPrintable(QStringLiteral("%1 %2 %3").arg(QString::fromUtf8(year)).arg(early, 0, 16).arg(late, 0, 16)),
                   QString::fromUtf8(year), early, late, outcome);
        };
        const int highest[] = {0x12, 0x13, 0x14, 0x17, 0x19, 0x20, 0x21, 0x22, 0x23, 0x24, 0x25};
        for (int year = 2010; year <= 2020; ++year) {
            const QByteArray text = QByteArray::number(year);
            const int stamp = highest[year - 2010], early = year <= 2011 ? stamp : 0xFE, late = year <= 2011 ? 0 : stamp;
            row(text, early, late, "matched");
            row(text, year <= 2011 ? stamp + 1 : 0xFE, stamp + 1, "10033");
            row(text, year <= 2011 ? 0x1F : 0xFE, 0x1F, "matched");
            row(text, 0xFE, 0xFF, "10033"); // read, not failed to read
            row(text, year <= 2012 ? -1 : 0, -1, "10031");
        }
        row("2012", 0x14, 0x40, "matched");
        row("2009", 0, 0, "10030");
        row("2021", 0, 0, "10030");
        row("", 0, 0, "10030");
    }
    void maxStamps()
    {
        FETCH(QString, year, int, early, int, late);
        QByteArray scene(early < 0 ? 0x3000 : late < 0 ? 0x5000 : 0x5001, '\0');
        if (early >= 0)
            scene[0x3000] = char(early);
        if (late >= 0)
            scene[0x5000] = char(late);
        QTEST(MaxVersion::isVersionMatched(year, put("s.max", scene)), "outcome");
        QCOMPARE(MaxVersion::isVersionMatched("2016", m_dir.filePath("absent.max")), QString("10032"));
        if (!QFileInfo::exists(m_dir.filePath("pipe.max")))
            QCOMPARE(::mkfifo(QFile::encodeName(m_dir.filePath("pipe.max")).constData(), 0600), 0);
        QCOMPARE(MaxVersion::isVersionMatched("2016", m_dir.filePath("pipe.max")), QString("10032"));
    }

    void realMaxFiles()
    {
        if (sceneFolder().isEmpty())
            QSKIP("no real scenes on this machine");
        const QJsonObject all = QJsonDocument::fromJson(content(sceneFolder() + "/expected.json")).object()["max"].toObject();
        QVERIFY(all.size() >= 12);
        for (auto it = all.begin(); it != all.end(); ++it) {
            const QJsonObject outcomes = it.value().toObject()["outcome_negative_never_passes"].toObject();
            for (auto year = outcomes.begin(); year != outcomes.end(); ++year) {
                // A byte that was really there is never a failure to read it.
                const QString expected = year.value().toString() == "matched" ? "matched" : "10033";
                QVERIFY2(MaxVersion::isVersionMatched(year.key(), sceneFolder() + '/' + it.key()) == expected,
                         qPrintable(it.key() + ' ' + year.key()));
            }
        }
    }

    void usualFolders_data()
    {
        columns<QString, QString, QString>("kind", "version", "program"); // program: empty: none is found
        addRow("maya", "maya", "2016", "/usr/autodesk/maya2016/bin/mayabatch");
        addRow("maya, fast", "fast", "2016", "/usr/autodesk/maya2016/bin/mayapy");
        addRow("maya of other name", "maya", "2014", "/usr/autodesk/maya2014-x64/bin/maya");
        addRow("maya, not a part of a number", "maya", "201", "");
        addRow("houdini", "houdini", "17.5.460", "/opt/hfs17.5.460/bin/hython");
        addRow("houdini, newest build", "houdini", "17.5", "/opt/hfs17.5.1000/bin/hython");
        addRow("houdini absent", "houdini", "17", "/opt/hfs17.5.1000/bin/hython");
        addRow("houdini, other", "houdini", "7.5", "");
        addRow("c4d", "c4d", "21", "/opt/maxon/cinema4dr21.207/bin/Commandline");
        addRow("c4d of a year", "c4d", "2023", "/opt/maxon/cinema4d2023/bin/Commandline");
        addRow("c4d, not a year's end", "c4d", "23", "");
        addRow("clarisse", "clarisse", "CLARISSE 4.0", "/opt/isotropix/clarisse/4.0_sp3/clarisse/cnode");
        addRow("clarisse, other", "clarisse", "CLARISSE 3.0", "");
        addRow("no version", "maya", "", "");
    }
    void usualFolders()
    {
        for (const char *name : {"usr/autodesk/maya2016/bin/mayabatch", "usr/autodesk/maya2014-x64/bin/maya", "opt/hfs17.5.460/bin/hython",
                                 "opt/hfs17.5.1000/bin/hython", "opt/maxon/cinema4dr21.207/bin/Commandline",
                                 "opt/maxon/cinema4d2023/bin/Commandline", "opt/isotropix/clarisse/4.0_sp3/clarisse/cnode"})
            put(name);
        FETCH(QString, kind, QString, version);
        const QString root = m_dir.path();
        const SoftwareFinder::Installation one = kind == "houdini"    ? SoftwareFinder::houdini("h", version, root)
                                                 : kind == "c4d"      ? SoftwareFinder::cinema4D("c", version, root)
                                                 : kind == "clarisse" ? SoftwareFinder::clarisse("l", version, root)
                                                                      : SoftwareFinder::maya("m", version, kind == "fast", root);
        QFETCH(QString, program);
        QCOMPARE(one.program, program.isEmpty() ? QString() : root + program);
    }

    void registryAndChoice()
    {
        const auto set = [](const QByteArray &key, const char *name, const QString &value) {
            QVERIFY(platform::regSet(platform::Hive::LocalMachine, key.toStdString(), name, value.toStdString()));
        };
        const QByteArray uninstall = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
        put("reg/maya/bin/mayabatch");
        put("reg/max/3dsmax");
        put("reg/c4d/Commandline");
        put("reg/clarisse/cnode");
        set("SOFTWARE\\Autodesk\\Maya\\2018\\Setup\\InstallPath", "MAYA_INSTALL_LOCATION", m_dir.filePath("reg/maya/"));
        set("SOFTWARE\\Autodesk\\3dsMaxDesign\\14.0\\MAX-1:409", "Installdir", m_dir.filePath("reg/max/"));
        set(uninstall + "MAXON1", "DisplayName", "Cinema 4D 20");
        set(uninstall + "MAXON1", "DisplayVersion", "20.059");
        set(uninstall + "MAXON1", "InstallLocation", m_dir.filePath("reg/c4d"));
        set(uninstall + "Clarisse IFX 3.6 SP2", "DisplayIcon", '"' + m_dir.filePath("reg/clarisse/clarisse.exe") + '"');
        QCOMPARE(SoftwareFinder::maya("maya2018", "2018", false).program, m_dir.filePath("reg/maya/bin/mayabatch"));
        QCOMPARE(SoftwareFinder::max("3ds max 2012", "2012").program, m_dir.filePath("reg/max/3dsmax"));
        QVERIFY(!SoftwareFinder::max("3ds max 2011", "2011").found());
        QCOMPARE(SoftwareFinder::cinema4D("cinema 4d r20", C4DResolve::version("cinema 4d r20")).program,
                 m_dir.filePath("reg/c4d/Commandline"));
        QVERIFY(!SoftwareFinder::cinema4D("c", C4DResolve::version("cinema 4d 2020")).found());
        QCOMPARE(SoftwareFinder::clarisse("l", ClarisseResolve::version("ifx 3.6 sp2")).program, m_dir.filePath("reg/clarisse/cnode"));
        QCOMPARE(ClarisseResolve::version("clarisse"), QString("clarisse"));
        // What the user set comes before; a path that names nothing doesn't.
        UserInfo::setAllValue("SoftwarePath", "Maya2018", put("own/bin/maya.sh"));
        QCOMPARE(SoftwareFinder::maya("maya2018", "2018", false).program, m_dir.filePath("own/bin/maya.sh"));
        QCOMPARE(SoftwareFinder::maya("maya2018", "2018", true).program, m_dir.filePath("own/bin/mayapy"));
        QCOMPARE(SoftwareFinder::maya("maya2018", "2018", true).folder, m_dir.filePath("own"));
        UserInfo::setAllValue("SoftwarePath", "Maya2018", "C:\\gone\\maya.exe");
        QCOMPARE(SoftwareFinder::maya("maya2018", "2018", false).program, m_dir.filePath("reg/maya/bin/mayabatch"));
    }

    void batchText()
    {
        for (const bool windows : {true, false}) {
            BatchFile batch(windows);
            batch.set("v", "C:\\50% & x");
            batch.run({"C:\\p q\\m.exe", "-q", "100%.max"});
            batch.show("log's");
            QCOMPARE(batch.text(), windows ? QByteArray("set v=C:\\50%% ^& x\r\n\"C:\\p q\\m.exe\" -q \"100%%.max\"\r\ntype \"log's\"\r\n")
                                           : QByteArray("export v='C:\\50% & x'\n'C:\\p q\\m.exe' -q '100%.max'\ncat 'log'\\''s'\n"));
        }
        QVERIFY(BatchFile(false).write(m_dir.filePath("no/such/folder")).isEmpty());
    }

    void plugin()
    {
        put("src/vandrel/vcmain.pyp", "new");
        put("src/lib/libmmd.dll", "dll");
        put("src/readme.txt");
        const QString folder = m_dir.filePath("c4d");
        put("c4d/plugins/vandrel/vcmain.pyp", "old");
        QVERIFY(C4DPlugin::install(m_dir.filePath("src"), folder).isEmpty());
        QCOMPARE(content(folder + "/plugins/vandrel/vcmain.pyp") + content(folder + "/libmmd.dll"), QByteArray("newdll"));
        QVERIFY(!QFileInfo::exists(folder + "/plugins/readme.txt"));
        const QDateTime before = QFileInfo(folder + "/libmmd.dll").lastModified();
        QVERIFY(C4DPlugin::install(m_dir.filePath("src"), folder).isEmpty()); // the same isn't copied again
        QCOMPARE(QFileInfo(folder + "/libmmd.dll").lastModified(), before);
        // A folder that can't be written to: what stays to be done is told.
        const QJsonArray left = C4DPlugin::install(m_dir.filePath("src"), put("a file"));
        QCOMPARE(left.size(), 2);
        QVERIFY(left.contains(QJsonObject{{"src", m_dir.filePath("src/lib/libmmd.dll")}, {"dest", m_dir.filePath("a file/libmmd.dll")}}));
    }
};
VN_TEST(TestSoftware)
#include "tst_software.moc"
