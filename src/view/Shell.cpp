#include "view/Shell.h"
#include "common/UserInfo.h"
#include "task/TaskDesk.h"
#include "view/AccountFacts.h"
#include "view/EngineVoice.h"
#include "view/PushRouter.h"
#include "view/WebPanel.h"
#include <QWidget>

Shell::Shell(const QJsonObject &loginInfo, QWidget *window)
    : QObject(window), m_window(window), m_account(new AccountFacts(this)), m_pushes(new PushRouter(this)),
      m_voice(new EngineVoice(window)), m_tasks(new TaskDesk(this)), m_loginInfo(loginInfo)
{
}

QString Shell::link(const QString &key) const { return m_loginInfo.value(key).toString(); }

QUrl Shell::webUrl(const QString &key) const
{
    const QString url = link(key);
    return url.isEmpty() ? QUrl()
                         : WebPanel::rowUrl(url, link(QStringLiteral("token")), UserInfo::languageNumber() == 1);
}

void Shell::setLoginInfo(const QJsonObject &loginInfo)
{
    m_loginInfo = loginInfo;
    emit loginInfoChanged();
}
