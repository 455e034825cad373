// The question after the priority frames: one window for all tasks that wait, what is chosen arrives at the server.
#include "common/ui/kit/TablePage.h"
#include "common/ui/kit/TickList.h"
#include "support/TestMain.h"
#include "view/render/KeyFrame.h"
#include "ViewRig.h"
#include <QAction>

class TestRenderKeys : public QObject
{
    Q_OBJECT
    QScopedPointer<QWidget> m_over;

    static QJsonObject task(int id, int hours = 24)
    {
        return {{"id", id}, {"missionName", QString("shot %1").arg(id)}, {"remainHour", hours}};
    }
    QString shown(KeyFrame *dialog, int id) const // the task's line
    {
        const RecordModelBase *model = dialog->findChild<RecordView *>()->records();
        const QModelIndex name = model->indexOf(QString::number(id), 1);
        return name.isValid() ? name.data().toString() + '|' + name.siblingAtColumn(2).data().toString() + '|' +
                                    name.siblingAtColumn(3).data().toString()
                              : QString("none");
    }

private slots:
    void initTestCase() { account(62); }
    void init()
    {
        m_over.reset(new QWidget);
        m_over->resize(900, 500);
        m_over->show();
    }
    void cleanup()
    {
        m_over.reset();
        NetTcp::instance()->setLogin(false);
    }

    void oneWindow()
    {
        BusinessPeer server;
        QVERIFY(server.takeClient());
        server.answer(10429, [](const BusinessPeer::Request &request) {
            const int id = request.body["missionId"].toInt();
            return BusinessPeer::Reply{id == 73 ? 1042901 : 1042900, {}, id == 74}; // one refused, one never answered
        });
        server.answer(10401, 1040100);
        KeyFrame *dialog = KeyFrame::tell(m_over.data(), task(71));
        for (const QJsonObject &one : {task(72, 3), task(73), task(74), task(75), task(71)})
            QCOMPARE(KeyFrame::tell(m_over.data(), one), dialog);
        QCOMPARE(KeyFrame::tell(m_over.data(), {{"missionName", "of no task"}}), dialog);
        QCOMPARE(dialog->waiting(), 5);
        QCOMPARE(dialog->findChild<QLabel *>("warningText")->text(), QString("请在3小时内确定，否则过期任务将自动取消"));
        auto *list = dialog->findChild<TickList *>();
        list->setTicked({"71", "72", "73", "74"});
        QVERIFY(press(dialog, "继续渲染"));
        QVERIFY(press(dialog, "继续渲染")); // pressed twice, asked once
        QTRY_COMPARE(server.count(10429), 4);
        QTRY_COMPARE(dialog->waiting(), 3);
        QCOMPARE(shown(dialog, 71), QString("none"));
        QTRY_VERIFY2(shown(dialog, 73).endsWith("(1042901)"), qPrintable(shown(dialog, 73)));
        QCOMPARE(shown(dialog, 74), QString("shot 74|24 小时|正在发送…"));
        QCOMPARE(shown(dialog, 75), QString("shot 75|24 小时|"));
        list->setTicked({"75"});
        QVERIFY(press(dialog, "取消渲染") && message() == "确定取消渲染吗？" && answer("返回"));
        QCOMPARE(server.count(10401), 0);
        QVERIFY(press(dialog, "取消渲染") && answer("确定"));
        QTRY_COMPARE(server.last(10401)["missionId"].toInt(), 75);
        QTRY_COMPARE(shown(dialog, 75), QString("none"));
        QPointer<KeyFrame> closed(dialog);
        dialog->close();
        KeyFrame *later = KeyFrame::tell(m_over.data(), task(76)); // the closing one would have lost it
        QVERIFY(later != closed.data() && later->isVisible() && later->waiting() == 1);
        QVERIFY(press(later, "继续渲染"));
        QPointer<KeyFrame> last(later);
        QTRY_VERIFY(!last || !last->isVisible()); // nothing waits any more
    }

    void viewing()
    {
        int viewed = 0;
        KeyFrame *dialog = KeyFrame::tell(m_over.data(), {{"missionId", "81"}, {"name", QString(10000, 'n')}, {"remainHour", -5}},
                                          [&viewed] { ++viewed; });
        KeyFrame::tell(m_over.data(), task(82));
        QVERIFY(dialog->width() <= 960);
        QVERIFY(press(dialog, "查看结果") && answer("确定")); // no download queue yet: told
        QCOMPARE(viewed, 0);
        DownSpy down;
        QVERIFY(press(dialog, "查看结果"));
        QTRY_COMPARE(down.calls, (QStringList{"result 81 0 1", "result 82 0 1"}));
        QVERIFY(viewed == 1 && dialog->waiting() == 2); // they go on waiting
        QVERIFY(press(dialog, "稍后决定"));
    }
};

VN_TEST(TestRenderKeys)
#include "tst_render_keys.moc"
