#include "Business.h"
#include "Account.h"
#include "BodyRules.h"
#include "Core.h"
#include "drive/Drive.h"
#include <QDateTime>
#include <QDebug>
#include <QTimer>

namespace farm
{

namespace
{
constexpr int maxRows = 10000; // of one push
enum {
    Kicked = 10001,
    FramesReady = 10412,
    DriveEntry = 11201,
    ResultsReady = 10413,
    TaskOver = 10431,
    Illegal = 1000100,
    ElsewhereLogin = 1000101
};
} // namespace

Business::Business(Core &core) : m_core(core)
{
    connect(&m_server, &QTcpServer::newConnection, this, &Business::accept);
    addAccount();
    addLists();
    addOrders();
    addResults();
}

Business::~Business()
{
    for (Link *link : qAsConst(m_links)) {
        link->socket->disconnect(this);
        link->socket->abort();
        delete link;
    }
}

bool Business::listen(int port, QString *error)
{
    if (m_server.listen(QHostAddress(m_core.options.address), quint16(port)))
        return true;
    *error = QStringLiteral("business server, port %1: %2").arg(port).arg(m_server.errorString());
    return false;
}

void Business::accept()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        ++m_core.counters.links;
        if (m_core.faults.happens(QStringLiteral("refuse-business"))) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        auto *link = new Link;
        link->socket = socket;
        link->cut = m_core.faults.number(QStringLiteral("cut-business"));
        m_links += link;
        connect(socket, &QTcpSocket::readyRead, this, [this, link] { read(link); });
        connect(socket, &QTcpSocket::disconnected, this, [this, link] {
            m_links.removeOne(link);
            link->socket->deleteLater();
            delete link;
        });
    }
}

void Business::dropLinks()
{
    for (Link *link : QList<Link *>(m_links))
        link->socket->abort();
}

Link *Business::linkOf(QTcpSocket *socket) const
{
    for (Link *link : m_links) {
        if (socket && link->socket == socket)
            return link;
    }
    return nullptr;
}

void Business::read(Link *link)
{
    const QPointer<QTcpSocket> socket = link->socket;
    link->feed.add(socket->readAll());
    // A handler may cut the link, and with it goes the record: it is looked up again before each package.
    while ((link = linkOf(socket))) {
        Package package;
        QString why;
        switch (link->feed.next(&package, &why)) {
        case PackageFeed::More:
            return;
        case PackageFeed::Bad:
            m_core.violation(QStringLiteral("business link: %1").arg(why));
            socket->abort();
            return;
        case PackageFeed::Whole:
            handle(link, package);
        }
    }
}

void Business::handle(Link *link, const Package &package)
{
    const int cmd = package.cmd;
    FarmFaults &faults = m_core.faults;
    const auto named = [cmd](const char *fault) { return QStringLiteral("%1.%2").arg(QLatin1String(fault)).arg(cmd); };
    ++m_core.counters.packages;
    ++m_core.commands[cmd];
    const QPointer<QTcpSocket> socket = link->socket;
    if (faults.happens(named("cut-on"))) {
        socket->abort();
        return;
    }
    if (faults.happens(named("ignore")))
        return;
    if (!link->loggedIn && cmd != 10000 && cmd != 10308 && cmd != 10309) {
        m_core.violation(QStringLiteral("command %1 before login").arg(cmd));
        send(link, replyPackage(-1, Kicked, Illegal, "{}"));
        return;
    }
    const Answer answer = decide(*link, package);
    if (!answer.later)
        return reply(socket, package.seq, cmd, answer);
    const QPointer<Business> self(this);
    answer.later([self, socket, seq = package.seq, cmd](const Answer &told) {
        if (self)
            self->reply(socket, seq, cmd, told);
    });
}

