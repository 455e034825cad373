// Modules 104 and 107 up to the start of rendering: number, analysis reports, order, upload.
#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "Core.h"
#include "ObjectStore.h"
#include "tasks/Renderer.h"
#include <QDebug>

namespace farm
{

void Business::addOrders()
{
    add(10421, [this](Link &link, const QJsonDocument &doc) {
        const QJsonObject body = doc.object();
        if (m_core.account->balance() <= 0)
            return Answer{1042101, {}, {}, {}};
        const Task &task = m_core.tasks->apply(body, link.user);
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
                      {{"sourceFileType", m_core.objects->used() ? 2 : 0},
                       {"orderNum", task->num},
                       {"missionId", task->id},
                       {"farmId", FarmId}},
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
    add(10703, [this](Link &, const QJsonDocument &doc) { return objectReported(doc.object()); });
}

// A file of an order lies in the bucket, the client says; the bucket is asked. Orders placed at the same time number
// their files alike, so each of them that has a file of that number is looked at.
Answer Business::objectReported(const QJsonObject &body)
{
    struct Asked {
        int open = 0, found = 0;
    };
    QList<QPair<int, QString>> files;
    const int id = body.value("id").toInt();
    for (const Task *task : m_core.tasks->all()) {
        for (const QJsonValue &one : task->files)
            if (task->ordered && one.toObject().value("id").toInt() == id)
                files.append({task->id, cleanKey(one.toObject().value("path").toString())});
    }
    if (files.isEmpty() || !m_core.objects->used() || body.value("farmId").toInt() != FarmId) {
        m_core.violation(QStringLiteral("10703 of file %1, which no order has").arg(id));
        return Answer{1070305, {}, {}, {}};
    }
    Answer answer;
    answer.later = [this, files](const std::function<void(const Answer &)> &tell) {
        auto asked = std::make_shared<Asked>();
        asked->open = files.size();
        for (const auto &file : files) {
            m_core.objects->look(file.second, [this, file, asked, tell](qint64 size) {
                Task *task = size < 0 ? nullptr : m_core.tasks->byId(file.first);
                if (task && m_core.tasks->markHere(*task, file.second)) {
                    ++asked->found;
                    ++m_core.counters.filesReceived;
                    m_core.store->forget(file.second);
                    m_core.event(QStringLiteral("object %1 %2").arg(size).arg(file.second));
                }
                if (--asked->open == 0)
                    tell(Answer{asked->found > 0 ? 1070300 : 1070306, {}, {}, {}});
            });
        }
    };
    return answer;
}

} // namespace farm
