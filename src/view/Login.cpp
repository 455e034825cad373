#include "view/Login.h"
#include "common/CommonConfig.h"
#include "common/facts/Command.h"
#include "common/Session.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/Links.h"
#include "common/ui/MsgTool.h"
#include "common/ui/TrayIcon.h"
#include "common/ui/WebOrigins.h"
#include "common/ui/WebView.h"
#include "common/UserInfo.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "view/ClientSession.h"
#include "view/Leaving.h"
#include "view/LoginBridge.h"
#include "view/LoginRecord.h"
#include "view/MainWindow.h"
#include "view/Shell.h"
#include <QCoreApplication>
#include <QDebug>
#include <QLabel>
#include <QScreen>

namespace
{
Login *only = nullptr;
constexpr int AnswerMs = 15000; // an unanswered 10308 or 10309 is sent again
constexpr int PageMs = 30000;   // a page that doesn't log in by itself while reconnecting is shown
constexpr int ReloadMs = 10000; // a page that failed while reconnecting is asked for again
constexpr int SlowMs = 3000;    // no answer for that long is told
constexpr int LoginDelayMs = 10;
constexpr int MostPushes = 1000; // kept until there is a window
const QSize Size(420, 560), LeastSize(360, 420);
} // namespace

Login::Login() : BaseWidget(Window), m_answerMs(AnswerMs)
{
    only = this;
    setObjectName(QStringLiteral("login"));
    setTitle(tr("登录"));
    setMinimumSize(LeastSize);
    resize(Size);
    centre();
    m_bridge = new LoginBridge(this);
    m_words = new QLabel(this);
    m_words->setObjectName(QStringLiteral("quiet"));
    m_words->setAlignment(Qt::AlignCenter);
    m_words->setWordWrap(true);
    m_words->setMargin(32);
    body()->addWidget(m_words, 1);
    m_again.setSingleShot(true);
    NetTcp *tcp = NetTcp::instance();
    connect(tcp, &NetTcp::linkUp, this, &Login::linkUp);
    connect(tcp, &NetTcp::linkLost, this, &Login::linkLost);
    connect(tcp, &NetTcp::kicked, this, &Login::reLogin);
    connect(tcp, &NetTcp::bsPush, this, &Login::keepPush);
    connect(NetWork::instance(), &NetWork::reLogin, this, &Login::reLogin);
    TrayIcon *tray = TrayIcon::instance();
    tray->setCurWid(this);
    connect(tray, &TrayIcon::changeUser, this, [this] { reLogin(110); });
    connect(tray, &TrayIcon::leave, this, &Login::leave, Qt::QueuedConnection);
    // However the end comes, by hand, by a signal or from the system, the session ends here.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        Session::setClosing(true);
        endSession();
    });
}

Login::~Login()
{
    endSession();
    if (m_view)
        m_view->end();
    only = nullptr;
}

Login *Login::instance() { return only; }
MainWindow *Login::mainWindow() const { return m_session ? m_session->window() : nullptr; }
void Login::setSilent(bool silent) { m_silent = silent; }
void Login::setAnswerMs(int ms) { m_answerMs = ms; }

void Login::makeView()
{
    if (m_view)
        return;
    m_view = new WebView(this);
    m_view->expose(QStringLiteral("Login"), m_bridge, [](const QUrl &address) {
        return WebOrigins::same(address, QUrl(Session::address(QStringLiteral("login"))));
    });
    connect(m_view, &QWebView::loadFinished, this, &Login::loadFinish);
    connect(m_view, &WebView::createWin, this, [this](QWebView *web) {
        // A link of the page with a window of its own belongs into the system's browser.
        connect(web, &QWebView::urlChanged, this, [this, web](const QUrl &url) {
            linkDelegate(-1, url.toString());
            web->deleteLater();
        });
    });
    body()->addWidget(m_view, 1);
}

void Login::say(const QString &text)
{
    if (m_view)
        m_view->hide();
    m_words->setText(text);
    m_words->show();
}

// The page is of no use during a session and costs memory.
void Login::dropView()
{
    if (!m_view)
        return;
    m_view->stop();
    if (m_view->webPage()->asking()) // its script waits for an answer, and comes back into it
        m_view->end();
    else
        m_view->deleteLater();
    m_view = nullptr;
}

