// Trees with everything that disks and listings can hold, both ways: what arrives is whole, what can't is told.
#include "common/FileNames.h"
#include "DriveRig.h"
#include "RestRig.h"
#include "support/TestMain.h"
#include "transfer/drive/DirWork.h"
#include <fcntl.h>
#include <QLocalServer>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

class DriveTreesTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { FileNames::install(); }
    void everySortOfName();
    void linksAndNoFiles();
    void changing();
    void deep();
    void listings_data();
    void listings();
    void bigListing();
    void storeFull();
    void unread();
    void noTarget();
    void limits();
};

namespace
{
db_upfarmD stopped(UploadDDAO *store)
{
    const auto farm = [store] { return store->farms().isEmpty() ? db_upfarmD() : store->farm(store->farms().first().pri); };
    return QTest::qWaitFor([&] { return farm().state == TransSet::UpPause; }, 60000) ? farm() : db_upfarmD();
}
} // namespace

// Each name as bytes; what is in a file is its name. All arrive, under their own name where the drive takes it, otherwise
// under one that none of the others has, and come back so.
void DriveTreesTest::everySortOfName()
{
    DriveRig rig;
    QVERIFY(rig.good);
    const QList<QByteArray> kept{"caf_",
                                 "a_b",
                                 "caf\xef\xbf\xbd",
                                 "dot.",
                                 "blank ",
                                 "CON",
                                 "aux.txt",
                                 "case",
                                 "CASE",
                                 "\xc3\xa9",
                                 "e\xcc\x81",
                                 "\xf0\x9f\x8e\xac.txt",
                                 "\xee\xbe\x80",
                                 "del\x7f",
                                 "new\nline",
                                 "\x01tab\t",
                                 QByteArray("\xe6\x9c\xa8").repeated(85)};
    const QList<QByteArray> replaced{"caf\xe9", "caf\xe8", "d\xff/x\xfe", "d\xff/plain",  "\xef\xbf\xbf", "a\\b",
                                     "a:b",     "a*b",     "<a>|\"?",     "\xed\xa0\x80", "tail\xe6\x9c", "\xc0\xaf"};
    QDir().mkpath(rig.local("src/p"));
    const QByteArray base = QFile::encodeName(rig.local("src/p/"));
    QVERIFY(::mkdir((base + "d\xff").constData(), 0700) == 0);
    for (const QByteArray &name : kept + replaced) {
        const int fd = ::open((base + name).constData(), O_CREAT | O_EXCL | O_WRONLY, 0600);
        QVERIFY2(fd >= 0 && ::write(fd, name.constData(), size_t(name.size())) == name.size(), name.toHex().constData());
        ::close(fd);
    }
    rig.put({"src/p"});
    QVERIFY(rig.waitOver(1));
    QCOMPARE(rig.over().first().fok, kept.size() + replaced.size());
    QVERIFY(rig.over().first().note.contains(QStringLiteral("在云盘上的名称为")));
    QCOMPARE(rig.onDrive().filter("/d_/").size(), 3); // with itself
    rig.fetch("back");
    QVERIFY(rig.waitOver(2));
    QCOMPARE(rig.sumsDiffer(), QString());
    const Tree back = rig.read("back");
    QList<QByteArray> contents = back.values(), wanted = kept + replaced;
    contents.removeAll({}); // folders
    std::sort(contents.begin(), contents.end());
    std::sort(wanted.begin(), wanted.end());
    QCOMPARE(contents, wanted);
    for (const QByteArray &name : kept)
        QCOMPARE(back.value("p/" + QFile::decodeName(name)), name);
}

