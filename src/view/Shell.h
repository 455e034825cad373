#pragma once
// What a page gets from the window around it, in place of the window: the account's facts, pushes, the engine's voice,
// and a few wishes as signals. A page is given it by its factory (PageTable) and knows nothing else of the frame. Main
// thread; owned by MainWindow, lives longer than its pages.
#include "resolve/ResolveScan.h"
#include <QJsonObject>
#include <QObject>
#include <QUrl>

class AccountFacts;
class EngineVoice;
class PushRouter;
class TaskDesk;
class QWidget;

class Shell : public QObject
{
    Q_OBJECT
public:
    Shell(const QJsonObject &loginInfo, QWidget *window);
    QWidget *window() const { return m_window; } // for dialogs over it
    AccountFacts *account() const { return m_account; }
    PushRouter *pushes() const { return m_pushes; }
    EngineVoice *voice() const { return m_voice; }
    TaskDesk *tasks() const { return m_tasks; }      // operations that are under way
    QString link(const QString &key) const;          // an address of the 10308 reply; empty where the server has none
    QUrl webUrl(const QString &key) const;           // ... of a web page, with the session behind it
    void setLoginInfo(const QJsonObject &loginInfo); // of a later login of the same account: a new token

signals:
    void showPage(QString key);
    void mark(QString key, bool on);         // the point that says "something new" at a page that isn't shown
    void openLink(int type);                 // kind of link of the 10308 reply
    void openTask(const QString &missionId); // the page of tasks shows this one; the page is brought forward before
    void updatesAsked();                     // of software, by hand
    void reLogin(int reason);
    void analysisStands(ResolveScan *scan);
    void loginInfoChanged();
    void pagesChanged(); // others are possible now

private:
    QWidget *m_window;
    AccountFacts *m_account;
    PushRouter *m_pushes;
    EngineVoice *m_voice;
    TaskDesk *m_tasks;
    QJsonObject m_loginInfo;
};
