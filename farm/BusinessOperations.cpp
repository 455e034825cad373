// Module 104 once a task is ordered: list, detail, pause, continue, cancel, history, re-render, order of the queue.
#include "Account.h"
#include "Business.h"
#include "Core.h"
#include "Renderer.h"
#include <algorithm>

namespace farm
{

namespace
{
// The number that the filter menus use for the task's state, 0 for none.
int filterCode(const Task &task)
{
    if (task.history || (task.stage < Render && task.status == Ended)) {
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
    list.removeAll(-1);
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
    const int remark = body.contains("remark") ? body.value("remark").toInt(-1) : -1; // 1 with, 2 without
    return code > 0 && fits && (projects.isEmpty() || projects.contains(task.projectId)) &&
           (users.isEmpty() || users.contains(UserId)) &&
           task.name.contains(body.value("name").toString(), Qt::CaseInsensitive) &&
           (remark != 1 || !task.remark.isEmpty()) && (remark != 2 || task.remark.isEmpty());
}
} // namespace

void Business::addOperations()
{
    add(10427, [this](Link &, const QJsonDocument &doc) {
        const QJsonObject body = doc.object();
        QList<Task *> list;
        for (Task *task : m_core.tasks->all()) {
            if (wanted(*task, body))
                list += task;
        }
        std::sort(list.begin(), list.end(), [](const Task *a, const Task *b) { return a->id > b->id; });
        if (const int sort = body.value("nameSort").toInt(); sort == 10 || sort == 11)
            std::stable_sort(list.begin(), list.end(), [sort](const Task *a, const Task *b) {
                return sort == 10 ? a->name < b->name : b->name < a->name;
            });
        if (const int sort = body.value("subTimeSort").toInt(); sort == 12 || sort == 13)
            std::stable_sort(list.begin(), list.end(), [sort](const Task *a, const Task *b) {
                return sort == 12 ? a->confirmMs < b->confirmMs : b->confirmMs < a->confirmMs;
            });
        const int each = qBound(1, body.value("pageCount").toInt(20), 200),
                  page = qMax(0, body.value("page").toVariant().toInt());
        QJsonArray rows;
        for (int i = page * each; i < list.size() && i < (page + 1) * each; ++i)
            rows.append(m_core.tasks->record(*list.at(i)));
        return Answer{1042700,
                      {{"pageSize", (list.size() + each - 1) / each}, {"pageList", rows}, {"total", list.size()}},
                      {},
                      {}};
    });
    add(10409, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        if (const Task *task = taskOf(doc.object(), 10409, &answer))
            answer.body = m_core.tasks->detail(*task);
        return answer;
    });
    add(10401, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        if (Task *task = taskOf(doc.object(), 10401, &answer); task && !m_core.tasks->cancel(*task))
            answer.val = 1010103;
        answer.after = [this] { m_core.renderer->wake(); };
        return answer;
    });
    add(10429, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        Task *task = taskOf(doc.object(), 10429, &answer);
        if (!task)
            return answer;
        if (m_core.account->balance() <= 0) {
            answer.val = 1042901;
        } else if (task->stage == Render && task->status != Ended) {
            task->keyConfirmed = task->keyConfirmed || task->keyFramesDone() || task->subtype == WaitConfirm;
            m_core.tasks->setState(*task, Render, Queued);
            m_core.tasks->save(*task);
        } else {
            answer.val = 1042904;
        }
        answer.after = [this] { m_core.renderer->wake(); };
        return answer;
    });
    add(10430, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        Task *task = taskOf(doc.object(), 10430, &answer);
        if (!task || task->stage != Render || task->status == Ended) {
            answer.val = 1043004;
            return answer;
        }
        const bool later = doc.object().value("pauseRender").toInt() == 0 && task->counted(FrameRunning) > 0;
        m_core.tasks->setState(*task, Render, later ? Running : Paused, 0, later ? PausePending : 0);
        if (!later)
            m_core.renderer->abandon(*task);
        return answer;
    });
    add(10432, [this](Link &, const QJsonDocument &doc) {
        for (const QJsonValue &id : doc.array()) {
            Task *task = m_core.tasks->byId(id.toInt());
            if (task && task->status == Ended) {
                task->history = true;
                m_core.tasks->save(*task);
            }
        }
        return Answer{1043200, {}, {}, {}};
    });
    add(10406, [this](Link &, const QJsonDocument &doc) {
        Answer answer{1040605, {}, [this] { m_core.renderer->wake(); }, {}};
        for (const QJsonValue &id : doc.array()) {
            Task *task = m_core.tasks->byId(id.toInt());
            if (!task || task->counted(FrameFailed) == 0)
                continue;
            m_core.tasks->resetFrames(*task, FrameFailed);
            m_core.tasks->setState(*task, Render, Queued);
            answer.val = doc.array().size() > 1 ? 1040608 : 1040600;
        }
        return answer;
    });
    add(10436, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        if (Task *task = taskOf(doc.object(), 10436, &answer)) {
            task->remark = doc.object().value("remark").toString().left(140);
            m_core.tasks->save(*task);
        }
        return answer;
    });
    add(10424, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        taskOf(doc.object(), 10424, &answer);
        if (doc.object().value("nodeLimit").toInt() > m_core.options.renderThreads)
            return Answer{1042401, {{"serverNodeLimit", m_core.options.renderThreads}}, {}, {}};
        return answer;
    });
    add(10423, [](Link &, const QJsonDocument &) { return Answer{1042300, {}, {}, {}}; });
    add(10420, [this](Link &, const QJsonDocument &) {
        QJsonArray rows;
        for (const Task *task : m_core.tasks->all()) {
            if (task->stage == Render && task->status != Ended) {
                QJsonObject row = m_core.tasks->record(*task);
                row.insert("jobId", task->id);
                row.insert("projectName", task->projectName);
                row.insert("submitNickname", m_core.options.user);
                row.insert("createTime", row.value("confirmTime"));
                rows.append(row);
            }
        }
        return Answer{
            1042000,
            {{"farms", QJsonArray{QJsonObject{{"id", FarmId}, {"name", QStringLiteral("本机农场")}}}}, {"rows", rows}},
            {},
            {}};
    });
    add(10419, [this](Link &, const QJsonDocument &doc) {
        QList<Task *> moved, rest;
        Task *anchor = m_core.tasks->byId(doc.object().value("job_id_to").toVariant().toInt());
        for (const QJsonValue &id : doc.object().value("job_ids_from").toArray()) {
            if (Task *task = m_core.tasks->byId(id.toVariant().toInt()); task && task != anchor)
                moved += task;
        }
        if (!anchor || moved.isEmpty())
            return Answer{1041901, {}, {}, {}};
        for (Task *task : m_core.tasks->all()) {
            if (!moved.contains(task))
                rest += task;
        }
        const int at = rest.indexOf(anchor) + (doc.object().value("insert_after_position").toBool() ? 1 : 0);
        const QList<Task *> sorted = rest.mid(0, at) + moved + rest.mid(at);
        for (int i = 0; i < sorted.size(); ++i) {
            sorted.at(i)->priority = i + 1;
            m_core.tasks->save(*sorted.at(i));
        }
        return Answer{1041900, {}, {}, {}};
    });
}

} // namespace farm
