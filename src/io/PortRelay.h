#pragma once
// Forwards ports of this machine to servers, for subordinate seats of a master whose system has no such service. One
// instance for the program, on a thread of its own, made on first use, ended with the application. Bytes pass
// unchanged, but for the request line that an HTTP client meant for a proxy: the server sees it as if asked directly;
// and a CONNECT to the port's own server, which is answered here: an https client talks to its server behind it.
#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPair>
#include <QTcpServer>
#include <QThread>

struct Forward;
class QTcpSocket;

class PortRelay : public QObject
{
    Q_OBJECT
public:
    static PortRelay *instance(); // any thread; null once the application has ended

    bool
    open(const Forward &forward); // waits until the port listens; true when it does, also if it did before. Any thread
    // A connection of this machine from that port is the far end of a forwarded one. Any thread.
    static bool carries(quint16 fromPort);
    // "GET http://host:80/path HTTP/1.1" as "GET /path HTTP/1.1"; anything else unchanged.
    static QByteArray directRequest(const QByteArray &bytes);
    // What a connection begins with: a whole CONNECT to that server (its length), one to another or too long (-1), no
    // CONNECT (0), or not to be told yet (Undecided).
    static int connectHead(const QByteArray &bytes, const QString &host, int port);
    static constexpr int MaxConnect = 8192, Undecided = MaxConnect + 1;

private:
    PortRelay();
    bool listen(const Forward &forward);
    void join(QTcpSocket *seat, const QString &host, int port);

    QThread m_thread;
    QHash<int, QPair<QString, int>> m_ports; // port -> server
};