// Links to folders within the tree lead on, but trees of links that lead to each other end; pipes, sockets and devices
// are left out, told and not opened.
void DriveTreesTest::linksAndNoFiles()
{
    DriveRig rig;
    QVERIFY(rig.good);
    for (char a = 'a'; a < 'f'; ++a) {
        rig.write("src", {{QString("p/%1/file").arg(a), QByteArray(1, a)}});
        for (char b = 'a'; b < 'f'; ++b)
            QVERIFY(a == b || QFile::link(QString("../%1").arg(b), rig.local(QString("src/p/%1/to%2").arg(a).arg(b))));
    }
    QVERIFY(QFile::link("a/file", rig.local("src/p/link to a file")));
    const QByteArray pipe = QFile::encodeName(rig.local("src/p/pipe"));
    QVERIFY(::mkfifo(pipe.constData(), 0600) == 0);
    QLocalServer socket;
    QVERIFY(socket.listen(rig.local("src/p/socket")));
    const bool device = ::mknod(QFile::encodeName(rig.local("src/p/device")).constData(), S_IFCHR | 0600, makedev(1, 5)) == 0;
    const int reader = ::open(pipe.constData(), O_RDONLY | O_NONBLOCK);
    rig.put({"src/p"});
    QVERIFY(rig.waitOver(1));
    ::close(reader);
    QVERIFY(!rig.over().first().note.isEmpty());
    const QStringList names = rig.onDrive();
    QCOMPARE(names.filter(QRegularExpression("pipe|socket|device")), QStringList());
    QVERIFY(names.contains("T/p/a/tob/file") && names.contains("T/p/link to a file"));
    QCOMPARE(names.filter(QRegularExpression("/file$")).size(), 5 * (1 + 4 + 4 * 3 + 4 * 3 * 2)); // of them 3 links deep
    Q_UNUSED(device)
}

// What happens to files after their walk and while they are sent: either what stands there in the end is on the drive, or
// the row says what's wrong.
void DriveTreesTest::changing()
{
    const QMap<QString, const char *> sent{{"grows", "cat ../more >> grows"},
                                           {"shrinks", "truncate -s 100000 shrinks"},
                                           {"another", "cp ../more ../n; mv ../n another"},
                                           {"sparse", "rm sparse; truncate -s 3M sparse"},
                                           {"empty", ": > empty"}},
        failed{{"gone", "rm gone"}, {"folder", "rm folder; mkdir folder"}, {"pipe", "rm pipe; mkfifo pipe"}, {"sub/x", "mv sub moved"}};
    DriveRig rig;
    QVERIFY(rig.good);
    const QStringList names = sent.keys() + failed.keys();
    rig.write("src", {{"more", DriveRig::bytes(700000, 2)}});
    for (const QString &name : names)
        rig.write("src/p", {{name, DriveRig::bytes(900000, quint32(name.size()))}});
    QVERIFY(::mkfifo(QFile::encodeName(rig.local("src/chosen")).constData(), 0600) == 0);
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up);
    DriveQueue::setUpLimit(100);
    QSet<qlonglong> running;
    QObject guard;
    connect(up, &UploadDDAO::fileSpeedChanged, &guard, [&](qlonglong pri) { running << pri; });
    rig.put({"src/p", "src/chosen"});
    QVERIFY(comes([&] { return running.size() >= names.size(); }));
    for (const char *how : sent.values() + failed.values()) {
        QProcess shell;
        shell.setWorkingDirectory(rig.local("src/p"));
        shell.start("sh", {"-c", how});
        QVERIFY2(shell.waitForFinished() && shell.exitCode() == 0, how);
    }
    DriveQueue::setUpLimit(0);
    const db_upfarmD farm = stopped(up);
    QCOMPARE(farm.failed, failed.size() + 1);
    for (const db_upfile &row : up->readPage(farm.pri, 0))
        QCOMPARE(row.error, int(TransSet::NoFile));
    QCOMPARE(farm.fsum, names.size() + 1);
    rig.fetch("back");
    QVERIFY(rig.waitOver(1));
    for (const QString &name : sent.keys()) {
        QFile there(rig.local("back/p/" + name)), here(rig.local("src/p/" + name));
        QVERIFY(there.open(QIODevice::ReadOnly) && here.open(QIODevice::ReadOnly));
        QVERIFY2(there.readAll() == here.readAll(), qPrintable(name));
    }
    QCOMPARE(rig.sumsDiffer(), QString());
}

