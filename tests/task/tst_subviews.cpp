// The views of a task's sub-tasks, against servers that answer oddly and against the living farm.
#include "common/ResultPath.h"
#include "common/ui/MsgTool.h"
#include "io/local/HttpServer.h"
#include "set/FarmRig.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "task/SubLog.h"
#include "view/frames/FrameCanvas.h"
#include "view/frames/LogView.h"
#include "view/task/MissionSub.h"
#include "view/task/MissionSubDialogs.h"
#include "view/task/MissonBlock.h"
#include "view/task/Preview.h"
#include <QBuffer>
#include <QClipboard>
#include <QComboBox>
#include <QMenu>

namespace
{
TaskRecord task(int id, int software = 8)
{
    TaskRecord one;
    one.id = QString::number(id);
    one.name = "island.tgd";
    one.num = "2026112100000001";
    one.software = software;
    return one;
}

QJsonObject row(const QString &id, int status, const QJsonObject &more = {})
{
    QJsonObject one{{"id", id},
                    {"jobId", "5"},
                    {"farmId", 1},
                    {"status", status},
                    {"frame_from", id.right(2).toInt()},
                    {"frame_to", id.right(2).toInt()},
                    {"camera", "cam"}};
    for (auto it = more.begin(); it != more.end(); ++it)
        one.insert(it.key(), it.value());
    return one;
}

void closeAll()
{
    for (QWidget *one : QApplication::topLevelWidgets())
        if (qobject_cast<LogView *>(one) || qobject_cast<FrameView *>(one) || qobject_cast<MsgBox *>(one) ||
            qobject_cast<MissionText *>(one))
            delete one;
}
} // namespace

class TestSubViews : public QObject
{
    Q_OBJECT
    std::unique_ptr<BusinessPeer> m_farm;
    std::unique_ptr<QWidget> m_page;
    MissionSub *m_view = nullptr;
    QJsonArray m_rows;

    QAction *act(const char *id) const { return m_view->table()->acts()->action(id); }
    void choose(const QStringList &keys) const { m_view->table()->view()->select(keys); }
    bool trigger(const char *id, const QString &accept = {})
    {
        if (!act(id)->isEnabled())
            return false;
        act(id)->trigger();
        return accept.isEmpty() || (comes([] { return !message().isEmpty(); }) && answer(accept));
    }
private slots:
    void init()
    {
        account(77);
        m_farm = std::make_unique<BusinessPeer>();
        m_rows = {row("700001", 0),
                  row("700002", 3),
                  row("700003", 3, {{"flag", 1}, {"parentViewId", "700002"}}),
                  row("700004", 4),
                  row("700005", 3, {{"blocks_count", 4}}),
                  row("700006", 1),
                  row("700007", 3, {{"parentViewId", "9"}})};
        m_farm->answer(10402, [this](const BusinessPeer::Request &) {
            return BusinessPeer::Reply{1040200, {{"results", m_rows}, {"pageSize", 3}, {"totalFrame", 70}, {"successFrame", "4"}}};
        });
        QVERIFY(m_farm->takeClient());
        m_page = std::make_unique<QWidget>();
        m_page->resize(900, 500);
        m_page->show();
        m_view = new MissionSub(m_page.get());
        m_view->openTask(task(7));
        QTRY_COMPARE(m_view->model()->rowCount(), 6);
    }
    void cleanup()
    {
        closeAll();
        m_page.reset();
        NetTcp::instance()->setLogin(false);
    }

