#pragma once
// What the login page sees under the name "Login": the contract between page script and client, nothing more. Main
// thread; owned by Login.
#include <QObject>
#include <QString>

class Login;

class LoginBridge : public QObject
{
    Q_OBJECT
public:
    explicit LoginBridge(Login *login);

    Q_INVOKABLE QString loadUserInfos();
    Q_INVOKABLE QString getSessionId();
    Q_INVOKABLE void saveUserInfos(QString userInfo);
    Q_INVOKABLE void setAuth(QString authInfo);
    Q_INVOKABLE int isChangeUser();
    Q_INVOKABLE void login();
    // For the program's own error page.
    Q_INVOKABLE int appLang();
    Q_INVOKABLE void reloadErrorPage();

private:
    Login *m_login;
};