// Deeper than a path can be, and than the transfer takes: told, and the rest goes.
void DriveTreesTest::deep()
{
    DriveRig rig;
    QVERIFY(rig.good);
    rig.write("src", {{"p/a", "a"}});
    const QByteArray name(200, 'n');
    int at = ::open(QFile::encodeName(rig.local("src/p")).constData(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < 30; ++i) {
        QVERIFY(::mkdirat(at, name.constData(), 0700) == 0);
        const int next = ::openat(at, name.constData(), O_RDONLY | O_DIRECTORY), file = ::openat(next, "f", O_CREAT | O_WRONLY, 0600);
        QVERIFY(::write(file, "x", 1) == 1);
        ::close(file);
        ::close(at);
        at = next;
    }
    ::close(at);
    rig.put({"src/p"});
    const db_upfarmD farm = stopped(UploadDDAO::instance(UploadDDAO::Up));
    QVERIFY(farm.fok >= 1 && farm.failed > 10);
    for (const db_upfile &row : UploadDDAO::instance(UploadDDAO::Up)->readPage(farm.pri, 0))
        QCOMPARE(row.error, int(TransSet::PathTooLong));
    rig.stopQueues();
    QCOMPARE(QProcess::execute("rm", {"-rf", rig.local("src")}), 0);
}

void DriveTreesTest::listings_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<QStringList>("local"); // paths on this disk
    QTest::addColumn<bool>("note");
    const auto row = [](const char *name, const QByteArray &list, const QStringList &local, bool note) {
        QTest::newRow(name) << list << local << note;
    };
    const auto file = [](const QByteArray &id, const QByteArray &name, const QByteArray &rest = R"("type":1,"size":1)") {
        return "{\"id\":" + id + ",\"name\":\"" + name + "\"," + rest + "}";
    };
    const QByteArray good = file("100", "good"), folder = R"("type":2)";
    row("out of the folder",
        good + "," + file("1", "../x") + "," + file("2", "/etc/x") + "," + file("3", "a/../../x") + "," + file("4", "..") + "," +
            file("5", ".") + "," + file("6", ""),
        {"good"}, true);
    row("of another system", file("1", "C:x") + "," + file("2", "a\\\\b") + "," + file("3", "CON") + "," + file("4", "x. "),
        {"C:x", "CON", "a\\b", "x. "}, false);
    row("no text", good + "," + file("1", "a\\u0000b") + "," + file("2", "\\ud800") + "," + file("3", "\\udc00"),
        {"good", QString(QChar(0xfffd)), QString(QChar(0xfffd)) + " (2)"}, true);
    row("control characters", file("1", "a\\nb") + "," + file("2", "\\u0001"), {"\x01", "a\nb"}, false);
    const QByteArray mark("\xef\xbb\xbf");
    row("a mark of order", file("1", mark + "b") + "," + file("2", "b"), {"b", QString(QChar(0xfeff)) + "b"}, false);
    row("stands for a byte", file("1", "\xee\xbe\xa9"), {FileNames::text("\xee\xbe\xa9")}, false);
    const QByteArray wood = QByteArray("\xe6\x9c\xa8").repeated(90);
    const QString cut = QString(82, QChar(0x6728));
    row("too long, twice", file("1", wood + ".exr") + "," + file("2", wood + "x.exr"),
        {cut + " (2).exr", QString(83, QChar(0x6728)) + ".exr"}, true);
    row("twins", file("1", "a") + "," + file("2", "a") + "," + file("13", "a", folder) + "," + file("13", "b") + "," + file("4", "a (2)"),
        {"a", "a (2)", "a (2) (2)", "a (3)/"}, true);
    row("a half's name", file("1", "b.vd") + "," + file("2", "b") + "," + file("3", "c") + "," + file("4", "c.xtemp"),
        {"b (2)", "b.vd", "c", "c.xtemp_"}, true);
    row("sizes",
        good + "," + file("1", "-", R"("type":1,"size":-1)") + "," + file("2", "f", R"("type":1,"size":1.5)") + "," +
            file("3", "h", R"("type":1,"size":1e300)") + "," + file("4", "t", R"("type":"1","size":"7")") + "," +
            file("5", "n", R"("type":1,"size":null)") + "," + file("6", "o", R"("type":1,"size":{})"),
        {"good", "t"}, true);
    row("ids",
        file("9007199254740993", "big") + "," + file("1.5", "half") + "," + file("\"a-b_C\"", "text") + "," + file("[1]", "list") + "," +
            file("\"../1\"", "path"),
        {"big", "text"}, true);
    row("kinds, keys, no objects",
        good + R"(,{"id":1},{"name":"x","type":1,"size":1},{"id":2,"name":"x","type":3,"size":1},7,"x",null,[[]],{})", {"good"}, true);
    row("rings", good + "," + file("5", "itself", folder) + "," + file("3", "its parent", folder) + "," + file("-1", "root", folder),
        {"good"}, true);
}

