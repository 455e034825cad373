#include "db/DownloadDAO.h"
#include "db/UploadDAO.h"
#include "support/RawFile.h"
#include "support/Row.h"
#include "support/Syncs.h"
#include "support/TestMain.h"
#include <ctime>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <thread>

namespace
{
UploadDAO &up() { return *UploadDAO::instance(); }
DownloadDAO &down() { return *DownloadDAO::instance(); }

db_upfile upRow(const QString &path, int state = 10, const QString &order = "o1")
{
    db_upfile file;
    file.ordernum = order;
    file.missid = 5;
    file.lpath = path;
    file.state = state;
    return file;
}

db_downfile downRow(int id, int state = 0)
{
    db_downfile file;
    file.id = id;
    file.ordernum = "o1";
    file.lpath = QStringLiteral("/out/%1.png").arg(id);
    file.state = state;
    return file;
}

db_downmiss missionRow(qlonglong pri, const QString &order = "o1", int state = 0)
{
    db_downmiss miss;
    miss.ordernum = order;
    miss.missid = 5;
    miss.pri = pri;
    miss.state = state;
    return miss;
}

QString ids(qlonglong missPri)
{
    QStringList list;
    for (const db_downfile &file : down().readPage(missPri, 0))
        list << QStringLiteral("%1:%2:%3").arg(file.id).arg(file.pri - missPri * 10000).arg(file.state);
    return list.join(' ');
}
} // namespace

