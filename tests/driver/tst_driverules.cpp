// What the drive's browser decides without a window or a farm: names, acts, order, pieces, what is fetched for whom.
#include "support/TestMain.h"
#include "transfer/drive/DriveListing.h"
#include "transfer/drive/DriveRest.h"
#include "view/driver/DriveRules.h"
#include "view/driver/DriveTree.h"
#include "view/driver/FolderModel.h"
#include "view/driver/FolderViews.h"
#include "view/driver/LocalCount.h"
#include "view/driver/ThumbStore.h"
#include <QBuffer>
#include <QItemSelectionModel>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTemporaryDir>

namespace
{
FileView entry(const QString &name, bool folder = false, const QString &id = {}, qlonglong size = 10)
{
    FileView one;
    one.id = id.isEmpty() ? name : id;
    one.name = name;
    one.parent = "7";
    one.type = folder ? SubFile::Folder : SubFile::File;
    one.size = size;
    return one;
}

FolderRows stock(const QVector<FileView> &rows)
{
    FolderRows all;
    all.append(rows);
    return all;
}

QString words(const DriveRules::Acts &a)
{
    QStringList can;
    const QList<QPair<bool, const char *>> all{
        {a.addDisk, "disk"},      {a.rename, "rename"},     {a.remove, "remove"}, {a.create, "create"}, {a.move, "move"},
        {a.property, "property"}, {a.download, "download"}, {a.submit, "submit"}, {a.upload, "upload"}, {a.check, "check"}};
    for (const auto &one : all)
        if (one.first)
            can << one.second;
    return can.join(' ');
}
} // namespace

class TestDriveRules : public QObject
{
    Q_OBJECT
private slots:
    void name_data()
    {
        using N = DriveRules::Name;
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("what");
        QTest::newRow("plain") << "shot 01.ma" << int(N::Good);
        QTest::newRow("Chinese") << QString("镜头（一）") << int(N::Good);
        QTest::newRow("254") << QString(254, 'a') << int(N::Good);
        QTest::newRow("255") << QString(255, 'a') << int(N::Long);
        QTest::newRow("255 and forbidden: the length is told first") << QString(255, '|') << int(N::Long);
        for (const QChar c : QString("\\/:*?\"<>|\t\n\x7f"))
            QTest::newRow(qPrintable(QString("forbidden %1").arg(int(c.unicode())))) << QString("a%1b").arg(c) << int(N::Characters);
        for (const char *bad : {".", "..", "a.", "a ", " ", "con", "NUL", "Lpt9.txt", "com1 .log", "aux."})
            QTest::newRow(bad) << bad << int(N::Characters);
        QTest::newRow("superscript device") << QString("com\u00b9") << int(N::Characters);
        QTest::newRow("not a device") << "console" << int(N::Good);
        QTest::newRow("device with a number too many") << "com10" << int(N::Good);
        QTest::newRow("as it was") << "before" << int(N::Unchanged);
        QTest::newRow("empty") << "" << int(N::Unchanged);
        QTest::newRow("other case") << "Before" << int(N::Good);
    }
    void name()
    {
        QFETCH(QString, name);
        QFETCH(int, what);
        QCOMPARE(int(DriveRules::judgeName(name, "before")), what);
    }
    void freeName()
    {
        const QStringList there{"d", "d (1)", "d (3)"};
        QCOMPARE(DriveRules::freeName("d", [&](const QString &n) { return there.contains(n); }), QString("d (2)"));
        QCOMPARE(DriveRules::freeName("e", [&](const QString &n) { return there.contains(n); }), QString("e"));
    }

