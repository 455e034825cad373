#pragma once
// The local command API's listener: other tools on this machine and the local network drive the client through it.
// Lives on the main thread, made at login, owned by who made it; each request runs in a CmdHand of its own on a pool
// thread. Every answer is "HTTP/1.1 200 OK" with one JSON text, then the connection closes;
// a route that streams (a log, a picture) answers with a chunked body, each piece once the last has gone out. A stream
// may be silent for as long as it likes; it ends with its caller.
//
// A connection:  accepted -> reading -> [CmdHand runs] -> writing -> closed
// Who may ask is judged by the head (HttpGuard), before a byte of the body is kept. It is closed without an answer when
// the request is bad (HttpRequest), when reading and the command take more than TimeoutMs together, when writing does,
// and at once when MaxConnections are open. All bodies together, read or being worked on, hold MaxBodies bytes at most:
// the one that would go beyond is refused.
#include "io/local/HttpGuard.h"
#include "io/local/HttpRequest.h"
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

class CmdHand;

// Tells the giver of a stream, on whatever thread, that the next piece may come; goes with the caller's socket.
class StreamTaker : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
signals:
    void taken();
};

class HttpServer : public QObject
{
    Q_OBJECT
public:
    static constexpr int MaxConnections = 64;
    static constexpr int PieceSize = 10240;
    static constexpr qint64 MaxBodies = HttpRequest::MaxBody;

    explicit HttpServer(QObject *parent = nullptr);
    ~HttpServer() override; // closes all connections
    // All addresses; 0 takes a free port. False: not listening, logged once, and tried again until the port is free.
    bool initHttpServer(int port);
    quint16 port() const { return m_server.serverPort(); }
    int connections() const { return m_open.size(); }
    qint64 bodies() const { return m_bodies; }    // bytes held
    void setTimeout(int ms) { m_timeoutMs = ms; } // of connections to come; 30 s unless told
    void setRetry(int ms) { m_retryMs = ms; }     // until the port is tried again; 10 s unless told

private slots:
    void newConnect();
    void socketRead();

private:
    struct Open {
        HttpRequest request;
        QTimer *timer = nullptr; // child of the socket
        bool running = false;    // handed to a CmdHand, or answered
        bool judged = false;     // by its head
        qint64 held = 0;         // of m_bodies
        QByteArray out;
        int written = 0;
        StreamTaker *taker = nullptr; // child of the socket
        bool streams = false, last = false;
    };
    bool judge(QTcpSocket *socket); // false: refused, answered
    bool hold(QTcpSocket *socket);  // false: too much in all, answered
    void refuse(QTcpSocket *socket, const QByteArray &answer);
    void dispatch(QTcpSocket *socket);
    static HttpGuard::Link linkOf(const QTcpSocket *socket);
    void cmdOver(QTcpSocket *socket, const QByteArray &body);
    void stream(QTcpSocket *socket, CmdHand *hand);
    void chunk(QTcpSocket *socket, const QByteArray &bytes, bool last);
    void writePiece(QTcpSocket *socket);
    void drop(QTcpSocket *socket, const char *why);
    void forget(QTcpSocket *socket);

    QTcpServer m_server;
    QHash<QTcpSocket *, Open> m_open;
    qint64 m_bodies = 0;
    int m_timeoutMs = 30000, m_retryMs = 10000;
    bool m_taken = false; // by another program, when it was tried last
};
