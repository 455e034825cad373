// Whole trees to the drive and back, over the living farm: what arrives, what is told, what survives.
#include "common/platform/Platform.h"
#include "DriveRig.h"
#include "support/Refusals.h"
#include "support/TestMain.h"
#include "transfer/drive/DirWork.h"
#include "transfer/drive/DriveCheck.h"
#include "transfer/drive/DriveHandler.h"
#include "transfer/TransWork.h"
#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{
std::atomic_int syncs{0}, badSyncs{0}, logged{0};
QtMessageHandler usual = nullptr;

void counted(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    logged += type == QtDebugMsg;
    usual(type, context, text);
}
} // namespace

// The medium of these tests: the first badSyncs words to it are lost.
extern "C" int syncfs(int) noexcept
{
    ++syncs;
    errno = EIO;
    return badSyncs > 0 && badSyncs-- > 0 ? -1 : 0;
}

class DriveRoadTest : public QObject
{
    Q_OBJECT
    QScopedPointer<DriveRig> rig;
    static bool fetching() { return qstrcmp(QTest::currentTestFunction(), "faultsOfFetching") == 0; } // its rows share a rig

private slots:
    void init()
    {
        if (rig && fetching())
            return;
        rig.reset();
        rig.reset(new DriveRig);
        QVERIFY(rig->good && !rig->place.id.isEmpty());
    }
    void cleanupTestCase() { rig.reset(); }
    void cleanup()
    {
        const QStringList violations = rig->farm.violations();
        if (!fetching() || QTest::currentTestFailed() || !violations.isEmpty())
            rig.reset();
        QCOMPARE(violations, QStringList());
    }
    void thereAndBack();
    void linksAndNames();
    void faultsOfFetching_data();
    void faultsOfFetching();
    void refusedAccess();
    void toldOnce();
    void conflicts_data();
    void conflicts();
    void control();
    void failures();
    void full();
    void mediumFails();
    void check();
    void checkMany();
    void givenUp();
    void cutShort();
    void manyWait();
};

// A batch all of whose rows wait for an answer: a look takes some of them, and they aren't all held.
void DriveRoadTest::manyWait()
{
    struct Waiting : DriveHandler {
        Waiting() : DriveHandler(UploadDDAO::Up) {}
        int limit() const override { return 10; }
        TransWork *makeWork(bool, int) override { return nullptr; }
        bool launch(const db_upfarmD &, const db_upfile &, const QString &) override { return false; }
        void cfarm(db_upfarmD, QList<SubFile>) override {}
        void prepare(const db_upfarmD &, Batch *batch, QList<db_upfile> *rows) override
        {
            for (const db_upfile &row : qAsConst(*rows))
                batch->held.insert(row.pri);
            rows->clear();
            held = batch->held.size();
        }
        int held = 0;
    };
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up);
    rig->stopQueues();
    QVERIFY(up->open(rig->local("")));
    db_upfarmD farm;
    farm.pri = 1;
    farm.state = TransSet::UpWait;
    QList<db_upfile> files;
    for (int i = 0; i < 30000; ++i) {
        db_upfile file;
        file.lpath = QString::number(i);
        files << file;
    }
    QVERIFY(up->addFarm(farm, {}, files));
    Session::setLive(true);
    Waiting queue;
    queue.scan();
    QVERIFY(queue.held > 0 && queue.held < 10000);
    for (int look = 0; look < 20; ++look)
        queue.scan();
    QVERIFY(queue.held > 10000 && queue.held < 25000);
    Session::setLive(false);
    up->release();
}

