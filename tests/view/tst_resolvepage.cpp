// The analysis page: what it asks of the queue, and what it asks the user first.
#include "common/ui/Pagination.h"
#include "db/ResolveDAO.h"
#include "support/TestMain.h"
#include "view/EnvPre.h"
#include "view/Resolve.h"
#include "view/ResolvePri.h"
#include "view/ResolveWarn.h"
#include "view/SceneInfo.h"
#include "ViewRig.h"
#include <QLineEdit>
#include <QTableView>
#include <QTableWidget>

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
        m_page->model()->tick(ticked, true);
    }
    QModelIndex cell(qlonglong key, int column) const { return m_page->model()->index(m_page->model()->rowOf(key), column); }

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

    void menu_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QStringList>("wanted"); // of rows 1 to 7 below, all ticked
        QTest::newRow("recommit") << "recommitAct" << QStringList{"commit 5 0"};
        QTest::newRow("again") << "reresAct" << QStringList{"again 1", "again 2", "again 3", "again 4"};
        QTest::newRow("pause analysis") << "pauseresAct" << QStringList{"change 1 0", "change 2 0"};
        QTest::newRow("resume analysis") << "keepresAct" << QStringList{"change 3 1"};
        QTest::newRow("pause upload") << "pauseupAct" << QStringList{"change 6 2"};
        QTest::newRow("resume upload") << "keepupAct" << QStringList{"change 7 3"};
    }
    void menu()
    {
        QFETCH(QString, slot);
        show({scene(1, 100), scene(2, 101), scene(3, 102), scene(4, 106), scene(5, 109), scene(6, 111), scene(7, 113)},
             {1, 2, 3, 4, 5, 6, 7});
        QVERIFY(QMetaObject::invokeMethod(m_page.data(), slot.toLatin1().constData()));
        QTEST(calls(), "wanted");
    }

    void commit()
    {
        show({scene(1, 106), scene(2, 103), scene(3, 111)}, {1});
        m_page->commitAct();
        QCOMPARE(calls(), QStringList{"commit 1 1"});
        m_page->model()->tickAll(true); // the uploading one doesn't count
        m_page->commitAct();
        QCOMPARE(message(), QString("批量提交无法修改参数，确定提交吗？"));
        QVERIFY(answer("取消"));
        QVERIFY(calls().isEmpty());
        m_page->commitAct();
        QVERIFY(answer("确定"));
        QCOMPARE(calls(), (QStringList{"commit 1 1", "commit 2 1"}));
        // Of several scenes a failed one stays behind; alone it is the user's own decision.
        show({scene(1, 106), scene(2, 104), scene(4, 104)}, {1, 2, 4});
        m_page->commitAct();
        QCOMPARE(calls(), QStringList{"commit 1 1"});
        show({scene(2, 104), scene(4, 104)}, {2, 4});
        m_page->commitAct();
        QVERIFY(message().contains("重新解析") && answer("确定"));
        show({scene(4, 104)}, {4});
        m_page->commitAct();
        QCOMPARE(calls(), QStringList{"commit 4 1"});
    }
    void selectionStandsInForTicks()
    {
        show({scene(1, 106), scene(2, 102)});
        auto *table = m_page->findChild<QTableView *>();
        QVERIFY(!buttonOf(m_page.data(), "提交渲染")->isEnabled());
        table->selectRow(0);
        QVERIFY(buttonOf(m_page.data(), "提交渲染")->isEnabled());
        m_page->commitAct();
        QCOMPARE(calls(), QStringList{"commit 1 1"});
        m_page->model()->tick({2}, true); // ticked rows win
        m_page->commitAct();
        QVERIFY(calls().isEmpty());
        QVERIFY(!buttonOf(m_page.data(), "提交渲染")->isEnabled());
        m_page->stateChanged(scene(2, 106)); // ... and follow their states
        QVERIFY(buttonOf(m_page.data(), "提交渲染")->isEnabled());
    }

    void deleting()
    {
        show({scene(1, 106, {}, 900), scene(2, 100)}, {1, 2});
        m_page->delAct();
        QCOMPARE(message(), QString("确定删除选中的 2 个任务吗？"));
        QVERIFY(answer("取消"));
        QVERIFY(calls().isEmpty());
        m_page->delAct();
        QVERIFY(answer("确定"));
        QTRY_COMPARE(m_queue->calls.size(), 2);
        QStringList got = calls();
        got.sort();
        QCOMPARE(got, (QStringList{"del 1", "del 2"}));
    }
    void stateClicks_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("wanted");
        QTest::newRow("done") << 106 << "para 1";
        QTest::newRow("analysis error") << 104 << "error 0 1";
        QTest::newRow("commit error") << 109 << "error 0 1";
        QTest::newRow("no order") << 114 << "error 0 1";
        QTest::newRow("warning") << 103 << "error 1 1";
        QTest::newRow("running") << 101 << "";
    }
    void stateClicks()
    {
        QFETCH(int, state);
        show({scene(1, state)});
        m_page->resolveStateHand(0, cell(1, ResolveModel::State));
        QTEST(calls().value(0), "wanted");
    }
    void parametersWantARight()
    {
        account(52, {20});
        show({scene(1, 106)});
        m_page->resolveStateHand(0, cell(1, ResolveModel::State));
        QCOMPARE(message(), QString("您还没有参数设置的权限！"));
        m_page->paraSet(scene(1, 106));
        QVERIFY(calls().isEmpty() && !topLevel<SceneInfo>());
        account(52);
    }
    void rowButtons()
    {
        show({scene(1, 101), scene(2, 112), scene(3, 100), scene(4, 106)});
        m_page->resolveHand(0, cell(1, ResolveModel::Hand));
        m_page->resolveHand(0, cell(2, ResolveModel::Hand));
        m_page->resolveHand(0, cell(4, ResolveModel::Hand));
        QCOMPARE(calls(), (QStringList{"change 1 0", "change 2 3"}));
        m_page->resolveHand(1, cell(3, ResolveModel::Hand));
        QCOMPARE(message(), QString("确定删除“shot_3.tgd”吗？"));
        QVERIFY(answer("取消"));
        m_page->resolveHand(2, cell(3, ResolveModel::Hand));
        QVERIFY(topLevel<ResolvePri>());
        QCOMPARE(calls(), QStringList{"wait 0"});
    }

    void warnings()
    {
        db_resolve res = scene(5, 103);
        res.errstr = "警告：没有设置默认相机。\r\n丢失文件：\r\n/a/b.tif\r\n";
        m_page->seeWarn(res);
        auto *dialog = topLevel<ResolveWarn>();
        QVERIFY(dialog);
        QVERIFY(press(dialog, "提交渲染"));
        QCOMPARE(calls(), QStringList{"commit 5 0"});
        m_page->seeWarn(res);
        QVERIFY(press(topLevel<ResolveWarn>(), "重新解析"));
        QCOMPARE(calls(), QStringList{"again 5"});
    }

    void priorities()
    {
        const QString dir = testHome() + "/pri";
        QVERIFY(QDir().mkpath(dir) && ResolveDAO::instance()->open(dir));
        ResolvePri dialog(0, m_page.data());
        emit ResolveDAO::instance()->allReswait({scene(1, 100), scene(2, 100), scene(3, 100)});
        auto *table = dialog.findChild<QTableWidget *>();
        QTRY_COMPARE(table->rowCount(), 3);
        table->selectRow(2);
        QVERIFY(press(&dialog, "置顶"));
        QVERIFY(press(&dialog, "下移"));
        const auto order = [table] {
            QString text;
            for (int i = 0; i < table->rowCount(); ++i)
                text += table->item(i, 0)->data(Qt::UserRole).toString();
            return text;
        };
        QCOMPARE(order(), QString("132"));
        emit ResolveDAO::instance()->stateChanged(scene(1, 101)); // runs now: it no longer waits
        emit ResolveDAO::instance()->resolveDeleted(2);
        QTRY_COMPARE(order(), QString("3"));
        QSignalSpy saved(&dialog, &ResolvePri::saved);
        QVERIFY(press(&dialog, "保存"));
        QTRY_COMPARE(saved.size(), 1);
        QTRY_VERIFY(m_queue->calls.count("wait 0") >= 2);
        ResolveDAO::instance()->releaseResolve();
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
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("said");
        const QString tgd = testHome() + "/drop.tgd", max = testHome() + "/drop.max";
        QTest::newRow("one") << QStringList{tgd} << "";
        QTest::newRow("missing") << QStringList{"/nowhere/x.tgd"} << "没有模型文件";
        QTest::newRow("two kinds") << QStringList{tgd, max} << "场景文件中包含多种类型，请筛选后再拖入！";
    }
    void drop()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, said);
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
        m_page->findChild<QLineEdit *>(QString(), Qt::FindDirectChildrenOnly)->setText(" shot'% ");
        QTRY_COMPARE(m_queue->calls.value(0), QString("read 0 30 shot'%"));
    }
    void paging()
    {
        m_page->allFile({scene(1, 100)}, 3);
        auto *pages = m_page->findChild<Pagination *>();
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
        const QJsonObject rdata{{"modelParameters", QJsonObject{{"cameras", QJsonArray{QJsonObject{{"name", "cam1"}, {"frames", "1-10"}},
                                                                                       QJsonObject{{"name", "cam2"}, {"width", 800}}}},
                                                                {"formats", QJsonArray{"exr", "png"}}}}};
        QStringList lines;
        for (const SceneInfo::Line &line : SceneInfo::lines(rdata))
            lines << QString("%1%2=%3").arg(QString(line.depth, ' '), line.name, line.value);
        QCOMPARE(lines.join('|'), QString("相机=2| cam1=|  帧=1-10| cam2=|  宽度=800|formats=exr, png"));
        QCOMPARE(SceneInfo::lines(rdata, 3).size(), 3);
        QVERIFY(SceneInfo::lines({}).isEmpty());
        db_resolve res = scene(4, 106);
        res.rdata = QJsonDocument(rdata).toJson();
        m_page->paraSet(res);
        QVERIFY(press(topLevel<SceneInfo>(), "提交渲染"));
        QCOMPARE(calls(), QStringList{"commit 4 0"});
    }
};

VN_TEST(TestResolvePage)
#include "tst_resolvepage.moc"
