// Module 108 and the confirmation of pushes: what results there are, where one of them lies, what was taken home.
#include "Account.h"
#include "Business.h"
#include "Core.h"
#include "FileServer.h"
#include <QFile>

namespace farm
{

void Business::addResults()
{
    add(10805, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        Task *task = taskOf(doc.object(), 10805, &answer);
        if (!task)
            return answer;
        answer.body = m_core.tasks->resultHead(*task);
        QJsonArray rows;
        QList<qint64> ids;
        for (const FarmResult &one : m_core.tasks->results(task->id)) {
            rows.append(m_core.tasks->resultRow(one));
            ids += one.id;
        }
        answer.body.insert("rows", rows);
        m_asked.insert(task->id, ids);
        return answer;
    });
    add(10800, [this](Link &, const QJsonDocument &doc) {
        int missionId = 0;
        const FarmResult row = m_core.tasks->result(doc.object().value("fileId").toVariant().toLongLong(), &missionId);
        const Task *task = m_core.tasks->byId(missionId);
        if (row.id == 0 || !task || !QFile::exists(row.file))
            return Answer{1080002, {}, {}, {}};
        if (m_core.account->balance() <= 0)
            return Answer{1080009, {}, {}, {}};
        const QString hash =
            m_core.faults.happens(QStringLiteral("wrong-hash")) ? QString(32, QLatin1Char('0')) : row.hash;
        QJsonObject body = m_core.tasks->resultHead(*task);
        const QJsonObject more{{"fileId", row.id},
                               {"hash", hash},
                               {"size", row.size},
                               {"path", row.path},
                               {"downloadPath", QStringLiteral("results/%1/%2").arg(missionId).arg(row.path)},
                               {"farmId", FarmId},
                               {"ipLan", m_core.options.address},
                               {"ipWan", m_core.options.address},
                               {"portLan", m_core.files->port()},
                               {"portWan", m_core.files->port()},
                               {"isBlock", row.block ? 1 : 0},
                               {"autoPush", 1},
                               {"isKeyframe", row.keyFrame ? 1 : 0},
                               {"frame", row.frame}};
        for (auto it = more.begin(); it != more.end(); ++it)
            body.insert(it.key(), it.value());
        return Answer{1080000, body, {}, {}};
    });
    add(10802, [this](Link &, const QJsonDocument &doc) {
        const qint64 id = doc.object().value("fileId").toVariant().toLongLong();
        int missionId = 0;
        if (m_core.tasks->result(id, &missionId).id == 0)
            return Answer{1080202, {}, {}, {}};
        if (!m_core.tasks->markDownloaded(id))
            return Answer{1080201, {}, {}, {}};
        emit m_core.downloaded(id);
        return Answer{1080200, {}, {}, {}};
    });
    add(10413, [this](Link &, const QJsonDocument &doc) {
        Answer answer;
        Task *task = taskOf(doc.object(), 10413, &answer);
        if (!task)
            return answer;
        const bool pushed = m_outstanding.contains(task->id);
        if (!m_core.tasks->markConfirmed(pushed ? m_outstanding.take(task->id) : m_asked.take(task->id)))
            answer.val = 1041301;
        emit m_core.resultsConfirmed(task->id);
        const int id = task->id;
        answer.after = [this, id] {
            if (Task *again = m_core.tasks->byId(id))
                announce(*again);
        };
        return answer;
    });
}

} // namespace farm
