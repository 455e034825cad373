// How tasks and results are told to the other side and to tests.
#include "Account.h"
#include "Core.h"
#include "tasks/Tasks.h"
#include <QDateTime>

namespace farm
{

namespace
{
FarmResult rowOf(const QSqlQuery &row)
{
    FarmResult one;
    one.id = row.value(0).toLongLong();
    one.missionId = row.value(1).toInt();
    one.path = row.value(2).toString();
    one.frame = row.value(3).toInt();
    one.size = row.value(4).toLongLong();
    one.hash = row.value(5).toString();
    one.keyFrame = row.value(6).toInt() == 1;
    one.pushed = row.value(7).toInt() == 1;
    one.confirmed = row.value(8).toInt() == 1;
    one.downloaded = row.value(9).toInt() == 1;
    one.block = row.value(10).toInt() == 1;
    return one;
}

const QString columns = QStringLiteral(
    "select id, mid, path, frame, size, hash, keyframe, pushed, confirmed, downloaded, block from result ");
} // namespace

QList<FarmResult> Tasks::results(int missionId) const
{
    QList<FarmResult> list;
    m_core.db.each(columns + QStringLiteral("where mid = ? and block = 0 order by id"), {missionId},
                   [&](const QSqlQuery &row) { list += rowOf(row); });
    for (FarmResult &one : list)
        one.file = resultFile(missionId, one.path);
    return list;
}

FarmResult Tasks::result(qint64 id, int *missionId) const
{
    FarmResult found;
    m_core.db.each(columns + QStringLiteral("where id = ?"), {id}, [&](const QSqlQuery &row) {
        found = rowOf(row);
        *missionId = row.value(1).toInt();
        found.file = resultFile(*missionId, found.path);
    });
    return found;
}

QString Tasks::resultFile(int missionId, const QString &path) const
{
    return QStringLiteral("%1/results/%2/%3").arg(m_core.options.dir).arg(missionId).arg(path);
}

bool Tasks::markPushed(const QList<qint64> &ids)
{
    Db::Batch batch(m_core.db);
    for (qint64 id : ids)
        m_core.db.run(QStringLiteral("update result set pushed = 1 where id = ?"), {id});
    return true;
}

bool Tasks::markConfirmed(const QList<qint64> &ids)
{
    Db::Batch batch(m_core.db);
    for (qint64 id : ids)
        m_core.db.run(QStringLiteral("update result set confirmed = 1 where id = ?"), {id});
    return true;
}

// The last result taken home ends the task's life on the farm.
bool Tasks::markDownloaded(qint64 id)
{
    if (!m_core.db.run(QStringLiteral("update result set downloaded = 1 where id = ?"), {id}))
        return false;
    Task *task = byId(m_core.db.value(QStringLiteral("select mid from result where id = ?"), {id}).toInt());
    if (task && task->stage == Render && task->status == Ended &&
        m_core.db
                .value(QStringLiteral("select count(*) from result where mid = ? and downloaded = 0 and block = 0"),
                       {task->id})
                .toInt() == 0)
        setState(*task, Download, Ended, task->result);
    return true;
}

QJsonObject Tasks::record(const Task &task) const
{
    const qint64 end = task.finishMs > 0 ? task.finishMs : QDateTime::currentMSecsSinceEpoch();
    const bool paused = task.status == Paused;
    int memory = 0, late = 0;
    for (const TaskFrame &one : task.frames) {
        memory = qMax(memory, one.memoryMb);
        late += one.late && !one.replaced ? 1 : 0;
    }
    QJsonObject row{{"id", task.id},
                    {"name", task.name},
                    {"num", task.num},
                    {"project", task.projectName},
                    {"projectId", task.projectId},
                    {"farmId", FarmId},
                    {"stage", task.stage},
                    {"status", task.status},
                    {"result", task.result},
                    {"subtype", task.subtype},
                    {"successFrame", task.counted(FrameDone)},
                    {"failureFrame", task.counted(FrameFailed)},
                    {"cancelFrame", task.counted(FrameCancelled)},
                    {"totalFrame", task.total()},
                    {"renderingFrame", task.counted(FrameRunning)},
                    {"untreatedFrame", paused ? 0 : task.counted(FrameWaiting)},
                    {"suspendFrame", paused ? task.counted(FrameWaiting) : 0},
                    {"keyFrames", task.body.value("keyFrames").toString()},
                    {"isTimeout", late},
                    {"frames", task.framesText},
                    {"cost", QString::number(task.cost, 'f', 2)},
                    {"confirmTime", timeText(task.confirmMs)},
                    {"submitTime", timeText(task.submitMs)},
                    {"finishTime", timeText(task.finishMs)},
                    {"totalSeconds", task.submitMs > 0 ? int((end - task.submitMs) / 1000) : 0},
                    {"succSeconds", int(task.goodMs / 1000)},
                    {"memory", memory > 0 ? QStringLiteral("%1M").arg(memory) : QString()},
                    {"username", m_core.account->nameOf(task.user)},
                    {"userId", task.user},
                    {"nodeLimit", task.nodeLimit},
                    {"remark", task.remark}};
    if (task.main)
        row.insert("identity", QStringLiteral("GZ"));
    if (task.cache) {
        row.insert("identity", QStringLiteral("MAIN"));
        row.insert("GZ_ID", task.cache);
    }
    return row;
}

QString Tasks::missionName(const Task &task)
{
    const QString given = task.body.value("missionName").toString();
    return pathPiece(given.isEmpty() ? task.name : given);
}

QJsonObject Tasks::resultHead(const Task &task) const
{
    return {{"missionId", task.id},
            {"num", task.num},
            {"missionName", missionName(task)},
            {"name", task.name},
            {"projectName", task.projectName},
            {"projectId", task.projectId},
            {"softwareType", task.softwareType},
            {"farmId", FarmId},
            {"clientResultRootPath", task.body.value("clientResultRootPath").toString()},
            {"resultRootPathEnum", task.body.value("resultRootPathEnum").toInt()},
            {"createTime", timeText(task.confirmMs)}};
}

QJsonValue Tasks::choice(const Task &task, const char *key) const
{
    if (task.body.contains(QLatin1String(key)))
        return task.body.value(QLatin1String(key));
    const QJsonObject config = m_core.account->projectConfig(task.projectId, task.softwareType);
    return config.value("combos").toArray().first().toObject().value(QLatin1String(key));
}

// All that the order said, with what has become of it, and the choices in the form that a new analysis keeps them.
QJsonObject Tasks::detail(const Task &task) const
{
    QJsonObject whole = task.body;
    for (const QJsonObject &part : {resultHead(task), record(task)}) {
        for (auto it = part.begin(); it != part.end(); ++it)
            whole.insert(it.key(), it.value());
    }
    QJsonObject machine;
    for (const QJsonValue &one : Account::machines()) {
        if (one.toObject().value("machineModel").toString() == task.machineModel)
            machine = one.toObject();
    }
    const QJsonObject config = m_core.account->projectConfig(task.projectId, task.softwareType);
    const QJsonObject combo = config.value("combos").toArray().first().toObject();
    for (const char *key : {"software", "plugins"})
        whole.insert(QLatin1String(key), choice(task, key));
    whole.insert("fullFrames", task.framesText);
    whole.insert("machineModel", task.machineModel);
    whole.insert("machine", machine);
    whole.insert("clientId", whole.contains("clientId") ? whole.value("clientId") : machine.value("clientId"));
    whole.insert("farmName", QStringLiteral("本机农场"));
    whole.insert("sceneName", whole.contains("sceneName") ? whole.value("sceneName") : whole.value("scene"));
    whole.insert("project", QJsonObject{{"id", task.projectId}, {"name", task.projectName}});
    whole.insert("projectConfig", config);
    whole.insert("combos", config.value("combos"));
    whole.insert("env", QJsonObject{{"id", combo.value("id")},
                                    {"name", combo.value("name")},
                                    {"software", whole.value("software")},
                                    {"plugins", whole.value("plugins")}});
    whole.insert("realtimeSpeed", task.speed);
    whole.insert("totalSize", task.totalSize);
    whole.insert("uploadedSize", task.uploadedSize);
    return whole;
}

QJsonObject Tasks::resultRow(const FarmResult &row) const
{
    return {{"id", row.id},       {"path", row.path},
            {"frame", row.frame}, {"size", row.size},
            {"hash", row.hash},   {"isBlock", row.block ? 1 : 0},
            {"autoPush", 1},      {"isKeyframe", row.keyFrame ? 1 : 0},
            {"farmId", FarmId}};
}

QList<FarmOrder> Tasks::describe()
{
    QList<FarmOrder> list;
    for (const auto &one : m_tasks)
        list += describe(one.second);
    return list;
}

FarmOrder Tasks::describe(const Task &task) const
{
    FarmOrder one;
    one.missionId = task.id;
    one.num = task.num;
    one.name = task.name;
    one.clientFlag = task.clientFlag;
    one.stage = task.stage;
    one.status = task.status;
    one.result = task.result;
    one.subtype = task.subtype;
    one.ordered = task.ordered;
    one.uploaded = task.uploaded;
    one.orders = task.orders;
    one.files = task.keys.size();
    one.filesHere = files(task, true).size();
    one.frames = task.total();
    one.framesDone = task.counted(FrameDone);
    one.framesFailed = task.counted(FrameFailed);
    one.analysisType = task.analysisType;
    one.body = task.body;
    one.fileList = task.files;
    return one;
}

QStringList Tasks::files(const Task &task, bool here) const
{
    QStringList list;
    for (const QString &key : task.keys) {
        if (task.here.contains(key) == here)
            list += key;
    }
    list.sort();
    return list;
}

} // namespace farm
