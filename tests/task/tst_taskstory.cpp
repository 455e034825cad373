// The story of an account's tasks on a living farm: what the page does is what the farm then says of them.
#include "set/FarmRig.h"
#include "support/Spies.h"
#include "TaskRig.h"
#include "view/task/FillFrames.h"
#include "view/task/MissionPri.h"
#include "view/task/ModifyEnv.h"
#include "view/task/NodeLimit.h"
#include "view/task/PauseRender.h"
#include "view/task/TakeOver.h"
#include "view/task/TaskVoice.h"
#include <QComboBox>
#include <QLineEdit>
#include <QScrollArea>

class TestTaskStory : public QObject
{
    Q_OBJECT
private:
    QScopedPointer<FarmRig> m_rig;
    QScopedPointer<TaskDesk> m_desk;
    QScopedPointer<BaseMission> m_page;

    template <class Page> bool show()
    {
        m_page.reset(new Page(m_desk.data(), nullptr));
        m_page->resize(1500, 700);
        m_page->setDelay(0);
        m_page->show();
        activate(m_page.data());
        return comes([this] { return m_page->model()->rowCount() > 0; });
    }
    QString idOf(const QString &name, const QString &identity = {}) const
    {
        for (const QString &key : m_page->model()->keys())
            if (const TaskRow *row = m_page->model()->record(key); row->task.name == name && row->task.identity == identity)
                return key;
        return {};
    }
    QString status(const QString &id) const
    {
        const TaskRow *row = m_page->model()->record(id);
        return row ? row->task.statusText() : QString("gone");
    }
    FarmOrder order(const QString &id) const { return m_rig->farm.order(id.toInt()); }
    bool act(const QString &id, const char *name) // the bar's action on this row
    {
        m_page->table()->view()->select({id});
        QAction *action = m_page->table()->acts()->action(name);
        const bool enabled = action->isEnabled();
        action->trigger();
        return enabled;
    }
    template <class Dialog> Dialog *dialog() const
    {
        return comes([] { return topLevel<Dialog>(); }) ? topLevel<Dialog>() : nullptr;
    }
    bool write(QWidget *window, const QString &text)
    {
        auto *edit = window->findChild<QLineEdit *>("edit");
        edit->setText(text);
        return press(window, "确定");
    }

private slots:
    void initTestCase()
    {
        account(78); // whose filters nobody has set
        m_rig.reset(new FarmRig);
        m_rig->farm.fillTasks();
        m_rig->farm.faults().set("hold-render", "1"); // a task that ended meanwhile couldn't be changed any more
        QVERIFY(m_rig->login());
        m_desk.reset(new TaskDesk);
        QVERIFY(show<Mission>());
        new TaskVoice(m_desk.data(), m_page.data());
    }
    void cleanupTestCase()
    {
        m_page.reset();
        m_desk.reset();
        QCOMPARE(m_rig->farm.violations(), QStringList());
        m_rig.reset();
        Background::finish();
    }

    void theListIsTheFarms()
    {
        for (const QString &key : m_page->model()->keys()) {
            const FarmOrder one = order(key);
            const TaskRecord &mine = m_page->model()->record(key)->task;
            QCOMPARE(mine.name, one.name);
            QVERIFY(mine.stand.stage == one.stage && mine.totalFrame == one.frames);
        }
        QCOMPARE(idOf("kitchen_a.skp").isEmpty(), false);
    }

    void pauseAndContinue()
    {
        const QString id = idOf("shot_020_anim.mb");
        QVERIFY(act(id, "pause"));
        PauseRender *ask = dialog<PauseRender>();
        QVERIFY(press(ask, "取消")); // closed: nothing is sent
        QTRY_VERIFY(!topLevel<PauseRender>());
        QCOMPARE(m_rig->count(10430), 0);
        act(id, "pause");
        ask = dialog<PauseRender>();
        QVERIFY(press(ask, "确定"));
        QTRY_COMPARE(order(id).status, 3);
        QTRY_COMPARE(status(id), QString("渲染暂停"));
        QVERIFY(act(id, "continue"));
        QTRY_VERIFY(order(id).status < 2);
        QTRY_VERIFY(status(id) == "排队中" || status(id) == "渲染中");
        QCOMPARE(m_rig->count(10429), 1);
    }

