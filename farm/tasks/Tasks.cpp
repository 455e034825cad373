#include "tasks/Tasks.h"
#include "Account.h"
#include "Core.h"
#include <algorithm>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QJsonDocument>

namespace farm
{

namespace
{
QString text(const QJsonValue &value)
{
    return QString::fromUtf8((value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject()))
                                 .toJson(QJsonDocument::Compact));
}

qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }

qint64 bigNumber(const QJsonValue &value) { return value.toVariant().toLongLong(); }
} // namespace

QString cleanKey(QString path)
{
    path.replace(QLatin1Char('\\'), QLatin1Char('/')).remove(QLatin1Char(':'));
    int at = 0;
    while (at < path.size() && path.at(at) == QLatin1Char('/'))
        ++at;
    return QDir::cleanPath(path.mid(at));
}

bool Task::hasKeyFrames() const { return !frames.isEmpty() && frames.first().job.key; }

// They stand first in the plan.
bool Task::keyFramesDone() const
{
    for (const TaskFrame &one : frames) {
        if (!one.job.key)
            break;
        if (!one.replaced && (one.state == FrameWaiting || one.state == FrameRunning))
            return false;
    }
    return hasKeyFrames();
}

QString frameText(QList<int> numbers)
{
    std::sort(numbers.begin(), numbers.end());
    QStringList words;
    for (int i = 0; i < numbers.size();) {
        int end = i;
        while (end + 1 < numbers.size() && numbers.at(end + 1) <= numbers.at(end) + 1)
            ++end;
        words += numbers.at(i) == numbers.at(end) ? QString::number(numbers.at(i))
                                                  : QStringLiteral("%1-%2").arg(numbers.at(i)).arg(numbers.at(end));
        i = end + 1;
    }
    return words.join(QLatin1Char(','));
}

QString timeText(qint64 ms)
{
    return ms > 0 ? QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) : QString();
}

Tasks::Tasks(Core &core) : m_core(core) { load(); }

void Tasks::load()
{
    m_core.db.each(QStringLiteral("select mid, num, head, body, files from task"), {}, [this](const QSqlQuery &row) {
        Task &task = m_tasks[row.value(0).toInt()];
        const QJsonObject head = QJsonDocument::fromJson(row.value(2).toByteArray()).object();
        task.id = row.value(0).toInt();
        task.user = head.value("user").toInt(UserId);
        task.nodeLimit = head.value("nodeLimit").toInt();
        task.main = head.value("main").toInt();
        task.cache = head.value("cache").toInt();
        task.waitMs = bigNumber(head.value("waitMs"));
        task.num = row.value(1).toString();
        task.name = head.value("name").toString();
        task.projectName = head.value("projectName").toString();
        task.machineModel = head.value("machineModel").toString();
        task.remark = head.value("remark").toString();
        task.clientFlag = bigNumber(head.value("clientFlag"));
        task.softwareType = head.value("softwareType").toInt();
        task.projectId = head.value("projectId").toInt();
        task.stage = head.value("stage").toInt();
        task.status = head.value("status").toInt();
        task.result = head.value("result").toInt();
        task.subtype = head.value("subtype").toInt();
        task.ordered = head.value("ordered").toBool();
        task.uploaded = head.value("uploaded").toBool();
        task.keyConfirmed = head.value("keyConfirmed").toBool();
        task.history = head.value("history").toBool();
        task.orders = head.value("orders").toInt();
        task.analysisType = head.value("analysisType").toInt();
        task.appliedMs = bigNumber(head.value("appliedMs"));
        task.confirmMs = bigNumber(head.value("confirmMs"));
        task.submitMs = bigNumber(head.value("submitMs"));
        task.finishMs = bigNumber(head.value("finishMs"));
        task.priority = head.value("priority").toDouble();
        task.cost = head.value("cost").toDouble();
        task.body = QJsonDocument::fromJson(row.value(3).toByteArray()).object();
        setFiles(task, QJsonDocument::fromJson(row.value(4).toByteArray()).array());
        m_next = qMax(m_next, task.id + 1);
    });
    m_core.db.each(QStringLiteral("select mid, key from here"), {}, [this](const QSqlQuery &row) {
        if (Task *task = byId(row.value(0).toInt()))
            task->here.insert(row.value(1).toString());
    });
    for (auto &one : m_tasks) {
        if (one.second.uploaded)
            plan(one.second);
    }
}

QString Tasks::freeNumber()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd")) +
           QStringLiteral("%1").arg(m_next, 6, 10, QLatin1Char('0'));
}

Task *Tasks::byId(int id)
{
    const auto it = m_tasks.find(id);
    return it == m_tasks.end() ? nullptr : &it->second;
}

QList<Task *> Tasks::all()
{
    QList<Task *> list;
    for (auto &one : m_tasks)
        list += &one.second;
    std::stable_sort(list.begin(), list.end(), [](const Task *a, const Task *b) { return a->priority < b->priority; });
    return list;
}

// A number asked for again for the same scene row, before its order came, is the same number: the first answer was
// lost.
Task &Tasks::apply(const QJsonObject &body, int user)
{
    const qint64 flag = bigNumber(body.value("clientFlag"));
    const QString name = body.value("name").toString();
    for (auto &one : m_tasks) {
        if (one.second.clientFlag == flag && one.second.name == name && one.second.stage == Analysis &&
            one.second.status == Running && one.second.user == user)
            return one.second;
    }
    Task &task = m_tasks[m_next];
    task.num = freeNumber();
    task.id = m_next++;
    task.user = user;
    task.priority = task.id;
    task.name = name;
    task.clientFlag = flag;
    task.softwareType = body.value("softwareType").toInt();
    task.projectId = body.value("projectId").toInt();
    task.projectName = m_core.account->projectName(task.projectId);
    task.machineModel = body.value("machineModel").toString();
    task.appliedMs = now();
    save(task);
    emit m_core.orderChanged(task.id);
    return task;
}

