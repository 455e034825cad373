// The pages of tasks over a server that answers as it likes: what is asked and when, what stays where it is, what is
// enabled, what is sent.
#include "task/TaskNews.h"
#include "TaskRig.h"
#include "view/task/MissionItems.h"
#include "view/task/MissionPart.h"
#include "view/task/TaskFilterMenus.h"
#include <QHeaderView>
#include <QMenu>
#include <QScrollBar>

namespace
{
class PaintCount : public QObject
{
public:
    explicit PaintCount(QWidget *widget) { widget->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

// What the peer does with the next question, once.
struct Held {
    QList<BusinessPeer::Request> asked;
    void hold(TaskRig *rig)
    {
        rig->server.answer(10427, [this](const BusinessPeer::Request &request) {
            asked << request;
            return BusinessPeer::Reply{0, {}, true};
        });
    }
};
} // namespace

class TestTaskPages : public QObject
{
    Q_OBJECT
private slots:
    void rowsStayWhereTheyAre()
    {
        TaskRig rig;
        for (int id = 1; id <= 20; ++id)
            rig.rows.append(taskRow(id, 4, 1));
        QVERIFY(rig.show<Mission>());
        QCOMPARE(rig.cell("7", "status") + rig.cell("7", "status", Qt::ToolTipRole), QString("渲染中40/1/0/100"));
        QVERIFY2(rig.cell("7", "eta").startsWith("约 ") && rig.cell("7", "expected").startsWith("约 30"), qPrintable(rig.cell("7", "eta")));
        RecordView *view = rig.page->table()->view();
        rig.select({"11", "7"});
        view->resize(view->width(), 300);
        view->verticalScrollBar()->setValue(90);
        const int at = view->verticalScrollBar()->value();
        QVERIFY(rig.refreshed() && rig.overtaken());
        PaintCount paints(view->viewport());
        QVERIFY(rig.refreshed() && rig.refreshed() && rig.overtaken()); // a layout that was put off would have come
        QCOMPARE(paints.paints, 0);
        // One row has moved on, one has gone, one has come: the others stand.
        rig.rows[6] = taskRow(7, 4, 3, {{"successFrame", "41"}});
        rig.rows.removeAt(10);
        rig.rows.append(taskRow(99, 4, 0));
        QVERIFY(rig.refreshed());
        QCOMPARE(view->selected(), QStringList{"7"});
        QCOMPARE(rig.cell("7", "status"), QString("渲染暂停"));
        QVERIFY(view->verticalScrollBar()->value() == at && rig.page->model()->rowCount() == 20);
        // A light cache stands out by its name's colour and slant.
        rig.rows[2] = taskRow(3, 4, 1, {{"name", "a.max"}, {"identity", "GZ"}});
        QVERIFY(rig.refreshed());
        const QModelIndex light = rig.page->model()->indexOf("3", rig.page->model()->columnOf("name"));
        QVERIFY(light.data(CellRole::Tint).value<QColor>() == QColor("#4b96ea") && light.data(Qt::FontRole).value<QFont>().italic());
        const QRect cell = rig.rectOf("3", "name");
        QVERIFY(view->viewport()->grab(cell).toImage() != view->viewport()->grab(rig.rectOf("4", "name")).toImage());
        // A refusal empties the list and says why; the next good answer mends it.
        rig.server.answer(10427, 1040013);
        QVERIFY(rig.refreshed());
        QVERIFY(rig.page->model()->rowCount() == 0 && rig.page->table()->error().contains("参数异常") && view->selected().isEmpty());
        rig.rows = {};
        rig.pages = "0";
        rig.server.answer(10427, [&](const BusinessPeer::Request &) {
            return BusinessPeer::Reply{1042700, {{"pageSize", rig.pages}, {"pageList", rig.rows}}, false};
        });
        QVERIFY(press(rig.page.data(), "重试"));
        QTRY_VERIFY(rig.page->table()->error().isEmpty());
    }

