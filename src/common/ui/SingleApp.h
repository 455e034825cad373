#pragma once
// The application object: the hand-shake of one instance per user (a second start connects to the first one's local
// server and ends, if that is the same user's; the first emits showUp() and comes forward), a good end when the system
// asks for one, and a limit on how long a web page's script may hold the window's thread. Main thread.
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

// The one place of a running client under a name.
class Instance : public QObject
{
    Q_OBJECT
public:
    bool take(const QString &name); // false: a client of the same user has it, and comes forward. Waits at most 500 ms

signals:
    void showUp(); // another client wanted the place

private:
    LocalServer *m_server = nullptr;
};

class SingleApp : public QApplication
{
    Q_OBJECT
public:
    SingleApp(int &argc, char **argv);
    // True: start-up goes on. False: another instance answered under this name. Waits at most 500 ms.
    bool handshake(const QString &name, bool check);
    // One name per user and data folder. Where local sockets are files it is a path in a folder of the user alone.
    static QString instanceName(const QString &group);
    // The runtime folder, where it is this user's alone; else data, which is made.
    static QString folder(const QString &runtime, const QString &data);

    bool notify(QObject *receiver, QEvent *event) override;

signals:
    void showUp();

protected:
    bool event(QEvent *event) override;

private:
    Instance m_instance;
};
