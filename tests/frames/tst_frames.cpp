// Logs and frames without windows: indexes that grow, encodings, pictures of every kind and those that only pretend.
#include "frames/FrameCache.h"
#include "frames/FrameSequence.h"
#include "frames/LogFile.h"
#include "support/TestMain.h"
#include <ImfRgbaFile.h>
#include <QTextCodec>

class TestLogFile : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_path;
    static void write(const QString &path, const QByteArray &bytes, bool append = false)
    {
        QFile file(path);
        QVERIFY(file.open(append ? QIODevice::Append : QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), qint64(bytes.size()));
    }
    static void scanAll(LogFile &log)
    {
        while (log.scan(1000)) // in small steps: a block's end falls anywhere
        {
        }
    }
private slots:
    void init() { m_path = m_dir.filePath("a.log"); }

    void growsAndShrinks()
    {
        QByteArray all;
        for (int i = 0; i < 1000; ++i)
            all += "line " + QByteArray::number(i) + "\r\n";
        write(m_path, all + "open");
        LogFile log(m_path);
        scanAll(log);
        QCOMPARE(log.lines(), 1001LL);
        QCOMPARE(log.line(0), QString("line 0"));
        for (int n : {63, 64, 65, 127, 128, 999})
            QCOMPARE(log.line(n), QString("line %1").arg(n));
        QCOMPARE(log.line(1000), QString("open"));
        QCOMPARE(log.line(1001), QString());
        QCOMPARE(log.lines(998, 5), (QStringList{"line 998", "line 999", "open"}));
        write(m_path, "ed\nlast\n", true);
        scanAll(log);
        QCOMPARE(log.lines(1000, 3), (QStringList{"opened", "last"}));
        QVERIFY(!log.shrunk());
        write(m_path, "new\n");
        scanAll(log);
        QVERIFY(log.shrunk() && !log.shrunk());
        QCOMPARE(log.lines(), 1LL);
        QCOMPARE(log.line(0), QString("new"));
        // Another file in its place that is longer at once: its front tells, its end, or who wrote it.
        const QByteArray front(3000, 'f');
        write(m_path, front + "\n1\n");
        scanAll(log);
        QVERIFY(log.shrunk() && log.lines() == 2 && log.line(1) == "1");
        write(m_path, front + "\n2\n3\n");
        scanAll(log);
        QVERIFY(log.shrunk() && log.lines() == 3 && log.line(1) == "2");
        log.restart();
        scanAll(log);
        QVERIFY(log.shrunk() && log.lines() == 3);
        QFile::remove(m_path);
        QVERIFY(!log.scan(10));
    }

    void oddLines()
    {
        const QByteArray longLine(3 * 1000 * 1000, 'x');
        QByteArray head("a\0b\x1b[0m\n", 8);
        write(m_path, head + longLine + "\nshort\n\n" + QByteArray("\xe6\x97"));
        LogFile log(m_path);
        scanAll(log);
        QCOMPARE(log.lines(), 5LL);
        QCOMPARE(log.line(0), QString::fromUtf8("a␀b␛[0m"));
        QVERIFY(log.line(1).size() < LogFile::MostChars + 40 && log.line(1).contains("3,000,001"));
        QCOMPARE(log.lines(2, 2), (QStringList{"short", ""}));
        QCOMPARE(log.longest(), 3000001LL);
        QCOMPARE(log.bytes(2, 3, 100), QByteArray("short\n\n"));
    }

    void encodings_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("coding");
        const QString text = QString::fromUtf8("渲染 ä");
        const auto utf16 = [](const QString &t, bool little) {
            QByteArray out;
            for (QChar c : QString(QChar(0xfeff)) + t)
                out += little ? QByteArray(1, char(c.cell())) + char(c.row()) : QByteArray(1, char(c.row())) + char(c.cell());
            return out;
        };
        QTest::newRow("utf-8") << QString(text + "\nb\n").toUtf8() << int(LogFile::Coding::Utf8);
        QTest::newRow("utf-8 with a mark") << "\xef\xbb\xbf" + QString(text + "\nb\n").toUtf8() << int(LogFile::Coding::Utf8);
        QTest::newRow("utf-16 little") << utf16(text + "\nb\n", true) << int(LogFile::Coding::Utf16le);
        QTest::newRow("utf-16 big") << utf16(text + "\nb\n", false) << int(LogFile::Coding::Utf16be);
        QTest::newRow("gb18030") << QTextCodec::codecForName("GB18030")->fromUnicode(text + "\nb\n") << int(LogFile::Coding::Gb18030);
    }
    void encodings()
    {
        QFETCH(QByteArray, bytes);
        write(m_path, bytes);
        LogFile log(m_path);
        scanAll(log);
        QTEST(int(log.coding()), "coding");
        QCOMPARE(log.lines(0, 5), (QStringList{QString::fromUtf8("渲染 ä"), "b"}));
        log.setCoding(LogFile::Coding::Latin1); // by hand: kept, whatever comes
        write(m_path, bytes, true);
        scanAll(log);
        QCOMPARE(log.coding(), LogFile::Coding::Latin1);
    }

    void found()
    {
        QByteArray all;
        for (int i = 0; i < 5000; ++i)
            all += i % 1000 == 500 ? "ERROR at " + QByteArray::number(i) + '\n' : "quiet\n";
        write(m_path, all);
        LogFile log(m_path);
        scanAll(log);
        const QRegularExpression what("error at \\d+", QRegularExpression::CaseInsensitiveOption);
        std::atomic_bool stop{false};
        QCOMPARE(log.find(what, 0, true, stop), 500LL);
        QCOMPARE(log.find(what, 501, true, stop), 1500LL);
        QCOMPARE(log.find(what, 4501, true, stop), -1LL);
        QCOMPARE(log.find(what, 4499, false, stop), 3500LL);
        QCOMPARE(log.find(what, 499, false, stop), -1LL);
        stop = true;
        QCOMPARE(log.find(what, 4999, false, stop), -1LL);
    }
};

