#include "Commands.h"
#include "io/local/ApiTable.h"
#include "Road.h"
#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QThread>

namespace
{
constexpr int LookMs = 300, Pages = 1000;

Exit ask(Client *client, Show *show, const QString &target, QJsonValue *data = nullptr, const QByteArray &body = {})
{
    const Client::Reply reply = client->post(target, body);
    if (!reply.there) {
        show->complain(QStringLiteral("no client answers: ") + reply.trouble);
        return Exit::NoClient;
    }
    if (data)
        *data = reply.data();
    else if (show->json())
        show->value(reply.whole);
    else if (reply.good())
        show->station(reply.msg().isEmpty() ? QStringLiteral("done") : reply.msg());
    if (!reply.good())
        show->complain(reply.msg());
    return reply.good() ? Exit::Good : Exit::Refused;
}

QString encoded(const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); }

// A route that acts on what the values name, all in one request.
Exit act(Client *client, Show *show, const QString &route, const QString &key, const QStringList &values,
         const QString &more = {})
{
    return ask(client, show, QStringLiteral("%1?%2=%3%4").arg(route, key, encoded(values.join(',')), more));
}

bool isNumber(const QString &text)
{
    bool good = false;
    return text.toInt(&good) > 0 && good;
}

Exit list(Client *client, Show *show)
{
    QJsonValue scenes, tasks;
    Exit how = ask(client, show, QStringLiteral("/model/list"), &scenes);
    if (how == Exit::Good)
        how = ask(client, show, QStringLiteral("/job"), &tasks);
    if (how != Exit::Good)
        return how;
    const QJsonArray rows = tasks["pageList"].toArray();
    if (show->json()) {
        show->value(QJsonObject{{"scenes", scenes}, {"tasks", rows}});
        return how;
    }
    show->table(scenes.toArray(), {"rkey:SCENE", "num:ORDER", "mid:TASK", "status:STATE", "speed:FILES", "name:NAME"});
    show->table(rows,
                {"id:TASK", "num:ORDER", "successFrame:DONE", "failureFrame:FAILED", "totalFrame:FRAMES", "name:NAME"});
    return how;
}

Exit frames(Client *client, Show *show, const QString &task)
{
    QJsonArray all;
    for (int page = 0; page < Pages; ++page) {
        QJsonValue data;
        const Exit how = ask(client, show, QStringLiteral("/subjob?mid=%1&page=%2").arg(task).arg(page), &data);
        if (how != Exit::Good)
            return how;
        const QJsonArray rows = data["results"].toArray();
        for (const QJsonValue &row : rows)
            all.append(row);
        if (rows.isEmpty() || all.size() >= data["totalFrame"].toInt())
            break;
    }
    if (show->json())
        show->value(all);
    else
        show->table(
            all, {"id:ID", "frame_from:FRAME", "camera:CAMERA", "status:STATE", "seconds:SECONDS", "end_time:ENDED"});
    return Exit::Good;
}

Exit frameLog(const Words &words, Client *client, Show *show)
{
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly))
        return Exit::Refused;
    const Client::Reply reply =
        client->stream(QStringLiteral("/subjob/log?mid=%1&subjobId=%2&follow=%3")
                           .arg(encoded(words.values.first()), encoded(words.values.value(1)))
                           .arg(words.has("f") ? 1 : 0),
                       [&out](const QByteArray &piece) { return out.write(piece) == piece.size() && out.flush(); });
    if (reply.there && reply.good())
        return Exit::Good;
    show->complain(reply.there ? reply.msg() : reply.trouble);
    return reply.there ? Exit::Refused : Exit::NoClient;
}

Exit ownLog(Show *show, bool follow)
{
    const QString path =
        Client::dataFolder() +
        QStringLiteral("/AllUser/log-%1.txt").arg(QDate::currentDate().toString(QStringLiteral("yyyyMMdd")));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        show->complain(QStringLiteral("%1: %2").arg(path, file.errorString()));
        return Exit::NoClient;
    }
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly))
        return Exit::Refused;
    do {
        for (QByteArray piece = file.read(65536); !piece.isEmpty(); piece = file.read(65536))
            if (out.write(piece) != piece.size())
                return Exit::Refused;
        if (!out.flush())
            return Exit::Refused; // who read it has gone
        if (follow)
            QThread::msleep(LookMs);
    } while (follow);
    return Exit::Good;
}

