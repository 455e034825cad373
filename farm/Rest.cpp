#include "Rest.h"
#include "Core.h"
#include "drive/Drive.h"
#include <QJsonDocument>
#include <QPointer>
#include <QTimer>
#include <QUrl>

namespace farm
{

namespace
{
constexpr int maxHead = 64 << 10, maxBody = 256 << 20;

QByteArray statusText(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 411:
        return "Length Required";
    case 413:
        return "Payload Too Large";
    default:
        return status < 500 ? "Refused" : "Server Error";
    }
}
} // namespace

HttpAnswer jsonAnswer(const QJsonObject &body, int status)
{
    HttpAnswer answer;
    answer.status = status;
    answer.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return answer;
}

HttpFeed::Step HttpFeed::next(HttpRequest *request, int *status)
{
    const int end = m_bytes.indexOf("\r\n\r\n");
    if (end < 0 || end > maxHead) {
        *status = 413;
        return end < 0 && m_bytes.size() <= maxHead ? More : Bad;
    }
    const QList<QByteArray> lines = m_bytes.left(end).split('\n');
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    *status = 400;
    if (words.size() != 3 || !words.at(2).startsWith("HTTP/1.") || !words.at(1).startsWith('/'))
        return Bad;
    *request = HttpRequest();
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines.at(i).indexOf(':');
        if (colon > 0)
            request->headers.insert(lines.at(i).left(colon).trimmed().toLower(), lines.at(i).mid(colon + 1).trimmed());
    }
    if (request->headers.contains("transfer-encoding")) {
        *status = 411;
        return Bad;
    }
    bool good = true;
    const qint64 length =
        request->headers.contains("content-length") ? request->headers.value("content-length").toLongLong(&good) : 0;
    if (!good || length < 0 || length > maxBody) {
        *status = good && length > maxBody ? 413 : 400;
        return Bad;
    }
    if (m_bytes.size() < end + 4 + length)
        return More;
    const QByteArray target = words.at(1);
    const int mark = target.indexOf('?');
    request->method = words.at(0);
    request->path = QUrl::fromPercentEncoding(mark < 0 ? target : target.left(mark));
    request->rawQuery = mark < 0 ? QByteArray() : target.mid(mark + 1);
    request->query = QUrlQuery(QString::fromUtf8(request->rawQuery));
    request->body = m_bytes.mid(end + 4, int(length));
    m_bytes.remove(0, end + 4 + int(length));
    return Whole;
}

Rest::Rest(Core &core) : m_core(core) { connect(&m_server, &QTcpServer::newConnection, this, &Rest::accept); }

bool Rest::listen(int port, QString *error)
{
    if (m_server.listen(QHostAddress(m_core.options.address), quint16(port)))
        return true;
    *error = QStringLiteral("web server, port %1: %2").arg(port).arg(m_server.errorString());
    return false;
}

QString Rest::address() const { return QStringLiteral("http://%1:%2").arg(m_core.told()).arg(port()); }

void Rest::accept()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        if (m_core.faults.happens(QStringLiteral("refuse-http"))) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        socket->setParent(this);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        auto feed = std::make_shared<HttpFeed>();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, feed] { read(socket, feed.get()); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void Rest::dropLinks()
{
    for (QTcpSocket *socket : findChildren<QTcpSocket *>(QString(), Qt::FindDirectChildrenOnly))
        socket->abort();
}

void Rest::read(QTcpSocket *socket, HttpFeed *feed)
{
    feed->add(socket->readAll());
    HttpRequest request;
    int status = 0;
    while (socket->state() == QAbstractSocket::ConnectedState) {
        switch (feed->next(&request, &status)) {
        case HttpFeed::More:
            return;
        case HttpFeed::Bad:
            m_core.violation(QStringLiteral("bad HTTP request, %1").arg(status));
            send(socket, jsonAnswer({{"code", status}, {"result", 0}}, status), true);
            return;
        case HttpFeed::Whole:
            ++m_core.counters.requests;
            request.farm = Drive::takeFarm(&request.path);
            const bool control = request.path.startsWith(QStringLiteral("/farm/"));
            if (!control && (m_core.faults.happens(QStringLiteral("http-silent")) ||
                             m_core.faults.happens("http-silent." + request.path.section(QLatin1Char('/'), -1))))
                continue;
            const qint64 forced = control ? -1 : m_core.faults.number(QStringLiteral("http-status"));
            const HttpAnswer whole =
                forced > 0 ? jsonAnswer({{"code", forced}, {"result", 0}}, int(forced)) : answer(request);
            const bool close = request.headers.value("connection").toLower() == "close";
            const qint64 delay = control ? -1 : m_core.faults.number(QStringLiteral("http-delay"));
            const QPointer<QTcpSocket> guard(socket);
            if (delay > 0) {
                QTimer::singleShot(int(delay), this, [=] {
                    if (guard)
                        send(guard, whole, close);
                });
            } else {
                send(socket, whole, close);
            }
        }
    }
}

void Rest::send(QTcpSocket *socket, const HttpAnswer &answer, bool close)
{
    if (answer.status == 0)
        return socket->abort();
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(answer.status) + ' ' + statusText(answer.status) +
                       "\r\nContent-Type: " + answer.type + "\r\nCache-Control: no-store\r\n" + answer.extra +
                       "Connection: " + (close ? "close" : "keep-alive") +
                       "\r\nContent-Length: " + QByteArray::number(answer.body.size()) + "\r\n\r\n" + answer.body;
    if (m_core.faults.happens(QStringLiteral("split-http"))) {
        for (char one : bytes) {
            socket->write(&one, 1);
            socket->flush();
        }
    } else {
        socket->write(bytes);
    }
    if (close)
        socket->disconnectFromHost();
}

} // namespace farm
