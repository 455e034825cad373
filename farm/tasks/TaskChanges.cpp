// What is added to a task or changed of it once it is ordered: filled frames, machine, software and plug-ins.
#include "Account.h"
#include "Core.h"
#include "tasks/Renderer.h"
#include "tasks/TaskDesk.h"

namespace farm
{

void TaskDesk::addChanges()
{
    on(10405,
       [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) { fill(link, body, task, answer); });
    on(10426,
       [this](Link &link, const QJsonObject &body, Task &task, Answer *answer) { modify(link, body, task, answer); });
}

// The frames that are told, of every camera that the parameters name; those that wait or run already are left out.
void TaskDesk::fill(Link &link, const QJsonObject &body, Task &task, Answer *answer)
{
    const QJsonValue model = body.value("modelParameters");
    QString text = model.toObject().value("frames").toVariant().toString();
    if (text.isEmpty())
        text = model.toArray().first().toObject().value("frames").toVariant().toString();
    if (task.stage < Render || task.main || task.softwareType == 6 || task.history) {
        answer->val = 1040518;
        return;
    }
    if (m_core.account->balance() <= 0) {
        answer->val = 1040512;
        return;
    }
    QJsonObject order = task.body;
    order.insert("modelParameters", model);
    order.insert("noFrameCheck", 1); // the frames of all cameras
    order.insert("canframe", text);
    order.remove("keyFrames");
    QHash<QString, int> known; // path of a frame -> who stands for it
    for (int i = 0; i < task.frames.size(); ++i) {
        if (Task::stands(task.frames.at(i)))
            known.insert(task.frames.at(i).job.path, i);
    }
    int added = 0;
    {
        Db::Batch batch(m_core.db);
        for (const FrameJob &job : frameNumbers(text).isEmpty()
                                       ? QVector<FrameJob>()
                                       : framePlan(order, task.softwareType, task.name, m_core.options.maxWidth)) {
            const int at = known.value(job.path, -1);
            if (at >= 0 && (task.frames.at(at).state == FrameWaiting || task.frames.at(at).state == FrameRunning))
                continue;
            TaskFrame one;
            one.job = job;
            one.job.key = false;
            one.flag = FilledIn;
            one.parent = at;
            if (at >= 0)
                m_core.tasks->replace(task, at);
            m_core.tasks->append(task, one);
            ++added;
        }
    }
    answer->val = added > 0 ? 1040500 : 1040519;
    answer->body = {{"added", added}};
    if (added == 0)
        return;
    if (task.status != Paused)
        m_core.tasks->setState(task, Render, task.counted(FrameRunning) > 0 ? Running : Queued);
    m_core.tasks->note(task, link.user, QStringLiteral("补帧：%1").arg(text));
    wake(answer);
}

// Holds for the frames that haven't begun.
void TaskDesk::modify(Link &link, const QJsonObject &body, Task &task, Answer *answer)
{
    if (task.status == Ended) {
        answer->val = 1042607;
        return;
    }
    const QString model = body.value("machineModel").toString();
    bool known = false;
    for (const QJsonValue &one : Account::machines())
        known = known || one.toObject().value("machineModel").toString() == model;
    if (!known && model != task.machineModel) {
        answer->val = 1042603;
        return;
    }
    bool other = false;
    for (const char *name : {"software", "plugins"}) {
        const QLatin1String key(name);
        if (body.contains(key) && body.value(key) != m_core.tasks->choice(task, name)) {
            task.body.insert(key, body.value(key));
            other = true;
        }
    }
    const bool machine = !model.isEmpty() && model != task.machineModel;
    if (machine) {
        task.machineModel = model;
        task.body.insert("machineModel", model);
    }
    if (body.contains("clientId"))
        task.body.insert("clientId", body.value("clientId"));
    answer->val = other ? 1042606 : machine ? 1042601 : 1042600;
    if (!machine && !other)
        return;
    if (!m_core.tasks->saveBody(task) || !m_core.tasks->save(task))
        answer->val = machine ? 1042605 : 1042608;
    m_core.tasks->note(task, link.user,
                       machine ? QStringLiteral("机型修改：%1").arg(model) : QStringLiteral("渲染软件插件修改"));
}

} // namespace farm
