// The drive's stores and the rules of names: sums as the rows whatever happens in between, pages by position.
#include "db/UploadDDAO.h"
#include "support/TestMain.h"
#include "transfer/drive/DriveNames.h"
#include "transfer/TransSet.h"
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

class DriveStoreTest : public QObject
{
    Q_OBJECT
    QScopedPointer<QTemporaryDir> folder;
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up);

    static db_upfile file(const QString &path, qlonglong size)
    {
        db_upfile one;
        one.lpath = "/l/" + path;
        one.remotePath = "D/" + path;
        one.size = size;
        return one;
    }
    static QList<db_upfile> files(const QString &stem, int count)
    {
        QList<db_upfile> list;
        for (int i = 0; i < count; ++i)
            list << file(stem + QString::number(i), 10);
        return list;
    }
    static db_updirD dir(const QString &path)
    {
        db_updirD one;
        one.lpath = "/l/" + path;
        one.dpath = "D/" + path;
        return one;
    }
    static db_upfarmD batch(qlonglong pri)
    {
        db_upfarmD farm;
        farm.pri = pri;
        farm.state = TransSet::UpWait;
        farm.name = QString::number(pri);
        return farm;
    }
    // "fok fsum fup fsize rows dirstate" of a batch.
    QString sums(qlonglong pri)
    {
        const db_upfarmD farm = up->farm(pri);
        return QString("%1 %2 %3 %4 %5 %6")
            .arg(farm.fok)
            .arg(farm.fsum)
            .arg(farm.fup)
            .arg(farm.fsize)
            .arg(up->countFiles(pri))
            .arg(farm.dirstate);
    }
    QString total()
    {
        qlonglong fok = -1, fsum = -1;
        up->sums(&fok, &fsum);
        return QString("%1 %2").arg(fok).arg(fsum);
    }