// Every byte, every empty folder; nothing that is left out; sums as the rows, and the same again after a restart. The log of
// a million files stays small.
void DriveRoadTest::thereAndBack()
{
    Tree tree{{"p/empty/in/", {}},
              {"p/zero", {}},
              {"p/one.bin", DriveRig::bytes(1)},
              {"p/.hidden/x", "h"},
              {"p/exact.bin", DriveRig::bytes(262145)},
              {"p/more.bin", DriveRig::bytes(262146)},
              {"p/big.bin", DriveRig::bytes(3000000)},
              {QString::fromUtf8("p/木 空/é e\xcc\x81 &%+#?.txt").remove('?'), "u"},
              {"p/" + QString(85, QChar(0x6728)), "255 bytes"},
              {"p/dots.", "d"},
              {"p/a.vd", "v"},
              {"p/a", "a"}};
    for (int i = 0; i < 150; ++i)
        tree.insert(QString("p/many/f%1").arg(i), DriveRig::bytes(i * 7, quint32(i)));
    rig->write("src", tree);
    rig->write("src", {{"p/Thumbs.db", "t"}, {"p/autosave/a.ma", "t"}, {"p/many/b~", "t"}});
    logged = 0;
    usual = qInstallMessageHandler(counted);
    rig->put({"src/p", "src/p/one.bin"}); // what lies within another that was chosen goes once
    QVERIFY(rig->waitOver(1));
    const int sent = logged.exchange(0);
    QCOMPARE(rig->sumsDiffer(), QString());
    rig->stopQueues();
    QVERIFY(rig->startQueues());
    rig->fetch("back");
    QVERIFY(rig->waitOver(2));
    QCOMPARE(rig->sumsDiffer(), QString());
    qInstallMessageHandler(usual);
    QVERIFY2(sent < 2 * tree.size() && logged < 2 * tree.size(), qPrintable(QString("%1 %2").arg(sent).arg(int(logged))));
    Tree back = rig->read("back");
    for (const char *name : {"p/Thumbs.db", "p/autosave/a.ma", "p/autosave/", "p/many/b~"})
        QVERIFY2(!back.contains(name), qPrintable(name));
    for (const QString &name : back.keys())
        if (name.endsWith('/') && !tree.contains(name))
            back.remove(name);
    const QByteArray ownEnding = back.take("p/a.vd_"); // beside "a" it would be the download's own file
    back.insert("p/a.vd", ownEnding);
    const QStringList names = back.keys(), wanted = tree.keys();
    QCOMPARE((names.toSet() - wanted.toSet()).values().join('|'), QString());
    QCOMPARE((wanted.toSet() - names.toSet()).values().join('|'), QString());
    QVERIFY(back == tree);
    QCOMPARE(UploadDDAO::instance(UploadDDAO::Up)->farms().size() + UploadDDAO::instance(UploadDDAO::Down)->farms().size(), 0);
}

// Links that lead out aren't followed unless asked, rings end, names that the drive refuses get others, none is lost.
void DriveRoadTest::linksAndNames()
{
    rig->write("src", {{"p/sub/x", "x"}, {"out/secret", "s"}, {"p/a:b", "1"}, {"p/a?b", "2"}, {"p/a_b", "3"}, {"p/c\nd", "4"}});
    QVERIFY(QFile::link(rig->local("src/out"), rig->local("src/p/outside")) &&
            QFile::link(rig->local("src/p"), rig->local("src/p/sub/ring")) &&
            QFile::link(rig->local("src/p/sub"), rig->local("src/p/inside")));
    QVERIFY(::mkfifo(QFile::encodeName(rig->local("src/p/pipe")).constData(), 0600) == 0);
    rig->put({"src/p"});
    QVERIFY(rig->waitOver(1));
    QStringList names = rig->onDrive();
    QCOMPARE(names.filter("secret"), QStringList());
    QCOMPARE(names.filter("ring"), QStringList());
    QVERIFY(names.contains("T/p/inside/x"));
    QCOMPARE(names.filter("/a_b"), QStringList({"T/p/a_b", "T/p/a_b (2)", "T/p/a_b (3)"}));
    QVERIFY(names.contains("T/p/c\nd") && !names.contains("T/p/pipe"));
    QVERIFY(!rig->over().first().note.isEmpty());
    rig->place.path = "T/again";
    rig->place.id = rig->make(rig->place.id, "again");
    rig->put({"src/p"}, true);
    QVERIFY(rig->waitOver(2));
    QVERIFY(rig->onDrive().contains("T/again/p/outside/secret"));
}

void DriveRoadTest::faultsOfFetching_data()
{
    QTest::addColumn<QString>("fault");
    for (const char *fault :
         {"drive-no-range=1@3", "drive-wrong-range=1@2", "drive-short-body=1000@4", "drive-corrupt=1@2", "drive-ring=1@2", "drive-ring=2@2",
          "drive-no-json=1@1", "drive-drop-reply=1@2", "drive-half-listing=1@2", "drive-stale=1@1", "drive-stale=1@6", "drive-status=500@3",
          "drive-status=401@1", "drive-stale-data=200@1", "drive-stale-data=401@1", "drive-listed-size=5000@2", "drive-wrong-total=7@3",
          "drive-piece-200=1@4", "drive-packed=1@2",
          // with two ranges in hand
          "http-delay=30 drive-no-range=1@3", "http-delay=30 drive-short-body=1000@2", "http-delay=30 drive-stale=1@4"})
        QTest::newRow(fault) << fault;
}