// One folder's listing, from the reply to the rows.
void DriveTreesTest::listings()
{
    QFETCH(QByteArray, list);
    QFETCH(QStringList, local);
    QFETCH(bool, note);
    RestRig rest;
    NetTcp::instance()->setLogin(true);
    QTemporaryDir folder;
    UploadDDAO *down = UploadDDAO::instance(UploadDDAO::Down);
    QVERIFY(down->open(folder.path()));
    Session::setLive(true);
    db_upfarmD farm;
    farm.id = 3;
    farm.pri = 7;
    farm.lpath = folder.path();
    db_updirD dir;
    dir.ids = "3/5";
    dir.lpath = folder.path() + "/t";
    dir.dpath = "D/t";
    QVERIFY(down->addFarm(farm, {dir}, {}));
    rest.body = R"({"code":0,"files":[ ,],"list":[)" + list + R"(],"resultFiles":[{"id":1}],"result":1})";
    rest.body.replace("[ ,]", "[ ]");
    rest.rest.answer = [&](const HttpPeer::Request &request) {
        return request.path.contains("/5/sub-files") ? HttpPeer::response(rest.body) : QByteArray(); // what lies below comes later
    };
    std::atomic_bool stop{false};
    DirWork walk(DirScan::Remote, stop);
    walk.startScan();
    const auto walked = [&] {
        const QList<db_updirD> left = down->nextDirs(7, 1);
        return left.isEmpty() || left.first().ids != dir.ids;
    };
    QVERIFY(comes(walked));
    QStringList paths;
    for (const db_upfile &row : down->nextFiles(7, 0, 100))
        paths << row.lpath.mid(dir.lpath.size() + 1);
    for (const db_updirD &row : down->nextDirs(7, 100))
        paths << row.lpath.mid(dir.lpath.size() + 1) + '/';
    paths.sort();
    QCOMPARE(paths, local);
    QCOMPARE(!down->farm(7).note.isEmpty(), note);
    stop = true;
    Session::setLive(false);
    down->release();
}

// More than one transaction takes: nothing of half of it is ever begun, and what came in goes again.
void DriveTreesTest::bigListing()
{
    DriveRig rig;
    QVERIFY(rig.good && rig.farm.fillDrive("T/big", 0, 12000, 0));
    const QList<SubFile> entries = rig.children(rig.place.id);
    QVERIFY(rig.farm.faults().set("drive-half-listing", "1@1"));
    UploadDDAO *down = UploadDDAO::instance(UploadDDAO::Down);
    DriveQueue::fetch(rig.place, entries, rig.local("back"));
    QVERIFY(QTest::qWaitFor([&] { return !down->farms().isEmpty() && down->farms().first().dirstate == UploadDDAO::DirWalked; }, 60000));
    const db_upfarmD farm = down->farms().first();
    QCOMPARE(farm.fsum, 12000);
    QCOMPARE(down->countFiles(farm.pri), farm.fsum - farm.fok);
    DriveQueue::remove(UploadDDAO::Down, farm.pri);
    QVERIFY(comes([&] { return down->farms().isEmpty(); }));
}

// A store that has no room for what is walked: each batch tells of it, and once there is some every file is in it, once.
void DriveTreesTest::storeFull()
{
    QTemporaryDir folder;
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up);
    QVERIFY(up->open(folder.path()));
    Session::setLive(true);
    const int many = DirWork::PieceRows + 400;
    for (int i = 0; i < many; ++i) { // in pieces of a folder, and in small folders
        const QString below = i < DirWork::PieceRows + 100 ? QString("/p/big") : QString("/p/%1").arg(i % 20), file = folder.path() + below;
        QVERIFY((i > 0 && i < DirWork::PieceRows) || QDir().mkpath(file));
        QVERIFY(QFile(file + QString("/%1").arg(i)).open(QIODevice::WriteOnly));
    }
    db_upfarmD farm;
    farm.pri = 7;
    farm.state = TransSet::UpWait;
    db_updirD dir;
    dir.lpath = folder.path() + "/p";
    dir.dpath = "T/p";
    QVERIFY(up->addFarm(farm, {dir}, {}));
    farm.pri = 8;
    QVERIFY(up->addFarm(farm, {dir}, {}));
    const auto number = [](const QString &pragma) {
        QSqlQuery query(QSqlDatabase::database("qndb_uploadD", false));
        return query.exec(pragma) && query.next() ? query.value(0).toInt() : -1;
    };
    for (int room : {8, 80}) {
        number(QString("pragma max_page_count = %1").arg(number("pragma page_count") + room));
        QSignalSpy notes(up, &UploadDDAO::note);
        std::atomic_bool stop{false};
        DirWork walk(DirScan::Local, stop);
        walk.setTiming({100, 100, 20000, 20000, 10}); // each folder once
        walk.startScan();
        const auto tells = [&](qlonglong pri) {
            return std::any_of(notes.begin(), notes.end(), [=](const auto &note) {
                return note.at(0) == pri && note.at(1).toString().contains(QStringLiteral("无法保存"));
            });
        };
        QVERIFY(comes([&] { return tells(7) && tells(8); }));
        QCOMPARE(up->farm(7).dirstate, int(UploadDDAO::DirWalking));
        stop = true;
    }
    number("pragma max_page_count = 1000000");
    std::atomic_bool stop{false};
    DirWork walk(DirScan::Local, stop);
    walk.startScan();
    QVERIFY(comes([&] { return up->farm(7).dirstate == UploadDDAO::DirWalked; }));
    QCOMPARE(up->nextFiles(7, 0, 10000).size(), many);
    QCOMPARE(up->farm(7).fsum, many);
    stop = true;
    Session::setLive(false);
    up->release();
}

