#include "common/facts/AnalysisError.h"
#include "db/ResolveDAO.h"
#include "support/RawFile.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QTemporaryDir>

namespace
{
ResolveDAO &dao() { return *ResolveDAO::instance(); }

db_resolve scene(qlonglong rkey, int state = 100, const QString &path = "/s/a.tgd")
{
    db_resolve res;
    res.rkey = res.pri = rkey;
    res.state = state;
    res.lpath = path;
    return res;
}

QList<qlonglong> keys(const QList<db_resolve> &rows)
{
    QList<qlonglong> list;
    for (const db_resolve &res : rows)
        list << res.rkey;
    return list;
}

QList<int> states()
{
    QList<int> list;
    for (const db_resolve &res : dao().readAll())
        list << res.state;
    return list;
}

void put(const QList<db_resolve> &rows)
{
    QList<db_resolve> list = rows;
    QVERIFY(dao().insertBatch(&list));
    QCOMPARE(keys(list), keys(rows));
}
} // namespace

class TestResolveStore : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

private slots:
    void init()
    {
        dao().releaseResolve();
        for (const QString &name : QDir(m_dir.path()).entryList(QDir::Files))
            QFile::remove(m_dir.filePath(name));
        QVERIFY(dao().open(m_dir.path()));
    }
    void cleanupTestCase() { dao().releaseResolve(); }

    void projectColumn()
    {
        for (const auto &[column, id, name] :
             Rows<QString, int, QString>{{"12_a_b", 12, "a_b"}, {"x_a", 0, "a"}, {"7_", 7, ""}, {"", 0, ""}, {"3_%1 100%", 3, "%1 100%"}}) {
            db_resolve res = scene(5);
            ResolveDAO::splitProject(column, &res.projectId, &res.project);
            QVERIFY2(res.projectId == id && res.project == name, qPrintable(column));
            put({res});
            QVERIFY2(dao().read(5).projectId == id && dao().read(5).project == name, qPrintable(column));
            QCOMPARE(dao().remove(5), 1);
        }
    }

    // A key that is taken moves the whole batch up to where all its keys are free, and every scene is found again.
    void takenKeys_data()
    {
        columns<QList<qlonglong>, qlonglong, int, qlonglong>("standing", "from", "count", "first");
        addRow("free", QList<qlonglong>{}, 1000ll, 3, 1000ll);
        addRow("same second", QList<qlonglong>{1000, 1001}, 1000ll, 2, 1002ll);
        addRow("a later one in the way", QList<qlonglong>{1002}, 1000ll, 3, 1003ll);
        addRow("gap too small", QList<qlonglong>{1000, 1003}, 1000ll, 3, 1004ll);
        addRow("gap big enough", QList<qlonglong>{1000, 1004}, 1000ll, 3, 1001ll);
    }
    void takenKeys()
    {
        FETCH(QList<qlonglong>, standing, qlonglong, from, int, count, qlonglong, first);
        for (qlonglong key : standing)
            put({scene(key, 100, "/old")});
        QList<db_resolve> list;
        for (int i = 0; i < count; ++i)
            list << scene(from + i, 100, QStringLiteral("/new/%1").arg(i));
        QVERIFY(dao().insertBatch(&list));
        for (int i = 0; i < count; ++i) {
            QCOMPARE(list.at(i).rkey, first + i);
            QCOMPARE(dao().read(first + i).pri, first + i);
            QCOMPARE(dao().read(first + i).lpath, QStringLiteral("/new/%1").arg(i));
        }
        QCOMPARE(dao().readAll().size(), standing.size() + count);
        QVERIFY(dao().markBatch(first + count - 1));
        QVERIFY(dao().batchMarked(first));
    }
    void flagOfADeletedBatchDoesNotReachNewRows()
    {
        put({scene(50), scene(51), scene(52)});
        QVERIFY(dao().markBatch(50));
        QCOMPARE(dao().remove(51), 1);
        put({scene(51)});
        QVERIFY(!dao().batchMarked(51));
        QVERIFY(dao().batchMarked(52));
        QVERIFY(dao().markBatch(51) && dao().batchMarked(51));
    }

    void oldFiles_data()
    {
        QTest::addColumn<QStringList>("statements");
        addRow("without the later columns",
               QStringList{"create table resolve(rkey INTEGER,ordernum varchar,missionid int,project varchar,lpath varchar,rtime "
                           "INTEGER,"
                           "state int,error int,errstr varchar,rset varchar,pri INTEGER,fok int,fsum int,primary key(rkey))",
                           "insert into resolve values(7,'',0,'1_p','/a',9,101,3,'','{}',7,0,0)"});
        addRow("with NULLs and a column of its own",
               QStringList{"create table resolve(rkey INTEGER,own int,ordernum varchar,missionid int,lpath "
                           "varchar,state int,error int,"
                           "primary key(rkey))",
                           "insert into resolve values(7,1,null,null,'/a',101,3)"});
    }
    void oldFiles()
    {
        QFETCH(QStringList, statements);
        dao().releaseResolve();
        QFile::remove(m_dir.filePath("resolve.db"));
        QVERIFY(RawFile(m_dir.filePath("resolve.db")).run(statements));
        for (int start = 0; start < 2; ++start) {
            QVERIFY(dao().open(m_dir.path()));
            const db_resolve res = dao().nextWithoutOrder();
            QCOMPARE(res.rkey, 7ll);
            QCOMPARE(res.state, 100);
            QCOMPARE(res.error, 3); // recovery leaves it
            QVERIFY(dao().fileDone(7, 10) && dao().addSize(7, 20) && dao().setFileType(7, 2) && dao().setFileType(7, 5));
            QCOMPARE(dao().read(7).filetype, 2);
            QCOMPARE(dao().read(7).fok, start + 1);
            QCOMPARE(dao().read(7).fup, 10ll * (start + 1));
            put({scene(100 + start)});
        }
        QVERIFY(dao().savePara([] {
            auto res = scene(7);
            res.rdata = "{}";
            res.rfile = "\"files\":[]";
            return res;
        }()));
        QCOMPARE(dao().readWithPara(7).rfile, QString("\"files\":[]"));
    }

    // What was under way when the client ended goes on; a scene that ended it twice is left alone.
    void recovery()
    {
        using SceneState::Act;
        put({scene(1, 101), scene(2, 108), scene(3, 111), scene(4, 101)});
        QVERIFY(dao().open(m_dir.path()));
        QCOMPARE(states(), (QList<int>{100, 107, 110, 100}));
        QVERIFY(dao().step(1, Act::Start) == 1 && dao().step(1, Act::Finish, 106) == 1); // it isn't the one
        QVERIFY(dao().step(4, Act::Start) == 1);
        QVERIFY(dao().open(m_dir.path()));
        QCOMPARE(dao().read(4).state, 104);
        QCOMPARE(dao().read(4).error, int(AnalysisError::DiedTwice));
        QCOMPARE(dao().read(1).state, 106);
    }

    // Megabytes of missing files are read where they're shown, not at each look.
    void longMessages()
    {
        QString text;
        for (int i = 0; i < 5000; ++i)
            text += QStringLiteral("/textures/%1.png\r\n").arg(i);
        put({scene(1, 103), scene(2)});
        QVERIFY(dao().saveMessage(1, text));
        QVERIFY(dao().readAll().first().errstr.size() < 3000);
        QCOMPARE(dao().readWithPara(1).errstr, text);
        QVERIFY(dao().saveMessage(1, "short"));
        QCOMPARE(dao().readWithPara(1).errstr, QString("short"));
        QVERIFY(RawFile(m_dir.filePath("resolve.db")).run({QStringLiteral("update resolve set errstr = '%1' where rkey = 2").arg(text)}));
        QVERIFY(dao().open(m_dir.path())); // as an older program left it
        QVERIFY(dao().read(2).errstr.size() < 3000);
        QCOMPARE(dao().readWithPara(2).errstr, text);
        QList<db_resolve> other{scene(3)};
        other[0].errstr = text;
        QVERIFY(dao().insertBatch(&other));
        QCOMPARE(dao().readWithPara(3).errstr, text);
        QCOMPARE(dao().remove(3), 1);
        QCOMPARE(RawFile(m_dir.filePath("resolve.db")).text("select count(*) from message"), QString("1"));
    }

    // What a batch's flag would take along: rows that would be committed without a click of their own.
    void countAlong()
    {
        put({scene(1, 103), scene(2, 103), scene(3, 100), scene(4, 106), scene(5, 107)});
        put({scene(10, 103), scene(11, 103)});
        QCOMPARE(dao().countAlong({1}), 2);
        QCOMPARE(dao().countAlong({1, 2}), 1);
        QCOMPARE(dao().countAlong({1, 10}), 3);
        QCOMPARE(dao().countAlong({4711}), 0);
        QVERIFY(!dao().anyBatchMarked() && dao().markBatch(10) && dao().anyBatchMarked());
    }

    // A deleted scene's order is noted until the server has heard of it; what a seat asks for goes after a week.
    void givenUpAndOld()
    {
        db_resolve ordered = scene(1, 106);
        ordered.missionid = 8;
        put({ordered, scene(2), scene(3, 118)});
        QVERIFY(dao().remove(1, true) == 1 && dao().remove(2, true) == 1);
        QVERIFY(dao().open(m_dir.path()));
        QCOMPARE(dao().givenUp(), QList<int>{8});
        QCOMPARE(dao().readAll().size(), 0); // never changed since 1970
        put({scene(4, 110), scene(5, 110)});
        QCOMPARE(dao().step(4, SceneState::Act::KeepForSeat), 1);
        QCOMPARE(dao().step(5, SceneState::Act::KeepForSeat), 1);
        const qint64 now = QDateTime::currentMSecsSinceEpoch(), day = 24 * 3600 * 1000;
        dao().told(5, now);
        dao().told(5, now + 60000); // the first answer was lost
        QVERIFY(dao().forgetOld(now + ResolveDAO::ToldMs));
        QCOMPARE(dao().read(5).state, 118);
        QVERIFY(dao().forgetOld(now + ResolveDAO::ToldMs + 60000));
        QCOMPARE(dao().read(5).rkey, 0ll);
        QVERIFY(dao().forgetOld(now + 6 * day));
        QCOMPARE(dao().read(4).state, 118);
        QCOMPARE(dao().givenUp().size(), 1);
        QVERIFY(dao().forgetOld(now + 8 * day));
        QCOMPARE(dao().read(4).rkey, 0ll);
        QVERIFY(dao().givenUp().isEmpty());
    }

    void pages_data()
    {
        columns<QString, int, QList<qlonglong>, int>("search", "page", "found", "pages");
        addRow("all, first", "", 0, QList<qlonglong>{1, 2}, 3);
        addRow("all, last", "", 2, QList<qlonglong>{5}, 3);
        addRow("beyond", "", 3, QList<qlonglong>{}, 3);
        addRow("percent is a letter", "0%", 0, QList<qlonglong>{2}, 1);
        addRow("underscore is a letter", "a_b", 0, QList<qlonglong>{3}, 1);
        addRow("backslash is a letter", "\\", 0, QList<qlonglong>{5}, 1);
        addRow("quote", "o'n", 0, QList<qlonglong>{4}, 1);
        addRow("hidden never", "hidden", 0, QList<qlonglong>{}, 0);
    }
    void pages()
    {
        put({scene(1, 100, "/aXb.tgd"), scene(2, 103, "/100%.tgd"), scene(3, 104, "/a_b.tgd"), scene(4, 110, "/o'neil.tgd"),
             scene(5, 100, "C:\\x.max"), scene(6, 118, "/hidden.tgd")});
        FETCH(QString, search, int, page);
        QSignalSpy told(&dao(), &ResolveDAO::allFile);
        QTEST(keys(dao().readPage(search, page, 2)), "found");
        QTEST(told.first().at(1).toInt(), "pages");
        QCOMPARE(dao().read(6).state, 118);
    }

    void queues()
    {
        put({scene(1), scene(2), scene(3, 107), scene(4, 110), scene(5, 111), scene(6, 110), scene(7, 111)});
        QCOMPARE(dao().nextWithoutOrder().rkey, 1ll);
        QCOMPARE(dao().nextToAnalyse(false).rkey, 0ll);
        QCOMPARE(dao().nextToAnalyse(true).rkey, 1ll);
        QCOMPARE(dao().nextToCommit(false).rkey, 0ll);
        QCOMPARE(dao().nextToCommit(true).rkey, 3ll);
        for (int key = 1; key <= 7; ++key)
            QVERIFY(dao().setOrder(key, 40 + key, QStringLiteral("n%1").arg(key)));
        QCOMPARE(dao().readByMission(43).ordernum, QString("n3"));
        dao().setPriority(0, {99, 2});
        QCOMPARE(dao().nextToAnalyse(false).rkey, 2ll);
        QVERIFY(dao().step(2, SceneState::Act::PauseAnalysis) == 1);
        QCOMPARE(dao().nextToAnalyse(false).rkey, 1ll);
        QVERIFY(dao().step(2, SceneState::Act::ResumeAnalysis) == 1);
        QCOMPARE(dao().nextToAnalyse(false).rkey, 1ll); // it has left the list
        QCOMPARE(keys(dao().nextUploads(3)), (QList<qlonglong>{4, 5, 6}));
        dao().setPriority(1, {7, 3});
        QCOMPARE(keys(dao().nextUploads(3)), (QList<qlonglong>{7, 4, 5}));
        QCOMPARE(keys(dao().nextUploads(1)), (QList<qlonglong>{7}));
        QSignalSpy told(&dao(), &ResolveDAO::allReswait);
        dao().readWaiting(1);
        QCOMPARE(keys(told.first().first().value<QList<db_resolve>>()), (QList<qlonglong>{7, 4, 5, 6}));
    }

    // Of two who act on what they read, the second changes nothing: what the user did in between stands.
    void aStepWantsAnExpectedState()
    {
        using SceneState::Act;
        put({scene(3, 110), scene(4)});
        QSignalSpy told(&dao(), &ResolveDAO::stateChanged);
        QCOMPARE(dao().step(3, Act::PauseUpload), 1);
        QCOMPARE(dao().step(3, Act::TakeUp), 0);
        QCOMPARE(dao().read(3).state, 112);
        QCOMPARE(dao().step(4, Act::Finish), 0); // leads to several: which one must be told
        QCOMPARE(dao().step(4, Act::Finish, 106), 0);
        QCOMPARE(dao().step(4711, Act::Start) + dao().remove(4711) + dao().mark(4711, 1), 0);
        QCOMPARE(told.size(), 1);
        QCOMPARE(dao().mark(4, 10015), 1);
        QCOMPARE(dao().step(4, Act::CannotStart, 0, 10013), 1);
        QCOMPARE(told.size(), 3);
        const db_resolve row = dao().read(4);
        QVERIFY(row.state == 104 && row.error == 10013 && row.rtime > 0);
        // A store that another program holds: told as not written, and the row is as it was.
        RawFile other(m_dir.filePath("resolve.db"));
        QVERIFY(other.run({"begin exclusive"}));
        QCOMPARE(dao().step(3, Act::ResumeUpload), -1);
        QVERIFY(other.run({"rollback"}));
        QCOMPARE(dao().step(3, Act::ResumeUpload), 1);
        QCOMPARE(told.size(), 4);
    }
};
VN_TEST(TestResolveStore)
#include "tst_resolve_store.moc"
