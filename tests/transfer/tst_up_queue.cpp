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
    void init() { rig.reset(new UpRig); }
    void cleanup()
    {
        const QStringList faults = rig->files.faults;
        rig.reset();
        QCOMPARE(faults, QStringList());
    }

    // On the real thread: files that the server has move no byte, and their order ends.
    void knownFiles()
    {
        rig->known = 101401;
        QList<db_upfile> rows;
        for (int i = 0; i < 12; ++i)
            rows << UpRig::row(rig->write(QStringLiteral("t%1.png").arg(i), bytes(10 + i)), 50 + i);
        rig->add(rows);
        TransScan thread(TransScan::Up);
        thread.start();
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(rig->rows(), 0);
        QCOMPARE(rig->asked.size(), 12);
        QCOMPARE(rig->files.connections, 0);
        QCOMPARE(DoneDAO::instance()->readPage(db_done::Order, rig->order, 0, 9).value(0).sum, 12);
        QTRY_COMPARE(rig->resolve.calls.filter("ok").size(), 12);
        QCOMPARE(rig->business.count(10704), 1);
        QCOMPARE(rig->business.last(10704), (QJsonObject{{"missionId", UpRig::Task}}));
        QTRY_VERIFY_WITH_TIMEOUT(rig->business.count(10416) > 0, 3000);
        QCOMPARE(rig->business.last(10416)["missionId"].toInt(), UpRig::Task);
    }

    // A new login brings new tokens: the next file goes with them, not with what the queue knew.
    void tokensOfTheNewLogin()
    {
        rig->known = 101401;
        rig->add({UpRig::row(rig->write("a.png", bytes(9)), 1)});
        rig->start();
        QTRY_COMPARE(rig->state(), 0);
        rig->business.answer(11100, 1110000, QJsonObject{{"addr", rig->storage.url()}, {"accessToken", "second"}});
        NetWork::instance()->forgetTokens();
        QVERIFY(rig->business.takeClient());
        rig->storage.requests.clear();
        rig->add({UpRig::row(rig->write("b.png", bytes(9)), 2)});
        QTRY_COMPARE(rig->asked.size(), 2);
        for (const HttpPeer::Request &request : qAsConst(rig->storage.requests)) {
            QCOMPARE(request.header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("second"));
            QCOMPARE(request.header("X-BRONTEL-ROLE"), QByteArray("user"));
        }
        QCOMPARE(rig->business.last(10416)["totalSize"].toInt(), 9); // told while its record stood
    }

    void wholeFile_data()
    {
        columns<QString, int, bool>("name", "size", "late");
        addRow("one packet", "a.png", 10240, false);
        addRow("many packets", "b.exr", 3000001, false);
        addRow("per cent", "100%.tga", 5, false);
        addRow("per cent and hex", "a%41 %2F+&=#.tga", 5, false);
        addRow("Chinese", QStringLiteral("场景/贴图 1.tga"), 77, false);
        addRow("start point after its head", "c.png", 40000, true);
    }
    void wholeFile()
    {
        FETCH(QString, name, int, size, bool, late);
        rig->files.late = late;
        const QByteArray content = bytes(size);
        const QString path = rig->write(name, content);
        const db_upfile row = UpRig::row(path, 91);
        rig->add({row});
        rig->start();
        QTRY_COMPARE_WITH_TIMEOUT(rig->state(), 0, 10000);
        const QString key = path.mid(1);
        QCOMPARE(rig->files.stored.value(key), content);
        QVERIFY(rig->files.committed.contains(key));

        const QUrlQuery query = rig->asked.value(0);
        QStringList names;
        for (const auto &item : query.queryItems())
            names << item.first;
        QCOMPARE(names, QStringList({"fileType", "key", "diskKey", "size", "lastModified", "taskId", "upwork"}));
        QCOMPARE(query.queryItemValue("key", QUrl::FullyDecoded), key);
        QCOMPARE(query.queryItemValue("key", QUrl::FullyEncoded).toLatin1(), QUrl::toPercentEncoding(key));
        QCOMPARE(query.queryItemValue("size"), QString::number(size));
        QCOMPARE(query.queryItemValue("lastModified"), QString::number(row.modtime));

        const FileServerPeer::Frame ask = rig->files.of(70000).value(0);
        QCOMPARE(ask.token.toHex(), QByteArray("00112233445566778899aabbccddeeff"));
        QCOMPARE(ask.json, (QJsonObject{{"fileId", "91"},
                                        {"key", key},
                                        {"diskKey", key},
                                        {"size", size},
                                        {"isCompressed", false},
                                        {"compressedSize", 0},
                                        {"lastModified", row.modtime},
                                        {"taskId", UpRig::Task}}));
        QCOMPARE(rig->files.of(70004).value(0).json, (QJsonObject{{"lastModified", row.modtime}}));
        QCOMPARE(rig->files.of(70000).size(), rig->files.of(70002).size() + 1); // stop and wait: an ask before each chunk
        QCOMPARE(rig->resolve.calls, QStringList(QString("ok %1").arg(size)));
    }

    // One fault of the server, then an honest one: what the page is told, and that the file arrives all the same.
    void serverFaults_data()
    {
        columns<QString, int>("fault", "error");
        addRow("31 bytes of head", "short", 10011);
        addRow("start point past the end", "past", 10013);
        addRow("start point negative", "negative", 10013);
        addRow("frame refused", "refused", 10024);
        addRow("refused otherwise", "strange", 10025);
        addRow("chunks taken, nothing kept", "stalled", 10013);
        addRow("chunk refused", "chunk", 13010202);
        addRow("wrong hash", "hash", 13010203);
        addRow("cut after 20000 bytes", "cut", 100001);
        addRow("a body without end", "endless", 10024);
        addRow("storage: code 203", "stale", 203);
        addRow("storage: no code", "empty", 10024);
        addRow("storage: busy", "busy", 101404);
    }
    void serverFaults()
    {
        FETCH(QString, fault, int, error);
        const QMap<QString, int> storageCodes{{"stale", 203}, {"empty", 0}, {"busy", 101404}};
        if (storageCodes.contains(fault)) {
            rig->judge = [this, code = storageCodes.value(fault)](const QUrlQuery &) {
                return rig->asked.size() <= (code == 101404 ? 5 : 1) ? code : 101402;
            };
        } else if (fault == "cut") {
            rig->files.cutAfter = 20000;
        } else if (fault == "short") {
            rig->files.headBytes = 31;
        }
        const QByteArray content = bytes(60000);
        const QString path = rig->write("scene.tgd", content);
        const auto stall = [&](const FileServerPeer::Frame &frame, FileServerPeer::Reply *reply) {
            rig->files.stored[path.mid(1)].clear();
            if (frame.phase == 0)
                *reply = {0, 70000, 7000000, R"({"startPoint":0})"};
        };
        rig->files.hook = [&](const FileServerPeer::Frame &frame, FileServerPeer::Reply *reply) {
            if (fault == "past" && frame.phase == 0)
                reply->body = R"({"startPoint":60001})";
            else if (fault == "stalled")
                stall(frame, reply);
            else if (fault == "negative" && frame.phase == 0)
                reply->body = R"({"startPoint":-1})";
            else if (fault == "endless" && frame.phase == 0)
                reply->body = QByteArray(200000, ' ');
            else if (fault == "refused" || fault == "strange")
                *reply = {-1, fault == "refused" ? 79999 : 70000, 0, {}};
            else if ((fault == "chunk" && frame.phase == 1) || (fault == "hash" && frame.phase == 2))
                reply->code = error;
            return true;
        };
        rig->add({UpRig::row(path, 5)});
        // Long enough to mend the server before the next try; what passes by itself may fail more often than tries are counted.
        rig->start({fault == "busy" ? 20 : 500, 200, 10000, 20});
        QTRY_VERIFY(rig->saw(TransSet::UpError, error));
        if (error == 10013 || error == 10011)
            QCOMPARE(rig->files.of(70002).size(), fault == "stalled" ? 3 : 0);
        const int connections = rig->files.connections, farms = rig->business.count(11100);
        rig->files.hook = nullptr;
        rig->files.headBytes = 32;
        rig->files.stored[path.mid(1)].truncate(20000);
        QTRY_COMPARE_WITH_TIMEOUT(rig->state(), 0, 10000);
        QCOMPARE(rig->files.stored.value(path.mid(1)), content);
        if (fault == "cut") // the new connection went on where the old one ended
            QVERIFY(rig->files.connections == 2 && connections >= 1);
        if (fault == "stale")
            QVERIFY(farms + rig->business.count(11100) >= 3);
    }

    // All bytes are there, the server still works on them: shown as such, asked again, never counted as a failure.
    void background()
    {
        int asks = 0;
        rig->files.hook = [&](const FileServerPeer::Frame &frame, FileServerPeer::Reply *reply) {
            if (frame.phase == 2)
                reply->code = 7000412;
            else if (frame.phase == 0 && reply->code == 7000001)
                reply->code = ++asks == 1 ? 7000001 : 7000441;
            return true;
        };
        rig->add({UpRig::row(rig->write("scene.tgd", bytes(100)), 5)});
        rig->start();
        QTRY_VERIFY(rig->saw(TransSet::UpServer, 7000412));
        QTRY_COMPARE_WITH_TIMEOUT(rig->state(), 0, 10000);
        QVERIFY(!rig->saw(TransSet::UpError, 7000412));
    }

    // Three retries, then the row stands at 30 and its order at 113, with its row; the server isn't told of an end. A
    // restart by the user tries again and says so once.
    void givenUp()
    {
        QList<qint64> tries; // each comes twice as late as the one before
        QElapsedTimer clock;
        clock.start();
        rig->files.hook = [&](const FileServerPeer::Frame &, FileServerPeer::Reply *reply) {
            tries << clock.elapsed();
            reply->code = 13010101;
            return true;
        };
        rig->add({UpRig::row(rig->write("scene.tgd", bytes(100)), 5)});
        rig->start({50, 200, 10000, 20});
        QTRY_COMPARE(rig->state(), 113);
        QCOMPARE(rig->files.of(70000).size(), 4);
        QVERIFY(tries[3] - tries[2] >= 200 && tries[2] - tries[1] >= 100);
        QCOMPARE(rig->rows(), 1);
        QCOMPARE(rig->left().first().state, int(TransSet::UpGaveUp));
        QCOMPARE(rig->left().first().error, 13010101);
        QCOMPARE(rig->business.count(10704), 0);
        QVERIFY(!rig->files.frames.last().json.contains("retry"));
        rig->files.hook = nullptr;
        rig->files.frames.clear();
        QCOMPARE(ResolveDAO::instance()->step(rig->rkey, SceneState::Act::ResumeUpload), 1);
        Seam<UpCalls>::post([order = rig->order](UpCalls &up) { up.reUp(order); });
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(rig->files.of(70000).first().json["retry"].toInt(), 1);
        QCOMPARE(rig->business.count(10704), 1);
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
        const QByteArray content = bytes(60000), other = bytes(45000).toHex();
        const int rest = 201 - rig->folder.filePath("scene/").size();
        const QString path = rig->write(fault == "long" ? QString(rest, 'd') + "/scene.tgd" : QString("scene.tgd"), content);
        rig->add({UpRig::row(path, 5)});
        const auto spoil = [&] {
            if (fault == "before" || fault == "during") {
                rig->write("scene.tgd", other);
            } else if (fault == "shrunk") {
                QFile(path).resize(100);
            } else if (fault != "long") {
                QFile::remove(path);
            }
            if (fault == "folder" || fault == "locked")
                QDir().mkpath(path);
        };
        const bool during = QStringList{"during", "lost", "locked", "shrunk"}.contains(fault);
        const int at = fault == "locked" ? 1 : 3;
        rig->files.hook = [&](const FileServerPeer::Frame &frame, FileServerPeer::Reply *) {
            if (during && frame.phase == 0 && rig->files.of(70000).size() == at)
                spoil();
            return true;
        };
        if (!during)
            spoil();
        rig->start();
        QTRY_VERIFY(rig->saw(TransSet::UpError, error));
        QTRY_COMPARE_WITH_TIMEOUT(rig->state(), arrives ? 0 : 113, 10000);
        QCOMPARE(rig->rows(), arrives ? 0 : 1);
        if (fault == "before" || fault == "during")
            QCOMPARE(rig->files.stored.value(path.mid(1)), other);
        QCOMPARE(rig->business.count(10704), arrives ? 1 : 0);
    }

    // The server's word is waited for and asked for again; until it comes the record stays.
    void endIsAskedAgain()
    {
        rig->business.silence(10704);
        rig->known = 101401;
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        rig->start({20, 100, 10000, 20});
        QTRY_VERIFY(rig->business.count(10704) >= 3);
        QCOMPARE(rig->state(), 111);
        rig->business.answer(10704, 9999999); // any answer will do
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
        UserInfo::initUser(QJsonObject{{"userId", 7}});
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
        const QByteArray content = bytes(400000);
        const QString path = rig->write("scene.tgd", content);
        bool hold = true;
        rig->files.hook = [&](const FileServerPeer::Frame &, FileServerPeer::Reply *) { return !hold || rig->files.frames.size() < 7; };
        rig->add({UpRig::row(path, 5)});
        rig->start();
        QTRY_COMPARE(rig->files.frames.size(), 7);
        const int got = rig->files.stored.value(path.mid(1)).size();
        hold = false;
        if (!whole)
            QCOMPARE(ResolveDAO::instance()->step(rig->rkey, SceneState::Act::PauseUpload), 1);
        Seam<UpCalls>::post([=, order = rig->order](UpCalls &up) {
            if (whole)
                up.delUp(order, UpRig::Task);
            else
                up.pauseUp(order, UpRig::Task, 0, false);
        });
        QTRY_VERIFY(rig->files.open.isEmpty());
        QCOMPARE(rig->queue->running(), 0);
        QCOMPARE(rig->rows(), whole ? 0 : 1);
        if (whole) {
            // Without a row the record would pass for uploaded; it goes before the server is told so.
            QTRY_COMPARE(rig->resolve.calls, QStringList(QString("del %1").arg(rig->rkey)));
        } else {
            QCOMPARE(ResolveDAO::instance()->step(rig->rkey, SceneState::Act::ResumeUpload), 1);
            Seam<UpCalls>::post([order = rig->order](UpCalls &up) { up.reUp(order); });
            QTRY_COMPARE(rig->state(), 0);
            QCOMPARE(rig->files.stored.value(path.mid(1)), content);
            QVERIFY(got > 0 && rig->files.connections == 2);
        }
    }

    // Where the file server stands: named by host, or not at all, so that the farm is asked for it.
    void fileServer_data()
    {
        columns<QString, bool, bool>("host", "placed", "arrives");
        addRow("by its name", "localhost", true, true);
        addRow("the farm knows", "", false, true);
        addRow("a name that isn't", "no.such.host.invalid", true, false);
    }
    void fileServer()
    {
        FETCH(QString, host, bool, placed, bool, arrives);
        QFile ini(UserInfo::programDir() + "/service.ini");
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[server]\nqnbs=" + rig->storage.url().toUtf8() + "\n");
        ini.close();
        Session::clearAddresses();
        Session::qnhttp(); // read and kept, so that the file is there for a moment only
        ini.remove();
        rig->host = host;
        rig->placed = placed;
        rig->add({UpRig::row(rig->write("a.png", "xyz"), 5)});
        rig->start();
        if (arrives)
            QTRY_COMPARE(rig->state(), 0);
        else
            QTRY_VERIFY_WITH_TIMEOUT(rig->saw(TransSet::UpError, 100002) && rig->rows() == 1, 10000);
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
        rig->business.answer(11100, [this](const BusinessPeer::Request &request) {
            const bool known = QString::fromUtf8(request.text).contains(QLatin1Char('3'));
            return BusinessPeer::Reply{known ? 1110000 : 1110001,
                                       known ? QJsonObject{{"addr", rig->storage.url()}, {"accessToken", "a"}} : QJsonObject()};
        });
        rig->files.hook = [](const FileServerPeer::Frame &frame, FileServerPeer::Reply *reply) {
            if (frame.json["key"].toString().contains("stuck"))
                reply->code = 7000412;
            return true;
        };
        QList<db_upfile> stuck;
        for (int i = 0; i < 10; ++i) {
            stuck << UpRig::row(rig->write(QStringLiteral("stuck%1.png").arg(i), "x"), 50 + i);
            stuck.last().farmid = first == "farm" ? 8 : 3;
        }
        const qlonglong waits = UpRig::addOrder("FIRST", 1, stuck);
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        rig->start({20, 200, 10000, 60000});
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(ResolveDAO::instance()->read(waits).state, 111);
        QCOMPARE(UploadDAO::instance()->count("FIRST"), 10);
        QVERIFY(!rig->saw(TransSet::UpError, 7000412));
    }

    // The user pauses an order after the queue has read it and before it's taken up: his word stands.
    void pausedMeanwhile()
    {
        rig->known = 101401;
        const qlonglong other = UpRig::addOrder("FIRST", 1, {UpRig::row(rig->write("b.png", "x"), 6)});
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
        QVERIFY(QFile::remove(rig->folder.filePath("qnfileUpload.db")));
        QVERIFY(UploadDAO::instance()->open(rig->folder.path()));
        rig->start();
        QTRY_COMPARE(rig->state(), 107);
        QCOMPARE(rig->business.count(10704), 0);
    }

    // The server hears of the end only after the disk has: while the disk refuses, it isn't told.
    void endFollowsTheDisk()
    {
        rig->known = 101401;
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        syncs::reset();
        syncs::fail(true);
        rig->start({20, 50, 10000, 20});
        QTRY_VERIFY(syncs::count("qnfileUpload.db-wal") >= 3);
        QCOMPARE(rig->rows(), 0);
        QCOMPARE(rig->business.count(10704), 0);
        syncs::fail(false);
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(rig->business.count(10704), 1);
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
        rig->files.hook = [](const FileServerPeer::Frame &frame, FileServerPeer::Reply *) {
            return !frame.json["key"].toString().contains("held");
        };
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
        rig->storage.answer = [this](const HttpPeer::Request &request) {
            return request.path.contains("big.png") ? QByteArray() : rig->answer(request);
        };
        rig->add({UpRig::row(big, 5)});
        rig->start();
        QTRY_COMPARE(rig->queue->running(), 1);
        db_upfile small = UpRig::row(rig->write("a.png", "x"), 6);
        QCOMPARE(UploadDAO::instance()->addOrder({small}), 2);
        QTRY_VERIFY(rig->saw(TransSet::UpWait, 0));
        UserInfo::setAllValue("Transfer", "upProxyPort", 0);
    }

    void refusedOrder()
    {
        rig->known = 1070006;
        rig->add({UpRig::row(rig->write("a.png", "x"), 5)});
        rig->start();
        QTRY_VERIFY(rig->resolve.calls.contains(QString("delTask %1").arg(UpRig::Task)));
    }

    // At most upTh workers; an order for the object store waits and keeps nobody else from his turn.
    void limits()
    {
        rig->files.hook = [](const FileServerPeer::Frame &, FileServerPeer::Reply *) { return false; };
        QList<db_upfile> rows;
        for (int i = 0; i < 14; ++i)
            rows << UpRig::row(rig->write(QStringLiteral("t%1.png").arg(i), "x"), 50 + i);
        const qlonglong store = UpRig::addOrder("OSS", 1, {UpRig::row(rig->write("oss.png", "x"), 1)}, 2);
        rig->add(rows);
        rig->start();
        QTRY_COMPARE(rig->files.frames.size(), UserInfo::upTh());
        QCOMPARE(rig->queue->running(), UserInfo::upTh());
        QCOMPARE(ResolveDAO::instance()->read(store).state, 110);
        QCOMPARE(UploadDAO::instance()->count("OSS"), 1);
    }
};

VN_TEST(TestUpQueue)
#include "tst_up_queue.moc"