    void list()
    {
        QCOMPARE(m_farm->requests(10402).first().body, QJsonDocument::fromJson(R"({"missionId": 7, "status": -1, "page": 0})").object());
        QCOMPARE(m_view->geometry(), m_page->rect());
        QCOMPARE(m_view->model()->keys("700002"), QStringList("700003")); // below the one that it replaces
        QVERIFY(m_view->table()->view()->isExpanded(m_view->model()->indexOf("700002")));
        QVERIFY(m_view->model()->keys().contains("700007")); // its parent isn't here
        QSignalSpy painted(m_view->model(), &QAbstractItemModel::dataChanged), moved(m_view->model(), &QAbstractItemModel::rowsInserted);
        choose({"700004"});
        const int asked = m_farm->count(10402);
        emit m_view->table()->refreshWanted();
        QTRY_VERIFY(m_farm->count(10402) > asked);
        m_rows[3] = row("700004", 5);
        emit m_view->table()->refreshWanted();
        QTRY_COMPARE(m_view->model()->record("700004")->status, 5);
        QCOMPARE(painted.size(), 1); // one cell's worth, and nothing for the reply before
        QCOMPARE(moved.size(), 0);
        QCOMPARE(m_view->table()->view()->selected(), QStringList("700004"));
        for (const auto &[software, title] : Rows<int, QString>{{1, "层名"}, {6, ""}, {3, "镜头"}, {4, "节点"}}) {
            m_view->openTask(task(7, software));
            QCOMPARE(m_view->model()->headerData(m_view->model()->columnOf("split"), Qt::Horizontal, Qt::DisplayRole).toString(), title);
        }
        press(m_view, "复制订单号");
        QCOMPARE(QGuiApplication::clipboard()->text(), QString("2026112100000001"));
        QSignalSpy left(m_view, &MissionSub::missSubHide);
        QTest::keyClick(m_view, Qt::Key_Escape);
        QVERIFY(left.size() == 1 && !m_view->isVisible());
    }

    // Answers of questions that are no longer the last, failures, an open menu.
    void odd()
    {
        QList<BusinessPeer::Request> held;
        m_farm->answer(10402, [&](const BusinessPeer::Request &request) {
            held << request;
            return BusinessPeer::Reply{0, {}, true};
        });
        emit m_view->table()->refreshWanted();
        auto *state = m_view->findChild<QComboBox *>();
        state->setCurrentIndex(5);
        emit state->activated(5);
        QTRY_COMPARE(held.size(), 2);
        QCOMPARE(held.last().body["status"].toInt(), 4);
        const auto reply = [&](int which, const QString &id) {
            m_farm->reply(held.at(which), 1040200, {{"results", QJsonArray{row(id, 4)}}});
        };
        reply(1, "700004");
        reply(0, "700001"); // late
        reply(1, "700008"); // twice
        QTRY_COMPARE(m_view->model()->keys(), QStringList("700004"));
        m_farm->answer(10402, 1040201);
        emit m_view->table()->refreshWanted();
        QTRY_VERIFY(m_view->table()->error().contains("1040201"));
        QCOMPARE(m_view->model()->rowCount(), 1);
        QMenu menu;
        menu.addAction("x");
        menu.popup({0, 0});
        const int before = m_farm->count(10402);
        m_view->getSubMission();
        NetTcp::instance()->nvds(105, 10502, QJsonObject()); // behind it
        QTRY_COMPARE(m_farm->count(10502), 1);
        QCOMPARE(m_farm->count(10402), before);
        menu.close();
    }

    void enabled()
    {
        for (const auto &[keys, can] : Rows<QString, QString>{{"700001", "preview log rerender cancel"},
                                                              {"700002", "preview log download rerender"},
                                                              {"700004", "log rerender"},
                                                              {"700006", "rerender cancel"},
                                                              {"700001,700006", "rerender cancel"},
                                                              {"", ""}}) {
            choose(keys.split(',', Qt::SkipEmptyParts));
            QStringList on;
            for (const char *id : {"preview", "log", "download", "rerender", "cancel"})
                if (act(id)->isEnabled())
                    on << id;
            QVERIFY2(on.join(' ') == can, qPrintable(keys + ": " + on.join(' ')));
        }
        account(77, {9, 10});
        m_view->model()->touch({});
        choose({"700002"});
        QVERIFY(!act("download")->isEnabled() && !act("rerender")->isEnabled());
    }

