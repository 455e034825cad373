// The settings window against the living farm: what a save leaves on the farm, in config.ini and in the session, what is
// refused before anything is sent, and what stays where it fails half way.
#include "common/CommonConfig.h"
#include "common/Seam.h"
#include "common/ui/Background.h"
#include "common/WindowCalls.h"
#include "FarmRig.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "transfer/TransSet.h"
#include "view/MainWindow.h"
#include "view/set/CommonSet.h"
#include "view/set/EnvRules.h"
#include "view/set/EnvSet.h"
#include "view/set/ProjectSet.h"
#include "view/set/ResultRule.h"
#include "view/set/Set.h"
#include <memory>
#include <QCheckBox>
#include <QComboBox>
#include <QTime>
#include <QToolButton>

namespace
{
const QString desktop = QStringLiteral("/.config/autostart/VandrelQN.desktop");

void tick(QWidget *window, const char *field, bool on)
{
    auto *box = window->findChild<QCheckBox *>(field);
    if (box->isChecked() != on)
        box->click();
}
void pick(QWidget *window, const char *field, const QString &text)
{
    auto *box = window->findChild<QComboBox *>(field);
    QVERIFY(box->findText(text) >= 0);
    box->setCurrentIndex(box->findText(text));
}
// What stands under the field.
QString note(QWidget *window, const char *field)
{
    for (QWidget *at = window->findChild<QWidget *>(field); at && at != window; at = at->parentWidget())
        if (auto *line = at->findChild<QLabel *>("fieldNote"))
            return line->isHidden() ? QString() : line->text();
    return {};
}
bool again(QWidget *window) // each page has its own
{
    for (auto *button : window->findChildren<QPushButton *>())
        if (button->text() == "重试" && button->isVisible())
            return QTest::mouseClick(button, Qt::LeftButton), true;
    return false;
}
int setting(Settings::Key key) { return UserInfo::setting(key).toInt(); }
} // namespace

class TestSettingsWindow : public QObject
{
    Q_OBJECT
    std::unique_ptr<FarmRig> m_rig;
    std::unique_ptr<QWidget> m_window;
    QPointer<Set> m_set;

    void openSet()
    {
        m_set = new Set(m_window.get());
        m_set->open();
        QTRY_VERIFY(m_set->findChild<QCheckBox *>("autoStart")->isEnabled());
    }
    bool save() { return press(m_set, "保存"); }
    bool closed()
    {
        return comes([this] { return !m_set; });
    }

private slots:
    void init()
    {
        static int user = 70;
        account(++user); // each with a config.ini of its own
        m_rig = std::make_unique<FarmRig>();
        QVERIFY(m_rig->login());
        CommonConfig::fromJson(m_rig->account);
        m_window = std::make_unique<QWidget>();
        m_window->resize(960, 540);
        m_window->show();
    }
    void cleanup()
    {
        m_window.reset();
        QCOMPARE(m_rig->farm.violations(), QStringList());
        m_rig.reset();
        Background::finish();
    }

    void recordAndKeys()
    {
        QJsonObject account = m_rig->account;
        account.remove("blocksCount");
        account.insert("projectName", "kept");
        CommonConfig::fromJson(account);
        openSet();
        tick(m_set, "timeoutNone", false);
        QVERIFY(type(m_set, "timeout", "5400"));
        QCOMPARE(note(m_set, "timeout"), QString("= 1 小时 30 分"));
        pick(m_set, "killTimeout", "超时警告提醒并取消任务");
        tick(m_set, "ignoreWarn", true); // can't be: it goes with autoSubmit
        tick(m_set, "autoSubmit", true);
        tick(m_set, "ignoreWarn", true);
        QTest::mouseClick(buttonOf(m_set, "高级设置"), Qt::LeftButton);
        QVERIFY(type(m_set, "thread", "3"));
        pick(m_set, "fastMaya", "高级解析");
        tick(m_set, "downSpeedNone", false);
        QVERIFY(type(m_set, "downSpeed", "512"));
        pick(m_set, "upHash", "MD5(耗时长)");
        QVERIFY(save());
        QVERIFY(closed());
        const QJsonObject farm = m_rig->farm.config();
        QCOMPARE(farm["timeout"].toInt(), 5400);
        QCOMPARE(farm["killTimeout"].toInt(), 2);
        QCOMPARE(farm["autoSubmit"].toInt(), 1);
        QCOMPARE(farm["blocksCount"].toInt(), -4); // untouched: as it came
        QCOMPARE(farm["priorityStrategy"].toInt(), 0);
        QCOMPARE(CommonConfig::get().timeout, 5400);
        QCOMPARE(CommonConfig::get().projectName, QString("kept"));
        QCOMPARE(setting(Settings::ResolveThreads), 3);
        QCOMPARE(UserInfo::fastMaya(), true);
        QCOMPARE(UserInfo::downSpeed(), 512);
        QCOMPARE(UserInfo::upHash(), 1);
        QCOMPARE(UserInfo::hasUserValue("Set", "outRoot"), false); // untouched keys aren't written

        openSet(); // no limit again
        tick(m_set, "timeoutNone", true);
        QVERIFY(save());
        QVERIFY(closed());
        QCOMPARE(m_rig->farm.config()["timeout"].toInt(-1), 0);
        QCOMPARE(CommonConfig::get().timeout, 0);
    }

