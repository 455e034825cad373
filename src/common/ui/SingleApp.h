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
    static constexpr int MaxMessage = 2048, MessageMs = 500;
    // False: a client of the same user has it, and comes forward; it's told the message. Waits at most 500 ms for each.
    bool take(const QString &name, const QString &message = {});

signals:
    void showUp(); // another client wanted the place
    void told(QString message);

private:
    void welcome(QLocalSocket *other);
    LocalServer *m_server = nullptr;
};

class SingleApp : public QApplication
{
    Q_OBJECT
public:
    SingleApp(int &argc, char **argv);
    // True: start-up goes on. False: another instance answered under this name, and has the message.
    bool handshake(const QString &name, bool check, const QString &message = {});
    // One name per user and data folder. Where local sockets are files it is a path in a folder of the user alone.
    static QString instanceName(const QString &group);
    // The runtime folder, where it is this user's alone; else data, which is made.
    static QString folder(const QString &runtime, const QString &data);

    bool notify(QObject *receiver, QEvent *event) override;

signals:
    void showUp();
    void told(QString message); // by a second start

protected:
    bool event(QEvent *event) override;

private:
    Instance m_instance;
};
