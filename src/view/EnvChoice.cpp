#include "view/EnvChoice.h"
#include "common/facts/Rset.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include <QCoreApplication>
#include <QFileInfo>

namespace
{

QJsonArray listUnder(const QJsonDocument &reply, const QStringList &keys)
{
    if (reply.isArray())
        return reply.array();
    const QJsonObject obj = reply.object();
    for (const QString &key : keys) {
        const QJsonValue value = obj.value(key);
        if (value.isArray())
            return value.toArray();
        if (value.isObject())
            return listUnder(QJsonDocument(value.toObject()), keys);
    }
    return {};
}

bool isDefault(const QJsonObject &obj) { return obj.value(QLatin1String("isDefault")).toVariant().toInt() == 1; }
} // namespace

QJsonArray EnvChoice::projects(const QJsonDocument &reply)
{
    return listUnder(
        reply, {QStringLiteral("projects"), QStringLiteral("list"), QStringLiteral("rows"), QStringLiteral("data")});
}

QJsonArray EnvChoice::machines(const QJsonDocument &reply)
{
    return listUnder(reply, {QStringLiteral("machines"), QStringLiteral("machineModels"), QStringLiteral("list"),
                             QStringLiteral("rows"), QStringLiteral("data")});
}

QJsonObject EnvChoice::config(const QJsonDocument &reply)
{
    QJsonObject obj = reply.isArray() ? reply.array().first().toObject() : reply.object();
    for (const char *key : {"data", "projectSoftwareConfig"}) {
        const QJsonValue inner = obj.value(QLatin1String(key));
        if (inner.isObject())
            obj = inner.toObject();
        else if (inner.isArray() && !inner.toArray().isEmpty())
            obj = inner.toArray().first().toObject();
    }
    return obj;
}

QString EnvChoice::environmentText(const QJsonObject &env)
{
    QStringList parts{env.value(QLatin1String("software")).toString()};
    const QJsonArray plugins = env.value(QLatin1String("plugins")).toArray();
    for (const QJsonValue &plugin : plugins)
        parts << QStringLiteral("%1 %2")
                     .arg(plugin.toObject().value(QLatin1String("name")).toString(),
                          plugin.toObject().value(QLatin1String("version")).toVariant().toString())
                     .trimmed();
    const bool gpu = env.value(QLatin1String("startGpu")).toVariant().toInt() == 1;
    return parts.join(QStringLiteral(" + ")) + (gpu ? QStringLiteral(" (GPU)") : QString());
}

QString EnvChoice::environmentKey(const QJsonObject &env)
{
    const QString id = env.value(QLatin1String("id")).toVariant().toString();
    return id.isEmpty() ? environmentText(env) : id;
}

QString EnvChoice::machineName(const QJsonObject &machine)
{
    const QString name = machine.value(QLatin1String("name")).toString();
    return name.isEmpty() ? machine.value(QLatin1String("machineModel")).toString() : name;
}

int EnvChoice::preferred(const QJsonArray &list, const QString &remembered, QString (*key)(const QJsonObject &))
{
    int best = list.isEmpty() ? -1 : 0;
    for (int i = list.size() - 1; i >= 0; --i)
        if (isDefault(list.at(i).toObject()))
            best = i;
    for (int i = 0; i < list.size() && !remembered.isEmpty(); ++i)
        if (key(list.at(i).toObject()) == remembered)
            return i;
    return best;
}

bool EnvChoice::allowsArrears(const QJsonObject &account)
{
    return account.value(QLatin1String("allowArrears")).toVariant().toInt() == 1;
}

QString EnvChoice::refusal(const Chosen &chosen)
{
    if (chosen.project.isEmpty() || chosen.machine.isEmpty())
        return QCoreApplication::translate("EnvPre", "没有可供选择的项目或机型");
    const QString path = chosen.resultRoot == ProjectPath ? chosen.config.value(QLatin1String("outputPath")).toString()
                         : chosen.resultRoot == SceneFolder ? QStringLiteral("/")
                                                            : chosen.resultDir;
    if (path.isEmpty())
        return QCoreApplication::translate("EnvPre", "没有检测到出图路径，请去项目管理设置");
    if (chosen.env.isEmpty())
        return QCoreApplication::translate("EnvPre", "请选择环境");
    if (chosen.softwareType == SoftwareType::Maya && !chosen.mayaProjectExists)
        return QCoreApplication::translate("EnvPre", "项目路径不存在");
    if (chosen.balance <= 0 && !chosen.allowArrears)
        return QCoreApplication::translate("EnvPre", "余额不足，请充值");
    return {};
}

QString EnvChoice::rset(const Chosen &chosen, const QString &scene)
{
    return Rset::of({chosen.softwareType, chosen.env, chosen.project, chosen.machine, chosen.config, chosen.mayaProject,
                     scene, QJsonObject()})
        .text();
}

// Goes the way of a clone: nothing is left to analyse, and its key is given with the row.
static void takeFinished(const QJsonObject &order, db_resolve *res)
{
    QJsonObject found = order;
    const QJsonArray files = found.take(QLatin1String("files")).toArray();
    Rset chosen(res->rset);
    chosen.set("hasClone", 1);
    res->rkey = res->pri = 0;
    res->state = SceneState::Clean;
    res->rset = chosen.text();
    res->rdata = QString::fromUtf8(QJsonDocument(found).toJson(QJsonDocument::Compact));
    const QByteArray list = QJsonDocument(QJsonObject{{"files", files}}).toJson(QJsonDocument::Compact);
    res->rfile = QString::fromUtf8(list.mid(1, list.size() - 2));
}

QList<db_resolve> EnvChoice::rows(const Chosen &chosen, qlonglong nowSeconds)
{
    QList<db_resolve> list;
    for (const QString &scene : chosen.scenes) {
        db_resolve res;
        res.rkey = res.pri = nowSeconds + list.size();
        res.lpath = scene;
        res.project = chosen.project.value(QLatin1String("name")).toString();
        res.projectId = chosen.project.value(QLatin1String("id")).toVariant().toInt();
        res.state = SceneState::Waiting;
        res.rset = rset(chosen, scene);
        if (!chosen.finished.isEmpty())
            takeFinished(chosen.finished, &res);
        list << res;
    }
    return list;
}