    // A light cache and its main task go together; who doesn't want that sends nothing.
    void companions()
    {
        const QString main = idOf("villa_night_v07.max", "MAIN"), light = idOf("villa_night_v07.max", "GZ");
        QVERIFY(!main.isEmpty() && act(main, "cancel"));
        QTRY_COMPARE(message(), QString("确定取消渲染吗？光子渲染文件将连带操作"));
        QVERIFY(answer("取消") || answer("返回"));
        QVERIFY(act(light, "cancel"));
        QTRY_COMPARE(message(), QString("确定取消渲染吗？主渲染文件将连带操作"));
        QCOMPARE(m_rig->count(10401), 0);
        QVERIFY(answer("确定"));
        QTRY_VERIFY(order(main).status == 2 && order(light).status == 2);
        QTRY_COMPARE(status(main), QString("渲染结束"));
        // One whose companion has ended already: nothing of it is said.
        const QString plain = idOf("ocean_fx_v12.hip");
        QVERIFY(act(plain, "cancel"));
        QTRY_COMPARE(message(), QString("确定取消渲染吗？"));
        QVERIFY(answer("确定"));
        QTRY_COMPARE(order(plain).status, 2);
    }

    void remarkAndLimit()
    {
        const QString id = idOf("shot_010_layout.ma");
        QVERIFY(act(id, "remark"));
        NodeLimit *edit = dialog<NodeLimit>();
        edit->findChild<QLineEdit *>("edit")->setText(QString(141, 'x'));
        QCOMPARE(edit->findChild<QLineEdit *>("edit")->text().size(), 140);
        m_rig->refuse(10436, "1043699@1"); // it went elsewhere meanwhile: told, and the window stays
        QVERIFY(press(edit, "确定"));
        QTRY_VERIFY(errorOf(edit).contains("1043699"));
        QVERIFY(press(edit, "确定"));
        QTRY_VERIFY(!topLevel<NodeLimit>());
        QTRY_COMPARE(m_page->model()->record(id)->task.remark, QString(140, 'x'));
        for (const char *bad : {"0", "a", "", "-1", "99999999999"}) {
            act(id, "limit");
            edit = dialog<NodeLimit>();
            write(edit, bad);
            QCOMPARE(errorOf(edit), QString("请输入正整数"));
            edit->close();
            QTRY_VERIFY(!topLevel<NodeLimit>());
        }
        act(id, "limit");
        edit = dialog<NodeLimit>();
        write(edit, "9999");
        QTRY_VERIFY(errorOf(edit).startsWith("最大节点数设置不能超过"));
        write(edit, "1");
        QTRY_VERIFY(!topLevel<NodeLimit>());
        QCOMPARE(m_rig->ask(10409, {{"missionId", id.toInt()}}).value("nodeLimit").toInt(), 1);
    }

    void furtherFrames()
    {
        const QString id = idOf("desert_test.tgd");
        const int before = order(id).frames;
        QVERIFY(act(id, "fill"));
        BaseFill *fill = dialog<BaseFill>();
        QVERIFY(press(fill, "确定"));
        QCOMPARE(errorOf(fill), QString("请输入补帧号"));
        m_rig->refuse(10405, "1040512@1");
        QVERIFY(type(fill, "frames", "7-9") && press(fill, "确定"));
        QTRY_COMPARE(errorOf(fill), QString("补帧失败，账户余额不足"));
        QVERIFY(press(fill, "确定"));
        QTRY_VERIFY(!topLevel<BaseFill>());
        QCOMPARE(order(id).frames, before + 3);
    }