Exit transfer(const Words &words, Client *client, Show *show)
{
    if (words.values.isEmpty()) {
        QJsonValue data;
        const Exit how = ask(client, show, QStringLiteral("/transfer"), &data);
        if (how != Exit::Good)
            return how;
        if (show->json()) {
            show->value(data);
        } else {
            show->table(data["uploads"].toArray(), {"num:UPLOAD", "status:STATE", "done:DONE", "total:FILES",
                                                    "sent:SENT", "bytes:BYTES", "scene:SCENE"});
            show->table(data["downloads"].toArray(),
                        {"id:DOWNLOAD", "status:STATE", "done:DONE", "total:FILES", "mid:TASK", "name:NAME"});
        }
        return how;
    }
    const QString what = words.values.first();
    if (what != QLatin1String("pause") && what != QLatin1String("continue")) {
        show->complain(QStringLiteral("transfer pause or transfer continue"));
        return Exit::BadWords;
    }
    return ask(client, show,
               QStringLiteral("/transfer/%1?nums=%2&ids=%3")
                   .arg(what, encoded(words.option("order")), encoded(words.option("id"))));
}

// Until it's over: a tree of a million files takes its time.
Exit check(const QString &where, const QString &mend, Client *client, Show *show)
{
    QJsonValue data;
    QJsonArray list;
    for (QString target = "/drive/check?" + where + "&mend=" + encoded(mend);;) {
        const Exit how = ask(client, show, target, &data);
        if (how != Exit::Good)
            return how;
        const QString id = QString::number(qlonglong(data["id"].toDouble()));
        if (data["over"].toBool() && data["mend"].toString() != QLatin1String("runs")) {
            for (const QJsonValue &one : data["list"].toArray())
                list.append(one);
            if (data["list"].toArray().isEmpty() || list.size() >= data["different"].toInt())
                break;
            target = QStringLiteral("/drive/check?id=%1&from=%2").arg(id).arg(list.size());
        } else {
            if (!show->json())
                show->progress(QStringLiteral("comparing"), data["files"].toInt(), 0);
            target = "/drive/check?id=" + id;
        }
    }
    QJsonObject all = data.toObject();
    all["list"] = list;
    if (show->json())
        show->value(all);
    else
        show->table(list, {"what:WHAT", "path:PATH", "file:FILE"});
    if (!show->json())
        show->station(QStringLiteral("%1 files compared, %2 different, %3 by size only")
                          .arg(data["files"].toInt())
                          .arg(data["different"].toInt())
                          .arg(data["sizeOnly"].toInt()));
    return data["different"].toInt() == 0 ? Exit::Good : Exit::WorkFailed;
}

Exit drive(const Words &words, Client *client, Show *show, Road *road)
{
    const QString what = words.values.first();
    const QStringList values = words.values.mid(1);
    if (what == QLatin1String("resolve") && !values.isEmpty())
        return road->cloudAnalysis(words, values);
    if (what == QLatin1String("order") && !values.isEmpty())
        return road->cloudOrder(words, values);
    if ((what == QLatin1String("again") || what == QLatin1String("stop")) && !values.isEmpty())
        return act(client, show, QStringLiteral("/drive/resolve/") + what, QStringLiteral("rkeys"), values);
    if (what == QLatin1String("scenes") && values.isEmpty()) {
        QJsonValue rows;
        const Exit how = ask(client, show, QStringLiteral("/drive/resolve/list"), &rows);
        if (how == Exit::Good && show->json())
            show->value(rows);
        else if (how == Exit::Good)
            show->table(rows.toArray(),
                        {"rkey:SCENE", "status:STATE", "begun:BEGUN", "mid:TASK", "scene:PATH", "text:TEXT"});
        return how;
    }
    const QString where =
        QStringLiteral("farm=%1&tree=%2&path=%3")
            .arg(encoded(words.option("farm")), words.has("results") ? QStringLiteral("2") : QString());
    QJsonValue data;
    if (what == QLatin1String("put") && values.size() >= 2) {
        QJsonArray from;
        for (const QString &path : values.mid(0, values.size() - 1))
            from.append(QFileInfo(path).absoluteFilePath());
        return ask(client, show,
                   "/drive/put?" + where.arg(encoded(values.last())) + (words.has("links") ? "&links=1" : ""), nullptr,
                   QJsonDocument(from).toJson(QJsonDocument::Compact));
    }
    if (what == QLatin1String("get") && values.size() == 2)
        return ask(client, show,
                   "/drive/get?" + where.arg(encoded(values.first())) +
                       "&to=" + encoded(QFileInfo(values.last()).absoluteFilePath()) +
                       "&existing=" + encoded(words.option("existing")));
    if (what == QLatin1String("check") && values.size() == 2)
        return check(where.arg(encoded(values.first())) +
                         "&with=" + encoded(QFileInfo(values.last()).absoluteFilePath()),
                     words.option("mend"), client, show);
    const bool list = what == QLatin1String("ls") && values.size() <= 1;
    if (!list && (what != QLatin1String("status") || values.size() > 1)) {
        show->complain(
            QStringLiteral("drive ls [PATH], drive put FILE... PATH, drive get PATH FOLDER, drive check PATH FOLDER, "
                           "drive status [ID], drive resolve PATH..., drive scenes, drive order|again|stop KEY..."));
        return Exit::BadWords;
    }
    const QString target =
        list ? "/drive/ls?" + where.arg(encoded(values.value(0)))
             : "/drive/status?id=" + encoded(values.value(0)) + "&act=" + encoded(words.option("act"));
    const Exit how = ask(client, show, target, &data);
    if (how != Exit::Good)
        return how;
    if (show->json())
        show->value(data);
    else if (list)
        show->table(data.toArray(), {"name:NAME", "folder:FOLDER", "bytes:BYTES", "changed:CHANGED"});
    else
        show->table(data.toArray(), {"id:ID", "kind:KIND", "status:STATE", "filesDone:DONE", "files:FILES",
                                     "bytesDone:SENT", "bytes:BYTES", "failed:FAILED", "name:NAME", "note:NOTE"});
    return how;
}

