// The transfer page: what its lists show of the stores, and what every act asks of the handlers in every state.
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/DoneTable.h"
#include "view/DownCover.h"
#include "view/Resolve.h"
#include "view/Transfer.h"
#include "ViewRig.h"
#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QTextDocument>

class TestTransfer : public QObject
{
    Q_OBJECT
private:
    static TransferRow file(qlonglong pri, int state, qlonglong size = 1000)
    {
        db_upfile one;
        one.pri = pri, one.state = state, one.size = size;
        one.lpath = QString("/tex/file_%1.tif").arg(pri);
        return TransferList::fileRow(one);
    }
    static TransferRow order(const QString &number, int state, qlonglong size = 0)
    {
        db_resolve res = scene(number.mid(4).toLongLong(), state, {}, 31);
        res.ordernum = number, res.fsize = size;
        res.fok = 1, res.fsum = 3;
        return TransferList::upload(res);
    }
    static TransferRow mission(qlonglong pri, int state)
    {
        db_downmiss miss;
        miss.pri = pri, miss.missid = 6, miss.missname = "shot", miss.ok = 2, miss.sum = 9, miss.state = state;
        return TransferList::mission(miss);
    }
    static QString cell(const TransferList &list, const QString &key, const char *column)
    {
        return list.indexOf(key, list.columnOf(column)).data().toString();
    }

private slots:
    void initTestCase() { account(53); }

    void stateTips()
    {
        TransferList list(true, nullptr);
        list.setGroups({order("2026001", 111)});
        list.setFiles("2026001", {file(7, 10)}, true);
        QVERIFY(list.changeState(7, 13, 10019));
        QCOMPARE(cell(list, "f7", "state"), QString("上传异常"));
        const QModelIndex state = list.indexOf("f7", list.columnOf("state"));
        QCOMPARE(state.data(Qt::ToolTipRole).toString(), QString("文件被修改，重新上传 (10019)"));
        QVERIFY(list.changeState(7, 13, 100007));
        QCOMPARE(state.data(Qt::ToolTipRole).toString(), QString("网络中断，请检查网络连接 (100007)"));
        QCOMPARE(state.data(CellRole::Tint).value<QColor>(), Palette::failedText);
        QCOMPARE(list.indexOf("f7").data(264).toInt(), 2);
        QCOMPARE(list.indexOf("g2026001").data(264).toInt(), 1);
        QCOMPARE(list.indexOf("f7").data(259).toString(), QString("2026001"));
    }