    void spans_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<QString>("text");
        addRow("short", 59, QString());
        addRow("minute", 60, QString("1 分"));
        addRow("all", 3661, QString("1 小时 1 分 1 秒"));
    }
    void spans()
    {
        QFETCH(int, seconds);
        QTEST(EnvRules::spanText(seconds), "text");
    }

    // A refused or lost save keeps the old record in force; what is this machine's is kept.
    void refused()
    {
        openSet();
        m_set->showPage(Set::Advanced);
        tick(m_set, "parseTimeNone", false);
        QVERIFY(type(m_set, "parseTime", "120"));
        QVERIFY(type(m_set, "thread", "2"));
        m_rig->refuse(10303, "1030307@1");
        QVERIFY(save());
        QTRY_COMPARE(errorOf(m_set), QString("保存失败：服务器拒绝了请求 (1030307)"));
        QCOMPARE(CommonConfig::get().parseTime, 0);
        QCOMPARE(setting(Settings::ResolveThreads), 2);
        m_rig->farm.faults().set("cut-on.10303", "1@1");
        QVERIFY(again(m_set));
        QTRY_COMPARE(errorOf(m_set), QString("保存失败：服务器没有响应，请检查网络后重试"));
        QVERIFY(m_rig->login());
        QVERIFY(again(m_set));
        QVERIFY(closed());
        QCOMPARE(CommonConfig::get().parseTime, 120);
    }
    // The answer of a window that was closed meanwhile still counts.
    void closedBeforeTheAnswer()
    {
        openSet();
        tick(m_set, "frameFirst", true);
        m_rig->farm.faults().set("delay-reply.10303", "100");
        QVERIFY(save());
        QTRY_COMPARE(m_rig->count(10303), 1);
        QCOMPARE(CommonConfig::get().frameFirst, 0);
        m_set->close();
        QTRY_COMPARE(CommonConfig::get().frameFirst, 1);
    }

    void badFields_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<QString>("text");
        addRow("too many", QByteArray("thread"), "6");
        addRow("none", QByteArray("thread"), "0");
        addRow("empty", QByteArray("thread"), "");
        addRow("not a number", QByteArray("parseTime"), "ten");
        addRow("negative", QByteArray("parseTime"), "-5");
        addRow("beyond the range", QByteArray("upTh"), "99999999999");
        addRow("no folder named", QByteArray("ResultDir"), "");
        addRow("no such folder", QByteArray("ResultDir"), "/nowhere/at/all");
        addRow("no full path", QByteArray("ResultDir"), "results");
        addRow("a rule that climbs", QByteArray("resultRule"), "../%order%");
    }
    // Said under the field, on the page where it is; nothing is written or sent.
    void badFields()
    {
        QFETCH(QByteArray, field);
        QFETCH(QString, text);
        const char *name = field.constData();
        openSet();
        tick(m_set, "parseTimeNone", false);
        QVERIFY(type(m_set, "parseTime", "60"));
        tick(m_set, "resultCheck", true);
        tick(m_set, "autoStart", true);
        QVERIFY(type(m_set, name, text));
        const bool common = field.startsWith("result") || field == "ResultDir";
        m_set->showPage(common ? Set::Advanced : Set::Common);
        QVERIFY(save());
        QTRY_VERIFY(!note(m_set, name).isEmpty() && m_set->findChild<QLineEdit *>(name)->property("bad").toBool());
        QTRY_VERIFY(!m_set->busy());
        QVERIFY(m_set->findChild<QLineEdit *>(name)->isVisible());
        QCOMPARE(m_rig->count(10303), 0);
        QVERIFY(!QFile::exists(testHome() + desktop));
    }

    // The example follows every key; what is switched off isn't in force.
    void rule()
    {
        const QString root = m_rig->folder.path(), day = QDate::currentDate().toString("yyyyMMdd");
        openSet();
        QVERIFY(type(m_set, "ResultDir", root));
        QVERIFY(note(m_set, "resultRule").contains(root + "/2026001_shot_010.ma\n"));
        tick(m_set, "resultCheck", true);
        QVERIFY(type(m_set, "resultRule", "%project%/%sub"));
        QVERIFY(note(m_set, "resultRule").contains(root + "/valley/%sub\n"));
        QTest::keyClicks(m_set->findChild<QLineEdit *>("resultRule"), "mit%");
        QVERIFY(note(m_set, "resultRule").contains(root + "/valley/" + day + "\n"));
        QVERIFY(press(m_set, "选择…"));
        auto *ticks = topLevel<ResultRule>();
        QVERIFY(ticks && allText(ticks).contains("/valley/" + day));
        const QList<QCheckBox *> parts = ticks->findChildren<QCheckBox *>();
        parts.first()->click();
        parts.last()->click();
        QVERIFY(allText(ticks).endsWith(day + "/2026001"));
        QVERIFY(press(ticks, "确定"));
        QCOMPARE(m_set->findChild<QLineEdit *>("resultRule")->text(), QString("%submit%/%order%"));
        QVERIFY(type(m_set, "resultRule", "%project%/%submit%"));
        QVERIFY(save());
        QVERIFY(closed());
        QCOMPARE(UserInfo::resultRule(), QString("%project%/%submit%"));
        QCOMPARE(UserInfo::resultDir(), root);
        openSet();
        QVERIFY(m_set->findChild<QCheckBox *>("resultCheck")->isChecked());
        tick(m_set, "resultCheck", false);
        QVERIFY(note(m_set, "resultRule").contains("2026001_shot_010.ma"));
        QVERIFY(save());
        QVERIFY(closed());
        QCOMPARE(UserInfo::resultRule(), QString());
    }

    void otherSpeed()
    {
        openSet();
        m_set->showPage(Set::Advanced);
        tick(m_set, "upSpeedNone", false);
        QVERIFY(type(m_set, "upSpeed", "1000"));
        tick(m_set, "otherOn", true);
        QVERIFY(save()); // from 00:00 to 00:00 are no hours
        QCOMPARE(note(m_set, "otherTo"), QString("请选择不同的起止时间"));
        const int now = QTime::currentTime().hour();
        pick(m_set, "otherFrom", QTime(now, 0).toString("HH:mm"));
        pick(m_set, "otherTo", QTime((now + 23) % 24, 30).toString("HH:mm")); // all but half an hour, over midnight
        tick(m_set, "otherUpSpeedNone", false);
        QVERIFY(type(m_set, "otherUpSpeed", "77"));
        QVERIFY(save());
        QVERIFY(closed());
        QCOMPARE(setting(Settings::OtherFrom), now * 60);
        QCOMPARE(TransSet::upLimit(), 77);
        QCOMPARE(TransSet::downLimit(), 0);
        openSet();
        m_set->showPage(Set::Advanced);
        QVERIFY(m_set->findChild<QCheckBox *>("otherOn")->isChecked());
        tick(m_set, "otherOn", false);
        QVERIFY(save());
        QVERIFY(closed());
        QCOMPARE(TransSet::upLimit(), 1000);
    }

    void autoStart()
    {
        QFile entry(testHome() + desktop);
        openSet();
        tick(m_set, "autoStart", true);
        QVERIFY(save());
        QVERIFY(closed());
        QVERIFY(entry.open(QIODevice::ReadOnly));
        QVERIFY(entry.readAll().contains(" delay\n"));
        openSet();
        QVERIFY(m_set->findChild<QCheckBox *>("autoStart")->isChecked());
        tick(m_set, "autoStart", false);
        entry.remove(); // another hand was quicker: the removal fails
        QVERIFY(save());
        QTRY_COMPARE(errorOf(m_set), QString("开机自启动设置失败"));
        m_set->close();
    }

    // Opened from the head, once; another language is the main window's to ask about.
    void fromTheHead()
    {
        MainWindow window{QJsonObject()};
        window.show();
        QToolButton *gear = nullptr;
        for (auto *button : window.findChildren<QToolButton *>())
            if (button->property("part") == "settings")
                gear = button;
        QVERIFY(gear);
        // A result folder that isn't there: the message leads to where it's set.
        const auto missing = [](int type, int project) {
            Seam<WindowCalls>::post([=](WindowCalls &calls) { calls.rootMsg("输出路径不存在", type, project, 8); });
            return comes([] { return !message().isEmpty(); }) && answer("去配置");
        };
        QVERIFY(missing(1, 1) && topLevel<EnvSet>());
        topLevel<EnvSet>()->close();
        QVERIFY(missing(1, 0) && topLevel<Set>());
        QVERIFY(topLevel<Set>()->findChild<ProjectSet *>()->isVisible());
        QVERIFY(missing(0, 1) && !topLevel<Set>()->findChild<ProjectSet *>()->isVisible());
        QTest::mouseClick(gear, Qt::LeftButton);
        m_set = topLevel<Set>();
        QVERIFY(m_set);
        QTest::mouseClick(gear, Qt::LeftButton);
        int open = 0;
        for (QWidget *widget : QApplication::topLevelWidgets())
            open += qobject_cast<Set *>(widget) && widget->isVisible();
        QCOMPARE(open, 1);
        pick(m_set, "Language", "English");
        QVERIFY(save());
        QVERIFY(closed());
        QTRY_VERIFY(message().contains("语言在重新启动后生效"));
        QCOMPARE(UserInfo::language(), QString("en_us"));
        UserInfo::setLanguage("zh_cn");
        window.setClosing(true);
    }
};

VN_TEST(TestSettingsWindow)
#include "tst_settings_window.moc"
