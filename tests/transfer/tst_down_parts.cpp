#include "common/platform/Platform.h"
#include "common/VFunc.h"
#include "support/Row.h"
#include "support/Syncs.h"
#include "support/TestMain.h"
#include "transfer/down/MissionBuilder.h"
#include "transfer/down/PartialFile.h"
#include "transfer/down/ResultAsks.h"
#include "transfer/TransSet.h"
#include <QCryptographicHash>
#include <QDir>
#include <QJsonArray>
#ifdef Q_OS_LINUX
#include "support/Refusals.h"
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace
{
const std::atomic_bool go{false};

QByteArray bytes(int count)
{
    QByteArray data(count, Qt::Uninitialized);
    for (int i = 0; i < count; ++i)
        data[i] = char((i * 31 + i / 251) & 0xff);
    return data;
}
QString md5(const QByteArray &data) { return QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex(); }
void put(const QString &path, const QByteArray &data)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(data);
}
QByteArray get(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
}
} // namespace

class TestDownParts : public QObject
{
    Q_OBJECT
    QScopedPointer<QTemporaryDir> m_dir;
    QString m_target;
private slots:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        m_target = m_dir->filePath("sub/f.png");
        QDir(m_dir->path()).mkpath("sub");
    }

    void whereToGoOn_data()
    {
        columns<int, QByteArray, int>("there", "mark", "position"); // there: bytes of .xtemp, -1: none
        addRow("fresh", -1, QByteArray(), 0);
        addRow("padded", 5000, QByteArray("      1000"), 1000);
        addRow("complete", 5000, QByteArray("      5000"), 5000);
        const QByteArray now = QByteArray::fromStdString(platform::bootMark());
        addRow("noted before a kill", 5000, "      1000\n      3000 " + now, 3000);
        addRow("noted before a power cut", 5000, QByteArray("      1000\n      3000 another"), 1000);
        addRow("noted beyond the size", 5000, "      1000\n      5001 " + now, 1000);
        addRow("garbage", 5000, QByteArray("12a\0\xff", 5), 0);
        addRow("empty", 5000, QByteArray(), 0);
        addRow("negative", 5000, QByteArray("       -10"), 0);
        addRow("beyond the size", 5000, QByteArray("      5001"), 0);
        addRow("a file of something else", 5000, QByteArray(100000, '1'), 0);
        addRow("number without data", -1, QByteArray("      5000"), 0);
        addRow("data shorter than the number", 800, QByteArray("      1000"), 0);
        addRow("a file that grows", 800, QByteArray("       500"), 500);
        addRow("another version, bigger", 6000, QByteArray("      1000"), 0);
    }
    void whereToGoOn()
    {
        FETCH(int, there, QByteArray, mark, int, position);
        const QByteArray whole = bytes(5000);
        if (there >= 0)
            put(m_target + ".xtemp", QByteArray(there, 'x').replace(0, position, whole.left(position)));
        if (!mark.isEmpty())
            put(m_target + ".vd", mark);
        PartialFile partial(m_target);
        QCOMPARE(partial.open(5000), 0);
        QCOMPARE(int(partial.position()), position);
        QCOMPARE(get(m_target + ".vd").trimmed().toInt(), position); // what doesn't hold doesn't stay either
        QCOMPARE(partial.write(whole.constData() + position, 5000 - position), 0);
        QCOMPARE(partial.finish(md5(whole).toUpper(), go), 0);
        QCOMPARE(get(m_target), whole);
        QCOMPARE(QDir(m_dir->filePath("sub")).entryList(QDir::Files), QStringList("f.png"));
    }

    void markFollowsTheDisk()
    {
        constexpr qint64 Size = 500000;
        {
            PartialFile partial(m_target);
            QCOMPARE(partial.open(Size), 0);
            QCOMPARE(QFileInfo(m_target + ".xtemp").size(), Size);
            QCOMPARE(partial.write(bytes(3000).constData(), 3000), 0);
            QCOMPARE(partial.mark(), 0); // nothing synced within the first second
            QCOMPARE(partial.keepNow(), 0);
            QCOMPARE(get(m_target + ".vd"), QByteArray("      3000"));
            QCOMPARE(partial.write("abc", 3), 0);
            QCOMPARE(get(m_target + ".vd"), QByteArray("      3000"));
        }
        QCOMPARE(get(m_target + ".vd"), QByteArray("      3003")); // a worker that is dropped loses nothing
        PartialFile again(m_target);
        QCOMPARE(again.open(Size), 0);
        QCOMPARE(again.position(), 3003LL);
        QTRY_VERIFY((again.position() < Size ? again.write("x", 1) : again.keep()) == 0 && again.mark() > 3003);
        QVERIFY(again.mark() <= again.position());
        again.discard();
        QCOMPARE(again.open(1 << 20), 0); // a range after the other is noted, as a kill would find it
        QCOMPARE(again.write(bytes(PartialFile::NoteStep).constData(), PartialFile::NoteStep), 0);
        QVERIFY(get(m_target + ".vd").startsWith("         0\n     65536 "));
        again.discard();
        QVERIFY(QDir(m_dir->filePath("sub")).isEmpty());
    }

    void ends()
    {
        const QByteArray data = bytes(100);
        const auto fill = [&](PartialFile &partial) { return partial.open(100) == 0 && partial.write(data.constData(), 100) == 0; };
        put(m_target, "old");
        PartialFile wrong(m_target);
        QVERIFY(fill(wrong) && !QFileInfo::exists(m_target + ".vd")); // so small that it's fetched anew
        QCOMPARE(wrong.finish(md5("other"), go), int(TransSet::BadHash));
        QCOMPARE(QDir(m_dir->filePath("sub")).entryList(QDir::Files), QStringList("f.png"));
        QCOMPARE(get(m_target), QByteArray("old"));
        PartialFile stopped(m_target);
        QVERIFY(fill(stopped));
        const std::atomic_bool stop{true};
        QCOMPARE(stopped.finish(md5(data), stop), int(PartialFile::Stopped));
        QCOMPARE(stopped.finish({}, go), 0); // no hash told: nothing to compare
        QCOMPARE(get(m_target), data);
        QDir(m_dir->path()).mkpath("sub/dir.png");
        PartialFile blocked(m_dir->filePath("sub/dir.png"));
        QVERIFY(fill(blocked));
        QCOMPARE(blocked.finish({}, go), int(TransSet::EndFailed));
    }

    void disk()
    {
        put(m_dir->filePath("file"), "x");
        QCOMPARE(PartialFile(m_dir->filePath("file/f.png")).open(10), int(TransSet::NotWritable));
        QCOMPARE(PartialFile(m_target).open(qint64(1) << 60), int(TransSet::DiskFull));
        QCOMPARE(PartialFile(m_target).open(VFunc::freeSpace(m_target) - PartialFile::Spare / 2), int(TransSet::DiskFull));
        QVERIFY(QDir(m_dir->filePath("sub")).isEmpty());
        PartialFile big(m_target); // takes no more than it needs soon
        QCOMPARE(big.open(3 * PartialFile::Step), 0);
        QCOMPARE(QFileInfo(m_target + ".xtemp").size(), PartialFile::Step);
        for (int i = 0; i < 65; ++i)
            QCOMPARE(big.write(QByteArray(1 << 20, 'x').constData(), 1 << 20), 0);
        QVERIFY(QFileInfo(m_target + ".xtemp").size() > PartialFile::Step + (1 << 20));
        big.discard();
        QDir(m_dir->path()).mkpath("sub/f.png.vd");
        QCOMPARE(PartialFile(m_target).open(1 << 20), int(TransSet::OpenFailed));
#ifdef Q_OS_LINUX
        // A limit on the size of files stands for a disk that gives no more.
        PartialFile partial(m_dir->filePath("sub/full.png"));
        QCOMPARE(partial.open(5000), 0);
        signal(SIGXFSZ, SIG_IGN);
        rlimit before;
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit little{1000, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &little);
        const int result = partial.write(bytes(2000).constData(), 2000);
        setrlimit(RLIMIT_FSIZE, &before);
        QCOMPARE(result, int(TransSet::AccessFailed));
        QCOMPARE(partial.position(), 1000);
#endif
    }

