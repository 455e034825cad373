#include "io/local/HttpServer.h"
#include "common/Seam.h"
#include "common/UserInfo.h"
#include "common/WindowCalls.h"
#include "io/local/CmdHand.h"
#include "io/PortRelay.h"
#include <QDebug>
#include <QNetworkProxy>
#include <utility>

namespace
{
constexpr qint64 ReadSize = 256 * 1024;
}

HttpServer::HttpServer(QObject *parent) : QObject(parent)
{
    m_server.setProxy(QNetworkProxy::NoProxy);
    m_server.setMaxPendingConnections(MaxConnections);
    connect(&m_server, &QTcpServer::newConnection, this, &HttpServer::newConnect);
}

HttpServer::~HttpServer()
{
    m_server.close();
    const QList<QTcpSocket *> sockets = m_open.keys();
    for (QTcpSocket *socket : sockets) {
        socket->disconnect(this);
        socket->abort();
    }
}

bool HttpServer::initHttpServer(int port)
{
    CmdHand::initCmh();
    const bool again = std::exchange(m_taken, false);
    if (m_server.listen(QHostAddress::Any, quint16(port))) {
        if (again)
            qDebug().noquote() << "HttpServer::initHttpServer" << port << "is free now";
        return true;
    }
    m_taken = true;
    if (!again)
        qWarning().noquote() << "HttpServer::initHttpServer" << port << m_server.errorString();
    QTimer::singleShot(m_retryMs, this, [this, port] { initHttpServer(port); });
    return false;
}

void HttpServer::newConnect()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        qDebug().noquote() << "HttpServer::newConnect" << socket->peerAddress().toString() << socket->peerPort()
                           << socket->localAddress().toString() << socket->localPort();
        if (m_open.size() >= MaxConnections) {
            qWarning().noquote() << "HttpServer::newConnect: too many connections, closed";
            socket->abort();
            socket->deleteLater();
            continue;
        }
        Open open;
        open.timer = new QTimer(socket);
        open.timer->setSingleShot(true);
        open.timer->start(m_timeoutMs);
        connect(open.timer, &QTimer::timeout, this, [this, socket] { drop(socket, "took too long"); });
        m_open.insert(socket, open);
        socket->setReadBufferSize(ReadSize); // a caller that is refused isn't read further
        connect(socket, &QTcpSocket::readyRead, this, &HttpServer::socketRead);
        connect(socket, &QTcpSocket::bytesWritten, this, [this, socket] { writePiece(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { forget(socket); });
    }
}

void HttpServer::socketRead()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    const auto it = m_open.find(socket);
    if (it == m_open.end())
        return;
    const QByteArray data = socket->readAll();
    if (it->running)
        return;
    const HttpRequest::State state = it->request.feed(data);
    if (state == HttpRequest::Bad) {
        drop(socket, it->request.why());
        return;
    }
    if (!it->request.headRead())
        return;
    const bool first = !it->judged;
    if ((first && !judge(socket)) || !hold(socket))
        return;
    if (state == HttpRequest::Complete)
        dispatch(socket);
    // Some tools hold a longer body back until they are told to go on.
    else if (first && it->request.header("expect").toLower() == "100-continue")
        socket->write("HTTP/1.1 100 Continue\r\n\r\n");
}

HttpGuard::Link HttpServer::linkOf(const QTcpSocket *socket)
{
    return {socket->peerAddress(), socket->localAddress(), PortRelay::carries(socket->peerPort())};
}

bool HttpServer::judge(QTcpSocket *socket)
{
    Open &open = m_open[socket];
    open.judged = true;
    const HttpRequest &request = open.request;
    if (HttpGuard::allows(request, linkOf(socket), UserInfo::apiToken()))
        return true;
    qWarning().noquote() << "HttpServer::judge: refused" << socket->peerAddress().toString() << request.header("origin")
                         << request.header("referer") << request.header("host");
    refuse(socket, CmdHand::noSuchRoute());
    return false;
}

bool HttpServer::hold(QTcpSocket *socket)
{
    Open &open = m_open[socket];
    const qint64 size = open.request.body().size();
    m_bodies += size - std::exchange(open.held, size);
    if (m_bodies <= MaxBodies)
        return true;
    qWarning().noquote() << "HttpServer::hold: refused" << socket->peerAddress().toString() << m_bodies
                         << "bytes in all";
    refuse(socket, CmdHand::tooMuch());
    return false;
}

