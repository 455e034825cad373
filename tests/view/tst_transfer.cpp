// The transfer page: rows, texts and colours of states, buttons, and what they ask of the handlers.
#include "common/ui/Background.h"
#include "common/ui/Delegates.h"
#include "common/ui/Palette.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "support/TestMain.h"
#include "view/DownCover.h"
#include "view/Transfer.h"
#include "view/TransferHand.h"
#include "ViewRig.h"
#include <QTreeView>

class TestTransfer : public QObject
{
    Q_OBJECT
private:
    static TransferFile file(qlonglong pri, int state, qlonglong size = 1000, int error = 0)
    {
        TransferFile one;
        one.pri = pri;
        one.path = QString("/tex/file_%1.tif").arg(pri);
        one.state = state;
        one.size = size;
        one.error = error;
        return one;
    }
    static TransferGroup order(const QString &key, int state, qlonglong size = 0)
    {
        db_resolve res = scene(key.mid(4).toLongLong(), state, {}, 31);
        res.ordernum = key;
        res.fsize = size;
        res.fok = 1, res.fsum = 3;
        return TransferRules::upload(res);
    }
    static QVariant cell(const TransferModel &model, const QModelIndex &row, int column, int role = Qt::DisplayRole)
    {
        return model.index(row.row(), column, row.parent()).data(role);
    }
    static QModelIndex child(const TransferModel &model, const QString &key, int row) { return model.index(row, 0, model.groupIndex(key)); }

private slots:
    void initTestCase() { account(53); }

    void sizes_data()
    {
        QTest::addColumn<qlonglong>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << 0LL << "0B";
        QTest::newRow("negative") << -5LL << "0B";
        QTest::newRow("bytes") << 1023LL << "1023B";
        QTest::newRow("a kilobyte") << 1024LL << "1.00KB";
        QTest::newRow("tens") << 15360LL << "15.0KB";
        QTest::newRow("mega") << (5LL << 20) << "5.00MB";
        QTest::newRow("past the units") << (3000LL << 40) << "3000.0TB";
    }
    void sizes()
    {
        QFETCH(qlonglong, bytes);
        QFETCH(QString, text);
        QCOMPARE(TransferRules::sizeText(bytes), text);
        QCOMPARE(TransferRules::speedText(bytes), text + "/S");
    }

