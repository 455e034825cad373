#pragma once
// One session, from the confirmed login to its end: the main window, the stores and queues (SessionTimer), the local
// API, the tray's mark. Its making starts them, its destruction ends them, and nobody else does either. Main thread;
// owned by Login, which hears its window's wishes by the two signals.
#include <memory>
#include <QJsonObject>
#include <QObject>
#include <QPointer>

class HttpServer;
class MainWindow;
class PluginListen;

class ClientSession : public QObject
{
    Q_OBJECT
public:
    // account: the 10309 reply; loginInfo: the 10308 reply.
    ClientSession(const QJsonObject &loginInfo, const QJsonObject &account, bool shown);
    ~ClientSession() override;
    MainWindow *window() const { return m_window.get(); }

signals:
    void reLogin(int reason);
    void openLink(int type);

private:
    void queuesStand();
    std::unique_ptr<MainWindow> m_window;
    HttpServer *m_server = nullptr;
    QPointer<PluginListen> m_plugins; // on a thread of the pool, which may end it first
};
