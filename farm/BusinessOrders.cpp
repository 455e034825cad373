// Modules 104 and 107 up to the start of rendering: number, analysis reports, order, upload.
#include "Account.h"
#include "Business.h"
#include "Core.h"
#include "Renderer.h"
#include <QDebug>

namespace farm
{

void Business::addOrders()
{
    add(10421, [this](Link &, const QJsonDocument &doc) {
        const QJsonObject body = doc.object();
        if (m_core.account->balance() <= 0)
            return Answer{1042101, {}, {}, {}};
        const Task &task = m_core.tasks->apply(body);
        return Answer{1042100, {{"id", task.id}, {"num", task.num}}, {}, {}};
    });
    add(10422, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        if (Task *task = taskOf(doc.object(), 10422, &answer)) {
            task->analysisType = doc.object().value("type").toInt();
            m_core.tasks->save(*task);
        } else {
            answer.val = 1042200; // a report about a task that was given up meanwhile
        }
        return answer;
    });
    add(10417, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        Task *task = taskOf(doc.object(), 10417, &answer);
        answer.val = 1041700; // gone already is as good
        if (task && !task->ordered)
            m_core.tasks->remove(*task);
        else if (task && task->stage < Render)
            m_core.tasks->cancel(*task);
        return answer;
    });
    add(10400, [this](Link &, const QJsonDocument &doc) {
        const QJsonObject body = doc.object();
        Task *task = m_core.tasks->byId(body.value("missionId").toInt());
        if (!task)
            return Answer{1040013, {}, {}, {}};
        if (m_core.account->balance() <= 0)
            return Answer{1040006, {}, {}, {}};
        for (const char *key : {"projectConfig", "machine", "project", "env", "resStatus", "hasHand", "hasClone"}) {
            if (body.contains(QLatin1String(key)))
                m_core.violation(QStringLiteral("10400 carries %1").arg(QLatin1String(key)));
        }
        const QJsonArray files = body.value("files").toArray();
        if (body.contains("files") && body.value("fileCount").toInt(-1) != files.size())
            m_core.violation(QStringLiteral("10400: fileCount isn't the number of files"));
        for (const QJsonValue &one : files) {
            if (!one.toObject().value("id").isDouble() || !one.toObject().value("path").isString()) {
                m_core.violation(QStringLiteral("10400: an entry of files isn't {id, path}"));
                break;
            }
        }
        const int n = m_core.tasks->order(*task, body);
        if (n != 0)
            return Answer{1040000 + n, {}, {}, {}};
        m_core.event(QStringLiteral("order %1 %2 files").arg(task->id).arg(task->keys.size()));
        return Answer{1040000,
                      {{"sourceFileType", 0}, {"orderNum", task->num}, {"missionId", task->id}, {"farmId", FarmId}},
                      {},
                      {}};
    });
    for (int cmd : {10414, 10415}) {
        add(cmd, [this, cmd](Link &, const QJsonDocument &doc) {
            Answer answer;
            taskOf(doc.object(), cmd, &answer);
            return answer;
        });
    }
    add(10416, [this](Link &, const QJsonDocument &doc) {
        const QJsonObject body = doc.object();
        Answer answer;
        if (Task *task = taskOf(body, 10416, &answer)) {
            task->speed = body.value("realtimeSpeed").toVariant().toLongLong();
            task->totalSize = body.value("totalSize").toVariant().toLongLong();
            task->uploadedSize = body.value("uploadedSize").toVariant().toLongLong();
        }
        return answer;
    });
    add(10704, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        Task *task = taskOf(doc.object(), 10704, &answer);
        if (!task)
            return answer;
        if (!task->ordered || (task->status == Ended && task->result == Cancelled)) {
            m_core.violation(QStringLiteral("10704 of task %1, which isn't ordered or is cancelled").arg(task->id));
            answer.val = 1070406;
            return answer;
        }
        if (const QStringList missing = m_core.tasks->files(*task, false); !task->uploaded && !missing.isEmpty())
            m_core.violation(QStringLiteral("10704 of task %1 while %2 files aren't here, as %3")
                                 .arg(task->id)
                                 .arg(missing.size())
                                 .arg(missing.first()));
        if (!m_core.tasks->uploadComplete(*task))
            answer.val = 1070401;
        answer.after = [this] { m_core.renderer->wake(); };
        return answer;
    });
    add(10703, [](Link &, const QJsonDocument &) { return Answer{1070300, {}, {}, {}}; });
}

} // namespace farm
