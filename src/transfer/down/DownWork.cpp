#include "transfer/down/DownWork.h"
#include "common/facts/Command.h"
#include "common/ResultPath.h"
#include "common/ResultRoots.h"
#include "common/Seam.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "common/WindowCalls.h"
#include "db/DownloadDAO.h"
#include "io/Ask.h"
#include "transfer/TransFrame.h"
#include "transfer/TransHandler.h"
#include <QDebug>
#include <QHostAddress>
#include <QPointer>

namespace
{
constexpr int NoBalance = 1080009;
constexpr qint64 SocketBuffer = 4 * 1024 * 1024, PacedBuffer = 64 * 1024;

QString text(const QJsonObject &obj, const QString &key) { return obj.value(key).toVariant().toString(); }
} // namespace

DownWork::DownWork(std::shared_ptr<TransShare> share) : DownTarget(std::move(share)) { m_transType = 1; }

void DownWork::downReq(db_downfile file)
{
    if (over())
        return;
    m_down = file;
    qDebug().noquote() << "DownWork::downReq" << QStringLiteral("开启下载:%1").arg(m_workKey);
    startWait(ReplyMs);
    Ask(Command::FileInfo, {{"fileId", file.id}})
        .within(ReplyMs)
        .any([this](int val, QJsonDocument doc) { answered(val, doc.object()); })
        .send(this);
}

void DownWork::answered(int val, const QJsonObject &answer)
{
    if (over())
        return;
    if (val != Command::success(Command::FileInfo)) {
        if (val == NoBalance)
            Seam<WindowCalls>::post(
                [tip = TransSet::errorText(val)](WindowCalls &window) { window.downErrorTip(tip); });
        return failDown(val);
    }
    stopWait();
    bool number = false;
    if (answer.value("size").toVariant().toLongLong(&number) < 0 || !number) {
        qWarning().noquote() << "DownWork::answered no size for file" << m_down.id;
        return failDown(TransSet::AccessFailed);
    }
    if (const QJsonValue hash = answer.value("hash"); !hash.isUndefined() && !hash.isNull() && !hash.isString()) {
        qWarning().noquote() << "DownWork::answered the hash isn't a text:" << m_down.id;
        return failDown(TransSet::NoHash);
    }
    if (!takeTarget(answer))
        return;
    takeAnswer(answer);
    if (initDown())
        findServer();
}

// The row's own path stands; only a row without one takes the answer's.
bool DownWork::takeTarget(const QJsonObject &answer)
{
    QString reason = QStringLiteral("not a full path below a folder");
    if (m_down.lpath.isEmpty()) {
        const QPointer<DownWork> self(this); // the folder of a project is asked for in a nested loop
        const QString root = VFunc::rootPath(answer, true);
        if (!self || over())
            return false;
        QJsonObject row = answer;
        row.insert("id", m_down.id);
        if (root.isEmpty())
            reason = QStringLiteral("no result folder");
        else
            m_down.lpath = ResultPath::rowPath(root, row, &reason);
        if (!m_down.lpath.isEmpty() && m_transType == 1)
            DownloadDAO::instance()->setPath(m_down.missPri, m_down.pri, m_down.lpath);
    }
    if (ResultPath::isSafeTarget(m_down.lpath) && !ResultRoots::of(m_down.lpath).isEmpty())
        return true;
    qWarning().noquote() << "DownWork::takeTarget refused:" << m_down.lpath << text(answer, "path") << reason;
    failDown(TransSet::NoFolder);
    return false;
}

void DownWork::takeAnswer(const QJsonObject &answer)
{
    const QString hash = text(answer, "hash");
    const qint64 size = answer.value("size").toVariant().toLongLong();
    const bool otherHash =
        !m_down.hash.isEmpty() && !hash.isEmpty() && m_down.hash.compare(hash, Qt::CaseInsensitive) != 0;
    if (otherHash || (m_down.size > 0 && m_down.size != size))
        PartialFile::removeBoth(m_down.lpath,
                                ResultRoots::of(m_down.lpath)); // begun from another version of the result
    m_down.hash = hash;
    m_down.size = size;
    m_down.path = text(answer, "path");
    m_down.downloadPath = text(answer, "downloadPath");
    if (m_down.downloadPath.isEmpty())
        m_down.downloadPath = m_down.path;
    if (const int farm = answer.value("farmId").toVariant().toInt(); farm != 0)
        m_down.farmid = farm;
    const QString side = UserInfo::lanWan();
    m_host = text(answer, "ip" + side);
    if (m_host.isEmpty())
        m_host = text(answer, "host" + side);
    m_port = answer.value("port" + side).toVariant().toInt();
    if (m_transType == 1)
        DownloadDAO::instance()->setHashSize(m_down.missPri, m_down.pri, m_down.hash, m_down.size);
}

QString DownWork::root() const
{
    return ResultPath::isSafeTarget(m_down.lpath) ? ResultRoots::of(m_down.lpath) : QString();
}

