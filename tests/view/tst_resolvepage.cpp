// The analysis page: what it asks of the queue, and what it asks the user first.
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/Pagination.h"
#include "db/ResolveDAO.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/CommitPreview.h"
#include "view/EnvPre.h"
#include "view/Resolve.h"
#include "view/ResolvePri.h"
#include "view/ResolveWarn.h"
#include "view/SceneInfo.h"
#include "ViewRig.h"
#include <QAction>
#include <QCheckBox>
#include <QLineEdit>

class TestResolvePage : public QObject
{
    Q_OBJECT
private:
    QScopedPointer<ResolveSpy> m_queue;
    QScopedPointer<Resolve> m_page;

    QStringList calls() // what arrived, without the page's own reading
    {
        QCoreApplication::processEvents();
        QStringList list;
        for (const QString &call : m_queue->take())
            if (!call.startsWith("read"))
                list << call;
        return list;
    }
    void show(const QList<db_resolve> &rows, const QList<qlonglong> &ticked = {})
    {
        m_page->allFile(rows, 1);
        QStringList keys;
        for (qlonglong key : ticked)
            keys << QString::number(key);
        m_page->model()->tick(keys, true);
    }
    QModelIndex cell(qlonglong key, const char *column) const
    {
        return m_page->model()->indexOf(QString::number(key), m_page->model()->columnOf(column));
    }
    QAction *action(const char *id) const { return m_page->table()->acts()->action(id); }
    QStringList press(const char *id) // the bar's or the menu's action; a question is answered with yes
    {
        action(id)->trigger();
        Background::finish();
        QCoreApplication::processEvents();
        if (MsgBox *box = topLevel<MsgBox>())
            box->findChildren<QPushButton *>().first()->click();
        else if (!::press(topLevel<CommitPreview>(), "提交"))
            ::press(topLevel<CommitPreview>(), "仍要提交");
        m_page->table()->acts()->sendNow(); // a deletion that could still be taken back
        return calls();
    }

private slots:
    void initTestCase() { account(52); }
    void init()
    {
        m_queue.reset(new ResolveSpy);
        m_page.reset(new Resolve);
        m_page->resize(1000, 500);
        m_page->show();
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 0 30"));
        m_queue->take();
    }
    void cleanup()
    {
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (widget->isVisible() && widget != m_page.data())
                widget->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_page.reset();
        m_queue.reset();
    }

    void asksAgainUntilTheQueueStands()
    {
        m_page.reset();
        m_queue.reset();
        m_page.reset(new Resolve);
        QCoreApplication::processEvents();
        m_queue.reset(new ResolveSpy);
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 0 30"));
    }