    // Every act, pressed on the bar in every state, over two rows and a file: what reaches the handlers.
    void acts_data()
    {
        columns<bool, int, QString>("uploads", "state", "wanted"); // wanted: act: call
        const QString up = "delete:del 9|pause:change 0 2 2026009", upStart = "delete:del 9|start:change 0 3 2026009";
        addRow("order waits", true, 110, up);
        addRow("order uploads", true, 111, up);
        addRow("order paused", true, 112, upStart);
        addRow("order failed", true, 113, upStart);
        addRow("mission waits", false, 0, "delete:del 88|pause:pause 88|priority:pri 88");
        addRow("mission runs", false, 1, "delete:del 88|pause:pause 88");
        addRow("mission paused", false, 2, "delete:del 88|start:re 88");
        addRow("mission failed", false, 3, "delete:del 88|start:re 88");
        addRow("mission given up", false, 31, "delete:del 88|start:re 88");
    }
    void acts()
    {
        FETCH(bool, uploads, int, state);
        ResolveSpy queue;
        DownSpy down;
        Transfer page;
        page.show();
        page.initDAOView(uploads ? 0 : 1);
        Background::finish();
        QCoreApplication::processEvents();
        TransferList *list = page.model(uploads);
        TransferRow row = uploads ? order("2026009", state) : mission(88, state);
        row.mission = 0; // nothing to give up at the server
        list->setGroups({row});
        list->setFiles(row.group, {file(5, 10)}, true);
        page.table(uploads)->view()->expandAll();
        page.table(uploads)->view()->select({row.key, "f5"});
        QStringList done;
        for (const char *id : {"delete", "pause", "priority", "start"}) {
            QAction *action = page.table(uploads)->acts()->action(id);
            if (!action->isEnabled())
                continue;
            queue.calls.clear(), down.calls.clear();
            action->trigger();
            if (qstrcmp(id, "delete") == 0) {
                QVERIFY(!message().isEmpty());
                QVERIFY(answer("删除任务"));
                page.table(uploads)->acts()->sendNow();
            }
            QCoreApplication::processEvents();
            const QStringList calls = uploads ? queue.calls : down.calls.filter(QRegularExpression("^(?!read)"));
            done << QString("%1:%2").arg(id, calls.join(','));
        }
        QTEST(done.join('|'), "wanted");
    }
    // Names as disks and servers have them: one line each, nothing turned round, no wider than a screen; they act as any.
    void oddNames_data()
    {
        columns<QString, QString>("name", "shown");
        addRow("lines and tabs", QString("a\nb\tc\x7f"), QString("a␊b␉c␡"));
        addRow("turned round", QString("a\u202egnp.exe\u2066"), QString("a\ufffdgnp.exe\ufffd"));
        addRow("right to left", QString("مشهد"), QString("مشهد"));
        addRow("looks like HTML", QString("<img src=x>"), QString("<img src=x>"));
        addRow("long", QString(10000, 'w'), QString(250, 'w'));
    }
    void oddNames()
    {
        FETCH(QString, name, QString, shown);
        ResolveSpy queue;
        DownSpy down;
        db_resolve res = scene(7, 106, {}, 31);
        res.lpath = "/p/" + name + ".ma";
        Resolve scenes;
        scenes.show();
        scenes.allFile({res}, 1);
        TransferRow task = mission(88, 1), upload = order("2026009", 111);
        upload.name = task.name = name;
        Transfer page;
        page.show();
        for (bool up : {true, false}) {
            page.initDAOView(up ? 0 : 1);
            page.model(up)->setGroups({up ? upload : task});
            db_upfile one;
            one.pri = 5, one.state = 10, one.lpath = res.lpath;
            page.model(up)->setFiles((up ? upload : task).group, {TransferList::fileRow(one)}, true);
            page.table(up)->view()->expandAll();
        }
        const auto look = [&](const RecordModelBase *model, const QString &key) {
            const QModelIndex cell = model->indexOf(key, model->columnOf("name"));
            const QString text = cell.data().toString(), tip = cell.data(Qt::ToolTipRole).toString();
            return text.contains(shown) && text.size() < 700 && cell.data(Qt::AccessibleTextRole) == text && tip.size() < 5000 &&
                   !tip.contains(QChar(0x202e)) && (!Qt::mightBeRichText(tip) || tip.contains("&lt;"));
        };
        QVERIFY(look(scenes.model(), "7"));
        QVERIFY(look(page.model(true), upload.key) && look(page.model(true), "f5") && look(page.model(false), task.key));
        QVERIFY(scenes.minimumSizeHint().width() <= 960 && page.minimumSizeHint().width() <= 960);
        scenes.table()->view()->select({"7"});
        scenes.table()->acts()->action("para")->trigger();
        page.table(false)->view()->select({task.key});
        page.table(false)->acts()->action("delete")->trigger();
        QVERIFY(topLevel<MsgBox>() && topLevel<MsgBox>()->width() <= 960);
        QVERIFY(answer("删除任务"));
        page.table(false)->acts()->sendNow();
        QTRY_VERIFY(queue.calls.contains("para 7") && down.calls.contains("del 88"));
    }
    void threeDeletesAskOnce()
    {
        DownSpy down;
        Transfer page;
        page.show();
        page.initDAOView(1);
        page.model(false)->setGroups({mission(1, 1), mission(2, 2), mission(3, 3)});
        page.table(false)->view()->selectAll();
        down.calls.clear();
        page.table(false)->acts()->action("delete")->trigger();
        QCOMPARE(message(), QString("确定删除选中的 3 个下载任务吗？已下载的文件会保留。"));
        QVERIFY(answer("删除任务"));
        QVERIFY(message().isEmpty());
        page.model(false)->setGroups({}); // another page of the list: what was deleted is sent all the same
        page.table(false)->acts()->sendNow();
        QCoreApplication::processEvents();
        QCOMPARE(down.calls.filter("del"), (QStringList{"del 1", "del 2", "del 3"}));
    }
    // What a screen reader does with a tab, and the keyboard.
    void tabs()
    {
        DownSpy down;
        Transfer page;
        page.show();
        activate(&page);
        const QList<QPushButton *> tabs = page.findChildren<QPushButton *>("tab", Qt::FindDirectChildrenOnly);
        tabs[1]->setChecked(true);
        QVERIFY(page.table(false)->isVisible() && !page.table(true)->isVisible());
        page.table(false)->setFocus();
        QTest::keyClick(page.table(false)->view(), Qt::Key_Tab, Qt::ControlModifier);
        QVERIFY(page.done()->isVisible() && tabs[2]->isChecked());
        QTest::keyClick(page.done()->view(), Qt::Key_Tab, Qt::ControlModifier);
        QVERIFY(tabs[3]->isChecked()); // the drive's, with tabs of its own
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab, Qt::ControlModifier);
        QVERIFY(page.table(true)->isVisible() && tabs[0]->isChecked());
    }

    // Speeds and bytes of files show in their order; an old speed is dropped.
    void speeds()
    {
        TransferList list(true, nullptr);
        TransferRow group = order("2026001", 111, 10240);
        group.done = 2048;
        list.setGroups({group});
        list.setFiles("2026001", {file(1, 10, 4096), file(2, 10, 4096)}, true);
        QVERIFY(!list.changeSpeed(99, 1, 1, 1));
        QVERIFY(list.changeSpeed(1, 1024, 4096, 512) && list.changeSpeed(2, 2048, 4096, 1024));
        QCOMPARE(cell(list, "g2026001", "speed"), QString("1.50KB/S"));
        QCOMPARE(cell(list, "g2026001", "progress"), QString("5.00KB/10.0KB (1/3)"));
        QCOMPARE(cell(list, "f1", "progress"), QString("1.00KB/4.00KB"));
        // The store still has them as waiting, the wires know better.
        list.setFiles("2026001", {file(1, 10, 4096), file(2, 10, 4096)}, true);
        QCOMPARE(cell(list, "f1", "state"), QString("上传中"));
        QCOMPARE(cell(list, "g2026001", "speed"), QString("1.50KB/S"));
        list.removeFile(2);
        QCOMPARE(cell(list, "g2026001", "progress"), QString("7.00KB/10.0KB (1/3)"));
        QCOMPARE(cell(list, "g2026001", "speed"), QString("512B/S"));
        list.dropStaleSpeeds(1LL << 40);
        QCOMPARE(cell(list, "g2026001", "speed"), QString("0B/S"));
        list.changeSpeed(1, 1024, 4096, 512);
        list.setGroupState("2026001", 112); // paused: nothing of it runs
        QCOMPARE(cell(list, "f1", "state"), QString("等待上传"));
        QCOMPARE(cell(list, "g2026001", "speed"), QString("0B/S"));
    }
    // Files too small to be heard of count by their order's speed, which a reload doesn't lose.
    void smallFilesHaveASpeed()
    {
        TransferList list(true, nullptr);
        list.setGroups({order("2026001", 111)});
        list.setGroupSpeed("2026001", 2048);
        list.setGroups({order("2026001", 111)});
        QCOMPARE(cell(list, "g2026001", "speed"), QString("2.00KB/S"));
        list.dropStaleSpeeds(1LL << 40);
        QCOMPARE(cell(list, "g2026001", "speed"), QString("0B/S"));
    }

    void reloadsInPlace()
    {
        TransferList list(true, nullptr);
        list.setGroups({order("2026001", 110), order("2026002", 111)});
        list.setFiles("2026002", {file(1, 10), file(2, 10), file(3, 10)}, true);
        const QPersistentModelIndex held = list.indexOf("f2");
        list.setGroups({order("2026002", 111), order("2026003", 110)});
        QVERIFY(held.isValid() && held.data(TransferList::FilePriRole).toInt() == 2);
        list.removeFile(1);
        QCOMPARE(held.row(), 0);
        list.setFiles("2026002", {file(4, 10), file(1, 10), file(2, 10)}, true); // any order, one gone, two new
        QCOMPARE(list.keys("g2026002"), (QStringList{"f1", "f2", "f4"}));
        list.setFiles("2026002", {file(5, 10)}, false); // a further page
        QCOMPARE(list.keys("g2026002").size(), 4);
        for (int pri : {1, 2, 4, 5})
            list.removeFile(pri);
        QVERIFY2(list.hasChildren(list.indexOf("g2026002")), "one of three is whole: it can still be opened");
        list.clearFiles("2026002");
        QVERIFY(!held.isValid() && list.canFetchMore(list.indexOf("g2026002")));
        list.removeGroup("2026002");
        list.setFiles("2026002", {file(1, 10)}, true); // answers for rows that are gone
        list.setGroupState("2026002", 112);
        QCOMPARE(list.keys(), QStringList("g2026003"));
    }
    // A branch of ten thousand rows: a further page touches what it brings and nothing else, the first page read again
    // takes out what has gone and leaves what stands behind it where it stands.
    void longBranch()
    {
        TransferList list(true, nullptr);
        QSignalSpy wanted(&list, &TransferList::filesWanted);
        list.setGroups({order("2026001", 111)});
        const QModelIndex branch = list.indexOf("g2026001");
        list.fetchMore(branch);
        list.fetchMore(branch); // one question at a time
        QCOMPARE(wanted.size(), 1);
        QVERIFY(list.hasChildren(branch));
        QSignalSpy changes(&list, &QAbstractItemModel::dataChanged), inserts(&list, &QAbstractItemModel::rowsInserted),
            removals(&list, &QAbstractItemModel::rowsRemoved);
        constexpr int rows = 30; // the stores' page
        const auto page = [](int from) {
            QList<TransferRow> files;
            for (int i = 0; i < rows; ++i)
                files << file(from + i, 10);
            return files;
        };
        for (int from = 1; from <= 9990; from += rows)
            list.setFiles("2026001", page(from), from == 1);
        QCOMPARE(list.rowCount(branch), 9990);
        QCOMPARE(inserts.size(), 333);
        list.fetchMore(branch);
        QCOMPARE(wanted.last().at(1).toInt(), 333);
        const QPersistentModelIndex held = list.indexOf("f9001");
        changes.clear();
        list.setFiles("2026001", page(11), true); // ten have gone, in one step
        QCOMPARE(list.rowCount(branch), 9980);
        QCOMPARE(removals.size(), 1);
        QCOMPARE(held.row(), 8990);
        QVERIFY(changes.size() <= 2);
        changes.clear();
        list.setGroupState("2026001", 112);
        QVERIFY(changes.size() <= 2);
        list.setFiles("2026001", {file(40, 10)}, true); // a short page tells of all
        QCOMPARE(list.rowCount(branch), 1);
        QVERIFY(!list.canFetchMore(branch));
    }

    // The page with living stores: a branch of more files than a page is read to its end.
    void storesFeedThePage()
    {
        const QString dir = testHome() + "/transfer";
        QVERIFY(QDir().mkpath(dir));
        QVERIFY(ResolveDAO::instance()->open(dir) && UploadDAO::instance()->open(dir) && DownloadDAO::instance()->open(dir));
        QList<db_resolve> rows{scene(500, 110, "/proj/shot_a.tgd", 61), scene(501, 106)};
        QVERIFY(ResolveDAO::instance()->insertBatch(&rows));
        UpSpy up;
        DownSpy down;
        ResolveSpy queue;
        Transfer page;
        page.resize(900, 500);
        page.show();
        page.connectDAOView(0);
        TransferList *list = page.model(true);
        const QString number = rows[0].ordernum, group = "g" + number;
        QTRY_COMPARE(list->keys(), QStringList(group));
        emit ResolveDAO::instance()->upProgress(500, 2, 45);
        QTRY_COMPARE(cell(*list, group, "progress"), QString("2/45"));
        page.expandMiss(0, 0);
        QTRY_VERIFY(up.calls.contains("files " + number + " 0"));
        QList<db_upfile> wires;
        for (int i = 0; i < 43; ++i) {
            db_upfile wire;
            wire.ordernum = number, wire.pri = 12 + i, wire.lpath = QString("/proj/a%1.tif").arg(i), wire.size = 2048, wire.state = 10;
            wires << wire;
        }
        QVERIFY(UploadDAO::instance()->addOrder(wires) > 0);
        UploadDAO::instance()->readPage(number, 0);
        QTRY_VERIFY(list->rowCount(list->indexOf(group)) > 0);
        list->fetchMore(list->indexOf(group));
        QTRY_VERIFY(up.calls.contains("files " + number + " 1"));
        UploadDAO::instance()->readPage(number, 1);
        QTRY_COMPARE(list->rowCount(list->indexOf(group)), 43);
        const QString first = list->keys(group).first();
        UploadDAO::instance()->tellSpeed(first.mid(1).toLongLong(), 1024, 2048, 512);
        QTRY_COMPARE(cell(*list, first, "speed"), QString("512B/S"));
        up.calls.clear();
        QCOMPARE(ResolveDAO::instance()->step(500, SceneState::Act::TakeUp), 1);
        UploadDAO::instance()->tellSpeed(99999, 1, 1, 1); // a file that isn't listed: its order's first page is asked for
        QTRY_VERIFY(up.calls.contains("files " + number + " 0"));
        emit ResolveDAO::instance()->resolveDeleted(500);
        QTRY_COMPARE(list->rowCount(), 0);
        emit DownloadDAO::instance()->miss({[] {
                                               db_downmiss miss;
                                               miss.pri = 44, miss.sum = 2, miss.ordernum = "A";
                                               return miss;
                                           }()},
                                           1);
        QTRY_COMPARE(page.model(false)->keys(), QStringList("g44"));
        emit DownloadDAO::instance()->missionStateChanged(44, 3);
        QTRY_COMPARE(cell(*page.model(false), "g44", "state"), QString("下载异常"));
        emit DownloadDAO::instance()->downProgress(44, 1, 2);
        QTRY_COMPARE(cell(*page.model(false), "g44", "progress"), QString("1/2"));
        emit DownloadDAO::instance()->missionDeleted(44);
        QTRY_COMPARE(page.model(false)->rowCount(), 0);
        Background::finish();
        QCoreApplication::processEvents();
        ResolveDAO::instance()->releaseResolve();
        UploadDAO::instance()->releaseUp();
        DownloadDAO::instance()->releaseDown();
    }

    // What is over: shown when looked at, kept up to date, sorted over all rows, searched in the store, fetched again.
    void finished()
    {
        const QString dir = testHome() + "/finished";
        QVERIFY(QDir().mkpath(dir) && DoneDAO::instance()->open(dir));
        const auto add = [](int kind, int task, const QString &name, qlonglong size) {
            db_done done;
            done.kind = kind, done.missid = task, done.ordernum = QString("2026%1").arg(task), done.name = name;
            done.ended = 1000 * task, done.ok = done.sum = 2, done.size = size, done.folder = "/nowhere/" + name;
            return DoneDAO::instance()->add(done);
        };
        for (int i = 1; i <= 40; ++i)
            QVERIFY(add(i % 2, i, i == 7 ? "coast" : QString("shot_%1").arg(i), 1000 - i));
        ResolveSpy queue;
        DownSpy down;
        Transfer page;
        page.resize(900, 500);
        page.show();
        QVERIFY(queue.calls.filter("done").isEmpty()); // nobody has looked
        page.initDAOView(2);
        DoneTable *done = page.done();
        DoneTable::Model *model = done->model();
        QTRY_COMPARE(model->rowCount(), 40);
        QCOMPARE(model->records(model->keys()).first().missid, 40);
        model->sort(model->columnOf("size"), Qt::AscendingOrder);
        QCOMPARE(model->records(model->keys()).first().size, 960);
        QVERIFY(add(0, 41, "fresh", 1));
        QTRY_COMPARE(model->records(model->keys()).first().name, QString("fresh"));
        const auto acts = [&](int task) {
            QStringList words;
            for (const QString &key : model->keys())
                if (model->record(key)->missid == task)
                    words = done->acts()->rowWords(key);
            return words;
        };
        QCOMPARE(acts(7), (QStringList{"打开目录", "重新下载"}));
        QCOMPARE(acts(8), (QStringList{"打开目录", ""})); // an upload has nothing to fetch
        done->search()->setText("coast");
        QTRY_COMPARE(model->rowCount(), 1);
        QVERIFY(queue.calls.contains("done -1 coast 0 1000"));
        done->view()->selectAll();
        done->acts()->action("again")->trigger();
        QTRY_COMPARE(down.calls.filter("result"), QStringList("result 7 0 0"));
        done->acts()->action("folder")->trigger();
        QTRY_COMPARE(message(), QString("文件夹打不开：/nowhere/coast"));
        QVERIFY(answer("确定"));
        done->acts()->action("frames")->trigger();
        QTRY_COMPARE(message(), QString("文件夹里没有图片：/nowhere/coast"));
        QVERIFY(answer("确定"));
        done->acts()->action("delete")->trigger();
        done->acts()->sendNow();
        QTRY_COMPARE(model->rowCount(), 0);
        done->search()->clear();
        done->findChild<QComboBox *>()->setCurrentIndex(2);
        QTRY_COMPARE(model->rowCount(), 19);
        DoneDAO::instance()->close();
    }
    void coverDialog_data()
    {
        columns<QString, QString>("button", "wanted");
        addRow("all", "全部覆盖", "cover 7 0");
        addRow("missing", "跳过已存在", "cover 7 1");
        addRow("closed", "", "cover 7 2");
    }
    void coverDialog()
    {
        QFETCH(QString, button);
        DownSpy down;
        Transfer page;
        page.show();
        db_downmiss mission;
        mission.missid = 7;
        mission.missname = "shot_01";
        page.miss({mission}, 1);
        page.downCover(7, "以下帧缺失，请重新下载：\r\n4-6,8");
        auto *dialog = topLevel<DownCover>();
        QVERIFY(dialog && dialog->windowTitle() == "序列检查");
        QCOMPARE(dialog->findChild<QLabel *>("heading")->text(), QString("shot_01 · 任务 7"));
        if (button.isEmpty())
            dialog->close();
        else
            QVERIFY(press(dialog, button));
        QTRY_VERIFY(!topLevel<DownCover>());
        QTRY_VERIFY(!down.calls.filter("cover").isEmpty());
        QCoreApplication::processEvents();
        QTEST(down.calls.filter("cover").join('|'), "wanted");
    }
};

VN_TEST(TestTransfer)
#include "tst_transfer.moc"
