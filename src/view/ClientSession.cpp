#include "view/ClientSession.h"
#include "common/CommonConfig.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "io/local/HttpServer.h"
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
}

ClientSession::~ClientSession()
{
    delete m_server; // first: it hands work in
    SessionTimer::stop();
    m_window->setClosing(true);
    m_window->close();
    m_window.reset();
    UserInfo::clearCache();
    CommonConfig::clear();
}
