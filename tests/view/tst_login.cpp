// The login against a business server and a page of the test's own: what begins and ends with a session.
#include "common/CommonConfig.h"
#include "common/Session.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/SecretStore.h"
#include "common/ui/TrayIcon.h"
#include "common/ui/WebView.h"
#include "db/ResolveDAO.h"
#include "db/UserDAO.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/LeftMenu.h"
#include "view/LinkHand.h"
#include "view/Login.h"
#include "view/MainWindow.h"
#include "view/Resolve.h"
#include "view/SessionTimer.h"
#include "view/Shell.h"
#include "ViewRig.h"
#include <QMenu>

namespace
{
// Tells the test what it sees, by asking for it as a path.
QByteArray page(const QByteArray &script)
{
    return "<html><body><script>function tell(t){var r=new "
           "XMLHttpRequest();r.open('GET','/told?'+encodeURIComponent(t),true);r.send();}" +
           script + "</script></body></html>";
}
const QByteArray sees = "tell(Login.getSessionId()+' '+Login.isChangeUser()+' '+Login.loadUserInfos());";
const QByteArray saves = "Login.setAuth('auth-'+Login.getSessionId());"
                         "Login.saveUserInfos(JSON.stringify({failNum:0,username:'frieda',password:'p',rememberPsd:'"
                         "true',autoLogin:'false'}));";
const QByteArray logsIn = sees + "if(Login.isChangeUser()===0){" + saves + "}";
} // namespace

// A system without a store for secrets.
class NoSecrets : public SecretStore
{
public:
    void read(const QString &, const Answer &answer) override { answer(Unavailable, {}); }
    void write(const QString &, const QString &, const Answer &answer) override { answer(Unavailable, {}); }
};

class TestLogin : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_program;
    QScopedPointer<BusinessPeer> m_server;
    QScopedPointer<HttpPeer> m_web;
    QByteArray m_page;
    QScopedPointer<Login> m_login;
    int m_tokens = 0;

    QStringList told() const
    {
        QStringList list;
        for (const HttpPeer::Request &request : m_web->requests)
            if (request.path.startsWith("/told?"))
                list << QUrl::fromPercentEncoding(request.path.mid(6));
        return list;
    }
    void writeIni(const QByteArray &login)
    {
        QFile ini(m_program.filePath("service.ini"));
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[server]\nqnbs=http://127.0.0.1\nlogin=" + login + "\n");
        ini.close();
        UserInfo::setProgramDir(m_program.path());
        Session::clearAddresses();
    }
    void begin(bool silent = true, int answerMs = 15000) // the program's start
    {
        NetTcp::destroy();
        LinkTimes quick;
        quick.pause = 20;
        quick.longestPause = 100;
        NetTcp::create(quick);
        NetWork::create();
        m_login.reset(new Login);
        NetTcp::instance()->setHost("127.0.0.1", m_server->port());
        NetTcp::instance()->resetLink();
        m_login->setAnswerMs(answerMs);
        m_login->loadLogin();
        m_login->setSilent(silent);
    }
    bool inSession()
    {
        return comes([this] { return m_login->mainWindow() && Session::live() && NetTcp::isLogin(); });
    }
    int pages() const
    {
        return std::count_if(m_web->requests.begin(), m_web->requests.end(),
                             [](const HttpPeer::Request &r) { return r.path.startsWith("/xclient/loginPage"); });
    }

