#include "support/Row.h"
#include "support/Syncs.h"
#include "support/TestMain.h"
#include "transfer/TransScan.h"
#include "UpRig.h"

// The upload queue with everything around it: what the servers see, what the stores keep, how an order ends.
class TestUpQueue : public QObject
{
    Q_OBJECT
    QScopedPointer<UpRig> rig;
    static QByteArray bytes(int size)
    {
        QByteArray out(size, '\0');
        for (int i = 0; i < size; ++i)
            out[i] = char((i * 2654435761u) >> 13);
        return out;
    }

private slots:
    void init()
    {
        rig.reset(new UpRig);
        QVERIFY(rig->good);
    }
    void cleanup()
    {
        const QStringList violations = rig->farm.violations(); // every head, token, key, offset and order of words is the farm's to judge
        rig.reset();
        QCOMPARE(violations, QStringList());
    }

    // On the real thread: each file once; of another order with the same files no byte moves.
    void knownFiles()
    {
        QList<db_upfile> rows;
        for (int i = 0; i < 12; ++i)
            rows << UpRig::row(rig->write(QStringLiteral("t%1.png").arg(i), bytes(10 + i)), 50 + i);
        rig->add(rows);
        TransScan thread(TransScan::Up);
        thread.start();
        QTRY_COMPARE(rig->state(), 0);
        const FarmCounters first = rig->farm.counters();
        QVERIFY(first.bytesUp == 12 * 10 + 66 && first.instantHits == 0);
        rig->add(rows);
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(rig->rows(), 0);
        const FarmCounters second = rig->farm.counters();
        QVERIFY(second.instantHits == 12 && second.fileLinks == first.fileLinks && second.bytesUp == first.bytesUp);
        QCOMPARE(DoneDAO::instance()->readPage(db_done::Order, rig->order, 0, 9).value(0).sum, 12);
        QTRY_COMPARE(rig->resolve.calls.filter("ok").size(), 24);
        QCOMPARE(rig->count(10704), 2);
        QVERIFY(rig->farm.order(rig->task).uploaded);
        QTRY_VERIFY(rig->ask(10409, {{"missionId", rig->task}})["totalSize"].toInt() > 0); // told by 10416
    }

    // A new login brings new tokens: the next file goes with them, not with what the queue knew.
    void tokensOfTheNewLogin()
    {
        rig->add({UpRig::row(rig->write("a.png", bytes(9)), 1)});
        rig->start();
        QTRY_COMPARE(rig->state(), 0);
        rig->farm.rotateTokens();
        NetWork::instance()->forgetTokens();
        QVERIFY(rig->login());
        const QString path = rig->write("b.png", bytes(7));
        rig->add({UpRig::row(path, 2)});
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(rig->stored(path), UpRig::md5(bytes(7)));
        QVERIFY(!rig->saw(TransSet::UpError, 203) && rig->farm.events().filter("stale").isEmpty());
        QTRY_COMPARE(rig->ask(10409, {{"missionId", rig->task}})["totalSize"].toInt(), 7); // told while its record stood
    }

    void wholeFile_data()
    {
        columns<QString, int, bool>("name", "size", "late");
        addRow("one packet", "a.png", 10240, false);
        addRow("many packets", "b.exr", 3000001, false);
        addRow("per cent", "100%.tga", 5, false);
        addRow("per cent and hex", "a%41 %2F+&=#.tga", 5, false);
        addRow("Chinese", QStringLiteral("场景/贴图 1.tga"), 77, false);
        addRow("start point byte by byte behind its head", "c.png", 40000, true);
    }
    void wholeFile()
    {
        FETCH(QString, name, int, size, bool, late);
        if (late)
            rig->fault("split-file", "1");
        const QString path = rig->write(name, bytes(size));
        rig->add({UpRig::row(path, 91)});
        rig->start();
        QTRY_COMPARE(rig->state(), 0);
        QTRY_COMPARE(rig->stored(path), UpRig::md5(bytes(size)));
        QCOMPARE(rig->farm.counters().bytesUp, qint64(size));
        QCOMPARE(rig->resolve.calls, QStringList(QString("ok %1").arg(size)));
    }

