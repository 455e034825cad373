#include "FileServer.h"
#include "Account.h"
#include "Core.h"
#include "drive/Drive.h"
#include <QJsonDocument>
#include <QPointer>
#include <QUuid>

namespace farm
{

constexpr int HoldMs = 10;

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
    ++m_core.counters.fileLinksOpen;
    m_socket->setParent(this);
    m_socket->setReadBufferSize(FileWindow);
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

FileLink::~FileLink() { --m_core.counters.fileLinksOpen; }

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
    const bool data = frame.command == FileCommand::SendData;
    const int phase = data ? 1 : frame.command == FileCommand::Commit ? 2 : 0;
    const bool right = (frame.command == FileCommand::AskUpload || data || frame.command == FileCommand::Commit ||
                        frame.command == FileCommand::AskDownload) &&
                       frame.phase == phase;
    if (!right)
        return refuse(QStringLiteral("command %1 with phase %2").arg(frame.command).arg(frame.phase), frame.command);
    const bool reads = frame.command == FileCommand::AskDownload;
    m_farm = farmOf(frame.token);
    if (m_farm == 0 && reads &&
        m_core.account->knownToken(QUuid::fromRfc4122(frame.token).toString(QUuid::WithoutBraces)))
        m_farm = FarmId;
    if (m_farm == 0) {
        m_core.event(QStringLiteral("frame with a stale token"));
        return refuse({}, FileCommand::RefusedFrame);
    }
    if (!data && (frame.offset != -1 || frame.length > MaxFrameJson))
        return refuse(QStringLiteral("command %1 with offset %2, length %3")
                          .arg(frame.command)
                          .arg(frame.offset)
                          .arg(frame.length),
                      frame.command);
    if (m_core.faults.happens(QStringLiteral("refuse-frame")))
        return refuse({}, FileCommand::RefusedFrame);
    if (m_core.faults.happens(QStringLiteral("refuse-frame-other")))
        return refuse({}, frame.command);
    if (data)
        return beginData();
    m_state = Json;
}

int FileLink::farmOf(const QByteArray &token) const
{
    for (int farm = 1; m_core.drive->knows(farm); ++farm) {
        if (token == m_core.account->transferBytes(farm))
            return farm;
    }
    return 0;
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
    case FileCommand::AskUpload:
        return ask(body);
    case FileCommand::Commit:
        return commit(body);
    default:
        return download(body);
    }
}

void FileLink::reply(int phase, int code, const QJsonObject &body)
{
    const QString held = m_core.faults.peek(QStringLiteral("hold-file"));
    if (phase == 0 && !held.isNull() && m_got >= held.toLongLong() &&
        m_core.faults.happens(QStringLiteral("hold-file"))) {
        QTimer::singleShot(HoldMs, this, [=] { reply(phase, code, body); });
        return;
    }
    QByteArray text = body.isEmpty() ? QByteArray() : QJsonDocument(body).toJson(QJsonDocument::Compact);
    if (const qint64 blanks = m_core.faults.number(QStringLiteral("long-reply")); blanks > 0)
        text = QByteArray(int(blanks), ' ');
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
