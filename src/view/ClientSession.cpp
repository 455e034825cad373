#include "view/ClientSession.h"
#include "common/CommonConfig.h"
#include "common/ThreadPool.h"
#include "common/ui/kit/Acts.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "io/local/HttpServer.h"
#include "io/local/PluginListen.h"
#include "view/MainWindow.h"
#include "view/SessionTimer.h"
#include "view/Shell.h"

ClientSession::ClientSession(const QJsonObject &loginInfo, const QJsonObject &account, bool shown)
{
    UserInfo::initUser(account);
    m_window = std::make_unique<MainWindow>(loginInfo);
    // Queued: the window is deleted by what it asks for.
    connect(m_window->shell(), &Shell::reLogin, this, &ClientSession::reLogin, Qt::QueuedConnection);
    connect(m_window->shell(), &Shell::openLink, this, &ClientSession::openLink);
    TrayIcon::instance()->setCurWid(m_window.get());
    TrayIcon::instance()->setOnline(true);
    if (shown)
        m_window->show();
    UserInfo::resultDir(); // their defaults are written with the first read
    UserInfo::autoSendResult();
    SessionTimer::start(this, [this] { queuesStand(); });
}

void ClientSession::queuesStand()
{
    emit m_window->shell()->analysisStands(SessionTimer::resolve());
    m_server = new HttpServer(this);
    m_server->initHttpServer(UserInfo::clientPort());
    m_plugins = new PluginListen;
    ThreadPool::instance()->addWork(m_plugins);
    if (const int port = UserInfo::setting(Settings::PluginPort).toInt(); port > 0)
        Seam<PluginCalls>::post([port](PluginCalls &plugins) { plugins.listen(port); });
}

ClientSession::~ClientSession()
{
    delete m_server; // first: they hand work in
    if (m_plugins)
        m_plugins->deleteLater();
    for (ActSet *acts : m_window->findChildren<ActSet *>())
        acts->sendNow(); // deletions that could still be taken back
    SessionTimer::stop();
    m_window->setClosing(true);
    m_window->close();
    m_window.reset();
    UserInfo::clearCache();
    CommonConfig::clear();
}
