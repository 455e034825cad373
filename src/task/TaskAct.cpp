#include "task/TaskAct.h"
#include "common/facts/SoftwareType.h"
#include <algorithm>
#include <QCoreApplication>

namespace
{
using namespace TaskAct;
using namespace TaskState;
using Is = bool (*)(const TaskRecord &);

bool ordered(const TaskRecord &task) { return task.stand.stage != Analysis && task.stand.stage != Upload; }
bool always(const TaskRecord &) { return true; }
bool inRender(const TaskRecord &task) { return task.stand.stage == Render && task.stand.status != Ended; }

bool fillable(const TaskRecord &task)
{
    return ordered(task) && task.software != SoftwareType::SketchUp &&
           !(task.software == SoftwareType::Max && task.isLightCache());
}

bool resumable(const TaskRecord &task)
{
    const Stand &at = task.stand;
    return at.stage == Render && at.subtype != WaitsForConfirmation &&
           (at.status == Paused || (at.status == Running && at.subtype == PausePending));
}

bool speedable(const TaskRecord &task)
{
    const Stand &at = task.stand;
    return !task.keyFrames.isEmpty() && !task.isLightCache() && at.stage == Render &&
           (at.status == Running || (at.status == Paused && at.subtype == WaitsForConfirmation));
}

bool over(const TaskRecord &task)
{
    const Stand &at = task.stand;
    return at.status == Ended &&
           (at.stage == Render || at.stage == Download || (at.stage == Preparation && at.result == Failed));
}

constexpr int None = 0;
// In the order of the menu; the last two stand in the remark's cell.
const struct Row {
    Act act;
    int grant;
    Is possible;
    bool live, old; // on the page of live tasks, of the history
    const char *name, *text, *doing;
} rows[] = {
    {Detail, None, always, true, true, "detail", QT_TRANSLATE_NOOP("TaskAct", "任务详情"), nullptr},
    {Priority, None, inRender, true, false, "priority", QT_TRANSLATE_NOOP("TaskAct", "优先级调整"),
     QT_TRANSLATE_NOOP("TaskAct", "正在调整优先级…")},
    {RerenderFailed, 4, [](const TaskRecord &task) { return task.failureFrame != 0; }, true, false, "rerender",
     QT_TRANSLATE_NOOP("TaskAct", "重渲失败帧"), QT_TRANSLATE_NOOP("TaskAct", "正在重渲…")},
    {Continue, 5, resumable, true, false, "continue", QT_TRANSLATE_NOOP("TaskAct", "继续渲染"),
     QT_TRANSLATE_NOOP("TaskAct", "正在继续…")},
    {Pause, None,
     [](const TaskRecord &task) {
         return task.stand.stage == Render && (task.stand.status == Queued || task.stand.status == Running);
     },
     true, false, "pause", QT_TRANSLATE_NOOP("TaskAct", "暂停渲染"), QT_TRANSLATE_NOOP("TaskAct", "正在暂停…")},
    {Cancel, 6, inRender, true, false, "cancel", QT_TRANSLATE_NOOP("TaskAct", "取消渲染"),
     QT_TRANSLATE_NOOP("TaskAct", "正在取消…")},
    {HandOver, None, inRender, true, false, "handover", QT_TRANSLATE_NOOP("TaskAct", "任务交接"),
     QT_TRANSLATE_NOOP("TaskAct", "正在交接…")},
    {ToHistory, 3, over, true, false, "delete", QT_TRANSLATE_NOOP("TaskAct", "删除任务"),
     QT_TRANSLATE_NOOP("TaskAct", "正在转移…")},
    {FullSpeed, None, speedable, true, false, "fullspeed", QT_TRANSLATE_NOOP("TaskAct", "全速渲染"),
     QT_TRANSLATE_NOOP("TaskAct", "正在全速…")},
    {ChangeEnvironment, 8, ordered, true, true, "environment", QT_TRANSLATE_NOOP("TaskAct", "修改环境配置"),
     QT_TRANSLATE_NOOP("TaskAct", "正在修改环境…")},
    {Fill, 7, fillable, true, true, "fill", QT_TRANSLATE_NOOP("TaskAct", "补帧"),
     QT_TRANSLATE_NOOP("TaskAct", "正在补帧…")},
    {Fetch, 10, [](const TaskRecord &task) { return ordered(task) && task.successFrame != 0; }, true, true, "download",
     QT_TRANSLATE_NOOP("TaskAct", "下载"), nullptr},
    {OpenFolder, None, always, true, true, "folder", QT_TRANSLATE_NOOP("TaskAct", "打开本地目录"), nullptr},
    {Clone, 7, fillable, true, true, "clone", QT_TRANSLATE_NOOP("TaskAct", "克隆任务"), nullptr},
    {Limit, None, inRender, false, false, "limit", QT_TRANSLATE_NOOP("TaskAct", "最大节点数"),
     QT_TRANSLATE_NOOP("TaskAct", "正在设置节点数…")},
    {Remark, None, always, false, false, "remark", QT_TRANSLATE_NOOP("TaskAct", "备注"),
     QT_TRANSLATE_NOOP("TaskAct", "正在保存备注…")},
};

const Row &rowOf(Act act)
{
    return *std::find_if(std::begin(rows), std::end(rows), [act](const Row &row) { return row.act == act; });
}

QString words(const char *text) { return text ? QCoreApplication::translate("TaskAct", text) : QString(); }
} // namespace

bool TaskAct::possible(Act act, const TaskRecord &task, const Denied &denied)
{
    const Row &row = rowOf(act);
    return row.possible(task) && (row.grant == None || !denied || !denied(row.grant));
}

bool TaskAct::possible(Act act, const QList<TaskRecord> &tasks, const Denied &denied)
{
    return !tasks.isEmpty() &&
           std::all_of(tasks.begin(), tasks.end(), [&](const TaskRecord &task) { return possible(act, task, denied); });
}

QString TaskAct::text(Act act) { return words(rowOf(act).text); }
QString TaskAct::name(Act act) { return QLatin1String(rowOf(act).name); }
QString TaskAct::doing(Act act) { return words(rowOf(act).doing); }

QList<TaskAct::Act> TaskAct::menu(bool history)
{
    QList<Act> out;
    for (const Row &row : rows)
        if (history ? row.old : row.live)
            out << row.act;
    return out;
}