    // Late, twice, out of order, for another filter: only the latest answer to the present question is shown.
    void answersOutOfOrder()
    {
        TaskRig rig;
        rig.rows.append(taskRow(1, 4, 1));
        QVERIFY(rig.show<Mission>());
        Held held;
        held.hold(&rig);
        rig.page->getMission(), rig.page->getMission();
        QTRY_COMPARE(held.asked.size(), 2);
        const auto answer = [&](int at, int id) {
            rig.server.reply(held.asked.at(at), 1042700, {{"pageSize", 99999999}, {"pageList", QJsonArray{taskRow(id, 4, 1)}}});
        };
        answer(1, 22);
        QTRY_VERIFY(rig.page->model()->contains("22"));
        answer(0, 33), answer(1, 44);
        rig.page->getMission(); // a question that is answered behind those two
        QTRY_COMPARE(held.asked.size(), 3);
        rig.page->searchName(0, "x");
        QTRY_COMPARE(held.asked.size(), 4);
        answer(2, 55), answer(3, 66);
        QTRY_VERIFY(rig.page->model()->contains("66"));
        QCOMPARE(rig.page->model()->keys(), QStringList{"66"});
        QCOMPARE(held.asked.at(3).body.value("name").toString(), QString("x"));
        QVERIFY(rig.page->table()->pages()->isVisible());
        // The link goes under a question: what is shown stays, and the page says so.
        rig.page->getMission();
        QTRY_COMPARE(held.asked.size(), 5);
        rig.server.cut();
        QTRY_VERIFY(!rig.page->table()->error().isEmpty());
        QCOMPARE(rig.page->model()->keys(), QStringList{"66"});
    }

    void onlyWhileItIsLookedAt()
    {
        TaskRig rig;
        rig.rows.append(taskRow(1, 4, 1));
        QVERIFY(rig.show<Mission>());
        // An open menu: the tick is lost; closing it asks.
        rig.page->table()->openMenu({"1"}, QPoint(1, 1));
        auto *menu = rig.page->findChild<QMenu *>("contextMenu");
        QTRY_VERIFY(menu->isVisible());
        const int before = rig.server.count(10427);
        rig.page->delayGetMission();
        QVERIFY(rig.overtaken());
        QCOMPARE(rig.server.count(10427), before);
        menu->close();
        QTRY_COMPARE(rig.server.count(10427), before + 1);
        rig.page->hide();
        rig.page->getMission();
        QVERIFY(rig.overtaken());
        QCOMPARE(rig.server.count(10427), before + 1);
        rig.page->show();
        QTRY_COMPARE(rig.server.count(10427), before + 2);
    }

    void filtersAndSorting()
    {
        TaskRig rig;
        rig.rows.append(taskRow(1, 4, 1));
        QVERIFY(rig.show<Mission>());
        QHeaderView *head = rig.page->table()->view()->header();
        const auto hit = [&](const char *column) {
            const int at = rig.page->model()->columnOf(column);
            QTest::mouseClick(head->viewport(), Qt::LeftButton, {}, QPoint(head->sectionViewportPosition(at) + 20, 8));
        };
        for (int sort : {10, 11, 10}) {
            hit("name");
            QTRY_COMPARE(rig.server.last(10427).value("nameSort").toInt(), sort);
        }
        hit("confirm");
        QTRY_COMPARE(rig.server.last(10427).value("subTimeSort").toInt(), 12);
        QVERIFY(!rig.server.last(10427).contains("nameSort"));
        hit("project");
        auto *menu = rig.page->findChild<QMenu *>("filterMenu");
        QTRY_VERIFY(menu && menu->isVisible() && menu->actions().size() == 3);
        menu->actions().at(2)->trigger();
        QVERIFY(menu->actions().at(2)->isChecked() && menu->isVisible());
        menu->close();
        QTRY_COMPARE(rig.server.last(10427).value("projectId").toArray(), QJsonArray{4});
        QVERIFY(rig.page->model()
                    ->headerData(rig.page->model()->columnOf("project"), Qt::Horizontal, Qt::DisplayRole)
                    .toString()
                    .endsWith("(筛选)"));
        // Kept by name and over a restart, with the sorting.
        QVERIFY(rig.page->filters()->keep(" 我的,失败;任务 ") && !rig.page->filters()->keep("  "));
        QTRY_VERIFY(UserInfo::userValue("Columns", "Mission").toString().contains("sort:confirm:")); // written when it has come to rest
        Background::finish();
        const int asked = rig.server.count(10427);
        QVERIFY(rig.show<Mission>());
        QTRY_VERIFY(rig.server.count(10427) > asked);
        QCOMPARE(rig.server.last(10427).value("projectId").toArray(), QJsonArray{4});
        QCOMPARE(rig.server.last(10427).value("subTimeSort").toInt(), 12);
        QCOMPARE(rig.page->filters()->names(), QStringList{"我的,失败;任务"});
        QVERIFY(rig.show<History>());
        QVERIFY(rig.page->filters()->names().isEmpty());
        QTRY_COMPARE(rig.server.last(10427).value("missionStatus").toArray(), QJsonArray{2000});
    }

