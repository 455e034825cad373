// The drive's browser on the living farm: what is clicked, typed and dropped, and what stands on the farm after it.
#include "common/facts/FileStates.h"
#include "common/ui/kit/TablePage.h"
#include "DriverRig.h"
#include "support/TestMain.h"
#include "view/driver/CheckTree.h"
#include "view/driver/DragDrop.h"
#include "view/driver/DriveConflict.h"
#include "view/driver/DriveList.h"
#include "view/driver/FolderViews.h"
#include "view/driver/MoveFarmFile.h"
#include "view/driver/TransferD.h"
#include <QCheckBox>
#include <QPlainTextEdit>
#include <QRadioButton>

// One of the lists of the drive's transfers, opened, and its acts by the bar.
struct Transfers {
    Transfers(DriverRig &rig, int which) : page(rig.main->findChild<TransferD *>()), list(page->list(which)), table(page->table(which))
    {
        rig.main->showPart(MainDriver::Transfers);
        page->initDAOView(which + 1);
    }
    QString batch(int number = 0) const { return list->keys().value(number); }
    QStringList files() const
    {
        table->view()->expandAll();
        QStringList names;
        for (const QString &key : list->keys(batch()))
            names << list->record(key)->name;
        return names;
    }
    QString file(const QString &name) const { return list->keys(batch()).value(files().indexOf(name)); }
    bool paused(const QString &key) const { return list->record(key) && list->paused(*list->record(key)); }
    bool act(const char *id, const QString &key) const // false: it isn't offered
    {
        table->view()->select({key});
        const bool can = table->acts()->action(id)->isEnabled();
        table->acts()->action(id)->trigger();
        return can;
    }
    TransferD *page;
    DriveList *list;
    TablePage *table;
};

class TestBrowser : public QObject
{
    Q_OBJECT
    std::unique_ptr<DriverRig> m_rig;

    static QString md5(const QByteArray &bytes) { return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex(); }
    static QString noteOf(QWidget *window)
    {
        auto *note = window->findChild<Toast *>();
        return note ? note->text() : QString();
    }
    // D with a folder and a scene file, the page in D.
    DriverRig &inDisk(const QStringList &fill = {"D/a/x.bin", "D/b/"})
    {
        m_rig.reset(new DriverRig);
        DriverRig &rig = *m_rig;
        if (!rig.started)
            qFatal("no farm");
        for (const QString &path : fill)
            rig.farm.fillDrive(1, path.section('/', 0, -2), 0, path.endsWith('/') ? 0 : 1, 100);
        if (!rig.open() || !rig.enter("D"))
            qWarning("the page doesn't open");
        return rig;
    }

    // One file is paused and goes on, another is deleted; the whole is paused.
    static void steer(const Transfers &list, const QString &kept, const QString &gone)
    {
        const QString file = list.file(kept);
        const QStringList left = list.files().filter(QRegularExpression("^(?!" + gone + ")"));
        QVERIFY(list.act("pause", file));
        QTRY_VERIFY(list.paused(file));
        QVERIFY(!list.act("pause", file) && list.act("start", file));
        QTRY_VERIFY(!list.paused(file));
        QVERIFY(list.act("delete", list.file(gone)) && message().contains(gone) && answer("确定"));
        QTRY_COMPARE(list.files(), left);
        QVERIFY(list.act("pause", list.batch()));
        QTRY_VERIFY(list.paused(list.batch()));
    }

private slots:
    void cleanup() { m_rig.reset(); }