class TestTransferStores : public QObject
{
    Q_OBJECT
    QScopedPointer<QTemporaryDir> m_dir;

private slots:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        QVERIFY(up().open(m_dir->path()) && down().open(m_dir->path()));
    }
    void cleanup()
    {
        up().releaseUp();
        down().releaseDown();
    }

    void uploadRows()
    {
        QCOMPARE(up().addOrder({upRow("/a"), upRow("/b", 13), upRow("/a")}), 2);
        QList<db_upfile> page = up().readPage("o1", 0);
        QVERIFY(page.at(0).pri > 0 && page.at(0).pri != page.at(1).pri);
        db_upfile again = upRow("/a");
        again.hash = "changed";
        QCOMPARE(up().addOrder({again}), 2);
        QCOMPARE(up().readPage("o1", 0).first().hash, QString());
        QCOMPARE(up().countFailed("o1"), 1);
        QVERIFY(up().setState(page.at(0).pri, 50, 7));
        QCOMPARE(up().readPage("o1", 0).first().error, 0); // told, not written
        QVERIFY(up().resetLeftBehind("o1", {page.at(0).pri}));
        QVERIFY(up().nextWaiting("o1", {}, 5).isEmpty());
        QVERIFY(up().resetLeftBehind("o1", {}) && up().reUp("o1"));
        QCOMPARE(up().nextWaiting("o1", {}, 5).size(), 2);
        QCOMPARE(up().nextWaiting("o1", {page.at(0).pri}, 5).size(), 1);
        QVERIFY(up().setState(page.at(1).pri, 30, 10019));
        QCOMPARE(up().readPage("o1", 0).at(1).error, 10019);
        QVERIFY(up().nextWaiting("o1", {}, 5).size() == 1 && up().reUp("o1"));
        QCOMPARE(up().nextWaiting("o1", {}, 5).size(), 2);
        QSignalSpy gone(&up(), &UploadDAO::fileDeleted);
        QVERIFY(up().remove(QList<qlonglong>{page.at(0).pri, page.at(1).pri}));
        QCOMPARE(gone.size(), 2);
        QCOMPARE(up().count("o1"), 0);
        QVERIFY(up().knows("o1") == 1 && up().removeOrder("o1") && up().knows("o1") == 0);
        up().releaseUp(); // "no rows" would end the order
        QVERIFY(up().count("o1") == -1 && up().addOrder({again}) == -1 && !up().remove(1));
    }
    // What settle() answers for is on the medium, and one sync serves all that wait for it.
    void settled()
    {
        const auto log = [] { return syncs::count("qnfileUpload.db-wal"); };
        syncs::reset();
        up().addOrder({upRow("/a"), upRow("/b")});
        QVERIFY(up().settle());
        QVERIFY(log() == 1 && syncs::count(m_dir->path()) == 1); // the log, and once the names beside it
        QVERIFY(up().settle() && Store::settleAll());
        QCOMPARE(log(), 1);
        const qlonglong pri = up().readPage("o1", 0).first().pri;
        QVERIFY(up().setState(pri, 30, 7));
        syncs::fail("qnfileUpload.db-wal");
        QVERIFY(!up().settle() && !Store::settleAll());
        syncs::fail({});
        QVERIFY(up().settle());
        for (int round = 0; round < 50; ++round)
            up().setState(pri, 30, round);
        const int before = log();
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([] { up().settle(); });
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(log(), before + 1);
    }
    void uploadPages()
    {
        QList<db_upfile> rows;
        for (int i = 0; i < 35; ++i)
            rows << upRow(QStringLiteral("/%1").arg(i));
        QCOMPARE(up().addOrder(rows), 35);
        QSignalSpy told(&up(), &UploadDAO::allFile);
        QStringList seen;
        for (int page : {0, 1, 2})
            for (const db_upfile &file : up().readPage("o1", page))
                seen << file.lpath;
        QCOMPARE(seen.size(), 35);
        QCOMPARE(seen.removeDuplicates(), 0);
        QList<int> sizes, clears;
        for (const QList<QVariant> &one : told) {
            sizes << one.at(0).value<QList<db_upfile>>().size();
            clears << one.at(1).toInt();
        }
        QCOMPARE(sizes, (QList<int>{30, 5, 0}));
        QCOMPARE(clears, (QList<int>{1, 0, 0}));
    }
    // Each row stands on one page, and no page holds more than thirty.
    void pages()
    {
        QList<db_downfile> files;
        for (int id = 1; id <= 65; ++id) {
            files << db_downfile{};
            files.last().id = id;
            files.last().lpath = QString("/r/%1.png").arg(id);
        }
        db_downmiss miss;
        QList<int> sizes;
        QSet<qlonglong> seen;
        connect(&down(), &DownloadDAO::miss, this, [&](const QList<db_downmiss> &list, int pages) { sizes << list.size() << pages; });
        for (miss.pri = 1; miss.pri <= 35; ++miss.pri)
            QVERIFY(down().addMission(miss, miss.pri == 1 ? files : QList<db_downfile>{}));
        for (int page = 0; page < 3; ++page) {
            const QList<db_downfile> rows = down().readPage(1, page);
            for (const db_downfile &row : rows)
                seen << row.id;
            QCOMPARE(rows.size(), page < 2 ? 30 : 5);
            if (page < 2)
                down().readMissions(page);
        }
        QCOMPARE(seen.size(), 65);
        QCOMPARE(sizes, (QList<int>{30, 2, 5, 2}));
        disconnect(&down(), &DownloadDAO::miss, this, nullptr);
    }
    void uploadStart()
    {
        up().addOrder({upRow("/a", 12), upRow("/b", 30), upRow("/c", 50), upRow("/d", 10, "o2")});
        QVERIFY(up().open(m_dir->path()));
        QList<int> states;
        for (const db_upfile &file : up().readPage("o1", 0))
            states << file.state;
        QCOMPARE(states, (QList<int>{10, 30, 10}));
        QCOMPARE(up().orders(), (QStringList{"o1", "o2"}));
    }
    void oldUploadFile()
    {
        up().releaseUp();
        const QString path = m_dir->filePath("qnfileUpload.db");
        QFile::remove(path);
        QVERIFY(
            RawFile(path).run({"create table up(id int,ordernum varchar,missid int,farmid int,lpath varchar,hash varchar,"
                               "modtime INTEGER,size INTEGER,pri INTEGER,state int,primary key(ordernum,missid,lpath))",
                               "insert into up values(1,'o1',5,1,'/a','',0,0,77,11)", "insert into up values(2,'o1',5,1,'/b','',0,0,77,30)",
                               "insert into up values(3,'o1',5,1,'/c','',0,0,null,null)"}));
        QVERIFY(up().open(m_dir->path()));
        QCOMPARE(up().nextWaiting("o1", {}, 9).size(), 2);
        QVERIFY(up().remove(77)); // one handle, one row
        QCOMPARE(up().count("o1"), 2);
        QVERIFY(up().setState(up().readPage("o1", 0).first().pri, 13, 4));
    }

    void missions()
    {
        const qlonglong first = down().newMissionPri(), second = down().newMissionPri();
        QVERIFY(first != second);
        QVERIFY(down().addMission(missionRow(first), {downRow(1), downRow(2), downRow(3)}));
        QVERIFY(down().addMission(missionRow(second, "o2", 2), {}));
        QCOMPARE(ids(first), QString("1:0:0 2:1:0 3:2:0"));
        down().setVip(5, "v", "c");
        QCOMPARE(down().mission(first).vip, QString("v"));
        QVERIFY(down().setState(first, first * 10000 + 1, 31, 9));
        QVERIFY(down().setState(first, first * 10000 + 2, 1, 0));
        QCOMPARE(down().countFailed(first), 1);
        QCOMPARE(down().countOpen(first), 2);
        // Asked again with other rows: what waits or runs stays, what failed waits again, no row takes another's place.
        QVERIFY(down().fileDone(first, first * 10000));
        QVERIFY(down().addMission(missionRow(first), {downRow(9), downRow(2), downRow(8)}));
        QCOMPARE(ids(first), QString("9:0:0 2:1:0 3:2:1 8:3:0"));
        QCOMPARE(down().mission(first).sum, 4);
        QCOMPARE(down().mission(first).ok, 0);
        QCOMPARE(down().missions({0, 1, 2}).first().pri, first);
        QVERIFY(down().moveFirst(second));
        QCOMPARE(down().missions({0, 1, 2}).first().pri, second);
        QVERIFY(down().pause(first));
        QCOMPARE(down().nextWaiting(first).pri, 0ll);
        QVERIFY(down().restart(first));
        QCOMPARE(down().nextWaiting(first).id, 9ll);
        QVERIFY(down().removeMission(first));
        QCOMPARE(ids(first), QString());
        QCOMPARE(down().count(first), 0);
        QVERIFY(!down().fileDone(first, first * 10000));
    }
    void manyFilesOfOneMission()
    {
        QList<db_downfile> files;
        for (int i = 1; i <= 10050; ++i)
            files << downRow(i);
        QVERIFY(down().addMission(missionRow(20), files));
        QCOMPARE(down().count(20), 10050);
        QCOMPARE(down().mission(20).sum, 10050);
    }
    void downloadStart()
    {
        QVERIFY(down().addMission(missionRow(30), {downRow(1, 1), downRow(2, 2), downRow(3, 31)}));
        QVERIFY(down().open(m_dir->path()));
        QCOMPARE(ids(30), QString("1:0:0 2:1:2 3:2:31"));
    }

    void migration_data()
    {
        columns<QStringList, QString, int>("statements", "first", "missions");
        const QString miss = "create table miss(ordernum varchar,missid int,missname varchar,lpath varchar,ok int,sum "
                             "int,pri INTEGER,state int)";
        const QString down = "create table down(id int,ordernum varchar,missid int,farmid int,lpath varchar,hash varchar,size INTEGER,"
                             "pri INTEGER,state int,error int)";
        const QStringList plain{miss,
                                down,
                                "insert into miss values('o1',5,'n','/t',1,3,11,1)",
                                "insert into miss values('o2',6,'n','/t',0,1,12,2)",
                                "insert into down values(1,'o1',5,1,'/t/1','',9,110000,1,0)",
                                "insert into down values(2,'o1',5,1,'/t/2','',9,110001,2,0)",
                                "insert into down values(3,'o2',6,1,'/t/3','',9,120000,0,0)"};
        addRow("both", plain, "1:0:0 2:1:2", 2);
        addRow("killed between the missions by an older program",
               plain + QStringList{"create table miss2(ordernum varchar,missid int,missname varchar,lpath varchar,ok "
                                   "int,sum int,pri INTEGER,state int,primary key(pri))",
                                   "insert into miss2 select * from miss", "drop table miss",
                                   "create table down_11(id int,ordernum varchar,missid int,farmid int,lpath "
                                   "varchar,hash varchar,size INTEGER,pri INTEGER,"
                                   "state int,error int,primary key(pri))",
                                   "insert into down_11 select * from down where ordernum = 'o1'"},
               "1:0:0 2:1:2", 2);
        addRow("handles that collide", plain + QStringList{"update down set pri = 110000"}, "1:0:0 2:1:2", 2);
        addRow("missions that collide",
               QStringList{miss, "insert into miss values('o1',5,'n','/t',1,3,11,1)", "insert into miss values('o2',5,'n','/t',1,3,11,1)"},
               "", 2);
        addRow("fewer columns",
               QStringList{"create table miss(ordernum varchar,missid int,pri INTEGER)",
                           "create table down(id int,ordernum varchar,pri INTEGER)", "insert into miss values('o1',5,11)",
                           "insert into down values(1,'o1',110000)"},
               "1:0:0", 1);
    }
    void migration()
    {
        QFETCH(QStringList, statements);
        down().releaseDown();
        const QString path = m_dir->filePath("qnfileDown.db");
        QFile::remove(path);
        QVERIFY(RawFile(path).run(statements));
        for (int start = 0; start < 2; ++start) {
            QVERIFY(down().open(m_dir->path()));
            QTEST(ids(11), "first");
            QTEST(RawFile(path).text("select count(*) from miss2").toInt(), "missions");
            QCOMPARE(RawFile(path).text("select count(*) from sqlite_master where name in ('miss','down')"), QString("0"));
        }
    }

    void migrationThatFailsHalfwayChangesNothing()
    {
        down().releaseDown();
        const QString path = m_dir->filePath("qnfileDown.db");
        QFile::remove(path);
        QVERIFY(RawFile(path).run({"create table miss(ordernum varchar,missid int,pri INTEGER)",
                                   "create table down(id int,ordernum varchar,pri INTEGER)", "insert into miss values('o1',5,11)",
                                   "insert into miss values('o2',5,12)", "insert into down values(1,'o1',1)",
                                   "insert into down values(2,'o2',2)", "create view down_12 as select 1 as pri"}));
        const QString state = "select (select count(*) from miss), (select count(*) from down), (select count(*) from "
                              "sqlite_master where name = 'down_11')";
        QVERIFY(down().open(m_dir->path()));
        QCOMPARE(RawFile(path).text(state), QString("2|2|0"));
        QVERIFY(RawFile(path).run({"drop view down_12"}) && down().open(m_dir->path()));
        QCOMPARE(down().count(11) + down().count(12), 2);
    }

    void damagedFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        addRow("noise", QByteArray(5000, 'x'));
        addRow("head, then noise", QByteArray("SQLite format 3\0", 16) + QByteArray(9000, 'y'));
        addRow("cut", QByteArray());
        addRow("overwritten in the middle", QByteArray("*"));
    }
    void damagedFile()
    {
        QFETCH(QByteArray, content);
        QList<db_upfile> rows;
        for (int i = 0; i < 500; ++i)
            rows << upRow(QStringLiteral("/%1").arg(i));
        up().addOrder(rows);
        up().releaseUp();
        QFile file(m_dir->filePath("qnfileUpload.db"));
        QVERIFY(file.open(QFile::ReadWrite));
        if (content == "*") {
            file.seek(file.size() / 2);
            file.write(QByteArray(8192, 'z'));
        } else if (content.isEmpty()) {
            file.resize(file.size() / 2);
        } else {
            file.resize(0);
            file.write(content);
        }
        file.seek(0);
        const QByteArray damaged = file.readAll();
        file.close();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("kept aside"));
        QVERIFY(up().open(m_dir->path()));
        QCOMPARE(up().addOrder({upRow("/new")}), 1);
        const QStringList aside = QDir(m_dir->path()).entryList({"qnfileUpload.db.broken-*"});
        QCOMPARE(aside.size(), 1);
        QFile kept(m_dir->filePath(aside.first()));
        QVERIFY(kept.open(QFile::ReadOnly));
        QCOMPARE(kept.readAll().size(), damaged.size());
    }

    void lockedFileGivesUp()
    {
        up().addOrder({upRow("/a")});
        up().setBusyMs(300);
        RawFile other(m_dir->filePath("qnfileUpload.db"));
        QVERIFY(other.run({"begin immediate"}));
        QElapsedTimer timer;
        timer.start();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("UploadDAO::transaction begin immediate given up"));
        QCOMPARE(up().addOrder({upRow("/b")}), -1);
        QVERIFY(timer.elapsed() < Patience);
        QVERIFY(other.run({"rollback"}));
        QCOMPARE(up().addOrder({upRow("/b")}), 2);
        up().setBusyMs(UploadDAO::BusyMs);
    }
    void manyThreads()
    {
        QVERIFY(down().addMission(missionRow(40), {}));
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([t] {
                for (int i = 0; i < 50; ++i) {
                    up().addOrder({upRow(QStringLiteral("/%1/%2").arg(t).arg(i))});
                    up().nextWaiting("o1", {}, 3);
                    down().mission(40);
                }
            });
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(up().count("o1"), 200);
    }

    // What a file costs must not grow with the rows that wait beside it.
    void costStaysFlat()
    {
        const auto fill = [](int from, int to) {
            QList<db_upfile> rows;
            for (int i = from; i < to; ++i)
                rows << upRow(QStringLiteral("/scene/textures/%1.exr").arg(i));
            return up().addOrder(rows);
        };
        // Time of the processor, not of the clock: other programs run beside the tests.
        const auto work = [] {
            const std::clock_t start = std::clock();
            for (int i = 0; i < 150; ++i) {
                const auto next = up().nextWaiting("o1", {}, 5);
                for (const db_upfile &file : next.mid(0, 2))
                    up().remove(file.pri);
            }
            return qint64(std::clock() - start) * 1000000 / CLOCKS_PER_SEC;
        };
        QCOMPARE(fill(0, 1000), 1000);
        const qint64 few = work();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(fill(1000, 100000), 99700);
        QVERIFY2(timer.elapsed() < 4 * Patience, qPrintable(QString::number(timer.elapsed())));
        const qint64 many = work();
        qDebug() << "insert ms" << timer.elapsed() << "us a file, 1,000 rows:" << few / 300 << "100,000 rows:" << many / 300;
        QVERIFY(many < 4 * few);
        timer.restart();
        QVERIFY(up().open(m_dir->path()));
        qDebug() << "open ms" << timer.elapsed();
    }
};
VN_TEST(TestTransferStores)
#include "tst_transfer_stores.moc"
