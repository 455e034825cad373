#include "view/LoginBridge.h"
#include "common/UserInfo.h"
#include "view/Login.h"

LoginBridge::LoginBridge(Login *login) : QObject(login), m_login(login) {}

QString LoginBridge::loadUserInfos() { return m_login->loadUserInfos(); }
QString LoginBridge::getSessionId() { return m_login->sessionId(); }
void LoginBridge::saveUserInfos(QString userInfo) { m_login->saveUserInfos(userInfo); }
void LoginBridge::setAuth(QString authInfo) { UserInfo::setAuth(authInfo); }
int LoginBridge::isChangeUser() { return m_login->changeUser(); }
void LoginBridge::login() { m_login->login(); }
int LoginBridge::appLang() { return UserInfo::languageNumber(); }
void LoginBridge::reloadErrorPage()
{
    QMetaObject::invokeMethod(
        m_login, [login = m_login] { login->reloadPage(); }, Qt::QueuedConnection);
}
