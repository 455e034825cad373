#include "view/Startup.h"
#include "common/platform/Platform.h"
#include "common/RunMode.h"
#include "common/Session.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Palette.h"
#include "common/ui/SingleApp.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/Records.h"
#include "io/NetTcp.h"
#include "io/WebAsk.h"
#include "package/TreeSwap.h"
#include "resolve/MayaResolve.h"
#include "transfer/TransSet.h"
#include "view/Login.h"
#include "view/MasterMeeting.h"
#include <memory>
#include <QApplication>
#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QIcon>
#include <QLibraryInfo>
#include <QPalette>
#include <QProcess>
#include <QStandardPaths>
#include <QStyleFactory>
#include <QTimer>
#include <QTranslator>

namespace
{
constexpr int WaitMs = 3000;
constexpr int ToolMs = 30000;
constexpr int FontPixels = 12;
const QString TestScene = QStringLiteral("/resolve-test.ma"); // beside the program
} // namespace

void Startup::writeEnvironment()
{
    if (!platform::isWindows()) {
        qDebug().noquote() << "Startup::writeEnvironment: no user environment on this system, nothing written";
        return;
    }
    QProcess setx;
    setx.start(QStringLiteral("setx"), {QStringLiteral("VandrelClient"), UserInfo::programDir()}, QIODevice::ReadWrite);
    setx.waitForFinished(ToolMs);
}

int Startup::resolveTest(SingleApp *app)
{
    auto *work = new MayaResolve;
    QObject::connect(
        work, &BaseResolve::resolveFinished, app,
        [](const db_resolve &res) {
            qDebug().noquote() << "Startup::resolveTest" << res.state << res.error << res.errstr;
            QCoreApplication::quit();
        },
        Qt::QueuedConnection);
    db_resolve res;
    res.rkey = QDateTime::currentSecsSinceEpoch();
    res.lpath = UserInfo::programDir() + TestScene;
    work->setUp(res, QStringLiteral("MAYA2014"), 1, 0, UserInfo::tempDir() + QStringLiteral("/resolve-test"));
    QMetaObject::invokeMethod(work, &BaseResolve::resolve, Qt::QueuedConnection);
    const int result = app->exec();
    delete work;
    return result;
}

void Startup::translate(QTranslator *to)
{
    QString word = UserInfo::language();
    if (word == QLatin1String("zh_cn"))
        word = QStringLiteral("qtbase_zh_CN"); // the program's own texts are Chinese, the toolkit's aren't
    word.replace(QLatin1String("en_us"), QLatin1String("zh_en"));
    const QString file = QStringLiteral("%1/%2.qm").arg(UserInfo::programDir(), word);
    const bool loaded = to->load(file) || to->load(word, QLibraryInfo::location(QLibraryInfo::TranslationsPath));
    qDebug().noquote() << "Startup::translate" << file << loaded;
    if (loaded)
        QCoreApplication::installTranslator(to);
}

void Startup::applyStyle()
{
    QFile sheet(QStringLiteral(":/default.qss"));
    if (!sheet.open(QIODevice::ReadOnly))
        qWarning().noquote() << "Startup::applyStyle: no style sheet";
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette dark;
    dark.setColor(QPalette::Window, Palette::window);
    dark.setColor(QPalette::WindowText, Palette::text);
    dark.setColor(QPalette::Base, Palette::panel);
    dark.setColor(QPalette::AlternateBase, Palette::raised);
    dark.setColor(QPalette::Text, Palette::text);
    dark.setColor(QPalette::Button, Palette::raised);
    dark.setColor(QPalette::ButtonText, Palette::text);
    dark.setColor(QPalette::Highlight, Palette::accentDeep);
    dark.setColor(QPalette::HighlightedText, Palette::strong);
    dark.setColor(QPalette::Link, Palette::accent);
    dark.setColor(QPalette::PlaceholderText, Palette::quiet);
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, Palette::faint);
    QApplication::setPalette(dark);
    QFont::insertSubstitutions(QStringLiteral("Microsoft Yahei"),
                               {QStringLiteral("Microsoft YaHei UI"), QStringLiteral("Noto Sans CJK SC"),
                                QStringLiteral("Noto Sans SC"), QStringLiteral("Source Han Sans SC"),
                                QStringLiteral("WenQuanYi Micro Hei")});
    QFont font(QStringLiteral("Microsoft Yahei"));
    font.setPixelSize(FontPixels);
    QApplication::setFont(font);
    qApp->setStyleSheet(Palette::fill(QString::fromUtf8(sheet.readAll())));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/third/%1/online.ico").arg(UserInfo::thirdInfo())));
}

