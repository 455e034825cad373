// What is done to a whole task: continue, pause, cancel, history, failed frames again, limit, remark, handover; and the
// order of the queue.
#include "Account.h"
#include "Core.h"
#include "tasks/Renderer.h"
#include "tasks/TaskDesk.h"

namespace farm
{

QList<Task *> TaskDesk::pair(Task &task)
{
    QList<Task *> both{&task};
    Task *other = m_core.tasks->byId(task.main ? task.main : task.cache);
    if (other && task.status != Ended && other->status != Ended)
        both += other;
    return both;
}

void TaskDesk::addActs()
{
    on(10401, [this](Link &link, const QJsonObject &, Task &task, Answer *answer) {
        if (task.status == Ended) {
            answer->val = 1010103;
            return;
        }
        for (Task *one : pair(task)) {
            m_core.renderer->end(*one);
            m_core.tasks->cancel(*one);
            m_core.tasks->note(*one, link.user, QStringLiteral("取消渲染"));
            m_core.business->taskOver(*one);
        }
        wake(answer);
    });
    on(10429, [this](Link &link, const QJsonObject &, Task &task, Answer *answer) {
        if (m_core.account->balance() <= 0) {
            answer->val = 1042901;
            return;
        }
        if (!task.rendering()) {
            answer->val = 1042904;
            return;
        }
        for (Task *one : pair(task)) {
            const bool fullSpeed = one->status == Running && one->subtype != PausePending;
            one->keyConfirmed = one->keyConfirmed || fullSpeed || one->keyFramesDone() || one->subtype == WaitConfirm;
            const bool runs = one->counted(FrameRunning) > 0;
            m_core.tasks->setState(*one, Render, runs ? Running : Queued);
            m_core.tasks->save(*one);
            m_core.tasks->note(*one, link.user, QStringLiteral("继续渲染"));
            m_core.renderer->resume(*one);
        }
        wake(answer);
    });
    on(10430, [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) {
        if (!task.rendering()) {
            answer->val = 1043004;
            return;
        }
        const bool atOnce = body.value("pauseRender").toVariant().toInt() == 1;
        for (Task *one : pair(task)) {
            if (one->status == Paused)
                continue;
            const bool later = !atOnce && one->counted(FrameRunning) > 0;
            if (!later)
                m_core.renderer->abandon(*one);
            m_core.tasks->setState(*one, Render, later ? Running : Paused, 0, later ? PausePending : 0);
            m_core.renderer->hold(*one);
            m_core.tasks->note(*one, link.user, atOnce ? QStringLiteral("立即暂停") : QStringLiteral("延时暂停"));
        }
        wake(answer);
    });
    m_core.business->add(10432, [this](Link &link, const QJsonDocument &doc) {
        int moved = 0;
        for (const QJsonValue &id : doc.array()) {
            Task *task = m_core.tasks->byId(id.toVariant().toInt());
            if (!task || !mayTouch(link, *task) || task->status != Ended || task->history)
                continue;
            task->history = true;
            moved += m_core.tasks->save(*task) ? 1 : 0;
            m_core.tasks->note(*task, link.user, QStringLiteral("转移到历史任务"));
        }
        return Answer{moved > 0 ? 1043200 : 1043201, {{"moved", moved}}, {}, {}};
    });
    m_core.business->add(10406, [this](Link &link, const QJsonDocument &doc) {
        Answer answer{1040604, {}, {}, {}};
        QJsonArray each;
        for (const QJsonValue &id : doc.array()) {
            Task *task = m_core.tasks->byId(id.toVariant().toInt());
            const int code = task && mayTouch(link, *task) ? renderFailed(link, *task) : 1040604;
            each.append(QJsonObject{{"id", id}, {"code", code}});
            if (answer.val != 1040600)
                answer.val = code;
        }
        if (answer.val == 1040600 && each.size() > 1)
            answer.val = 1040608;
        answer.body.insert("results", each);
        wake(&answer);
        return answer;
    });
    on(10436, [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) {
        task.remark = body.value("remark").toString().left(140);
        answer->val = m_core.tasks->save(task) ? 1043600 : 1043601;
        m_core.tasks->note(task, link.user, QStringLiteral("备注：%1").arg(task.remark));
    });
    on(10424, [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) {
        const int limit = body.value("nodeLimit").toVariant().toInt(), most = m_core.renderer->nodes();
        if (limit < 1) {
            answer->val = 1042404;
        } else if (limit > most) {
            answer->val = 1042401;
            answer->body = {{"serverNodeLimit", most}};
        } else {
            task.nodeLimit = limit;
            answer->val = m_core.tasks->save(task) ? 1042400 : 1042404;
            m_core.tasks->note(task, link.user, QStringLiteral("最大节点数：%1").arg(limit));
            m_core.renderer->limit(task);
            wake(answer);
        }
    });
    m_core.business->add(10423, [this](Link &link, const QJsonDocument &doc) {
        Answer answer{1042301, {}, {}, {}};
        handOver(link, doc.object(), &answer);
        return answer;
    });
}

int TaskDesk::renderFailed(Link &link, Task &task)
{
    if (m_core.account->balance() <= 0)
        return 1040606;
    if (task.stage < Render)
        return 1040601;
    if (task.counted(FrameFailed) == 0)
        return 1040605;
    const int count = m_core.tasks->resetFailed(task);
    if (task.status != Paused)
        m_core.tasks->setState(task, Render, task.counted(FrameRunning) > 0 ? Running : Queued);
    m_core.tasks->note(task, link.user, QStringLiteral("重渲失败帧：%1").arg(count));
    return 1040600;
}

void TaskDesk::handOver(Link &link, const QJsonObject &body, Answer *answer)
{
    const int to = body.value("handoverUserId").toVariant().toInt();
    if (to != UserId && to != SecondUserId)
        return;
    int moved = 0;
    for (const QString &word :
         body.value("missionIds").toVariant().toString().split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        Task *task = m_core.tasks->byId(word.toInt());
        if (!task || !mayTouch(link, *task))
            continue;
        for (Task *one : pair(*task)) {
            one->user = to;
            m_core.tasks->save(*one);
            m_core.tasks->note(*one, link.user, QStringLiteral("任务交接：%1").arg(m_core.account->nameOf(to)));
            m_core.business->movedOver(*one);
            emit m_core.orderChanged(one->id);
        }
        ++moved;
    }
    answer->val = moved > 0 ? 1042300 : 1042301;
    answer->body = {{"moved", moved}};
}

void TaskDesk::addQueue()
{
    m_core.business->add(10420, [this](Link &link, const QJsonDocument &) {
        QJsonArray rows;
        for (const Task *task : m_core.tasks->all()) {
            if (!task->rendering() || !mayTouch(link, *task))
                continue;
            QJsonObject row = m_core.tasks->record(*task);
            row.insert("jobId", task->id);
            row.insert("projectName", task->projectName);
            row.insert("submitNickname", m_core.account->nameOf(task->user));
            row.insert("createTime", row.value("confirmTime"));
            rows.append(row);
        }
        const QJsonObject farm{{"id", FarmId}, {"name", QStringLiteral("本机农场")}};
        return Answer{1042000, {{"farms", QJsonArray{farm}}, {"rows", rows}}, {}, {}};
    });
    m_core.business->add(10419, [this](Link &link, const QJsonDocument &doc) {
        QList<Task *> moved, rest;
        Task *anchor = m_core.tasks->byId(doc.object().value("job_id_to").toVariant().toInt());
        const QJsonArray from = doc.object().value("job_ids_from").toArray();
        for (Task *task : m_core.tasks->all()) { // the moved ones keep their order among themselves
            const bool named = task != anchor && (from.contains(QString::number(task->id)) || from.contains(task->id));
            (named && mayTouch(link, *task) ? moved : rest) += task;
        }
        if (!anchor || moved.isEmpty())
            return Answer{1041901, {}, {}, {}};
        const int at = rest.indexOf(anchor) + (doc.object().value("insert_after_position").toBool() ? 1 : 0);
        const QList<Task *> sorted = rest.mid(0, at) + moved + rest.mid(at);
        for (int i = 0; i < sorted.size(); ++i) {
            if (sorted.at(i)->priority == i + 1)
                continue;
            sorted.at(i)->priority = i + 1;
            m_core.tasks->save(*sorted.at(i));
        }
        for (Task *task : qAsConst(moved))
            m_core.tasks->note(*task, link.user, QStringLiteral("优先级调整"));
        m_core.renderer->reorder();
        Answer answer{1041900, {}, {}, {}};
        wake(&answer);
        return answer;
    });
}

} // namespace farm
