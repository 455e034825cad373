// UpWork's conversation with the file server.
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/UploadDAO.h"
#include "transfer/TransHandler.h"
#include "transfer/up/UpWork.h"
#include "transfer/up/VandrelCompress.h"
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>

namespace
{
enum Code { StartPoint = 7000000, AllThere = 7000001, ChunkTaken = 7000201, Finished = 7000404, Moved = 7000441 };
}

bool UpWork::isStage(int code)
{
    switch (code) {
    case 7000403:
    case 7000411:
    case 7000412:
    case 7000413:
    case 7000420:
    case 7000422:
    case 7000423:
    case 7000430:
    case 7000431:
    case 7000440:
        return true;
    default:
        return false;
    }
}

void UpWork::connected()
{
    if (over())
        return;
    stopWait();
    m_lastTurn.start();
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (!measure())
        return;
    if (!m_zipPath.isEmpty() && m_up.compressedSize == 0 && !compress())
        return;
    QJsonObject body{
        {QStringLiteral("fileId"), m_up.id != 0 ? QString::number(m_up.id) : m_up.idText},
        {QStringLiteral("key"), m_key},
        {QStringLiteral("diskKey"), m_diskKey},
        {QStringLiteral("size"), qint64(m_up.size)},
        {QStringLiteral("isCompressed"), !m_zipPath.isEmpty()},
        {QStringLiteral("compressedSize"), qint64(m_up.compressedSize)},
        {QStringLiteral("lastModified"), qint64(m_up.modtime)},
        {QStringLiteral("taskId"), m_up.missid},
    };
    if (!m_eTag.isEmpty())
        body.insert(QStringLiteral("ETag"), m_eTag);
    if (m_retry)
        body.insert(QStringLiteral("retry"), 1);
    if (sendFrame(TransFrame::ask(TransFrame::Ask, TransFrame::AskUp, m_tokenBytes, body)))
        startWait(AnswerMs);
}

bool UpWork::sendFrame(const QByteArray &frame)
{
    if (m_socket->write(frame) == frame.size())
        return true;
    failUp(TransSet::SocketWrite);
    return false;
}

bool UpWork::compress()
{
    const bool reusable = QFileInfo(m_zipPath).lastModified() >= QFileInfo(m_sendPath).lastModified() &&
                          VandrelCompress::holds(m_zipPath, m_sendPath, m_up.size);
    if (!reusable && !makeZip())
        return false;
    m_file->close();
    m_file->setFileName(m_zipPath);
    if (!m_file->open(QIODevice::ReadOnly | QIODevice::Unbuffered) || m_file->size() <= 0) {
        qWarning().noquote() << "UpWork::compress" << m_zipPath << m_file->size() << m_file->errorString();
        failUp(TransSet::ZipFailed);
        return false;
    }
    m_up.compressedSize = m_file->size();
    m_up.ratio = double(m_up.size) / double(m_up.compressedSize);
    setTotal(m_up.compressedSize);
    emit updateFile(4, m_up);
    return true;
}

// Made under a name that no other worker has, and measured like a copy that was found before it takes the known name.
bool UpWork::makeZip()
{
    const bool made = VandrelCompress::vandrelCompressOneFile(m_partPath, m_sendPath, closed);
    if (closed || !measure()) { // or the scene was saved meanwhile
        QFile::remove(m_partPath);
        if (closed)
            finishUp(TransSet::Dropped);
        return false;
    }
    QFile part(m_partPath);
    // On the disk before it gets its name: a copy cut short by a power loss would be sent as the scene.
    bool good = made && VandrelCompress::holds(m_partPath, m_sendPath, m_up.size) && part.open(QIODevice::ReadWrite) &&
                VFunc::syncFile(part.handle());
    part.close();
    if (good) {
        QFile::remove(m_zipPath);
        good = part.rename(m_zipPath);
    }
    if (good)
        return true;
    QFile::remove(m_partPath);
    failUp(TransSet::ZipFailed);
    return false;
}

void UpWork::readData()
{
    if (over())
        return;
    if (m_bodyOpen) {
        m_body += m_socket->readAll();
        return takeStartPoint();
    }
    TransFrame::Reply reply;
    if (m_socket->bytesAvailable() < TransFrame::ReplySize ||
        !TransFrame::Reply::parse(m_socket->read(TransFrame::ReplySize), &reply))
        return failUp(TransSet::ShortHead);
    m_body = m_socket->readAll();
    answered(reply);
}

void UpWork::answered(const TransFrame::Reply &reply)
{
    const int code = reply.code;
    switch (reply.phase) {
    case TransFrame::Ask:
        if (code == StartPoint)
            return takeStartPoint();
        return code == AllThere ? commit() : fsCode(code);
    case TransFrame::Data:
        return code == ChunkTaken ? chunkTaken() : failUp(code);
    case TransFrame::Commit:
        return code == Finished ? finishUp(TransSet::Done) : fsCode(code);
    case TransFrame::Failed:
        if (reply.command != TransFrame::Refused)
            return failUp(TransSet::UnknownProtocol);
        // The token may be an old one: the next try asks for it anew.
        frameRefused = true;
        m_share->post([farm = m_up.farmid](TransHandler &handler) { handler.dropFarm(farm); });
        return failUp(TransSet::DriveFailed);
    default:
        qWarning().noquote() << "UpWork::answered phase" << reply.phase << "code" << code;
        return failUp(TransSet::UnknownProtocol);
    }
}