    void fileStates_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tip");
        QTest::addColumn<QColor>("colour");
        QTest::newRow("waiting") << 10 << 0 << "等待上传"
                                 << "等待上传" << Palette::text;
        QTest::newRow("uploading") << 11 << 0 << "上传中"
                                   << "上传中" << Palette::accent;
        QTest::newRow("paused") << 12 << 0 << "上传暂停"
                                << "上传暂停" << Palette::text;
        QTest::newRow("changed file") << 13 << 10019 << "上传异常"
                                      << "10019_文件被修改，重新上传" << Palette::failed;
        QTest::newRow("given up") << 30 << 10013 << "上传异常"
                                  << "10013_startPos错误" << Palette::failed;
        QTest::newRow("server at work") << 50 << 7000412 << "服务处理中"
                                        << "7000412_待hash" << Palette::accent;
        QTest::newRow("downloading") << 1 << 0 << "下载中"
                                     << "下载中" << Palette::accent;
        QTest::newRow("no money") << 3 << 1080009 << "下载异常:余额不足"
                                  << "1080009_余额不足" << Palette::failed;
        QTest::newRow("unknown code") << 31 << 12345 << "下载异常"
                                      << "12345_12345" << Palette::failed;
    }
    void fileStates()
    {
        QFETCH(int, state);
        QFETCH(int, error);
        QFETCH(QColor, colour);
        TransferModel model(true, nullptr);
        model.setGroups({order("2026001", 111)});
        model.setFiles("2026001", {file(7, 10)}, true);
        QVERIFY(model.changeState(7, state, error));
        const QModelIndex row = child(model, "2026001", 0);
        QTEST(cell(model, row, TransferModel::State).toString(), "text");
        QTEST(cell(model, row, TransferModel::State, Qt::ToolTipRole).toString(), "tip");
        QCOMPARE(cell(model, row, TransferModel::State, CellRole::Tint).value<QColor>(), colour);
    }

    void buttons_data()
    {
        QTest::addColumn<bool>("uploads");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("texts");
        QTest::newRow("order waits") << true << 110 << "|暂停||删除|目录|";
        QTest::newRow("order uploads") << true << 111 << "|暂停||删除|目录|";
        QTest::newRow("order paused") << true << 112 << "继续|||删除|目录|";
        QTest::newRow("order failed") << true << 113 << "||重新上传|删除|目录|";
        QTest::newRow("mission waits") << false << 0 << "|暂停||删除|目录|优先";
        QTest::newRow("mission runs") << false << 1 << "|暂停||删除|目录|";
        QTest::newRow("mission paused") << false << 2 << "继续|||删除|目录|";
        QTest::newRow("mission failed") << false << 3 << "||重新下载|删除|目录|";
    }
    void buttons()
    {
        QFETCH(bool, uploads);
        QFETCH(int, state);
        QTEST(TransferRules::buttons(uploads, state).join('|'), "texts");
    }
    void presses_data()
    {
        QTest::addColumn<bool>("uploads");
        QTest::addColumn<int>("button");
        QTest::addColumn<bool>("asks");
        QTest::addColumn<QString>("wanted");
        using R = TransferRules::Button;
        QTest::newRow("pause order") << true << int(R::Pause) << false << "change 0 2 2026009";
        QTest::newRow("resume order") << true << int(R::Start) << false << "change 0 3 2026009";
        QTest::newRow("order again") << true << int(R::Again) << false << "change 0 3 2026009";
        QTest::newRow("delete order") << true << int(R::Delete) << true << "del 9";
        QTest::newRow("pause mission") << false << int(R::Pause) << false << "pause 88";
        QTest::newRow("resume mission") << false << int(R::Start) << false << "re 88";
        QTest::newRow("mission again") << false << int(R::Again) << false << "re 88";
        QTest::newRow("mission first") << false << int(R::Priority) << false << "pri 88";
        QTest::newRow("delete mission") << false << int(R::Delete) << true << "del 88";
    }
    void presses()
    {
        QFETCH(bool, uploads);
        QFETCH(int, button);
        QFETCH(bool, asks);
        ResolveSpy queue;
        DownSpy down;
        QWidget page;
        page.show();
        TransferHand hand(&page);
        TransferGroup group;
        group.order = "2026009";
        group.rkey = 9;
        group.pri = 88;
        hand.setRow(uploads, group);
        hand.press(button);
        QCoreApplication::processEvents();
        if (asks) {
            QVERIFY(queue.calls.isEmpty() && down.calls.isEmpty());
            QVERIFY(answer("确定"));
        }
        QCoreApplication::processEvents();
        QTEST((uploads ? queue.calls : down.calls).join('|'), "wanted");
    }

    void roles()
    {
        TransferModel up(true, nullptr), down(false, nullptr);
        up.setGroups({order("2026005", 111)});
        up.setFiles("2026005", {file(70, 11)}, true);
        const QModelIndex group = up.groupIndex("2026005"), one = child(up, "2026005", 0);
        QCOMPARE(group.data(259).toString(), QString("2026005"));
        QCOMPARE(group.data(260).toInt(), 31);
        QCOMPARE(group.data(264).toInt(), 1);
        QCOMPARE(one.data(264).toInt(), 2);
        QCOMPARE(one.data(268).toLongLong(), 70LL);
        db_downmiss miss;
        miss.pri = 44, miss.missid = 6, miss.missname = "shot", miss.ok = 2, miss.sum = 9;
        down.setGroups({TransferRules::mission(miss)});
        const QModelIndex mission = down.groupIndex("44");
        QCOMPARE(mission.data(264).toInt(), 3);
        QCOMPARE(mission.data(267).toLongLong(), 44LL);
        QCOMPARE(cell(down, mission, TransferModel::Progress).toString(), QString("2/9"));
        QCOMPARE(cell(down, mission, TransferModel::Speed).toString(), QString("0B/S"));
        QStringList titles;
        for (int i = 0; i < 3; ++i)
            titles << up.headerData(i, Qt::Horizontal, Qt::DisplayRole).toString();
        QCOMPARE(titles.join('|'), QString("文件名称|文件大小|传输进度"));
        QCOMPARE(up.parent(one), group);
        QVERIFY(!up.hasChildren(one) && up.hasChildren(group));
    }

    // Speeds and bytes of files show in their order; an old speed is dropped.
    void speeds()
    {
        TransferModel model(true, nullptr);
        TransferGroup group = order("2026001", 111, 10240);
        group.done = 2048;
        model.setGroups({group});
        model.setFiles("2026001", {file(1, 10, 4096), file(2, 10, 4096)}, true);
        QVERIFY(!model.changeSpeed(99, 1, 1, 1));
        QVERIFY(model.changeSpeed(1, 1024, 4096, 512));
        QVERIFY(model.changeSpeed(2, 2048, 4096, 1024));
        const QModelIndex row = model.groupIndex("2026001");
        QCOMPARE(cell(model, row, TransferModel::Speed).toString(), QString("1.50KB/S"));
        QCOMPARE(cell(model, row, TransferModel::Progress).toString(), QString("5.00KB/10.0KB (1/3)"));
        QCOMPARE(cell(model, row, TransferModel::Progress, CellRole::Part).toLongLong(), 5120LL);
        QCOMPARE(cell(model, child(model, "2026001", 0), TransferModel::Progress).toString(), QString("1.00KB/4.00KB"));
        // The store still has them as waiting, the wires know better.
        QCOMPARE(cell(model, child(model, "2026001", 0), TransferModel::State).toString(), QString("上传中"));
        model.setFiles("2026001", {file(1, 10, 4096), file(2, 10, 4096)}, true);
        QCOMPARE(cell(model, child(model, "2026001", 0), TransferModel::State).toString(), QString("上传中"));
        QCOMPARE(cell(model, row, TransferModel::Speed).toString(), QString("1.50KB/S"));
        model.setGroupSpeed("2026001", 2048); // with files that were over before anyone saw them
        QCOMPARE(cell(model, row, TransferModel::Speed).toString(), QString("2.00KB/S"));
        model.dropStaleSpeeds(1LL << 40);
        QCOMPARE(cell(model, row, TransferModel::Speed).toString(), QString("0B/S"));
        model.changeSpeed(1, 1024, 4096, 512);
        model.setGroupState("2026001", 112); // paused: nothing of it runs
        QCOMPARE(cell(model, child(model, "2026001", 0), TransferModel::State).toString(), QString("等待上传"));
        QCOMPARE(cell(model, row, TransferModel::Speed).toString(), QString("0B/S"));
    }

    void reloadsInPlace()
    {
        TransferModel model(true, nullptr);
        model.setGroups({order("2026001", 110), order("2026002", 111)});
        model.setFiles("2026002", {file(1, 10), file(2, 10), file(3, 10)}, true);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        const QPersistentModelIndex held = child(model, "2026002", 1);
        model.setGroups({order("2026002", 111), order("2026003", 110)});
        QCOMPARE(model.rowCount(), 2);
        QVERIFY(held.isValid() && held.data(TransferModel::FilePriRole).toInt() == 2);
        QCOMPARE(model.parent(held), model.groupIndex("2026002"));
        model.removeFile(1);
        QCOMPARE(held.row(), 0);
        model.setFiles("2026002", {file(4, 10), file(1, 10), file(2, 10)}, true);
        model.removeFile(1);
        QCOMPARE(held.row(), 0);
        QCOMPARE(model.rowCount(model.groupIndex("2026002")), 2);
        model.setFiles("2026002", {file(5, 10)}, false); // a further page
        QCOMPARE(model.rowCount(model.groupIndex("2026002")), 3);
        model.clearFiles("2026002");
        QVERIFY(!held.isValid() && model.canFetchMore(model.groupIndex("2026002")));
        model.removeGroup("2026002");
        QVERIFY(!model.group("2026002") && model.rowCount() == 1);
        model.setFiles("2026002", {file(1, 10)}, true); // answers for rows that are gone
        model.setGroupState("2026002", 112);
        QCOMPARE(resets.size(), 0);
    }
    void pagesOfThirty()
    {
        TransferModel model(true, nullptr);
        QSignalSpy wanted(&model, &TransferModel::filesWanted);
        model.setGroups({order("2026001", 111)});
        const QModelIndex row = model.groupIndex("2026001");
        model.fetchMore(row);
        model.fetchMore(row); // one question at a time
        QCOMPARE(wanted.size(), 1);
        QCOMPARE(wanted.takeFirst().at(1).toInt(), 0);
        QList<TransferFile> page;
        for (int i = 0; i < TransferModel::PageRows; ++i)
            page << file(i + 1, 10);
        model.setFiles("2026001", page, true);
        model.fetchMore(row);
        QCOMPARE(wanted.takeFirst().at(1).toInt(), 1);
        model.setFiles("2026001", {file(31, 10)}, false);
        QVERIFY(!model.canFetchMore(row));
    }
    // A branch of ten thousand rows: a further page touches what it brings and nothing else, the first page read again
    // takes out what has gone and leaves what stands behind it where it stands.
    void longBranch()
    {
        TransferModel model(true, nullptr);
        model.setGroups({order("2026001", 111)});
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged), inserts(&model, &QAbstractItemModel::rowsInserted),
            removals(&model, &QAbstractItemModel::rowsRemoved);
        const auto page = [](int from) {
            QList<TransferFile> list;
            for (int i = 0; i < TransferModel::PageRows; ++i)
                list << file(from + i, 10);
            return list;
        };
        for (int from = 1; from <= 9990; from += TransferModel::PageRows)
            model.setFiles("2026001", page(from), from == 1);
        const QModelIndex branch = model.groupIndex("2026001");
        QCOMPARE(model.rowCount(branch), 9990);
        QCOMPARE(inserts.size(), 333);
        QVERIFY2(changes.size() <= 333, "one change of the order's row a page");
        const QPersistentModelIndex held = child(model, "2026001", 9000);
        changes.clear();
        model.setFiles("2026001", page(11), true); // ten have gone, in one step
        QCOMPARE(model.rowCount(branch), 9980);
        QCOMPARE(removals.size(), 1);
        QCOMPARE(held.row(), 8990);
        QVERIFY(changes.size() <= TransferModel::PageRows + 1);
        changes.clear();
        model.setGroupState("2026001", 112);
        QVERIFY(changes.size() <= 2);
        model.setFiles("2026001", {file(40, 10)}, true); // a short page tells of all
        QCOMPARE(model.rowCount(branch), 1);
    }

    // The page with living stores: what they signal arrives in the rows.
    void storesFeedThePage()
    {
        const QString dir = testHome() + "/transfer";
        QVERIFY(QDir().mkpath(dir));
        QVERIFY(ResolveDAO::instance()->open(dir) && UploadDAO::instance()->open(dir) && DownloadDAO::instance()->open(dir));
        db_resolve row = scene(500, 110, "/proj/shot_a.tgd", 61);
        QList<db_resolve> rows{row, scene(501, 106)};
        QVERIFY(ResolveDAO::instance()->insertBatch(&rows));
        UpSpy up;
        DownSpy down;
        ResolveSpy queue;
        Transfer page;
        page.resize(900, 500);
        page.show();
        page.connectDAOView(0);
        TransferModel *model = page.model(true);
        QTRY_COMPARE(model->rowCount(), 1);
        const QString key = rows[0].ordernum;
        emit ResolveDAO::instance()->upProgress(500, 2, 5);
        QTRY_COMPARE(cell(*model, model->groupIndex(key), TransferModel::Progress).toString(), QString("2/5"));
        page.expandMiss(0, 0);
        QTRY_VERIFY(up.calls.contains("files " + key + " 0"));
        db_upfile wire;
        wire.ordernum = key, wire.pri = 12, wire.lpath = "/proj/a.tif", wire.size = 2048, wire.state = 10;
        emit UploadDAO::instance()->allFile({wire}, true);
        QTRY_COMPARE(model->rowCount(model->groupIndex(key)), 1);
        UploadDAO::instance()->tellSpeed(12, 1024, 2048, 300);
        QTRY_COMPARE(cell(*model, model->groupIndex(key), TransferModel::Speed).toString(), QString("300B/S"));
        up.calls.clear();
        QCOMPARE(ResolveDAO::instance()->step(500, SceneState::Act::TakeUp), 1);
        UploadDAO::instance()->tellSpeed(999, 1, 1, 1); // a file that isn't listed: its order's first page is asked for
        QTRY_VERIFY_WITH_TIMEOUT(up.calls.contains("files " + key + " 0"), 5000);
        emit UploadDAO::instance()->fileDeleted("12");
        QTRY_COMPARE(model->rowCount(model->groupIndex(key)), 0);
        emit ResolveDAO::instance()->resolveDeleted(500);
        QTRY_COMPARE(model->rowCount(), 0);

        db_downmiss miss;
        miss.pri = 44, miss.missid = 6, miss.missname = "shot", miss.sum = 2;
        TransferModel *missions = page.model(false);
        emit DownloadDAO::instance()->miss({miss}, 1);
        QTRY_COMPARE(missions->rowCount(), 1);
        emit DownloadDAO::instance()->missionStateChanged(44, 3);
        QTRY_COMPARE(cell(*missions, missions->groupIndex("44"), TransferModel::State).toString(), QString("下载异常"));
        emit DownloadDAO::instance()->downProgress(44, 1, 2);
        QTRY_COMPARE(cell(*missions, missions->groupIndex("44"), TransferModel::Progress).toString(), QString("1/2"));
        emit DownloadDAO::instance()->missionDeleted(44);
        QTRY_COMPARE(missions->rowCount(), 0);
        Background::finish();
        QCoreApplication::processEvents();
        ResolveDAO::instance()->releaseResolve();
        UploadDAO::instance()->releaseUp();
        DownloadDAO::instance()->releaseDown();
    }

    void coverDialog_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("wanted");
        QTest::newRow("all") << "全部覆盖"
                             << "cover 7 0";
        QTest::newRow("missing") << "跳过已存在"
                                 << "cover 7 1";
        QTest::newRow("closed") << ""
                                << "cover 7 2";
    }
    void coverDialog()
    {
        QFETCH(QString, button);
        DownSpy down;
        Transfer page;
        page.show();
        page.downCover(7, "以下帧缺失，请重新下载：\r\n4-6,8");
        auto *dialog = topLevel<DownCover>();
        QVERIFY(dialog && dialog->windowTitle() == "序列检查");
        if (button.isEmpty())
            dialog->close();
        else
            QVERIFY(press(dialog, button));
        QTRY_VERIFY(!topLevel<DownCover>());
        QTRY_VERIFY(!down.calls.filter("cover").isEmpty());
        QCoreApplication::processEvents();
        QTEST(down.calls.filter("cover").join('|'), "wanted");
    }
    void messagesOnce()
    {
        Transfer page;
        page.show();
        QSignalSpy recharge(&page, &Transfer::recharge);
        page.downErrorTip({});
        page.downErrorTip("anything");
        QCOMPARE(message(), QString("账户余额不足无法下载，请充值！"));
        QVERIFY(answer("去充值"));
        QCOMPARE(recharge.size(), 1);
        QVERIFY(!topLevel<MsgBox>());
        page.downSpace("E");
        page.downSpace("E");
        QCOMPARE(message(), QString("E盘空间不足，请清理磁盘！\r\n您也可以更换路径，但只对新任务起作用"));
        QVERIFY(answer("确定"));
        QVERIFY(!topLevel<MsgBox>());
    }
};

VN_TEST(TestTransfer)
#include "tst_transfer.moc"
