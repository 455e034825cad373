#include "io/NetTcp.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include <atomic>
#include <QDebug>
#include <QNetworkProxy>
#include <QtEndian>
#include <QThread>
#include <QThreadPool>
#include <utility>

namespace
{
constexpr int Heart = 10000, Kick = 10001, Token = 10308, Login = 10309, Stream = 10407;
constexpr int SeqOffset = 8, SentHeadSize = 28;

std::atomic<NetTcp *> only{nullptr};
std::atomic<bool> loggedIn{false};
std::atomic<NetTcp::Barrier> barrier{nullptr};

// Order, results taken, order dropped, frame taken, and the end of an upload.
bool isLastWord(int cmd)
{
    switch (cmd) {
    case 10400:
    case 10413:
    case 10417:
    case 10703:
    case 10704:
    case 10802:
        return true;
    default:
        return false;
    }
}

// A body for the log. The sink cuts lines of more than 20000 bytes anyway; an order's body isn't turned into text for
// that.
QString logText(const QByteArray &data, int from)
{
    return QString::fromUtf8(data.constData() + from, qMin(data.size() - from, 20001));
}
} // namespace

void BackTcpTool::beginBack(TcpBack func, RecvPackageHead head, QByteArray ret, QPointer<QObject> po)
{
    if (!po)
        return;
    qDebug().noquote() << QStringLiteral("-%1- [%2|%3] %4")
                              .arg(head.seq)
                              .arg(head.val)
                              .arg(head.val)
                              .arg(logText(ret, RecvPackageHead::Size));
    const QJsonDocument doc = QJsonDocument::fromJson(ret.mid(RecvPackageHead::Size));
    if (func)
        func(head.val, doc);
}

NetTcp *NetTcp::instance()
{
    NetTcp *tcp = only.load();
    if (!tcp) {
        tcp = new NetTcp;
        only = tcp;
    }
    return tcp;
}

void NetTcp::destroy()
{
    QThreadPool::globalInstance()->waitForDone(); // a last word may wait there for the disk
    delete only.exchange(nullptr);
    loggedIn = false;
}

NetTcp::NetTcp() : m_host(Session::qnIP())
{
    Delivery::here();
    connect(this, &NetTcp::signalRecvPackage, this, &NetTcp::recvPackage);
    connect(&m_heartTimer, &QTimer::timeout, this, &NetTcp::heart);
    m_connectTimer.setSingleShot(true);
    connect(&m_connectTimer, &QTimer::timeout, this, [this] {
        if (m_socket->state() == QAbstractSocket::ConnectedState)
            return;
        qDebug().noquote() << "NetTcp::error" << int(QAbstractSocket::SocketTimeoutError) << "no connection within"
                           << ConnectMs << "ms";
        makeSocket(false);
    });
    m_heartTimer.start(HeartOffMs);
    makeSocket(!UserInfo::isSlave()); // a subordinate waits for the address that its master gives
}

void NetTcp::makeSocket(bool connectNow)
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->deleteLater();
    }
    m_connectTimer.stop();
    m_parser.reset();
    m_socket = new QTcpSocket(this);
    m_socket->setProxy(QNetworkProxy::NoProxy);
    connect(m_socket, &QTcpSocket::connected, this, &NetTcp::connected);
    connect(m_socket, &QTcpSocket::disconnected, this, &NetTcp::disconnected);
    connect(m_socket, &QTcpSocket::readyRead, this, &NetTcp::readyRead);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &NetTcp::error);
    if (connectNow)
        connectToServer();
}

void NetTcp::setHost(const QString &host, int port)
{
    m_host = host;
    m_port = port;
}

void NetTcp::reconnect()
{
    if (m_socket->state() != QAbstractSocket::UnconnectedState)
        return;
    qDebug().noquote() << "NetTcp::reconnect" << m_host << m_port;
    connectToServer();
}

// The window's thread waits for no network: the attempt runs on its own and is given up when its time is over.
void NetTcp::connectToServer()
{
    m_connectTimer.start(ConnectMs);
    m_socket->connectToHost(m_host, quint16(m_port), QIODevice::ReadWrite);
}

void NetTcp::setLogin(bool on)
{
    loggedIn = on;
    emit loginChanged(on);
}

bool NetTcp::isLogin() { return loggedIn; }

void NetTcp::setBarrier(Barrier one) { barrier = one; }

void NetTcp::resetLink()
{
    m_waiting.clear();
    const bool pause = std::exchange(m_shortLived, false);
    makeSocket(!pause);
    if (pause) // a server that takes links only to drop them mustn't keep the client busy
        QTimer::singleShot(PauseMs, m_socket, [this] { reconnect(); });
}