    // A fault of the server, then an honest one: what the page is told, and that the file arrives all the same, no byte of
    // it twice where the farm has kept it.
    void serverFaults_data()
    {
        columns<QString, QString, int>("fault", "value", "error");
        addRow("31 bytes of head", "short-head", "1@1", 10011);
        addRow("start point past the end", "start-past", "1@1", 10013);
        addRow("start point negative", "start-past", "-60001@1", 10013);
        addRow("frame refused", "refuse-frame", "1@1", 10024);
        addRow("refused otherwise", "refuse-frame-other", "1@1", 10025);
        addRow("chunks taken, nothing kept", "drop-chunk", "1@3", 10013);
        addRow("chunk refused", "data-code", "13010202@1", 13010202);
        addRow("wrong hash", "hash-fail", "1@1", 13010203);
        addRow("cut after 20000 bytes", "cut-upload", "20000@1", 100001);
        addRow("a body without end", "long-reply", "200000@1", 10024);
        addRow("storage: code 203", "stale-access", "1@1", 203);
        addRow("storage: no code", "instant", "0@1", 10024);
        addRow("storage: busy", "instant", "101404@5", 101404); // passes by itself: more often than tries are counted
    }
    void serverFaults()
    {
        FETCH(QString, fault, QString, value, int, error);
        const QString path = rig->write("scene.tgd", bytes(60000));
        rig->add({UpRig::row(path, 5)});
        rig->fault(fault, value);
        const int farms = rig->count(11100);
        rig->start();
        QTRY_COMPARE(rig->state(), 0);
        QVERIFY(rig->saw(TransSet::UpError, error));
        QTRY_COMPARE(rig->stored(path), UpRig::md5(bytes(60000)));
        const FarmCounters all = rig->farm.counters();
        QCOMPARE(all.bytesUp, qint64(fault == "hash-fail" ? 120000 : 60000));
        if (fault == "cut-upload") // the new connection went on where the old one ended
            QCOMPARE(all.fileLinks, 2);
        QVERIFY(rig->count(11100) - farms >= (fault == "stale-access" ? 2 : 1));
    }

    // All bytes are there, the server still works on them: shown as such, asked again, never counted as a failure.
    void background()
    {
        rig->fault("stage", "7000412:300");
        rig->add({UpRig::row(rig->write("scene.tgd", bytes(100)), 5)});
        rig->start();
        QTRY_VERIFY(rig->saw(TransSet::UpServer, 7000412));
        QTRY_COMPARE(rig->state(), 0);
        QVERIFY(!rig->saw(TransSet::UpError, 7000412));
    }

    // Three retries, each twice as late as the one before, then the row stands at 30 and its order at 113, with its row; the
    // server isn't told of an end. A restart by the user tries again and says so once.
    void givenUp()
    {
        rig->fault("ask-code", "13010101@4");
        rig->add({UpRig::row(rig->write("scene.tgd", bytes(100)), 5)});
        QElapsedTimer clock;
        clock.start();
        rig->start({200, 200, 10000, 20});
        QTRY_COMPARE(rig->state(), 113);
        QVERIFY(rig->happened("ask-code") == 4 && clock.elapsed() >= 200 + 400 + 800);
        QCOMPARE(rig->rows(), 1);
        QCOMPARE(rig->left().first().state, int(TransSet::UpGaveUp));
        QCOMPARE(rig->left().first().error, 13010101);
        QCOMPARE(rig->count(10704), 0);
        QVERIFY(rig->farm.events().filter("retry").isEmpty());
        QCOMPARE(ResolveDAO::instance()->step(rig->rkey, SceneState::Act::ResumeUpload), 1);
        Seam<UpCalls>::post([order = rig->order](UpCalls &up) { up.reUp(order); });
        QTRY_COMPARE(rig->state(), 0);
        QVERIFY(!rig->farm.events().filter("retry").isEmpty());
        QVERIFY(rig->count(10704) > 0);
    }