#ifdef Q_OS_LINUX
    // No more names, no more room in the user's share: told as a full disk wherever it shows, and over once there is room.
    void noRoom()
    {
        const QByteArray data = bytes(int(PartialFile::MarkFrom));
        const auto fetch = [&](const QString &target) {
            PartialFile partial(target, m_dir->path());
            int bad = partial.open(data.size());
            for (int parts = 2; parts > 0 && bad == 0; --parts) {
                bad = partial.write(data.constData() + partial.position(), (data.size() - partial.position()) / parts);
                bad = bad == 0 ? partial.keepNow() : bad;
            }
            return bad == 0 ? partial.finish(md5(data), go) : bad;
        };
        for (const Call call : {Call::MakeFolder, Call::MakeFile, Call::Write, Call::Sync, Call::Rename}) {
            for (const int error : {ENOSPC, EDQUOT, EACCES}) {
                const QString target = m_dir->filePath(QString("%1_%2/f.png").arg(int(call)).arg(error));
                refusal = error;
                refused = call;
                syncs::fail(call == Call::Sync ? ".xtemp" : QString(), error);
                const int told = fetch(target);
                refused = Call::None;
                syncs::fail({});
                QVERIFY2(told != 0 && (told == TransSet::DiskFull) == (error != EACCES), qPrintable(target));
                QCOMPARE(fetch(target), 0);
                QCOMPARE(get(target), data);
            }
        }
    }
