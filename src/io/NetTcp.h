#pragma once
// The one long-lived link to the business server. A process-wide singleton, made by the first instance() on the main
// thread and never moved; the main thread owns the socket, the timer and the tables. Everyone else reaches it by nvds,
// which only copies and posts. A reply runs the callback on the asking thread, if its guard still lives; a request sent
// while the link is down, or before login (but for 10000, 10308, 10309), vanishes: callers bound their own wait.
//
// What ends the server's memory of a work, or takes money, follows what is on the medium here: the barrier runs before
// such a package leaves, on the asking thread or, for the main thread, on one of the pool. Where it fails the request
// vanishes as on a dead link.
//
// Life: not connected -> connected (heart beat ticks connect, every 6 s; 60 s once connected) -> logged in
// (setLogin(true)) -> lost: linkLost() and back to the start.
#include "io/Delivery.h"
#include "io/Package.h"
#include <functional>
#include <QElapsedTimer>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaType>
#include <QObject>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

using TcpBack = std::function<void(int val, QJsonDocument doc)>;
Q_DECLARE_METATYPE(TcpBack)

// Hands one reply to its callback, on the asking thread; made there for that one call.
class BackTcpTool : public QObject
{
    Q_OBJECT
public:
    // Nothing happens when the guard is gone. A body that isn't JSON gives a null document.
    Q_INVOKABLE void beginBack(TcpBack func, RecvPackageHead head, QByteArray ret, QPointer<QObject> po);
};

class NetTcp : public QObject
{
    Q_OBJECT
public:
    static constexpr int DefaultPort = 29909;
    static NetTcp *instance();
    static void destroy(); // at the program's end, on the main thread
    // module = cmd / 100. The body goes out as compact JSON. qo: the guard; without one the reply is dropped.
    void nvds(int module, int cmd, QJsonObject body, TcpBack func = {}, QObject *qo = nullptr);
    void nvds(int module, int cmd, QByteArray &body, TcpBack func = {}, QObject *qo = nullptr);

    using Barrier = bool (*)();
    static void setBarrier(Barrier barrier); // of the stores: what was committed is on the medium

    // Below: main thread only, but for isLogin().
    void setHost(const QString &host, int port); // for the next connect
    void reconnect(); // starts to connect where nothing is connected or connecting; never waits
    void setLogin(bool on);
    static bool isLogin();
    void resetLink(); // forgets all that waits for replies, a new socket, connects
    QTcpSocket *socket() const { return m_socket; }
    int heartInterval() const { return m_heartTimer.interval(); }
    int pending() const { return m_waiting.size(); }
    int badHeads() const { return m_parser.badHeads(); }

signals:
    void signalRecvPackage(QByteArray data, qlonglong len);
    void bsPush(int val, QJsonDocument doc, int cmd);
    void bsStream(int cmd, int val, QByteArray data);
    // For Login and TrayIcon, which live above this layer.
    void linkUp();              // the socket has connected
    void linkLost();            // the socket is gone
    void kicked(int reason);    // push 10001
    void loginChanged(bool on); // setLogin

private slots:
    void connected();
    void error(QAbstractSocket::SocketError err);
    void disconnected();
    void readyRead();
    void recvPackage(QByteArray package, qlonglong len);
    void heart();

private:
    static constexpr int HeartOnMs = 60000, HeartOffMs = 6000, ConnectMs = 5000;
    static constexpr int ShortLifeMs = 500, PauseMs = 1000; // a link that ended so soon isn't made anew at once
    struct Waiting {
        TcpBack func;
        Delivery way;
        QPointer<QObject> guard;
    };

    NetTcp();
    void post(int module, int cmd, const QByteArray &body, TcpBack func, QObject *qo);
    void makeSocket(bool connectNow);
    void connectToServer();
    void send(int module, int cmd, QByteArray package, Waiting waiting);

    QTcpSocket *m_socket = nullptr;
    int m_seq = 0;
    QHash<int, Waiting> m_waiting; // by the number of the request
    QTimer m_heartTimer;
    QTimer m_connectTimer; // bounds one attempt to connect
    QElapsedTimer m_life;  // of the link, since it connected
    bool m_shortLived = false;
    PackageReader m_parser;
    QString m_host;
    int m_port = DefaultPort;
};
