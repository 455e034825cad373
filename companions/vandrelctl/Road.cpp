#include "Road.h"
#include "common/facts/FileStates.h"
#include "common/facts/SceneState.h"
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonDocument>
#include <QThread>
#include <QUrl>

namespace
{
constexpr int LookMs = 500;
// Only the user can help now.
constexpr SceneState::Set stopped{SceneState::Failed,       SceneState::Incomplete,   SceneState::SubmitFailed,
                                  SceneState::UploadFailed, SceneState::OrderRefused, SceneState::Rejected};
constexpr int QuietLooks = 6; // without a download until they count as over

int typeOf(const QString &scene)
{
    static const QMap<QString, int> types{{"ma", 1},    {"mb", 1},  {"max", 3},     {"hip", 4}, {"hipnc", 4},
                                          {"hiplc", 4}, {"c4d", 5}, {"project", 7}, {"tgd", 8}};
    return types.value(QFileInfo(scene).suffix().toLower());
}

// The first list called key, wherever it stands.
QJsonArray listOf(const QJsonValue &value, const QString &key)
{
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        if (object.value(key).isArray())
            return object.value(key).toArray();
        for (const QJsonValue &one : object)
            if (const QJsonArray found = listOf(one, key); !found.isEmpty())
                return found;
    }
    return {};
}

QString nameOf(const QJsonValue &one)
{
    for (const char *key : {"name", "software", "machineModel"})
        if (const QString name = one[QLatin1String(key)].toString(); !name.isEmpty())
            return name;
    return {};
}

// The one of that name or number; without either the first one, where alone is false or there's just one.
bool pick(const QJsonArray &list, const QString &wanted, bool alone, QJsonObject *out, QString *known)
{
    QStringList names;
    for (const QJsonValue &one : list) {
        names << nameOf(one);
        const QString id = one["id"].toVariant().toString();
        if (!wanted.isEmpty() && (nameOf(one).compare(wanted, Qt::CaseInsensitive) == 0 || id == wanted)) {
            *out = one.toObject();
            return true;
        }
    }
    *known = names.join(QStringLiteral(", "));
    if (!wanted.isEmpty() || list.isEmpty() || (alone && list.size() > 1))
        return false;
    *out = list.first().toObject();
    return true;
}

bool canSubmit(int state) { return SceneState::Ended.contains(state) && state != SceneState::Failed; }

QString mayaProject(const QString &scene)
{
    for (QDir dir = QFileInfo(scene).dir();;)
        if (dir.exists(QStringLiteral("workspace.mel")))
            return dir.path();
        else if (!dir.cdUp())
            return QFileInfo(scene).path();
}
} // namespace

Exit Road::fail(Exit how, const QString &text)
{
    m_show->complain(text);
    m_exit = how;
    return how;
}

bool Road::ask(const QString &target, Client::Reply *reply, const QByteArray &body)
{
    *reply = m_client->post(target, body);
    if (!reply->there)
        fail(Exit::NoClient, QStringLiteral("no client answers: ") + reply->trouble);
    else if (!reply->good())
        fail(Exit::Refused, reply->msg());
    return reply->there && reply->good();
}

bool Road::pause()
{
    if (m_timeoutMs > 0 && m_spentMs >= m_timeoutMs) {
        fail(Exit::TimeOver, QStringLiteral("time is over; the client goes on"));
        return false;
    }
    m_spentMs += LookMs;
    QThread::msleep(LookMs);
    return true;
}

bool Road::choose(const Words &words, int type, QJsonObject *parameter)
{
    Client::Reply reply;
    QJsonObject project, env, machine;
    QString known;
    if (!ask(QStringLiteral("/project"), &reply))
        return false;
    if (!pick(listOf(reply.data(), QStringLiteral("projects")), words.option("project"), true, &project, &known)) {
        fail(Exit::BadWords, QStringLiteral("--project: one of %1").arg(known));
        return false;
    }
    const int id = project.value("id").toVariant().toInt();
    if (!ask(QStringLiteral("/env?projectId=%1&softwareType=%2").arg(id).arg(type), &reply))
        return false;
    if (!pick(listOf(reply.data(), QStringLiteral("combos")), words.option("software"), false, &env, &known)) {
        fail(Exit::BadWords, QStringLiteral("--software: one of %1").arg(known));
        return false;
    }
    if (!ask(QStringLiteral("/machine?projectId=%1&farmId=0").arg(id), &reply))
        return false;
    if (!pick(listOf(reply.data(), QStringLiteral("machines")), words.option("machine"), false, &machine, &known)) {
        fail(Exit::BadWords, QStringLiteral("--machine: one of %1").arg(known));
        return false;
    }
    *parameter = {
        {"project", QJsonObject{{"id", id}, {"name", project.value("name")}}}, {"env", env}, {"machine", machine}};
    return true;
}

