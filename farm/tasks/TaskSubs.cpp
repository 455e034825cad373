// Sub-tasks and blocks: their lists, cancelled or rendered again one by one.
#include "Account.h"
#include "Core.h"
#include "tasks/Renderer.h"
#include "tasks/TaskDesk.h"
#include <QDateTime>

namespace farm
{

namespace
{
constexpr int eachPage = 30;

int shownState(const Task &task, const TaskFrame &one)
{
    return one.state == FrameWaiting && task.status == Paused ? int(FramePaused) : one.state;
}

// The rows of a page out of those of a state; the number of pages and of rows go into the head.
QVector<int> pageOf(const Task &task, const QVector<int> &all, const QJsonObject &body, QJsonObject *head)
{
    const int status = body.contains("status") ? body.value("status").toVariant().toInt() : -1;
    const int each = qBound(
        1, body.value("pageCount").toVariant().toInt() > 0 ? body.value("pageCount").toVariant().toInt() : eachPage,
        500);
    const qint64 from = qMax(0LL, body.value("page").toVariant().toLongLong()) * each;
    QVector<int> rows;
    int count = 0;
    for (int index : all) {
        if (status >= 0 && shownState(task, task.frames.at(index)) != status)
            continue;
        if (count >= from && rows.size() < each)
            rows += index;
        ++count;
    }
    head->insert("pageSize", (count + each - 1) / each);
    head->insert("total", count);
    return rows;
}

QVector<int> idsOf(const Tasks &tasks, const Task &task, const QJsonValue &value)
{
    QVector<int> list;
    for (const QString &word : value.toVariant().toString().split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const int index = tasks.indexOf(task, word.toLongLong());
        if (index >= 0 && !list.contains(index))
            list += index;
    }
    return list;
}
} // namespace

QJsonObject TaskDesk::subTask(const Task &task, int index) const
{
    const TaskFrame &one = task.frames.at(index);
    int mission = 0;
    const bool home = one.result > 0 && m_core.tasks->result(one.result, &mission).downloaded;
    const qint64 end = one.endedMs > 0 ? one.endedMs : QDateTime::currentMSecsSinceEpoch();
    int pieces = 0;
    for (int i = one.firstBlock; i >= 0 && i < one.firstBlock + one.blocks; ++i)
        pieces += task.frames.at(i).state == FrameDone ? 1 : 0;
    QJsonObject row{{"id", subTaskId(task, index)},
                    {"jobId", task.id},
                    {"farmId", FarmId},
                    {"status", shownState(task, one)},
                    {"type", one.kind},
                    {"flag", one.flag},
                    {"frame_from", one.job.frame},
                    {"frame_to", one.job.frame},
                    {"frame_step", 1},
                    {"camera", one.job.camera},
                    {"showSub_lay", one.job.camera},
                    {"start_time", timeText(one.startedMs)},
                    {"end_time", timeText(one.endedMs)},
                    {"seconds", one.startedMs > 0 ? int((end - one.startedMs) / 1000) : 0},
                    {"memory_peak", one.memoryMb > 0 ? QStringLiteral("%1M").arg(one.memoryMb) : QString()},
                    {"log_file", one.tries > 0 ? m_core.tasks->logPath(task, index) : QString()},
                    {"downloadState", home ? 1 : 0},
                    {"timeout", one.late ? 1 : 0},
                    {"blocks_count", one.blocks},
                    {"parentView", one.parent >= 0 ? 1 : 0},
                    {"parentViewId", one.parent >= 0 ? subTaskId(task, one.parent) : 0},
                    {"curStage", one.blocks > 0 ? pieces : 1},
                    {"totalStages", one.blocks > 0 ? one.blocks : 1},
                    {"speed", m_core.renderer->speed(task, index)},
                    {"newVer", one.endedMs > 0 ? one.endedMs : qint64(one.tries)},
                    {"node", one.node},
                    {"tries", one.tries}};
    if (task.softwareType == 1)
        row.insert("maya_layer", one.job.camera);
    if (task.softwareType == 4)
        row.insert("hou_rop", one.job.camera);
    if (one.kind == BlockOfFrame)
        row.insert("block", one.block + 1);
    return row;
}

// What is rendered again gets a record of its own that stands for the frame from then on; a block, and what hasn't
// ended yet, is rendered in its place.
void TaskDesk::renderAgain(Task &task, int index)
{
    Tasks &tasks = *m_core.tasks;
    TaskFrame one = task.frames.at(index);
    if (one.replaced || one.state == FrameWaiting || one.state == FrameRunning)
        return;
    if (one.kind == BlockOfFrame) {
        if (task.frames.at(one.parent).state != FrameWaiting && task.frames.at(one.parent).state != FrameRunning)
            tasks.frameWaits(task, one.parent);
        task.frames[index].flag = AgainOne;
        return tasks.frameWaits(task, index);
    }
    TaskFrame fresh;
    fresh.job = one.job;
    fresh.kind = one.kind;
    fresh.flag = AgainOne;
    fresh.parent = index;
    tasks.replace(task, index);
    tasks.append(task, fresh);
}

void TaskDesk::addSubTasks()
{
    on(10402, [this](Link &, const QJsonObject &body, Task &task, Answer *answer) {
        answer->body = m_core.tasks->record(task);
        QJsonArray rows;
        for (int index : pageOf(task, m_core.tasks->listed(task), body, &answer->body))
            rows.append(subTask(task, index));
        answer->body.insert("results", rows);
        answer->body.insert("softwareType", task.softwareType);
        answer->body.insert("picCount", picCount(task));
    });
    on(10437, [this](Link &, const QJsonObject &body, Task &task, Answer *answer) {
        const int frame = m_core.tasks->indexOf(task, body.value("subjobId").toVariant().toLongLong());
        QVector<int> blocks;
        int by[6] = {0, 0, 0, 0, 0, 0};
        for (int i = task.planned; i < task.frames.size(); ++i) {
            const TaskFrame &one = task.frames.at(i);
            if (one.kind != BlockOfFrame || (frame >= 0 && one.parent != frame))
                continue;
            blocks += i;
            ++by[shownState(task, one)];
        }
        answer->body = {{"missionId", task.id},
                        {"totalBlock", blocks.size()},
                        {"renderingBlock", by[FrameRunning]},
                        {"untreatedBlock", by[FrameWaiting]},
                        {"suspendBlock", by[FramePaused]},
                        {"successBlock", by[FrameDone]},
                        {"failureBlock", by[FrameFailed]},
                        {"cancelBlock", by[FrameCancelled]}};
        QJsonArray rows;
        for (int index : pageOf(task, blocks, body, &answer->body))
            rows.append(subTask(task, index));
        answer->body.insert("results", rows);
    });
    on(10403, [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) {
        int cancelled = 0;
        for (int index : idsOf(*m_core.tasks, task, body.value("subJobId"))) {
            const TaskFrame one = task.frames.at(index);
            if (one.state != FrameWaiting && one.state != FrameRunning)
                continue;
            for (int i = one.firstBlock; i >= 0 && i < one.firstBlock + one.blocks; ++i)
                m_core.renderer->drop(task, i);
            m_core.renderer->drop(task, index);
            ++cancelled;
        }
        answer->val = cancelled > 0 ? 1040300 : 1040301;
        if (cancelled > 0)
            m_core.tasks->note(task, link.user, QStringLiteral("取消子任务：%1").arg(cancelled));
        wake(answer);
    });
    on(10425, [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) {
        const QVector<int> list = idsOf(*m_core.tasks, task, body.value("subjobIds"));
        answer->val = m_core.account->balance() <= 0          ? 1042504
                      : list.isEmpty() || task.stage < Render ? 1042501
                                                              : 1042500;
        if (answer->val != 1042500)
            return;
        {
            Db::Batch batch(m_core.db);
            for (int index : list)
                renderAgain(task, index);
        }
        if (task.status != Paused && task.counted(FrameWaiting) > 0)
            m_core.tasks->setState(task, Render, task.counted(FrameRunning) > 0 ? Running : Queued);
        m_core.tasks->note(task, link.user, QStringLiteral("重渲子任务：%1").arg(list.size()));
        wake(answer);
    });
}

} // namespace farm
