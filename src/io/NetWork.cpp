#include "io/NetWork.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include <algorithm>
#include <atomic>
#include <QDateTime>
#include <QDebug>
#include <QJsonDocument>
#include <QTimer>

namespace
{
constexpr int MostBusyMs = 600000;
std::atomic<NetWork *> only{nullptr};
constexpr int MostHeld = 1 << 20;   // bytes of an answer in pieces between the network and who asked
constexpr int LongestInPieces = 20; // times the deadline
constexpr int CrawlBytes = 4096;    // what is slower than that within the deadline ends with it

// A body that can't be read a second time. Where a server closes a link in place of its answer the toolkit would send
// the request again by itself: what a POST makes would be made twice, what is deleted not be found. Owned by its reply.
class SentOnce : public QIODevice
{
public:
    explicit SentOnce(QByteArray bytes) : m_bytes(std::move(bytes)) { open(ReadOnly | Unbuffered); }
    bool isSequential() const override { return true; }
    bool atEnd() const override { return m_at == m_bytes.size(); }
    qint64 bytesAvailable() const override { return m_bytes.size() - m_at; }

protected:
    qint64 readData(char *to, qint64 most) override
    {
        const qint64 size = qMin(most, bytesAvailable());
        std::copy_n(m_bytes.constData() + m_at, size, to);
        m_at += size;
        return size == 0 && most > 0 ? -1 : size;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    const QByteArray m_bytes;
    qint64 m_at = 0;
};

QString logText(const QByteArray &body)
{
    return QString::fromUtf8(body.constData(), qMin(body.size(), 20001)); // the sink cuts such a line anyway
}
} // namespace

FuncBody FuncBody::fromBytes(const QByteArray &body)
{
    FuncBody rep;
    rep.raw = body;
    rep.object = QJsonDocument::fromJson(body).object();
    rep.result = rep.object.value("result").toVariant().toInt();
    rep.code = rep.object.value("code").toVariant().toInt();
    rep.msg = rep.object.value("msg").toString();
    if (rep.msg.isEmpty())
        rep.msg = rep.object.value("message").toString();
    rep.data = rep.object.value("data").toObject();
    rep.array = rep.object.value("data").toArray();
    return rep;
}

bool FuncBody::refuses() const
{
    if (object.contains("result") && result > 0)
        return false;
    if (result < 0 || (code != 0 && code != 200))
        return true;
    return object.contains("result") && (!msg.isEmpty() || !object.contains("code"));
}

int FuncBody::busyFor(int status, const QByteArray &retryAfter)
{
    if (status != 429 && (status < 502 || status > 504))
        return -1;
    bool seconds = false;
    qint64 ms = retryAfter.trimmed().toLongLong(&seconds) * 1000;
    if (!seconds)
        ms = QDateTime::currentDateTimeUtc().msecsTo(
            QDateTime::fromString(QString::fromLatin1(retryAfter.trimmed()), Qt::RFC2822Date));
    return int(qBound<qint64>(0, ms, MostBusyMs));
}

void BackFuncTool::beginBack(Request req, FuncBody rep)
{
    if (rep.ok()) {
        FuncBody parsed = FuncBody::fromBytes(rep.raw);
        parsed.httpStatus = rep.httpStatus;
        rep = parsed;
        if (NetWork *net = only.load())
            net->checkStale(req.url, rep);
    }
    if (guard && func)
        func(req, rep);
}

void NetWork::create()
{
    if (!only.load())
        only = new NetWork;
}

NetWork *NetWork::instance()
{
    NetWork *net = only.load();
    if (!net)
        qWarning().noquote() << "NetWork::instance: asked for while there is no REST client";
    return net;
}

void NetWork::destroy() { delete only.exchange(nullptr); }

NetWork::NetWork() : m_manager(new QNetworkAccessManager(this))
{
    Delivery::here();
    connect(m_manager, &QNetworkAccessManager::finished, this, &NetWork::replyFinished);
}

NetWork::~NetWork()
{
    m_manager->disconnect(this);
    FuncBody over;
    over.error = QStringLiteral("NetworkError:");
    for (const Pending &entry : qAsConst(m_pending))
        deliver(entry, over);
}

void NetWork::nget(QString url, FuncBack func, QThread *backTh, QPointer<QObject> qo, int timeoutSeconds)
{
    Request req;
    req.url = url;
    ask(Get, req, std::move(func), backTh, qo, timeoutSeconds * 1000);
}

void NetWork::nget(Request req, FuncBack func, QThread *backTh, QPointer<QObject> qo)
{
    const int ms = req.timeout * 1000;
    ask(Get, std::move(req), std::move(func), backTh, qo, ms);
}

void NetWork::npost(Request req, FuncBack func, QThread *backTh)
{
    const QPointer<QObject> guard = req.guard;
    const int ms = req.timeout * 1000;
    ask(Post, std::move(req), std::move(func), backTh, guard, ms);
}

void NetWork::ndel(QString url, FuncBack func, QThread *backTh, QPointer<QObject> qo)
{
    Request req;
    req.url = url;
    ask(Delete, req, std::move(func), backTh, qo, 0);
}

void NetWork::nput(QString url, QByteArray byte, FuncBack func, QThread *backTh, QPointer<QObject> qo)
{
    Request req;
    req.url = url;
    req.byte = byte;
    ask(Put, req, std::move(func), backTh, qo, 0);
}

void NetWork::ask(Verb verb, Request req, FuncBack func, QThread *backTh, QPointer<QObject> qo, int timeoutMs)
{
    Pending entry{std::move(func), Delivery::to(backTh), qo, std::move(req), 0, timeoutMs};
    QMetaObject::invokeMethod(
        this, [this, verb, entry = std::move(entry)] { start(verb, entry); }, Qt::QueuedConnection);
}

void NetWork::start(Verb verb, Pending entry)
{
    entry.number = ++m_count;
    QNetworkRequest request{QUrl(entry.request.url)};
    setHead(request, entry.request, verb == Post || verb == Put);
    QNetworkReply *reply = verb == Get ? m_manager->get(request) : sendOnce(verb, &request, entry.request.byte);
    setMap(reply, std::move(entry));
}

QNetworkReply *NetWork::sendOnce(Verb verb, QNetworkRequest *request, const QByteArray &bytes)
{
    auto *body = new SentOnce(bytes);
    request->setHeader(QNetworkRequest::ContentLengthHeader, bytes.size());
    request->setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    QNetworkReply *reply = verb == Post  ? m_manager->post(*request, body)
                           : verb == Put ? m_manager->put(*request, body)
                                         : m_manager->sendCustomRequest(*request, "DELETE", body);
    body->setParent(reply);
    return reply;
}

void NetWork::setMap(QNetworkReply *reply, Pending entry)
{
    if (!entry.request.quiet)
        qDebug().noquote() << QStringLiteral("--%1-").arg(entry.number) << entry.request.url;
    if (entry.timeoutMs > 0) {
        entry.deadline = new QTimer(reply);
        entry.deadline->setSingleShot(true);
        connect(entry.deadline, &QTimer::timeout, this, [this, reply] { handReplay(reply, 1); });
        entry.deadline->start(entry.timeoutMs);
        entry.end.setRemainingTime(qint64(entry.timeoutMs) * LongestInPieces);
    }
    if (entry.request.arrived) {
        reply->setReadBufferSize(MostHeld);
        connect(reply, &QNetworkReply::readyRead, this, [this, reply] { readOn(reply); });
    }
    m_pending.insert(reply, std::move(entry));
}

void NetWork::readOn(QNetworkReply *reply)
{
    const auto it = m_pending.find(reply);
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (it == m_pending.end() || status < 200 || status > 299 || it->held >= MostHeld)
        return;
    const QByteArray bytes = reply->readAll();
    it->fresh += bytes.size();
    if (it->deadline && it->fresh >= CrawlBytes) {
        it->fresh = 0;
        it->deadline->start(int(qBound<qint64>(0, it->end.remainingTime(), it->timeoutMs)));
    }
    handOver(&*it, reply, bytes);
}

void NetWork::handOver(Pending *entry, QNetworkReply *reply, const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return;
    entry->held += bytes.size();
    entry->way.post(entry->guard, [reply, bytes, number = entry->number, arrived = entry->request.arrived] {
        const bool more = arrived(bytes);
        if (NetWork *net = only.load())
            QMetaObject::invokeMethod(
                net, [=, size = bytes.size()] { net->taken(reply, number, size, more); }, Qt::QueuedConnection);
    });
}

// The reply may be another one by now, at the same place in memory: its number tells.
void NetWork::taken(QNetworkReply *reply, int number, int bytes, bool more)
{
    const auto it = m_pending.find(reply);
    if (it == m_pending.end() || it->number != number)
        return;
    it->held -= bytes;
    if (more)
        return readOn(reply);
    m_pending.erase(it);
    reply->abort();
}

void NetWork::setHead(QNetworkRequest &request, const Request &req, bool json)
{
    if (!req.contentType.isEmpty())
        request.setRawHeader("Content-Type", req.contentType.toLatin1());
    else if (json)
        request.setRawHeader("Content-Type", "application/json");
    if (req.bareAddress) {
        const QString secret = UserInfo::apiToken();
        if (!secret.isEmpty() && QUrl(req.url).authority() == QUrl(UserInfo::master()).authority())
            request.setRawHeader("Authorization", "Bearer " + secret.toUtf8());
    } else {
        setClientHeads(request);
    }
    for (const auto &header : req.headers)
        request.setRawHeader(header.first, header.second);
}

void NetWork::setClientHeads(QNetworkRequest &request) const
{
    request.setRawHeader("token", UserInfo::token().toUtf8());
    request.setRawHeader("lang", QByteArray::number(UserInfo::languageNumber()));
    QMutexLocker lock(&m_farmMutex);
    if (const QString address = addressOf(request.url().toString()); !address.isEmpty()) {
        request.setRawHeader("X-BRONTEL-ACCESS-TOKEN",
                             m_accessTokens.value(address, m_staleTokens.value(address)).toUtf8());
        request.setRawHeader("X-BRONTEL-ROLE", "user");
    }
}

void NetWork::replyFinished(QNetworkReply *reply)
{
    handReplay(reply, 0);
    reply->deleteLater();
}

void NetWork::handReplay(QNetworkReply *reply, int timeout)
{
    const auto it = m_pending.find(reply);
    if (it == m_pending.end())
        return;
    Pending entry = *it;
    m_pending.erase(it);
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QString url = entry.request.url;
    FuncBody rep;
    rep.httpStatus = status;
    rep.busyMs = FuncBody::busyFor(status, reply->rawHeader("Retry-After"));
    if (timeout) {
        rep.error = QStringLiteral("time out:%1").arg(url);
        rep.brokenOff = true;
        qDebug().noquote() << rep.error;
        reply->abort();
    } else if (status != 0 && status != 401 && (status < 200 || status > 299)) {
        // Qt counts these as network errors too; who asks wants to know that the server did answer.
        qDebug().noquote() << QStringLiteral("%1_%2_%3").arg(status).arg(reply->errorString(), url);
        rep.error = QStringLiteral("HttpError:%1").arg(status);
        rep.raw = reply->readAll();
    } else if (reply->error() != QNetworkReply::NoError || status == 401) {
        qDebug().noquote() << QStringLiteral("%1_%2").arg(reply->errorString()).arg(int(reply->error()));
        rep.error = QStringLiteral("NetworkError:%1").arg(reply->errorString());
        rep.brokenOff = status != 401;
        rep.raw = reply->readAll();
        if (status == 401 && reply->hasRawHeader("status"))
            emit reLogin(reply->rawHeader("status").toInt());
    } else {
        if (entry.request.arrived)
            handOver(&entry, reply, reply->readAll());
        else
            rep.raw = reply->readAll();
        if (!entry.request.quiet)
            qDebug().noquote() << QStringLiteral("--%1- %2")
                                      .arg(entry.number)
                                      .arg(entry.request.secret ? QStringLiteral("...") : logText(rep.raw));
    }
    deliver(entry, rep);
}

void NetWork::deliver(const Pending &entry, const FuncBody &rep)
{
    entry.way.post([func = entry.func, guard = entry.guard, req = entry.request, rep] {
        BackFuncTool tool;
        tool.func = func;
        tool.guard = guard;
        tool.beginBack(req, rep);
    });
}