void Login::loadLogin()
{
    m_started = true;
    m_tokenKnown = m_storedKnown = m_confirming = false;
    const int attempt = ++m_attempt;
    makeView();
    m_view->load(QUrl(QStringLiteral("about:blank")));
    if (!m_unreachable)
        say(tr("正在连接服务器…"));
    QTimer::singleShot(SlowMs, this, [this, attempt] {
        m_unreachable = attempt == m_attempt && !m_tokenKnown;
        if (m_unreachable)
            say(tr("连接不上服务器，正在自动重试\n请检查网络"));
    });
    // The silent flag comes after the first call.
    QTimer::singleShot(0, this, [this] {
        if (!m_session && !m_silent && !m_confirming)
            show();
    });
    LoginRecord::load(this, UserInfo::thirdInfo(), [this, attempt](const QString &stored) {
        if (attempt != m_attempt)
            return;
        m_stored = stored;
        m_storedKnown = true;
        loadLoginBack();
    });
    Ask(Command::LoginInfo, {{QStringLiteral("thirdParty"), 0}})
        .within(m_answerMs)
        .any([this, attempt](int, const QJsonDocument &doc) {
            if (attempt >= m_firstAttempt && !m_tokenKnown)
                tokenReply(doc.object());
        })
        .send(this);
    m_again.disconnect();
    connect(&m_again, &QTimer::timeout, this, [this] {
        if (!m_tokenKnown)
            loadLogin();
    });
    m_again.start(m_answerMs);
}

void Login::tokenReply(const QJsonObject &reply)
{
    m_again.stop();
    m_tokenKnown = true;
    m_unreachable = false;
    m_loginInfo = reply;
    m_token = reply.value(QLatin1String("token")).toVariant().toString().toUtf8();
    UserInfo::setSessionToken(QString::fromUtf8(m_token));
    loadLoginBack();
}

void Login::loadLoginBack()
{
    if (!m_tokenKnown || !m_storedKnown)
        return;
    const QUrl url = LoginRules::pageUrl(Session::address(QStringLiteral("login")), UserInfo::language());
    qDebug().noquote() << "Login::loadLoginBack" << url.toString();
    makeView();
    say(tr("正在打开登录页…"));
    m_view->load(url);
    if (!m_autoRelogin)
        return;
    m_again.disconnect();
    connect(&m_again, &QTimer::timeout, this, [this] {
        if (m_autoRelogin && !m_confirming)
            show();
    });
    m_again.start(PageMs);
}

void Login::reloadPage()
{
    if (m_tokenKnown)
        loadLoginBack();
    else
        loadLogin();
}

void Login::loadFinish(bool ok)
{
    if (!m_view || m_view->url().scheme() == QLatin1String("about"))
        return;
    m_words->hide();
    m_view->show();
    m_view->setFocus();
    if (!ok || m_view->webPage()->failedUrl() == m_view->url()) {
        qWarning().noquote() << "Login::loadFinish" << m_view->url().toString() << "can't be loaded";
        if (m_autoRelogin && m_tokenKnown)
            QTimer::singleShot(ReloadMs, m_view, [this] {
                if (m_autoRelogin && !m_confirming)
                    loadLoginBack();
            });
    }
    checkSilent();
    if (ok)
        emit pageShown();
}

void Login::checkSilent()
{
    if (m_session || isVisible())
        return;
    LoginRules::Marks marks;
    LoginRules::infosForPage(m_stored, false, &marks);
    if (!m_silent || !marks.autoLogin)
        show();
}

QString Login::loadUserInfos() { return LoginRules::infosForPage(m_stored, m_autoRelogin, &m_marks); }

void Login::saveUserInfos(const QString &userInfo)
{
    QString info;
    if (!LoginRules::infosFromPage(userInfo, m_autoRelogin, m_marks, &info)) {
        show(); // the user has to see what the page says
        return;
    }
    if (m_auth.isEmpty())
        m_auth = info;
    login();
}

void Login::login()
{
    if (m_confirming)
        return;
    m_confirming = true;
    QTimer::singleShot(LoginDelayMs, this, &Login::loginDelay);
}

void Login::loginDelay()
{
    if (!m_confirming)
        return;
    const int attempt = m_attempt;
    Ask(Command::Login, LoginRules::confirmBody(UserInfo::isSlave(), UserInfo::masterUserId()))
        .within(m_answerMs)
        .any([this, attempt](int val, const QJsonDocument &doc) {
            if (attempt == m_attempt && m_confirming)
                confirmReply(val, doc);
        })
        .send(this);
    m_again.disconnect();
    connect(&m_again, &QTimer::timeout, this, &Login::loginDelay);
    m_again.start(m_answerMs);
}