// A folder that can't be read counts as walked and is told of; when the batch is resumed it's looked at again.
void DriveTreesTest::unread()
{
    QTemporaryDir folder;
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up);
    QVERIFY(up->open(folder.path()));
    Session::setLive(true);
    db_upfarmD farm;
    farm.pri = 7;
    farm.state = TransSet::UpWait;
    db_updirD dir;
    dir.lpath = folder.path() + "/p";
    QVERIFY(up->addFarm(farm, {dir}, {}));
    std::atomic_bool stop{false};
    DirWork walk(DirScan::Local, stop);
    walk.startScan();
    for (int files : {0, 0, 1}) {
        QVERIFY(files == 0 || (QDir().mkpath(dir.lpath) && QFile(dir.lpath + "/a").open(QIODevice::WriteOnly)));
        QTRY_COMPARE(up->farm(7).dirstate, int(UploadDDAO::DirWalked));
        QVERIFY(up->setNote(7, "磁盘")); // what holds a batch up: takes nothing from what its walk told, and ends with the run
        up->release();
        QVERIFY(up->open(folder.path()));
        QVERIFY(!up->farm(7).note.contains("磁盘"));
        QCOMPARE(up->farm(7).note.contains(QStringLiteral("无法读取")), files == 0);
        QCOMPARE(up->farm(7).failed, 0);
        QCOMPARE(up->nextFiles(7, 0, 9).size(), files);
        QVERIFY(files == 1 || up->resumeAll(7));
    }
    stop = true;
    Session::setLive(false);
    up->release();
}

// A folder that can't be made here is told of while it's tried again; who mends that and resumes waits no longer.
void DriveTreesTest::noTarget()
{
    DriveRig rig;
    QVERIFY(rig.good);
    rig.write("src", {{"p/a", "a"}});
    rig.write("here", {{"target", "a file"}});
    rig.put({"src/p"});
    QVERIFY(rig.waitOver(1));
    rig.fetch("here/target/back");
    UploadDDAO *down = UploadDDAO::instance(UploadDDAO::Down);
    const auto told = [&] { return !down->farms().isEmpty() && !down->farms().first().note.isEmpty(); };
    QVERIFY(QTest::qWaitFor(told, 5000));
    QVERIFY(QFile::remove(rig.local("here/target")));
    DriveQueue::resume(UploadDDAO::Down, down->farms().first().pri);
    QVERIFY(rig.waitOver(2, 8000));
    QCOMPARE(rig.over().first().note, QString());
    QCOMPARE(rig.read("here/target/back/p").value("a"), QByteArray("a"));
}

// The limit of an answer and the rest before the next doubles up to a minute.
void DriveTreesTest::limits()
{
    std::atomic_bool stop{true};
    const DirWork walk(DirScan::Remote, stop);
    QList<int> limits, rests;
    for (int tries : {0, 1, 2, 3, 4, 9, 1000}) {
        limits << walk.limitOf(tries);
        rests << walk.restOf(tries);
    }
    QCOMPARE(limits, QList<int>({5000, 10000, 20000, 40000, 60000, 60000, 60000}));
    QCOMPARE(rests, QList<int>({500, 500, 1000, 2000, 4000, 60000, 60000}));
}

VN_TEST(DriveTreesTest)
#include "tst_drive_trees.moc"