    // Tabs: one that can't be used says so and isn't opened; one that is closed can be had back; the server's word takes
    // one away, and brings it back usable.
    void farms()
    {
        m_rig.reset(new DriverRig);
        DriverRig &rig = *m_rig;
        rig.farm.stop();
        rig.options.farms = 3;
        QVERIFY(rig.farm.start(rig.options));
        QVERIFY(rig.open());
        const auto ids = [&rig] {
            QList<int> out;
            for (const FarmTab *tab : rig.main->tabs())
                out << tab->farm().id;
            return out;
        };
        QCOMPARE(ids(), QList<int>({1, 2, 3}));
        QVERIFY(rig.main->tabs().at(2)->button()->text().contains("农场已禁用"));
        rig.main->tabs().at(2)->button()->click();
        QCOMPARE(message(), QString("该农场暂时无法使用"));
        QVERIFY(answer("确定"));
        QCOMPARE(rig.page()->farmId(), 1);
        rig.main->tabs().at(1)->button()->click();
        QVERIFY(rig.settled());
        QCOMPARE(rig.page()->farmId(), 2);
        QCOMPARE(UserInfo::viewFarmId(), 2);
        QVERIFY(rig.main->tabs().at(1)->button()->isChecked() && !rig.main->tabs().at(0)->button()->isChecked());

        QPointer<FarmPage> second = rig.page();
        rig.main->tabs().at(1)->cross()->click();
        QCOMPARE(ids(), QList<int>({1, 3}));
        QCOMPARE(rig.page()->farmId(), 1);
        QTRY_VERIFY(!second);
        rig.main->addButton()->click();
        auto *dialog = topLevel<DialogFrame>();
        QVERIFY(dialog && dialog->objectName() == "AddFarm");
        QVERIFY(press(dialog, "确定") && !errorOf(dialog).isEmpty()); // nothing is ticked
        dialog->findChild<TickList *>()->setTicked({"2"});
        QVERIFY(press(dialog, "确定"));
        QCOMPARE(ids(), QList<int>({1, 3, 2}));
        QCOMPARE(rig.page()->farmId(), 2);
        QVERIFY(rig.main->addButton()->isHidden());

        const QJsonArray two{QJsonObject{{"farmId", 1}, {"name", "one"}, {"status", 2}}, QJsonObject{{"farmId", 3}, {"status", 1}},
                             QJsonObject{{"farmId", 3}, {"status", 0}}, "no farm"};
        rig.main->initMainDriver({{"status", 1}, {"skydriveFarms", two}}, true);
        QCOMPARE(ids(), QList<int>({1, 3}));
        QVERIFY(rig.main->tabs().at(0)->button()->text().contains("农场已灰度"));
        QCOMPARE(rig.page()->farmId(), 3); // the only one left that can be used
        rig.main->farmDel(3);
        rig.main->farmDel(1);
        QVERIFY(!rig.page() && rig.main->addButton()->isVisibleTo(rig.main));
    }

