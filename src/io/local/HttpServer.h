#pragma once
// The local command API's listener: other tools on this machine and the local network drive the client through it.
// Lives on the main thread, made at login, owned by who made it; each request runs in a CmdHand of its own on a pool
// thread. Every answer is "HTTP/1.1 200 OK" with one JSON text, then the connection closes.
//
// A connection:  accepted -> reading -> [CmdHand runs] -> writing -> closed
// It is closed without an answer when the request is bad (HttpRequest), when reading and the command take more than
// TimeoutMs together, when writing does, and at once when MaxConnections are open.
#include "io/local/HttpRequest.h"
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

class HttpServer : public QObject
{
    Q_OBJECT
public:
    static constexpr int MaxConnections = 64;
    static constexpr int PieceSize = 10240;

    explicit HttpServer(QObject *parent = nullptr);
    ~HttpServer() override;        // closes all connections
    bool initHttpServer(int port); // all addresses; 0 takes a free port. False: not listening, logged
    quint16 port() const { return m_server.serverPort(); }
    int connections() const { return m_open.size(); }
    void setTimeout(int ms) { m_timeoutMs = ms; } // of connections to come; 30 s unless told

private slots:
    void newConnect();
    void socketRead();

private:
    struct Open {
        HttpRequest request;
        QTimer *timer = nullptr; // child of the socket
        bool running = false;    // handed to a CmdHand, or answered
        QByteArray out;
        int written = 0;
    };
    void dispatch(QTcpSocket *socket);
    void cmdOver(QTcpSocket *socket, const QByteArray &body);
    void writePiece(QTcpSocket *socket);
    void drop(QTcpSocket *socket, const char *why);
    void forget(QTcpSocket *socket);

    QTcpServer m_server;
    QHash<QTcpSocket *, Open> m_open;
    int m_timeoutMs = 30000;
};
