// Sub-tasks: one frame of one camera each.
#include "Business.h"
#include "Core.h"
#include "Renderer.h"
#include <QDateTime>
#include <QFile>

namespace farm
{

namespace
{
enum { EachPage = 20, IdStep = 100000 };

QString stamp(qint64 ms)
{
    return ms > 0 ? QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) : QString();
}

QJsonObject subTask(const Task &task, int index)
{
    const TaskFrame &one = task.frames.at(index);
    const int state = one.state == FrameWaiting && task.status == Paused ? 2 : one.state;
    QJsonObject row{{"id", qint64(task.id) * IdStep + index},
                    {"jobId", task.id},
                    {"farmId", FarmId},
                    {"status", state},
                    {"type", 0},
                    {"flag", 0},
                    {"frame_from", one.job.frame},
                    {"frame_to", one.job.frame},
                    {"frame_step", 1},
                    {"camera", one.job.camera},
                    {"showSub_lay", one.job.camera},
                    {"start_time", stamp(one.startedMs)},
                    {"end_time", stamp(one.endedMs)},
                    {"seconds", one.endedMs > one.startedMs ? int((one.endedMs - one.startedMs) / 1000) : 0},
                    {"memory_peak", QStringLiteral("64M")},
                    {"log_file", QString()},
                    {"downloadState", 0},
                    {"timeout", 0},
                    {"blocks_count", 0},
                    {"parentViewId", 0},
                    {"curStage", 1},
                    {"totalStages", 1},
                    {"speed", 0}};
    if (task.softwareType == 1)
        row.insert("maya_layer", one.job.camera);
    if (task.softwareType == 4)
        row.insert("hou_rop", one.job.camera);
    return row;
}
} // namespace

void Business::addSubTasks()
{
    add(10402, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        const Task *task = taskOf(doc.object(), 10402, &answer);
        if (!task)
            return answer;
        answer.body = m_core.tasks->record(*task);
        const int status = doc.object().contains("status") ? doc.object().value("status").toVariant().toInt() : -1;
        const int page = qMax(0, doc.object().value("page").toVariant().toInt());
        QJsonArray fitting, rows;
        for (int i = 0; i < task->frames.size(); ++i) {
            const QJsonObject row = subTask(*task, i);
            if (status < 0 || row.value("status").toInt() == status)
                fitting.append(row);
        }
        for (int i = page * EachPage; i < fitting.size() && i < (page + 1) * EachPage; ++i)
            rows.append(fitting.at(i));
        answer.body.insert("results", rows);
        answer.body.insert("pageSize", (fitting.size() + EachPage - 1) / EachPage);
        return answer;
    });
    // What this farm doesn't offer is refused with the code that says so.
    for (const QPair<int, int> &one :
         {qMakePair(10405, 1040518), qMakePair(10426, 1042600), qMakePair(10428, 1042801), qMakePair(10434, 1043402),
          qMakePair(10435, 1043500), qMakePair(10437, 1043701), qMakePair(10801, 1080102), qMakePair(10804, 1080402)}) {
        const int code = one.second;
        add(one.first, [code](Link &, const QJsonDocument &) { return Answer{code, {}, {}, {}}; });
    }
    const auto each = [this](int cmd, const char *key, std::function<void(Task &, int)> act) {
        add(cmd, [this, cmd, key, act](Link &, const QJsonDocument &doc) {
            Answer answer;
            Task *task = taskOf(doc.object(), cmd, &answer);
            const QString ids = doc.object().value(QLatin1String(key)).toVariant().toString();
            for (const QString &id : ids.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
                const qint64 index = id.toLongLong() - qint64(task ? task->id : 0) * IdStep;
                if (task && index >= 0 && index < task->frames.size())
                    act(*task, int(index));
            }
            answer.after = [this] { m_core.renderer->wake(); };
            return answer;
        });
    };
    each(10403, "subJobId", [this](Task &task, int index) {
        if (task.frames.at(index).state == FrameWaiting || task.frames.at(index).state == FrameRunning)
            m_core.tasks->frameEnded(task, index, FrameCancelled);
    });
    each(10425, "subjobIds", [this](Task &task, int index) {
        m_core.tasks->frameEnded(task, index, FrameWaiting);
        if (task.status == Ended)
            m_core.tasks->setState(task, Render, Queued);
    });
    add(10407, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        const Task *task = taskOf(doc.object(), 10407, &answer);
        const qint64 index =
            doc.object().value("subjobId").toVariant().toLongLong() - qint64(task ? task->id : 0) * IdStep;
        answer.val = 1040701;
        if (!task || index < 0 || index >= task->frames.size() || task->frames.at(int(index)).state != FrameDone)
            return answer;
        QFile file(m_core.tasks->resultFile(task->id, task->frames.at(int(index)).job.path));
        if (file.open(QIODevice::ReadOnly)) {
            answer.stream = file.readAll();
            answer.val = 1040700;
        }
        return answer;
    });
}

} // namespace farm
