#include "resolve/OrderMessage.h"
#include "common/facts/SoftwareType.h"
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

namespace
{
#ifdef Q_OS_WIN
constexpr bool Posix = false;
#else
constexpr bool Posix = true;
#endif

void merge(QJsonObject *into, const QJsonObject &from)
{
    for (auto it = from.begin(); it != from.end(); ++it)
        into->insert(it.key(), it.value());
}

void changeText(QJsonObject *object, const QString &key, const std::function<QString(const QString &)> &change)
{
    if (change && object->value(key).isString())
        object->insert(key, change(object->value(key).toString()));
}
} // namespace

QJsonObject OrderMessage::object(const QString &json, bool *good)
{
    if (good)
        *good = true;
    if (json.trimmed().isEmpty())
        return {};
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json.toUtf8(), &error);
    if (good)
        *good = error.error == QJsonParseError::NoError && doc.isObject();
    return doc.object();
}

qlonglong OrderMessage::firstId(qint64 nowMs) { return nowMs / 10000 % 100000000; }

QString OrderMessage::filePath(const QString &path)
{
    QString turned = path;
    turned.replace('\\', '/');
    const bool network = turned.startsWith("//") && !(Posix && path.startsWith('/'));
    return network ? "\\\\" + turned.mid(2) : turned;
}

QString OrderMessage::uploadPath(const QString &path)
{
    if (path.contains(':') || path.startsWith("\\\\") || path.startsWith("//") || (Posix && path.startsWith('/')))
        return path;
    return "\\\\" + path;
}

OrderMessage OrderMessage::build(const db_resolve &res, const Options &options)
{
    OrderMessage order;
    bool rsetGood = false, rdataGood = false, rfileGood = true;
    const QJsonObject rset = object(res.rset, &rsetGood);
    const QJsonObject rdata = object(res.rdata, &rdataGood);
    const int type = SoftwareType::ofRow(rset, res.lpath, rdata);
    const bool onlyScene =
        type == SoftwareType::Maya && rdata.contains("onlyScene") && rdata.value("onlyScene").toVariant().toInt() != 0;
    // The fragment is a piece of an object: in braces it is one.
    const QJsonObject rfile =
        onlyScene || res.rfile.trimmed().isEmpty() ? QJsonObject() : object('{' + res.rfile + '}', &rfileGood);
    if (!rsetGood || !rdataGood || !rfileGood)
        return order;

    QJsonObject &body = order.body;
    body["scene"] = res.lpath;
    body["analysisTime"] = res.rtime;
    merge(&body, rset);
    merge(&body, rdata);
    merge(&body, rfile);
    body["clientFlag"] = res.rkey;
    body["missionId"] = res.missionid;
    body["ordernum"] = res.ordernum;
    for (const char *key :
         {"projectConfig", "machine", "project", "env", "resStatus", "hasHand", "hasClone", "seat", "cloudKey"})
        body.remove(QLatin1String(key));

    changeText(&body, "sceneName", options.pathCase);
    if (type == SoftwareType::Max && body.value("modelParameters").isObject()) {
        QJsonObject model = body.value("modelParameters").toObject();
        changeText(&model, "vrLightCacheFile", options.pathCase);
        changeText(&model, "vrIrradianceMapFile", options.pathCase);
        body["modelParameters"] = model;
    }
    order.valid = true;
    if (onlyScene) {
        body.remove("files");
        return order;
    }
    QSet<QString> seen;
    const qlonglong first = firstId(options.nowMs);
    QJsonArray files;
    for (const QJsonValue &entry : options.noFiles ? QJsonArray() : body.value("files").toArray()) {
        const QString path = filePath(entry.toString());
        if (path.mid(path.lastIndexOf('/') + 1).isEmpty() || seen.contains(path))
            continue;
        seen.insert(path);
        const File file{first + files.size(), path};
        order.files << file;
        files << QJsonObject{{"id", file.id}, {"path", file.path}};
    }
    body["files"] = files;
    body["fileCount"] = files.size();
    return order;
}

QJsonArray OrderMessage::withScene(QJsonArray files, const QString &scene)
{
    const QString own = filePath(scene);
    for (const QJsonValue &file : qAsConst(files))
        if (filePath(file.toString()) == own)
            return files;
    files.prepend(scene);
    return files;
}

QJsonObject OrderMessage::handOver(const db_resolve &res, const QJsonValue &feeUserId, bool needMasterCheck)
{
    const QJsonObject rset = object(res.rset);
    const QJsonObject rdata = object(res.rdata);
    QJsonObject content = rdata;
    merge(&content, object('{' + res.rfile + '}'));
    // Most scripts list what the scene needs, not the scene: the master has nothing else to know its files by.
    content["files"] = withScene(content.value("files").toArray(), res.lpath);
    QJsonObject body{{"scene", res.lpath}, {"analysisTime", res.rtime}};
    merge(&body, rset);
    body["parameter"] = QJsonObject{{"status", rdata.value("resStatus").toInt()},
                                    {"fromSlave", 1},
                                    {"content", content},
                                    {"details", res.errstr},
                                    {"rset", rset}};
    body["feeUserId"] = feeUserId;
    body["needMasterCheck"] = needMasterCheck;
    body["clientFlag"] = res.rkey;
    body["missionId"] = res.missionid;
    body["ordernum"] = res.ordernum;
    return body;
}