// Whatever the drive does wrong for a while, the tree comes over whole.
void DriveRoadTest::faultsOfFetching()
{
    QFETCH(QString, fault);
    const Tree tree{{"p/", {}},     {"p/a.bin", DriveRig::bytes(900000)},
                    {"p/q/", {}},   {"p/q/b.bin", DriveRig::bytes(300000, 2)},
                    {"p/q/c", "c"}, {"p/q/zero", {}}};
    if (rig->over().isEmpty()) {
        rig->write("src", tree);
        rig->put({"src/p"});
        QVERIFY(rig->waitOver(1));
    }
    const QList<SubFile> entries = rig->children(rig->place.id);
    const int before = rig->over().size();
    const QString back = QString("back%1").arg(before), name = fault.section(' ', -1).section('=', 0, 0);
    const int happened = rig->farm.faults().happened(name);
    for (const QString &one : fault.split(' '))
        QVERIFY(rig->farm.faults().set(one));
    DriveQueue::fetch(rig->place, entries, rig->local(back));
    QVERIFY(rig->waitOver(before + 1));
    QVERIFY(rig->farm.faults().happened(name) > happened);
    rig->farm.faults().clear();
    QVERIFY(rig->read(back) == tree);
    QCOMPARE(rig->sumsDiffer(), QString());
}

// What the drive tells once and takes back: a wrong size where no hash would tell, a refused token for which nobody rests.
void DriveRoadTest::toldOnce()
{
    Tree tree;
    for (char name = 'a'; name < 'k'; ++name)
        tree.insert(QString(name), DriveRig::bytes(name == 'a' ? 900000 : 20));
    rig->write("src", tree);
    DriveHandler::Timing timing = rig->queues.sending;
    timing.staleGapMs = 60000; // all ten are of one token, however long the machine takes
    QVERIFY(Seam<UpDCalls>::post([timing](UpDCalls &queue) { dynamic_cast<DriveHandler &>(queue).setTiming(timing); }));
    QVERIFY(rig->farm.faults().set("refuse-frame=1@10"));
    QSignalSpy notes(UploadDDAO::instance(UploadDDAO::Up), &UploadDDAO::note);
    rig->put(tree.keys().replaceInStrings(QRegularExpression("^"), "src/"));
    QVERIFY(rig->waitOver(1));
    QCOMPARE(rig->farm.faults().happened("refuse-frame"), 10);
    for (const QList<QVariant> &note : qAsConst(notes))
        QVERIFY2(!note.at(1).toString().contains("10024"), qPrintable(note.at(1).toString()));
    QList<SubFile> entries = rig->children(rig->place.id);
    for (SubFile &entry : entries)
        entry.hash.clear();
    QVERIFY(rig->farm.faults().set("drive-wrong-total=7@1") && rig->farm.faults().set("drive-no-etag=1"));
    DriveQueue::fetch(rig->place, entries, rig->local("back"));
    QVERIFY(rig->waitOver(2));
    QVERIFY(rig->read("back") == tree);
    QCOMPARE(rig->sumsDiffer(), QString());
}