bool Tasks::save(Task &task)
{
    const QJsonObject head{{"name", task.name},
                           {"user", task.user},
                           {"nodeLimit", task.nodeLimit},
                           {"main", task.main},
                           {"cache", task.cache},
                           {"waitMs", task.waitMs},
                           {"projectName", task.projectName},
                           {"machineModel", task.machineModel},
                           {"remark", task.remark},
                           {"clientFlag", task.clientFlag},
                           {"softwareType", task.softwareType},
                           {"projectId", task.projectId},
                           {"stage", task.stage},
                           {"status", task.status},
                           {"result", task.result},
                           {"subtype", task.subtype},
                           {"ordered", task.ordered},
                           {"uploaded", task.uploaded},
                           {"keyConfirmed", task.keyConfirmed},
                           {"history", task.history},
                           {"orders", task.orders},
                           {"analysisType", task.analysisType},
                           {"appliedMs", task.appliedMs},
                           {"confirmMs", task.confirmMs},
                           {"submitMs", task.submitMs},
                           {"finishMs", task.finishMs},
                           {"priority", task.priority},
                           {"cost", task.cost}};
    const bool there = m_core.db.value(QStringLiteral("select 1 from task where mid = ?"), {task.id}).isValid();
    return there ? m_core.db.run(QStringLiteral("update task set head = ? where mid = ?"), {text(head), task.id})
                 : m_core.db.run(
                       QStringLiteral("insert into task(mid, num, head, body, files) values(?, ?, ?, '{}', '[]')"),
                       {task.id, task.num, text(head)});
}

void Tasks::setFiles(Task &task, const QJsonArray &files)
{
    task.files = files;
    task.keys.clear();
    for (const QJsonValue &one : files) {
        const QString path = one.toObject().value("path").toString();
        if (!path.isEmpty())
            task.keys.insert(cleanKey(path));
    }
}

int Tasks::order(Task &task, const QJsonObject &body)
{
    if (task.num != body.value("ordernum").toString() || task.result == Cancelled)
        return 13;
    ++task.orders;
    if (task.uploaded)
        return save(task) ? 0 : 1; // told again after everything went well: the answer was lost
    QJsonObject rest = body;
    rest.remove("files");
    task.body = rest;
    setFiles(task, body.value("files").toArray());
    if (body.contains("softwareType"))
        task.softwareType = body.value("softwareType").toInt();
    const auto take = [&body](const char *key, QString *field) {
        const QString given = body.value(QLatin1String(key)).toString();
        if (!given.isEmpty())
            *field = given;
    };
    take("projectName", &task.projectName);
    take("machineModel", &task.machineModel);
    task.ordered = true;
    task.confirmMs = now();
    task.stage = Upload;
    task.status = Running;
    Db::Batch batch(m_core.db);
    const bool good = m_core.db.run(QStringLiteral("update task set body = ?, files = ? where mid = ?"),
                                    {text(rest), text(task.files), task.id}) &&
                      save(task);
    emit m_core.orderChanged(task.id);
    return good ? 0 : 1;
}

bool Tasks::markHere(Task &task, const QString &key)
{
    if (!task.here.contains(key) &&
        !m_core.db.run(QStringLiteral("insert or ignore into here(mid, key) values(?, ?)"), {task.id, key}))
        return false;
    task.here.insert(key);
    return true;
}

bool Tasks::uploadComplete(Task &task)
{
    if (task.uploaded)
        return true;
    const bool broken = m_core.faults.happens(QStringLiteral("prepare-fail"));
    task.uploaded = true;
    task.submitMs = now();
    task.stage = broken ? Prepare : Render;
    task.status = broken ? Ended : Queued;
    task.result = broken ? Failed : 0;
    if (!save(task)) {
        task.uploaded = false;
        return false;
    }
    plan(task);
    addLightCache(task);
    addBlocks(task);
    note(task, task.user, QStringLiteral("提交渲染"));
    emit m_core.orderChanged(task.id);
    emit m_core.uploadFinished(task.id);
    return true;
}

void Tasks::setState(Task &task, int stage, int status, int result, int subtype)
{
    if (task.stage == stage && task.status == status && task.result == result && task.subtype == subtype)
        return;
    task.stage = stage;
    task.status = status;
    task.result = result;
    task.subtype = subtype;
    if (status == Ended && task.finishMs == 0)
        task.finishMs = now();
    if (status != Ended)
        task.finishMs = 0;
    task.waitMs = subtype == WaitConfirm ? now() : 0;
    save(task);
    emit m_core.orderChanged(task.id);
}

bool Tasks::cancel(Task &task)
{
    if (task.status == Ended)
        return false;
    {
        Db::Batch batch(m_core.db);
        for (int i = 0; i < task.frames.size(); ++i) {
            if (task.frames.at(i).state == FrameWaiting || task.frames.at(i).state == FrameRunning)
                frameEnded(task, i, FrameCancelled);
        }
    }
    setState(task, task.stage, Ended, Cancelled);
    m_core.event(QStringLiteral("cancelled %1").arg(task.id));
    return true;
}

void Tasks::remove(Task &task)
{
    const int id = task.id;
    for (const char *table : {"task", "here", "sub", "extra", "oper", "result"})
        m_core.db.run(QStringLiteral("delete from %1 where mid = ?").arg(QLatin1String(table)), {id});
    m_tasks.erase(id);
    emit m_core.orderChanged(id);
}

bool Tasks::saveBody(Task &task)
{
    return m_core.db.run(QStringLiteral("update task set body = ? where mid = ?"), {text(task.body), task.id});
}

} // namespace farm