    void acts_data()
    {
        QTest::addColumn<QVector<FileView>>("chosen");
        QTest::addColumn<int>("kind"); // 1 input, 2 results; 10: its root, 20: search, 40: without rights
        QTest::addColumn<QString>("can");
        const FileView folder = entry("f", true), file = entry("a.png"), scene = entry("A.MB");
        FileView busy = file;
        busy.pending = "...";
        using V = QVector<FileView>;
        QTest::newRow("root") << V{} << 11 << "disk";
        QTest::newRow("a disk") << V{folder} << 11 << "disk rename remove";
        QTest::newRow("two disks") << V{folder, folder} << 11 << "disk remove";
        QTest::newRow("nothing in a folder") << V{} << 1 << "create upload";
        QTest::newRow("a folder") << V{folder} << 1 << "rename remove create move property download upload check";
        QTest::newRow("a scene") << V{scene} << 1 << "rename remove create move property download submit upload";
        QTest::newRow("a scene and a picture") << V{scene, file} << 1 << "remove create move download upload";
        QTest::newRow("something under way") << V{file, busy} << 1 << "create upload";
        QTest::newRow("found by a search") << V{file} << 21 << "rename remove move property download";
        QTest::newRow("a result") << V{file} << 2 << "remove property download";
        QTest::newRow("a scene without rights") << V{scene} << 41 << "rename remove create move property";
    }
    void acts()
    {
        QFETCH(QVector<FileView>, chosen);
        QFETCH(int, kind);
        DriveRules::Where where{kind % 10, (kind / 10) == 1, (kind / 10) == 2, kind < 40, kind < 40, kind < 40};
        QVector<const FileView *> rows;
        for (const FileView &one : qAsConst(chosen))
            rows << &one;
        QTEST(words(DriveRules::judgeAction(rows, where)), "can");
    }
    void movable()
    {
        QVERIFY(DriveRules::movable({"5"}, {"-1", "2", "3"}, "2"));
        QVERIFY(!DriveRules::movable({"5"}, {"-1", "2"}, "2"));           // there already
        QVERIFY(!DriveRules::movable({"5"}, {"-1"}, "2"));                // among the disks
        QVERIFY(!DriveRules::movable({"4", "2"}, {"-1", "2", "3"}, "9")); // into itself
    }

