#pragma once
// The application object with the hand-shake of one instance per user. Main thread. A second start connects to the
// first one's local server and ends; the first emits showUp() and comes forward.
#include <QApplication>
#include <QLocalServer>
#include <QLocalSocket>

class LocalSocketClient : public QLocalSocket
{
    Q_OBJECT
public:
    using QLocalSocket::QLocalSocket;
};

class LocalServer : public QLocalServer
{
    Q_OBJECT
public:
    using QLocalServer::QLocalServer;
};

class SingleApp : public QApplication
{
    Q_OBJECT
public:
    SingleApp(int &argc, char **argv);
    // True: start-up goes on. False: another instance answered under this name. Waits at most 500 ms.
    bool handshake(const QString &name, bool check);
    // One name per user: on systems whose local sockets are shared by all users the user's number stands behind group.
    static QString instanceName(const QString &group);

signals:
    void showUp();

private:
    QLocalSocket *m_socket = nullptr;
    QLocalServer *m_server = nullptr;
};