// Where the new access is no better than the old one it's told, and asked for no more than once. A drive that is busy for
// longer than the tries of a file is waited for.
void DriveRoadTest::refusedAccess()
{
    rig->write("src", {{"p", DriveRig::bytes(900000)}});
    rig->put({"src/p"});
    QVERIFY(rig->waitOver(1));
    QVERIFY(rig->farm.faults().set("drive-stale-data", "200"));
    rig->fetch("back");
    UploadDDAO *down = UploadDDAO::instance(UploadDDAO::Down);
    QVERIFY(comes([&] { return !down->farms().isEmpty() && !down->farms().first().note.isEmpty(); }));
    QCOMPARE(rig->read("back").keys(), QStringList({"p.vd", "p.xtemp"}));
    QVERIFY(rig->farm.faults().happened("drive-stale-data") <= 4);
    DriveQueue::resume(UploadDDAO::Down, down->farms().first().pri);
    QSignalSpy notes(down, &UploadDDAO::note);
    QVERIFY(rig->farm.faults().set("drive-stale-data", "") && rig->farm.faults().set("drive-busy=0@9") &&
            rig->farm.faults().set("role-fail=1")); // nor does fetching need a file server's token
    QVERIFY(rig->waitOver(2));
    QCOMPARE(rig->farm.faults().happened("drive-busy"), 9);
    QVERIFY(
        std::any_of(notes.begin(), notes.end(), [](const auto &note) { return note.at(1).toString().contains(QStringLiteral("受阻")); }));
    QCOMPARE(rig->over().first().note, QString());
    DriveHandler::Timing timing = rig->queues.sending;
    timing.restMs = timing.longestRestMs = 250; // and one that lets it in again by itself
    QVERIFY(Seam<DownDCalls>::post([timing](DownDCalls &queue) { dynamic_cast<DriveHandler &>(queue).setTiming(timing); }));
    QVERIFY(rig->farm.faults().set("drive-stale-data=200@4"));
    notes.clear();
    rig->fetch("third");
    QVERIFY(rig->waitOver(3));
    QVERIFY(!notes.isEmpty());
    QCOMPARE(rig->over().first().note, QString());
    QVERIFY(rig->farm.faults().set("drive-stale-data=200")); // nor does the history keep it of one whose last file is deleted
    rig->fetch("fourth");
    QVERIFY(comes([&] { return !down->farms().isEmpty() && !down->farms().first().note.isEmpty(); }));
    const qlonglong last = down->farms().first().pri;
    DriveQueue::removeFile(UploadDDAO::Down, last, down->nextFiles(last, 0, 1).value(0).pri);
    QVERIFY(rig->waitOver(4));
    QCOMPARE(rig->over().first().note, QString());
}

void DriveRoadTest::conflicts_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<Tree>("after");
    const QByteArray a = DriveRig::bytes(5000), b = DriveRig::bytes(6000, 2);
    const Tree overwritten{{"a", a}, {"b", b}, {"b (2)", "own"}, {"c", "new"}, {"d", "1234"}};
    Tree both{{"a", a}, {"b", "old"}, {"b (2)", "own"}, {"b (3)", b}, {"c", "new"}, {"d", "four"}, {"d (2)", "1234"}};
    QTest::newRow("skip the same") << int(db_upfarmD::SkipSame) << false << overwritten;
    QTest::newRow("overwrite") << int(db_upfarmD::Overwrite) << false << overwritten;
    QTest::newRow("asked, overwrite") << int(db_upfarmD::Overwrite) << true << overwritten;
    QTest::newRow("asked, keep both") << int(db_upfarmD::KeepBoth) << true << both;
    both.insert("a (2)", a);
    both.insert("b (2) (2)", "own"); // "b" came first to that name
    both.insert("b (2)", both.take("b (3)"));
    QTest::newRow("keep both") << int(db_upfarmD::KeepBoth) << false << both;
}

void DriveRoadTest::conflicts()
{
    QFETCH(int, mode);
    QFETCH(bool, asked);
    QFETCH(Tree, after);
    rig->write("src", {{"a", DriveRig::bytes(5000)}, {"b", DriveRig::bytes(6000, 2)}, {"b (2)", "own"}, {"c", "new"}, {"d", "1234"}});
    rig->put({"src/a", "src/b", "src/b (2)", "src/c", "src/d"});
    QVERIFY(rig->waitOver(1));
    rig->write("back", {{"a", DriveRig::bytes(5000)}, {"b", "old"}, {"d", "four"}});
    QObject here;
    QList<qlonglong> questions;
    connect(UploadDDAO::instance(UploadDDAO::Down), &UploadDDAO::conflict, &here,
            [&](qlonglong farmPri, const QString &) { questions << farmPri; });
    rig->fetch("back", asked ? int(db_upfarmD::NotAsked) : mode);
    if (asked) {
        QVERIFY(comes([&] { return !questions.isEmpty(); }));
        QVERIFY(comes([&] { return rig->read("back").contains("c"); }));
        QCOMPARE(rig->read("back").value("b") + rig->read("back").value("d"), QByteArray("oldfour"));
        DriveQueue::setConflict(questions.first(), mode);
    }
    QVERIFY(rig->waitOver(2));
    QCOMPARE(questions.size(), asked ? 1 : 0);
    const Tree back = rig->read("back");
    QCOMPARE(back.keys(), after.keys());
    QVERIFY(back == after);
}

