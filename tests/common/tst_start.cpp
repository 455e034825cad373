#include "common/HelperModes.h"
#include "common/Housekeeping.h"
#include "common/LinkScheme.h"
#include "common/RunMode.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonDocument>

namespace
{
void make(const QString &path, const QByteArray &content = "x")
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
}
} // namespace

class TestStart : public QObject
{
    Q_OBJECT
private slots:
    void runMode_data()
    {
        columns<QString, QString>("words", "seen"); // seen: kind, helper, instance check, skip update, silent, update word
        const auto row = [](const char *words, const char *seen) { addRow(words, QString(words), QString(seen)); };
        row("", "0 0 1 0 0 prod");
        row("delay", "0 0 1 0 0 prod");
        row("notupdate -silent", "0 0 1 1 1 prod");
        row("delay test", "0 0 1 0 0 test");
        row("x slave", "0 0 0 0 0 prod");
        row("slaveAlone x", "0 0 1 0 0 x");
        row("win7", "1 1 0 0 0 prod");
        row("c4dcopy", "2 1 0 0 0 prod");
        row("maxcopy", "2 1 1 0 0 prod");
        row("unitycopy", "2 1 1 0 0 prod");
        row("runReg set a b", "3 1 0 0 0 set");
        row("netshadd []", "4 1 0 0 0 []");
        row("netshdelete", "5 1 0 0 0 prod");
        row("-resolve", "6 0 0 0 0 prod");
        row("x netshadd", "0 0 1 0 0 prod");
        row("C4DCOPY -Silent", "0 0 1 0 0 -Silent");
    }
    void runMode()
    {
        QFETCH(QString, words);
        const RunMode mode = RunMode::of(QStringList{"client"} + words.split(' ', Qt::SkipEmptyParts));
        QTEST(QString("%1 %2 %3 %4 %5 %6")
                  .arg(mode.kind)
                  .arg(mode.isHelper())
                  .arg(mode.checkInstance)
                  .arg(mode.skipUpdate)
                  .arg(mode.silent)
                  .arg(mode.updateWord),
              "seen");
        QCOMPARE(mode.bare, words.isEmpty());
        QCOMPARE(mode.delay, words.startsWith("delay"));
    }

