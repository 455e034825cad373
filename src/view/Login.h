#pragma once
// The login window and the life of a session. The page in its web view shows the form and talks to the servers; this
// class fetches the token for it, confirms what it tells, and builds and ends the session. One object per process, on
// the main thread, over all re-logins.
//
//   no session --loadLogin--> page loading --10308, page loaded--> page shown --saveUserInfos--> confirming (10309)
//   confirming --1030900--> in session          confirming --else--> page loading (reason 110)
//   in session --link lost, 1000100--> reconnecting (window and queues stay, page hidden) --linkUp--> page loading
//   in session --other reason--> page loading, window and stores gone
#include "common/ui/BaseWidget.h"
#include "view/LoginRules.h"
#include <memory>
#include <QJsonDocument>
#include <QTimer>

class ClientSession;
class LoginBridge;
class MainWindow;
class WebView;
class QLabel;

class Login : public BaseWidget
{
    Q_OBJECT
public:
    Login();
    ~Login() override;
    static Login *instance(); // null until the window exists
    void setSilent(bool silent);
    void setAnswerMs(int ms); // how long 10308 and 10309 are waited for before they are sent again
    MainWindow *mainWindow() const;
    bool autoRelogin() const { return m_autoRelogin; }
    QJsonObject loginInfo() const { return m_loginInfo; }
    QString userRecord() const { return m_auth; } // the last that the page gave; empty when nobody is logged in

    // What the page asks for (LoginBridge).
    QString loadUserInfos();
    QString sessionId() const { return QString::fromUtf8(m_token); }
    void saveUserInfos(const QString &userInfo);
    int changeUser() const { return m_changeUser; }
    void reloadPage();

signals:
    void pageShown();    // the login page stands
    void sessionBegan(); // mainWindow() is there

public slots:
    void loadLogin(); // asks for a token and then loads the page
    void reLogin(int reason);
    void linkUp(); // the business link has connected
    void login();  // the page has logged in: confirm it soon
    void loginDelay();
    void loadFinish(bool ok);
    void endSession();                        // nothing of it runs any more when it returns; does nothing without one
    void leave();                             // the program's end by hand: asks first while uploads or analyses run
    void checkSilent();                       // shows the window where nobody else would log in
    void linkDelegate(int type, QString url); // opens a link of the 10308 reply, or url; web and mail addresses
    void on_headClose_clicked() override;

private:
    void linkLost();
    void tokenReply(const QJsonObject &reply);
    void loadLoginBack();
    void confirmReply(int val, const QJsonDocument &doc);
    void startSession(const QJsonObject &account);
    void keepPush(int val, const QJsonDocument &doc, int cmd);
    bool sameAccount(const QJsonObject &account) const;
    void say(const QString &text); // in place of the page, while there is none
    void makeView();
    void dropView();

    struct Push {
        int val;
        QJsonDocument doc;
        int cmd;
    };

    LoginBridge *m_bridge = nullptr;
    WebView *m_view = nullptr;
    QLabel *m_words = nullptr;
    std::unique_ptr<ClientSession> m_session;
    QByteArray m_token;
    QString m_auth;   // last record given by the page; empty when nobody is logged in
    QString m_stored; // the brand's row of user.db
    QJsonObject m_loginInfo;
    LoginRules::Marks m_marks;
    QList<Push> m_pushes; // that came before the main window
    int m_answerMs;
    QTimer m_again; // bounds the wait for 10308, 10309 and, while reconnecting, for the page
    int m_changeUser = 0;
    int m_attempt = 0;      // numbers the token requests
    int m_firstAttempt = 0; // of this link: answers to earlier ones are dropped, a slow one to a later one still counts
    bool m_autoRelogin = false, m_silent = false;
    bool m_tokenKnown = false, m_storedKnown = false; // of this attempt
    bool m_confirming = false;
    bool m_unreachable = false; // the server hasn't answered for a while
    bool m_started = false;     // loadLogin was called once
};
