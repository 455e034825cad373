#include "common/CommonConfig.h"
#include "common/ResultPath.h"
#include "common/ResultRoots.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "support/WindowSpy.h"

namespace
{
const QJsonObject order{{"num", "N7"}, {"missionName", "shot:01/a"}, {"projectName", "Film"}, {"createTime", "2026-03-04 05:06:07"}};
}

class TestResultPath : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        UserInfo::init({});
        UserInfo::initUser({{"userId", 7}, {"username", "u"}});
        QVERIFY(QDir().mkpath(testHome() + "/out"));
        UserInfo::setResultDir(testHome() + "/out");
    }

    void relative_data()
    {
        columns<QString, QString>("given", "kept"); // kept: empty: refused
        const auto row = [](const char *given, const char *kept) { addRow(given, QString::fromUtf8(given), QString::fromUtf8(kept)); };
        row("a/0001.png", "a/0001.png");
        row("a\\b\\0001.png", "a/b/0001.png");
        row("./a//b.png", "a/b.png");
        row("..hidden/a..b.png", "_..hidden/a..b.png");
        row(".config/autostart/.x", "_.config/autostart/_.x");
        row("渲染/帧 1.exr", "渲染/帧 1.exr");
        row("../x.png", "");
        row("a/../../x.png", "");
        row("a\\..\\x.png", "");
        row("a/.. /x.png", ""); // the blank falls off on Windows
        row("a/.../x.png", "");
        row("/etc/passwd", "");
        row("\\\\host\\share\\x.png", "");
        row("C:\\x.png", "");
        row("c:x.png", "");
        row("a/D:/x.png", "");
        row("a/", "");
        row("", "");
        row("a/.", "a");
        row("con", "_con");
        row("a/NUL.png", "a/_NUL.png");
        row("lpt1.tar.gz", "_lpt1.tar.gz");
        row("console.png", "console.png");
        row("shot:1?*<>|\".png", "shot_1______.png");
        row("dir. /x.", "dir__/x_");
        row("a.png.vd", "a.png.vd_");
        row("a.XTEMP", "a.XTEMP_");
        addRow("control", QString("a\n\tb") + QChar(0) + ".png", "a__b_.png");
    }
    void relative()
    {
        FETCH(QString, given, QString, kept);
        QString reason;
        QCOMPARE(ResultPath::safeRelative(given, &reason), kept);
        QCOMPARE(reason.isEmpty(), !kept.isEmpty());
        if (!kept.isEmpty()) {
            QCOMPARE(ResultPath::safeRelative(kept), kept); // what was made safe stays as it is
            QVERIFY(ResultPath::isSafeTarget("/root/" + kept));
        }
        QVERIFY(!ResultPath::isSafeTarget("/root/../" + given));
        QVERIFY(!ResultPath::isSafeTarget(ResultPath::safeName(given)));
    }

    void rowPath()
    {
        const auto path = [](QJsonObject row, const QString &flag = {}, const QJsonValue &value = 1) {
            row["id"] = 12;
            if (!flag.isEmpty())
                row[flag] = value;
            return ResultPath::rowPath("/r", row);
        };
        const QJsonObject row{{"path", "sub/f.png"}};
        QCOMPARE(path(row), "/r/12/f.png");
        QCOMPARE(path(row, "isBlock", 2), "/r/12/f.png");
        QCOMPARE(path(row, "isBlock"), "/r/sub/f.png");
        QCOMPARE(path(row, "autoPush", "1"), "/r/sub/f.png");
        QCOMPARE(path(row, "isKeyframe", true), "/r/sub/f.png");
        QCOMPARE(path({{"path", "../f.png"}}, "isBlock"), "");
        for (const char *own : {"../f.png", "/etc/f.png", "C:\\x\\f.png"}) // its name alone is used
            QCOMPARE(path({{"path", own}}), "/r/12/f.png");
        for (const char *none : {"", "a/", "a/..", "."})
            QCOMPARE(path({{"path", none}}), "");
    }

    void rules()
    {
        const auto folder = [](const char *rule) { return ResultPath::ruleFolder(rule, order); };
        QCOMPARE(folder(""), "N7_shot_01_a");
        QCOMPARE(folder("%project%/%submit%/%order%"), "Film/20260304/N7");
        QCOMPARE(folder("%project%,%order%\\x//y"), "Film/N7/x/y");
        QCOMPARE(folder("p-%project%-%shot%"), "p-Film-%shot%");
        QCOMPARE(folder("../%order%"), "");
        QCOMPARE(folder("/ , /"), "N7_shot_01_a");
    }

    void valuesStayOnePiece()
    {
        const auto folder = [](const char *project) {
            return ResultPath::ruleFolder("%project%/x", {{"num", "../9"}, {"projectName", project}});
        };
        QCOMPARE(folder("%order%/.."), "%order%___/x");
        QCOMPARE(folder(".."), "");
        QCOMPARE(folder(""), "x");
        QCOMPARE(ResultPath::ruleFolder("", {{"num", "../9"}}), "_.._9_");
        QCOMPARE(ResultPath::submitDay({{"time", 1772600767000.0}}).size(), 8);
    }

    void roots()
    {
        WindowSpy window;
        const QString out = testHome() + "/out";
        QJsonObject obj = order;
        obj["resultRootPathEnum"] = 0;
        QCOMPARE(VFunc::rootPath(obj, false), out + "/N7_shot_01_a");
        QVERIFY(!QFileInfo::exists(out + "/N7_shot_01_a"));
        obj["resultMiddleRulePath"] = "%order%";
        QCOMPARE(VFunc::rootPath(obj, true), out + "/N7");
        QVERIFY(QFileInfo(out + "/N7").isDir());

        obj["resultRootPathEnum"] = 2;
        obj["clientResultRootPath"] = QString(out).replace('/', '\\') + "\\";
        QCOMPARE(VFunc::rootPath(obj, true), out + "/N7");

        obj["resultRootPathEnum"] = 1;
        obj["projectId"] = 3;
        obj["softwareType"] = 8;
        VFunc::setProjectOutput([&](int project, const QString &name, int software) {
            return project == 3 && name == "Film" && software == 8 ? out : QString();
        });
        QCOMPARE(VFunc::rootPath(obj, true), out + "/N7");
        // A folder that nobody here named stays as it is, until it's known.
        const QString theirs = testHome() + "/theirs";
        QVERIFY(QDir().mkpath(theirs));
        VFunc::setProjectOutput([&](int, const QString &, int) { return theirs; });
        QCOMPARE(VFunc::rootPath(obj, true), "");
        QTRY_COMPARE(window.asked, QStringList(theirs + "|shot:01/a"));
        QVERIFY(QDir(theirs).isEmpty() && ResultRoots::of(theirs + "/N7/f.png").isEmpty());
        QVERIFY(ResultRoots::add(theirs + "/"));
        QCOMPARE(VFunc::rootPath(obj, true), theirs + "/N7");
        QCOMPARE(ResultRoots::of(theirs + "/N7/f.png"), theirs);
        QVERIFY(ResultRoots::of(theirs + "2/f.png").isEmpty());
        UserInfo::initUser({{"userId", 8}, {"username", "other"}}); // another account's folders aren't this one's
        QVERIFY(!ResultRoots::knows(theirs));
        UserInfo::initUser({{"userId", 7}, {"username", "u"}});
        QVERIFY(ResultRoots::knows(theirs)); // read again from the disk
        VFunc::setProjectOutput({});
        QCOMPARE(VFunc::rootPath(obj, true), "");
        QTRY_COMPARE(window.roots, QStringList("输出路径不存在，请至 项目管理 配置。\r\n\"\""));
        QCOMPARE(window.rootKind, 1);

        UserInfo::setResultDir(testHome() + "/gone");
        obj["resultRootPathEnum"] = 0;
        QCOMPARE(VFunc::rootPath(obj, true), "");
        QTRY_COMPARE(window.roots.value(1), "输出路径不存在，请至 通用设置 配置。\r\n\"" + testHome() + "/gone\"");
        UserInfo::setResultDir(out);
    }

    void rootKind()
    {
        CommonConfig::fromJson({{"mayaResultRootPathEnum", 2}});
        QCOMPARE(ResultPath::rootKind({{"softwareType", 1}}), ResultPath::Scene);
        QCOMPARE(ResultPath::rootKind({{"softwareType", 8}}), ResultPath::Personal);
        QCOMPARE(ResultPath::rootKind({{"softwareType", 1}, {"resultRootPathEnum", 1}}), ResultPath::Project);
        QCOMPARE(ResultPath::rootKind({{"resultRootPathEnum", 9}}), ResultPath::Personal);
        CommonConfig::clear();
    }
};
VN_TEST(TestResultPath)
#include "tst_resultpath.moc"