    // Disks and folders: made, named, renamed in place, deleted.
    void folders()
    {
        DriverRig &rig = inDisk();
        QCOMPARE(rig.page()->tree()->chain(rig.idOf("a")).size(), 3);
        QVERIFY(rig.shows({"a", "b"}));
        // A name that can't be is told, the field comes back with what was typed.
        rig.key(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(rig.typeName("x|y"));
        QTRY_COMPARE(message(), QString("文件名不能包含下列字符：\r\n\\ / : * ? \" < > |"));
        QVERIFY(answer("确定"));
        QTRY_VERIFY(rig.editor());
        QCOMPARE(rig.editor()->text(), QString("x|y"));
        QVERIFY(rig.typeName("新建文件夹"));
        QVERIFY(rig.shows({"a", "b", "新建文件夹"}));
        rig.act("createDir");
        QTRY_VERIFY(rig.editor());
        QCOMPARE(rig.editor()->text(), QString("新建文件夹 (1)"));
        QTest::keyClick(rig.editor(), Qt::Key_Return);
        QVERIFY(rig.shows({"a", "b", "新建文件夹", "新建文件夹 (1)"}));
        QTRY_COMPARE(rig.page()->view()->currentIndex().data(Qt::EditRole).toString(), QString("新建文件夹 (1)"));
        rig.act("createDir");
        QVERIFY(rig.typeName("never", Qt::Key_Escape));
        QVERIFY(rig.shows({"a", "b", "新建文件夹", "新建文件夹 (1)"}));

        rig.choose({"b"});
        rig.key(Qt::Key_F2);
        QVERIFY(rig.typeName("c&d"));
        QVERIFY(rig.shows({"a", "c&d", "新建文件夹", "新建文件夹 (1)"}));
        rig.choose({"c&d"});
        rig.key(Qt::Key_F2);
        QVERIFY(rig.typeName("a")); // the farm refuses
        QTRY_VERIFY(!message().isEmpty());
        QVERIFY(answer("确定"));
        QVERIFY(rig.shows({"a", "c&d", "新建文件夹", "新建文件夹 (1)"}));

        rig.choose({"新建文件夹", "新建文件夹 (1)"});
        rig.key(Qt::Key_Delete);
        QTRY_VERIFY(message().startsWith("确定删除此文件或文件夹吗？"));
        QVERIFY(answer("返回"));
        QCOMPARE(rig.model()->rowCount(), 4);
        rig.key(Qt::Key_Delete);
        QVERIFY(answer("删除"));
        QVERIFY(rig.shows({"a", "c&d"}));
        QVERIFY(rig.comesTo({"D/", "D/a/", "D/a/file000000.bin", "D/c&d/"}));

        rig.key(Qt::Key_Backspace);
        QVERIFY(rig.shows({"D"}));
        QVERIFY(!rig.page()->action("createDir")->isVisible() && !rig.page()->action("property")->isEnabled());
        rig.act("addDrv");
        auto *dialog = topLevel<DialogFrame>();
        QVERIFY(dialog && type(dialog, "name", "D") && !press(dialog, "没有"));
        QVERIFY(press(dialog, "确定") && dialog->isVisible()); // the name is there
        QVERIFY(type(dialog, "name", "E") && type(dialog, "machine", "ws-01") && press(dialog, "确定"));
        QVERIFY(rig.shows({"D", "E"}));
        rig.choose({"D"});
        rig.key(Qt::Key_Delete);
        QVERIFY(message().startsWith("确定删除此盘符吗？盘符内文件将同步删除！"));
        QVERIFY(answer("删除"));
        QVERIFY(rig.shows({"E"}));
        QVERIFY(rig.comesTo({"E/"}));
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // The way through the folders by keys, path, tree and search; a jump to a folder nobody has opened.
    void walking()
    {
        DriverRig &rig = inDisk({"D/a/deep/er/x.bin", "D/b/", "D/beta/"});
        const QString disk = rig.page()->folder(), a = rig.idOf("a");
        QTest::keyClicks(rig.page()->view(), "be");
        QCOMPARE(rig.page()->view()->currentIndex().data(Qt::EditRole).toString(), QString("beta"));
        rig.choose({"a"});
        rig.key(Qt::Key_Return);
        rig.key(Qt::Key_Backspace); // before its entries came: they aren't shown any more
        QVERIFY(rig.shows({"a", "b", "beta"}));
        QVERIFY(rig.enter("a"));
        QCOMPARE(rig.page()->path()->text(), QString("D/a"));
        QCOMPARE(rig.page()->tree()->chosen(), a);
        rig.key(Qt::Key_Left, Qt::AltModifier);
        QVERIFY(rig.shows({"a", "b", "beta"}));
        rig.key(Qt::Key_Right, Qt::AltModifier);
        QVERIFY(rig.shows({"deep"}));
        QVERIFY(rig.enter("deep") && rig.enter("er"));
        const QString er = rig.page()->folder();
        rig.choose({"file000000.bin"});
        rig.key(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), QString("D/a/deep/er/file000000.bin"));
        for (auto *crumb : rig.page()->path()->findChildren<QToolButton *>("crumb"))
            if (crumb->toolTip() == "D") {
                crumb->click();
                break;
            }
        QVERIFY(rig.shows({"a", "b", "beta"}));

        QVERIFY(rig.open() && rig.page()->folder() == "-1"); // a fresh page
        QVERIFY(rig.farm.faults().set("drive-family-above=1@2"));
        emit rig.page()->path()->driverPathChanged(er);
        QVERIFY(rig.shows({"file000000.bin"}));
        QTRY_COMPARE(rig.page()->path()->text(), QString("D/a/deep/er"));
        QTRY_COMPARE(rig.page()->tree()->chain(er).size(), 5);
        emit rig.page()->path()->driverPathChanged(disk);
        QVERIFY(rig.shows({"a", "b", "beta"}));

        rig.key(Qt::Key_F, Qt::ControlModifier);
        QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget *>(rig.page()->path()->field()));
        QTest::keyClicks(rig.page()->path()->field(), "000000");
        QTest::keyClick(rig.page()->path()->field(), Qt::Key_Return);
        QVERIFY(rig.shows({"file000000.bin"}));
        QVERIFY(rig.page()->path()->searching() && !rig.page()->action("createDir")->isEnabled());
        rig.page()->tree()->setCurrentIndex(rig.page()->tree()->model()->index(0, 0)); // left by going elsewhere
        QTRY_VERIFY(!rig.page()->path()->searching() && rig.page()->path()->field()->text().isEmpty());
        emit rig.page()->path()->driverPathChanged(disk);
        QVERIFY(rig.shows({"a", "b", "beta"}));
        QTest::keyClicks(rig.page()->path()->field(), "000000");
        QTest::keyClick(rig.page()->path()->field(), Qt::Key_Return);
        QVERIFY(rig.shows({"file000000.bin"}));
        rig.choose({"file000000.bin"});
        rig.key(Qt::Key_C, Qt::ControlModifier);
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), QString("D/a/deep/er/file000000.bin"));
        QTRY_COMPARE(rig.farm.faults().happened("drive-family-above"), 2);
        rig.act("place");
        QTRY_COMPARE(rig.page()->path()->text(), QString("D/a/deep/er"));
        QVERIFY(!rig.page()->path()->searching());
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // Moved by the dialog and by a drag onto a row; into itself, never.
    void moving()
    {
        DriverRig &rig = inDisk({"D/a/x.bin", "D/b/", "D/c/"});
        const auto carried = [&rig](const QStringList &names) {
            DragDrop drag;
            QStringList ids;
            for (const QString &name : names)
                ids << rig.idOf(name);
            auto data = std::make_unique<QMimeData>();
            data->setData(
                DragDrop::Mime,
                QJsonDocument(
                    QJsonObject{{"farmId", 1}, {"fileType", 1}, {"parent", rig.page()->folder()}, {"ids", QJsonArray::fromStringList(ids)}})
                    .toJson());
            return data;
        };
        QWidget *rows = rig.page()->view()->viewport();
        QVERIFY(!rig.drop(carried({"a", "b"}).get(), rows, rig.placeOf("b")));
        QVERIFY(!rig.drop(carried({"b"}).get(), rows, QPoint(20, rows->height() - 5))); // where it is
        const auto one = carried({"a"});
        QDragMoveEvent over(rig.placeOf("b"), Qt::MoveAction, one.get(), Qt::LeftButton, {});
        QApplication::sendEvent(rows, &over);
        QCOMPARE(rig.page()->view()->property(DropRow).toInt(), rig.model()->indexOf(rig.idOf("b")).row());
        QVERIFY(rig.drop(one.get(), rows, rig.placeOf("b")));
        QCOMPARE(rig.page()->view()->property(DropRow).toInt(), -1);
        QVERIFY(rig.shows({"b", "c"}));
        QVERIFY(rig.comesTo({"D/", "D/b/", "D/b/a/", "D/b/a/file000000.bin", "D/c/"}));

        rig.choose({"b"});
        rig.act("move");
        auto *dialog = topLevel<MoveFarmFile>();
        QVERIFY(dialog);
        QTRY_COMPARE(dialog->tree()->chain(rig.idOf("c")).size(), 3);
        QVERIFY(press(dialog, "移动") && !errorOf(dialog).isEmpty()); // it stands where it is
        for (QModelIndex at = dialog->tree()->model()->index(0, 0); at.isValid(); at = dialog->tree()->indexBelow(at))
            if (at.data().toString() == "c")
                dialog->tree()->setCurrentIndex(at);
        QVERIFY(press(dialog, "新建文件夹") && type(dialog, "newName", "in c") && press(dialog, "创建"));
        QTRY_VERIFY(rig.farmHas().contains("D/c/in c/"));
        QTRY_VERIFY(!dialog->busy());
        QVERIFY(press(dialog, "移动"));
        QVERIFY(rig.shows({"c"}));
        QVERIFY(rig.comesTo({"D/", "D/c/", "D/c/b/", "D/c/b/a/", "D/c/b/a/file000000.bin", "D/c/in c/"}));
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // A folder is dropped, arrives, is fetched over files that are there, and compared again once one of them changed.
    void transfers()
    {
        DriverRig &rig = inDisk({"D/b/"});
        QVERIFY(rig.startQueues());
        QVERIFY(rig.write("shots/a.txt", "one") && rig.write("shots/in/b.txt", "two two") && rig.write("shots/Thumbs.db", "x"));
        QDir().mkpath(rig.local("shots/empty"));
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(rig.local("shots"))});
        QVERIFY(rig.drop(&files, rig.page()->view()->viewport(), rig.placeOf("b")));
        QVERIFY(rig.comesTo({"D/", "D/b/", "D/b/shots/", "D/b/shots/a.txt", "D/b/shots/empty/", "D/b/shots/in/", "D/b/shots/in/b.txt"}));
        rig.main->showPart(MainDriver::Transfers);
        auto *page = rig.main->findChild<TransferD *>();
        page->initDAOView(4);
        QTRY_COMPARE(page->list(UploadDDAO::Ok)->rowCount(), 1);
        QTRY_COMPARE(page->sums(UploadDDAO::Ok), QString("总计：已传输文件数2，待传输文件数0，总文件数2"));
        QCOMPARE(page->list(UploadDDAO::Ok)->index(0, 0).data().toString(), QString("shots"));

        rig.main->showPart(MainDriver::Browser);
        QVERIFY(rig.enter("b") && rig.shows({"shots"}));
        QDir().mkpath(rig.local("back"));
        rig.choose({"shots"});
        rig.act("download");
        QVERIFY(rig.pick("back"));
        QTRY_COMPARE(rig.read("back/shots/a.txt"), QByteArray("one"));
        QTRY_COMPARE(rig.read("back/shots/in/b.txt"), QByteArray("two two"));
        QVERIFY(QFileInfo(rig.local("back/shots/empty")).isDir());

        QVERIFY(rig.write("back/shots/in/b.txt", "changed"));
        rig.choose({"shots"});
        rig.act("check");
        QVERIFY(rig.pick("back/shots"));
        QTRY_VERIFY(topLevel<CheckTree>());
        QTRY_COMPARE(topLevel<CheckTree>()->state(), QString("已比较 2 个文件，1 个不同"));
        QCOMPARE(topLevel<CheckTree>()->model()->index(0, 0).data().toString(), QString("in/b.txt"));
        QVERIFY(press(topLevel<CheckTree>(), "补传到云盘"));
        QTRY_COMPARE(rig.farm.driveFiles().value("D/b/shots/in/b.txt"), md5("changed"));
        QTRY_VERIFY(!topLevel<CheckTree>());

        // To this machine: what it alone has stays, the drive stays as it is.
        const auto drive = rig.farm.driveFiles();
        rig.main->showPart(MainDriver::Browser);
        QVERIFY(rig.write("back/shots/a.txt", "other") && rig.write("back/shots/mine", "m") &&
                QFile::remove(rig.local("back/shots/in/b.txt")));
        rig.choose({"shots"});
        rig.act("check");
        QVERIFY(rig.pick("back/shots"));
        QTRY_VERIFY(topLevel<CheckTree>() && topLevel<CheckTree>()->state().startsWith("已比较"));
        QVERIFY(topLevel<CheckTree>()->state().endsWith("，3 个不同"));
        QVERIFY(press(topLevel<CheckTree>(), "补下到本机"));
        QTRY_COMPARE(rig.read("back/shots/in/b.txt"), QByteArray("changed"));
        QTRY_COMPARE(rig.read("back/shots/a.txt"), QByteArray("one"));
        QTRY_VERIFY(page->isVisible());
        QVERIFY(rig.read("back/shots/mine") == "m" && rig.farm.driveFiles() == drive);
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // A batch of more files than anybody wants to see: only what is near to what is looked at is held, without gaps, from its
    // head to its end and back; what goes above doesn't move it.
    void longBatch()
    {
        QTemporaryDir folder;
        UploadDDAO *store = UploadDDAO::instance(UploadDDAO::Up);
        QVERIFY(store->open(folder.path()));
        db_upfarmD farm;
        farm.pri = 1;
        farm.state = FileStates::UpPause;
        QList<db_upfile> files;
        for (int i = 0; i < 2010; ++i) {
            db_upfile file;
            file.lpath = QString("/x/%1").arg(i);
            files << file;
        }
        QVERIFY(store->addFarm(farm, {}, files));
        TransferD page(nullptr);
        page.resize(900, 500);
        page.show();
        DriveList *list = page.list(UploadDDAO::Up);
        connect(list, &DriveList::filesWanted, store, &UploadDDAO::readPage);
        connect(list, &DriveList::neighboursWanted, store, &UploadDDAO::readNear);
        store->readFarms();
        QTRY_COMPARE(list->rowCount(), 1);
        RecordView *view = page.table(UploadDDAO::Up)->view();
        QScrollBar *bar = view->verticalScrollBar();
        const QString batch = DriveList::batchKey(1);
        const auto held = [&] { return list->keys(batch); };
        const auto priAt = [&](int row) { return list->record(held().at(row))->pri; };
        const auto noGaps = [&] {
            QStringList there;
            for (const db_upfile &file : store->nextFiles(1, priAt(0) - 1, held().size()))
                there << DriveList::fileKey(file.pri);
            return there == held();
        };
        view->expand(list->index(0, 0));
        QTRY_VERIFY(!held().isEmpty());
        const auto scrollTo = [&](bool end, qlonglong pri) {
            for (int turn = 0; turn < 3000; ++turn) {
                bar->setValue(end ? bar->maximum() : 0);
                QCoreApplication::processEvents();
                if (held().size() > DriveList::MostRows || !noGaps())
                    return false;
                if (priAt(end ? held().size() - 1 : 0) == pri)
                    return true;
            }
            return false;
        };
        for (int turn = 0; turn < 100; ++turn)
            QCoreApplication::processEvents();
        QVERIFY2(held().size() <= 3 * UploadDDAO::PageRows, "it reads on although nobody looks there");
        QVERIFY(scrollTo(true, 2010));
        bar->setValue(bar->maximum() / 2);
        const QString seen = view->records()->keyOf(view->indexAt(QPoint(1, 1)));
        const int before = held().size();
        QVERIFY(store->finish(1, store->nextFiles(1, priAt(0) - 1, 10)));
        QTRY_COMPARE(held().size(), before - 10);
        QCOMPARE(view->records()->keyOf(view->indexAt(QPoint(1, 1))), seen);
        QVERIFY(scrollTo(false, 1) && scrollTo(true, 2010)); // whose last page is a whole one, with nothing behind it
        QVERIFY(noGaps());
        store->release();
    }

    // What a batch of fetching does with files that are there, as answered; paused instead, it asks again once it goes on.
    void conflicts_data()
    {
        QTest::addColumn<int>("choice"); // -1: "暂停下载" first
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QStringList>("told"); // in the list of what is over
        const QStringList same{"a.txt 下载完成", "b.txt 已存在，已跳过"};
        QTest::newRow("skip the same") << 0 << QStringList{"a.txt one", "b.txt same"} << same;
        QTest::newRow("keep both") << 2 << QStringList{"a (2).txt one", "a.txt other", "b.txt same"}
                                   << QStringList{"a (2).txt 下载完成", "b.txt 已存在，已跳过"};
        QTest::newRow("pause") << -1 << QStringList{"a.txt one", "b.txt same"} << same;
    }
    void conflicts()
    {
        QFETCH(int, choice);
        DriverRig &rig = inDisk({"D/b/"});
        QVERIFY(rig.farm.putDriveFile(1, "D/b/shots/a.txt", "one") && rig.farm.putDriveFile(1, "D/b/shots/b.txt", "same"));
        QVERIFY(rig.startQueues() && rig.write("back/shots/a.txt", "other") && rig.write("back/shots/b.txt", "same"));
        QVERIFY(rig.enter("b") && rig.shows({"shots"}));
        rig.choose({"shots"});
        rig.act("download");
        QVERIFY(rig.pick("back"));
        QTRY_VERIFY(topLevel<DriveConflict>());
        if (choice < 0) {
            QVERIFY(press(topLevel<DriveConflict>(), "暂停下载"));
            QTRY_VERIFY(!topLevel<DriveConflict>());
            Transfers list(rig, UploadDDAO::Down);
            QTRY_VERIFY(list.paused(list.batch()));
            QCOMPARE(rig.read("back/shots/a.txt"), QByteArray("other"));
            QVERIFY(list.act("start", list.batch()));
            QTRY_VERIFY(topLevel<DriveConflict>());
        }
        topLevel<DriveConflict>()->findChildren<QRadioButton *>().at(choice < 0 ? 1 : choice)->click();
        QVERIFY(press(topLevel<DriveConflict>(), "确定"));
        QTRY_COMPARE(UploadDDAO::instance(UploadDDAO::Ok)->farms().size(), 1);
        QStringList after;
        for (const QString &name :
             QDir(rig.local("back/shots")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name))
            after << name + ' ' + rig.read("back/shots/" + name);
        QTEST(after, "after");
        Transfers over(rig, UploadDDAO::Ok);
        QTRY_COMPARE(over.files().size(), 2);
        QStringList told;
        for (const QString &key : over.list->keys(over.batch()))
            told << over.list->record(key)->name + ' ' +
                        over.list->indexOf(key).siblingAtColumn(over.list->columnCount() - 2).data().toString();
        told.sort();
        QTEST(told, "told");
    }

    // The settings hold for the next batch; under their limit a file and a batch are paused, continued and deleted.
    void control()
    {
        DriverRig &rig = inDisk({"D/b/"});
        QVERIFY(rig.startQueues());
        const auto settings = [&rig](const QString &limit, const QString &exclude) {
            rig.main->findChild<QToolButton *>("setBtn")->click();
            auto *dialog = topLevel<DialogFrame>();
            dialog->findChild<QCheckBox *>("upDSpeedNone")->setChecked(limit.isEmpty());
            type(dialog, "upDSpeed", limit);
            auto *edit = dialog->findChild<QPlainTextEdit *>();
            const QString before = edit->toPlainText();
            edit->setPlainText(exclude);
            press(dialog, "保存");
            (void)comes([] { return !topLevel<DialogFrame>(); });
            return before;
        };
        QVERIFY(settings("20", "*.tmp\nold/").contains('\n'));
        for (const char *name : {"a.bin", "b.bin", "c.bin", "d.tmp", "old/e.bin"})
            QVERIFY(rig.write(QString("up/") + name, QByteArray(200000, name[0])));
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(rig.local("up"))});
        QVERIFY(rig.drop(&files, rig.page()->view()->viewport(), rig.placeOf("b")));
        Transfers up(rig, UploadDDAO::Up);
        QTRY_COMPARE(up.files(), QStringList({"a.bin", "b.bin", "c.bin"}));
        steer(up, "c.bin", "b.bin");
        QTRY_COMPARE(up.page->sums(UploadDDAO::Up), QString("总计：已上传文件数0，待上传文件数2，总文件数2")); // the limit holds
        // Another one is deleted as a whole while it's sent; what has come stays, the first isn't touched.
        rig.main->showPart(MainDriver::Browser);
        QVERIFY(rig.write("more/e.bin", QByteArray(300000, 'e')) && rig.write("more/f.bin", QByteArray(300000, 'f')));
        files.setUrls({QUrl::fromLocalFile(rig.local("more"))});
        QVERIFY(rig.drop(&files, rig.page()->view()->viewport(), rig.placeOf("b")));
        rig.main->showPart(MainDriver::Transfers);
        QTRY_COMPARE(up.page->sums(UploadDDAO::Up), QString("总计：已上传文件数0，待上传文件数4，总文件数4"));
        QTRY_COMPARE(up.list->rowCount(), 2);
        QVERIFY(up.act("delete", up.batch(1)) && message().contains("“more”") && message().contains("已经传输的文件会保留"));
        QVERIFY(answer("返回") && up.list->rowCount() == 2);
        QVERIFY(up.act("delete", up.batch(1)) && answer("确定"));
        QTRY_COMPARE(up.list->rowCount(), 1);
        QTRY_COMPARE(up.page->sums(UploadDDAO::Up), QString("总计：已上传文件数0，待上传文件数2，总文件数2"));
        QCOMPARE(settings("", ""), QString("*.tmp\nold/"));
        QVERIFY(up.act("start", up.batch()));
        QVERIFY(rig.comesTo({"D/", "D/b/", "D/b/up/", "D/b/up/a.bin", "D/b/up/c.bin"}));
        QCOMPARE(settings("", ""), QString()); // an emptied list stays empty

        rig.main->showPart(MainDriver::Browser);
        QVERIFY(rig.enter("b") && rig.enter("up") && rig.shows({"a.bin", "c.bin"}));
        rig.farm.faults().set("drive-status", "500");
        rig.choose({"a.bin", "c.bin"});
        rig.act("download");
        QVERIFY(rig.pick("."));
        Transfers down(rig, UploadDDAO::Down);
        QTRY_COMPARE(down.files(), QStringList({"a.bin", "c.bin"}));
        steer(down, "c.bin", "a.bin");
        rig.main->showPart(MainDriver::Browser);
        QVERIFY(rig.write("other/mine", "m"));
        rig.choose({"a.bin"});
        rig.act("download");
        QVERIFY(rig.pick("other"));
        rig.main->showPart(MainDriver::Transfers);
        QTRY_COMPARE(down.list->rowCount(), 2);
        QVERIFY(down.act("delete", down.batch(1)) && answer("确定"));
        QTRY_COMPARE(down.list->rowCount(), 1);
        QTRY_COMPARE(down.page->sums(UploadDDAO::Down), QString("总计：已下载文件数0，待下载文件数1，总文件数1"));
        QCOMPARE(QDir(rig.local("other")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList("mine"));
        rig.farm.faults().set("drive-status", "");
        QVERIFY(down.act("start", down.batch()));
        QTRY_COMPARE(rig.read("c.bin"), QByteArray(200000, 'c'));
        QTRY_VERIFY(down.batch().isEmpty());
        QVERIFY(!QFile::exists(rig.local("a.bin")));

        Transfers over(rig, UploadDDAO::Ok); // a record alone goes
        QTRY_COMPARE(over.list->rowCount(), 2);
        QVERIFY(over.act("delete", over.batch()) && answer("确定"));
        QTRY_COMPARE(over.list->rowCount(), 1);
        QVERIFY(rig.farmHas().contains("D/b/up/c.bin") && QFile::exists(rig.local("c.bin")));
    }

    // The results by their orders: seen small, fetched whole.
    void results()
    {
        m_rig.reset(new DriverRig);
        DriverRig &rig = *m_rig;
        rig.farm.fillTasks();
        QVERIFY(rig.open() && rig.startQueues() && press(rig.page(), "渲染结果") && rig.settled());
        const QString order = rig.names().filter("turntable").value(0);
        QCOMPARE(rig.model()->indexOf(rig.idOf(order)).siblingAtColumn(FolderModel::Kind).data().toString(), order.section('_', 0, 0));
        rig.choose({order});
        rig.act("download");
        QVERIFY(rig.pick("."));
        QVERIFY(rig.enter(order));
        while (rig.model()->at(0).isFolder())
            QVERIFY(rig.enter(rig.names().first()));
        rig.main->findChild<QToolButton *>("viewMode")->click();
        QTRY_VERIFY(rig.page()->thumbs()->find(rig.model()->at(0)));
        const QImage small = rig.page()->thumbs()->find(rig.model()->at(0))->toImage();
        QVERIFY(small.width() > 40 && small.pixel(2, 2) != small.pixel(small.width() / 2, small.height() / 2));
        const auto all = rig.farm.driveFiles(1, 2);
        for (auto it = all.begin(); it != all.end(); ++it)
            if (it.key().startsWith(order + '/') && !it.value().isEmpty())
                QTRY_COMPARE(md5(rig.read(it.key())), it.value());
        QCOMPARE(rig.farm.violations(), QStringList());
    }

    // What goes wrong is told and nothing is lost: a folder removed elsewhere, a farm that goes, one that has no drive.
    void trouble()
    {
        DriverRig &rig = inDisk({"D/a/x.bin", "D/b/"});
        QVERIFY(rig.enter("a"));
        const QString a = rig.page()->folder();
        bool removed = false;
        DriveRest::remove(1, 1, {a}).answered([&](const DriveRest::Reply &) { removed = true; }).send(rig.main);
        QTRY_VERIFY(removed);
        rig.key(Qt::Key_F5);
        QVERIFY(rig.shows({"b"}));
        QVERIFY(noteOf(rig.window.get()).contains("“a”"));
        rig.farm.faults().set("drive-half-listing", "1@1");
        rig.key(Qt::Key_F5);
        QTRY_VERIFY(!rig.page()->error().isEmpty());
        QCOMPARE(rig.names(), QStringList{"b"}); // half an answer is none
        rig.farm.faults().set("drive-ring", "1@1");
        rig.key(Qt::Key_F5);
        QTRY_VERIFY(rig.page()->error().isEmpty());
        QVERIFY(rig.shows({"b"}));
        rig.farm.dropLinks();
        rig.farm.stop();
        rig.key(Qt::Key_F5);
        QTRY_VERIFY(!rig.page()->error().isEmpty());
        QCOMPARE(rig.names(), QStringList{"b"}); // what was seen stays
    }

    // No room, no right.
    void space()
    {
        m_rig.reset(new DriverRig);
        DriverRig &rig = *m_rig;
        rig.farm.stop();
        rig.options.driveBytes = 100000;
        QVERIFY(rig.farm.start(rig.options));
        rig.farm.fillDrive(1, "D/a", 0, 1, 1000);
        QVERIFY(rig.open() && rig.enter("D"));
        QFile big(rig.folder.filePath("big.bin"));
        QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(200000));
        big.close();
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(big.fileName())});
        QWidget *rows = rig.page()->view()->viewport();
        QVERIFY(rig.drop(&files, rows, QPoint(20, rows->height() - 5)));
        QTRY_COMPARE(message(), QString("网盘空间不足，不允许拖入上传"));
        QVERIFY(answer("确定"));
        UserInfo::setRolePerm({{"grants", QJsonArray{1}}, {"result", 1}});
        rig.main->rightsChanged();
        QVERIFY(!rig.page()->action("upload")->isEnabled());
        QVERIFY(rig.drop(&files, rows, QPoint(20, rows->height() - 5)));
        QCOMPARE(message(), QString("您还没有上传文件的权限，请联系您的母账号开通！"));
        QVERIFY(answer("确定"));
        UserInfo::setRolePerm({{"grants", QJsonArray{}}, {"result", 1}});
    }
};

VN_TEST(TestBrowser)
#include "tst_browser.moc"