// The position comes as JSON behind the head, perhaps later; the wait timer of the ask runs on until it is whole.
void UpWork::takeStartPoint()
{
    QJsonObject object;
    const TransFrame::Body state = TransFrame::parseBody(m_body, &object);
    m_bodyOpen = state == TransFrame::Body::Incomplete;
    if (m_bodyOpen)
        return;
    m_body.clear();
    if (state == TransFrame::Body::Bad) {
        qWarning().noquote() << "UpWork::takeStartPoint the start point isn't readable" << m_workKey;
        return failUp(TransSet::DriveFailed);
    }
    const qint64 start = object.value(QStringLiteral("startPoint")).toVariant().toLongLong();
    m_stalled = start > m_furthest ? 0 : m_stalled + 1;
    m_furthest = qMax(m_furthest, start);
    if (m_stalled >= MaxStalled) {
        qWarning().noquote() << "UpWork::takeStartPoint the server takes chunks and stays at" << start << m_workKey;
        return failUp(TransSet::BadStart);
    }
    feedSpeed(start);
    startUp();
}

void UpWork::startUp()
{
    stopWait();
    if (!m_file->isOpen() && !VFunc::openRegular(m_file)) {
        qWarning().noquote() << "UpWork::startUp file open" << m_file->fileName() << m_file->errorString();
        return failUp(TransSet::OpenFailed);
    }
    const qint64 size = m_file->size();
    if (m_position > size || m_position < 0)
        return failUp(TransSet::BadStart);
    if (!m_file->seek(m_position)) {
        qWarning().noquote() << "UpWork::startUp file seek" << m_file->fileName() << m_file->errorString();
        return failUp(TransSet::AccessFailed);
    }
    if (m_position == size)
        return finishUp(TransSet::Done);
    m_left = qMin<qint64>(m_packetSize, size - m_position);
    m_head = TransFrame::head(TransFrame::Data, TransFrame::DataUp, m_tokenBytes, m_position, qint32(m_left));
    m_lastSend.start();
    startWait(ChunkMs);
    pump();
}

// Block by block, as fast as the socket takes them: a chunk of 40 MiB never lies in memory whole. The block is handed
// over without a copy and is free again once the socket's buffer is empty.
void UpWork::pump()
{
    if (m_pumping || over())
        return;
    m_pumping = true;
    while (!over() && m_left > 0 && m_socket->bytesToWrite() == 0) {
        const int before = m_head.size();
        m_block.reserve(TransFrame::HeadSize + Block);
        m_block.resize(before + int(qMin<qint64>(Block, m_left)));
        memcpy(m_block.data(), m_head.constData(), size_t(before));
        const qint64 got = m_file->read(m_block.data() + before, m_block.size() - before);
        if (got <= 0) {
            qWarning().noquote() << "UpWork::pump file read" << m_file->fileName() << m_file->errorString();
            failUp(TransSet::AccessFailed);
            break;
        }
        m_block.resize(before + int(got));
        m_head.clear();
        m_left -= got;
        if (sendFrame(m_block)) {
            feedSpeed(m_position + got);
            m_socket->flush();
        }
    }
    m_pumping = false;
}

void UpWork::chunkTaken()
{
    if (m_left > 0) {
        qWarning().noquote() << "UpWork::chunkTaken a chunk was acknowledged before it was sent" << m_workKey;
        return failUp(TransSet::UnknownProtocol);
    }
    stopWait();
    const int limit = m_transType == 2 ? UserInfo::upDSpeed() : TransSet::upLimit();
    const QElapsedTimer &since = limit > 0 ? m_lastTurn : m_lastSend; // a limit counts what the ask took, too
    const TransSet::Pace next = TransSet::pace(limit, m_share->running, m_packetSize, int(since.elapsed()));
    m_packetSize = next.packetSize;
    if (next.delayMs == 0)
        return connected();
    if (!m_limitTimer) {
        m_limitTimer = new QTimer(this);
        m_limitTimer->setSingleShot(true);
        m_limitTimer->setTimerType(Qt::PreciseTimer);
        connect(m_limitTimer, &QTimer::timeout, this, &UpWork::limitOut);
    }
    m_limitTimer->start(next.delayMs);
}

void UpWork::limitOut() { connected(); }

void UpWork::commit()
{
    if (!measure())
        return;
    const QJsonObject body{{QStringLiteral("lastModified"), qint64(m_up.modtime)}};
    if (sendFrame(TransFrame::ask(TransFrame::Commit, TransFrame::CommitUp, m_tokenBytes, body)))
        startWait(AnswerMs);
}

void UpWork::fsCode(int code)
{
    if (code == Moved)
        return finishUp(TransSet::Done);
    if (!isStage(code))
        return failUp(code);
    // The place goes to another file meanwhile; the handler shows the stage and comes back later.
    m_up.error = code;
    finishUp(TransSet::Transient);
}