void Business::reply(const QPointer<QTcpSocket> &socket, int seq, int cmd, const Answer &answer)
{
    FarmFaults &faults = m_core.faults;
    const auto named = [cmd](const char *fault) { return QStringLiteral("%1.%2").arg(QLatin1String(fault)).arg(cmd); };
    if (cmd != 10000 && cmd != 10416 && cmd != 10311)
        m_core.event(QStringLiteral("%1 %2").arg(cmd).arg(answer.val));
    if (faults.happens(named("cut-after")) && socket) {
        socket->abort();
        return;
    }
    if (faults.happens(named("drop-reply")))
        return;
    const bool badJson = faults.happens(named("bad-json"));
    const qint64 delay = faults.number(named("delay-reply"));
    if (delay > 0)
        QTimer::singleShot(int(delay), this, [=] { answerLater(socket, seq, cmd, answer, badJson); });
    else
        answerLater(socket, seq, cmd, answer, badJson);
}

// What goes against the format is told, and answered as far as it can be.
Answer Business::decide(Link &link, const Package &package)
{
    const int cmd = package.cmd;
    const auto handler = m_handlers.constFind(cmd);
    const QJsonDocument body = QJsonDocument::fromJson(package.body);
    if (handler == m_handlers.cend() || body.isNull()) {
        m_core.violation(handler == m_handlers.cend() ? QStringLiteral("unknown command %1").arg(cmd)
                                                      : QStringLiteral("body of command %1 isn't JSON").arg(cmd));
        return {cmd * 100 + 1, {}, {}, {}};
    }
    const QStringList wrong = bodyFaults(cmd, body);
    if (!wrong.isEmpty())
        m_core.violation(QStringLiteral("body of command %1: %2").arg(cmd).arg(wrong.join(QLatin1Char(','))));
    const qint64 code = m_core.faults.number(QStringLiteral("refuse.%1").arg(cmd));
    return code >= 0 ? Answer{int(code), {}, {}, {}} : (*handler)(link, body);
}

void Business::answerLater(const QPointer<QTcpSocket> &socket, int seq, int cmd, const Answer &answer, bool badJson)
{
    Link *link = linkOf(socket);
    if (!link)
        return;
    QByteArray body = answer.stream;
    if (body.isEmpty())
        body = badJson ? QByteArray("{\"broken\":") : QJsonDocument(answer.body).toJson(QJsonDocument::Compact);
    QByteArray bytes = replyPackage(seq, cmd, answer.val, body);
    if (m_core.faults.happens(QStringLiteral("bad-magic")))
        bytes[0] = 0x14;
    for (qint64 i = m_core.faults.number(QStringLiteral("flood"), 0); i > 0; --i)
        bytes.prepend(replyPackage(-1, 10299, 1029900, "{}"));
    send(link, bytes);
    if (answer.after)
        answer.after();
}

void Business::send(Link *link, const QByteArray &bytes)
{
    const QPointer<QTcpSocket> socket = link->socket;
    QByteArray out = bytes;
    const bool cut = link->cut >= 0 && link->cut <= out.size();
    if (link->cut >= 0) {
        out.truncate(int(qMin<qint64>(link->cut, out.size())));
        link->cut -= out.size();
    }
    if (m_core.faults.happens(QStringLiteral("split-business"))) {
        for (int i = 0; i < out.size() && socket; ++i) {
            socket->write(out.constData() + i, 1);
            socket->flush();
        }
    } else {
        socket->write(out);
    }
    if (cut && socket) {
        socket->flush();
        socket->abort();
    }
}

void Business::kick(int reason)
{
    m_core.event(QStringLiteral("kick %1").arg(reason));
    for (Link *link : QList<Link *>(m_links)) {
        link->loggedIn = false;
        send(link, replyPackage(-1, Kicked, reason, "{}"));
    }
}

void Business::push(int cmd, int val, const QJsonObject &body, int user)
{
    const QByteArray bytes = replyPackage(-1, cmd, val, QJsonDocument(body).toJson(QJsonDocument::Compact));
    for (Link *link : QList<Link *>(m_links)) {
        if (!link->loggedIn || (user != 0 && link->user != user))
            continue;
        ++m_core.counters.pushes;
        send(link, bytes);
    }
}