    void fileFaults_data()
    {
        columns<QString, int, bool>("fault", "error", "arrives");
        addRow("vanished", "gone", 10000, false);
        addRow("a folder now", "folder", 10000, false);
        addRow("changed before", "before", 10019, true);
        addRow("changed during the upload", "during", 10019, true);
        addRow("vanished during the upload", "lost", 10000, false);
        addRow("can't be opened", "locked", 10001, false);
        addRow("cut short under the reader", "shrunk", 10013, true);
        addRow("folder name of 201 characters", "long", 10021, false);
    }
    void fileFaults()
    {
        FETCH(QString, fault, int, error, bool, arrives);
        const QByteArray other = bytes(45000).toHex();
        const int rest = 201 - QString(rig->at + "/scene/").size();
        const QString path = rig->write(fault == "long" ? QString(rest, 'd') + "/scene.tgd" : QString("scene.tgd"), bytes(60000));
        rig->add({UpRig::row(path, 5)});
        const auto spoil = [&] {
            if (fault == "before" || fault == "during")
                rig->write("scene.tgd", other);
            else if (fault == "shrunk")
                QFile(path).resize(100);
            else if (fault != "long")
                QFile::remove(path);
            if (fault == "folder" || fault == "locked")
                QDir().mkpath(path);
        };
        const bool during = QStringList{"during", "lost", "locked", "shrunk"}.contains(fault);
        if (during)
            rig->fault("hold-file", fault == "locked" ? "0" : "1"); // before the file is opened, or after a chunk
        else
            spoil();
        rig->start();
        if (during) {
            QTRY_VERIFY(rig->happened("hold-file") > 0);
            spoil();
            rig->fault("hold-file", {});
        }
        QTRY_VERIFY(rig->saw(TransSet::UpError, error));
        QTRY_COMPARE(rig->state(), arrives ? 0 : 113);
        QCOMPARE(rig->rows(), arrives ? 0 : 1);
        if (fault == "before" || fault == "during")
            QTRY_COMPARE(rig->stored(path), UpRig::md5(other));
        QCOMPARE(rig->count(10704) > 0, arrives); // more than once where its answer was slow
    }

    // The server's word is waited for and asked for again; until it comes the record stays.
    void endIsAskedAgain()
    {
        rig->fault("ignore.10704", "1");
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        rig->start({20, 100, 10000, 20});
        QTRY_VERIFY(rig->count(10704) >= 3);
        QCOMPARE(rig->state(), 111);
        rig->fault("refuse.10704", "9999999"); // any answer will do
        rig->fault("ignore.10704", {});
        QTRY_COMPARE(rig->state(), 0);
    }

    void endOnMaster_data()
    {
        columns<QString, int>("rdata", "state");
        addRow("from a subordinate seat", R"({"fromSlave":1})", 118);
        addRow("its own", R"({"fromSlave":0})", 0);
    }
    void endOnMaster()
    {
        FETCH(QString, rdata, int, state);
        UserInfo::setAllValue("Server", "role", "master");
        UserInfo::clearCache();
        UserInfo::initUser(rig->account);
        rig->add({}, 1, rdata); // an order without files is over at once
        rig->start();
        QTRY_COMPARE(rig->state(), state);
        UserInfo::setAllValue("Server", "role", "");
        UserInfo::clearCache();
    }