#endif

    // In a folder that others write to, links stand where files are expected.
    void planted()
    {
        const QString victim = m_dir->filePath("victim");
        put(victim, "victim");
        for (const char *end : {".xtemp", ".vd", ""})
            QVERIFY(QFile::link(victim, m_target + end));
        PartialFile partial(m_target, m_dir->path());
        QCOMPARE(partial.open(3), 0);
        QCOMPARE(partial.write("new", 3), 0);
        QCOMPARE(partial.finish({}, go), 0);
        QCOMPARE(get(m_target) + get(victim), QByteArray("newvictim"));
        QVERIFY(!QFileInfo(m_target).isSymLink());
#ifdef Q_OS_LINUX
        QVERIFY(QFile::link(m_dir->filePath("sub"), m_dir->filePath("linked")));
        QCOMPARE(PartialFile(m_dir->filePath("linked/g.png"), m_dir->path()).open(3), 0); // the user's own
        if (lchown(qPrintable(m_dir->filePath("linked")), 12345, 12345) != 0)
            QSKIP("only root can plant another user's link here");
        QCOMPARE(PartialFile(m_dir->filePath("linked/h.png"), m_dir->path()).open(3), int(TransSet::NoFolder));
        QVERIFY(!QFile::exists(m_dir->filePath("sub/h.png.xtemp")));
#endif
    }

    void limitOfTheHour()
    {
        const auto at = [](int from, int to, int minute) { return TransSet::limitAt(100, 5, from, to, minute); };
        QCOMPARE(at(540, 1080, 539), 100);
        QCOMPARE(at(540, 1080, 540), 5);
        QCOMPARE(at(540, 1080, 1080), 100);
        QCOMPARE(at(1320, 360, 1439), 5); // over midnight
        QCOMPARE(at(1320, 360, 359), 5);
        QCOMPARE(at(1320, 360, 360), 100);
        QCOMPARE(at(60, 60, 60), 100);
        QCOMPARE(TransSet::limitAt(-1, 5, 0, 0, 0), 0);
    }

    void hashBehindTheData()
    {
        const QByteArray data = bytes(20000003);
        for (const int from : {0, 9000001}) { // from the start, and gone on
            put(m_target + ".xtemp", data.left(from) + QByteArray(data.size() - from, 'x'));
            put(m_target + ".vd", QByteArray::number(from));
            PartialFile partial(m_target);
            QCOMPARE(partial.open(data.size()), 0);
            partial.trail(go);
            for (int at = from; at < data.size(); at += 777777)
                QCOMPARE(partial.write(data.constData() + at, qMin(777777, data.size() - at)), 0);
            QCOMPARE(partial.finish(md5(data), go), 0);
        }
    }

    void missing()
    {
        const QList<int> nine{9, 8, 1, 2, 3, 4, 5, 5, 6, 7};
        QCOMPARE(MissionBuilder::missingFrames(nine, {9, 1, 2, 3, 7}), "4-6,8");
        QCOMPARE(MissionBuilder::missingFrames(nine, {3, 1, 2, 2}), "");
        QCOMPARE(MissionBuilder::missingFrames(nine, {}), "");
        QCOMPARE(MissionBuilder::missingFrames({1, 11, 21, 31}, {1, 31}), "11,21"); // the others were never ordered
        QCOMPARE(MissionBuilder::missingFrames({-3, -2, -1, 0, 1}, {-3, 1}), "-2-0");
        QCOMPARE(MissionBuilder::missingFrames({INT_MIN, INT_MAX - 1, INT_MAX}, {INT_MIN, INT_MAX}), "2147483646");
    }

    void pushed()
    {
        const auto told = [](const char *prefix) {
            const MissionBuilder::Pushed pushed = MissionBuilder::prefix(prefix);
            return QStringLiteral("%1 %2").arg(pushed.mid).arg(pushed.name);
        };
        QCOMPARE(told("12_my_shot/"), QString("12 my_shot"));
        QCOMPARE(told("12_shot"), QString("12 shot"));
        for (const char *bad : {"", "/", "_x/", "12/", "a_b/", "-3_b/", "99999999999_b/"})
            QCOMPARE(told(bad), QString("0 "));
    }

    void missions()
    {
        const QString root = m_dir->path();
        put(root + "/k.png", "x");
        const QJsonObject obj{{"num", "N"},
                              {"mid", 4},
                              {"missionName", "m"},
                              {"farmId", 9},
                              {"isBlock", 1},
                              {"rows", QJsonArray{QJsonObject{{"id", 1}, {"path", "a.png"}, {"frame", 1}},
                                                  QJsonObject{{"id", 2}, {"path", "k.png"}, {"isKeyframe", 1}},
                                                  QJsonObject{{"id", 3}, {"path", "a.png"}, {"frame", 1}}, // rendered again
                                                  QJsonObject{{"id", 4}, {"path", "../../b.png"}},
                                                  QJsonObject{{"id", 5}, {"path", "sub/c.png"}, {"isBlock", 0}, {"farmId", 2}},
                                                  QJsonObject{{"path", "noid.png"}}, 17}}};
        const QList<ResultRow> rows = MissionBuilder::rows(obj, root);
        const QList<MissionPlan> plans = MissionBuilder::plans(obj, rows, false);
        QCOMPARE(plans.size(), 2);
        QCOMPARE(plans[0].name, QString("m"));
        QVERIFY(plans[1].name != plans[0].name);
        QStringList told;
        for (const db_downfile &file : plans[0].files + plans[1].files)
            told << QStringLiteral("%1 %2 %3 %4 %5")
                        .arg(file.id)
                        .arg(file.state)
                        .arg(file.error)
                        .arg(file.farmid)
                        .arg(QString(file.lpath).replace(root, "R"));
        QCOMPARE(told, (QStringList{"3 0 0 9 R/a.png", "5 0 0 2 R/5/c.png", "2 0 0 9 R/k.png"}));
        QCOMPARE(MissionBuilder::plans(obj, rows, true).size(), 1); // the keyframe is on disk
    }

    void pushBeforeList()
    {
        const QJsonObject one{{"id", 1}}, two{{"id", "2"}}, bare{{"path", "a/1.png"}};
        const QJsonObject list{{"num", "N"}, {"rows", QJsonArray{one, two}}, {"resultRootPathEnum", 0}};
        const QJsonObject push{{"num", ""}, {"rows", QJsonArray{two}}, {"mid", 4}};
        QVERIFY(!MissionBuilder::isComplete(push));
        const QJsonObject whole{{"num", "N"}, {"rows", QJsonArray{two}}, {"resultRootPathEnum", 0}, {"mid", 4}};
        QCOMPARE(MissionBuilder::merged(push, list), whole);
        QVERIFY(MissionBuilder::isComplete(whole));
        QJsonObject nameless = whole; // rows that can't be asked for by an id
        nameless["rows"] = QJsonArray{two, bare};
        QVERIFY(!MissionBuilder::isComplete(nameless));
        QCOMPARE(MissionBuilder::merged(nameless, list)["rows"], list["rows"]);
        QCOMPARE(MissionBuilder::merged({{"rows", QJsonArray()}}, list), list);
    }

    void askedAgain()
    {
        ResultAsks asks;
        asks.addUser(1, false, false, 0);
        asks.addPush(2, {{"a", 1}}, 0);
        asks.addPush(2, {{"a", 1}}, 5);
        for (const int now : {0, 10000, 20000}) {
            QCOMPARE(asks.due(now), (QList<int>{1, 2}));
            QCOMPARE(asks.due(now + 9999), QList<int>());
            QCOMPARE(asks.expired(now + 9999), QList<int>());
        }
        QCOMPARE(asks.expired(30000), QList<int>{1}); // told once
        QVERIFY(!asks.waits(1));
        qint64 now = 30000;
        for (int i = 0; i < 20; ++i, now += ResultAsks::SlowestMs)
            QCOMPARE(asks.due(now), QList<int>{2}); // a push is never forgotten
        QCOMPARE(asks.take(2).pushes.size(), 1);
        QVERIFY(asks.isEmpty());
    }
};
VN_TEST(TestDownParts)
#include "tst_down_parts.moc"
