#include "common/Debounce.h"
#include "common/facts/SoftwareType.h"
#include "common/LogSink.h"
#include "common/Seam.h"
#include "common/ThreadPool.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <atomic>
#include <future>
#include <thread>

namespace
{
QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
}

QThread *threadOf(QObject *worker)
{
    std::promise<QThread *> seen;
    QMetaObject::invokeMethod(
        worker, [&seen] { seen.set_value(QThread::currentThread()); }, Qt::QueuedConnection);
    return seen.get_future().get();
}

struct Calls {
    QThread *ran = nullptr;
    int count = 0;
};
} // namespace

class TestTools : public QObject
{
    Q_OBJECT
private slots:
    void startsWhileTheEnvironmentIsBusy();
    void logLine_data();
    void logLine();
    void logFileFollowsTheDay();
    void sevenLogsAreKept();
    void linesOfManyThreadsStayWhole();
    void aDayHasACeiling();
    void poolStopsWithItsWorkers();
    void debounceEmitsOnce();
    void seamPostsToItsThread();
    void removeDirRefusesHome();
};

void TestTools::logLine_data()
{
    columns<int, QString, QByteArray>("type", "text", "line");
    addRow("debug", int(QtDebugMsg), "x 渲", QByteArray("[t]x 渲\r\n"));
    addRow("warning", int(QtWarningMsg), "x", QByteArray("Warning:[t]x\r\n"));
    addRow("critical", int(QtCriticalMsg), "x", QByteArray("Critical:[t]x\r\n"));
    addRow("fatal", int(QtFatalMsg), "", QByteArray("Fatal:[t]\r\n"));
    addRow("longest", int(QtDebugMsg), QString(20000, 'a'), "[t]" + QByteArray(20000, 'a') + "\r\n");
    addRow("too long", int(QtDebugMsg), QString(20001, 'a'), "[t]" + QByteArray(200, 'a') + "......\r\n");
    const QPair<const char *, const char *> secrets[] = {
        {R"({"password":"a\"b","n":1,"accessToken" : "x y"})", R"({"password":"***","n":1,"accessToken" : "***"})"},
        {R"({"info":"{\"password\":\"p\\\"q\",\"a\":1}"})", R"({"info":"{\"password\":\"***\",\"a\":1}"})"},
        {"GET /x?token=abc&lang=1 sessionId=7", "GET /x?token=***&lang=1 sessionId=***"},
        {"X-BRONTEL-ACCESS-TOKEN: abc, Authorization: Bearer xyz;", "X-BRONTEL-ACCESS-TOKEN: ***, Authorization: Bearer ***;"},
        {R"({"password":"cut of)", R"({"password":"***)"},
        {R"({"token":"","token":null})", R"({"token":"","token":***})"},
        {"no token for farm 3: /storage-secret-token/role", "no token for farm 3: /storage-secret-token/role"},
    };
    for (const auto &secret : secrets)
        addRow(secret.first, int(QtDebugMsg), secret.first, "[t]" + QByteArray(secret.second) + "\r\n");
    addRow("too long, three bytes each", int(QtDebugMsg), QString(6667, QChar(0x6E32)),
           "[t]" + QByteArray("渲").repeated(66) + "......\r\n");
}

void TestTools::logLine()
{
    FETCH(int, type, QString, text);
    QTEST(LogSink::format(type, text, "t"), "line");
}

void TestTools::logFileFollowsTheDay()
{
    UserInfo::init({"client"});
    const QDateTime late(QDate(2031, 1, 31), QTime(23, 59, 59, 999));
    LogSink::setView([](const QString &line) { LogSink::write(QtDebugMsg, "of the view:" + line, QDateTime::currentDateTime()); });
    LogSink::write(QtWarningMsg, "old day", late);
    LogSink::write(QtDebugMsg, "new day", late.addMSecs(1));
    LogSink::uninstall();
    QCOMPARE(contentOf(UserInfo::allUserDir() + "/log-20310131.txt"), QByteArray("Warning:[23:59:59.999]old day\r\n"));
    QCOMPARE(contentOf(UserInfo::allUserDir() + "/log-20310201.txt"), QByteArray("[00:00:00.000]new day\r\n"));
}

// Programs by name start whatever the other threads hold at that moment.
void TestTools::startsWhileTheEnvironmentIsBusy()
{
    std::atomic_bool over{false};
    std::vector<std::thread> askers;
    for (int i = 0; i < 3; ++i)
        askers.emplace_back([&over] {
            while (!over)
                qgetenv("PATH");
        });
    int started = 0;
    while (started < 50 && VFunc::startDetached("true", {}))
        ++started;
    over = true;
    for (std::thread &one : askers)
        one.join();
    QCOMPARE(started, 50);
    QVERIFY(!VFunc::startDetached("no-such-program-here", {}));
}

void TestTools::sevenLogsAreKept()
{
    QDir folder(UserInfo::allUserDir());
    for (const QString &name : folder.entryList({"log-*"}))
        folder.remove(name);
    for (int day = 10; day < 20; ++day)
        VFunc::writeWhole(folder.filePath(QString("log-203002%1.txt").arg(day)), "x");
    LogSink::purge();
    const QStringList kept = folder.entryList({"log-*"}, QDir::Files, QDir::Name);
    QCOMPARE(kept.size(), 7);
    QCOMPARE(kept.first(), QString("log-20300213.txt"));
    QVERIFY(folder.exists("config.ini"));
    // A client that runs on keeps seven beside the one that it writes.
    for (int day : {19, 20, 21})
        LogSink::write(QtDebugMsg, "x", QDateTime(QDate(2030, 2, day), QTime(0, 0)));
    LogSink::uninstall();
    QCOMPARE(folder.entryList({"log-*"}, QDir::Files, QDir::Name), kept.mid(1) + QStringList({"log-20300220.txt", "log-20300221.txt"}));
}

