#include "io/Package.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QtEndian>

namespace
{
QByteArray received(qint32 seq, qint32 cmd, qint32 val, const QByteArray &body, qint32 length = -1)
{
    QByteArray head(RecvPackageHead::Size, '\0');
    const auto put = [&head](int at, qint32 value) { qToBigEndian(value, head.data() + at); };
    put(0, 0x11121314);
    put(4, length == -1 ? body.size() + 28 : length);
    put(8, seq);
    put(20, cmd);
    put(32, val);
    return head + body;
}
} // namespace

class TestPackage : public QObject
{
    Q_OBJECT
private slots:
    void checksum_data()
    {
        columns<int, int, QByteArray, int>("module", "cmd", "body", "check");
        addRow("heart beat", 100, 10000, QByteArray("{}"), 1120913913);
        addRow("session", 103, 10308, QByteArray("{\"thirdParty\":0}"), 2053153937);
        addRow("bytes above 127", 104, 10400, QByteArray("{\"scene\":\"场景\"}"), 2125120305);
        addRow("signs", 104, 10406, QByteArray("\x80\xff\x7f\0", 4), 336532457);
        addRow("all ones", -1, -1, QByteArray(9, '\xff'), 733875627);
    }
    void checksum()
    {
        FETCH(int, module, int, cmd, QByteArray, body);
        QTEST(packageChecksum(module, cmd, body), "check");
        const QByteArray package = makePackage(module, cmd, 7, body);
        const auto at = [&package](int offset) { return qFromBigEndian<qint32>(package.constData() + offset); };
        QCOMPARE(package.size(), 28 + body.size());
        QCOMPARE(package.left(4), QByteArray("\x11\x12\x13\x14"));
        QCOMPARE(at(4), body.size() + 20);
        QCOMPARE(at(8), 7);
        QCOMPARE(at(12), 0);
        QTEST(at(16), "check");
        QCOMPARE(at(20), module);
        QCOMPARE(at(24), cmd);
        QCOMPARE(package.mid(28), body);
    }

    // Three packages, the middle one without a body, cut in two at every byte and into pieces of every small size.
    void splitAnywhere()
    {
        const QList<QByteArray> all{received(1, 10427, 1042700, "{\"pageSize\":1}"), received(2, 10000, 0, ""),
                                    received(-1, 10413, 1041300, QByteArray(100, 'x'))};
        const QByteArray stream = all.join();
        for (int piece = 1; piece <= stream.size(); ++piece) {
            for (const bool once : {true, false}) {
                QList<QByteArray> got;
                PackageReader reader;
                for (int at = 0; at < stream.size();) {
                    const int size = once && at > 0 ? stream.size() : piece;
                    reader.feed(stream.mid(at, size), [&got](const QByteArray &package) { got.append(package); });
                    at += size;
                }
                QCOMPARE(got, all);
                QVERIFY(reader.readingHead());
            }
        }
    }

    void badHeads_data()
    {
        columns<QByteArray, int, bool>("first", "counted", "broken");
        addRow("magic turned round", QByteArray("\x14\x13\x12\x11").append(QByteArray(32, '\0')), 1, false);
        addRow("rest of the read goes too", QByteArray(36, 'a').append(received(1, 1, 1, "")), 1, false);
        addRow("negative length", received(1, 1, 1, "", -2), 0, true);
        addRow("shorter than its head", received(1, 1, 1, "", 27), 0, true);
        addRow("over the ceiling", received(1, 1, 1, "", PackageReader::MaxLength + 1), 0, true);
        addRow("huge", received(1, 1, 1, "", std::numeric_limits<qint32>::max()), 0, true);
    }
    void badHeads()
    {
        FETCH(QByteArray, first, int, counted, bool, broken);
        for (const int piece : {first.size(), 11}) {
            int got = 0;
            const auto count = [&got](const QByteArray &) { ++got; };
            PackageReader reader;
            reader.feed(first.left(piece), count);
            if (piece < first.size())
                reader.feed(first.mid(piece), count);
            QCOMPARE(got, 0);
            QCOMPARE(reader.badHeads(), counted);
            QCOMPARE(reader.broken(), broken);
            reader.feed(received(5, 10000, 0, "{}"), count); // the next read starts a new head
            QCOMPARE(got, broken ? 0 : 1);
            reader.reset();
            reader.feed(received(5, 10000, 0, "{}"), count);
            QCOMPARE(got, broken ? 1 : 2);
        }
    }
};

VN_TEST(TestPackage)
#include "tst_package.moc"