void NetTcp::connected()
{
    qDebug().noquote() << "NetTcp::connected";
    m_connectTimer.stop();
    m_life.start();
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_parser.reset();
    m_heartTimer.start(HeartOnMs);
    emit linkUp();
}

void NetTcp::disconnected()
{
    qDebug().noquote() << "NetTcp::disconnected";
    m_connectTimer.stop();
    m_shortLived = m_life.isValid() && m_life.elapsed() < ShortLifeMs;
    setLogin(false);
    m_heartTimer.start(HeartOffMs);
    emit linkLost();
}

void NetTcp::error(QAbstractSocket::SocketError err)
{
    qDebug().noquote() << "NetTcp::error" << int(err) << m_socket->errorString();
}

void NetTcp::heart()
{
    reconnect();
    if (m_socket->state() == QAbstractSocket::ConnectedState)
        send(100, Heart, makePackage(100, Heart, 0, "{}"), {});
}

void NetTcp::nvds(int module, int cmd, QJsonObject body, TcpBack func, QObject *qo)
{
    post(module, cmd, QJsonDocument(body).toJson(QJsonDocument::Compact), std::move(func), qo);
}

void NetTcp::nvds(int module, int cmd, QByteArray &body, TcpBack func, QObject *qo)
{
    post(module, cmd, body, std::move(func), qo);
}

// The package is built here, on the asking thread: the checksum of an order with many files takes its time. Only the
// request's number is put in where the socket lives.
void NetTcp::post(int module, int cmd, const QByteArray &body, TcpBack func, QObject *qo)
{
    Waiting waiting{std::move(func), Delivery::here(), qo};
    const auto go = [this, module, cmd, package = makePackage(module, cmd, 0, body), waiting = std::move(waiting)] {
        QMetaObject::invokeMethod(
            this, [=] { send(module, cmd, package, waiting); }, Qt::QueuedConnection);
    };
    const Barrier settled = isLastWord(cmd) ? barrier.load() : nullptr;
    const auto goSettled = [=] {
        if (!settled || settled())
            go();
        else
            qWarning().noquote() << "NetTcp::nvds" << cmd << "is held back: the stores aren't on the disk";
    };
    if (settled && QThread::currentThread() == thread())
        QThreadPool::globalInstance()->start(goSettled);
    else
        goSettled();
}

void NetTcp::send(int module, int cmd, QByteArray package, Waiting waiting)
{
    if (m_socket->state() != QAbstractSocket::ConnectedState)
        return;
    if (!isLogin() && cmd != Heart && cmd != Login && cmd != Token) {
        qDebug().noquote()
            << QStringLiteral("socket连上但没登录 %1 %2 %3").arg(module).arg(cmd).arg(Session::cmdName(cmd));
        return;
    }
    const int seq = m_seq;
    m_seq = int(unsigned(m_seq) + 1u);
    qToBigEndian<qint32>(seq, package.data() + SeqOffset);
    m_waiting.insert(seq, std::move(waiting));
    qDebug().noquote() << QStringLiteral("-%1- [%2 %3|%4] %5")
                              .arg(seq)
                              .arg(module)
                              .arg(cmd)
                              .arg(Session::cmdName(cmd))
                              .arg(logText(package, SentHeadSize));
    m_socket->write(package);
}

void NetTcp::readyRead()
{
    QTcpSocket *const socket = m_socket;
    while (socket == m_socket && socket->bytesAvailable() > 0) {
        m_parser.feed(socket->readAll(),
                      [this](const QByteArray &package) { emit signalRecvPackage(package, package.size()); });
        if (socket == m_socket && m_parser.broken()) {
            qWarning().noquote() << "NetTcp::readyRead: the stream can't be followed any more, closing the link";
            socket->abort();
            return;
        }
    }
}

void NetTcp::recvPackage(QByteArray package, qlonglong)
{
    RecvPackageHead head;
    if (!RecvPackageHead::parse(package, &head))
        return;
    if (head.seq == -1) {
        if (head.cmd == Kick) {
            emit kicked(head.val);
            return;
        }
        emit bsPush(head.val, QJsonDocument::fromJson(package.mid(RecvPackageHead::Size)), head.cmd);
    }
    if (head.cmd == Stream)
        emit bsStream(head.cmd, head.val, package.mid(RecvPackageHead::Size));
    const auto it = m_waiting.find(head.seq);
    if (it == m_waiting.end())
        return;
    const Waiting waiting = *it;
    m_waiting.erase(it);
    waiting.way.post([func = waiting.func, guard = waiting.guard, head, package] {
        BackTcpTool().beginBack(func, head, package, guard);
    });
}