    void links()
    {
        for (const auto &[link, task] : Rows<QString, int>{{"vandrel://task/123", 123},
                                                           {"VANDREL://Task/7/\n", 7},
                                                           {"vandrel://task/0", 0},
                                                           {"vandrel://task/99999999999", 0},
                                                           {"vandrel://task/1?x", 0},
                                                           {"vandrel://task/../1", 0},
                                                           {"vandrel:task/1", 0},
                                                           {"http://task/1", 0},
                                                           {"", 0}})
            QCOMPARE(LinkScheme::task(link), task);
        const QStringList words{"client", "vandrel://task/7", "slaveAlone", "-silent"}; // what stands behind it, a page may have written
        QCOMPARE(RunMode::trusted(words).size(), 2);
        QCOMPARE(RunMode::of(RunMode::trusted(words)).link, words[1]);
        QCOMPARE(RunMode::trusted({"client", "x", "slave"}).size(), 3);
        QVERIFY(RunMode::of({"client", "x"}).link.isEmpty());
        const QString odd = "/opt/a \"b\" $c\\d 100%/VandrelQN";
        QVERIFY2(LinkScheme::desktopEntry(odd).contains("Exec=\"/opt/a \\\\\"b\\\\\" \\\\$c\\\\\\\\d 100%%/VandrelQN\" %u\n"),
                 qPrintable(LinkScheme::desktopEntry(odd)));
        const QString entry = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation) + "/vandrelqn-links.desktop";
        QVERIFY(entry.startsWith(testHome()) && LinkScheme::announce("/opt/old") && LinkScheme::announce("/opt/new"));
        QFile file(entry);
        QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll().contains("Exec=\"/opt/new\" %u\n"));
        if (const QString check = QStandardPaths::findExecutable("desktop-file-validate"); !check.isEmpty())
            QCOMPARE(QProcess::execute(check, {entry}), 0);
    }

    void updateAnswer()
    {
        for (const char *newer : {"5.2.7.0", "5.1.0.0\r\n"})
            QVERIFY2(RunMode::updateWanted(newer, "5.2.6.0"), newer);
        for (const char *none : {"5.2.6.0", "", "5.2.6", "5.2.6.0.1", "<a>.b.c.d", "5.2.7.0\" & calc"})
            QVERIFY2(!RunMode::updateWanted(none, "5.2.6.0"), none);
        QCOMPARE(RunMode::updateParameter("5.2.7.0\n", false, "h", 9), QString("5.2.7.0"));
        QCOMPARE(RunMode::updateParameter("5.2.7.0", true, "10.0.0.5", 8080), QString("\"-version 5.2.7.0\" \"-proxy 10.0.0.5 8080\""));
    }

    void copyPlan_data()
    {
        columns<QString, QString, QString, bool>("soft", "source", "target", "allowed");
        const auto row = [](const char *name, const char *soft, const char *source, const char *target, bool allowed) {
            addRow(name, QString(soft), QString(source), QString(target), allowed);
        };
        row("c4d plug-in", "c4d", "prog/scripts/c4d/vcmain.pyp", "c4d/plugins/new/vcmain.pyp", true);
        row("c4d library", "c4d", "prog/scripts/c4d/libmmd.dll", "c4d\\libmmd.dll", true);
        row("library elsewhere", "c4d", "prog/scripts/c4d/libmmd.dll", "c4d/plugins/libmmd.dll", false);
        row("other file name", "c4d", "prog/scripts/c4d/vcmain.pyp", "c4d/plugins/evil.pyp", false);
        row("no such software there", "c4d", "prog/scripts/c4d/vcmain.pyp", "other/plugins/vcmain.pyp", false);
        row("upwards", "c4d", "prog/scripts/c4d/vcmain.pyp", "c4d/plugins/../../other/vcmain.pyp", false);
        row("through a link", "c4d", "prog/scripts/c4d/vcmain.pyp", "c4d/plugins/out/vcmain.pyp", false);
        row("source of a stranger", "c4d", "other/vcmain.pyp", "c4d/plugins/vcmain.pyp", false);
        row("source upwards", "c4d", "prog/../other/vcmain.pyp", "c4d/plugins/vcmain.pyp", false);
        row("max menu", "max", "prog/scripts/max/vandrelMenu.ms", "max/scripts/startup/o_vandrelMenu.ms", true);
        row("max asked for c4d's", "max", "prog/scripts/c4d/vcmain.pyp", "c4d/plugins/vcmain.pyp", false);
        row("unknown software", "word", "prog/scripts/c4d/vcmain.pyp", "c4d/plugins/vcmain.pyp", false);
        row("unity", "unity", "prog/scripts/u.cs", "unity/Data/Vandrel/u.cs", true);
        row("unity elsewhere", "unity", "prog/scripts/u.cs", "unity/Data/u.cs", false);
    }
    void copyPlan()
    {
        FETCH(QString, soft, QString, source, QString, target);
        QTemporaryDir dir;
        for (const char *file :
             {"c4d/Cinema 4D.exe", "max/3dsmax.exe", "unity/Unity.exe", "prog/scripts/c4d/vcmain.pyp", "other/vcmain.pyp"})
            make(dir.filePath(file));
        QDir(dir.path()).mkpath("c4d/plugins");
        QVERIFY(QFile::link(dir.filePath("other"), dir.filePath("c4d/plugins/out")));
        const QJsonObject list{{"soft", soft},
                               {"copy", QJsonArray{QJsonObject{{"src", dir.filePath(source)}, {"dest", dir.filePath(target)}}}}};
        const auto plan = HelperModes::copyPlan(QJsonDocument(list).toJson(), dir.filePath("prog"));
        QTEST(plan.copies.size() == 1, "allowed");
        QCOMPARE(plan.copies.size() + plan.refused.size(), 1);
    }

    void copyReplacesFiles()
    {
        QTemporaryDir dir;
        const QString source = dir.filePath("prog/scripts/c4d/vcmain.pyp"), target = dir.filePath("c4d/plugins/vcmain.pyp");
        make(dir.filePath("c4d/CINEMA 4D.exe"));
        make(source, "new");
        make(target, "old");
        const QString foreign = dir.filePath("foreign");
        make(foreign, "stays");
        const QJsonArray copies{QJsonObject{{"src", source}, {"dest", target}}, QJsonObject{{"src", source}, {"dest", foreign}}, 7};
        make(dir.filePath("prog/c4dcopy"),
             QJsonDocument(QJsonObject{{"soft", "c4d"}, {"copy", copies}, {"copy2", QJsonArray{"a"}}}).toJson());
        QCOMPARE(HelperModes::copyFiles("c4dcopy", dir.filePath("prog")), 1);
        QCOMPARE(contentOf(target), QByteArray("new"));
        QCOMPARE(contentOf(foreign), QByteArray("stays"));
        QCOMPARE(HelperModes::copyFiles("maxcopy", dir.filePath("prog")), -1);
        // A program's folder that can't be written leaves the list in an account's folder, under the same checks.
        QVERIFY(QFile::rename(dir.filePath("prog/c4dcopy"), dir.filePath("c4dcopy")) && QFile::remove(target));
        QCOMPARE(HelperModes::copyFiles("c4dcopy", dir.filePath("prog")), -1);
        QCOMPARE(HelperModes::copyFiles("c4dcopy", dir.filePath("prog"), {dir.filePath("none"), dir.path()}), 1);
        QVERIFY(QFile::exists(target));
        QCOMPARE(contentOf(foreign), QByteArray("stays"));
    }

    void unityTreesAreCleared()
    {
        QTemporaryDir dir;
        make(dir.filePath("unity/Unity.exe"));
        make(dir.filePath("unity/Data/Vandrel/old.cs"));
        make(dir.filePath("mine/Vandrel/own.cs"));
        const QJsonArray trees{QJsonObject{{"dest", dir.filePath("unity/Data/Vandrel")}}, QJsonObject{{"dest", dir.filePath("unity/Data")}},
                               QJsonObject{{"dest", dir.filePath("mine/Vandrel")}}};
        make(dir.filePath("prog/unitycopy"), QJsonDocument(QJsonObject{{"soft", "unity"}, {"del", trees}}).toJson());
        QCOMPARE(HelperModes::copyFiles("unitycopy", dir.filePath("prog")), 0);
        QVERIFY(!QFileInfo::exists(dir.filePath("unity/Data/Vandrel")) && QFileInfo::exists(dir.filePath("unity/Data")));
        QVERIFY(QFileInfo::exists(dir.filePath("mine/Vandrel/own.cs")));
    }

    void runReg()
    {
        QVERIFY(HelperModes::runReg({"client", "runReg", "set", "VandrelQN", "\"/a/client\" delay"}));
        QCOMPARE(VFunc::autoStart("VandrelQN"), QString("/a/client delay"));
        QVERIFY(!HelperModes::runReg({"client", "runReg", "remove", "VandrelQN", "more"}));
        QVERIFY(!HelperModes::runReg({"client", "runReg", "set", "VandrelQN"}));
        QVERIFY(!HelperModes::runReg({"client", "runReg"}));
        QVERIFY(HelperModes::runReg({"client", "runReg", "remove", "VandrelQN"}));
        QCOMPARE(VFunc::autoStart("VandrelQN"), QString());
    }

    void netshCommand_data()
    {
        columns<bool, QStringList, QString>("add", "forward", "command");
        const QString start = "netsh interface portproxy %1 v4tov4 listenaddress=* listenport=%2 ";
        addRow("add", true, QStringList{"29909", "farm.local", "29909"},
               start.arg("add", "29909") + "connectaddress=farm.local connectport=29909");
        addRow("delete", false, QStringList{"29909"}, start.arg("delete", "29909"));
        addRow("port out of range", true, QStringList{"70000", "h", "1"}, "");
        addRow("no connect port", true, QStringList{"1", "h"}, "");
        addRow("words in a host", true, QStringList{"1", "h & calc", "2"}, "");
        addRow("option as a host", true, QStringList{"1", "-h", "2"}, "");
        addRow("empty", false, QStringList{}, "");
    }
    void netshCommand()
    {
        FETCH(bool, add, QStringList, forward);
        QTEST(HelperModes::netshCommand(add, forward), "command");
    }

    void oldVersionsGo()
    {
        QTemporaryDir dir;
        for (const char *file : {"5.2.6.0/client", "5.2.5.9/client", "10.0.0.1/x/y", "my.own.work.folder/file", "5.2.5/file",
                                 "VD-5.2.6.exe", "vd.txt", "elsewhere/file"})
            make(dir.filePath(file));
        QVERIFY(QFile::link(dir.filePath("elsewhere"), dir.filePath("1.2.3.4")));
        QVERIFY(QFile::link(dir.filePath("5.2.6.0"), dir.filePath("9.9.9.9")));
        QCOMPARE(Housekeeping::removeOldVersions(dir.filePath("9.9.9.9")), QStringList({"10.0.0.1", "5.2.5.9", "VD-5.2.6.exe"}));
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name),
                 QStringList({"1.2.3.4", "5.2.5", "5.2.6.0", "9.9.9.9", "elsewhere", "my.own.work.folder", "vd.txt"}));
        QVERIFY(QFileInfo::exists(dir.filePath("elsewhere/file")));
    }
};

VN_TEST(TestStart)
#include "tst_start.moc"
