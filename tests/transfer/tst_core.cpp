#include "common/UserInfo.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "transfer/TransFrame.h"
#include "transfer/TransHandler.h"
#include "transfer/TransSet.h"
#include "transfer/TransWork.h"
#include <openssl/evp.h>

namespace
{
class Worker : public TransWork
{
public:
    using TransWork::failDown;
    using TransWork::failUp;
    using TransWork::TransWork;
    void resolve(const QString &name)
    {
        resolveHost(name, [this](const QString &ip) { got << ip; });
    }
    QStringList got;
};

class Queue : public TransHandler
{
public:
    using TransHandler::addWork;
    using TransHandler::batch;
    using TransHandler::BatchItem;
    using TransHandler::isCurrent;
    int scans = 0;
    QStringList reports;
    void scan() override { ++scans; }
    TransWork *makeWork(bool, int) override { return new Worker(share()); }
    void reportSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size) override
    {
        reports << QStringLiteral("%1/%2 %3 %4").arg(key).arg(subkey).arg(speed).arg(size);
    }
    void flushBatch(qlonglong key, const QList<BatchItem> &items, qlonglong sum) override
    {
        reports << QStringLiteral("%1: %2 of %3").arg(key).arg(items.size()).arg(sum);
    }
};
} // namespace

class TestTransferCore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UserInfo::init(); }

    void frames()
    {
        const QByteArray token = TransFrame::tokenBytes("00112233-4455-6677-8899-AABBCCDDEEFF");
        const QByteArray frame = TransSet::packFrame(1, 70002, token, 0x0102030405060708, 3, "abc");
        QCOMPARE(frame.toHex(), QByteArray("11121314"
                                           "00000001"
                                           "0102030405060708"
                                           "00011172"
                                           "00112233445566778899aabbccddeeff"
                                           "00000003"
                                           "616263"));
        QCOMPARE(TransFrame::ask(0, 70000, {}, {{"a", 1}}).toHex(), QByteArray("11121314"
                                                                               "00000000"
                                                                               "ffffffffffffffff"
                                                                               "00011170") +
                                                                        QByteArray(32, '0') + "00000007" + QByteArray("{\"a\":1}").toHex());
        TransFrame::Reply reply;
        const QByteArray head = QByteArray::fromHex("00000000"
                                                    "ffffffff"
                                                    "55555555"
                                                    "0001387f"
                                                    "5555555555555555"
                                                    "006acfc9"
                                                    "55555555");
        QVERIFY(TransFrame::Reply::parse(head, &reply));
        QCOMPARE(reply.phase, -1);
        QCOMPARE(reply.command, 79999);
        QCOMPARE(reply.code, 7000009);
        QVERIFY(!TransFrame::Reply::parse(head.left(31), &reply));
    }

    void tokensAndBodies()
    {
        const QByteArray none(32, '0');
        QCOMPARE(TransFrame::tokenBytes("0102-3").toHex(), QByteArray("0102").append(28, '0'));
        QCOMPARE(TransFrame::tokenBytes(QString("ab").repeated(20)).toHex(), QByteArray("ab").repeated(16));
        QCOMPARE(TransFrame::tokenBytes("zz").toHex(), none);
        QJsonObject object;
        const auto state = [&](const QByteArray &data) { return TransFrame::parseBody(data, &object); };
        QVERIFY(state("") == TransFrame::Body::Incomplete && state("{\"startPo") == TransFrame::Body::Incomplete);
        QVERIFY(state("{\"startPoint\":1}") == TransFrame::Body::Complete);
        QVERIFY(state("[1]") == TransFrame::Body::Bad && state(QByteArray(70000, 'x')) == TransFrame::Body::Bad);
    }

    void packets_data()
    {
        columns<int, int, int, int, int, int>("limit", "workers", "size", "elapsed", "next", "delay");
        addRow("grows by half", 0, 1, 10241, 10000, 15361, 0);
        addRow("slow: three quarters", 0, 1, 40000, 11000, 30000, 0);
        addRow("never below the least", 0, 1, 10240, 11000, 10240, 0);
        addRow("never above the most", 0, 1, 41943040, 1, 41943040, 0);
        addRow("limit: up to the share", 512, 4, 100000, 10, 131072, 0);
        addRow("limit: below the share", 512, 4, 20000, 10, 30000, 0);
        addRow("limit: one packet a second", 512, 4, 131072, 300, 131072, 700);
        addRow("limit: more than one packet a second", 102400, 1, 41943040, 100, 41943040, 300);
        addRow("limit: the second is over", 512, 4, 131072, 1000, 131072, 0);
        addRow("limit: no worker counted", 512, 0, 524288, 0, 524288, 1000);
        addRow("limit: under the least packet", 1, 10, 10240, 5, 102, 0);
    }
    void packets()
    {
        FETCH(int, limit, int, workers, int, size, int, elapsed);
        const TransSet::Pace pace = TransSet::pace(limit, workers, size, elapsed);
        QTEST(pace.packetSize, "next");
        QTEST(pace.delayMs, "delay");
    }

    void hashes()
    {
        const std::atomic_bool on{true}, off{false};
        const QString path = testHome() + "/hash.bin";
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.write(QByteArray(3000000, 'x'));
        file.flush();
        QCOMPARE(TransSet::fileMD5(&file, off), QString("8e32e22642bddc89698e25a4e9bf528b")); // of md5sum
        QVERIFY(file.isOpen());
        QCOMPARE(TransSet::fileMD5(&file, on), QString());
        QVERIFY(EVP_default_properties_enable_fips(nullptr, 1)); // a machine that forbids MD5 for signatures
        const QString strict = TransSet::fileHash(path, off);
        QVERIFY(EVP_default_properties_enable_fips(nullptr, 0));
        QCOMPARE(strict, QString("8e32e22642bddc89698e25a4e9bf528b"));
        QCOMPARE(TransSet::fileHash(path + "none", off), QString());
        QVERIFY(file.resize(0));
        QCOMPARE(TransSet::fileHash(path, off), QString("d41d8cd98f00b204e9800998ecf8427e"));
        QCOMPARE(TransSet::fakeHash(path).size(), 32);
        QCOMPARE(TransSet::fakeHash(path + "none"), QString());
    }

    // A worker ends once, whatever comes after; what passes by itself isn't counted.
    void oneEnd_data()
    {
        columns<int, bool, int>("code", "up", "kind");
        for (int code : {101404, 10024, 100001, 100007, 100005, 10010, 7000403, 7000402, 7000405})
            QTest::addRow("up %d", code) << code << true << int(TransSet::Transient);
        for (int code : {10024, 100001, 100007, 100005, 10010})
            QTest::addRow("down %d", code) << code << false << int(TransSet::Transient);
        addRow("up, hard", 100000, true, int(TransSet::Hard));
        addRow("down, hard", 7000403, false, int(TransSet::Hard));
    }
    void oneEnd()
    {
        FETCH(int, code, bool, up);
        Queue queue;
        Worker worker(queue.share());
        QList<int> kinds;
        connect(&worker, &TransWork::UpWorkFinished, this, [&](const db_upfile &file, int kind) {
            kinds << kind;
            QCOMPARE(file.error, code);
        });
        connect(&worker, &TransWork::DownWorkFinished, this, [&](const db_downfile &file, int kind) {
            kinds << kind;
            QCOMPARE(file.error, code);
        });
        for (int i = 0; i < 2; ++i) {
            up ? worker.failUp(code) : worker.failDown(code);
            worker.finishUp(TransSet::Done);
            worker.finishDown(TransSet::Done);
        }
        QCOMPARE(kinds.size(), 1);
        QTEST(kinds.first(), "kind");
    }

    // Scanned on each tick; what the workers pushed goes out once a second, the latest of each file.
    void ticks()
    {
        Queue queue;
        queue.startScan();
        queue.pushSpeed(1, 10, 5, 50);
        queue.pushSpeed(1, 10, 7, 70);
        queue.pushSpeed(2, 20, 1, 2);
        QTRY_VERIFY(queue.scans >= 10);
        QTRY_COMPARE(queue.reports, QStringList({"1/10 7 70", "2/20 1 2"}));
    }

    // Flushed by the delay or by the count, whichever comes first.
    void batches()
    {
        Queue queue;
        queue.batch(1, {10, 100, 0, 0}, 3, 5);
        queue.batch(1, {11, 10, 0, 0}, 3, 5);
        QTRY_COMPARE(queue.reports, QStringList("1: 2 of 110"));
        for (int i = 0; i < 3; ++i)
            queue.batch(2, {i, 1, 0, 0}, 3, 60000);
        QCOMPARE(queue.reports.last(), QString("2: 3 of 3"));
    }

    // A worker that is taken is silent, and gone on its own thread; a handler that is gone is told nothing.
    void owners()
    {
        auto queue = std::make_unique<Queue>();
        const auto share = queue->share();
        auto *worker = new Worker(share);
        worker->setKey("k", 9);
        bool gone = false;
        connect(worker, &QObject::destroyed, this, [&] { gone = true; });
        queue->addWork("k", worker);
        QVERIFY(queue->isCurrent("k", 9) && !queue->isCurrent("k", 8));
        QCOMPARE(int(share->running), 1);
        QVERIFY(queue->takeWork("k", 0));
        QVERIFY(!queue->takeWork("k", 0));
        QTRY_VERIFY(gone);
        QCOMPARE(int(share->running), 0);
        bool ran = false;
        QVERIFY(share->post([&](TransHandler &) { ran = true; }));
        QTRY_VERIFY(ran);
        QVERIFY(share->post([](TransHandler &) { QFAIL("the handler is gone"); }));
        queue.reset();
        QVERIFY(!share->post([](TransHandler &) {}));
        QCoreApplication::processEvents();
    }
};

VN_TEST(TestTransferCore)
#include "tst_core.moc"