// Pause, a restart while it's paused, continue; one file; deletion leaves no half files.
void DriveRoadTest::control()
{
    Tree tree{{"p/", {}}};
    const QByteArray bytes = DriveRig::bytes(2000000);
    for (int i = 10; i < 50; ++i)
        tree.insert(QString("p/f%1").arg(i), QByteArray::number(i) + bytes);
    rig->write("src", tree);
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up), *down = UploadDDAO::instance(UploadDDAO::Down);
    DriveQueue::setUpLimit(200);
    rig->put({"src/p"});
    QVERIFY(comes([&] { return !up->farms().isEmpty() && up->farms().first().fsum == 40; }));
    const qlonglong pri = up->farms().first().pri;
    DriveQueue::pause(UploadDDAO::Up, pri);
    QVERIFY(comes([&] { return up->farm(pri).state == TransSet::UpPause; }));
    rig->stopQueues();
    QVERIFY(rig->startQueues());
    QCOMPARE(up->farm(pri).state, int(TransSet::UpPause));
    DriveQueue::setUpLimit(0);
    const QList<db_upfile> rows = up->readPage(pri, 0);
    QVERIFY(rows.size() >= 2);
    DriveQueue::removeFile(UploadDDAO::Up, pri, rows.at(0).pri);
    DriveQueue::pauseFile(UploadDDAO::Up, pri, rows.at(1).pri);
    DriveQueue::resume(UploadDDAO::Up, pri);
    QVERIFY(rig->waitOver(1));
    QCOMPARE(rig->over().first().fok, 39);
    QCOMPARE(rig->sumsDiffer(), QString());
    QVERIFY(rig->farm.faults().set("http-delay=300")); // it's met before it's over
    rig->fetch("back");
    QVERIFY(comes([&] { return !down->farms().isEmpty() && down->farms().first().fup > 0; }));
    rig->farm.faults().clear();
    DriveQueue::remove(UploadDDAO::Down, down->farms().first().pri);
    QVERIFY(comes([&] { return down->farms().isEmpty(); }));
    QVERIFY(comes([&] { return rig->read("back").keys().filter(QRegularExpression("\\.(xtemp|vd)$")).isEmpty(); }));
    qlonglong fok = 0, fsum = 0;
    down->sums(&fok, &fsum);
    QCOMPARE(fsum, 0);
}

// What can't be sent stands there with its reason, the rest goes; once it can be, continuing sends it, and the reason goes.
// Nor does a drive that answers each range with one byte keep the client busy.
void DriveRoadTest::failures()
{
    rig->write("src", {{"p/good", DriveRig::bytes(500000)}});
    QVERIFY(QFile::link(rig->local("later"), rig->local("src/p/gone")));
    rig->put({"src/p"});
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up);
    QVERIFY(comes([&] { return !up->farms().isEmpty() && up->farms().first().state == TransSet::UpPause; }));
    const db_upfarmD farm = up->farm(up->farms().first().pri);
    QCOMPARE(farm.fok, 1);
    QCOMPARE(farm.failed, 1);
    const QList<db_upfile> rows = up->readPage(farm.pri, 0);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().error, int(TransSet::NoFile));
    QVERIFY(comes([&] { return !up->farm(farm.pri).note.isEmpty(); }));
    rig->write(".", {{"later", "now"}});
    DriveQueue::resumeFile(UploadDDAO::Up, farm.pri, rows.first().pri);
    QVERIFY(rig->waitOver(1));
    QCOMPARE(rig->over().first().note, QString());
    QCOMPARE(rig->sumsDiffer(), QString());
    QVERIFY(rig->onDrive().contains("T/p/gone"));
    QVERIFY(rig->farm.faults().set("drive-short-body", "262144"));
    rig->fetch("back");
    UploadDDAO *down = UploadDDAO::instance(UploadDDAO::Down);
    QVERIFY(comes([&] { return down->farms().value(0).state == TransSet::DownPause; }));
    QCOMPARE(down->farm(down->farms().first().pri).failed, 2);
    QVERIFY(rig->farm.faults().happened("drive-short-body") < 1000);
    QVERIFY(rig->farm.faults().set("drive-short-body", ""));
    DriveQueue::resume(UploadDDAO::Down, down->farms().first().pri);
    QVERIFY(rig->waitOver(2));
    QVERIFY(rig->read("back") == Tree({{"p/", {}}, {"p/good", DriveRig::bytes(500000)}, {"p/gone", "now"}}));
}