class TestFrames : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString exr(const QString &name, int width, int height, int left = 0, float value = 2.f)
    {
        const QString path = m_dir.filePath(name);
        using namespace OPENEXR_IMF_NAMESPACE;
        const IMATH_NAMESPACE::Box2i display({0, 0}, {9, 9});
        const IMATH_NAMESPACE::Box2i data({left, 0}, {left + width - 1, height - 1});
        RgbaOutputFile file(path.toUtf8().constData(), display, data, WRITE_RGBA);
        std::vector<Rgba> pixels(size_t(width * height), Rgba(value, 0.5f, 0.f, 1.f));
        file.setFrameBuffer(pixels.data() - left, 1, size_t(width));
        file.writePixels(height);
        return path;
    }
private slots:
    void floatPictures()
    {
        const QString path = exr("a.0001.exr", 5, 10, 3);
        const FrameImage frame = FrameReader::read(path);
        QVERIFY2(frame.valid() && frame.isFloat() && frame.width == 10 && frame.height == 10, qPrintable(frame.error));
        QCOMPARE(frame.at(3, 0).r, 2.f);
        QCOMPARE(frame.at(2, 0).r, 0.f); // beside what the file holds
        QCOMPARE(frame.at(8, 9).r, 0.f);
        FrameLook look;
        look.gamma = 1;
        QCOMPARE(qRed(FrameReader::develop(frame, look).pixel(4, 4)), 255);
        look.exposure = -2;
        QVERIFY(qAbs(qRed(FrameReader::develop(frame, look).pixel(4, 4)) - 127) <= 1);
        look.channel = FrameLook::Green;
        const QRgb green = FrameReader::develop(frame, look).pixel(4, 4);
        QVERIFY(qRed(green) == qBlue(green) && qAbs(qRed(green) - 32) <= 1);
        look.channel = FrameLook::Alpha;
        QCOMPARE(qRed(FrameReader::develop(frame, look).pixel(4, 4)), 255);
        QCOMPARE(qRed(FrameReader::develop(frame, look).pixel(0, 0)), 0);
    }

    void pretenders_data()
    {
        QTest::addColumn<QString>("what");
        for (const char *what : {"cut exr", "text.png", "wide.png", "huge", "folder", "pipe", "gone", "empty.tif"})
            QTest::newRow(what) << QString(what);
    }
    void pretenders()
    {
        QFETCH(QString, what);
        QString path = m_dir.filePath(what);
        qint64 most = FrameReader::MostPixels;
        if (what == "cut exr") {
            QFile whole(exr("whole.exr", 10, 10));
            QVERIFY(whole.open(QIODevice::ReadOnly));
            const QByteArray bytes = whole.readAll();
            for (int keep : {4, 20, bytes.size() / 2, bytes.size() - 3})
                QVERIFY(!FrameReader::read(bytes.left(keep), "x.exr").valid());
            return;
        }
        QFile file(path);
        if (what == "wide.png") { // 100,000 x 100,000, as its head says
            QImage picture(1, 1, QImage::Format_RGB32);
            QVERIFY(picture.save(path) && file.open(QIODevice::ReadWrite));
            QByteArray bytes = file.readAll();
            qToBigEndian<quint32>(100000, bytes.data() + 16);
            qToBigEndian<quint32>(100000, bytes.data() + 20);
            uint crc = 0xffffffffu;
            for (char byte : bytes.mid(12, 17))
                for (int bit = (crc ^= uchar(byte), 0); bit < 8; ++bit)
                    crc = crc >> 1 ^ (crc & 1 ? 0xedb88320u : 0);
            qToBigEndian<quint32>(~crc, bytes.data() + 29);
            file.seek(0);
            file.write(bytes);
            file.close();
            QVERIFY(FrameReader::read(path).error.contains("100000*100000"));
        } else if (what == "text.png" || what == "empty.tif") {
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(what == "text.png" ? "not a picture" : "");
        } else if (what == "huge") {
            path = exr("huge.exr", 10, 10);
            most = 99;
        } else if (what == "folder") {
            QVERIFY(QDir().mkpath(path));
        } else if (what == "pipe") {
            QCOMPARE(QProcess::execute("mkfifo", {path}), 0);
        }
        file.close();
        const FrameImage frame = FrameReader::read(path, most);
        QVERIFY(!frame.valid() && !frame.error.isEmpty());
        QVERIFY(FrameReader::develop(frame, {}).isNull());
    }

    void wholeNumberPictures()
    {
        QImage picture(20, 10, QImage::Format_ARGB32);
        picture.fill(qRgba(200, 100, 50, 128));
        for (const char *name : {"a.png", "a.tif", "a.tga"}) {
            const QString path = m_dir.filePath(name);
            QVERIFY2(picture.save(path), name);
            const FrameImage frame = FrameReader::read(path);
            QVERIFY2(frame.valid() && !frame.isFloat(), name);
            QVERIFY(qAbs(frame.at(0, 0).r * 255 - 200) <= 1.1f);
            FrameLook look;
            look.channel = FrameLook::Blue;
            QVERIFY(qAbs(qRed(FrameReader::develop(frame, look).pixel(1, 1)) - 50) <= 1); // as the screen shows it
        }
    }

    // Of what moves the first picture.
    void animated()
    {
        const QByteArray gif =
            QByteArray::fromHex("47494638396101000100800000ff00000000ff21ff0b4e45545343415045322e30030100000021f9040100000000"
                                "2c00000000010001000002024401"
                                "0021f90401000000002c000000000100010000020244010"
                                "03b");
        const FrameImage frame = FrameReader::read(gif, "a.gif");
        QVERIFY2(frame.valid() && frame.width == 1 && frame.at(0, 0).r == 1.f, qPrintable(frame.error));
    }

    void series()
    {
        QTemporaryDir dir;
        for (const char *name : {"s.0001.png", "s.0002.png", "s.0005.png", "s2.0003.png", "s.0003.exr", "other.png", "s.12345678901.png"})
            QFile(dir.filePath(name)).open(QIODevice::WriteOnly);
        const FrameSequence all = FrameSequence::of(dir.filePath("s.0002.png"));
        QCOMPARE(all.files.keys(), (QList<int>{1, 2, 5}));
        QCOMPARE(all.missing(), (QList<int>{3, 4}));
        QCOMPARE(all.numbers(), (QList<int>{1, 2, 3, 4, 5}));
        FrameSequence told = all;
        told.ordered = {1, 5, 9}; // every fourth: those between aren't missing
        QVERIFY(told.missing() == QList<int>{9} && told.last() == 9 && told.numbers() == (QList<int>{1, 2, 5, 9}));
        QCOMPARE(FrameSequence::of(dir.filePath("other.png")).files.size(), 1);
        QVERIFY(QDir(dir.path()).mkpath("View/deep"));
        QCOMPARE(FrameSequence::firstPicture(dir.filePath("View")), QString());
        QFile(dir.filePath("View/deep/a.log")).open(QIODevice::WriteOnly);
        QFile(dir.filePath("View/deep/b.EXR")).open(QIODevice::WriteOnly);
        QCOMPARE(FrameSequence::firstPicture(dir.filePath("View")), dir.filePath("View/deep/b.EXR"));
    }

    void cacheIsBounded()
    {
        QStringList paths;
        for (int i = 0; i < 6; ++i) {
            QImage picture(256, 256, QImage::Format_RGB32);
            picture.fill(i * 20);
            paths << m_dir.filePath(QString("c%1.png").arg(i));
            QVERIFY(picture.save(paths.last()));
        }
        FrameCache cache(1300 * 1000); // two frames, each as read and as shown
        QSignalSpy ready(&cache, &FrameCache::ready);
        for (const QString &path : paths)
            cache.wish(path);
        cache.wish(paths.first()); // twice is once
        QTRY_COMPARE(ready.size(), 6);
        QVERIFY(cache.bytes() <= 1300 * 1000 && cache.bytes() > 0);
        QVERIFY(cache.find(ready.last().at(0).toString()));
        FrameLook look;
        look.channel = FrameLook::Red;
        cache.setLook(look); // what was developed otherwise is gone
        QVERIFY(!cache.find(ready.last().at(0).toString()) && cache.bytes() == 0);
        cache.wish(m_dir.filePath("none.png"));
        QTRY_COMPARE(ready.size(), 7);
        QVERIFY(!cache.find(m_dir.filePath("none.png"))->frame->valid());
    }
};

VN_TEST(TestLogFile)
VN_TEST(TestFrames)
#include "tst_frames.moc"