Exit Road::submit(const Words &words)
{
    QJsonArray scenes;
    int type = 0;
    for (const QString &value : words.values) {
        const QFileInfo file(value);
        const int one = typeOf(value);
        if (!file.isFile())
            return fail(Exit::BadWords, QStringLiteral("no such scene: ") + value);
        if (one == 0 || (type != 0 && one != type))
            return fail(Exit::BadWords, QStringLiteral("not a scene of the same kind: ") + value);
        type = one;
        scenes.append(QDir::cleanPath(file.absoluteFilePath()));
    }
    QJsonObject parameter;
    if (!choose(words, type, &parameter))
        return m_exit;
    if (type == 1)
        parameter["mayaProject"] = words.has("maya-project")
                                       ? QFileInfo(words.option("maya-project")).absoluteFilePath()
                                       : mayaProject(scenes.first().toString());
    Client::Reply reply;
    const QJsonObject body{{"scenes", scenes}, {"parameter", parameter}};
    if (!ask(QStringLiteral("/model/analysis"), &reply, QJsonDocument(body).toJson(QJsonDocument::Compact)))
        return m_exit;
    const QJsonArray details = reply.data()["details"].toArray();
    for (const QJsonValue &one : details)
        m_show->station(QStringLiteral("handed over: ") + one["scene"].toString(),
                        {{"rkey", one["rkey"]}, {"scene", one["scene"]}});
    if (!words.has("wait"))
        return Exit::Good;
    Exit worst = Exit::Good;
    for (const QJsonValue &one : details) {
        const Exit how = scene(one["rkey"].toVariant().toLongLong(), words.has("accept-warnings"));
        if (how == Exit::NoClient || how == Exit::TimeOver)
            return how;
        worst = how == Exit::Good ? worst : how;
    }
    return worst;
}

Exit Road::scene(qlonglong key, bool warnings)
{
    QString order;
    int task = 0, last = 0;
    for (bool committed = false;;) {
        Client::Reply reply;
        if (!ask(QStringLiteral("/model/list?rkey=%1").arg(key), &reply))
            return m_exit;
        const QJsonValue row = reply.data().toArray().at(0);
        if (!row.isObject())
            break;
        const int state = row["state"].toInt();
        order = row["num"].toString();
        task = row["mid"].toInt() > 0 ? row["mid"].toInt() : task;
        const QString speed = row["speed"].toString();
        const QJsonObject more{{"rkey", key}, {"order", order}, {"task", task}, {"code", state}};
        if (state == SceneState::Uploading)
            m_show->progress(row["status"].toString(), speed.section('/', 0, 0).toInt(), speed.section('/', 1).toInt(),
                             more);
        else if (state != last)
            m_show->station(row["status"].toString(), more);
        last = state;
        if (stopped.contains(state))
            return fail(Exit::WorkFailed, row["scene"].toString() + QStringLiteral(": ") + row["status"].toString());
        if (state == SceneState::Warned && !warnings)
            return fail(Exit::WorkFailed, QStringLiteral("%1: analysed with warnings; look at them in the client, then "
                                                         "vandrelctl commit %2, or use --accept-warnings")
                                              .arg(row["scene"].toString(), order));
        if ((state == SceneState::Clean || state == SceneState::Warned) && !committed && !order.isEmpty()) {
            if (!ask(QStringLiteral("/model/commit?num=") + order, &reply))
                return m_exit;
            committed = true;
        }
        if (!pause())
            return m_exit;
    }
    if (task <= 0 || last < SceneState::Warned)
        return fail(Exit::WorkFailed, QStringLiteral("the scene left the client before it was ordered"));
    return follow(task);
}