    // The whole table through the real actions: each act over rows that pass, that don't, and both together.
    void whatIsEnabled()
    {
        TaskRig rig({QJsonArray{6}});
        rig.rows = {taskRow(1, 4, 1), taskRow(2, 4, 3), taskRow(3, 4, 2), taskRow(4, 0, 2),
                    taskRow(5, 4, 3, {{"subtype", 10}, {"keyFrames", "1,5"}})};
        QVERIFY(rig.show<Mission>());
        const auto enabled = [&](const QStringList &keys) {
            rig.select(keys);
            QStringList out;
            for (const char *id :
                 {"pause", "continue", "cancel", "handover", "delete", "fullspeed", "environment", "download", "folder", "rerender"})
                if (rig.action(id)->isEnabled())
                    out << id;
            return out.join(' ');
        };
        QCOMPARE(enabled({"1"}), QString("pause handover environment download folder rerender"));
        QCOMPARE(enabled({"2"}), QString("continue handover environment download folder rerender"));
        QCOMPARE(enabled({"3"}), QString("delete environment download folder rerender"));
        QCOMPARE(enabled({"5"}), QString("handover fullspeed environment download folder rerender"));
        QCOMPARE(enabled({"1", "2"}), QString("handover environment download folder rerender"));
        QCOMPARE(enabled({"1", "4"}), QString("folder rerender"));
        QCOMPARE(enabled({}), QString());
        UserInfo::setRolePerm({{"grants", QJsonArray{4, 8, 10}}, {"result", 1}});
        rig.page->rightsChanged();
        QCOMPARE(enabled({"1"}), QString("pause cancel handover folder"));
        QVERIFY(rig.cell("1", "cost") == "12.50");
        UserInfo::setRolePerm({{"grants", QJsonArray{18}}, {"result", 1}});
        QCOMPARE(rig.cell("1", "cost"), QString("-"));
        // The menu names all, in its order, greyed where it can't be.
        rig.page->table()->openMenu({"4"}, QPoint(1, 1));
        auto *menu = rig.page->findChild<QMenu *>("contextMenu");
        QStringList texts, on;
        for (QAction *one : menu->actions())
            (one->isEnabled() ? on : texts) << one->text();
        menu->close();
        QCOMPARE(texts.join(' '),
                 QString("优先级调整 继续渲染 暂停渲染 取消渲染 任务交接 删除任务 全速渲染 修改环境配置 补帧 下载 克隆任务"));
        QCOMPARE(on.join(' '), QString("任务详情 重渲失败帧 打开本地目录"));
    }

    void columnsAreKept()
    {
        TaskRig rig;
        rig.rows.append(taskRow(1, 4, 1));
        QVERIFY(rig.show<Mission>());
        rig.page->resize(2600, 600);
        QTRY_VERIFY(rig.page->table()->view()->columnVisible("memory"));
        auto *part = new MissionPart(rig.page->table()->view(), "mission4", rig.page.data());
        part->open();
        QTest::mouseClick(part->findChild<QAbstractButton *>("memory"), Qt::LeftButton, {}, QPoint(5, 10));
        QVERIFY(!rig.page->table()->view()->columnVisible("memory"));
        QCOMPARE(UserInfo::userValue("Mission", "mission4").toString(), QString("memory"));
        QVERIFY(rig.show<Mission>());
        rig.page->resize(2600, 600);
        QTRY_VERIFY(rig.page->table()->view()->columnVisible("num") && !rig.page->table()->view()->columnVisible("memory"));
    }