    void operations()
    {
        DownSpy ear;
        m_farm->answer(10403, 1040300);
        m_farm->answer(10425, 1042500);
        choose({"700001", "700006"});
        QVERIFY(trigger("cancel", "确定"));
        QTRY_COMPARE(m_farm->count(10403), 2);
        QCOMPARE(m_farm->requests(10403).first().body,
                 QJsonDocument::fromJson(R"({"missionId":7,"jobId":5,"subJobId":700001,"farmId":1})").object());
        choose({"700002", "700004"});
        const int asked = m_farm->count(10402);
        QVERIFY(trigger("rerender", "确定"));
        QTRY_COMPARE(m_farm->last(10425), QJsonDocument::fromJson(R"({"missionId":7,"subjobIds":"700002,700004"})").object());
        QTRY_VERIFY(m_farm->count(10402) > asked); // looks again
        m_farm->answer(10425, 1042501);
        QVERIFY(trigger("rerender", "确定"));
        QTRY_VERIFY(message().contains("1042501"));
        answer("确定");
        choose({"700002"});
        QVERIFY(trigger("download"));
        QTRY_COMPARE(ear.calls, QStringList("sub 7 700002 -1"));
        choose({"700005"});
        QVERIFY(trigger("download"));
        QCOMPARE(message(), QString("帧5为优先帧分块渲染，请到分块详情页面下载！"));
        QCOMPARE(ear.calls.size(), 1);
        answer("确定");
        m_farm->answer(10437, 1043700, {{"results", QJsonArray{row("700011", 3, {{"type", 201}})}}, {"totalBlock", 4}});
        m_view->table()->view()->linkClicked("700005", "blocks");
        QTRY_VERIFY(m_view->blocks() && m_view->blocks()->model()->rowCount() == 1);
        QCOMPARE(m_farm->last(10437)["subjobId"].toInt(), 700005);
        m_farm->cut(); // told; and nothing is sent twice
        m_farm->forget();
        QTest::keyClick(m_view->blocks(), Qt::Key_Escape);
        QVERIFY(m_view->isVisible());
        choose({"700004"});
        QVERIFY(trigger("rerender", "确定"));
        QTRY_VERIFY(!message().isEmpty());
        QCOMPARE(m_farm->count(10425), 0);
    }

    // Answers that are no pictures, a link that leads nowhere, one that comes too late for its index.
    void previews()
    {
        for (const auto &[software, val, body, words] :
             Rows<int, int, QByteArray, QString>{{8, 1040701, "{}", "预览失败:"},
                                                 {8, 1040700, "", "暂时无截图预览，请稍后再试！"},
                                                 {8, 1040700, "not a picture", "图片无法预览"},
                                                 {3, 1040700, "{\"url\": \"file:/etc/passwd\"}", "图片无法预览"}}) {
            m_farm->answer(10407, [val = val, body = body](const BusinessPeer::Request &) {
                return BusinessPeer::Reply{val, {}, false, body.isNull() ? QByteArray("") : body};
            });
            m_view->openTask(task(7, software));
            PreviewQN *view = m_view->previewClick("700002");
            QVERIFY(view);
            QTRY_VERIFY2(view->canvas()->note().contains(words), qPrintable(view->canvas()->note()));
            QCOMPARE(m_farm->last(10407)["subjobId"].toInt(), 700002);
            delete view;
        }
        QByteArray png;
        QBuffer out(&png);
        QImage(8, 8, QImage::Format_RGB32).save(&out, "png");
        m_farm->answer(10407, [&](const BusinessPeer::Request &) { // by itself, in place of an answer
            m_farm->sendText(-1, 10407, 1040700, png);
            return BusinessPeer::Reply{0, {}, true};
        });
        m_view->openTask(task(7));
        PreviewQN *view = m_view->previewClick("700002");
        QTRY_COMPARE(view->canvas()->note(), QString());
    }
};

