#include "Listener.h"
#include "OssErrors.h"
#include <QDebug>
#include <QJsonDocument>

namespace
{
// Every character beyond ASCII as \uXXXX, so that bytes and characters count the same.
QByteArray asciiJson(const QJsonObject &message)
{
    const QString text = QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact));
    QByteArray ascii;
    for (const QChar c : text)
        ascii += c.unicode() < 128 ? QByteArray(1, char(c.unicode()))
                                   : "\\u" + QByteArray::number(c.unicode(), 16).rightJustified(4, '0');
    return ascii;
}

// In the same time whatever the guess.
bool equal(const QByteArray &one, const QByteArray &other)
{
    if (one.size() != other.size())
        return false;
    char differs = 0;
    for (int i = 0; i < one.size(); ++i)
        differs |= one.at(i) ^ other.at(i);
    return differs == 0;
}
} // namespace

Listener::Listener(QByteArray secret, int sourceLimitMs) : m_secret(std::move(secret)), m_sourceLimitMs(sourceLimitMs)
{
    connect(&m_server, &QTcpServer::newConnection, this, &Listener::connected);
    connect(&m_tell, &QTimer::timeout, this, &Listener::tellAll);
}

Listener::~Listener()
{
    // Sockets say goodbye while they die with the server, when the tables are gone.
    for (QTcpSocket *socket : m_links.keys())
        socket->disconnect(this);
    for (auto &one : m_jobs)
        one.second.job->stop();
    for (auto &one : m_jobs)
        one.second.thread.join();
}

bool Listener::listen(int port) { return m_server.listen(QHostAddress::LocalHost, quint16(port)); }

void Listener::connected()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        if (m_links.size() >= MostConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        m_links.insert(socket, Link{socket, {}, false});
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { gone(socket); });
        QTimer::singleShot(StrangerMs, socket, [this, socket] {
            if (!m_links.value(socket).known)
                socket->abort();
        });
    }
}

void Listener::read(QTcpSocket *socket)
{
    if (!m_links.contains(socket))
        return;
    m_links[socket].stream.feed(socket->readAll());
    for (QByteArray text; m_links.contains(socket);) {
        const JsonStream::Result result = m_links[socket].stream.next(&text);
        if (result == JsonStream::Incomplete)
            return;
        if (result == JsonStream::Bad) {
            qWarning("Listener::read: not a stream of objects, the connection is closed");
            socket->abort();
            return;
        }
        take(socket, text);
    }
}

void Listener::take(QTcpSocket *socket, const QByteArray &text)
{
    const QJsonObject message = QJsonDocument::fromJson(text).object();
    Link &link = m_links[socket];
    if (!link.known) {
        // First in the text too: nothing else of a stranger's is looked at.
        const QByteArray start = "{\"auth\":\"" + m_secret + '"';
        link.known = !m_secret.isEmpty() && equal(text.left(start.size()), start);
        if (!link.known) {
            qWarning("Listener::take: a message without the secret");
            socket->abort();
            return;
        }
    }
    const QString func = message.value(QLatin1String("func")).toString();
    const QString rule = message.value(QLatin1String("rule")).toString();
    if (func == QLatin1String("upload")) {
        upload(socket, message);
    } else if (func == QLatin1String("pauseUpload")) {
        pause(socket, rule);
    } else {
        qWarning().noquote() << "Listener::take: unknown func" << func;
    }
}

// Only what that connection asked for: a new one may have asked for the same file before the old one's word came.
void Listener::pause(QTcpSocket *socket, const QString &rule)
{
    const auto it = m_jobs.find(rule);
    if (it == m_jobs.end())
        return;
    if (it->second.nextSocket == socket)
        it->second.next = {};
    if (it->second.socket == socket)
        it->second.job->stop();
}

void Listener::upload(QTcpSocket *socket, const QJsonObject &message)
{
    auto job = std::make_shared<UploadJob>(message, m_sourceLimitMs);
    const QString rule = job->rule();
    if (job->error() != OssError::Done) {
        send(socket, {{QStringLiteral("func"), QStringLiteral("uploadFinish")},
                      {QStringLiteral("rule"), rule},
                      {QStringLiteral("code"), job->error()}});
        return;
    }
    const auto it = m_jobs.find(rule);
    if (it != m_jobs.end()) { // two at once would tread on one check point
        it->second.job->stop();
        it->second.next = message;
        it->second.nextSocket = socket;
        return;
    }
    Running &running = m_jobs[rule];
    running.job = job;
    running.socket = socket;
    running.thread = std::thread([this, job, rule] {
        const int code = job->run();
        QMetaObject::invokeMethod(
            this, [this, rule, code] { ended(rule, code); }, Qt::QueuedConnection);
    });
    if (!m_tell.isActive())
        m_tell.start(TellMs);
}

void Listener::ended(const QString &rule, int code)
{
    const auto it = m_jobs.find(rule);
    if (it == m_jobs.end())
        return;
    it->second.thread.join();
    const QPointer<QTcpSocket> socket = it->second.socket, nextSocket = it->second.nextSocket;
    const QJsonObject next = it->second.next;
    const QString words = it->second.job->lastError();
    m_jobs.erase(it);
    if (m_jobs.empty())
        m_tell.stop();
    if (code != OssError::Stopped && code != OssError::Done)
        qWarning().noquote() << "Listener::ended:" << rule << code << words;
    if (socket && code != OssError::Stopped)
        send(socket, {{QStringLiteral("func"), QStringLiteral("uploadFinish")},
                      {QStringLiteral("rule"), rule},
                      {QStringLiteral("code"), code},
                      {QStringLiteral("text"), words}});
    if (nextSocket && !next.isEmpty())
        upload(nextSocket, next);
}

void Listener::gone(QTcpSocket *socket)
{
    for (auto &one : m_jobs)
        if (one.second.socket == socket)
            one.second.job->stop();
    m_links.remove(socket);
    socket->deleteLater();
}

void Listener::tellAll()
{
    for (auto &one : m_jobs)
        if (one.second.socket)
            send(one.second.socket, {{QStringLiteral("func"), QStringLiteral("uploading")},
                                     {QStringLiteral("rule"), one.first},
                                     {QStringLiteral("upped"), double(one.second.job->sent())}});
}

void Listener::send(QTcpSocket *socket, const QJsonObject &message)
{
    const QByteArray text = asciiJson(message);
    socket->write(QByteArray::number(text.size()).rightJustified(8, '0') + text);
}
