#include "FileServer.h"
#include "Account.h"
#include "Core.h"
#include "Tasks.h"
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QPointer>

namespace farm
{

namespace
{
enum Command { AskUpload = 70000, SendData = 70002, Commit = 70004, AskDownload = 70100, RefusedFrame = 79999 };
enum Code {
    StartHere = 7000000,
    AllHere = 7000001,
    ChunkKept = 7000201,
    Arrived = 7000404,
    MoveOk = 7000441,
    DataFollows = 7010003,
    NoFile = 7010007,
    Cancelled = 13010005,
    NoRecord = 13010102,
    TooMuch = 13010202,
    WriteFailed = 13010201,
    StartTooFar = 13020304
};
constexpr qint64 window = 4 << 20; // bytes on their way in either direction
} // namespace

FileServer::FileServer(Core &core) : m_core(core)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            ++m_core.counters.fileLinks;
            if (m_core.faults.happens(QStringLiteral("refuse-file"))) {
                socket->abort();
                socket->deleteLater();
                continue;
            }
            new FileLink(m_core, socket, this);
        }
    });
}

bool FileServer::listen(int port, QString *error)
{
    if (m_server.listen(QHostAddress(m_core.options.address), quint16(port)))
        return true;
    *error = QStringLiteral("file server, port %1: %2").arg(port).arg(m_server.errorString());
    return false;
}

void FileServer::dropLinks()
{
    for (FileLink *link : findChildren<FileLink *>(QString(), Qt::FindDirectChildrenOnly))
        link->drop();
}