void TestTools::aDayHasACeiling()
{
    const QDateTime day(QDate(2033, 1, 1), QTime(0, 0));
    const QString path = UserInfo::allUserDir() + "/log-20330101.txt";
    const auto logged = [&](qint64 before, const QList<QtMsgType> &types) {
        QFile file(path);
        file.open(QIODevice::ReadWrite) && file.resize(before); // holes take no room
        for (QtMsgType type : types)
            LogSink::write(type, "x", day);
        LogSink::uninstall();
        file.seek(before);
        return QString::fromUtf8(file.readAll()).remove("[00:00:00.000]");
    };
    const QString tells = "Warning:LogSink::write the log of this day is full, only warnings follow\r\n";
    QCOMPARE(logged(LogSink::FullBytes - 17, {QtDebugMsg, QtInfoMsg, QtWarningMsg, QtDebugMsg}), "x\r\n" + tells + "Warning:x\r\n");
    QCOMPARE(logged(LogSink::MostBytes - 25, {QtWarningMsg, QtCriticalMsg, QtDebugMsg}), QString("Warning:x\r\n"));
    LogSink::write(QtDebugMsg, "x", day.addDays(1));
    LogSink::uninstall();
    QCOMPARE(contentOf(UserInfo::allUserDir() + "/log-20330102.txt"), QByteArray("[00:00:00.000]x\r\n"));
    QVERIFY(QFile::remove(path));
}

void TestTools::linesOfManyThreadsStayWhole()
{
    const QDateTime time(QDate(2032, 1, 1), QTime(1, 2, 3));
    std::vector<std::thread> writers;
    for (int i = 0; i < 4; ++i)
        writers.emplace_back([&time] {
            for (int n = 0; n < 25; ++n)
                LogSink::write(QtDebugMsg, QString(500, 'a'), time);
        });
    for (std::thread &writer : writers)
        writer.join();
    LogSink::uninstall();
    QCOMPARE(contentOf(UserInfo::allUserDir() + "/log-20320101.txt"), ("[01:02:03.000]" + QByteArray(500, 'a') + "\r\n").repeated(100));
}

void TestTools::poolStopsWithItsWorkers()
{
    ThreadPool pool;
    std::atomic<QThread *> diedOn{nullptr};
    QObject *worker = new QObject;
    connect(worker, &QObject::destroyed, [&diedOn] { diedOn = QThread::currentThread(); });
    pool.addWork(worker);
    QThread *own = threadOf(worker);
    pool.stop();
    QCOMPARE(diedOn.load(), own);
    QScopedPointer<QObject> late(new QObject);
    pool.addWork(late.data());
    QCOMPARE(late->thread(), nullptr);
    QCOMPARE(pool.size(), 0);
}

void TestTools::debounceEmitsOnce()
{
    Debounce debounce;
    QSignalSpy spy(&debounce, &Debounce::debout);
    QElapsedTimer timer;
    timer.start();
    debounce.debounce(10000);
    debounce.debounce(60);
    QVERIFY(spy.wait(5000));
    QVERIFY(timer.elapsed() >= 55);
    QCOMPARE(spy.count(), 1);
    QVERIFY(!debounce.throttling());
}

void TestTools::seamPostsToItsThread()
{
    QVERIFY(!Seam<Calls>::post([](Calls &) {}));
    ThreadPool pool;
    QObject *guard = new QObject;
    Calls calls;
    pool.addWork(guard);
    QThread *own = threadOf(guard);
    Seam<Calls>::attach(guard, &calls);
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([] {
            for (int n = 0; n < 50; ++n)
                Seam<Calls>::post([](Calls &c) { c.ran = QThread::currentThread(), ++c.count; });
        });
    for (std::thread &caller : callers)
        caller.join();
    threadOf(guard); // what was posted before has run
    Calls stranger;
    Seam<Calls>::detach(&stranger); // not its own: stays attached
    QVERIFY(Seam<Calls>::attached());
    Seam<Calls>::detach(&calls);
    QVERIFY(!Seam<Calls>::post([](Calls &) {}));
    pool.stop();
    QCOMPARE(calls.ran, own);
    QCOMPARE(calls.count, 200);
}

void TestTools::removeDirRefusesHome()
{
    QVERIFY(!VFunc::removeDir({}));
    QVERIFY(!VFunc::removeDir(testHome()));
    QVERIFY(!VFunc::removeDir("/"));
    QTemporaryDir dir;
    QDir(dir.path()).mkpath("kept/in");
    QVERIFY(QFile::link(dir.filePath("kept"), dir.filePath("link")));
    QVERIFY(VFunc::removeDir(dir.filePath("link")));
    QVERIFY(QFileInfo(dir.filePath("kept/in")).isDir());
    QVERIFY(VFunc::removeDir(dir.filePath("kept")) && VFunc::removeDir(dir.filePath("kept")));
}

VN_TEST(TestTools)
#include "tst_tools.moc"