// No room in the middle, first on the drive, then here: told, nothing is lost, and continuing brings the rest.
void DriveRoadTest::full()
{
    Tree tree{{"p/", {}}, {"p/big", DriveRig::bytes(12000000, 7)}};
    for (int i = 0; i < 20; ++i)
        tree.insert(QString("p/f%1").arg(i), DriveRig::bytes(100000, quint32(i)));
    rig->write("src", tree);
    const auto paused = [](UploadDDAO *store, const QString &why) {
        return comes([&] {
            const db_upfarmD farm = store->farms().value(0);
            return (farm.state == TransSet::UpPause || farm.state == TransSet::DownPause) && farm.note.contains(why);
        });
    };
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up), *down = UploadDDAO::instance(UploadDDAO::Down);
    DriveQueue::setUpLimit(1000);
    rig->put({"src/p"});
    QVERIFY(comes([&] { return up->farms().value(0).fok > 0; }));
    QVERIFY(rig->farm.faults().set("drive-full", "1"));
    DriveQueue::setUpLimit(0);
    QVERIFY(paused(up, QStringLiteral("网盘空间不足")));
    QVERIFY(up->farms().first().fok < 21);
    QVERIFY(rig->farm.faults().set("drive-full", ""));
    DriveQueue::resume(UploadDDAO::Up, up->farms().first().pri);
    QVERIFY(rig->waitOver(1));
    // A limit on the size of files stands for a disk that gives no more.
    signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit little{8000000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &little);
    rig->fetch("back");
    const bool told = paused(down, QStringLiteral("磁盘空间不足"));
    setrlimit(RLIMIT_FSIZE, &before);
    QVERIFY(told);
    DriveQueue::resume(UploadDDAO::Down, down->farms().first().pri);
    QVERIFY(rig->waitOver(2));
    QVERIFY(rig->read("back") == tree);
    QCOMPARE(rig->sumsDiffer(), QString());
}

// A file that the medium didn't take isn't over: it's looked at again.
void DriveRoadTest::mediumFails()
{
    rig->write("src", {{"one", "1"}});
    rig->put({"src/one"});
    QVERIFY(rig->waitOver(1));
    syncs = 0;
    badSyncs = 1;
    rig->fetch("back");
    QVERIFY(rig->waitOver(2));
    QCOMPARE(rig->read("back"), (Tree{{"one", "1"}}));
    QCOMPARE(int(syncs), 2);
    for (const QString &name : {QString("gone"), QString("long/").repeated(1000)}) // the second deeper than a path can tell
        QVERIFY(platform::syncVolumes({rig->local(name).toStdString()}));
    QCOMPARE(int(syncs), 2);
}

// A folder that fails again and again is kept, told, and walked when the batch is continued; the rest goes on.
void DriveRoadTest::givenUp()
{
    rig->write("src", {{"p/a", "a"}, {"b", "b"}});
    rig->put({"src/p", "src/b"});
    QVERIFY(rig->waitOver(1));
    const QList<SubFile> entries = rig->children(rig->place.id);
    QVERIFY(rig->farm.faults().set("drive-half-listing", "1"));
    DriveQueue::fetch(rig->place, entries, rig->local("back"));
    UploadDDAO *down = UploadDDAO::instance(UploadDDAO::Down);
    QVERIFY(comes([&] { return !down->farms().isEmpty() && down->farms().first().state == TransSet::DownPause; }));
    const db_upfarmD farm = down->farm(down->farms().first().pri);
    QCOMPARE(farm.failed, 1);
    QCOMPARE(farm.fok, 1);
    QVERIFY(!farm.note.isEmpty());
    QCOMPARE(rig->farm.faults().happened("drive-half-listing"), DirWork::MostTries);
    QVERIFY(rig->farm.faults().set("drive-half-listing", ""));
    DriveQueue::resume(UploadDDAO::Down, farm.pri);
    QVERIFY(rig->waitOver(2));
    QVERIFY(rig->read("back") == Tree({{"b", "b"}, {"p/", {}}, {"p/a", "a"}}));
    QCOMPARE(rig->sumsDiffer(), QString());
    // Where it's the disk that takes no folder the batch stops, and says why.
    refused = Call::MakeFolder;
    DriveQueue::fetch(rig->place, entries, rig->local("again"));
    const bool told = comes([&] {
        const db_upfarmD one = down->farms().value(0);
        return one.state == TransSet::DownPause && one.note.contains(QStringLiteral("磁盘空间不足"));
    });
    refused = Call::None;
    QVERIFY(told);
    DriveQueue::resume(UploadDDAO::Down, down->farms().first().pri);
    QVERIFY(rig->waitOver(3));
    QVERIFY(rig->read("again") == rig->read("back"));
}