// Everything here is done by the real farm.
class TestSubFarm : public QObject
{
    Q_OBJECT
    std::unique_ptr<FarmRig> m_rig;
    std::unique_ptr<QWidget> m_page;
    MissionSub *m_view = nullptr;
    int m_task = 0;
    int order(const QString &frames, const QJsonObject &more = {})
    {
        const QJsonObject number =
            m_rig->ask(10421, {{"name", "island.tgd"}, {"clientFlag", 1}, {"projectId", 1}, {"softwareType", 8}, {"machineModel", "m"}});
        QJsonObject body{
            {"scene", "d/island.tgd"},
            {"analysisTime", 1.0},
            {"missionId", number["id"]},
            {"ordernum", number["num"]},
            {"files", QJsonArray()},
            {"fileCount", 0},
            {"softwareType", 8},
            {"clientFlag", 1},
            {"modelParameters",
             QJsonObject{{"cameras",
                          QJsonArray{QJsonObject{{"name", "Cam"}, {"width", 64}, {"height", 36}, {"frames", frames}, {"selected", 1}}}}}}};
        for (auto it = more.begin(); it != more.end(); ++it)
            body.insert(it.key(), it.value());
        m_rig->ask(10400, body);
        m_rig->ask(10704, {{"missionId", number["id"]}});
        return number["id"].toInt();
    }
    QString rowOf(int status)
    {
        for (const QString &key : m_view->model()->keys())
            if (m_view->model()->record(key)->status == status)
                return key;
        return {};
    }
private slots:
    void init()
    {
        account(77);
        m_rig = std::make_unique<FarmRig>();
        m_rig->farm.stop();
        m_rig->options.frameSeconds = 0.4;
        m_rig->options.renderThreads = 1;
        QVERIFY(m_rig->farm.start(m_rig->options) && m_rig->login());
        m_page = std::make_unique<QWidget>();
        m_page->resize(900, 500);
        m_page->show();
        m_view = new MissionSub(m_page.get());
    }
    void cleanup()
    {
        closeAll();
        m_page.reset();
        m_rig.reset();
    }

    void followed()
    {
        const int id = order("1-4");
        QVERIFY(id > 0);
        m_view->openTask(task(id));
        const auto look = [&] {
            m_view->getSubMission();
            return rowOf(SubTask::Rendering);
        };
        QString running;
        QTRY_VERIFY(!(running = look()).isEmpty());
        // Its picture before it's on disk, and its log while it grows.
        PreviewQN *preview = m_view->previewClick(running);
        QTRY_VERIFY(!preview->shownFile().isEmpty());
        m_view->logHand(running);
        auto *log = topLevel<LogView>();
        QVERIFY(log);
        QTRY_VERIFY(log->log()->indexed() > 0);
        m_view->logHand(running); // the same window
        QTRY_COMPARE(m_rig->farm.order(id).framesDone, 4);
        const QString path = m_rig->ask(10804, {{"missionId", id}, {"subjobId", running.toInt()}})["path"].toString();
        QFile whole(m_rig->options.dir + '/' + path), here(log->path());
        QTRY_VERIFY(QFileInfo(here).size() == QFileInfo(whole).size() && whole.size() > 0);
        QVERIFY(whole.open(QIODevice::ReadOnly) && here.open(QIODevice::ReadOnly));
        QCOMPARE(here.readAll(), whole.readAll());
        // What is on disk is shown from there.
        const QJsonObject results = m_rig->ask(10805, {{"missionId", id}});
        const QString root = ResultPath::root(results, false),
                      file = root + '/' + results["rows"].toArray().first().toObject()["path"].toString();
        QVERIFY(!root.isEmpty() && QDir().mkpath(QFileInfo(file).path()));
        QVERIFY(QFile::copy(m_rig->farm.results(id).first().file, file));
        preview->lookAtDisk();
        QTRY_COMPARE(preview->sequence().files.values(), QStringList(file));
        QCOMPARE(preview->sequence().ordered, (QList<int>{1, 2, 3, 4}));
        // Rendered again: the new row stands below the one that it replaces.
        m_view->getSubMission();
        QTRY_COMPARE(m_view->model()->record(running)->status, 3);
        m_view->table()->view()->select({running});
        m_view->rerenAct();
        QTRY_VERIFY(!message().isEmpty());
        QVERIFY(answer("确定"));
        QTRY_VERIFY(m_view->model()->keys(running).size() == 1);
        QCOMPARE(m_view->model()->record(m_view->model()->keys(running).first())->note(), QString("重渲"));
        QVERIFY(m_rig->farm.violations().isEmpty());
    }