void Business::waitForUser(Task &task)
{
    QJsonObject body = m_core.tasks->resultHead(task);
    body.insert("id", task.id);
    const qint64 leftMs =
        task.waitMs + qint64(m_core.options.confirmHours * 3600000) - QDateTime::currentMSecsSinceEpoch();
    body.insert("remainHour", int(qMax<qint64>(0, (leftMs + 3599999) / 3600000)));
    push(FramesReady, 1041200, body, task.user);
}

void Business::movedOver(Task &task)
{
    m_outstanding.remove(task.id);
    announce(task);
    if (task.status == Paused && task.subtype == WaitConfirm)
        waitForUser(task);
}

void Business::taskOver(Task &task)
{
    QJsonObject body = m_core.tasks->record(task);
    body.insert("missionId", task.id);
    push(TaskOver, 1043100, body, task.user);
}

// One push holds either priority frames or others, and a task has one push on its way: so one confirmation says exactly
// which rows are safe.
void Business::announce(Task &task)
{
    const bool ended = task.status == Ended && task.result != Cancelled && task.stage >= Render;
    if (task.main || m_outstanding.contains(task.id) || (!ended && !task.keyFramesDone()) ||
        m_core.account->config().value("autoPushResult").toInt() == 0)
        return;
    bool heard = false;
    for (const Link *link : qAsConst(m_links))
        heard = heard || (link->loggedIn && link->user == task.user);
    if (!heard || m_core.faults.happens(QStringLiteral("no-push")))
        return;
    QList<qint64> ids[2];
    QJsonArray rows[2];
    for (const FarmResult &one : m_core.tasks->results(task.id)) {
        if (one.confirmed || (!ended && !one.keyFrame))
            continue;
        if (ids[one.keyFrame ? 0 : 1].size() >= maxRows)
            continue; // the rest follows when these are confirmed
        ids[one.keyFrame ? 0 : 1] += one.id;
        rows[one.keyFrame ? 0 : 1].append(m_core.tasks->resultRow(one));
    }
    const int kind = ids[0].isEmpty() ? 1 : 0;
    if (ids[kind].isEmpty())
        return;
    QJsonObject body = m_core.tasks->resultHead(task);
    body.insert("prefixPath", QStringLiteral("%1_%2/").arg(task.id).arg(Tasks::missionName(task)));
    body.insert("isKeyframe", kind == 0 ? 1 : 0);
    body.insert("rows", rows[kind]);
    m_outstanding.insert(task.id, ids[kind]);
    m_core.tasks->markPushed(ids[kind]);
    m_core.event(QStringLiteral("push %1 rows of %2").arg(ids[kind].size()).arg(task.id));
    push(ResultsReady, 1041300, body, task.user);
}

// Once a login, when the client is ready for it: what it hasn't confirmed, and the tasks that wait for a word.
void Business::welcome(Link *link)
{
    if (!link || !link->loggedIn || link->welcomed)
        return;
    link->welcomed = true;
    send(link,
         replyPackage(-1, DriveEntry, 1120198, QJsonDocument(m_core.drive->entry()).toJson(QJsonDocument::Compact)));
    for (Task *task : m_core.tasks->all()) {
        if (task->user != link->user)
            continue;
        announce(*task);
        if (task->status == Paused && task->subtype == WaitConfirm)
            waitForUser(*task);
    }
    if (const qint64 reason = m_core.faults.number(QStringLiteral("kick")); reason > 0)
        kick(int(reason));
}

Task *Business::taskOf(const QJsonObject &body, int cmd, Answer *answer)
{
    Task *task = m_core.tasks->byId(body.value("missionId").toInt());
    *answer = Answer{task ? cmd * 100 : cmd * 100 + 1, {}, {}, {}};
    return task;
}

} // namespace farm
