#include "io/PortRelay.h"
#include "io/ProxyFactory.h"
#include <atomic>
#include <memory>
#include <QCoreApplication>
#include <QDebug>
#include <QMutex>
#include <QNetworkProxy>
#include <QSet>
#include <QTcpSocket>

namespace
{
constexpr int Window = 256 * 1024; // bytes that wait on either side of a connection
constexpr int MaxSeats = 512;      // connections at a time

std::atomic<PortRelay *> relay{nullptr};
std::atomic<bool> ended{false};

// Local ports of the connections to servers.
QMutex &carriedMutex()
{
    static QMutex one;
    return one;
}
QSet<quint16> &carried()
{
    static QSet<quint16> one;
    return one;
}
void setCarried(quint16 *own, quint16 port)
{
    QMutexLocker lock(&carriedMutex());
    carried().remove(*own);
    *own = port;
    if (port != 0)
        carried().insert(port);
}

void pump(QTcpSocket *from, QTcpSocket *to, bool *newRequest = nullptr)
{
    while (from->bytesAvailable() > 0 && to->state() == QAbstractSocket::ConnectedState &&
           to->bytesToWrite() < Window) {
        const QByteArray bytes = from->read(Window);
        to->write(newRequest && *newRequest ? PortRelay::directRequest(bytes) : bytes);
        if (newRequest)
            *newRequest = false;
    }
    if (from->state() == QAbstractSocket::UnconnectedState && from->bytesAvailable() == 0)
        to->disconnectFromHost();
}
} // namespace

bool PortRelay::carries(quint16 fromPort)
{
    QMutexLocker lock(&carriedMutex());
    return carried().contains(fromPort);
}

PortRelay::PortRelay()
{
    moveToThread(&m_thread);
    m_thread.setObjectName(QStringLiteral("PortRelay"));
    m_thread.start();
}

PortRelay *PortRelay::instance()
{
    static QMutex making;
    QMutexLocker lock(&making);
    if (!relay && !ended) {
        relay = new PortRelay;
        qAddPostRoutine([] {
            ended = true;
            PortRelay *one = relay.exchange(nullptr);
            // Sockets and timers belong to that thread.
            QObject::connect(
                &one->m_thread, &QThread::finished, one, [one] { qDeleteAll(one->findChildren<QTcpServer *>()); },
                Qt::DirectConnection);
            one->m_thread.quit();
            one->m_thread.wait();
            delete one;
        });
    }
    return relay;
}

bool PortRelay::open(const Forward &forward)
{
    bool good = false;
    QMetaObject::invokeMethod(
        this, [&] { good = listen(forward); }, Qt::BlockingQueuedConnection);
    return good;
}

bool PortRelay::listen(const Forward &forward)
{
    const QPair<QString, int> target(forward.host, forward.port);
    if (m_ports.contains(forward.listenPort))
        return m_ports.value(forward.listenPort) == target;
    auto *server = new QTcpServer(this);
    server->setProxy(QNetworkProxy::NoProxy);
    if (!server->listen(QHostAddress::Any, quint16(forward.listenPort))) {
        qWarning().noquote() << "PortRelay::listen" << forward.listenPort << server->errorString();
        delete server;
        return false;
    }
    m_ports.insert(forward.listenPort, target);
    qDebug().noquote() << "PortRelay::listen" << forward.listenPort << "leads to" << forward.host << forward.port;
    connect(server, &QTcpServer::newConnection, this, [this, server, host = forward.host, port = forward.port] {
        while (QTcpSocket *seat = server->nextPendingConnection()) {
            if (server->findChildren<QTcpSocket *>(QString(), Qt::FindDirectChildrenOnly).size() > MaxSeats)
                delete seat;
            else
                join(seat, host, port);
        }
    });
    return true;
}

void PortRelay::join(QTcpSocket *seat, const QString &host, int port)
{
    auto *far = new QTcpSocket(seat);
    far->setProxy(QNetworkProxy::NoProxy);
    seat->setReadBufferSize(Window);
    far->setReadBufferSize(Window);
    // What a seat sends first, or after an answer, begins a request.
    auto fresh = std::make_shared<bool>(true);
    auto first = std::make_shared<bool>(true), sealed = std::make_shared<bool>(false);
    const auto up = [=] {
        if (*first && far->state() == QAbstractSocket::ConnectedState && seat->bytesAvailable() > 0) {
            const int head = connectHead(seat->peek(MaxConnect), host, port);
            if (head == Undecided)
                return;
            *first = false;
            *sealed = head > 0;
            if (head < 0) {
                qWarning().noquote() << "PortRelay::join: refused another server than" << host << port;
                seat->abort();
                return;
            }
            if (*sealed) {
                seat->read(head);
                seat->write("HTTP/1.1 200 Connection established\r\n\r\n");
            }
        }
        if (!*first)
            pump(seat, far, *sealed ? nullptr : fresh.get());
    };
    const auto down = [seat, far, fresh] {
        *fresh = true;
        pump(far, seat);
    };
    // Known before the first byte goes out: who reads it asks where it came from.
    auto own = std::make_shared<quint16>(0);
    connect(far, &QTcpSocket::connected, far, [far, own] { setCarried(own.get(), far->localPort()); });
    connect(seat, &QTcpSocket::readyRead, far, up);
    connect(far, &QTcpSocket::connected, far, up);
    connect(far, &QTcpSocket::bytesWritten, far, up);
    connect(far, &QTcpSocket::readyRead, far, down);
    connect(seat, &QTcpSocket::bytesWritten, far, [seat, far] { pump(far, seat); });
    connect(far, &QTcpSocket::disconnected, far, down);
    connect(far, &QTcpSocket::errorOccurred, far, [seat, far] {
        if (far->state() != QAbstractSocket::ConnectedState)
            pump(far, seat);
    });
    connect(seat, &QObject::destroyed, far, [far] { far->disconnect(); }); // it ends after the one it would tell
    connect(seat, &QTcpSocket::disconnected, seat, &QObject::deleteLater);
    connect(seat, &QObject::destroyed, [own] { setCarried(own.get(), 0); });
    far->connectToHost(host, quint16(port));
}

int PortRelay::connectHead(const QByteArray &bytes, const QString &host, int port)
{
    static const QByteArray word("CONNECT ");
    if (!bytes.startsWith(word))
        return word.startsWith(bytes) ? Undecided : 0;
    const int end = bytes.indexOf("\r\n\r\n");
    if (end < 0)
        return bytes.size() < MaxConnect ? Undecided : -1;
    const QByteArray target = host.toUtf8() + ':' + QByteArray::number(port) + ' ';
    return bytes.mid(word.size(), target.size()).toLower() == target.toLower() ? end + 4 : -1;
}

QByteArray PortRelay::directRequest(const QByteArray &bytes)
{
    const int space = bytes.indexOf(' ');
    static const QByteArray scheme("http://");
    if (space < 3 || space > 8 || bytes.mid(space + 1, scheme.size()).toLower() != scheme)
        return bytes;
    int path = space + 1 + scheme.size();
    while (path < bytes.size() && bytes.at(path) != '/' && bytes.at(path) != ' ' && bytes.at(path) != '?')
        ++path;
    if (path >= bytes.size())
        return bytes;
    return bytes.left(space + 1) + (bytes.at(path) == '/' ? "" : "/") + bytes.mid(path);
}
