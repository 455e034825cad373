#include "Stage.h"
#include "common/facts/SceneState.h"
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "common/ui/Background.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "db/DoneDAO.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "view/Login.h"
#include "view/MainWindow.h"
#include "view/Resolve.h"
#include "view/SessionTimer.h"
#include "view/Startup.h"
#include "view/Transfer.h"
#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace
{
constexpr int Scenes = 240, Finished = 300, Files = 60, Notices = 60, Projects = 300;
constexpr int FirstAddress = 77, LastAddress = 127; // 127.0.0.x: beside whatever else runs on this machine

bool write(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}
} // namespace

void Stage::settle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

bool Stage::wait(const std::function<bool()> &until, int ms)
{
    QElapsedTimer clock;
    clock.start();
    while (!until()) {
        if (clock.hasExpired(ms))
            return false;
        settle(20);
    }
    return true;
}

Stage::Stage() = default;

Stage::~Stage()
{
    Session::setClosing(true);
    m_login.reset();
    TrayIcon::destroy();
    ThreadPool::instance()->stop();
    Background::finish();
    NetWork::destroy();
    NetTcp::destroy();
}

bool Stage::open(const QString &language)
{
    const QString home = m_home.path();
    qputenv("HOME", home.toUtf8());
    qputenv("XDG_CONFIG_HOME", (home + QStringLiteral("/.config")).toUtf8());
    qputenv("XDG_DATA_HOME", (home + QStringLiteral("/.local/share")).toUtf8());
    m_options.dir = home + QStringLiteral("/farm");
    m_options.farms = 3;
    m_options.frameSeconds = 3600; // what runs in a picture still runs in the next one
    bool stands = false;
    for (int last = FirstAddress; last <= LastAddress && !stands; ++last) { // the business link's port is a fixed one
        m_options.address = QStringLiteral("127.0.0.%1").arg(last);
        stands = m_farm.start(m_options);
        if (!stands)
            m_farm.stop();
    }
    if (!stands) {
        m_error = m_farm.error();
        return false;
    }
    const QString program = home + QStringLiteral("/program");
    QDir().mkpath(program);
    for (const QString &file : QDir(QCoreApplication::applicationDirPath()).entryList({QStringLiteral("*.qm")}))
        QFile::link(QCoreApplication::applicationDirPath() + QLatin1Char('/') + file,
                    program + QLatin1Char('/') + file);
    QFile::link(QCoreApplication::applicationDirPath() + QStringLiteral("/web"), program + QStringLiteral("/web"));
    if (!write(program + QStringLiteral("/service.ini"), "[server]\nqnbs=http://" + m_options.address.toLatin1() + ':' +
                                                             QByteArray::number(m_farm.ports().http) + "\n")) {
        m_error = QStringLiteral("can't write below ") + program;
        return false;
    }
    UserInfo::setProgramDir(program);
    UserInfo::init({QStringLiteral("VandrelQN")});
    UserInfo::setLanguage(language);
    Startup::registerTypes();
    Startup::translate(&m_translator);
    Startup::applyStyle();
    QApplication::setCursorFlashTime(0);
    NetTcp::create();
    NetWork::create();
    m_login = std::make_unique<Login>();
    m_login->show();
    m_login->loadLogin();
    return true;
}

// The page logs in by itself once the farm says so: the client's own road from there on.
bool Stage::login()
{
    m_farm.stop();
    m_options.autoLogin = true;
    if (!m_farm.start(m_options)) {
        m_error = m_farm.error();
        return false;
    }
    if (!wait([this] { return window() && SessionTimer::resolve(); }, 60000)) {
        m_error = QStringLiteral("no session came of the login");
        return false;
    }
    settle(500);
    return true;
}

MainWindow *Stage::window() const { return m_login ? m_login->mainWindow() : nullptr; }
Resolve *Stage::resolve() const { return window()->findChild<Resolve *>(); }
Transfer *Stage::transfer() const { return window()->findChild<Transfer *>(); }

QString Stage::longName(int number)
{
    return QStringLiteral(
               "a_very_long_name_of_a_shot_that_somebody_gave_in_a_hurry_and_nobody_dared_to_change_since_%1_")
               .arg(number)
               .repeated(2)
               .left(176) +
           QStringLiteral(".tgd");
}

QStringList Stage::farmWords()
{
    return {QStringLiteral("默认项目"),
            QStringLiteral("欢迎使用本机渲染农场"),
            QStringLiteral("本机农场"),
            QStringLiteral("本机"),
            QStringLiteral("海岸短片"),
            QStringLiteral("别墅夜景"),
            QStringLiteral("样板间"),
            QStringLiteral("城市"),
            QStringLiteral("片头"),
            QStringLiteral("一版"),
            QStringLiteral("第 9 帧起缺贴图"),
            QStringLiteral("已交付"),
            QStringLiteral("导演要先看第 110 帧"),
            QStringLiteral("中文")}; // a language by its own name
}

db_resolve Stage::scene(int state) const
{
    const QList<db_resolve> all = ResolveDAO::instance()->readAll();
    for (const db_resolve &one : all)
        if (one.state == state)
            return ResolveDAO::instance()->readWithPara(one.rkey);
    db_resolve made;
    made.rkey = 1;
    made.state = state;
    made.lpath = QStringLiteral("/scenes/shot.tgd");
    return made;
}