void HttpServer::refuse(QTcpSocket *socket, const QByteArray &answer)
{
    Open &open = m_open[socket];
    open.running = true;
    open.request = HttpRequest();
    m_bodies -= std::exchange(open.held, 0);
    cmdOver(socket, answer);
}

void HttpServer::dispatch(QTcpSocket *socket)
{
    Open &open = m_open[socket];
    open.running = true;
    const HttpRequest request = std::exchange(open.request, {});
    auto *hand = new CmdHand;
    hand->setBody(request.body());
    const HttpGuard::Link link = linkOf(socket);
    bool v4 = false;
    const QHostAddress plain(link.peer.toIPv4Address(&v4));
    hand->setCaller({(v4 ? plain : link.peer).toString(), HttpGuard::isKnown(request, link, UserInfo::apiToken())});
    connect(hand, &QObject::destroyed, this, [this, held = std::exchange(open.held, 0)] { m_bodies -= held; });
    const QPointer<QTcpSocket> asker(socket);
    connect(hand, &CmdHand::cmdOver, this, [this, asker](const QByteArray &body) {
        if (asker)
            cmdOver(asker, body);
    });
    stream(socket, hand);
    connect(hand, &CmdHand::backEnvPre, this, [](int type, const QStringList &scenes, const QString &err) {
        Seam<WindowCalls>::post([=](WindowCalls &window) { window.envPre(type, scenes, err); });
    });
    hand->start(QString::fromUtf8(request.method()), QString::fromUtf8(request.target()));
}

void HttpServer::cmdOver(QTcpSocket *socket, const QByteArray &body)
{
    const auto it = m_open.find(socket);
    if (it == m_open.end() || socket->state() != QAbstractSocket::ConnectedState)
        return;
    it->timer->start(m_timeoutMs);
    it->out = "HTTP/1.1 200 OK\r\nServer: qserver\r\nConnection: keep-alive\r\nContent-Length: " +
              QByteArray::number(body.size()) + "\r\n\r\n" + body;
    writePiece(socket);
}

void HttpServer::stream(QTcpSocket *socket, CmdHand *hand)
{
    const QPointer<QTcpSocket> asker(socket);
    auto *taker = new StreamTaker(socket);
    connect(taker, &StreamTaker::taken, hand, &CmdHand::pieceTaken);
    connect(taker, &QObject::destroyed, hand, &CmdHand::callerGone);
    connect(hand, &CmdHand::streamBegins, this, [this, asker, taker](const QByteArray &type) {
        const auto it = m_open.find(asker);
        if (it == m_open.end())
            return;
        it->timer->stop();
        it->streams = true;
        it->taker = taker;
        asker->write("HTTP/1.1 200 OK\r\nServer: qserver\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n"
                     "X-Content-Type-Options: nosniff\r\nContent-Type: " +
                     type + "\r\n\r\n");
    });
    connect(hand, &CmdHand::streamPiece, this, [this, asker](const QByteArray &piece) { chunk(asker, piece, false); });
    connect(hand, &CmdHand::streamOver, this, [this, asker](bool whole) {
        if (whole)
            chunk(asker, {}, true);
        else if (asker)
            asker->abort(); // what is missing can't be taken for the end
    });
}

void HttpServer::chunk(QTcpSocket *socket, const QByteArray &bytes, bool last)
{
    const auto it = m_open.find(socket);
    if (it == m_open.end() || !it->streams)
        return;
    it->last = last;
    socket->write(last ? QByteArray("0\r\n\r\n") : QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n");
}

// One piece at a time: the next goes when the system has taken the last, so that the window's thread never waits.
void HttpServer::writePiece(QTcpSocket *socket)
{
    const auto it = m_open.find(socket);
    if (it == m_open.end() || socket->bytesToWrite() > 0)
        return;
    if (it->streams) {
        if (it->last)
            socket->disconnectFromHost();
        else
            emit it->taker->taken();
        return;
    }
    if (it->out.isEmpty())
        return;
    if (it->written == it->out.size()) {
        socket->disconnectFromHost();
        return;
    }
    const int size = qMin(PieceSize, it->out.size() - it->written);
    const char *piece = it->out.constData() + it->written;
    it->written += size;
    socket->write(piece, size);
}

void HttpServer::drop(QTcpSocket *socket, const char *why)
{
    qWarning().noquote() << "HttpServer: connection closed," << why << socket->peerAddress().toString();
    socket->abort();
    forget(socket);
}

void HttpServer::forget(QTcpSocket *socket)
{
    const auto it = m_open.find(socket);
    if (it == m_open.end())
        return;
    m_bodies -= it->held;
    m_open.erase(it);
    socket->deleteLater();
}
