#include "task/TaskHands.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "task/Cell.h"
#include <functional>
#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

namespace
{
QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

// The farm keeps "D/projects/shot.ma" for "D:/projects/shot.ma".
QString localPath(QString path)
{
    static const QRegularExpression drive(QStringLiteral("^[a-zA-Z]/"));
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return drive.match(path).hasMatch() ? path.left(1) + QLatin1Char(':') + path.mid(1) : path;
}

QJsonObject blockOf(const QJsonObject &detail, const char *key, const QJsonObject &fallback)
{
    QJsonObject block = detail.value(QLatin1String(key)).toObject();
    for (auto it = fallback.begin(); it != fallback.end(); ++it)
        if (!block.contains(it.key()) && !it.value().isUndefined() && !it.value().isNull())
            block.insert(it.key(), it.value());
    return block;
}

// What was chosen for the scene.
QJsonObject chosen(const QJsonObject &detail, int software, const QString &scene)
{
    const auto value = [&detail](const char *key) { return detail.value(QLatin1String(key)); };
    QJsonObject rset;
    for (const char *key :
         {"machineModel", "clientId", "clientResultRootPath", "combos", "plugins", "software", "startGpu", "farmId",
          "sourceFileType", "mayaProject", "projectConfig", "resultRootPathEnum"})
        if (!value(key).isUndefined() && !value(key).isNull())
            rset.insert(QLatin1String(key), value(key));
    rset.insert(QStringLiteral("softwareType"), software);
    rset.insert(QStringLiteral("sceneName"), scene);
    rset.insert(QStringLiteral("env"), blockOf(detail, "env",
                                               {{QStringLiteral("name"), value("software")},
                                                {QStringLiteral("id"), value("envId")},
                                                {QStringLiteral("software"), value("software")},
                                                {QStringLiteral("plugins"), value("plugins")},
                                                {QStringLiteral("startGpu"), value("startGpu")}}));
    rset.insert(QStringLiteral("project"),
                blockOf(detail, "project",
                        {{QStringLiteral("id"), value("projectId")}, {QStringLiteral("name"), value("projectName")}}));
    rset.insert(QStringLiteral("machine"), blockOf(detail, "machine",
                                                   {{QStringLiteral("name"), value("machineModel")},
                                                    {QStringLiteral("machineModel"), value("machineModel")},
                                                    {QStringLiteral("clientId"), value("clientId")},
                                                    {QStringLiteral("farmId"), value("farmId")}}));
    return rset;
}

QString filesOf(const QJsonObject &detail)
{
    QJsonArray files;
    for (const QJsonValue &file : detail.value(QLatin1String("files")).toArray())
        if (const QString path = file.isObject() ? Cell::text(file.toObject(), "path") : file.toString();
            !path.isEmpty())
            files.append(path);
    if (files.isEmpty())
        files.append(QString());
    const QString whole = compact({{QStringLiteral("files"), files}});
    return whole.mid(1, whole.size() - 2);
}

bool toQueue(const QString &id, QString *fault, std::function<void(DownCalls &, int mission)> work)
{
    const int mission = Cell::integer(QJsonValue(id));
    if (mission <= 0) {
        qWarning().noquote() << "toQueue no task of this client's range" << id;
        *fault = QCoreApplication::translate("TaskHands", "任务编号 %1 超出可下载的范围").arg(id);
        return false;
    }
    const bool taken = Seam<DownCalls>::post([=](DownCalls &down) { work(down, mission); });
    if (!taken)
        *fault = QCoreApplication::translate("TaskHands", "下载队列没有运行，请稍后再试");
    return taken;
}
} // namespace

int TaskHands::download(const QStringList &ids, QString *fault)
{
    int taken = 0;
    for (const QString &id : ids)
        taken += toQueue(id, fault, [batch = ids.size() > 1](DownCalls &down, int mission) {
            down.missionResult(mission, false, batch);
        });
    return taken;
}

bool TaskHands::downloadSubs(const QString &task, const QStringList &subs, int cover, QString *fault)
{
    return toQueue(task, fault, [subs = subs.join(QLatin1Char(',')), cover](DownCalls &down, int mission) {
        down.subResult(mission, subs, cover);
    });
}

QString TaskHands::openFolder(const QJsonObject &detail)
{
    const QString path = VFunc::rootPath(detail, false);
    return !path.isEmpty() && VFunc::openFolder(path) ? path : QString();
}

bool TaskHands::clone(const QJsonObject &detail, db_resolve *row, QString *fault)
{
    const QJsonValue model = detail.value(QLatin1String("modelParameters"));
    const QString scene = localPath(Cell::text(detail, "scene"));
    if ((model.toObject().isEmpty() && model.toArray().isEmpty()) || scene.isEmpty()) {
        *fault = QCoreApplication::translate("TaskHands", "该文件暂不支持克隆，请至网盘重新提交！");
        return false;
    }
    QString name = Cell::text(detail, "sceneName");
    if (name.isEmpty())
        name = scene.mid(scene.lastIndexOf(QLatin1Char('/')) + 1);
    int software = Cell::integer(detail, "softwareType");
    if (software == SoftwareType::Unknown)
        software = SoftwareType::ofPath(scene);
    QJsonObject found;
    for (const char *key : {"modelParameters", "coverParameters", "keyFrames", "strategy", "blocksCount", "filePrefix",
                            "mayaSplitByLayer", "onlyScene", "noSolutionCheck", "canw", "canh", "noFrameCheck",
                            "canframe", "missionName"})
        if (const QJsonValue value = detail.value(QLatin1String(key)); !value.isUndefined() && !value.isNull())
            found.insert(QLatin1String(key), value);
    found.insert(QStringLiteral("sceneName"), name);
    found.insert(QStringLiteral("softwareType"), software);
    found.insert(QStringLiteral("hasHand"), 1);  // what was ordered once is ordered again, nothing is filled in anew
    found.insert(QStringLiteral("hasClone"), 1); // here and not among the choices: it waits for the user's word
    found.insert(QStringLiteral("resStatus"), 0);
    *row = db_resolve();
    row->rkey = row->pri = QDateTime::currentSecsSinceEpoch();
    row->rtime = QDateTime::currentMSecsSinceEpoch();
    row->lpath = scene;
    row->project = Cell::text(detail, "projectName");
    row->projectId = Cell::integer(detail, "projectId");
    row->state = SceneState::Clean;
    row->rset = compact(chosen(detail, software, name));
    row->rdata = compact(found);
    row->rfile = filesOf(detail);
    return true;
}
