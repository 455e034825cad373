// Priority frames on the living farm: rendered first, announced by its own push, and nothing else rendered before the
// user's word has arrived there.
#include "FarmRig.h"
#include "support/TestMain.h"
#include "view/PushRouter.h"
#include "view/render/KeyFrame.h"
#include <memory>
#include <QJsonArray>
#include <QPointer>

class TestKeyFrameFarm : public QObject
{
    Q_OBJECT
    std::unique_ptr<FarmRig> m_rig;

    int order(const QString &name, const QString &keyFrames) // of a scene without files: it renders at once
    {
        const QJsonObject task =
            m_rig->ask(10421, {{"name", name}, {"clientFlag", 1}, {"projectId", 1}, {"softwareType", 8}, {"machineModel", "local-cpu"}});
        const int id = task.value("id").toInt();
        const QJsonObject camera{{"name", "View"}, {"frames", "1-6"}, {"width", 16}, {"height", 9}, {"selected", 1}};
        m_rig->ask(10400, {{"scene", "/p/" + name},
                           {"analysisTime", 1},
                           {"clientFlag", 1},
                           {"missionId", id},
                           {"ordernum", task.value("num")},
                           {"softwareType", 8},
                           {"keyFrames", keyFrames},
                           {"strategy", 2},
                           {"files", QJsonArray()},
                           {"fileCount", 0},
                           {"modelParameters", QJsonObject{{"cameras", QJsonArray{camera}}}}});
        m_rig->ask(10704, {{"missionId", id}});
        return id;
    }
    int rendered(int id) const { return m_rig->farm.order(id).framesDone; }

private slots:
    void askedAndAnswered()
    {
        account(63);
        m_rig = std::make_unique<FarmRig>();
        m_rig->farm.stop();
        m_rig->options.framesPerSecond = 0;
        QVERIFY(m_rig->farm.start(m_rig->options) && m_rig->login());
        QWidget over;
        over.resize(900, 560);
        over.show();
        PushRouter pushes;
        QPointer<KeyFrame> dialog;
        connect(NetTcp::instance(), &NetTcp::bsPush, &pushes, &PushRouter::bsPush);
        pushes.on(10412, &over, [&](int val, const QJsonObject &task) {
            QCOMPARE(val, 1041200);
            dialog = KeyFrame::tell(&over, task);
        });
        const int first = order("one.tgd", "1,3,6"), second = order("two.tgd", "2");
        QTRY_VERIFY(dialog && dialog->waiting() == 2);
        QVERIFY(allText(dialog).contains("请在24小时内确定"));
        QCOMPARE(QString("%1 %2").arg(rendered(first)).arg(rendered(second)), QString("3 1"));
        m_rig->refuse(10429, "1042901@1"); // no money for one of them: it stays and says so
        QVERIFY(press(dialog, "继续渲染"));
        QTRY_COMPARE(dialog->waiting(), 1);
        QTRY_VERIFY(rendered(first) == 6 || rendered(second) == 6);
        QCOMPARE(qMin(rendered(first) - 3, rendered(second) - 1), 0); // the other one waits
        QVERIFY(press(dialog, "继续渲染"));
        QTRY_VERIFY(!dialog);
        QTRY_COMPARE(rendered(first) + rendered(second), 12);
        const int third = order("three.tgd", "4,5");
        QTRY_VERIFY(dialog && dialog->waiting() == 1);
        QVERIFY(press(dialog, "取消渲染") && answer("确定"));
        QTRY_VERIFY(!dialog);
        QCOMPARE(rendered(third), 2);
        QCOMPARE(m_rig->farm.violations(), QStringList());
        m_rig.reset();
    }
};

VN_TEST(TestKeyFrameFarm)
#include "tst_keyframe.moc"
