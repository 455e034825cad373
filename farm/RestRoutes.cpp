#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "Core.h"
#include "drive/Drive.h"
#include "FileServer.h"
#include "Rest.h"
#include "tasks/TaskDesk.h"
#include "tasks/Tasks.h"
#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QTimer>

namespace farm
{

HttpAnswer Rest::answer(const HttpRequest &request)
{
    const QString &path = request.path;
    const bool get = request.method == "GET", post = request.method == "POST";
    if (!m_core.drive->knows(request.farm))
        return jsonAnswer({{"code", 404}, {"result", 0}}, 404);
    if (path.startsWith(QLatin1String("/skydrive/")) && path != QLatin1String("/skydrive/sourceFiles"))
        return skydrive(request);
    if (!get && !post)
        return jsonAnswer({{"code", 405}, {"result", 0}}, 405);
    if (path == QLatin1String("/getUpdateVersion.htm")) {
        const QString told = m_core.faults.take(QStringLiteral("update-version"));
        return {200, "text/plain; charset=utf-8", (told.isNull() ? newestVersion() : told).toUtf8(), {}};
    }
    if (get && (path.startsWith(QLatin1String("/packages/")) || path.startsWith(QLatin1String("/feed/"))))
        return feedFile(request);
    if (path == QLatin1String("/xclient/loginPage"))
        return loginPage(request);
    if (path == QLatin1String("/xclient/login") && post)
        return login(request);
    if (path.startsWith(QLatin1String("/bs/farm/")))
        return farmHost(request);
    if (path == QLatin1String("/storage-secret-token/role"))
        return roleToken(request);
    if (path.startsWith(QLatin1String("/preview/")) && get) {
        const QByteArray picture = m_core.desk->picture(path.mid(9));
        return picture.isEmpty() ? jsonAnswer({{"code", 404}, {"result", 0}}, 404)
                                 : HttpAnswer{200, "image/jpeg", picture, {}};
    }
    if (path == QLatin1String("/skydrive/sourceFiles") && get)
        return sourceFiles(request);
    if ((path == QLatin1String("/logs") || path == QLatin1String("/")) && post)
        return logs(request);
    if (path.startsWith(QLatin1String("/farm/")))
        return control(request);
    if (path == QLatin1String("/") || path.startsWith(QLatin1String("/page/")))
        return page(request);
    return jsonAnswer({{"code", 404}, {"result", 0}, {"msg", QStringLiteral("没有此接口")}}, 404);
}

// The folder of update packages tells it too, once it has one.
QString Rest::newestVersion() const
{
    QFile told(m_core.options.feedDir + QStringLiteral("/version.txt"));
    if (m_core.options.feedDir.isEmpty() || !told.open(QIODevice::ReadOnly))
        return m_core.options.version;
    return QString::fromUtf8(told.read(100)).trimmed();
}

// A file of that folder, from a byte on where one is asked for.
HttpAnswer Rest::feedFile(const HttpRequest &request)
{
    QFile file(m_core.options.feedDir + request.path);
    if (m_core.options.feedDir.isEmpty() || request.path.contains(QLatin1String("..")) ||
        !file.open(QIODevice::ReadOnly))
        return jsonAnswer({{"code", 404}, {"result", 0}}, 404);
    const QByteArray range = request.headers.value("range");
    const bool part = range.startsWith("bytes=") && range.endsWith('-');
    const qint64 from = part ? range.mid(6, range.size() - 7).toLongLong() : 0, size = file.size();
    if (from < 0 || (part && from >= size))
        return {416, "text/plain", {}, "Content-Range: bytes */" + QByteArray::number(size) + "\r\n"};
    m_core.event(QStringLiteral("feed %1 from %2").arg(request.path).arg(from));
    file.seek(from);
    HttpAnswer whole{part ? 206 : 200, "application/octet-stream", file.readAll(), {}};
    if (part)
        whole.extra = "Content-Range: bytes " + QByteArray::number(from) + '-' + QByteArray::number(size - 1) + '/' +
                      QByteArray::number(size) + "\r\n";
    return whole;
}

HttpAnswer Rest::loginPage(const HttpRequest &request)
{
    if (request.item("version") != QLatin1String("qn"))
        m_core.violation(QStringLiteral("login page without version=qn"));
    const bool automatic = request.item("auto") == QLatin1String("1") || m_core.options.autoLogin;
    return {200,
            "text/html; charset=utf-8",
            loginPageText(m_core.options.user, m_core.options.password, request.item("en") == QLatin1String("true"),
                          automatic),
            {}};
}

HttpAnswer Rest::login(const HttpRequest &request)
{
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    QString problem;
    const QString auth = m_core.account->login(body.value("sessionId").toString(), body.value("username").toString(),
                                               body.value("password").toString(), &problem);
    m_core.event(
        QStringLiteral("page login %1").arg(problem.isEmpty() ? QStringLiteral("good") : QStringLiteral("refused")));
    return jsonAnswer({{"code", problem.isEmpty() ? 0 : 1},
                       {"result", problem.isEmpty() ? 1 : 0},
                       {"msg", problem},
                       {"token", auth},
                       {"username", m_core.options.user}});
}

HttpAnswer Rest::checkHeaders(const HttpRequest &request, bool access)
{
    const QByteArray lang = request.headers.value("lang");
    if (lang != "0" && lang != "1")
        m_core.violation(QStringLiteral("%1: header lang is '%2'").arg(request.path, QString::fromLatin1(lang)));
    if (!m_core.account->knownToken(QString::fromUtf8(request.headers.value("token")))) {
        m_core.violation(QStringLiteral("%1: unknown header token").arg(request.path));
        HttpAnswer refusal = jsonAnswer({{"code", 401}, {"result", 0}}, 401);
        refusal.extra = "status: 1000100\r\n";
        return refusal;
    }
    if (!access)
        return {};
    // Without both headers the client has forgotten its tokens with the login, and is told so like with stale ones.
    const QByteArray role = request.headers.value("x-brontel-role"),
                     token = request.headers.value("x-brontel-access-token");
    if (role != "user" && !(role.isEmpty() && token.isEmpty()))
        m_core.violation(QStringLiteral("%1: X-BRONTEL-ROLE is '%2'").arg(request.path, QString::fromLatin1(role)));
    if (token != m_core.account->accessToken(request.farm).toUtf8())
        return jsonAnswer({{"code", 203}, {"result", 0}, {"msg", QStringLiteral("access token")}}, 203);
    return {};
}

HttpAnswer Rest::farmHost(const HttpRequest &request)
{
    if (const HttpAnswer refusal = checkHeaders(request, false); refusal.status != 200)
        return refusal;
    if (const qint64 status = m_core.faults.number(QStringLiteral("farm-status")); status >= 0)
        return jsonAnswer({{"status", status}});
    if (!m_core.drive->knows(request.path.mid(9).toInt()))
        return jsonAnswer({{"status", 11040002}});
    return jsonAnswer({{"status", 11040000}, {"domain", m_core.told()}, {"port", m_core.files->port()}});
}

HttpAnswer Rest::roleToken(const HttpRequest &request)
{
    HttpAnswer refusal = checkHeaders(request, true);
    if (refusal.status == 203)
        refusal.status = 200;
    if (!refusal.body.isEmpty())
        return refusal;
    if (m_core.faults.happens(QStringLiteral("role-fail")))
        return jsonAnswer({{"code", 1}, {"result", 0}, {"msg", QStringLiteral("no token")}});
    return jsonAnswer({{"code", 0},
                       {"result", 1},
                       {"msg", QString()},
                       {"data", QJsonObject{{"token", m_core.account->transferToken(request.farm)}}}});
}

HttpAnswer Rest::skydrive(const HttpRequest &request)
{
    HttpAnswer refusal = checkHeaders(request, true);
    if (refusal.status == 203)
        if (const qint64 status = m_core.faults.number(QStringLiteral("stale-status")); status > 0)
            return jsonAnswer({{"code", status}, {"result", 0}}, int(status));
    if (refusal.status == 203 || m_core.faults.happens(QStringLiteral("drive-stale")))
        return jsonAnswer({{"code", 203}, {"result", 0}, {"msg", QStringLiteral("access token")}});
    if (!refusal.body.isEmpty())
        return refusal;
    HttpAnswer told = m_core.drive->answer(request);
    if (m_core.faults.happens(QStringLiteral("drive-drop-reply")))
        told.status = 0;
    return told;
}

HttpAnswer Rest::sourceFiles(const HttpRequest &request)
{
    HttpAnswer refusal = checkHeaders(request, true);
    if (refusal.status == 203 || m_core.faults.happens(QStringLiteral("stale-access")))
        return jsonAnswer({{"code", 203}, {"result", 0}});
    if (!refusal.body.isEmpty())
        return refusal;
    const QList<QPair<QString, QString>> items = request.query.queryItems(QUrl::FullyDecoded);
    QStringList names;
    for (const auto &item : items)
        names += item.first;
    QStringList wanted{"fileType", "key", "diskKey", "size", "lastModified", "upwork"};
    const bool ordered = names.contains(QStringLiteral("taskId"));
    if (names.contains(QStringLiteral("ETag")))
        wanted.insert(5, QStringLiteral("ETag"));
    if (ordered)
        wanted.insert(5, QStringLiteral("taskId"));
    if (names != wanted || request.item("fileType") != QLatin1String("1"))
        m_core.violation(QStringLiteral("/sourceFiles with items %1").arg(names.join(QLatin1Char(','))));
    if (request.rawQuery.contains('+')) // some servers take it for a blank
        m_core.violation(QStringLiteral("/sourceFiles with a plus sign that isn't encoded"));
    const QString key = request.item("key"), etag = request.item("ETag").toLower();
    const qint64 size = request.item("size").toLongLong(), mtime = request.item("lastModified").toLongLong();
    const auto told = [](int code, const char *text, const QJsonObject &data = {}) {
        QJsonObject body{{"code", code}, {"result", code < 101403 ? 1 : 0}, {"msg", QString::fromUtf8(text)}};
        if (!data.isEmpty())
            body.insert("data", data);
        return jsonAnswer(body);
    };
    if (const qint64 code = m_core.faults.number(QStringLiteral("instant")); code >= 0)
        return told(int(code), "");
    if (!ordered) // only asked, before an order: nothing is booked
        return m_core.store->known(key, size, mtime) ? told(101401, "存在") : told(101402, "不存在");
    if (request.item("taskId").toInt() == 0)
        return m_core.drive->source(request);
    Task *task = m_core.tasks->byId(request.item("taskId").toInt());
    if (!task || task->result == Cancelled)
        return told(1070006, "不可以上传");
    if (!task->keys.contains(cleanKey(key)))
        m_core.violation(QStringLiteral("task %1 has no file %2").arg(task->id).arg(key));
    if (m_core.store->known(key, size, mtime) || m_core.store->adopt(key, size, mtime, etag)) {
        ++m_core.counters.instantHits;
        m_core.tasks->markHere(*task, cleanKey(key));
        return told(101401, "存在");
    }
    ++m_core.counters.instantMisses;
    const int port = m_core.files->port();
    const QString other = m_core.faults.take(QStringLiteral("file-host"));
    if (other == QLatin1String("none"))
        return told(101402, "不存在");
    const QString host = other.isEmpty() ? m_core.told() : other;
    return told(101402, "不存在", {{"hostLan", host}, {"portLan", port}, {"hostWan", host}, {"portWan", port}});
}

HttpAnswer Rest::logs(const HttpRequest &request)
{
    ++m_core.counters.logUploads;
    if (!request.headers.value("content-type").startsWith("multipart/form-data"))
        m_core.violation(QStringLiteral("log upload that isn't a form"));
    QFile file(m_core.folder(QStringLiteral("logs")) +
               QStringLiteral("/upload-%1.txt").arg(QDateTime::currentMSecsSinceEpoch()));
    const bool good = file.open(QIODevice::WriteOnly) && file.write(request.body) == request.body.size();
    return jsonAnswer({{"code", good ? 0 : 1}, {"result", good ? 1 : 0}});
}

// Sent by a page of another site, or under a name of another site that leads here: a picture's address needs neither a
// script nor an Origin.
bool Rest::fromAPage(const HttpRequest &request) const
{
    const QByteArray own = address().toUtf8(), fetch = request.headers.value("sec-fetch-site"),
                     origin = request.headers.value("origin"), referer = request.headers.value("referer");
    const QByteArray host = "http://" + request.headers.value("host");
    return (host != own && host != "http://localhost:" + QByteArray::number(port())) ||
           (!origin.isEmpty() && origin != own) || (!referer.isEmpty() && !(referer + '/').startsWith(own + '/')) ||
           (!fetch.isEmpty() && fetch != "none" && fetch != "same-origin");
}

// For who tests: /farm/fault?name=..&value=.. , /farm/kick?reason=.. , /farm/drop , /farm/balance?value=.. ,
// /farm/rotate , /farm/state.
HttpAnswer Rest::control(const HttpRequest &request)
{
    const QString word = request.path.mid(6);
    if (fromAPage(request))
        return jsonAnswer({{"code", 403}, {"result", 0}}, 403); // a web page mustn't drive the farm
    if (word == QLatin1String("fault")) {
        const QString name = request.item("name"), value = request.item("value");
        if (name == QLatin1String("clear")) {
            m_core.faults.clear();
            return jsonAnswer({{"result", 1}});
        }
        const bool known = m_core.faults.set(name, value);
        return jsonAnswer({{"result", known ? 1 : 0}, {"happened", m_core.faults.happened(name)}}, known ? 200 : 404);
    }
    if (word == QLatin1String("drive"))
        return m_core.drive->control(request);
    if (word == QLatin1String("kick"))
        m_core.business->kick(request.item("reason").toInt());
    else if (word == QLatin1String("balance"))
        m_core.account->setBalance(request.item("value").toDouble());
    else if (word == QLatin1String("rotate"))
        m_core.account->rotateTokens();
    else if (word == QLatin1String("notice"))
        m_core.account->addNotice(3, request.item("content"));
    else if (word == QLatin1String("drop"))
        QTimer::singleShot(
            0, this, [this] { m_core.business->dropLinks(), m_core.rest->dropLinks(), m_core.files->dropLinks(); });
    else if (word != QLatin1String("state"))
        return jsonAnswer({{"result", 0}}, 404);
    QJsonArray tasks, stored;
    for (const FarmOrder &one : m_core.tasks->describe()) {
        QJsonArray results;
        for (const FarmResult &row : m_core.tasks->results(one.missionId))
            results.append(QJsonObject{{"id", row.id},
                                       {"path", row.path},
                                       {"hash", row.hash},
                                       {"size", row.size},
                                       {"file", row.file},
                                       {"pushed", row.pushed},
                                       {"confirmed", row.confirmed},
                                       {"downloaded", row.downloaded}});
        tasks.append(QJsonObject{{"missionId", one.missionId},
                                 {"num", one.num},
                                 {"name", one.name},
                                 {"clientFlag", one.clientFlag},
                                 {"stage", one.stage},
                                 {"status", one.status},
                                 {"result", one.result},
                                 {"subtype", one.subtype},
                                 {"ordered", one.ordered},
                                 {"uploaded", one.uploaded},
                                 {"orders", one.orders},
                                 {"files", one.files},
                                 {"filesHere", one.filesHere},
                                 {"frames", one.frames},
                                 {"framesDone", one.framesDone},
                                 {"framesFailed", one.framesFailed},
                                 {"results", results}});
    }
    const QMap<QString, QString> contents = m_core.store->contents();
    for (auto it = contents.begin(); it != contents.end(); ++it)
        stored.append(QJsonObject{{"key", it.key()}, {"hash", it.value()}});
    const FarmCounters &sum = m_core.counters;
    return jsonAnswer({{"result", 1},
                       {"tasks", tasks},
                       {"stored", stored},
                       {"violations", QJsonArray::fromStringList(m_core.violations)},
                       {"events", QJsonArray::fromStringList(m_core.events)},
                       {"counters", QJsonObject{{"bytesUp", sum.bytesUp},
                                                {"bytesDown", sum.bytesDown},
                                                {"instantHits", sum.instantHits},
                                                {"instantMisses", sum.instantMisses},
                                                {"filesReceived", sum.filesReceived},
                                                {"links", sum.links},
                                                {"logins", sum.logins},
                                                {"packages", sum.packages},
                                                {"fileLinks", sum.fileLinks},
                                                {"requests", sum.requests},
                                                {"pushes", sum.pushes},
                                                {"logUploads", sum.logUploads}}},
                       {"balance", m_core.account->balance()}});
}

HttpAnswer Rest::page(const HttpRequest &request)
{
    static const QMap<QString, QString> titles{
        {"personal", QStringLiteral("个人中心")}, {"recharge", QStringLiteral("充值中心")},
        {"vip", QStringLiteral("会员购买")},      {"guide", QStringLiteral("渲染指南")},
        {"network", QStringLiteral("网络诊断")},  {"balance", QStringLiteral("账户余额")},
        {"deposit", QStringLiteral("充值")},      {"register", QStringLiteral("注册")},
        {"password", QStringLiteral("修改密码")}, {"secret", QStringLiteral("隐私协议")},
        {"service", QStringLiteral("客服")}};
    const QString word = request.path.mid(6);
    if (!word.isEmpty() && !titles.contains(word))
        return {404, "text/html; charset=utf-8", simplePageText(QStringLiteral("404"), {request.path}), {}};
    const bool english = request.item("en") == QLatin1String("true");
    QStringList lines{english
                          ? QStringLiteral("This is the local farm: everything runs on this machine and costs nothing.")
                          : QStringLiteral("这是本机农场：一切都在这台机器上运行，不产生费用。")};
    lines += QStringLiteral("%1 %2").arg(english ? QStringLiteral("Account:") : QStringLiteral("账号："),
                                         m_core.options.user);
    lines += QStringLiteral("%1 %2").arg(english ? QStringLiteral("Balance:") : QStringLiteral("余额："),
                                         QString::number(m_core.account->balance(), 'f', 2));
    if (word == QLatin1String("network")) {
        lines += QStringLiteral("business 29909: %1").arg(m_core.business->port());
        lines += QStringLiteral("http: %1, file: %2").arg(port()).arg(m_core.files->port());
    }
    return {200,
            "text/html; charset=utf-8",
            simplePageText(word.isEmpty() ? QStringLiteral("本机渲染农场") : titles.value(word), lines),
            {}};
}

} // namespace farm