Exit call(const Words &words, Client *client, Show *show)
{
    QString target = words.values.first();
    if (!target.startsWith('/'))
        target.prepend('/');
    const ApiRoute *route = ApiTable::find(target);
    if (!route) {
        show->complain(QStringLiteral("no such route: %1; see vandrelctl describe --markdown").arg(target));
        return Exit::BadWords;
    }
    QStringList query;
    for (const QString &word : words.values.mid(1)) {
        const QString key = word.section('=', 0, 0);
        bool known = false;
        for (const ApiArg &arg : route->args)
            known = known || key == QLatin1String(arg.name);
        if (!known) {
            show->complain(QStringLiteral("%1 takes no %2").arg(target, key));
            return Exit::BadWords;
        }
        query << key + '=' + encoded(word.section('=', 1));
    }
    QByteArray body = words.option("body").toUtf8();
    if (body.startsWith('@')) {
        QFile file(QString::fromUtf8(body.mid(1)));
        if (!file.open(QIODevice::ReadOnly)) {
            show->complain(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
            return Exit::BadWords;
        }
        body = file.readAll();
    }
    const Client::Reply reply = client->post(query.isEmpty() ? target : target + '?' + query.join('&'), body);
    if (!reply.there) {
        show->complain(QStringLiteral("no client answers: ") + reply.trouble);
        return Exit::NoClient;
    }
    show->value(reply.whole);
    return reply.good() || !reply.whole.contains("result") ? Exit::Good : Exit::Refused;
}
} // namespace

Exit run(const Words &words, Client *client, Show *show)
{
    const QString &command = words.command;
    bool number = true;
    const int timeout = words.has("timeout") ? words.option("timeout").toInt(&number) : 0;
    if (!number || timeout < 0) {
        show->complain(QStringLiteral("--timeout: a number of seconds"));
        return Exit::BadWords;
    }
    Road road(client, show, timeout);
    if (command == QLatin1String("submit"))
        return road.submit(words);
    if (command == QLatin1String("list"))
        return list(client, show);
    if (command == QLatin1String("transfer"))
        return transfer(words, client, show);
    if (command == QLatin1String("drive"))
        return drive(words, client, show, &road);
    if (command == QLatin1String("call"))
        return call(words, client, show);
    if (command == QLatin1String("commit"))
        return act(client, show, QStringLiteral("/model/commit"), QStringLiteral("nums"), words.values);
    if (command == QLatin1String("log") && words.values.isEmpty())
        return ownLog(show, words.has("f"));
    for (const QString &value : words.values)
        if (!isNumber(value) && command != QLatin1String("log")) {
            show->complain(QStringLiteral("%1 isn't a task's number").arg(value));
            return Exit::BadWords;
        }
    if (command == QLatin1String("follow"))
        return road.follow(words.values.first().toInt());
    if (command == QLatin1String("frames"))
        return frames(client, show, words.values.first());
    if (command == QLatin1String("log"))
        return frameLog(words, client, show);
    return act(client, show, QStringLiteral("/job/") + command, QStringLiteral("mids"), words.values,
               words.has("later") ? QStringLiteral("&later=1") : QString());
}
