#include "common/IniWriter.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <atomic>
#include <filesystem>
#include <thread>

namespace
{
const QJsonObject account{{"userId", 77},        {"feeUserId", 5}, {"leadId", 3},   {"leadIds", QJsonArray{3, 4}},
                          {"username", "a/b:c"}, {"hashType", 1},  {"userType", 2}, {"hashPrefix", "px"}};

QByteArray contentOf(const QString &path)
{
    IniWriter::flush();
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
}

// As a person would with an editor, behind the program's back.
void writeConfig(const QByteArray &text)
{
    IniWriter::flush();
    QFile file(UserInfo::allUserDir() + "/config.ini");
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}
} // namespace

class TestSettings : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        IniWriter::flush(); // of the test before
        VFunc::removeDir(testHome() + "/.local/share/VandrelQN");
        UserInfo::clearCache();
        UserInfo::init({"client"});
    }

    void defaultsAreWrittenOnce()
    {
        const QByteArray written = contentOf(UserInfo::allUserDir() + "/config.ini");
        QVERIFY(written.contains("isWan=WAN") && written.contains("clientPort=46160") && written.contains("Maya2014-example"));
        UserInfo::setAllValue("Transfer", "upTh", 3);
        UserInfo::init({"client"});
        QCOMPARE(UserInfo::upTh(), 3);
        QCOMPARE(UserInfo::allUserDir(), testHome() + "/.local/share/VandrelQN/AllUser");
        // What an earlier version left open to other users of the machine is closed.
        const QStringList kept{testHome() + "/.local/share/VandrelQN", UserInfo::allUserDir(), UserInfo::allUserDir() + "/config.ini"};
        const auto others = QFile::ReadGroup | QFile::ReadOther | QFile::ExeGroup | QFile::ExeOther;
        for (const QString &path : kept)
            QVERIFY(QFile::setPermissions(path, QFile::permissions(path) | others));
        UserInfo::init({"client"});
        for (const QString &path : kept)
            QVERIFY2(!(QFile::permissions(path) & others), qPrintable(path));
    }

    void startEmptiesTemp()
    {
        const QString old = UserInfo::tempDir() + "/deep/file";
        QVERIFY(QDir().mkpath(old));
        QVERIFY(QFile::link(testHome(), UserInfo::tempDir() + "/link"));
        UserInfo::init({"client"});
        QVERIFY(!QFileInfo::exists(UserInfo::tempDir() + "/deep"));
        QVERIFY(QFileInfo(UserInfo::tempDir()).isDir());
        QVERIFY(QFileInfo(testHome()).isDir());
    }

    void capsAreResetOnce()
    {
        UserInfo::setAllValue("Resolve", "caps", 0);
        UserInfo::init({"client"});
        QVERIFY(!UserInfo::caps());
        writeConfig("[Resolve]\ncaps=0\n");
        UserInfo::init({"client"});
        QVERIFY(UserInfo::caps());
    }

    void machineValues_data()
    {
        columns<QByteArray, QString>("file", "seen");
        const auto row = [](const char *name, const QByteArray &file, const QString &seen) { addRow(name, file, seen); };
        row("nothing", "", "Wan 10 10 46160 1  127.0.0.1");
        row("lan slave", "[Transfer]\nisWan=LAN\n[Server]\nrole=slave\nmaster=http://10.0.0.5:46160\n", "Lan 10 10 46160 1 slave 10.0.0.5");
        row("bare host", "[Server]\nrole=master\nmaster=10.0.0.5\n", "Wan 10 10 46160 1 master 10.0.0.5");
        row("empty host", "[Server]\nmaster=\n", "Wan 10 10 46160 1  127.0.0.1");
        row("out of range", "[Transfer]\nupTh=0\ndownTh=-4\n[Server]\nclientPort=70000\n[Resolve]\nthread=99\n",
            "Wan 10 10 46160 5  127.0.0.1");
        row("not numbers", "[Transfer]\nupTh=many\ndownTh=2, 3\n[Resolve]\nthread=\n", "Wan 10 10 46160 1  127.0.0.1");
        row("not a file of settings", QByteArray("\0\xff[[[=\n=\n]]", 11), "Wan 10 10 46160 1  127.0.0.1");
    }
    void machineValues()
    {
        FETCH(QByteArray, file, QString, seen);
        writeConfig(file);
        UserInfo::clearCache();
        QCOMPARE(QString("%1 %2 %3 %4 %5 %6 %7")
                     .arg(UserInfo::lanWan())
                     .arg(UserInfo::upTh())
                     .arg(UserInfo::downTh())
                     .arg(UserInfo::clientPort())
                     .arg(UserInfo::resolveThread())
                     .arg(UserInfo::role(), UserInfo::masterHost()),
                 seen);
        writeConfig("[SoftwarePath]\nMaya2018=\"C:/a b, c/mayabatch.exe\"\n");
        UserInfo::clearCache();
        QCOMPARE(UserInfo::softwarePath("maya2018"), QString("C:/a b, c/mayabatch.exe"));
        QCOMPARE(UserInfo::softwarePath("maya2019"), QString());
    }

    void pathCase_data()
    {
        columns<QString, int, bool, QString>("os", "caps", "force", "seen");
        addRow("kept", "windows", 1, false, "/A/渲b.TGA");
        addRow("forced", "windows", 1, true, "/a/渲b.tga");
        addRow("linux forced", "linux", 1, true, "/A/渲b.TGA");
        addRow("linux without case", "linux", 0, true, "/a/渲b.tga");
        addRow("without case", "windows", 0, false, "/a/渲b.tga");
    }
    void pathCase()
    {
        FETCH(QString, os, int, caps, bool, force);
        UserInfo::setAllValue("Resolve", "os", os);
        UserInfo::setAllValue("Resolve", "caps", caps);
        QTEST(UserInfo::pathCase("/A/渲b.TGA", force), "seen");
    }

    void fileIsReplacedNotRewritten()
    {
        const QString path = UserInfo::allUserDir() + "/config.ini", second = path + ".second";
        const QByteArray before = contentOf(path);
        std::filesystem::create_hard_link(path.toStdString(), second.toStdString());
        UserInfo::setAllValue("Server", "apiToken", "secret");
        QCOMPARE(contentOf(second), before); // whoever dies in between leaves the old file
        QVERIFY(contentOf(path).contains("apiToken=secret"));

        QVERIFY(VFunc::writeWhole(second, "new"));
        QCOMPARE(contentOf(second), QByteArray("new"));
        QVERIFY(!VFunc::writeWhole(testHome() + "/absent/file", "x"));
    }

    void diskIsReadAgainAfterLogout()
    {
        QCOMPARE(UserInfo::downTh(), 10);
        writeConfig("[Transfer]\ndownTh=4\n");
        QCOMPARE(UserInfo::downTh(), 10);
        UserInfo::initUser(account);
        UserInfo::clearCache();
        QCOMPARE(UserInfo::downTh(), 4);
        QCOMPARE(UserInfo::userId(), 0);
        QCOMPARE(UserInfo::userDir(), QString());
        QVERIFY(!UserInfo::allUserDir().isEmpty());
    }

    void accountIsTakenOver()
    {
        UserInfo::initUser(account);
        const QString dir = UserInfo::baseDir() + "/77";
        QCOMPARE(UserInfo::userDir(), dir);
        QVERIFY(QFileInfo(dir).isDir());
        QCOMPARE(UserInfo::hashType(), 2);
        QCOMPARE(UserInfo::leadIds(), (QJsonArray{3, 4}));
        QCOMPARE(UserInfo::username() + UserInfo::hashPrefix(), QString("a/b:cpx"));
        QCOMPARE(contentOf(UserInfo::allUserDir() + "/PluginManDir"), dir.toUtf8());
        QCOMPARE(contentOf(UserInfo::allUserDir() + "/77_a_b_c"), QByteArray());
        UserInfo::setUserValue("Set", "feeUserIds", "[5,6]");
        QCOMPARE(UserInfo::feeUserIds(), (QJsonArray{5, 6}));
        UserInfo::initUser({{"userId", "78"}, {"leadIds", "no list"}});
        QCOMPARE(UserInfo::userId(), 78);
        QVERIFY(UserInfo::feeUserIds().isEmpty());
    }

    void resultDirIsWrittenBack()
    {
        UserInfo::initUser(account);
        QCOMPARE(UserInfo::resultDir(), testHome() + "/ResultQN");
        QCOMPARE(UserInfo::autoSendResult(), 1);
        const QByteArray file = contentOf(UserInfo::userDir() + "/config.ini");
        QVERIFY(file.contains("ResultDir=") && file.contains("AutoSendResult=1"));
        UserInfo::setResultDir("/结果/x");
        UserInfo::clearCache();
        UserInfo::initUser(account);
        QCOMPARE(UserInfo::resultDir(), QString("/结果/x"));
    }

    void grants_data()
    {
        columns<QJsonObject, QString>("reply", "cleared");
        addRow("empty object", QJsonObject{}, "");
        addRow("none of it", QJsonObject{{"result", 1}, {"grants", QJsonArray{2, 11, 15}}}, "");
        addRow("all of it",
               QJsonObject{{"result", 1}, {"grants", QJsonArray{1, 3, 4, 5, 6, 7, 8, 9, 10, 12, 13, 14, 16, 17, 18, 19, 20, 21, 22, 23}}},
               "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19");
        addRow("crossed pairs", QJsonObject{{"result", 1}, {"grants", QJsonArray{4, 22, 19}}}, "1 7 14");
        addRow("refused", QJsonObject{{"result", 0}}, "12");
        addRow("nonsense", QJsonObject{{"result", 1}, {"grants", QJsonArray{-1, 0, 24, 1e12, "8", QJsonObject{}}}}, "10");
    }
    void grants()
    {
        QFETCH(QJsonObject, reply);
        UserInfo::setRolePerm(reply);
        QStringList cleared;
        for (int flag = 0; flag < 20; ++flag) {
            if (!UserInfo::perm(flag))
                cleared << QString::number(flag);
        }
        QTEST(cleared.join(' '), "cleared");
        UserInfo::setAllValue("Server", "role", "slave");
        UserInfo::setRolePerm({{"result", 1}});
        QVERIFY(!UserInfo::perm(12) && UserInfo::canAnalyse() && UserInfo::canUpload() && UserInfo::canSetParameters());
    }

    void readersAndWritersMeet()
    {
        std::atomic<bool> done{false};
        std::atomic<int> odd{0};
        std::vector<std::thread> readers;
        for (int i = 0; i < 3; ++i) {
            readers.emplace_back([&] {
                while (!done) {
                    const int speed = UserInfo::upSpeed(), id = UserInfo::userId();
                    if (speed % 10 != 0 || UserInfo::pathCase("A") != "A" || (id != 0 && id != 77))
                        ++odd;
                }
            });
        }
        for (int i = 1; i <= 30; ++i) {
            UserInfo::setUpSpeed(i * 10);
            UserInfo::initUser(account);
            if (i % 3 == 0)
                UserInfo::clearCache();
            if (UserInfo::upSpeed() != i * 10)
                ++odd;
        }
        done = true;
        for (std::thread &reader : readers)
            reader.join();
        QCOMPARE(odd.load(), 0);
    }
};

VN_TEST(TestSettings)
#include "tst_settings.moc"