private slots:
    void init()
    {
        folder.reset(new QTemporaryDir);
        QVERIFY(up->open(folder->path()));
    }
    void cleanup() { up->release(); }

    void sumsFollowRows()
    {
        QVERIFY(up->addFarm(batch(1), {dir("a")}, files("top", 2)));
        QCOMPARE(sums(1), QString("0 2 0 20 2 1"));
        const db_updirD a = up->nextDirs(1, 5).first();
        QVERIFY(up->walked(1, a, {dir("a/b")}, files("a/", 3)));
        const db_updirD b = up->nextDirs(1, 5).first();
        QCOMPARE(b.dpath, QString("D/a/b"));
        // The same walk once more changes nothing; rows of one path stand once.
        QVERIFY(up->walked(1, a, {}, files("a/", 3)));
        QCOMPARE(sums(1), QString("0 5 0 50 5 1"));
        QVERIFY(up->walked(1, b, {}, {}));
        QCOMPARE(sums(1), QString("0 5 0 50 5 2"));
        QList<db_upfile> rows = up->nextFiles(1, 0, 3);
        QVERIFY(up->finish(1, rows) && up->finish(1, rows)); // counted once
        QCOMPARE(sums(1), QString("3 5 30 50 2 2"));
        QCOMPARE(total(), QString("3 5"));
        rows = up->nextFiles(1, 0, 3);
        rows[0].size = 15;
        QVERIFY(up->setMeasure(1, rows[0]) && up->removeFile(1, rows[1].pri));
        QCOMPARE(sums(1), QString("3 4 30 45 1 2"));
        QVERIFY(up->addFarm(batch(2), {}, files("x", 1)));
        QCOMPARE(sums(2), QString("0 1 0 10 1 2")); // no folders: walked at once
        QVERIFY(up->removeFarm(1));
        QCOMPARE(total(), QString("3 4"));
        QVERIFY(up->removeFarm(2));
        QCOMPARE(total(), QString("0 0"));
    }

    // A kill in the middle of a big folder: its rows so far go, the folder is walked again.
    void halfFolder()
    {
        QVERIFY(up->addFarm(batch(1), {dir("a")}, {}));
        const db_updirD a = up->nextDirs(1, 5).first();
        QVERIFY(up->walked(1, a, {}, files("a/", 4), false));
        QVERIFY(up->nextFiles(1, 0, 9).isEmpty());
        up->release();
        QVERIFY(up->open(folder->path()));
        QCOMPARE(sums(1), QString("0 0 0 0 0 1"));
        QVERIFY(up->walked(1, a, {}, files("a/", 4), false) && up->walked(1, a, {}, files("b/", 2), true));
        QCOMPARE(up->nextFiles(1, 0, 9).size(), 6);
        QCOMPARE(sums(1), QString("0 6 0 60 6 2"));
    }

    // Folders that come in pieces side by side: each is shown, or taken back, by itself.
    void piecesSideBySide()
    {
        QVERIFY(up->addFarm(batch(1), {dir("a"), dir("b")}, {}));
        const QList<db_updirD> both = up->nextDirs(1, 5);
        QVERIFY(up->walked(1, both[0], {dir("a/x")}, files("a/", 3), false) && up->walked(1, both[1], {dir("b/x")}, files("b/", 4), false));
        QCOMPARE(sums(1), QString("0 7 0 70 7 1"));
        QVERIFY(up->walked(1, both[0], {}, files("a/more", 1)));
        QCOMPARE(up->nextFiles(1, 0, 9).size(), 4);
        QVERIFY(up->unwalk(1, both[1]));
        QCOMPARE(sums(1), QString("0 4 0 40 4 1"));
        QStringList left;
        for (const db_updirD &one : up->nextDirs(1, 9))
            left << one.dpath;
        QCOMPARE(left, QStringList({"D/b", "D/a/x"}));
    }

    // What a removed batch leaves is emptied in pieces, by the next opening too; what is resumed comes in pieces.
    void bigOnes()
    {
        QVERIFY(up->addFarm(batch(1), {}, files("x", 9000)) && up->addFarm(batch(2), {}, files("x", 5000)));
        QCOMPARE(total(), QString("0 14000"));
        QSqlQuery pause(QSqlDatabase::database("qndb_uploadD", false));
        QVERIFY(pause.exec("update file_1 set state = 12"));
        QVERIFY(pause.exec("update file_1 set state = 30 where pri % 2"));
        QCOMPARE(up->resumeSome(1), 1);
        QCOMPARE(up->nextFiles(1, 0, 20000).size(), int(UploadDDAO::PieceRows));
        QVERIFY(up->resumeAll(1));
        QCOMPARE(up->nextFiles(1, 0, 20000).size(), 9000);
        QVERIFY(up->removeFarm(1));
        QCOMPARE(total(), QString("0 5000"));
        QCOMPARE(up->nextWalk({}).pri, 0);
        QVERIFY(up->tend());
        up->release();
        QVERIFY(up->open(folder->path()));
        QCOMPARE(total(), QString("0 5000"));
        while (up->tend()) {
        }
        QSqlQuery tables(QSqlDatabase::database("qndb_uploadD", false));
        QVERIFY(tables.exec("select count(*) from sqlite_master where type = 'table' and name not like 'sqlite%'") && tables.next());
        QCOMPARE(tables.value(0).toInt(), 4); // of the other batch, farm, farm_sum
    }

    // A folder that was given up is kept and due again when the batch is resumed; failed and paused rows too.
    void resumed()
    {
        QVERIFY(up->addFarm(batch(1), {dir("a")}, files("x", 3)));
        QVERIFY(up->dirFailed(1, up->nextDirs(1, 1).first()));
        const QList<db_upfile> rows = up->nextFiles(1, 0, 3);
        QVERIFY(up->setState(1, rows[0].pri, TransSet::UpGaveUp, TransSet::NoFile) && up->setState(1, rows[1].pri, TransSet::UpPause, 0));
        QCOMPARE(up->farm(1).failed, 2);
        QCOMPARE(up->farm(1).dirstate, int(UploadDDAO::DirWalked));
        // What fails and comes back is counted along, not anew: there may be a million.
        QVERIFY(up->setState(1, rows[2].pri, TransSet::UpError, 1) && up->setState(1, rows[2].pri, TransSet::UpGaveUp, 1));
        QCOMPARE(up->farm(1).failed, 3);
        QVERIFY(up->setState(1, rows[2].pri, TransSet::UpWait, 0) && up->setState(1, 77, TransSet::UpError, 1));
        QCOMPARE(up->farm(1).failed, 2);
        QVERIFY(up->resumeAll(1));
        QCOMPARE(up->farm(1).failed, 0);
        QCOMPARE(up->nextFiles(1, 0, 9).size(), 3);
        QCOMPARE(up->nextDirs(1, 9).size(), 1);
        QCOMPARE(up->farm(1).dirstate, int(UploadDDAO::DirWalking));
    }

    void damaged_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("after"); // state, sums, states and numbers of the rows
        const QString whole = "10 1 3 10 30 2 2";
        QTest::newRow("no count") << "update farm set fok = null, fsum = null"
                                  << "10 0 2 10 30 2 2 10:2 10:3";
        QTest::newRow("unknown states")
            << "update farm set state = 77; update file_7 set state = 5 where pri = 3; update farm_sum set fok = null"
            << "12 1 3 10 30 2 2 10:2 10:3";
        QTest::newRow("no state") << "update farm set dirstate = null; update file_7 set state = null"
                                  << "10 1 3 10 30 2 1 10:2 10:3";
        QTest::newRow("it ran") << "update file_7 set state = 11; update farm set state = 11, dirstate = 0"
                                << "11 1 3 10 30 2 1 10:2 10:3";
        QTest::newRow("no number") << "update file_7 set pri = null where pri = 2; update farm_sum set fsum = 9" << whole + " 10:3 10:4";
        QTest::newRow("one number twice") << "drop index file_7_own; update file_7 set pri = 3" << whole + " 10:3 10:4";
        QTest::newRow("less than nothing") << "update file_7 set size = -5" << whole + " 10:2 10:3";
        QTest::newRow("rows gone") << "drop table file_7; drop table dir_7"
                                   << "10 1 1 10 10 0 2";
        QTest::newRow("half a folder") << "update file_7 set state = 90 where pri = 2"
                                       << "10 1 2 10 20 1 2 10:3";
        QTest::newRow("an older file") << "drop index file_7_own; create index file_7_pri on file_7(pri); alter table farm drop column note"
                                       << whole + " 10:2 10:3";
        QTest::newRow("no batch of it")
            << "insert into farm(pri) values(-4); create table file_9(a); create table dir_9(a); create table dir_x(pri)"
            << whole + " 10:2 10:3";
    }
    // Whatever stands there, each row can be worked on to its end and the batch deleted.
    void damaged()
    {
        QFETCH(QString, sql);
        QVERIFY(up->addFarm(batch(7), {}, files("x", 3)) && up->finish(7, up->nextFiles(7, 0, 1)));
        up->release();
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "damage");
            db.setDatabaseName(folder->filePath("qnfileUploadD.db"));
            QVERIFY(db.open());
            for (const QString &one : sql.split("; "))
                QVERIFY2(QSqlQuery(db).exec(one), qPrintable(one));
        }
        QSqlDatabase::removeDatabase("damage");
        QVERIFY(up->open(folder->path()));
        QString now = QString("%1 %2").arg(up->farm(7).state).arg(sums(7));
        for (const db_upfile &row : up->readPage(7, 0))
            now += QString(" %1:%2").arg(row.state).arg(row.pri);
        QTEST(now, "after");
        QCOMPARE(up->tableFarms(), QSet<qlonglong>{7});
        QVERIFY(up->finish(7, up->readPage(7, 0)) && up->walked(7, dir(""), {}, {}));
        QCOMPARE(up->countFiles(7), 0);
        QCOMPARE(up->farm(7).fok, up->farm(7).fsum);
        QCOMPARE(up->farm(7).note.isEmpty(), sql != "drop table file_7; drop table dir_7");
        QVERIFY(up->addFarm(batch(8), {dir("d")}, files("y", 2)) && up->removeFarm(8) && up->removeFarm(7));
        QCOMPARE(total(), QString("0 0"));
    }

    // Another program holds a store that is new: nothing is told to be written, and it's made once it can be.
    void held()
    {
        up->release();
        QVERIFY(QDir(folder->path()).mkdir("held"));
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "held");
            db.setDatabaseName(folder->filePath("held/qnfileUploadD.db"));
            QVERIFY(db.open() && QSqlQuery(db).exec("begin exclusive"));
            up->setBusyMs(100);
            up->open(folder->filePath("held"));
            QVERIFY(!up->addFarm(batch(1), {}, files("x", 2)));
        }
        QSqlDatabase::removeDatabase("held");
        QVERIFY(up->addFarm(batch(1), {}, files("x", 2)));
        up->setBusyMs(Store::BusyMs);
        QCOMPARE(sums(1), QString("0 2 0 20 2 2"));
        QCOMPARE(total(), QString("0 2"));
    }

    // Wherever rows went away, page N begins with row 30 * N.
    void pagesByPosition()
    {
        QVERIFY(up->addFarm(batch(1), {dir("a")}, files("x", 9000)));
        up->readPage(1, 1); // counts from here on
        QVERIFY(up->walked(1, up->nextDirs(1, 1).first(), {}, files("y", 5000)));
        QList<db_upfile> rows = up->nextFiles(1, 0, 20000), gone, left;
        for (int i = 0; i < rows.size(); ++i)
            (i % 3 == 0 && i < 8500 ? gone : left) << rows.at(i);
        QVERIFY(up->finish(1, gone) && up->removeFile(1, left.takeLast().pri));
        for (int page : {0, 1, 100, 150, 250, 300, left.size() / 30, left.size() / 30 + 1}) {
            const QList<db_upfile> found = up->readPage(1, page);
            QCOMPARE(found.size(), qBound(0, left.size() - page * 30, 30));
            if (!found.isEmpty())
                QCOMPARE(found.first().pri, left.at(page * 30).pri);
        }
        QSignalSpy pages(up, &UploadDDAO::allFile);
        for (int at : {0, 10, 29, 30, 5000, left.size() - 1}) {
            for (bool before : {true, false}) {
                up->readNear(1, left.at(at).pri, before);
                const auto found = pages.last().at(1).value<QList<db_upfile>>();
                const bool head = before && at < 30; // then it's the first page
                const int from = head ? 0 : before ? at - 30 : at + 1;
                QCOMPARE(found.size(), qMin(30, left.size() - from));
                QCOMPARE(pages.last().at(2).toBool(), head);
                QVERIFY(found.isEmpty() ||
                        (found.first().pri == left.at(from).pri && found.last().pri == left.at(from + found.size() - 1).pri));
            }
        }
    }

    void history()
    {
        UploadDDAO *ok = UploadDDAO::instance(UploadDDAO::Ok);
        QVERIFY(ok->open(folder->path()));
        for (int i = 1; i <= 5; ++i) {
            db_upfarmD farm = batch(i);
            farm.oktime = 100 - i;
            farm.fok = i == 3 ? 3500 : i == 4 ? 1100 : i == 5 ? 1200 : 0;
            QVERIFY(ok->putFarm(farm));
        }
        QList<db_upfile> many = files("x", 3500);
        for (int i = 0; i < many.size(); ++i)
            many[i].pri = many[i].oktime = i + 1;
        QVERIFY(ok->addDone(3, many) && ok->addDone(5, many.mid(0, 1200)));
        many = many.mid(0, 1100);
        QVERIFY(ok->addDone(4, many) && ok->addDone(4, many) && ok->keepFarms(3));
        QCOMPARE(ok->countFiles(4), 1100);
        const QList<db_upfile> shown = ok->readPage(4, 0);
        QCOMPARE(shown.size(), 1000);
        QCOMPARE(shown.first().oktime, 1100);
        QStringList kept;
        for (const db_upfarmD &farm : ok->farms())
            kept << farm.name;
        QCOMPARE(kept, QStringList({"3", "4", "5"}));
        // Of the rows that no page shows the newest batches keep theirs.
        const auto paths = [&] {
            QStringList list;
            for (const db_upfile &one : ok->readPage(3, 0))
                list << one.lpath;
            return list;
        };
        const QStringList before = paths();
        QSignalSpy told(ok, &UploadDDAO::refreshAll);
        QVERIFY(ok->keepRows(3 * UploadDDAO::DoneRows + 500) && ok->keepRows(3 * UploadDDAO::DoneRows + 500));
        QCOMPARE(told.size(), 1);
        QCOMPARE(QList<qlonglong>({ok->countFiles(3), ok->countFiles(4), ok->countFiles(5)}), QList<qlonglong>({1000, 1100, 1200}));
        QCOMPARE(paths(), before);
        QCOMPARE(ok->farm(3).fok, 3500);
        QVERIFY(ok->tend());
        while (ok->tend()) {
        }
        QCOMPARE(paths(), before);
        ok->release();
    }

    void names()
    {
        LocalNames local;
        QStringList got;
        for (const char *name : {"x", "x", "a", "a.vd", "b.vd", ".git", "x (2)"})
            got << local.take(name);
        QCOMPARE(got, QStringList({"x", "x (2)", "a", "a.vd_", "b.vd", ".git", "x (2) (2)"}));
        QCOMPARE(LocalNames::numbered("a.b.txt", 3), QString("a.b (3).txt"));
        QCOMPARE(LocalNames::numbered(".rc", 2), QString(".rc (2)"));
        QCOMPARE(driveName("a:b\\c?\nd|"), QString("a_b_c_\nd_"));
        LocalNames kinds; // a folder has no half to be taken for
        QCOMPARE(QStringList(
                     {kinds.take("c.vd", true), kinds.take("c", true), kinds.take("c.xtemp"), kinds.take("d"), kinds.take("d.vd", true)}),
                 QStringList({"c.vd", "c", "c.xtemp", "d", "d.vd_"}));
        LocalNames folding({false, true}), windows({true, true});
        QStringList folded;
        for (const char *name : {"Case", "CASE", "\xc3\xa9", "e\xcc\x81",
                                 "Stra\xc3\x9f"
                                 "e",
                                 "STRASSE", "\xef\xac\x81", "fi"})
            folded << folding.take(QString::fromUtf8(name));
        QCOMPARE(folded, QStringList({"Case", "CASE (2)", QString::fromUtf8("\xc3\xa9"), QString::fromUtf8("e\xcc\x81 (2)"),
                                      QString::fromUtf8("Stra\xc3\x9f"
                                                        "e"),
                                      "STRASSE (2)", QString::fromUtf8("\xef\xac\x81"), "fi (2)"}));
        got.clear();
        for (const char *name : {"con", "aux.TXT", "a:b", "x. ", ".git", "X. ", "a\\b"})
            got << windows.take(name);
        QCOMPARE(got, QStringList({"_con", "_aux.TXT", "a_b", "x__", ".git", "X__ (2)", "a_b (2)"}));
        const DriveExclude rules("Thumbs.db; *~ ;autosave/;;[");
        QVERIFY(rules.leavesOut("thumbs.DB", false) && rules.leavesOut("a~", false) && rules.leavesOut("AutoSave", true));
        QVERIFY(!rules.leavesOut("autosave", false) && !rules.leavesOut("Thumbs.dbx", false) && !rules.leavesOut("a~b", true));
    }
};

VN_TEST(DriveStoreTest)
#include "tst_drive_store.moc"