void Startup::registerTypes()
{
    qRegisterMetaType<FuncBack>("FuncBack");
    qRegisterMetaType<Request>("Request");
    qRegisterMetaType<FuncBody>("FuncBody");
    qRegisterMetaType<TcpBack>("TcpBack");
    qRegisterMetaType<RecvPackageHead>("RecvPackageHead");
    qRegisterMetaType<QThread *>("QThread*");
    qRegisterMetaType<QAbstractSocket::SocketError>("QAbstractSocket::SocketError");
    qRegisterMetaType<db_upfile>("db_upfile");
    qRegisterMetaType<QList<db_upfile>>("QList<db_upfile>");
    qRegisterMetaType<db_downfile>("db_downfile");
    qRegisterMetaType<QList<db_downfile>>("QList<db_downfile>");
    qRegisterMetaType<db_downmiss>("db_downmiss");
    qRegisterMetaType<QList<db_downmiss>>("QList<db_downmiss>");
    qRegisterMetaType<db_resolve>("db_resolve");
    qRegisterMetaType<QList<db_resolve>>("QList<db_resolve>");
    qRegisterMetaType<QVector<int>>("QVector<int>");
    qRegisterMetaType<QJsonObject>("QJsonObject");
    qRegisterMetaType<QJsonDocument>("QJsonDocument");
    qRegisterMetaType<QPointer<QObject>>("QPointer<QObject>");
    qRegisterMetaType<TransSet::FileState>("TransSet::FileState");
}

namespace
{
QString updater()
{
    return UserInfo::programDir() + (platform::isWindows() ? QStringLiteral("/update.exe") : QStringLiteral("/update"));
}

// Where this user's starts are counted when the program's folder isn't this user's.
QString trialCount()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/VandrelQN/update-trial.json");
}
} // namespace

bool Startup::trialGoesOn()
{
    if (TreeSwap(UserInfo::programDir()).countStart(trialCount()))
        return true;
    // Where there is nobody to bring the earlier one back, a start that may fail is better than none.
    return !QFileInfo::exists(updater()) || VFunc::runAs(updater(), QStringLiteral("--back")) != 1;
}

void Startup::watchTrial(Login *login)
{
    constexpr int UpMs = 10000;
    const auto up = [done = std::make_shared<bool>(false)] {
        if (std::exchange(*done, true))
            return;
        Background::post([tree = UserInfo::programDir(), count = trialCount()] {
            TreeSwap swap(tree);
            if (!swap.passed(count))
                qWarning().noquote() << "Startup::watchTrial" << swap.why();
        });
    };
    QTimer::singleShot(UpMs, login, up);
    QObject::connect(login, &Login::pageShown, login, up);
}

bool Startup::updateStarted(const MasterMeeting &master)
{
    QString newest;
    WebAsk::get(Session::address(QStringLiteral("update")) + QStringLiteral("/getUpdateVersion.htm"))
        .within(WaitMs)
        .answered([&newest](const FuncBody &reply) { newest = QString::fromUtf8(reply.raw).trimmed(); })
        .wait();
    const QString running = QStringLiteral(VN_VERSION);
    qDebug().noquote() << QStringLiteral("client:%1,update:%2").arg(running, newest);
    if (!RunMode::updateWanted(newest, running))
        return false;
    const TreeSwap tree(UserInfo::programDir());
    if (tree.refused(newest) || tree.installed() == newest) {
        qDebug().noquote() << "Startup::updateStarted: version" << newest << "didn't start here, or is here";
        return false;
    }
    if (!QFileInfo::exists(updater())) {
        qWarning().noquote() << "Startup::updateStarted: version" << newest << "is there, but no updater at"
                             << updater();
        return false;
    }
    VFunc::runAs(updater(),
                 RunMode::updateParameter(newest, UserInfo::isSlave(), UserInfo::masterHost(), master.updatePort));
    return true;
}

QString Startup::refusedUpdate(const QString &programDir, QString *known)
{
    constexpr qint64 Tail = 4096;
    QFile log(programDir + QStringLiteral(".update.log"));
    if (!log.open(QIODevice::ReadOnly) || !log.seek(qMax<qint64>(0, log.size() - Tail)))
        return {};
    const QString line = QString::fromUtf8(log.readAll()).trimmed().section(QLatin1Char('\n'), -1);
    const bool fresh = line != *known;
    *known = line;
    const QString words = line.section(QLatin1Char(' '), 1);
    return fresh && words.startsWith(QLatin1String("! ")) ? words.mid(2) : QString();
}

void Startup::tellRefusedUpdate(QWidget *over)
{
    Background::run(
        over,
        [tree = UserInfo::programDir()] {
            const QString before = UserInfo::allValue(QStringLiteral("Update"), QStringLiteral("told")).toString();
            QString known = before;
            const QString why = refusedUpdate(tree, &known);
            if (known != before)
                UserInfo::setAllValue(QStringLiteral("Update"), QStringLiteral("told"), known);
            return why;
        },
        [over](const QString &why) {
            if (!why.isEmpty())
                MsgTool::msgOk(over, QCoreApplication::translate("Startup", "新版本没有安装：%1").arg(why));
        });
}
