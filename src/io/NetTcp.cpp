#include "io/NetTcp.h"
#include "common/facts/Command.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include <algorithm>
#include <atomic>
#include <limits>
#include <QDebug>
#include <QNetworkProxy>
#include <QtEndian>
#include <QThread>
#include <QThreadPool>
#include <utility>

namespace
{
constexpr int LinkModule = 100, Heart = Command::HeartBeat, Kick = Command::Kick, Token = Command::LoginInfo,
              Login = Command::Login, Stream = Command::Preview;
constexpr int FirstKick = 1000100; // of the reasons of a new login
constexpr int SeqOffset = 8, SentHeadSize = 28;

std::atomic<NetTcp *> only{nullptr};
std::atomic<bool> loggedIn{false};
std::atomic<NetTcp::Barrier> barrier{nullptr};

// Order, results taken, order dropped, frame taken, and the end of an upload.
bool isLastWord(int cmd)
{
    switch (cmd) {
    case Command::Order:
    case Command::Results:
    case Command::GiveUpOrder:
    case Command::ObjectStored:
    case Command::UploadOver:
    case Command::FileFetched:
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

void NetTcp::create(const LinkTimes &times)
{
    if (!only.load())
        only = new NetTcp(times);
}

NetTcp *NetTcp::instance()
{
    NetTcp *tcp = only.load();
    if (!tcp)
        qWarning().noquote() << "NetTcp::instance: asked for while there is no link";
    return tcp;
}

void NetTcp::destroy()
{
    QThreadPool::globalInstance()->waitForDone(); // a last word may wait there for the disk
    delete only.exchange(nullptr);
    loggedIn = false;
}

NetTcp::NetTcp(const LinkTimes &times) : m_times(times), m_host(Session::qnIP())
{
    Delivery::here();
    connect(this, &NetTcp::signalRecvPackage, this, &NetTcp::recvPackage);
    connect(&m_heartTimer, &QTimer::timeout, this, &NetTcp::heart);
    for (QTimer *once : {&m_connectTimer, &m_packageTimer, &m_pause, &m_stable, &m_deadline})
        once->setSingleShot(true);
    connect(&m_connectTimer, &QTimer::timeout, this, &NetTcp::connectTimeOut);
    connect(&m_packageTimer, &QTimer::timeout, this, &NetTcp::packageTimeOut);
    connect(&m_pause, &QTimer::timeout, this, &NetTcp::reconnect);
    connect(&m_stable, &QTimer::timeout, this, [this] { m_kicks = 0; });
    connect(&m_deadline, &QTimer::timeout, this, &NetTcp::expire);
    m_heartTimer.start(m_times.heartOff);
    makeSocket(!UserInfo::isSlave()); // a subordinate waits for the address that its master gives
}

NetTcp::~NetTcp()
{
    m_socket->disconnect(this);
    loseAll();
    for (const Held &held : qAsConst(m_held))
        held.waiting.end(Ask::NoLink);
}

void NetTcp::makeSocket(bool connectNow)
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->deleteLater();
    }
    m_connectTimer.stop();
    m_packageTimer.stop();
    m_stable.stop();
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
    m_pause.stop();
    if (m_socket->state() != QAbstractSocket::UnconnectedState)
        return;
    qDebug().noquote() << "NetTcp::reconnect" << m_host << m_port;
    connectToServer();
}

// The window's thread waits for no network: the attempt runs on its own and is given up when its time is over.
void NetTcp::connectToServer()
{
    m_connectTimer.start(m_times.connect);
    m_socket->connectToHost(m_host, quint16(m_port), QIODevice::ReadWrite);
}

void NetTcp::connectTimeOut()
{
    if (m_socket->state() == QAbstractSocket::ConnectedState)
        return;
    qDebug().noquote() << "NetTcp::connectTimeOut: no connection within" << m_times.connect << "ms";
    makeSocket(false);
}

void NetTcp::packageTimeOut()
{
    qWarning().noquote() << "NetTcp::packageTimeOut: a package isn't whole after" << m_times.package
                         << "ms, closing the link";
    m_socket->abort();
}

void NetTcp::setLogin(bool on)
{
    const bool ended = loggedIn.exchange(on) && !on;
    if (ended)
        loseAll(); // what was asked within a login isn't answered without it
    emit loginChanged(on);
    sendHeld();
}

bool NetTcp::isLogin() { return loggedIn; }

void NetTcp::setBarrier(Barrier one) { barrier = one; }

void NetTcp::afterLogin(QObject *guard, const std::function<void()> &work)
{
    NetTcp *tcp = instance();
    if (!tcp)
        return;
    connect(tcp, &NetTcp::loginChanged, guard, [work](bool on) {
        if (on)
            work();
    });
    if (isLogin())
        work();
}

void NetTcp::resetLink(int reason)
{
    loseAll();
    m_pause.stop();
    // A server that takes links only to drop them, or to kick, mustn't keep the client busy, nor the client the server.
    const bool kick = reason >= FirstKick, pause = std::exchange(m_shortLived, false) || kick;
    makeSocket(!pause);
    m_heartTimer.start(m_times.heartOff);
    const int doubled = kick ? qMin(m_kicks++, 16) : 0;
    if (pause)
        m_pause.start(int(qMin<qint64>(qint64(m_times.pause) << doubled, m_times.longestPause)));
}

void NetTcp::loseAll()
{
    const QHash<int, Waiting> all = std::exchange(m_waiting, {});
    for (const Waiting &waiting : all)
        waiting.end(Ask::LinkLost);
}

void NetTcp::Waiting::end(Ask::Loss why) const
{
    if (lost)
        way.post(guard, [lost = lost, why] { lost(why); });
}

void NetTcp::watch(const QDeadlineTimer &deadline)
{
    if (deadline.isForever())
        return;
    const int ms = int(qMin<qint64>(deadline.remainingTime(), std::numeric_limits<int>::max()));
    if (!m_deadline.isActive() || ms < m_deadline.remainingTime())
        m_deadline.start(ms);
}

void NetTcp::expire()
{
    const auto over = [](const Waiting &waiting) {
        const bool expired = waiting.deadline.hasExpired();
        if (expired)
            waiting.end(Ask::TimeOut);
        return expired;
    };
    for (auto it = m_waiting.begin(); it != m_waiting.end();)
        it = over(*it) ? m_waiting.erase(it) : std::next(it);
    m_held.erase(std::remove_if(m_held.begin(), m_held.end(), [&](const Held &held) { return over(held.waiting); }),
                 m_held.end());
    for (const Waiting &waiting : qAsConst(m_waiting))
        watch(waiting.deadline);
    for (const Held &held : qAsConst(m_held))
        watch(held.waiting.deadline);
}

void NetTcp::connected()
{
    qDebug().noquote() << "NetTcp::connected";
    m_connectTimer.stop();
    m_pause.stop();
    m_life.start();
    m_stable.start(m_times.stable);
    m_silentHearts = 0;
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_parser.reset();
    m_heartTimer.start(m_times.heartOn);
    sendHeld();
    emit linkUp();
}

void NetTcp::disconnected()
{
    qDebug().noquote() << "NetTcp::disconnected";
    m_connectTimer.stop();
    m_packageTimer.stop();
    m_stable.stop();
    m_shortLived = m_life.isValid() && m_life.elapsed() < m_times.shortLife;
    loseAll();
    setLogin(false);
    m_heartTimer.start(m_times.heartOff);
    emit linkLost();
}

void NetTcp::error(QAbstractSocket::SocketError err)
{
    qDebug().noquote() << "NetTcp::error" << int(err) << m_socket->errorString();
}

void NetTcp::heart()
{
    if (m_socket->state() != QAbstractSocket::ConnectedState) {
        if (!m_pause.isActive())
            reconnect();
        return;
    }
    if (m_silentHearts >= m_times.silentHearts) {
        qWarning().noquote() << "NetTcp::heart:" << m_silentHearts << "heart beats unanswered, closing the link";
        m_socket->abort();
        return;
    }
    ++m_silentHearts;
    send(LinkModule, Heart, makePackage(LinkModule, Heart, 0, "{}"), {});
}

void NetTcp::nvds(int module, int cmd, QJsonObject body, TcpBack func, QObject *qo)
{
    QByteArray bytes = QJsonDocument(body).toJson(QJsonDocument::Compact);
    nvds(module, cmd, bytes, std::move(func), qo);
}

void NetTcp::nvds(int module, int cmd, QByteArray &body, TcpBack func, QObject *qo)
{
    Waiting waiting;
    waiting.func = std::move(func);
    waiting.way = Delivery::here();
    waiting.guard = qo;
    post(module, cmd, body, std::move(waiting));
}

// The package is built here, on the asking thread: the checksum of an order with many files takes its time. Only the
// request's number is put in where the socket lives.
void NetTcp::post(int module, int cmd, const QByteArray &body, Waiting waiting)
{
    const auto go = [this, module, cmd, package = makePackage(module, cmd, 0, body), waiting] {
        QMetaObject::invokeMethod(
            this,
            [=] {
                if (mayGo(cmd) || !waiting.whenLinked)
                    return send(module, cmd, package, waiting);
                m_held.append({module, cmd, package, waiting});
                watch(waiting.deadline);
            },
            Qt::QueuedConnection);
    };
    const Barrier settled = isLastWord(cmd) ? barrier.load() : nullptr;
    const auto goSettled = [=] {
        if (!settled || settled())
            return go();
        qWarning().noquote() << "NetTcp::post" << cmd << "is held back: the stores aren't on the disk";
        waiting.end(Ask::NoLink);
    };
    if (settled && QThread::currentThread() == thread())
        QThreadPool::globalInstance()->start(goSettled);
    else
        goSettled();
}

bool NetTcp::mayGo(int cmd) const
{
    return m_socket->state() == QAbstractSocket::ConnectedState &&
           (isLogin() || cmd == Heart || cmd == Login || cmd == Token);
}

void NetTcp::sendHeld()
{
    QList<Held> go;
    for (int i = 0; i < m_held.size();) {
        if (mayGo(m_held[i].cmd))
            go.append(m_held.takeAt(i));
        else
            ++i;
    }
    for (const Held &held : qAsConst(go))
        send(held.module, held.cmd, held.package, held.waiting);
}

void NetTcp::send(int module, int cmd, QByteArray package, Waiting waiting)
{
    if (!mayGo(cmd)) {
        if (m_socket->state() == QAbstractSocket::ConnectedState)
            qDebug().noquote()
                << QStringLiteral("socket连上但没登录 %1 %2 %3").arg(module).arg(cmd).arg(Session::cmdName(cmd));
        return waiting.end(Ask::NoLink);
    }
    const int seq = m_seq;
    m_seq = int(unsigned(m_seq) + 1u);
    qToBigEndian<qint32>(seq, package.data() + SeqOffset);
    watch(waiting.deadline);
    if (waiting.func)
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
        m_parser.feed(socket->readAll(), [this](const QByteArray &package) {
            m_packageTimer.stop();
            m_silentHearts = 0;
            emit signalRecvPackage(package, package.size());
        });
        if (socket != m_socket)
            return;
        if (m_parser.broken()) {
            qWarning().noquote() << "NetTcp::readyRead: the stream can't be followed any more, closing the link";
            socket->abort();
            return;
        }
        if (m_parser.readingHead())
            m_packageTimer.stop();
        else if (!m_packageTimer.isActive())
            m_packageTimer.start(m_times.package);
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
    waiting.way.post([func = waiting.func, bytes = waiting.bytes, guard = waiting.guard, head, package] {
        if (bytes && guard)
            bytes(package.mid(RecvPackageHead::Size));
        BackTcpTool().beginBack(func, head, package, guard);
    });
}