    void pauseAndDelete_data()
    {
        QTest::addColumn<bool>("whole");
        addRow("pause, then go on", false);
        addRow("delete", true);
    }
    void pauseAndDelete()
    {
        QFETCH(bool, whole);
        const QString path = rig->write("scene.tgd", bytes(400000));
        rig->fault("hold-file", "1");
        rig->add({UpRig::row(path, 5)});
        rig->start();
        QTRY_VERIFY(rig->happened("hold-file") > 0);
        QVERIFY(rig->farm.counters().bytesUp > 0);
        if (!whole)
            QCOMPARE(ResolveDAO::instance()->step(rig->rkey, SceneState::Act::PauseUpload), 1);
        Seam<UpCalls>::post([=, order = rig->order, task = rig->task](UpCalls &up) {
            if (whole)
                up.delUp(order, task);
            else
                up.pauseUp(order, task, 0, false);
        });
        QTRY_COMPARE(rig->farm.counters().fileLinksOpen, 0);
        rig->fault("hold-file", {});
        QCOMPARE(rig->queue->running(), 0);
        QCOMPARE(rig->rows(), whole ? 0 : 1);
        if (whole) {
            // Without a row the record would pass for uploaded; it goes before the server is told so.
            QTRY_COMPARE(rig->resolve.calls, QStringList(QString("del %1").arg(rig->rkey)));
        } else {
            QCOMPARE(ResolveDAO::instance()->step(rig->rkey, SceneState::Act::ResumeUpload), 1);
            Seam<UpCalls>::post([order = rig->order](UpCalls &up) { up.reUp(order); });
            QTRY_COMPARE(rig->state(), 0);
            QTRY_COMPARE(rig->stored(path), UpRig::md5(bytes(400000)));
            QVERIFY(rig->farm.counters().fileLinks == 2 && rig->farm.counters().bytesUp == 400000); // none twice
        }
    }

    // Where the file server stands: named by host, or not at all, so that the farm is asked for it.
    void fileServer_data()
    {
        columns<QString, bool>("host", "arrives");
        addRow("by its name", "localhost", true);
        addRow("the farm knows", "none", true);
        addRow("a name that isn't", "no.such.host.invalid", false);
    }
    void fileServer()
    {
        FETCH(QString, host, bool, arrives);
        QFile ini(UserInfo::programDir() + "/service.ini");
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[server]\nqnbs=http://127.0.0.1:" + QByteArray::number(rig->farm.ports().http) + "\n");
        ini.close();
        Session::clearAddresses();
        Session::qnhttp(); // read and kept, so that the file is there for a moment only
        ini.remove();
        rig->fault("file-host", host);
        rig->add({UpRig::row(rig->write("a.png", "xyz"), 5)});
        rig->start();
        if (arrives)
            QTRY_COMPARE(rig->state(), 0);
        else
            QTRY_VERIFY(rig->saw(TransSet::UpError, 100002) && rig->rows() == 1);
        Session::clearAddresses();
    }

    // What can't go on is passed by: a farm without an address, files in a server stage. The order behind them ends.
    void passedBy_data()
    {
        QTest::addColumn<QString>("first");
        addRow("a farm that nobody knows", "farm");
        addRow("ten files that the server still works on", "stage");
    }
    void passedBy()
    {
        QFETCH(QString, first);
        QList<db_upfile> stuck;
        for (int i = 0; i < 10; ++i) {
            stuck << UpRig::row(rig->write(QStringLiteral("stuck%1.png").arg(i), "x"), 50 + i);
            stuck.last().farmid = first == "farm" ? 8 : 0;
        }
        rig->fault("stage", "7000412:60000");
        const qlonglong waits = rig->add(stuck);
        const QString number = rig->order;
        rig->start({20, 200, 10000, 60000});
        if (first == "stage")
            QTRY_COMPARE(rig->states.count(qMakePair(int(TransSet::UpServer), 7000412)), 10);
        rig->fault("stage", {});
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(ResolveDAO::instance()->read(waits).state, 111);
        QCOMPARE(UploadDAO::instance()->count(number), 10);
        QVERIFY(!rig->saw(TransSet::UpError, 7000412));
    }

    // The user pauses an order after the queue has read it and before it's taken up: his word stands.
    void pausedMeanwhile()
    {
        const qlonglong other = rig->add({UpRig::row(rig->write("b.png", "x"), 6)});
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        const auto pause = connect(ResolveDAO::instance(), &ResolveDAO::stateChanged, this, [&](const db_resolve &res) {
            if (res.rkey == other && res.state == 111) // the second one is read already
                ResolveDAO::instance()->step(rig->rkey, SceneState::Act::PauseUpload);
        });
        rig->start();
        QTRY_COMPARE(ResolveDAO::instance()->read(other).rkey, 0ll);
        disconnect(pause);
        QCOMPARE(rig->state(), 112);
        QCOMPARE(rig->rows(), 1);
    }