    void failedFramesAndTheHistory()
    {
        const QString failed = idOf("city_flyover.project"), done = idOf("logo_reveal.c4d");
        QVERIFY(act(failed, "rerender") && answer("确定"));
        QTRY_VERIFY(order(failed).status < 2 || order(failed).framesFailed == 0);
        QVERIFY(act(done, "delete"));
        QVERIFY(message().startsWith("确定将任务转移到历史任务模块吗"));
        QVERIFY(answer("确定"));
        QTRY_COMPARE(status(done), QString("gone"));
        QScopedPointer<BaseMission> live(m_page.take());
        QVERIFY(show<History>());
        QCOMPARE(idOf("logo_reveal.c4d"), done);
        m_page.swap(live);
    }

    void queueAndHandover()
    {
        const QString id = idOf("shot_020_anim.mb");
        QVERIFY(act(id, "priority"));
        MissionPri *queue = dialog<MissionPri>();
        QTRY_VERIFY(queue->table()->view()->selected() == QStringList{id});
        queue->table()->acts()->action("top")->trigger();
        QTRY_COMPARE(queue->table()->view()->records()->keys().first(), id);
        const int moves = m_rig->count(10419);
        queue->table()->acts()->action("up")->trigger(); // at the front already
        QCoreApplication::processEvents();
        QCOMPARE(m_rig->count(10419), moves);
        queue->close();
        QTRY_VERIFY(!topLevel<MissionPri>());
        QVERIFY(act(id, "handover"));
        TakeOver *over = dialog<TakeOver>();
        QTRY_VERIFY(over->findChild<QComboBox *>("user")->count() > 0);
        QVERIFY(press(over, "确定"));
        QTRY_VERIFY(!topLevel<TakeOver>());
        QTRY_VERIFY(status(id) == "gone" || m_page->model()->record(id)->task.username == "demo2");
    }

    void anotherMachine()
    {
        const QString id = idOf("shot_010_layout.ma");
        QVERIFY(act(id, "environment"));
        ModifyEnv *env = dialog<ModifyEnv>();
        auto *gpu = env->findChild<QAbstractButton *>("env_gpu");
        QTRY_VERIFY(gpu->isEnabled());
        gpu->click();
        QVERIFY(env->findChild<QScrollArea *>()->widget()->minimumSizeHint().width() < 400); // no way sideways on a small screen
        auto *machine = env->findChild<QComboBox *>("machine");
        QVERIFY(machine->count() > 1);
        machine->setCurrentIndex(machine->count() - 1);
        QVERIFY(press(env, "确定"));
        QTRY_VERIFY(!topLevel<ModifyEnv>());
        QVERIFY(m_rig->ask(10409, {{"missionId", id.toInt()}}).value("machineModel").toString().contains("gpu", Qt::CaseInsensitive));
    }

    void clonedAndFetched()
    {
        ResolveSpy scenes;
        DownSpy down;
        const QString id = idOf("desert_test.tgd");
        QSignalSpy pages(m_page.data(), &BaseMission::pageWanted);
        QVERIFY(act(id, "clone"));
        QTRY_COMPARE(scenes.added.size(), 1);
        const db_resolve row = scenes.added.first();
        QVERIFY(row.state == 106 && row.lpath.endsWith("desert_test.tgd") && row.missionid == 0);
        QCOMPARE(QJsonDocument::fromJson(row.rdata.toUtf8()).object().value("hasHand").toInt(), 1);
        QCOMPARE(QJsonDocument::fromJson(row.rset.toUtf8()).object().value("softwareType").toInt(), 8);
        QCOMPARE(pages.first().first().toString(), QString("resolve"));
        m_page->setBalance(0);
        act(id, "clone");
        QVERIFY(message() == "余额不足，请充值" && answer("确定"));
        m_page->setBalance(1);
        QVERIFY(act(id, "download"));
        QTRY_COMPARE(down.calls, QStringList{QString("result %1 0 0").arg(id)});
    }
};
VN_TEST(TestTaskStory)
#include "tst_taskstory.moc"