void Stage::fill()
{
    m_fill = Full;
    fillScenes();
    fillTransfers();
    m_farm.fillTasks();
    m_farm.fillDrive(1, QStringLiteral("D/a_project_with_a_name_that_is_rather_long_as_they_are"), 30, 40, 123456);
    m_farm.fillDrive(1, QStringLiteral("D/valley"), 0, 3, 123);
    for (int i = 0; i < Notices; ++i)
        m_farm.addNotice(QStringLiteral("Notice %1: ").arg(i) +
                         (i % 7 ? QStringLiteral("a task is over") : longName(i)));
    QStringList projects;
    for (int i = 0; i < Projects; ++i)
        projects << (i == 3 ? longName(i).left(60) : QStringLiteral("valley%1").arg(i));
    m_farm.addProjects(projects);
    emit ResolveDAO::instance()->refreshAll();
    emit UploadDAO::instance()->refreshAll();
    emit DownloadDAO::instance()->refreshAll();
    settle(800);
}

// Only states that no queue takes up: the walk must find the rows as they were put.
void Stage::fillScenes()
{
    using namespace SceneState;
    const State states[] = {Warned,       Failed,       Clean,        AnalysisPaused,
                            SubmitFailed, UploadPaused, UploadFailed, Incomplete};
    const qlonglong now = QDateTime::currentMSecsSinceEpoch();
    QList<db_resolve> rows;
    for (int i = 0; i < Scenes; ++i) {
        db_resolve one;
        one.rkey = one.pri = now + i;
        one.state = states[i % 8];
        one.lpath =
            QStringLiteral("/projects/valley/scenes/") + (i % 5 ? QStringLiteral("shot_%1.tgd").arg(i) : longName(i));
        one.project = i % 3 ? QStringLiteral("8_valley") : QStringLiteral("9_") + longName(i).left(60);
        one.projectId = 8;
        one.ordernum = QStringLiteral("20261121%1").arg(i, 6, 10, QLatin1Char('0'));
        one.rtime = now - i * 1000;
        one.fok = i, one.fsum = Scenes;
        one.fsize = 40LL << 30, one.fup = (40LL << 30) / Scenes * i;
        if (one.state == Failed || one.state == Warned) {
            one.error = one.state == Failed ? 10015 : 0;
            one.errstr = QStringLiteral("missing: /projects/valley/textures/") + longName(i) +
                         QStringLiteral("\nmissing: /projects/b.tif");
        }
        one.rset = QStringLiteral(R"({"softwareType":8,"software":"terragen4"})");
        one.rdata =
            QStringLiteral(
                R"({"modelParameters":{"cameras":["Render Camera 01"],"frames":"1-250","width":1920,"height":1080,)"
                R"("layers":[{"name":"beauty","frames":"1-250"},{"name":"%1"}]}})")
                .arg(longName(i));
        one.rfile = QStringLiteral(R"("files":[])");
        rows << one;
    }
    ResolveDAO::instance()->insertBatch(&rows);
}

void Stage::fillTransfers()
{
    const QList<db_resolve> all = ResolveDAO::instance()->readAll();
    for (const db_resolve &order : all) {
        if (!SceneState::InUpload.contains(order.state))
            continue;
        QList<db_upfile> files;
        for (int i = 0; i < Files; ++i) {
            db_upfile one;
            one.ordernum = order.ordernum;
            one.pri = i;
            one.size = 1LL << (i % 34);
            one.lpath = QStringLiteral("/projects/valley/textures/") +
                        (i % 6 ? QStringLiteral("rock_%1.tif").arg(i) : longName(i));
            one.state = i % 4 ? 10 : 13;
            one.error = i % 4 ? 0 : 10019;
            files << one;
        }
        UploadDAO::instance()->addOrder(files);
        break;
    }
    for (int i = 0; i < 40; ++i) {
        db_downmiss miss;
        miss.pri = DownloadDAO::instance()->newMissionPri();
        miss.missid = 500 + i;
        miss.missname = i % 4 ? QStringLiteral("shot_%1").arg(i) : longName(i);
        miss.ordernum = QStringLiteral("20261120%1").arg(i);
        miss.lpath = QStringLiteral("/results/valley");
        miss.state = i % 2 ? 2 : 3;
        QList<db_downfile> files;
        for (int f = 0; f < Files; ++f) {
            db_downfile one;
            one.id = i * 1000 + f + 1;
            one.missid = miss.missid;
            one.lpath = QStringLiteral("/results/valley/frame.%1.png").arg(f, 4, 10, QLatin1Char('0'));
            one.size = 4000000;
            one.state = i % 2 ? 2 : 31;
            files << one;
        }
        DownloadDAO::instance()->addMission(miss, files);
        DownloadDAO::instance()->setMissionState(miss.pri, miss.state);
    }
    for (int i = 0; i < Finished; ++i) {
        db_done done;
        done.kind = i % 2;
        done.missid = i + 1;
        done.ordernum = QStringLiteral("20261119%1").arg(i);
        done.name = i % 5 ? QStringLiteral("shot_%1").arg(i) : longName(i);
        done.folder = QStringLiteral("/results/valley");
        done.ended = QDateTime::currentMSecsSinceEpoch() - i * 60000LL;
        done.ok = done.sum = 250;
        done.size = 1LL << (i % 40);
        DoneDAO::instance()->add(done);
    }
}