    // The store of files is gone, and with it the rows: the order is asked for anew, the server isn't told of an end.
    void rowsLost()
    {
        rig->add({UpRig::row(rig->write("a.png", "x"), 5), UpRig::row(rig->write("b.png", "x"), 6)});
        UploadDAO::instance()->releaseUp();
        QVERIFY(QFile::remove(rig->at + "/qnfileUpload.db"));
        QVERIFY(UploadDAO::instance()->open(rig->at));
        rig->start();
        QTRY_COMPARE(rig->state(), 107);
        QCOMPARE(rig->count(10704), 0);
    }

    // The server hears of the end only after the disk has: while the disk refuses, it isn't told.
    void endFollowsTheDisk()
    {
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        syncs::reset();
        syncs::fail("qnfileUpload.db-wal");
        rig->start({20, 50, 10000, 20});
        QTRY_VERIFY(syncs::count("qnfileUpload.db-wal") >= 3);
        QCOMPARE(rig->rows(), 0);
        QCOMPARE(rig->count(10704), 0);
        syncs::fail({});
        QTRY_COMPARE(rig->state(), 0);
        QVERIFY(rig->count(10704) > 0);
    }

    // Files that are over before they could be watched count in the speed of their order.
    void speedOfSmallFiles()
    {
        qlonglong told = 0;
        connect(UploadDAO::instance(), &UploadDAO::orderSpeedChanged, &rig->resolve,
                [&](const QString &order, qlonglong speed) { told += order == rig->order ? speed : 0; });
        QList<db_upfile> rows;
        for (int i = 0; i < 8; ++i)
            rows << UpRig::row(rig->write(QStringLiteral("t%1.png").arg(i), bytes(9000)), 50 + i);
        rows << UpRig::row(rig->write("held.png", "x"), 99); // keeps the order
        rows.last().farmid = 8;
        rig->add(rows);
        rig->start();
        QTRY_COMPARE(told, 8 * 9000ll);
        QCOMPARE(rig->rows(), 1);
    }

    // Where uploads go through a proxy, the biggest file stands back while others wait.
    void bigFileGivesWay()
    {
        UserInfo::setAllValue("Transfer", "upProxyPort", 1);
        const QString big = rig->write("big.png", "x");
        QVERIFY(QFile::resize(big, UpHandler::BigFile)); // a hole: costs no disk
        rig->fault("http-silent.sourceFiles", "1");
        rig->add({UpRig::row(big, 5)});
        rig->start();
        QTRY_COMPARE(rig->queue->running(), 1);
        db_upfile small = UpRig::row(rig->write("a.png", "x"), 6);
        small.ordernum = rig->order;
        small.missid = rig->task;
        small.farmid = rig->farmId;
        QCOMPARE(UploadDAO::instance()->addOrder({small}), 2);
        QTRY_VERIFY(rig->saw(TransSet::UpWait, 0));
        UserInfo::setAllValue("Transfer", "upProxyPort", 0);
    }

    void refusedOrder()
    {
        rig->fault("instant", "1070006");
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        rig->start();
        QTRY_VERIFY(rig->resolve.calls.contains(QString("delTask %1").arg(rig->task)));
    }

    // At most upTh workers; an order for the object store waits and keeps nobody else from his turn.
    void limits()
    {
        rig->fault("hold-file", "0");
        QList<db_upfile> rows;
        for (int i = 0; i < 14; ++i)
            rows << UpRig::row(rig->write(QStringLiteral("t%1.png").arg(i), "x"), 50 + i);
        const qlonglong store = rig->add({UpRig::row(rig->write("oss.png", "x"), 1)}, 2);
        const QString number = rig->order;
        rig->add(rows);
        rig->start();
        QTRY_COMPARE(rig->farm.counters().fileLinksOpen, UserInfo::upTh());
        rig->queue->scan();
        QCOMPARE(rig->queue->running(), UserInfo::upTh());
        QCOMPARE(ResolveDAO::instance()->read(store).state, 110);
        QCOMPARE(UploadDAO::instance()->count(number), 1);
    }
};

VN_TEST(TestUpQueue)
#include "tst_up_queue.moc"