void DownWork::findServer()
{
    startWait(TicketMs);
    if (m_host.isEmpty() || m_port <= 0) {
        if (!askFarmHost(m_down.farmid))
            failDown(TransSet::DriveFailed);
        return;
    }
    m_hostName = m_host;
    resolveHost(m_hostName, [this](const QString &ip) {
        if (ip.isEmpty())
            return failDown(TransSet::SocketBase + QAbstractSocket::HostNotFoundError);
        m_host = ip;
        startWait(TicketMs);
        if (!askTicket(m_down.farmid))
            failDown(TransSet::DriveFailed);
    });
}

void DownWork::farmHostFound(QString host, int port)
{
    if (over() || m_socket)
        return;
    if (host.isEmpty() || port <= 0)
        return failDown(TransSet::DriveFailed);
    m_host = host;
    m_port = port;
    findServer();
}

void DownWork::initDownWork(QString token)
{
    if (over() || m_socket)
        return;
    if (token.isEmpty())
        return failDown(TransSet::DriveFailed);
    setServer(m_serverUrl, token);
    m_socket = new QTcpSocket(this);
    m_socket->setReadBufferSize(SocketBuffer);
    connect(m_socket, &QTcpSocket::connected, this, &DownWork::connected);
    connect(m_socket, &QTcpSocket::readyRead, this, &DownWork::readData);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &DownWork::errorRecord);
    startWait(ConnectMs);
    m_socket->connectToHost(QHostAddress(m_host), quint16(m_port), QIODevice::ReadWrite);
}

void DownWork::connected()
{
    if (over())
        return;
    stopWait();
    qDebug().noquote() << "DownWork::connected"
                       << QStringLiteral("FS询问:%1_%2").arg(m_workKey).arg(m_partial->position());
    const QJsonObject body{{"startPoint", m_partial->position()}, {"path", m_down.downloadPath}};
    if (m_socket->write(TransFrame::ask(TransFrame::Ask, TransFrame::AskDown, m_tokenBytes, body)) < 0)
        return failDown(TransSet::SocketWrite);
    startWait(AskMs);
}

void DownWork::readData()
{
    if (over() || !m_socket)
        return;
    startWait(DataMs);
    if (!m_headRead) {
        TransFrame::Reply reply;
        if (m_socket->bytesAvailable() < TransFrame::ReplySize ||
            !TransFrame::Reply::parse(m_socket->read(TransFrame::ReplySize), &reply))
            return failDown(TransSet::ShortHead);
        qDebug().noquote() << "DownWork::readData"
                           << QStringLiteral("下载询问返回 %1_%2").arg(m_workKey).arg(reply.code);
        if (reply.code != DataFollows) {
            if (reply.phase == TransFrame::Failed || reply.code == TransSet::StaleToken)
                m_share->post([farm = m_down.farmid](TransHandler &handler) { handler.dropFarm(farm); });
            return failDown(reply.code);
        }
        m_headRead = true;
        m_block.resize(ReadBlock);
    }
    receive();
}

// Under a limit what may not be read yet stays in a small buffer of the socket, and with that at the server.
qint64 DownWork::mayRead()
{
    const int limit = TransSet::downLimit();
    m_socket->setReadBufferSize(limit > 0 ? PacedBuffer : SocketBuffer);
    if (limit <= 0)
        return ReadBlock;
    const qint64 share = qMax<qint64>(1, (qint64(limit) << 10) / qMax(1, m_share->running.load()));
    if (!m_paced.isValid())
        m_paced.start();
    const qint64 gained = share * m_paced.elapsed() / 1000;
    if (gained > 0) {
        m_allowed = qMin(share, m_allowed + gained); // a second's worth at most
        m_paced.start();
    }
    if (m_allowed > 0)
        return m_allowed;
    if (!m_paceTimer) {
        m_paceTimer = new QTimer(this);
        m_paceTimer->setSingleShot(true);
        connect(m_paceTimer, &QTimer::timeout, this, &DownWork::readData);
    }
    m_paceTimer->start(PaceMs);
    return 0;
}

void DownWork::receive(bool paced)
{
    for (;;) {
        const qint64 most = paced ? qMin<qint64>(m_block.size(), mayRead()) : m_block.size();
        const qint64 got = most > 0 ? m_socket->read(m_block.data(), most) : 0;
        if (got <= 0)
            break;
        m_allowed -= got;
        if (got > m_down.size - m_partial->position()) {
            // A stream that doesn't fit began elsewhere or is another file: nothing of it can be trusted.
            qWarning().noquote() << "DownWork::receive more bytes than" << m_down.size << m_down.lpath;
            discard();
            return failDown(TransSet::BadStart);
        }
        if (!take(m_block.constData(), got))
            return;
    }
    feedSpeed(m_partial->position());
    if (m_partial->position() == m_down.size)
        fileHash();
}

void DownWork::errorRecord(QAbstractSocket::SocketError error)
{
    if (over() || !m_socket)
        return;
    // What came before the end still counts.
    if (error == QAbstractSocket::RemoteHostClosedError && m_headRead && m_socket->bytesAvailable() > 0)
        receive(false);
    if (over())
        return;
    m_share->forgetHost(m_hostName); // it may have moved
    failDown(TransSet::SocketBase + error);
}

void DownWork::dropLink()
{
    dropSocket();
    if (m_paceTimer)
        m_paceTimer->stop();
}