    void rowButtons()
    {
        TaskRig rig;
        rig.rows = {taskRow(1, 4, 1, {{"failureFrame", 0}}), taskRow(2, 4, 2)};
        QVERIFY(rig.show<Mission>());
        QSignalSpy details(rig.page.data(), &BaseMission::detailWanted);
        QWidget *port = rig.page->table()->view()->viewport();
        const auto hit = [&](const char *key, int button) {
            const QRect cell = rig.rectOf(key, "hand");
            QTest::mouseClick(port, Qt::LeftButton, {}, QPoint(cell.left() + 8 + button * 32 + 16, cell.center().y()));
        };
        hit("1", MissionHand::Detail);
        QCOMPARE(details.size(), 1);
        hit("1", MissionHand::Rerender), hit("2", MissionHand::Priority);
        QVERIFY(message().isEmpty() && rig.server.count(10420) == 0);
        hit("2", MissionHand::Rerender);
        QVERIFY(message().contains("重新渲染失败子任务"));
        QVERIFY(answer("确定"));
        QTRY_COMPARE(rig.server.count(10406), 1);
        QCOMPARE(rig.server.requests(10406).first().text, QByteArray("[2]"));
        QTRY_COMPARE(rig.cell("2", "status"), QString("正在重渲…"));
        hit("1", MissionHand::More);
        QTRY_VERIFY(rig.page->findChild<QMenu *>("contextMenu"));
        rig.page->findChild<QMenu *>("contextMenu")->close();
    }

    // Told while it's under way and at its end, also when the window was left; a link that goes under it is told, and
    // nothing goes out again when it's back.
    void anOperationIsSentOnce()
    {
        TaskRig rig;
        rig.rows = {taskRow(1, 4, 3), taskRow(2, 4, 3), taskRow(3, 4, 3)};
        QVERIFY(rig.show<Mission>());
        QSignalSpy told(rig.desk.data(), &TaskDesk::told), ended(rig.desk.data(), &TaskDesk::ended);
        rig.select({"1", "2"});
        rig.action("continue")->trigger();
        QTRY_COMPARE(rig.server.count(10429), 2);
        QVERIFY(rig.cell("1", "status") == "正在继续…" && !rig.action("continue")->isEnabled());
        rig.page->hide();
        const auto asked = rig.server.requests(10429);
        rig.server.reply(asked.at(1), 1042901);
        rig.server.reply(asked.at(1), 1042900); // twice
        QTRY_COMPARE(rig.cell("2", "status"), QString("渲染暂停"));
        QVERIFY(told.isEmpty() && rig.cell("1", "status") == "正在继续…");
        rig.server.reply(asked.at(0), 1042900);
        QTRY_COMPARE(told.size(), 1);
        const auto outcome = told.first().first().value<TaskOutcome>();
        QVERIFY2(outcome.failed() == 1 && outcome.text() == "shot_2.ma：继续渲染失败，账户余额不足", qPrintable(outcome.text()));
        rig.page->show();
        rig.select({"3"});
        rig.action("continue")->trigger();
        QTRY_COMPARE(rig.server.count(10429), 3);
        const int links = rig.server.links();
        rig.server.cut();
        QTRY_COMPARE(ended.size(), 2);
        QVERIFY(told.last().first().value<TaskOutcome>().text().contains("没有回应"));
        QTRY_VERIFY(rig.server.links() > links);
        NetTcp::instance()->setLogin(true);
        QVERIFY(rig.refreshed());
        QCOMPARE(rig.server.count(10429), 3);
    }

    void aTaskFromOutside()
    {
        TaskRig rig;
        rig.rows = {taskRow(1, 4, 1)};
        QVERIFY(rig.show<Mission>());
        QSignalSpy details(rig.page.data(), &BaseMission::detailWanted);
        rig.server.answer(10409, [](const BusinessPeer::Request &request) {
            const int id = request.body.value("missionId").toInt();
            return BusinessPeer::Reply{id == 5 ? 1040900 : 1040901,
                                       id == 5 ? QJsonObject{{"missionName", "far.tgd"}, {"stage", "5"}} : QJsonObject(), false};
        });
        rig.page->openTask("1");
        QCOMPARE(details.size(), 1);
        rig.page->openTask("5");
        QTRY_COMPARE(details.size(), 2);
        const auto task = details.last().first().value<TaskRecord>();
        QVERIFY(task.id == "5" && task.name == "far.tgd" && task.software == 8 && task.stand.stage == 5);
        rig.page->openTask("6");
        QTRY_VERIFY(message().contains("1040901"));
        QVERIFY(answer("确定") && details.size() == 2);
    }
};
VN_TEST(TestTaskPages)
#include "tst_pages.moc"