// What a kill leaves between two of the stores, or of a deletion, is brought to its end by the next start.
void DriveRoadTest::cutShort()
{
    rig->write("src", {{"p/a", "a"}, {"p/b", "b"}});
    rig->stopQueues();
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up), *down = UploadDDAO::instance(UploadDDAO::Down),
               *ok = UploadDDAO::instance(UploadDDAO::Ok);
    QVERIFY(up->open(rig->local(".")) && down->open(rig->local(".")) && ok->open(rig->local(".")));
    db_upfile a, b, half;
    a.lpath = rig->local("src/p/a");
    a.remotePath = "T/p/a";
    a.size = 1;
    b = a;
    b.lpath.back() = b.remotePath.back() = 'b';
    half.lpath = rig->local("back/half");
    half.remotePath = "T/half";
    db_upfarmD farm;
    farm.id = 1;
    farm.lpath = rig->local("src");
    farm.state = TransSet::UpRun;
    // One in the history, not counted; one in the history as a whole; one that was being deleted; rows of none.
    farm.pri = 11;
    QVERIFY(up->addFarm(farm, {}, {a, b}) && ok->addDone(11, up->nextFiles(11, 0, 1)));
    farm.pri = 21;
    QVERIFY(up->addFarm(farm, {}, {a}) && ok->addDone(21, up->nextFiles(21, 0, 1)) && up->finish(21, up->nextFiles(21, 0, 1)) &&
            ok->putFarm(up->farm(21)));
    farm.pri = 32;
    farm.lpath = rig->local("back");
    farm.state = down->cancelled();
    QVERIFY(down->addFarm(farm, {}, {half, b}) && ok->addDone(32, {a}) && ok->addDone(42, {b}));
    half = down->nextFiles(32, -1, 1).first();
    half.placed = db_upfile::Mine;
    QVERIFY(down->place(32, {half}));
    rig->write("back", {{"half.xtemp", "ha"}, {"half.vd", "         2"}});
    QVERIFY(rig->startQueues() && rig->waitOver(2));
    QVERIFY(comes([&] { return down->farms().isEmpty(); }));
    QCOMPARE(rig->sumsDiffer(), QString());
    QCOMPARE(rig->read("back").keys(), QStringList());
    QCOMPARE(ok->tableFarms(), QSet<qlonglong>({11, 21}));
    QVERIFY(up->tableFarms().isEmpty() && down->tableFarms().isEmpty() && rig->onDrive().contains("T/p/b"));
    // A power cut has left the name and other bytes: its own, which nobody is asked about.
    const SubFile folder = rig->children(rig->place.id).first(), entry = rig->children(folder.id).last();
    half.lpath = rig->local("back/b");
    half.remotePath = "T/p/b";
    half.idText = folder.id + '/' + entry.id;
    half.hash = entry.hash;
    half.size = 1;
    rig->write("back", {{"b", "z"}});
    farm.pri = 52;
    farm.state = TransSet::DownPause;
    QVERIFY(down->addFarm(farm, {}, {half}));
    half.pri = down->nextFiles(52, -1, 1).first().pri;
    QVERIFY(down->place(52, {half}));
    DriveQueue::resume(UploadDDAO::Down, 52);
    QVERIFY(rig->waitOver(3));
    QCOMPARE(rig->read("back").value("b"), QByteArray("b"));
}

