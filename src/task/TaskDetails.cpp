#include "task/TaskDetails.h"
#include "common/facts/Command.h"
#include "io/Ask.h"
#include "task/Cell.h"
#include "task/TaskRequest.h"
#include <memory>
#include <QCoreApplication>

namespace
{
struct Round {
    QVector<TaskDetail> details;
    QStringList faults;
    int open = 0;
    TaskDetail::Then then;

    void ended()
    {
        if (--open > 0)
            return;
        QList<TaskDetail> found;
        for (const TaskDetail &one : qAsConst(details))
            if (!one.detail.isEmpty())
                found << one;
        faults.removeDuplicates();
        then(found, faults.join(QLatin1Char('\n')));
    }
};
} // namespace

void TaskDetail::ask(const QList<TaskRecord> &tasks, QObject *guard, Then then)
{
    if (tasks.isEmpty())
        return;
    auto round = std::make_shared<Round>();
    round->open = tasks.size();
    round->then = std::move(then);
    for (const TaskRecord &task : tasks)
        round->details << TaskDetail{task, {}};
    for (int at = 0; at < tasks.size(); ++at) {
        const auto fail = [round, name = tasks.at(at).name](const QString &text) {
            round->faults << (name.isEmpty() ? text : QStringLiteral("%1：%2").arg(name, text));
            round->ended();
        };
        Ask(Command::TaskDetail, QJsonObject{{QStringLiteral("missionId"), Cell::idValue(tasks.at(at).id)}})
            .answered([=](int, const QJsonDocument &doc) {
                if (doc.object().isEmpty())
                    return fail(QCoreApplication::translate("TaskDetail", "没有任务的详情"));
                round->details[at].detail = doc.object();
                round->ended();
            })
            .refused([=](int code, const QJsonDocument &) { fail(TaskText::result(code)); })
            .lost(
                [=](Ask::Loss) { fail(QCoreApplication::translate("TaskDetail", "服务器没有响应，请检查网络后重试")); })
            .send(guard);
    }
}

TaskRecord TaskDetail::record(const QString &id, const QJsonObject &detail)
{
    QJsonObject row = detail;
    row.insert(QStringLiteral("id"), id);
    if (Cell::text(row, "name").isEmpty())
        row.insert(QStringLiteral("name"), Cell::text(row, "missionName"));
    if (Cell::text(row, "project").isEmpty())
        row.insert(QStringLiteral("project"), Cell::text(row, "projectName"));
    return TaskRecord::from(row);
}