    // Every act in every state, through its real action: what reaches the queue.
    void acts_data()
    {
        columns<int, QString>("state", "wanted");
        const auto row = [](int state, const char *wanted) { addRow(qPrintable(QString::number(state)), state, wanted); };
        row(100, "again:again 1|delete:del 1|pauseAnalysis:change 1 0");
        row(101, "again:again 1|delete:del 1|pauseAnalysis:change 1 0");
        row(102, "again:again 1|delete:del 1|keepAnalysis:change 1 1");
        row(103, "again:again 1|commit:commit 1 1|delete:del 1|para:para 1");
        row(104, "again:again 1|commit:commit 1 1|delete:del 1");
        row(105, "again:again 1|commit:commit 1 1|delete:del 1|para:para 1");
        row(106, "again:again 1|commit:commit 1 1|delete:del 1|para:para 1");
        row(107, "delete:del 1");
        row(108, "delete:del 1");
        row(109, "delete:del 1|recommit:commit 1 0");
        row(110, "delete:del 1|pauseUpload:change 1 2");
        row(111, "delete:del 1|pauseUpload:change 1 2");
        row(112, "delete:del 1|keepUpload:change 1 3");
        row(113, "delete:del 1|keepUpload:change 1 3");
        row(114, "delete:del 1");
        row(115, "delete:del 1");
    }
    void acts()
    {
        QFETCH(int, state);
        QStringList done;
        for (const char *id :
             {"again", "commit", "delete", "keepAnalysis", "keepUpload", "para", "pauseAnalysis", "pauseUpload", "recommit"}) {
            show({scene(1, state)}, {1});
            if (action(id)->isEnabled())
                done << QString("%1:%2").arg(id, press(id).join(','));
        }
        QTEST(done.join('|'), "wanted");
    }
    // The row's buttons, clicked where they're drawn.
    void rowButtons_data()
    {
        columns<int, QString, QString>("state", "words", "wanted"); // wanted: of the first one
        addRow("waiting", 100, "取消|优先级", "del 1");
        addRow("analysing", 101, "暂停|取消", "change 1 0");
        addRow("analysis paused", 102, "继续|取消", "change 1 1");
        addRow("done", 106, "取消", "del 1");
        addRow("uploading", 111, "暂停|取消|优先级", "change 1 2");
        addRow("upload paused", 112, "继续|取消", "change 1 3");
        addRow("upload failed", 113, "继续|取消", "change 1 3");
    }
    void rowButtons()
    {
        QFETCH(int, state);
        show({scene(1, state)});
        QStringList words = cell(1, "acts").data(CellRole::Buttons).toStringList();
        words.removeAll(QString());
        QTEST(words.join('|'), "words");
        RecordView *view = m_page->table()->view();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(cell(1, "acts")).topLeft() + QPoint(12, 14));
        if (words.first() == "取消") {
            QVERIFY(message().contains("shot_1.tgd"));
            QVERIFY(answer("取消任务"));
            m_page->table()->acts()->sendNow();
        }
        QTEST(calls().join(','), "wanted");
    }
    void rights()
    {
        account(52, {19, 20});
        show({scene(1, 101), scene(2, 106)});
        QVERIFY(!cell(1, "acts").data(CellRole::Buttons).toStringList().contains("取消"));
        m_page->resolveStateHand(0, cell(2, "state"));
        QCOMPARE(message(), QString("您还没有参数设置的权限！"));
        m_page->paraSet(scene(2, 106));
        Background::finish();
        QVERIFY(calls().isEmpty() && !topLevel<SceneInfo>());
        account(52);
    }

    // One panel for many; failed ones stay behind; others of the same drop are told and may stay.
    void commitQuestions()
    {
        const auto said = [] { return topLevel<CommitPreview>() ? allText(topLevel<CommitPreview>()) : QString(); };
        const auto back = [] { return ::press(topLevel<CommitPreview>(), "返回") && !topLevel<CommitPreview>(); };
        show({scene(1, 106), scene(2, 103), scene(3, 111), scene(4, 104)}, {1, 2, 3, 4});
        action("commit")->trigger();
        QTRY_VERIFY(said().contains("批量提交无法修改参数，确定提交吗？") && said().contains("2 个场景"));
        QVERIFY(back() && calls().isEmpty());
        QCOMPARE(press("commit"), (QStringList{"commit 1 1", "commit 2 1"}));
        show({scene(4, 104)}, {4});
        action("commit")->trigger();
        QTRY_VERIFY(said().contains("解析失败"));
        activate(topLevel<CommitPreview>());
        QTest::keyClick(topLevel<CommitPreview>()->focusWidget(), Qt::Key_Return); // Enter doesn't spend money here
        QVERIFY(!topLevel<CommitPreview>() && calls().isEmpty());
        action("commit")->trigger();
        QTRY_VERIFY(topLevel<CommitPreview>());
        QVERIFY(::press(topLevel<CommitPreview>(), "仍要提交"));
        QCOMPARE(calls(), QStringList{"commit 4 1"});
        show({scene(4, 104), scene(5, 104)}, {4, 5});
        action("commit")->trigger();
        QVERIFY(message().contains("重新解析") && answer("确定") && calls().isEmpty());
    }
    void othersOfTheBatchMayStay()
    {
        const QString dir = testHome() + "/batch";
        ResolveDAO *dao = ResolveDAO::instance();
        QVERIFY(QDir().mkpath(dir) && dao->open(dir));
        QList<db_resolve> rows{scene(1, 106), scene(2, 103), scene(3, 101), scene(4, 106)};
        QVERIFY(dao->insertBatch(&rows));
        QList<db_resolve> strangers{scene(20, 103)};
        QVERIFY(dao->insertBatch(&strangers));
        QCOMPARE(dao->countAlong({1}), 2);
        QCOMPARE(dao->countAlong({1, 2, 3}), 0);
        show({scene(1, 106)}, {1});
        action("commit")->trigger();
        QTRY_VERIFY(topLevel<CommitPreview>());
        auto *along = topLevel<CommitPreview>()->findChild<QCheckBox *>();
        QVERIFY(along && along->text().contains("2") && along->isChecked());
        along->setChecked(false);
        activate(topLevel<CommitPreview>());
        QTest::keyClick(topLevel<CommitPreview>()->focusWidget(), Qt::Key_Return); // whatever the figures say by now
        QCOMPARE(calls(), QStringList{"commit 1 0"});
        dao->releaseResolve();
    }

    // The store's pages: sorted over all rows, and the one that holds a row.
    void pagesOfTheStore()
    {
        const QString dir = testHome() + "/pages";
        ResolveDAO *dao = ResolveDAO::instance();
        QVERIFY(QDir().mkpath(dir) && dao->open(dir));
        QList<db_resolve> rows;
        for (int i = 0; i < 7; ++i)
            rows << scene(i + 1, 106, QString("/%1/shot_%2.tgd").arg(i).arg(9 - i));
        QVERIFY(dao->insertBatch(&rows));
        ScenePage wanted;
        wanted.size = 3;
        const auto keys = [&] {
            QStringList out;
            for (const db_resolve &res : dao->readPage(wanted))
                out << QString::number(res.rkey);
            return out.join(' ');
        };
        QCOMPARE(keys(), QString("1 2 3"));
        wanted.sort = "name"; // of the file, wherever it lies
        QCOMPARE(keys(), QString("7 6 5"));
        wanted.down = true, wanted.page = 2;
        QCOMPARE(keys(), QString("7"));
        wanted.sort = "state; drop table resolve", wanted.down = false, wanted.holding = 5;
        QSignalSpy found(dao, &ResolveDAO::pageFound);
        QCOMPARE(keys(), QString("4 5 6"));
        QCOMPARE(found.value(0).value(0).toInt(), 1);
        wanted.holding = 99; // gone: the page that was asked for
        QCOMPARE(keys(), QString("7"));
        dao->releaseResolve();
    }
    // New scenes are shown where they stand, and selected; those of others are only told.
    void newScenesAreShown()
    {
        m_page->backEnvPre(8, {"/p/a.tgd"}, {});
        emit topLevel<EnvPre>()->submitted();
        topLevel<EnvPre>()->close();
        m_queue->take();
        emit ResolveDAO::instance()->inserted({31, 32});
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 0 30 holding 31"));
        emit ResolveDAO::instance()->pageFound(1);
        emit ResolveDAO::instance()->allFile({scene(30, 106), scene(31, 100), scene(32, 100)}, 2);
        QTRY_COMPARE(m_page->table()->view()->selected(), (QStringList{"31", "32"}));
        QCOMPARE(m_page->table()->pages()->page(), 1);
        m_queue->take();
        emit ResolveDAO::instance()->inserted({40});
        QTRY_VERIFY(m_page->findChild<Toast *>());
        QVERIFY(m_queue->take().isEmpty());
        QVERIFY(::press(m_page->findChild<Toast *>(), "查看"));
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 1 30 holding 40"));
    }
    void reasonsInTheTip_data()
    {
        columns<int, int, QString>("state", "error", "begins");
        addRow("analysis", 104, 10013, "模型文件不存在 (10013)\n丢失文件");
        addRow("server", 109, 1042101, "余额不足 (1042101)\n丢失文件");
        addRow("unknown", 109, 1049999, "服务器拒绝了请求 (1049999)");
        addRow("warned", 103, 0, "丢失文件");
        addRow("nothing to tell", 106, 0, "解析完成");
    }
    void reasonsInTheTip()
    {
        FETCH(QString, begins, int, state, int, error);
        db_resolve res = scene(1, state);
        res.error = error;
        res.errstr = "丢失文件：\r\n/a/b.tif\r\n" + QString(5 << 20, 'x');
        show({res});
        const QString tip = cell(1, "state").data(Qt::ToolTipRole).toString();
        QVERIFY2(tip.startsWith(begins) && tip.size() < 1000, qPrintable(tip.left(200)));
    }
    void storeSignals()
    {
        show({scene(1, 110), scene(2, 101)}, {1});
        QVERIFY(action("pauseUpload")->isEnabled());
        m_page->upProgress(1, 4, 8);
        QCOMPARE(cell(1, "progress").data().toString(), QString("4/8"));
        db_resolve res = scene(1, 113);
        res.fok = 5, res.fsum = 8;
        m_page->stateChanged(res);
        QVERIFY(!action("pauseUpload")->isEnabled() && action("keepUpload")->isEnabled());
        res.ordernum = "A-77", res.missionid = 77;
        m_page->orderChanged(res);
        QCOMPARE(cell(1, "order").data().toString(), QString("A-77"));
        QCOMPARE(cell(1, "tick").data(Qt::UserRole + 1).toInt(), 77);
        m_page->stateChanged(scene(99, 100)); // not on this page
        QCOMPARE(m_page->model()->keys(), (QStringList{"1", "2"}));
    }

    void deleting()
    {
        show({scene(1, 106, {}, 900), scene(2, 100)}, {1, 2});
        m_page->delAct();
        QCOMPARE(message(), QString("确定删除选中的 2 个任务吗？"));
        QVERIFY(answer("返回") && calls().isEmpty());
        m_page->delAct();
        QVERIFY(answer("删除任务"));
        QVERIFY(calls().isEmpty()); // both can be taken back
        QCOMPARE(cell(1, "acts").data(CellRole::Buttons).toStringList().first(), QString("撤销"));
        RecordView *view = m_page->table()->view();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(cell(1, "acts")).topLeft() + QPoint(12, 14));
        m_page->table()->acts()->sendNow();
        QCOMPARE(calls(), QStringList("del 2"));
        QVERIFY(!cell(1, "acts").data(CellRole::Buttons).toStringList().contains("撤销"));
        m_page->table()->acts()->setUndoMs(1);
        m_page->delAct();
        QVERIFY(answer("删除任务"));
        QTRY_COMPARE(m_queue->calls.filter("del").size(), 2); // by itself, once its time is over
    }

    void stateClicks_data()
    {
        columns<int, QString>("state", "wanted");
        addRow("done", 106, "para 1");
        addRow("analysis error", 104, "error 0 1");
        addRow("commit error", 109, "error 0 1");
        addRow("no order", 114, "error 0 1");
        addRow("warning", 103, "error 1 1");
        addRow("running", 101, "");
    }
    void stateClicks()
    {
        QFETCH(int, state);
        show({scene(1, state)});
        m_page->resolveStateHand(0, cell(1, "state"));
        QTEST(calls().value(0), "wanted");
    }
    void warnings()
    {
        db_resolve res = scene(5, 103);
        res.errstr = "警告：没有设置默认相机。\r\n丢失文件：\r\n/a/b.tif\r\n";
        m_page->seeWarn(res);
        auto *dialog = topLevel<ResolveWarn>();
        QVERIFY(dialog);
        QVERIFY(::press(dialog, "忽略警告继续提交"));
        QCOMPARE(calls(), QStringList{"commit 5 0"});
        m_page->seeWarn(res);
        QCOMPARE(topLevel<ResolveWarn>()->focusWidget(), buttonOf(topLevel<ResolveWarn>(), "关闭"));
        QVERIFY(::press(topLevel<ResolveWarn>(), "重新解析"));
        QCOMPARE(calls(), QStringList{"again 5"});
    }

    void priorities()
    {
        const QString dir = testHome() + "/pri";
        QVERIFY(QDir().mkpath(dir) && ResolveDAO::instance()->open(dir));
        ResolvePri dialog(0, m_page.data());
        emit ResolveDAO::instance()->allReswait({scene(1, 100), scene(2, 100), scene(3, 100)});
        RecordModelBase *rows = dialog.table()->view()->records();
        QTRY_COMPARE(rows->keys().join(""), QString("123"));
        emit ResolveDAO::instance()->allReswait({scene(7, 110), scene(8, 111)}); // an answer about the other queue
        dialog.table()->view()->select({"2", "3"});
        QVERIFY(::press(&dialog, "置顶"));
        dialog.table()->view()->select({"3"});
        QVERIFY(::press(&dialog, "下移"));
        QCoreApplication::processEvents();
        QCOMPARE(rows->keys().join(""), QString("213"));
        dialog.show();
        RecordView *view = dialog.table()->view();
        const auto middle = [&](int row) { return view->visualRect(rows->index(row, 1)).center(); };
        const auto drag = [&](int row, const QPoint &to) {
            QTest::mousePress(view->viewport(), Qt::LeftButton, {}, middle(row));
            QMouseEvent move(QEvent::MouseMove, to, view->viewport()->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
            QApplication::sendEvent(view->viewport(), &move);
            QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, to);
            return rows->keys().join("");
        };
        view->clearSelection();
        QCOMPARE(drag(2, middle(0) - QPoint(0, 10)), QString("321"));
        view->select({"3", "2"}); // both go along, to the end
        QCOMPARE(drag(0, middle(2) + QPoint(0, 10)), QString("132"));
        QCOMPARE(drag(1, middle(1) + QPoint(1, 0)), QString("132")); // a click moves nothing
        emit ResolveDAO::instance()->stateChanged(scene(1, 101));    // runs now: it no longer waits
        emit ResolveDAO::instance()->resolveDeleted(2);
        QTRY_COMPARE(rows->keys().join(""), QString("3"));
        QSignalSpy saved(&dialog, &ResolvePri::saved);
        QVERIFY(::press(&dialog, "保存"));
        QTRY_COMPARE(saved.size(), 1);
        QTRY_VERIFY(m_queue->calls.count("wait 0") >= 2);
        ResolveDAO::instance()->releaseResolve();
    }

    void priorityOfTheRightQueue_data()
    {
        columns<int, int>("state", "type");
        addRow("analysis", 100, 0);
        addRow("upload", 110, 1);
        addRow("uploading", 111, 1);
    }
    void priorityOfTheRightQueue()
    {
        FETCH(int, state, int, type);
        show({scene(1, state), scene(2, state == 100 ? 110 : 100)}, {});
        m_page->resolveHand(2, cell(2, "acts")); // the other one's dialog stands open
        calls();
        m_page->resolveHand(2, cell(1, "acts"));
        QTRY_VERIFY(topLevel<ResolvePri>());
        QCOMPARE(calls(), QStringList(QString("wait %1").arg(type)));
        const QWidgetList all = QApplication::topLevelWidgets();
        const auto open = [](const QWidget *one) { return qobject_cast<const ResolvePri *>(one) && one->isVisible(); };
        QCOMPARE(std::count_if(all.begin(), all.end(), open), 1);
    }

    void dropWantsRightAndMoney()
    {
        account(52, {19});
        m_page->rFile({"/a.tgd"});
        QCOMPARE(message(), QString("您还没有解析文件的权限，请联系您的母账号开通！"));
        QVERIFY(answer("确定"));
        account(52);
        m_page->setBalance(0);
        m_page->rFile({"/a.tgd"});
        QCOMPARE(message(), QString("余额不足，请充值"));
    }
    // A drop goes the road of the local command API and comes back as a dialog or as a reason.
    void drop_data()
    {
        columns<QStringList, QString>("files", "said");
        const QString tgd = testHome() + "/drop.tgd", max = testHome() + "/drop.max";
        addRow("one", QStringList{tgd}, "");
        addRow("missing", QStringList{"/nowhere/x.tgd"}, "没有模型文件");
        addRow("two kinds", QStringList{tgd, max}, "场景文件中包含多种类型，请筛选后再拖入！");
    }
    void drop()
    {
        FETCH(QStringList, files, QString, said);
        for (const char *name : {"/drop.tgd", "/drop.max"}) {
            QFile file(testHome() + QLatin1String(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        emit m_page->dropFileList(files);
        if (said.isEmpty()) {
            QTRY_VERIFY(topLevel<EnvPre>());
            QCOMPARE(topLevel<EnvPre>()->windowTitle(), QString("提交Terragen文件"));
        } else {
            QTRY_COMPARE(message(), said);
        }
    }

    void search()
    {
        m_page->table()->search()->setText(" shot'% ");
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 0 30 shot'%"));
    }
    void paging()
    {
        m_page->allFile({scene(1, 100)}, 3);
        Pagination *pages = m_page->table()->pages();
        QVERIFY(pages->isVisibleTo(m_page.data()));
        emit pages->findChildren<QToolButton *>().last()->clicked();
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 1 30"));
        m_queue->take();
        m_page->resolveDeleted(1);
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 1 30"));
        m_page->allFile({}, 1); // the last page is gone: the one before it is read
        QTRY_COMPARE(m_queue->calls.value(1), QString("read 0 30"));
    }

    void sceneParameters()
    {
        const QJsonObject rdata{
            {"modelParameters", QJsonObject{{"cameras", QJsonArray{QJsonObject{{"name", "cam1"}, {"giName", "gi"}, {"vrMode", 1}},
                                                                   QJsonObject{{"name", "cam2"}, {"width", 800}, {"vrMode", 2}}}},
                                            {"formats", QJsonArray{"exr", "png"}}}}};
        QStringList lines;
        for (const SceneInfo::Line &line : SceneInfo::lines(rdata))
            lines << QString("%1%2=%3").arg(QString(line.depth, ' '), line.name, line.value);
        QCOMPARE(lines.join('|'),
                 QString("相机=2| cam1=|  光子节点=gi|  光子方式=本地光子| cam2=|  光子方式=From file|  宽度=800|formats=exr, png"));
        QCOMPARE(SceneInfo::lines(rdata, 3).size(), 3);
        QVERIFY(SceneInfo::lines({}).isEmpty());
        db_resolve res = scene(4, 106, "/s.skp");
        res.rdata = QJsonDocument(rdata).toJson();
        m_page->paraSet(res);
        QTRY_VERIFY(topLevel<SceneInfo>());
        QVERIFY(topLevel<SceneInfo>()->width() > 600 && topLevel<SceneInfo>()->height() > 420);
        QVERIFY(::press(topLevel<SceneInfo>(), "提交渲染"));
        QCOMPARE(calls(), QStringList{"commit 4 0"});
    }
};

VN_TEST(TestResolvePage)
#include "tst_resolvepage.moc"
