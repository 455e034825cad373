#pragma once
// The one long-lived link to the business server. Made once by create(), on the main thread, and never moved; the main
// thread owns the socket, the timers and the tables. Everyone else reaches it by Ask (a bounded question) or by nvds;
// both only copy and post. A reply runs its callback on the asking thread, if its guard still lives. A request sent
// while the link is down, or before login (but for 10000, 10308, 10309), vanishes: Ask tells so, nvds doesn't.
//
// What ends the server's memory of a work, or takes money, follows what is on the medium here: the barrier runs before
// such a package leaves, on the asking thread or, for the main thread, on one of the pool. Where it fails the request
// vanishes as on a dead link.
//
// Life: not connected -> connected (heart beat ticks connect, every 6 s; 60 s once connected) -> logged in
// (setLogin(true)) -> lost: linkLost() and back to the start. A link ends also when three heart beats stay unanswered,
// or when a package that has begun isn't whole within a minute. After a link that ended at once the next attempt
// waits a second; after a kick 1, 2, 4 ... 60 s, until a link has held for a minute.
#include "common/Delivery.h"
#include "io/Ask.h"
#include "io/Package.h"
#include <functional>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
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

// All that the link waits for, in milliseconds; tests have their own.
struct LinkTimes {
    int heartOn = 60000, heartOff = 6000; // between two heart beats, connected and not
    int connect = 5000;                   // one attempt
    int package = 60000;                  // a package, from its first byte to its last
    int shortLife = 500;                  // a link that ended so soon isn't made anew at once
    int pause = 1000, longestPause = 60000;
    int stable = 60000;   // a link that held so long makes the pauses start anew
    int silentHearts = 3; // heart beats without an answer
};

class NetTcp : public QObject
{
    Q_OBJECT
public:
    static constexpr int DefaultPort = 29909;
    static void create(const LinkTimes &times = {}); // main thread, before anything asks; does nothing the second time
    static NetTcp *instance();                       // null, and a warning, before create() and after destroy()
    static void destroy();                           // at the program's end, on the main thread
    // module = cmd / 100. The body goes out as compact JSON. qo: the guard; without one the reply is dropped.
    void nvds(int module, int cmd, QJsonObject body, TcpBack func = {}, QObject *qo = nullptr);
    void nvds(int module, int cmd, QByteArray &body, TcpBack func = {}, QObject *qo = nullptr);

    using Barrier = bool (*)();
    static void setBarrier(Barrier barrier); // of the stores: what was committed is on the medium

    // Runs work on the guard's thread, which calls this, after each login from now on, and at once if there is one,
    // while the guard lives: for what the user wanted and a lost link may have swallowed.
    static void afterLogin(QObject *guard, const std::function<void()> &work);

    // Below: main thread only, but for isLogin().
    void setHost(const QString &host, int port); // for the next connect
    void reconnect(); // starts to connect, now, where nothing is connected or connecting; never waits
    void setLogin(bool on);
    static bool isLogin();
    // All that waits is lost; a new socket, connects. reason: of the new login; one of a kick makes it pause first.
    void resetLink(int reason = 0);
    QTcpSocket *socket() const { return m_socket; }
    int heartInterval() const { return m_heartTimer.interval(); }
    int pause() const { return m_pause.isActive() ? m_pause.interval() : 0; } // before the next attempt
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
    friend class Ask;
    struct Waiting {
        TcpBack func;
        Ask::Lost lost;
        std::function<void(const QByteArray &body)> bytes;
        Delivery way;
        QPointer<QObject> guard;
        QDeadlineTimer deadline{QDeadlineTimer::Forever};
        bool whenLinked = false;
        void end(Ask::Loss why) const;
    };
    struct Held { // until there is a login, or a link
        int module = 0, cmd = 0;
        QByteArray package;
        Waiting waiting;
    };

    explicit NetTcp(const LinkTimes &times);
    ~NetTcp() override;
    void post(int module, int cmd, const QByteArray &body, Waiting waiting);
    void makeSocket(bool connectNow);
    void connectToServer();
    void connectTimeOut();
    void packageTimeOut();
    bool mayGo(int cmd) const;
    void send(int module, int cmd, QByteArray package, Waiting waiting);
    void sendHeld();
    void loseAll();
    void watch(const QDeadlineTimer &deadline);
    void expire();

    const LinkTimes m_times;
    QTcpSocket *m_socket = nullptr;
    int m_seq = 0;
    QHash<int, Waiting> m_waiting; // by the number of the request
    QList<Held> m_held;
    QTimer m_deadline; // the earliest of those
    QTimer m_heartTimer;
    QTimer m_connectTimer; // bounds one attempt to connect
    QTimer m_packageTimer; // bounds one package
    QTimer m_pause;        // before the next attempt
    QTimer m_stable;
    QElapsedTimer m_life; // of the link, since it connected
    bool m_shortLived = false;
    int m_kicks = 0; // since a link was stable
    int m_silentHearts = 0;
    PackageReader m_parser;
    QString m_host;
    int m_port = DefaultPort;
};