FileLink::FileLink(Core &core, QTcpSocket *socket, QObject *parent) : QObject(parent), m_core(core), m_socket(socket)
{
    m_socket->setParent(this);
    m_socket->setReadBufferSize(window);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(m_socket, &QTcpSocket::readyRead, this, &FileLink::read);
    connect(m_socket, &QTcpSocket::bytesWritten, this, &FileLink::pump);
    connect(m_socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
    connect(&m_paceTimer, &QTimer::timeout, this, [this] {
        if (m_state == Sending)
            pump();
        else
            read();
    });
    m_paceTimer.setInterval(100);
}

void FileLink::drop() { m_socket->abort(); }

void FileLink::read()
{
    bool more = true;
    while (more && m_socket->state() == QAbstractSocket::ConnectedState) {
        switch (m_state) {
        case Head:
            more = readHead();
            break;
        case Json:
            m_json += m_socket->read(m_left - m_json.size());
            more = m_json.size() == m_left;
            if (more) {
                m_state = Head;
                const QJsonDocument doc = QJsonDocument::fromJson(m_json);
                if (!doc.isObject())
                    m_core.violation(QStringLiteral("body of frame %1 isn't a JSON object").arg(m_frame.command));
                handle(doc.object());
            }
            break;
        case Data:
        case Skip:
            more = readData();
            break;
        case Sending:
            if (m_socket->bytesAvailable() > 0) {
                m_core.violation(QStringLiteral("bytes behind a download ask"));
                m_socket->readAll();
            }
            more = false;
        }
    }
}

bool FileLink::readHead()
{
    if (m_socket->bytesAvailable() < FrameHead)
        return false;
    if (!readFrameHead(m_socket->read(FrameHead), &m_frame)) {
        m_core.violation(QStringLiteral("bad frame head"));
        drop();
        return false;
    }
    m_left = m_frame.length;
    m_json.clear();
    begin(m_frame);
    return true;
}

void FileLink::begin(const Frame &frame)
{
    const bool data = frame.command == SendData;
    const int phase = data ? 1 : frame.command == Commit ? 2 : 0;
    const bool right =
        (frame.command == AskUpload || data || frame.command == Commit || frame.command == AskDownload) &&
        frame.phase == phase;
    if (!right)
        return refuse(QStringLiteral("command %1 with phase %2").arg(frame.command).arg(frame.phase), frame.command);
    if (frame.token != m_core.account->transferBytes()) {
        m_core.event(QStringLiteral("frame with a stale token"));
        return refuse({}, RefusedFrame);
    }
    if (!data && (frame.offset != -1 || frame.length > MaxFrameJson))
        return refuse(QStringLiteral("command %1 with offset %2, length %3")
                          .arg(frame.command)
                          .arg(frame.offset)
                          .arg(frame.length),
                      frame.command);
    if (m_core.faults.happens(QStringLiteral("refuse-frame")))
        return refuse({}, RefusedFrame);
    if (m_core.faults.happens(QStringLiteral("refuse-frame-other")))
        return refuse({}, frame.command);
    if (data)
        return beginData();
    m_state = Json;
}

// The rest of the frame is read and thrown away, so that the stream stays in step.
void FileLink::refuse(const QString &why, int command)
{
    if (!why.isEmpty())
        m_core.violation(QStringLiteral("file frame refused: %1").arg(why));
    m_dataCode = 0;
    m_dataGood = false;
    m_state = m_left > 0 ? Skip : Head;
    send(frameReply(-1, command, 0));
}

void FileLink::handle(const QJsonObject &body)
{
    switch (m_frame.command) {
    case AskUpload:
        return ask(body);
    case Commit:
        return commit(body);
    default:
        return download(body);
    }
}

bool FileLink::checkAsk(const QJsonObject &body)
{
    QStringList wrong;
    const auto want = [&](const char *key, QJsonValue::Type type) {
        if (body.value(QLatin1String(key)).type() != type)
            wrong += QLatin1String(key);
    };
    for (const char *key : {"fileId", "key", "diskKey"})
        want(key, QJsonValue::String);
    for (const char *key : {"size", "compressedSize", "lastModified", "taskId"})
        want(key, QJsonValue::Double);
    want("isCompressed", QJsonValue::Bool);
    if (!wrong.isEmpty())
        m_core.violation(QStringLiteral("upload ask: %1 missing or of another type").arg(wrong.join(QLatin1Char(','))));
    return wrong.isEmpty();
}

void FileLink::ask(const QJsonObject &body)
{
    m_asked = m_mayData = false;
    m_file.close();
    if (!checkAsk(body))
        return reply(0, NoRecord);
    m_identity.key = body.value("key").toString();
    m_identity.size = body.value("size").toVariant().toLongLong();
    m_identity.mtime = body.value("lastModified").toVariant().toLongLong();
    m_identity.task = body.value("taskId").toInt();
    m_identity.compressed = body.value("isCompressed").toBool();
    m_identity.wireSize =
        m_identity.compressed ? body.value("compressedSize").toVariant().toLongLong() : m_identity.size;
    m_identity.etag = body.value("ETag").toString().toLower();
    const Task *task = m_core.tasks->byId(m_identity.task);
    if (!task || m_identity.size < 0 || m_identity.wireSize < 0)
        return reply(0, NoRecord);
    if (task->result == farm::Cancelled)
        return reply(0, Code::Cancelled);
    if (!task->keys.contains(cleanKey(m_identity.key)))
        m_core.violation(QStringLiteral("task %1 has no file %2").arg(task->id).arg(m_identity.key));
    const qint64 code = m_core.faults.number(QStringLiteral("ask-code"));
    if (code >= 0)
        return reply(0, int(code));
    m_asked = true;
    if (const int stage = m_core.store->stage(m_identity))
        return reply(0, stage);
    if (m_core.store->known(m_identity.key, m_identity.size, m_identity.mtime)) {
        arrived();
        return reply(0, MoveOk);
    }
    qint64 received = m_core.store->received(m_identity);
    if (received > m_identity.wireSize) {
        m_core.store->forgetPart(m_identity);
        received = 0;
    }
    if (m_core.faults.happens(QStringLiteral("start-past")))
        return reply(0, StartHere, {{"startPoint", m_identity.wireSize + 1}});
    if (received == m_identity.wireSize)
        return reply(0, AllHere);
    m_mayData = true;
    reply(0, StartHere, {{"startPoint", received}});
}

void FileLink::commit(const QJsonObject &body)
{
    if (!body.value("lastModified").isDouble())
        m_core.violation(QStringLiteral("upload commit without lastModified"));
    const qint64 code = m_core.faults.number(QStringLiteral("commit-code"));
    if (code >= 0)
        return reply(2, int(code));
    if (!m_asked || m_core.store->received(m_identity) != m_identity.wireSize) {
        m_core.violation(QStringLiteral("commit of a file that isn't whole"));
        return reply(2, WriteFailed);
    }
    m_file.close();
    QPointer<FileLink> self(this);
    m_core.store->finish(m_identity, [self](int answer) {
        if (!self)
            return;
        if (answer == Arrived)
            self->arrived();
        self->reply(2, answer);
    });
}

void FileLink::arrived()
{
    ++m_core.counters.filesReceived;
    if (Task *task = m_core.tasks->byId(m_identity.task))
        m_core.tasks->markHere(*task, cleanKey(m_identity.key));
    m_core.event(QStringLiteral("upload %1 %2").arg(m_identity.size).arg(m_identity.key));
}

void FileLink::beginData()
{
    m_dataGood = false;
    m_dataCode = WriteFailed;
    m_state = m_left > 0 ? Data : Head;
    if (!m_asked) {
        m_core.violation(QStringLiteral("chunk without an ask"));
        m_state = Skip;
    } else if (!m_mayData) {
        m_core.violation(QStringLiteral("chunk without an ask of its own, or of a whole file"));
        m_state = Skip;
    } else if (const qint64 code = m_core.faults.number(QStringLiteral("data-code")); code >= 0) {
        m_dataCode = int(code);
        m_state = Skip;
    } else if (m_frame.offset < 0 || m_frame.offset > m_core.store->received(m_identity) ||
               m_frame.offset + m_left > m_identity.wireSize) {
        m_core.violation(QStringLiteral("chunk %1+%2 of %3, %4 bytes here")
                             .arg(m_frame.offset)
                             .arg(m_left)
                             .arg(m_identity.wireSize)
                             .arg(m_core.store->received(m_identity)));
        m_dataCode = TooMuch;
        m_state = Skip;
    } else {
        m_file.setFileName(m_core.store->partPath(m_identity));
        m_dataGood = m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && m_file.seek(m_frame.offset);
        m_state = m_dataGood ? Data : Skip;
    }
    m_mayData = false;
    if (m_cutUp == -2)
        m_cutUp = m_core.faults.number(QStringLiteral("cut-upload"));
    if (m_pace < 0 && (m_pace = m_core.faults.number(QStringLiteral("slow-upload"))) >= 0) {
        m_socket->setReadBufferSize(65536);
        m_paceTimer.start();
    }
    if (m_left == 0)
        endData();
}

bool FileLink::readData()
{
    qint64 want = qMin<qint64>(m_left, 1 << 20);
    if (m_pace >= 0)
        want = qMin(want, qMax<qint64>(1, m_pace / 10));
    if (m_cutUp >= 0 && m_state == Data)
        want = qMin(want, m_cutUp);
    const QByteArray bytes = m_socket->read(want);
    if (m_state == Data) {
        m_dataGood = m_dataGood && m_file.write(bytes) == bytes.size();
        m_core.counters.bytesUp += bytes.size();
        if (m_cutUp >= 0 && (m_cutUp -= bytes.size()) == 0) {
            m_core.event(QStringLiteral("cut an upload"));
            drop();
            return false;
        }
    }
    m_left -= bytes.size();
    if (m_left == 0)
        endData();
    return !bytes.isEmpty() && (m_pace < 0 || m_left == 0);
}

void FileLink::endData()
{
    const bool kept = m_state == Data, answer = kept || m_dataCode != 0;
    m_state = Head;
    m_file.close();
    if (answer)
        reply(1, kept && m_dataGood ? ChunkKept : m_dataCode != 0 ? m_dataCode : WriteFailed);
}

void FileLink::download(const QJsonObject &body)
{
    if (!body.value("path").isString() || !body.value("startPoint").isDouble())
        m_core.violation(QStringLiteral("download ask: path or startPoint missing"));
    const qint64 code = m_core.faults.number(QStringLiteral("download-code"));
    if (code >= 0)
        return reply(0, int(code));
    const QString path = body.value("path").toString();
    const QString whole = QDir::cleanPath(m_core.options.dir + QLatin1Char('/') + path);
    if (!whole.startsWith(m_core.options.dir + QStringLiteral("/results/")) || path.contains(QStringLiteral(".."))) {
        m_core.violation(QStringLiteral("download of %1").arg(path));
        return reply(0, NoFile);
    }
    m_file.setFileName(whole);
    if (!m_file.open(QIODevice::ReadOnly))
        return reply(0, NoFile);
    const qint64 start = body.value("startPoint").toVariant().toLongLong();
    if (start < 0 || start > m_file.size() || !m_file.seek(start)) {
        m_file.close();
        return reply(0, StartTooFar);
    }
    m_sendLeft = m_file.size() - start;
    m_cutDown = m_core.faults.number(QStringLiteral("cut-download"));
    m_corrupt = m_core.faults.happens(QStringLiteral("corrupt-download"));
    m_pace = m_core.faults.number(QStringLiteral("slow-download"));
    m_core.event(QStringLiteral("download %1+%2 %3").arg(start).arg(m_sendLeft).arg(path));
    m_state = Sending;
    reply(0, DataFollows);
    if (m_pace >= 0)
        m_paceTimer.start();
    pump();
}

void FileLink::pump()
{
    if (m_state != Sending || m_held)
        return;
    while (m_sendLeft > 0 && m_socket->bytesToWrite() < window) {
        qint64 want = qMin<qint64>(m_sendLeft, 1 << 20);
        if (m_pace >= 0)
            want = qMin(want, sender() == &m_paceTimer ? qMax<qint64>(1, m_pace / 10) : 0);
        if (m_cutDown >= 0)
            want = qMin(want, m_cutDown);
        QByteArray bytes = m_file.read(want);
        if (bytes.isEmpty())
            break;
        if (m_corrupt)
            bytes[0] = char(~bytes.at(0));
        m_corrupt = false;
        m_socket->write(bytes);
        m_sendLeft -= bytes.size();
        m_core.counters.bytesDown += bytes.size();
        if (m_cutDown >= 0)
            m_cutDown -= bytes.size();
        if (m_pace >= 0)
            break;
    }
    if (m_cutDown == 0 && m_sendLeft > 0 && m_socket->bytesToWrite() == 0) {
        m_core.event(QStringLiteral("cut a download"));
        drop();
    }
}

void FileLink::reply(int phase, int code, const QJsonObject &body)
{
    const QByteArray text = body.isEmpty() ? QByteArray() : QJsonDocument(body).toJson(QJsonDocument::Compact);
    const QByteArray bytes = frameReply(phase, m_frame.command, code, text);
    const qint64 delay = m_core.faults.number(QStringLiteral("delay-file"));
    if (delay <= 0)
        return send(bytes);
    m_held = true; // no data may overtake its head
    QTimer::singleShot(int(delay), this, [this, bytes] {
        m_held = false;
        send(bytes);
        pump();
    });
}

void FileLink::send(const QByteArray &bytes)
{
    if (m_core.faults.happens(QStringLiteral("short-head"))) {
        m_socket->write(bytes.left(FrameReplyHead - 1));
        return;
    }
    if (!m_core.faults.happens(QStringLiteral("split-file"))) {
        m_socket->write(bytes);
        return;
    }
    m_socket->write(bytes.left(FrameReplyHead));
    m_socket->flush();
    for (int i = FrameReplyHead; i < bytes.size(); ++i) {
        m_socket->write(bytes.mid(i, 1));
        m_socket->flush();
    }
}

} // namespace farm