    // Folders first, numbers as numbers; what came in pieces stands as if it had come at once.
    void order()
    {
        QVector<FileView> rows{entry("b10", false, {}, 5), entry("b9", false, {}, 7), entry("A", false, {}, 9), entry("z", true)};
        const auto sorted = [&rows](const DriveSort &by) {
            QStringList all;
            for (int row : DriveOrder::of(stock(rows), by))
                all << rows.at(row).name;
            return all.join(' ');
        };
        QCOMPARE(sorted({DriveSort::Name, false}), QString("z A b9 b10"));
        QCOMPARE(sorted({DriveSort::Size, true}), QString("z A b9 b10"));
        QCOMPARE(sorted({DriveSort::Size, false}), QString("z b10 b9 A"));
        QRandomGenerator dice(7);
        for (int i = 0; i < 300; ++i) {
            rows << entry(QString("%1%2.%3").arg(QChar('a' + dice.bounded(3))).arg(dice.bounded(120)).arg(QChar('x' + dice.bounded(3))),
                          dice.bounded(9) == 0, QString::number(i), dice.bounded(40));
            rows.last().updatedAt = dice.bounded(50);
        }
        for (int column : {DriveSort::Name, DriveSort::Time, DriveSort::Kind, DriveSort::Size})
            for (bool down : {false, true}) {
                DriveOrder pieces({DriveSort::Name, !down});
                for (int from = 0, many = 1; from < rows.size(); from += many++) {
                    pieces.add(rows.mid(from, many));
                    if (from > 100)
                        pieces.resort({column, down});
                }
                QCOMPARE(pieces.order(), DriveOrder::of(stock(rows), {column, down}));
            }
    }
    // Pieces that come between the rows that are there, a list that is read again, rows that go: what is held, chosen
    // and seen stays itself.
    void pieces()
    {
        FolderModel model;
        FolderTable table(&model, nullptr);
        ThumbStore thumbs([](const FileView &, const std::function<void(const QByteArray &)> &) {}, nullptr);
        FolderGrid grid(&model, &thumbs, nullptr);
        for (QAbstractItemView *view : QList<QAbstractItemView *>{&table, &grid}) {
            view->resize(300, 300);
            view->show();
        }
        QVector<FileView> all;
        DriveOrder order;
        const auto add = [&](int from, int step, int many) {
            QVector<FileView> rows;
            for (int i = 0; i < many; ++i)
                rows << entry(QString("file%1").arg(from + i * step), false, QString("i%1").arg(from + i * step));
            all += rows;
            order.add(rows);
            model.add(rows, order.order(), {});
        };
        add(0, 3, 400);
        QCoreApplication::processEvents();
        table.verticalScrollBar()->setValue(100 * 36 + 7);
        grid.verticalScrollBar()->setValue(50 * FolderGrid::Height + 9);
        const QString top = model.at(table.rowAt(0)).name, small = model.at(grid.seenRows().first).name;
        table.selectionModel()->select(model.index(200, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        const auto same = [&] {
            return model.at(table.rowAt(0)).name == top && table.rowViewportPosition(table.rowAt(0)) == -7 &&
                   model.at(grid.seenRows().first).name == small && grid.verticalScrollBar()->value() % FolderGrid::Height == 9 &&
                   table.selectionModel()->selectedRows().value(0).data(FolderModel::IdRole) == QVariant("i600");
        };
        QVERIFY(same());
        add(2, 3, 400);
        QCOMPARE(model.rowCount(), 800);
        QCOMPARE(model.at(1).name, QString("file2"));
        QVERIFY(same());
        QCOMPARE(model.addNew("new", "7").row(), 0); // it stands at the top until it has its name
        model.remove({"i3", "i9", "i15", "i21", "i27", "i33", "i600"});
        add(1, 3, 400); // its sender knows nothing of either
        QCOMPARE(model.rowCount(), 1200 + 1 - 7);
        QVERIFY(model.at(0).isNew() && !model.indexOf("i27").isValid() && model.taken("FILE28") && !model.taken("file27"));
        QVERIFY(!table.selectionModel()->hasSelection());
        model.remove({FileView::NewDir});
        const QString seen = model.at(table.rowAt(0)).name;

        const QPersistentModelIndex held = model.indexOf("i602"), gone = model.indexOf("i1198");
        all.resize(900);
        std::reverse(all.begin(), all.end()); // another order, others went
        all << entry("file601", false, "other");
        model.setRows(stock(all), DriveOrder::of(stock(all), {}), {});
        QCOMPARE(model.rowCount(), 901);
        QVERIFY(held.data(FolderModel::IdRole) == QVariant("i602") && !gone.isValid());
        QCOMPARE(model.at(table.rowAt(0)).name, seen);
        model.setOrder(DriveOrder::of(model.stock(), {DriveSort::Name, true}), {DriveSort::Name, true});
    }
    // A listing read byte by byte is the same as at once; half of one, or none, isn't JSON.
    void listing_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("entries"); // ids; then how many couldn't be used; "-": refused
        const QByteArray a = "{'id':'1','name':'a\\']},{','type':1,'size':5}", b = "{'id':2,'name':'b','type':2,'more':[{'x':[]}]}";
        QTest::newRow("files below data") << "{'code':0,'data':{'files':[ " + a + " , " + b + " ],'total':2}}"
                                          << "1 2 +0";
        QTest::newRow("the first that has some") << "{'list':[],'files':[" + b + "],'resultFiles':[" + a + "]}"
                                                 << "2 +0";
        QTest::newRow("data is the list") << "{'data':[" + a + "]}"
                                          << "1 +0";
        QTest::newRow("empty") << QByteArray("{'data':{'files':[]}}") << "+0";
        QTest::newRow("none") << QByteArray("{'data':{'other':[1]}}") << "-";
        QTest::newRow("other kinds, twice the same, itself")
            << "{'list':[1,'x',null,{'id':'7','name':'self','type':2}," + a + "," + a + "]}"
            << "1 +5";
        QTest::newRow("half of it") << "{'list':[" + a + ","
                                    << "-";
        QTest::newRow("not JSON within") << "{'list':[" + a + ",{oops}]}"
                                         << "-";
        QTest::newRow("not JSON") << QByteArray("<html>[{'list'") << "-";
        QTest::newRow("deep") << "{'list':[],'x':" + QByteArray(100, '[') + QByteArray(100, ']') + "}"
                              << "-";
    }
    void listing()
    {
        QFETCH(QByteArray, json);
        json.replace('\'', '"');
        for (int step : {1, 7, json.size()}) {
            DriveListing listing("7");
            QStringList got;
            for (int at = 0; at < json.size(); at += step) {
                listing.add(json.mid(at, step));
                for (const SubFile &one : listing.take())
                    got << one.id;
            }
            DriveRest::Reply reply;
            const bool good = DriveRest::read(DriveRest::List, FuncBody::fromBytes(listing.rest()), "7", &reply);
            QTEST(good ? (got << QString("+%1").arg(listing.unusable())).join(' ') : QString("-"), "entries");
            QVERIFY(reply.entries.isEmpty());
        }
    }
    void typedNames()
    {
        FolderModel model;
        model.setRows(stock({entry("alpha"), entry("arm"), entry("arnold"), entry("beta")}), {0, 1, 2, 3}, {});
        TypedName typed(&model, nullptr);
        int at = -1;
        connect(&typed, &TypedName::found, this, [&at](int row) { at = row; });
        const auto type = [&](const char *key, int current, qint64 now) {
            at = -1;
            typed.type(key, current, now);
            return at;
        };
        QCOMPARE(type("a", 0, 0), 1);    // the next one
        QCOMPARE(type("r", 1, 100), 1);  // "ar": this one still fits
        QCOMPARE(type("n", 1, 200), 2);  // "arn"
        QCOMPARE(type("b", 2, 5000), 3); // later: another word
        QCOMPARE(type("a", 3, 9000), 0);
        QCOMPARE(type("A", 0, 9100), 1); // the same letter goes on
        QCOMPARE(type("q", 1, 9200), -1);
        // A long list is looked through in steps, and none of them comes after the list has gone.
        QVector<FileView> many(2 * TypedName::Step, entry("x"));
        many << entry("last");
        model.setRows(stock(many), DriveOrder::of(stock(many), {DriveSort::Name, true}), {});
        QCOMPARE(type("l", 0, 20000), -1);
        QTRY_COMPARE(at, 2 * TypedName::Step);
        QCOMPARE(type("l", 0, 30000), -1);
        model.open(1);
        QTest::qWait(0);
        QCOMPARE(at, -1);
    }
    void texts()
    {
        QCOMPARE(DriveText::clean(QString("a\nb\u202egnp.exe")), QString("a\ufffdb\ufffdgnp.exe"));
        FileView folder = entry("f", true);
        QVERIFY(!DriveText::tip(folder).contains("大小") && DriveText::tip(entry("f")).contains("大小：10B\r\n"));
    }

    // At most four on their way; what scrolled away before its turn isn't fetched, nor twice what can't be shown.
    void thumbnails()
    {
        QStringList asked;
        QList<std::function<void(const QByteArray &)>> waiting;
        ThumbStore store(
            [&](const FileView &one, std::function<void(const QByteArray &)> then) {
                asked << one.id;
                waiting << then;
            },
            nullptr);
        QVector<FileView> seen{entry("big.png", false, {}, ThumbStore::Largest + 1), entry("f.png", true), entry("a.ma")};
        for (int i = 0; i < 9; ++i)
            seen << entry(QString("%1.png").arg(i));
        store.setSeen(seen);
        QCOMPARE(asked, QStringList({"0.png", "1.png", "2.png", "3.png"}));
        store.setSeen({entry("0.png"), entry("8.png")});
        QByteArray png;
        QBuffer buffer(&png);
        QImage(40, 20, QImage::Format_RGB32).save(&buffer, "PNG");
        QSignalSpy ready(&store, &ThumbStore::ready);
        waiting.at(0)(png);
        QTRY_COMPARE(ready.size(), 1);
        QVERIFY(store.find(entry("0.png")) && !store.find(entry("1.png")));
        waiting.at(1)("no picture");
        waiting.at(2)({});
        QTRY_COMPARE(store.running(), 2); // 3 and 8
        QCOMPARE(asked.last(), QString("8.png"));
        store.setSeen({entry("1.png"), entry("2.png")});
        QCOMPARE(asked.size(), 5);
        store.forget();
        store.setSeen({entry("1.png")});
        QCOMPARE(asked.size(), 6);
    }

    // A branch shows a step at a time; a folder that holds its own ancestor ends there.
    void tree()
    {
        DriveTree tree("tree", nullptr);
        tree.clear(1);
        QVector<FileView> many;
        for (int i = 0; i < DriveTree::Step + 5; ++i)
            many << entry(QString("d%1").arg(i), true);
        tree.fillTree(many, "-1");
        const auto shown = [&tree](const QString &id) { return tree.chain(id).size(); };
        QCOMPARE(shown("d299"), 2);
        QCOMPARE(shown("d300"), 0);
        tree.showChain({entry("root", true, "-1"), many.at(303), entry("x", true)}); // deep jump past the step
        QCOMPARE(tree.chosen(), QString("x"));
        QCOMPARE(tree.chain("x"), QStringList({"-1", "d303", "x"}));
        tree.fillTree({entry("root", true, "-1"), entry("d303", true), entry("y", true)}, "x");
        QCOMPARE(tree.chain("d303"), QStringList({"-1", "d303"}));
        QCOMPARE(tree.chain("y"), QStringList({"-1", "d303", "x", "y"}));
    }

    void counting()
    {
        QTemporaryDir folder;
        QDir(folder.path()).mkpath("a/b");
        for (const char *name : {"a/1", "a/b/2", "3"}) {
            QFile file(folder.filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(1000, 'x')) == 1000);
        }
        QFile::link(folder.path(), folder.filePath("a/ring"));
        const LocalCount::Sum all = LocalCount::count({folder.filePath("a"), folder.filePath("3"), "/nowhere"}, 10000);
        QVERIFY(all.whole && all.bytes == 3000 && all.files == 3);
        QVERIFY(!LocalCount::count({folder.filePath("a")}, 0).whole);
    }
};

VN_TEST(TestDriveRules)
#include "tst_driverules.moc"
