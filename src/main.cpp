// The spine: which run mode, then the steps of a start in their order, the event loop, and the end in reverse order.
#include "common/FileNames.h"
#include "common/HelperModes.h"
#include "common/Housekeeping.h"
#include "common/LinkScheme.h"
#include "common/LogSink.h"
#include "common/platform/Platform.h"
#include "common/platform/SafeFile.h"
#include "common/RunMode.h"
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "common/ui/Background.h"
#include "common/ui/SingleApp.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "resolve/ClearMax.h"
#include "view/LinkHand.h"
#include "view/Login.h"
#include "view/MainWindow.h"
#include "view/MasterMeeting.h"
#include "view/Shell.h"
#include "view/Startup.h"
#include "view/update/SoftwareUpdateManager.h"
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <QDebug>
#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QSplashScreen>
#include <QThread>
#include <QTranslator>
#include <thread>

namespace
{
constexpr int RestartCode = 773;
constexpr int EndMs = 15000;      // an end takes no longer, whatever hangs
std::atomic<bool> leaving{false}; // the system has asked the client to end

// Everything that must last is in the stores at any time, so the process may stop anywhere.
void boundTheEnd()
{
    static std::atomic<bool> bound{false};
    if (bound.exchange(true))
        return;
    std::thread([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(EndMs));
        qCritical().noquote() << "main: the end takes too long, stopping here";
        std::_Exit(1);
    }).detach();
}

QStringList wordsOf(int argc, char **argv)
{
    QStringList words;
    for (const std::string &word : platform::commandWords(argc, argv))
        words << (platform::isWindows() ? QString::fromStdString(word) : QString::fromLocal8Bit(word.c_str()));
    return words;
}

void runHelper(const RunMode &mode, const QStringList &words, const QString &executable)
{
    switch (mode.kind) {
    case RunMode::Win7:
        HelperModes::win7(executable);
        break;
    case RunMode::CopyFiles:
        HelperModes::copyFiles(mode.word, UserInfo::programDir(), UserInfo::accountDirs());
        break;
    case RunMode::RunReg:
        HelperModes::runReg(words);
        break;
    case RunMode::NetshAdd:
    case RunMode::NetshDelete:
        UserInfo::init(words); // the list lies among the user's data
        HelperModes::netsh(mode.kind == RunMode::NetshAdd, words, UserInfo::allUserDir() + QStringLiteral("/netshadd"));
        break;
    default:
        break;
    }
}

// Everything that needs the login's windows and threads; they are gone when it returns.
int runClient(const RunMode &mode, SingleApp *app)
{
    QSplashScreen splash(QPixmap(QStringLiteral(":/third/%1/startLogo.png").arg(UserInfo::thirdInfo())));
    splash.setEnabled(false);
    if (!mode.silent)
        splash.show();
    NetTcp::create();
    NetWork::create();
    Login login;
    login.setSilent(mode.silent); // before the waits below let the window show itself
    QObject::connect(app, &SingleApp::showUp, TrayIcon::instance(), &TrayIcon::showCurWid);
    const MasterMeeting master = MasterMeeting::hold();
    if (!master.good)
        return 0;
    if (master.seat)
        login.loadLogin();
    if (!mode.skipUpdate && Startup::updateStarted(master))
        return 0;
    splash.finish(nullptr);
    if (leaving)
        return 0;
    Background::post([dir = UserInfo::programDir()] { Housekeeping::removeOldVersions(dir); });
    if (!master.seat)
        login.loadLogin();
    Startup::watchTrial(&login);
    SoftwareUpdateManager updates({UserInfo::programDir(), UserInfo::baseDir() + QStringLiteral("/softwares/1"),
                                   QByteArrayLiteral(VN_UPDATE_KEY)});
    updates.setForward(UserInfo::isSlave() ? UserInfo::masterHost() : QString(), master.updatePort);
    updates.setWindow([&login]() -> QWidget * { return login.mainWindow(); });
    updates.start(mode.updateWord);
    QObject::connect(&login, &Login::sessionBegan, &updates, [&login, &updates] {
        QObject::connect(login.mainWindow()->shell(), &Shell::updatesAsked, &updates, &SoftwareUpdateManager::ask);
        Startup::tellRefusedUpdate(login.mainWindow());
    });
    LinkHand links(&login);
    QObject::connect(app, &SingleApp::told, &links, &LinkHand::take);
    links.take(mode.link);
    if (mode.checkInstance)
        Background::post([program = app->applicationFilePath()] { LinkScheme::announce(program); });
    const int result = app->exec();
    Session::setClosing(true);
    return result;
}

int run(int argc, char **argv, QString *executable)
{
    FileNames::install();
    const QStringList words = RunMode::trusted(wordsOf(argc, argv));
    const RunMode mode = RunMode::of(words);
    if (mode.delay)
        QThread::sleep(3);
    QGuiApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QGuiApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    SingleApp app(argc, argv);
    app.setApplicationVersion(QStringLiteral(VN_VERSION));
    app.setQuitOnLastWindowClosed(false);
    if (!app.handshake(SingleApp::instanceName(UserInfo::thirdGroup()), mode.checkInstance, mode.link))
        return 0;
    *executable = app.applicationFilePath();
    if (!mode.isHelper())
        Startup::writeEnvironment();
    if (mode.bare && HelperModes::compatLayerMissing(*executable)) {
        VFunc::runAs(*executable, QStringLiteral("win7"));
        return 0;
    }
    if (mode.isHelper()) {
        runHelper(mode, words, *executable);
        return 0;
    }
    if (mode.kind == RunMode::Normal && !Startup::trialGoesOn())
        return 0;
    platform::privateFiles();
    UserInfo::init(words);
    platform::installCrashDump(UserInfo::dumpDir().toStdString(), VN_VERSION);
    if (mode.kind == RunMode::ResolveTest)
        return Startup::resolveTest(&app);
    LogSink::purge();
    LogSink::install();
    platform::onTerminate([] {
        leaving = true; // a wait of the start ends with quit(), the start itself doesn't
        boundTheEnd();
        QMetaObject::invokeMethod(qApp, "quit", Qt::QueuedConnection);
    });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, boundTheEnd);
    Startup::registerTypes();
    ClearMax clear;
    clear.start();
    QTranslator translator;
    Startup::translate(&translator);
    Startup::applyStyle();
    const QSize screen = app.primaryScreen() ? app.primaryScreen()->size() : QSize();
    VFunc::setScreenSize(screen.width(), screen.height());
    const int result = runClient(mode, &app);
    Session::setClosing(true);
    TrayIcon::destroy();
    ThreadPool::instance()->stop();
    Background::finish();
    NetWork::destroy();
    NetTcp::destroy();
    clear.wait();
    LogSink::uninstall();
    return result;
}
} // namespace

int main(int argc, char **argv)
{
    QString executable;
    const int result = run(argc, argv, &executable);
    // Only now is the instance's name free.
    platform::openMask();
    if (result == RestartCode) {
        const QStringList words = wordsOf(argc, argv);
        const bool link = !RunMode::of(words).link.isEmpty(); // that was opened the first time
        QProcess::startDetached(executable, link ? QStringList() : words.mid(1));
    }
    return result;
}