bool Road::cloudRow(const QString &key, bool (*good)(int), QJsonValue *row)
{
    for (int last = 0;;) {
        Client::Reply reply;
        if (!ask(QStringLiteral("/drive/resolve/list?rkey=") + key, &reply))
            return false;
        *row = reply.data().toArray().at(0);
        const int state = (*row)["state"].toInt();
        const QString text = (*row)["scene"].toString() + QStringLiteral(": ") + (*row)["status"].toString();
        if (!row->isObject())
            return fail(Exit::WorkFailed, QStringLiteral("no such scene: ") + key) == Exit::Good;
        if (state != last)
            m_show->station((*row)["status"].toString(),
                            {{"rkey", (*row)["rkey"]}, {"code", state}, {"task", (*row)["mid"]}});
        last = state;
        if (good(state))
            return true;
        if (stopped.contains(state))
            return fail(Exit::WorkFailed, text + QStringLiteral(" ") + (*row)["text"].toString()) == Exit::Good;
        if (!pause())
            return false;
    }
}

Exit Road::cloudAnalysis(const Words &words, const QStringList &paths)
{
    const auto encoded = [](const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); };
    Client::Reply reply;
    if (!ask(QStringLiteral("/drive/resolve?farm=%1&root=%2")
                 .arg(encoded(words.option("farm")), encoded(words.option("root"))),
             &reply, QJsonDocument(QJsonArray::fromStringList(paths)).toJson(QJsonDocument::Compact)))
        return m_exit;
    for (const QJsonValue &one : reply.data().toArray())
        m_show->station(QStringLiteral("handed over: ") + one["scene"].toString(),
                        {{"rkey", one["rkey"]}, {"scene", one["scene"]}});
    QJsonValue row;
    for (const QJsonValue &one : reply.data().toArray())
        if (words.has("wait") && !cloudRow(QString::number(qlonglong(one["rkey"].toDouble())), canSubmit, &row))
            return m_exit;
    return Exit::Good;
}

Exit Road::cloudOrder(const Words &words, const QStringList &keys)
{
    Client::Reply reply;
    for (const QString &key : keys) {
        QJsonValue row;
        QJsonObject parameter;
        if (!cloudRow(key, canSubmit, &row) || !choose(words, row["softwareType"].toInt(), &parameter) ||
            !ask(QStringLiteral("/drive/resolve/submit?rkey=") + key, &reply,
                 QJsonDocument(QJsonObject{{"parameter", parameter}}).toJson(QJsonDocument::Compact)))
            return m_exit;
        m_show->station(QStringLiteral("committed"), {{"rkey", row["rkey"]}});
    }
    for (const QString &key : keys) {
        QJsonValue row;
        if (!words.has("wait"))
            break;
        if (!cloudRow(
                key, [](int state) { return state == SceneState::Submitted; }, &row))
            return m_exit;
        if (const Exit how = follow(row["mid"].toInt()); how != Exit::Good)
            return how;
    }
    return Exit::Good;
}

Exit Road::follow(int task)
{
    int quiet = 0;
    for (bool rendered = false; quiet < QuietLooks;) {
        Client::Reply reply;
        if (!rendered) {
            if (!ask(QStringLiteral("/subjob?mid=%1").arg(task), &reply))
                return m_exit;
            const QJsonValue head = reply.data();
            const int total = head["totalFrame"].toInt(), good = head["successFrame"].toInt(),
                      failed = head["failureFrame"].toInt(), cancelled = head["cancelFrame"].toInt();
            m_show->progress(QStringLiteral("rendering"), good, total,
                             {{"task", task}, {"failed", failed}, {"cancelled", cancelled}});
            rendered = total > 0 && good + failed + cancelled >= total;
            if (rendered && good < total)
                return fail(Exit::WorkFailed, QStringLiteral("task %1: %2 of %3 frames failed, %4 were cancelled")
                                                  .arg(task)
                                                  .arg(failed)
                                                  .arg(total)
                                                  .arg(cancelled));
        } else {
            if (!ask(QStringLiteral("/transfer"), &reply))
                return m_exit;
            ++quiet;
            for (const QJsonValue &row : reply.data()["downloads"].toArray()) {
                if (row["mid"].toInt() != task)
                    continue;
                quiet = 0;
                m_show->progress(QStringLiteral("downloading"), row["done"].toInt(), row["total"].toInt(),
                                 {{"task", task}});
                if (row["state"].toInt() == FileStates::DownError || row["state"].toInt() == FileStates::DownGaveUp)
                    return fail(Exit::WorkFailed, QStringLiteral("task %1: the download failed").arg(task));
            }
        }
        if (!pause())
            return m_exit;
    }
    m_show->station(QStringLiteral("done"), {{"task", task}});
    return Exit::Good;
}