// What differs is found by size and by hash on both sides, and mended in either direction.
void DriveRoadTest::check()
{
    const Tree tree{{"p/", {}},
                    {"p/a", DriveRig::bytes(5000)},
                    {"p/b", DriveRig::bytes(5000, 2)},
                    {"p/q/", {}},
                    {"p/q/c", "c"},
                    {"p/q/e/", {}},
                    {"p/z", "z"},
                    {"p/k", "k"},
                    {"p/x?y", "x"}};
    rig->write("src", tree);
    rig->put({"src/p"});
    QVERIFY(rig->waitOver(1));
    const SubFile entry = rig->children(rig->place.id).first();
    const auto begin = [&] { return DriveCheck::start(rig->place, {{rig->local("src/p"), "T/p", entry}}); };
    const auto over = [](const std::shared_ptr<DriveCheck> &check) { return check->status().over; };
    const auto differs = [&](const std::shared_ptr<DriveCheck> &check) {
        if (!comes([&] { return over(check); }) || !check->status().whole)
            return QStringList("not whole");
        QStringList list;
        for (const DriveCheck::Difference &one : check->differences())
            list << one.dpath + QString(" %1").arg(one.what);
        list.sort();
        return list;
    };
    QCOMPARE(differs(begin()), QStringList());

    // The same size and the same time, and other bytes all the same.
    const QDateTime time = QFileInfo(rig->local("src/p/b")).lastModified();
    rig->write("src", {{"p/b", DriveRig::bytes(5000, 3)}, {"p/z", "longer"}, {"p/n/new", "n"}, {"p/m/", {}}, {"p/Thumbs.db", "left out"}});
    QFile same(rig->local("src/p/b"));
    QVERIFY(same.open(QIODevice::ReadWrite) && same.setFileTime(time, QFileDevice::FileModificationTime));
    same.close();
    QVERIFY(QFile::remove(rig->local("src/p/q/c")) && QDir().rmdir(rig->local("src/p/q/e")) && QFile::remove(rig->local("src/p/k")));
    QVERIFY(QDir().mkdir(rig->local("src/p/k")));
    const auto check = begin();
    QCOMPARE(differs(check), QStringList({"T/p/b 3", "T/p/k 4", "T/p/m 0", "T/p/n 0", "T/p/q/c 1", "T/p/q/e 1", "T/p/z 2"}));
    const DriveCheck::Status status = check->status();
    QCOMPARE(QList<qlonglong>({status.files, status.folders, status.toSend, status.toFetch, status.sizeOnly}),
             QList<qlonglong>({4, 2, 4, 4, 0}));
    check->mend(true);
    QTRY_VERIFY(check->status().mend == DriveCheck::Mend::Done && check->status().batches.size() == 1);
    QVERIFY(rig->waitOver(2));
    QCOMPARE(rig->farm.driveFiles().value("T/p/b"),
             QString(QCryptographicHash::hash(DriveRig::bytes(5000, 3), QCryptographicHash::Md5).toHex()));
    QVERIFY(rig->onDrive().contains("T/p/m/"));
    const auto sent = begin();
    sent->mend(false); // once it's over
    QCOMPARE(differs(sent), QStringList({"T/p/k 4", "T/p/q/c 1", "T/p/q/e 1"}));
    QTRY_COMPARE(sent->status().mend, DriveCheck::Mend::Done);
    QVERIFY(rig->waitOver(3));
    QCOMPARE(differs(begin()), QStringList("T/p/k 4"));
    QVERIFY(rig->read("src/p").contains("q/e/"));
    QCOMPARE(rig->sumsDiffer(), QString());

    QVERIFY(rig->farm.faults().set("http-delay=100000")); // nobody waits for an answer to end it
    const auto ended = begin();
    ended->stop();
    QTRY_VERIFY(over(ended) && !ended->status().whole);
}

// Of very many differences the first are listed, all are mended; a drive that tells no hash is told.
void DriveRoadTest::checkMany()
{
    const int files = DriveCheck::MostKept + 500;
    QVERIFY(rig->farm.fillDrive(1, "T/big", 5, files / 5, 7));
    const SubFile entry = rig->children(rig->place.id).first();
    for (const SubFile &folder : rig->children(entry.id))
        QVERIFY(QDir().mkpath(rig->local("big/" + folder.name)));
    rig->write("big", {{"dir00000/file000000.bin", "7 bytes"}});
    const auto check = DriveCheck::start(rig->place, {{rig->local("big"), "T/big", entry}});
    QTRY_VERIFY(check->status().over);
    QCOMPARE(check->status().sizeOnly, 1);
    QCOMPARE(check->status().different, files - 1);
    QCOMPARE(check->differences().size(), DriveCheck::MostKept);
    check->mend(false);
    QTRY_COMPARE(check->status().mend, DriveCheck::Mend::Done);
    qlonglong all = 0;
    for (qlonglong batch : check->status().batches)
        all += UploadDDAO::instance(UploadDDAO::Down)->farm(batch).fsum + UploadDDAO::instance(UploadDDAO::Ok)->farm(batch).fsum;
    QCOMPARE(all, files - 1);
}

Q_DECLARE_METATYPE(Tree)
VN_TEST(DriveRoadTest)
#include "tst_drive_road.moc"
