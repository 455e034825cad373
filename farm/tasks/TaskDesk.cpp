// Registration, and the list of tasks with its filters.
#include "tasks/TaskDesk.h"
#include "Account.h"
#include "Core.h"
#include "tasks/Renderer.h"
#include <algorithm>

namespace farm
{

namespace
{
// The number that the filter menus use for the task's state, 0 for none. 1199 has no entry of its own but is shown.
int filterCode(const Task &task)
{
    if (task.history || (task.stage < Prepare && task.status == Ended)) {
        switch (task.stage) {
        case Analysis:
            return task.result == Failed ? 2110 : 2100;
        case Upload:
            return task.result == Failed ? 2210 : 2200;
        case Download:
            return 2400;
        default:
            return 2300;
        }
    }
    if (task.stage == Download)
        return 1220;
    if (task.stage == Prepare)
        return 1199;
    if (task.stage != Render)
        return 0;
    switch (task.status) {
    case Queued:
        return 1100;
    case Running:
        return task.subtype == PausePending ? 1150 : 1110;
    case Paused:
        return task.subtype == WaitConfirm ? 1120 : 1130;
    default:
        return 1140;
    }
}

QList<int> numbers(const QJsonValue &value)
{
    QList<int> list;
    for (const QJsonValue &one : value.toArray())
        list += one.toVariant().toInt();
    if (!value.isArray() && !value.isUndefined() && !value.isNull())
        list += value.toVariant().toInt();
    if (list.contains(-1))
        list.clear();
    return list;
}

bool wanted(const Task &task, const QJsonObject &body)
{
    const int code = filterCode(task);
    const QList<int> states = numbers(body.value("missionStatus")), projects = numbers(body.value("projectId")),
                     users = numbers(body.value("userId"));
    const bool every = states.isEmpty() || states.contains(1000);
    const bool fits =
        (every && code >= 1000 && code < 2000) || (states.contains(2000) && code >= 2000) || states.contains(code);
    const int remark = body.contains("remark") ? body.value("remark").toVariant().toInt() : -1;
    const QString text = body.value("name").toString();
    return code > 0 && fits && (projects.isEmpty() || projects.contains(task.projectId)) &&
           (users.isEmpty() || users.contains(task.user)) &&
           (task.name.contains(text, Qt::CaseInsensitive) || task.num.contains(text)) &&
           (remark != 1 || !task.remark.isEmpty()) && (remark != 0 || task.remark.isEmpty());
}

void sortRows(QList<Task *> *list, const QJsonObject &body)
{
    std::sort(list->begin(), list->end(), [](const Task *a, const Task *b) { return a->id > b->id; });
    if (const int sort = body.value("nameSort").toInt(); sort == 10 || sort == 11)
        std::stable_sort(list->begin(), list->end(), [sort](const Task *a, const Task *b) {
            const int order = a->name.compare(b->name, Qt::CaseInsensitive);
            return sort == 10 ? order < 0 : order > 0;
        });
    if (const int sort = body.value("subTimeSort").toInt(); sort == 12 || sort == 13)
        std::stable_sort(list->begin(), list->end(), [sort](const Task *a, const Task *b) {
            const auto first = std::make_pair(a->confirmMs, a->id), second = std::make_pair(b->confirmMs, b->id);
            return sort == 12 ? first < second : second < first;
        });
}
} // namespace

TaskDesk::TaskDesk(Core &core) : m_core(core)
{
    addList();
    addActs();
    addQueue();
    addSubTasks();
    addPictures();
    addChanges();
    // What this farm doesn't offer is refused with the code that says so.
    for (const QPair<int, int> &one : {qMakePair(10434, 1043402), qMakePair(10435, 1043500)}) {
        const int code = one.second;
        m_core.business->add(one.first, [code](Link &, const QJsonDocument &) { return Answer{code, {}, {}, {}}; });
    }
}

void TaskDesk::on(int cmd, Act act)
{
    m_core.business->add(cmd, [this, cmd, act = std::move(act)](Link &link, const QJsonDocument &doc) {
        Answer answer{cmd * 100 + 1, {}, {}, {}};
        Task *task = m_core.tasks->byId(doc.object().value("missionId").toVariant().toInt());
        if (!task || !mayTouch(link, *task))
            return answer;
        answer.val = cmd * 100;
        act(link, doc.object(), *task, &answer);
        return answer;
    });
}

bool TaskDesk::mayTouch(const Link &link, const Task &task) const
{
    return link.user == UserId || task.user == link.user;
}

void TaskDesk::wake(Answer *answer)
{
    answer->after = [this] { m_core.renderer->wake(); };
}

void TaskDesk::addList()
{
    m_core.business->add(10427, [this](Link &link, const QJsonDocument &doc) {
        const QJsonObject body = doc.object();
        QList<Task *> list;
        for (Task *task : m_core.tasks->all()) {
            if (mayTouch(link, *task) && wanted(*task, body))
                list += task;
        }
        sortRows(&list, body);
        const int each = qBound(1, body.value("pageCount").toInt(20), 200),
                  page = qMax(0, body.value("page").toVariant().toInt());
        QJsonArray rows;
        for (qint64 i = qint64(page) * each; i < list.size() && i < (page + 1LL) * each; ++i)
            rows.append(m_core.tasks->record(*list.at(int(i))));
        return Answer{1042700,
                      {{"pageSize", (list.size() + each - 1) / each}, {"pageList", rows}, {"total", list.size()}},
                      {},
                      {}};
    });
    on(10409,
       [this](Link &, const QJsonObject &, Task &task, Answer *answer) { answer->body = m_core.tasks->detail(task); });
    on(10428, [this](Link &, const QJsonObject &, Task &task, Answer *answer) {
        answer->body = {{"rows", m_core.tasks->notes(task)}};
    });
}

} // namespace farm
