#include "db/DoneDAO.h"
#include "support/TestMain.h"
#include <QSignalSpy>
#include <QTemporaryDir>

class TestDoneStore : public QObject
{
    Q_OBJECT
private slots:
    void theLatestStay()
    {
        QTemporaryDir dir;
        DoneDAO &store = *DoneDAO::instance();
        QVERIFY(store.open(dir.path()));
        for (int i = 1; i <= DoneDAO::Keep + 5; ++i) {
            db_done done;
            done.kind = i % 2;
            done.missid = i;
            done.ordernum = QStringLiteral("N%1").arg(i);
            done.name = i == 900 ? QString("a_b%.tgd") : QString("shot.tgd");
            done.folder = "/proj";
            done.ended = 1000 + i;
            done.ok = done.sum = i;
            done.size = 1LL << 40;
            QVERIFY(store.add(done));
        }
        store.close();
        QVERIFY(store.open(dir.path()));
        QSignalSpy told(&store, &DoneDAO::page);
        QList<db_done> rows = store.readPage(db_done::Any, {}, 0, 30);
        QCOMPARE(told.first().at(1).toInt(), (DoneDAO::Keep + 29) / 30);
        QCOMPARE(rows.first().missid, DoneDAO::Keep + 5);
        QVERIFY(rows.first().size == 1LL << 40 && rows.first().folder == "/proj" && rows.first().kind == db_done::Mission);
        QCOMPARE(store.readPage(db_done::Any, {}, 33, 30).last().missid, 6); // the oldest five are gone
        QCOMPARE(store.readPage(db_done::Order, {}, 0, 9999).size(), DoneDAO::Keep / 2);
        QCOMPARE(store.readPage(db_done::Any, "_b%", 0, 30).size(), 1);
        QCOMPARE(store.readPage(db_done::Any, "N900", 0, 30).size(), 1);
        // Fetched again: one row, the latest.
        db_done again = rows.at(3);
        again.ended = 9999;
        again.ok = 0;
        QVERIFY(store.add(again));
        rows = store.readPage(db_done::Any, {}, 0, 30);
        QVERIFY(rows.at(0).missid == again.missid && rows.at(0).ok == 0 && rows.at(1).missid != again.missid);
        QCOMPARE(store.readPage(db_done::Any, again.ordernum, 0, 30).size(), 1);
        QVERIFY(store.remove({rows.at(0).id}));
        QVERIFY(store.readPage(db_done::Any, again.ordernum, 0, 30).isEmpty());
        store.close();
    }
};
VN_TEST(TestDoneStore)
#include "tst_done_store.moc"