void Login::confirmReply(int val, const QJsonDocument &doc)
{
    m_again.stop();
    m_confirming = false;
    // A good result without an account is none: everything of a session is kept under its number.
    const bool nobody = doc.object().value(QLatin1String("userId")).toVariant().toInt() <= 0;
    if (val != 1030900 || nobody) {
        const QString text = val != 1030900 ? ServerCall::codeText(val) : tr("服务器没有给出账号，请重新登录");
        qWarning().noquote() << "Login::confirmReply" << val << text;
        reLogin(110);
        MsgTool::msgOk(this, text);
        return;
    }
    if (!m_auth.isEmpty())
        LoginRecord::save(UserInfo::thirdInfo(), m_auth);
    const bool back = m_autoRelogin && sameAccount(doc.object());
    if (m_autoRelogin && !back) { // somebody else logged in on the page: nothing of the old account may go on
        qDebug().noquote() << "Login::confirmReply: another account";
        const QString token = UserInfo::token();
        endSession();
        UserInfo::setSessionToken(QString::fromUtf8(m_token));
        UserInfo::setAuth(token);
        NetWork::instance()->forgetDrives();
    }
    m_autoRelogin = false;
    CommonConfig::fromJson(doc.object());
    NetTcp::instance()->setLogin(true);
    hide();
    dropView();
    if (!back)
        return startSession(doc.object());
    qDebug().noquote() << "Login::confirmReply: the link is back";
    m_session->window()->shell()->setLoginInfo(m_loginInfo);
}

bool Login::sameAccount(const QJsonObject &account) const
{
    return m_session && account.value(QLatin1String("userId")).toVariant().toInt() == UserInfo::userId();
}

void Login::startSession(const QJsonObject &account)
{
    m_session = std::make_unique<ClientSession>(m_loginInfo, account, !m_silent);
    connect(m_session.get(), &ClientSession::reLogin, this, &Login::reLogin);
    connect(m_session.get(), &ClientSession::openLink, this, [this](int type) { linkDelegate(type, {}); });
    const QList<Push> early = std::exchange(m_pushes, {});
    for (const Push &push : early)
        m_session->window()->bsPush(push.val, push.doc, push.cmd);
    emit sessionBegan();
}

void Login::endSession()
{
    m_pushes.clear();
    if (!m_session)
        return;
    m_session.reset();
    TrayIcon::instance()->setCurWid(this);
}

void Login::leave()
{
    Leaving::ask(m_session ? static_cast<QWidget *>(m_session->window()) : this, [] { QCoreApplication::quit(); });
}

void Login::reLogin(int reason)
{
    qDebug().noquote() << QStringLiteral("重登:%1").arg(Session::errorText(reason));
    LoginRules::Relogin plan = LoginRules::relogin(reason);
    // Without a session there is nothing to restore: the page simply starts anew.
    const bool restore = plan.automatic && m_session;
    m_again.stop();
    m_confirming = m_tokenKnown = false;
    m_firstAttempt = ++m_attempt + 1;
    NetWork::instance()->forgetTokens();
    m_autoRelogin = restore;
    m_changeUser = plan.changeUser;
    if (plan.forgetDrives)
        NetWork::instance()->forgetDrives();
    m_auth.clear();
    NetTcp::instance()->setLogin(false);
    NetTcp::instance()->resetLink(reason);
    if (restore || !m_started)
        return;
    TrayIcon::instance()->setOnline(false);
    m_silent = m_silent && plan.automatic;
    if (!m_silent)
        show(); // before the main window closes, or that would be the last one
    endSession();
    if (plan.showText)
        MsgTool::msgOk(this, Session::errorText(reason));
    loadLogin();
}

void Login::linkLost() { reLogin(112); }

void Login::linkUp()
{
    if (m_started && (m_autoRelogin || !m_tokenKnown))
        loadLogin();
}

void Login::keepPush(int val, const QJsonDocument &doc, int cmd)
{
    if (m_session || !m_confirming)
        return; // the window listens itself
    if (m_pushes.size() < MostPushes)
        m_pushes.append({val, doc, cmd});
    else
        qWarning().noquote() << "Login::keepPush" << cmd << "dropped, too many before the session";
}

void Login::linkDelegate(int type, QString url)
{
    static const char *const kinds[] = {"loginLink",    "resetpwdLink", "balanceLink", "depositLink",
                                        "registerLink", "secret",       "customerQQ",  "enterpriseQQ"};
    if (url.isEmpty() && type >= 0 && type < int(std::size(kinds)))
        url = m_loginInfo.value(QLatin1String(kinds[type])).toString();
    if (!url.isEmpty())
        Links::open(QUrl::fromUserInput(url));
}

void Login::on_headClose_clicked()
{
    if (m_session)
        hide();
    else
        leave();
}