private slots:
    void initTestCase()
    {
        UserInfo::init({"VandrelQN"});
        UserInfo::setAllValue("Server", "clientPort", 0); // any free one
    }
    void init()
    {
        SecretStore::setInstance(std::make_unique<NoSecrets>());
        m_server.reset(new BusinessPeer);
        m_web.reset(new HttpPeer);
        m_web->answer = [this](const HttpPeer::Request &request) {
            return HttpPeer::response(request.path.startsWith("/xclient/loginPage") ? m_page : QByteArray("ok"));
        };
        m_page = page(logsIn);
        m_tokens = 0;
        m_server->answer(10308, [this](const BusinessPeer::Request &) {
            return BusinessPeer::Reply{1030800,
                                       {{"token", QString("token%1").arg(++m_tokens)},
                                        {"depositLink", "http://pay.example"},
                                        {"vipCenterUrl", m_web->url("/vip")}}};
        });
        m_server->answer(10309, 1030900, {{"userId", 41}, {"username", "frieda"}, {"parseTime", 77}, {"hashType", 1}});
        writeIni(m_web->url("?auto=1").toUtf8());
    }
    void cleanup()
    {
        QVERIFY2(m_server->faults.isEmpty(), qPrintable(m_server->faults.join(' ')));
        m_login.reset();
        Background::finish();
        QFile::remove(UserInfo::allUserDir() + "/user.db");
        UserInfo::setProgramDir({});
        Session::clearAddresses();
    }

    // From nothing to a session: token, page with its own query, record, confirmation, window, stores.
    void road()
    {
        begin();
        QVERIFY(inSession());
        QCOMPARE(m_server->last(10308), (QJsonObject{{"thirdParty", 0}}));
        QCOMPARE(m_server->last(10309), QJsonObject());
        QCOMPARE(m_web->requests.first().path, QByteArray("/xclient/loginPage?auto=1&version=qn"));
        QVERIFY2(told().value(0).startsWith("token"), qPrintable(told().join('|')));
        QVERIFY(told().value(0).endsWith("0 "));
        QCOMPARE(UserInfo::userId(), 41);
        QCOMPARE(UserInfo::hashType(), 2);
        QVERIFY(UserInfo::token().startsWith("auth-token"));
        QCOMPARE(CommonConfig::get().parseTime, 77);
        QVERIFY(TrayIcon::instance()->online());
        QVERIFY(!m_login->isVisible());
        QVERIFY2(!m_login->mainWindow()->isVisible(), "a silent start stays hidden");
        QTRY_VERIFY(ResolveDAO::instance()->isOpen());
        Background::finish();
        QVERIFY(UserDAO::instance()->info(UserInfo::thirdInfo()).contains("\"frieda\""));
    }

    void windowIsShownUnlessSilent()
    {
        m_page = page(sees);
        begin(false);
        QTRY_COMPARE(told().size(), 1);
        QTRY_VERIFY(m_login->isVisible());
        m_login->saveUserInfos(R"({"failNum":2})");
        // A heart beat that leaves behind the pause before a confirmation, and so behind one.
        QTimer::singleShot(30, this, [] { NetTcp::instance()->nvds(100, 10000, QJsonObject()); });
        QTRY_COMPARE(m_server->count(10000), 1);
        QCOMPARE(m_server->count(10309), 0);
        m_login->saveUserInfos(R"({"failNum":0})");
        m_login->login(); // pages that call both send one confirmation
        QVERIFY(inSession());
        QCOMPARE(m_server->count(10309), 1);
        QVERIFY(m_login->mainWindow()->isVisible());
    }
    void silentWithoutRecordShowsThePage()
    {
        m_page = page(sees);
        begin(true);
        QTRY_VERIFY(m_login->isVisible());
    }

    // The first request leaves before the link stands, or its answer never comes: the link's coming asks again.
    void tokenIsAskedForAgain()
    {
        m_server->silence(10308);
        begin();
        QTRY_VERIFY(m_server->count(10308) >= 1);
        QTRY_VERIFY(NetTcp::instance()->socket()->state() == QAbstractSocket::ConnectedState);
        m_server->answer(10308, 1030800, {{"token", "late"}});
        m_server->cut();
        QVERIFY(comes([this] { return m_server->links() >= 2; }));
        QVERIFY(inSession());
        QVERIFY(told().value(0).startsWith("late "));
    }

    // The link stands, but the server is silent: each step is asked for again.
    void silentServer()
    {
        m_server->silence(10308);
        m_server->silence(10309);
        begin(true, 100);
        QTRY_VERIFY(m_server->count(10308) >= 2);
        m_server->answer(10308, 1030800, {{"token", "late"}});
        QTRY_VERIFY(m_server->count(10309) >= 2);
        m_server->answer(10309, 1030900, {{"userId", 41}, {"username", "frieda"}});
        QVERIFY(inSession());
    }

    // Nobody looks at an empty window: it tells what it waits for.
    void serverThatDoesNotAnswer()
    {
        m_server->silence(10308);
        begin(false);
        const auto *words = m_login->findChild<QLabel *>("quiet");
        QTRY_COMPARE(words->text(), QString("正在连接服务器…"));
        QTRY_VERIFY(words->isVisible() && words->text().contains("请检查网络"));
        m_page = page(sees);
        m_server->answer(10308, 1030800, {{"token", "late"}});
        m_login->linkUp();
        QTRY_VERIFY(told().size() == 1 && !words->isVisible());
    }

    // A server slower than the client's patience: an answer to an earlier request counts too.
    void slowToken()
    {
        m_server->silence(10308);
        begin();
        QTRY_VERIFY(m_server->count(10308) >= 1);
        const BusinessPeer::Request first = m_server->requests(10308).last();
        m_login->loadLogin(); // as after a time without an answer
        QTRY_VERIFY(m_server->requests(10308).last().seq > first.seq);
        m_server->reply(first, 1030800, {{"token", "slow"}});
        QVERIFY(inSession());
        QVERIFY(told().value(0).startsWith("slow "));
    }

    void refusedConfirmation_data()
    {
        columns<int, QJsonValue, QString>("val", "user", "text");
        addRow("refused", 1040022, QJsonValue(5), "账户信息获取失败 (1040022)");
        for (const QJsonValue &user : {QJsonValue(), QJsonValue(0), QJsonValue("x")})
            QTest::addRow("good, but for %s", qPrintable(user.toVariant().toString()))
                << 1030900 << user << "服务器没有给出账号，请重新登录";
    }
    void refusedConfirmation()
    {
        FETCH(int, val, QJsonValue, user);
        m_server->answer(10309, val, {{"userId", user}, {"username", "frieda"}});
        begin();
        QTRY_VERIFY(!message().isEmpty());
        QTEST(message(), "text");
        QVERIFY(!m_login->mainWindow());
        QTRY_VERIFY(told().size() >= 2);
        QVERIFY2(told().last().contains(" 1 "), "the page must not log in by itself again");
        QVERIFY(m_login->isVisible());
        QVERIFY(answer("确定"));
        QCOMPARE(m_server->count(10309), 1);
    }

    // Link loss and an illegal request restore by themselves; window, queues and stores stay.
    void automaticRelogin_data()
    {
        QTest::addColumn<int>("reason");
        addRow("link lost", 112);
        addRow("illegal request", 1000100);
    }
    void automaticRelogin()
    {
        QFETCH(int, reason);
        begin();
        QVERIFY(inSession());
        QPointer<MainWindow> window = m_login->mainWindow();
        QTRY_VERIFY(ResolveDAO::instance()->isOpen());
        const int before = pages();
        QSignalSpy changes(NetTcp::instance(), &NetTcp::loginChanged); // lost, and back
        if (reason == 112)
            m_server->cut();
        else
            m_server->push(10001, reason, {});
        QVERIFY(comes([&] { return changes.size() >= 2 && NetTcp::isLogin(); }));
        QVERIFY(pages() > before);
        QVERIFY2(told().last().contains("\"autoLogin\":\"true\"") && told().last().contains("\"rememberPsd\":\"true\""),
                 qPrintable(told().last()));
        QCOMPARE(window.data(), m_login->mainWindow());
        QVERIFY(SessionTimer::running() && ResolveDAO::instance()->isOpen());
        QVERIFY(TrayIcon::instance()->online());
        QVERIFY(!m_login->isVisible() && !m_login->autoRelogin());
        QCOMPARE(message(), QString());
        auto *menu = window->findChild<LeftMenu *>();
        menu->selectPage("vipCenterUrl");
        const QByteArray vip = "/vip?sessionid=token" + QByteArray::number(m_tokens);
        QTRY_VERIFY2(m_web->requests.last().path.startsWith(vip), "web pages get the token that holds");
        Background::finish();
        QVERIFY2(UserDAO::instance()->info(UserInfo::thirdInfo()).contains("\"autoLogin\":\"false\""), "the user's own marks are kept");
    }

    // Somebody else logs in on the page while the link was lost: nothing of the first account goes on under the second.
    void otherAccountAfterLinkLoss()
    {
        begin();
        QVERIFY(inSession());
        QPointer<MainWindow> window = m_login->mainWindow();
        m_server->answer(10309, 1030900, {{"userId", 52}, {"username", "otto"}, {"parseTime", 5}});
        m_server->cut();
        QVERIFY(comes([&] { return !window && m_login->mainWindow(); }));
        QVERIFY(inSession());
        QCOMPARE(UserInfo::userId(), 52);
        QCOMPARE(CommonConfig::get().parseTime, 5);
        QCOMPARE(UserInfo::token(), QString("auth-token%1").arg(m_tokens));
        QTRY_VERIFY(ResolveDAO::instance()->isOpen() && !m_login->isVisible());
    }

    // By hand, a changed password, kicks: the session is gone, the page is back, a kick's text doesn't block it.
    void endingRelogin_data()
    {
        QTest::addColumn<QString>("text");
        addRow("110", "");
        addRow("111", "");
        addRow("1000101", "账号已异地登录");
        addRow("1000102", "账号信息有变动，请检查或重新登录");
    }
    void endingRelogin()
    {
        QFETCH(QString, text);
        const int reason = QString(QTest::currentDataTag()).toInt();
        begin();
        QVERIFY(inSession());
        QPointer<MainWindow> window = m_login->mainWindow();
        // A deletion that could still be taken back is done before the session goes.
        QList<db_resolve> rows{scene(900, 106)};
        QTRY_VERIFY(ResolveDAO::instance()->isOpen() && ResolveDAO::instance()->insertBatch(&rows));
        auto *scenes = window->findChild<Resolve *>();
        const QString key = ResolveRows::key(rows.first().rkey);
        scenes->refresh();
        QTRY_VERIFY(scenes->model()->contains(key));
        scenes->table()->view()->select({key});
        scenes->delAct();
        QVERIFY(answer("删除任务"));
        QSignalSpy deleted(ResolveDAO::instance(), &ResolveDAO::resolveDeleted);
        const int before = pages();
        if (reason > 1000)
            m_server->push(10001, reason, {});
        else
            emit window->shell()->reLogin(reason);
        QTRY_VERIFY(!window);
        QCOMPARE(deleted.size(), 1);
        QVERIFY(!SessionTimer::running() && !Session::live());
        QVERIFY(m_login->isVisible() && !m_login->autoRelogin());
        QVERIFY(!TrayIcon::instance()->online());
        QCOMPARE(UserInfo::userId(), 0);
        QCOMPARE(CommonConfig::get().parseTime, 0);
        QTRY_COMPARE(message(), text);
        QTRY_VERIFY2(pages() > before, "the page loads behind the message");
        QTRY_VERIFY(told().last().contains(" 1 "));
        Background::finish();
        QVERIFY(!ResolveDAO::instance()->isOpen());
        if (!text.isEmpty())
            QVERIFY(answer("确定"));
        m_login->saveUserInfos(R"({"failNum":0,"username":"otto"})"); // another account follows
        QVERIFY(inSession());
        QVERIFY(m_login->mainWindow() && ResolveDAO::instance()->isOpen());
    }
    void reloginWithoutSession()
    {
        m_page = page(sees);
        begin(false);
        QTRY_COMPARE(told().size(), 1);
        m_server->cut(); // nothing to restore: the page starts anew and the user logs in
        QVERIFY(comes([this] { return told().size() >= 2; }));
        QVERIFY(!m_login->autoRelogin());
        m_login->saveUserInfos(R"({"failNum":0})");
        QVERIFY(inSession());
    }

    // Results that the farm pushes in the same breath as its answer wait for window and queue.
    void earlyPushesAreKept()
    {
        m_server->answer(10309, [this](const BusinessPeer::Request &request) {
            m_server->reply(request, 1030900, {{"userId", 42}, {"username", "frieda"}});
            m_server->push(10413, 1041300, {{"prefixPath", "7_shot/"}, {"missionId", 7}});
            m_server->push(10413, 1041300, {{"prefixPath", "8_shot/"}, {"missionId", 8}});
            return BusinessPeer::Reply{0, {}, true};
        });
        begin();
        QVERIFY(inSession());
        QTRY_VERIFY(m_server->count(10805) >= 1 || m_server->count(10413) >= 1);
    }

    void pageThatFails()
    {
        m_web->answer = [this](const HttpPeer::Request &request) {
            return request.path.contains("loginPage") && pages() < 2 ? HttpPeer::response("", "500 no") : HttpPeer::response(m_page);
        };
        begin();
        QTRY_VERIFY2(m_login->isVisible(), "who starts hidden is shown what is wrong");
        m_login->reloadPage();
        QVERIFY(inSession());
    }

    // Where the page leads on to another server, that one's first script finds nothing of the client; on its own server
    // a page finds the methods and nothing else of the object, even before it's loaded.
    void pagesSeeWhatTheyMay_data()
    {
        QTest::addColumn<bool>("elsewhere");
        addRow("own server", false);
        addRow("led elsewhere", true);
    }
    void pagesSeeWhatTheyMay()
    {
        QFETCH(bool, elsewhere);
        HttpPeer other;
        m_page = page("tell([typeof window.Login, typeof window.handOver, window.Login ? Object.keys(Login).sort().join() + "
                      "[typeof Login.deleteLater, typeof Login.destroyed, typeof Login.objectName] : ''].join(' '));");
        other.answer = [this](const HttpPeer::Request &) { return HttpPeer::response(m_page); };
        if (elsewhere)
            m_web->answer = [&](const HttpPeer::Request &) {
                return HttpPeer::response("", "302 Found", "Location: " + other.url("/next").toUtf8() + "\r\n");
            };
        begin(false);
        const auto seen = [&] {
            const QList<HttpPeer::Request> all = elsewhere ? other.requests : m_web->requests;
            for (const HttpPeer::Request &request : all)
                if (request.path.startsWith("/told?"))
                    return QUrl::fromPercentEncoding(request.path.mid(6));
            return QString();
        };
        QTRY_COMPARE(seen(), elsewhere ? QString("undefined undefined ")
                                       : QString("object undefined appLang,getSessionId,isChangeUser,loadUserInfos,login,"
                                                 "reloadErrorPage,saveUserInfos,setAuthundefined,undefined,undefined"));
    }
    // A script without an end, twice: the client comes back and its close button works.
    void endlessScript()
    {
        m_page = page("for (;;);");
        begin(false);
        for (int i = 0; i < 2; ++i) {
            QTRY_COMPARE(pages(), i + 1);
            QSignalSpy loaded(m_login->findChild<WebView *>(), &QWebView::loadFinished);
            QTRY_VERIFY_WITH_TIMEOUT(!loaded.isEmpty(), 60000);
            m_login->reloadPage();
        }
    }

    // The session's end meets a page whose script waits for an answer.
    void endsUnderAQuestion()
    {
        m_page = page("tell('asks');confirm('sure?');");
        begin(false);
        QPointer<WebView> view;
        QTimer look;
        connect(&look, &QTimer::timeout, this, [&] {
            if (view || message() != "sure?")
                return;
            view = m_login->findChild<WebView *>();
            m_login.reset();
        });
        look.start(1);
        QTRY_VERIFY(!m_login && !view);
    }
    // A link from outside waits for the session, and does nothing that the user hasn't agreed to.
    void linkAsksFirst()
    {
        begin();
        LinkHand hand(m_login.data());
        for (const char *link : {"vandrel://task/0", "vandrel://task/8", "http://x", "vandrel://task/7"})
            hand.take(link);
        QVERIFY(inSession());
        QSignalSpy opened(m_login->mainWindow()->shell(), &Shell::openTask);
        QTRY_VERIFY(message().contains(" 7"));
        hand.take("vandrel://task/9"); // no wall of questions
        QVERIFY(message().contains(" 7") && answer("取消") && opened.isEmpty());
        hand.take("vandrel://task/9");
        QVERIFY(answer("确定"));
        QCOMPARE(opened.value(0).value(0).toInt(), 9);
    }

    // By the menu of the account: the page is told that another one may log in, and doesn't do so by itself.
    void anotherAccountByHand_data()
    {
        QTest::addColumn<bool>("tray");
        addRow("the window's menu", false);
        addRow("the tray's menu", true);
    }
    void anotherAccountByHand()
    {
        QFETCH(bool, tray);
        begin();
        QVERIFY(inSession());
        QPointer<MainWindow> window = m_login->mainWindow();
        QAction *change = nullptr;
        for (QWidget *menu : QApplication::topLevelWidgets())
            for (QAction *action : menu->actions())
                if (action->text() == "切换账号" && tray == !menu->parentWidget())
                    change = action;
        QVERIFY(change);
        change->trigger();
        QTRY_VERIFY(!window && m_login->isVisible());
        QTRY_VERIFY(told().last().contains(" 1 "));
        QVERIFY(!m_login->autoRelogin() && !m_login->mainWindow());
    }

    // The end ends the session first, wherever it comes from.
    void leaving_data()
    {
        QTest::addColumn<bool>("session");
        addRow("login window", false);
        addRow("session, by the tray", true);
    }
    void leaving()
    {
        QFETCH(bool, session);
        if (!session)
            m_page = page(sees);
        begin(false);
        QTRY_VERIFY(m_login->isVisible());
        if (session)
            QVERIFY(inSession());
        QTimer late;
        connect(&late, &QTimer::timeout, qApp, [] { qApp->exit(5); });
        late.start(10000);
        QTimer::singleShot(0, this, [&] {
            if (session)
                emit TrayIcon::instance()->leave();
            else
                QTest::mouseClick(m_login->findChild<QToolButton *>("headClose"), Qt::LeftButton);
        });
        QCOMPARE(qApp->exec(), 0);
        QVERIFY(!m_login->mainWindow() && !SessionTimer::running() && !Session::live());
        Session::setClosing(false);
    }
};

VN_TEST(TestLogin)
#include "tst_login.moc"