    // Over the local API: the log while it grows, and nothing left of it when its reader goes.
    void streamed()
    {
        const int id = order("1-2");
        HttpServer server;
        QVERIFY(server.initHttpServer(0));
        QTRY_COMPARE(m_rig->ask(10402, {{"missionId", id}, {"status", 0}, {"page", 0}})["results"].toArray().size(), 1);
        const QString sub = QString::number(
            m_rig->ask(10402, {{"missionId", id}, {"status", 0}, {"page", 0}})["results"].toArray().first().toObject()["id"].toInt());
        const auto post = [&](QTcpSocket &socket, const QString &target) {
            socket.connectToHost("127.0.0.1", server.port());
            socket.write("POST " + target.toUtf8() + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\n\r\n");
        };
        QTcpSocket leaves, stays, picture;
        post(leaves, QString("/subjob/log?mid=%1&subjobId=%2&follow=1").arg(id).arg(sub));
        post(stays, QString("/subjob/log?mid=%1&subjobId=%2&follow=1").arg(id).arg(sub));
        QVERIFY(comes([&] { // a frame that has only begun has no picture yet
            if (picture.state() == QAbstractSocket::UnconnectedState ||
                (picture.bytesAvailable() > 0 && !picture.peek(2000).contains("image/png"))) {
                picture.abort();
                post(picture, QString("/subjob/preview?mid=%1&subjobId=%2").arg(id).arg(sub));
            }
            return leaves.bytesAvailable() > 0 && picture.bytesAvailable() > 0 && picture.peek(2000).contains("image/png");
        }));
        leaves.abort();
        QTRY_COMPARE(stays.state(), QAbstractSocket::UnconnectedState);
        QByteArray body = stays.readAll(), text;
        QVERIFY(body.contains("Transfer-Encoding: chunked") && body.endsWith("0\r\n\r\n"));
        body.remove(0, body.indexOf("\r\n\r\n") + 4);
        for (int size = 1; size > 0;) {
            size = body.left(body.indexOf("\r\n")).toInt(nullptr, 16);
            text += body.mid(body.indexOf("\r\n") + 2, size);
            body.remove(0, body.indexOf("\r\n") + 4 + size);
        }
        QFile whole(m_rig->options.dir + '/' + m_rig->ask(10804, {{"missionId", id}, {"subjobId", sub.toInt()}})["path"].toString());
        QVERIFY(whole.open(QIODevice::ReadOnly));
        QCOMPARE(text, whole.readAll());
        QTRY_COMPARE(server.connections(), 0);
        QTRY_VERIFY(QDir(UserInfo::tempDir()).entryList({"*_api*"}).isEmpty()); // both took their files along
    }

    void told()
    {
        const int id = order("1-3", {{"keyFrames", "1"}, {"blocksCount", 2}});
        m_view->openTask(task(id));
        QTRY_VERIFY(m_view->model()->rowCount() == 3);
        press(m_view, "任务详情");
        QTRY_VERIFY(topLevel<MissionText>() && topLevel<MissionText>()->text().contains("订单号："));
        delete topLevel<MissionText>();
        press(m_view, "操作记录");
        QTRY_VERIFY(topLevel<MissionText>() && topLevel<MissionText>()->text().contains("操作人：demo"));
    }
};

VN_TEST(TestSubViews)
VN_TEST(TestSubFarm)
#include "tst_subviews.moc"
