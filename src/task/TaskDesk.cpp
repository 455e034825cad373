#include "task/TaskDesk.h"
#include "common/facts/Command.h"
#include "io/Ask.h"
#include <QCoreApplication>
#include <QDebug>

namespace
{
constexpr int MostLines = 8;

QString words(const char *text) { return QCoreApplication::translate("TaskDesk", text); }

QString lossText(Ask::Loss why)
{
    return why == Ask::NoLink
               ? words(QT_TRANSLATE_NOOP("TaskDesk", "没有连接到服务器，操作没有发出"))
               : words(QT_TRANSLATE_NOOP("TaskDesk", "服务器没有回应，操作可能已经生效，请以任务列表为准"));
}
} // namespace

struct TaskDesk::Batch {
    TaskOutcome outcome;
    QPointer<QObject> guard;
    Then then;
    int open = 0;
};

int TaskOutcome::tasks() const
{
    int sum = 0;
    for (const One &one : ones)
        sum += one.ids.size();
    return sum;
}

int TaskOutcome::failed() const
{
    int sum = 0;
    for (const One &one : ones)
        sum += one.fault.isEmpty() ? 0 : one.ids.size();
    return sum;
}

QString TaskOutcome::text() const
{
    const auto nameOf = [this](const QString &id) { return names.value(id).isEmpty() ? id : names.value(id); };
    if (good())
        return tasks() > 1
                   ? words(QT_TRANSLATE_NOOP("TaskDesk", "%1：%2 个任务已完成")).arg(TaskAct::text(act)).arg(tasks())
                   : words(QT_TRANSLATE_NOOP("TaskDesk", "%1成功")).arg(TaskAct::text(act));
    QStringList lines;
    for (const One &one : ones) {
        if (one.fault.isEmpty())
            continue;
        QStringList who;
        for (const QString &id : one.ids.mid(0, MostLines))
            who << nameOf(id);
        lines << (tasks() > 1 ? QStringLiteral("%1：%2").arg(who.join(QStringLiteral("、")), one.fault) : one.fault);
    }
    if (lines.size() > MostLines)
        lines =
            lines.mid(0, MostLines) << words(QT_TRANSLATE_NOOP("TaskDesk", "还有 %1 个")).arg(lines.size() - MostLines);
    return lines.join(QLatin1Char('\n'));
}

TaskDesk::TaskDesk(QObject *parent) : QObject(parent) { qRegisterMetaType<TaskOutcome>(); }

QString TaskDesk::doing(const QString &id) const
{
    const auto at = m_doing.constFind(id);
    return at == m_doing.cend() ? QString() : TaskAct::doing(*at);
}

void TaskDesk::send(TaskAct::Act act, const QList<TaskRequest> &requests, const QHash<QString, QString> &names,
                    QObject *guard, Then then)
{
    if (requests.isEmpty())
        return;
    auto batch = std::make_shared<Batch>();
    batch->outcome.act = act;
    batch->outcome.names = names;
    batch->guard = guard;
    batch->then = guard ? std::move(then) : Then();
    batch->open = requests.size();
    QStringList all;
    for (const TaskRequest &request : requests) {
        batch->outcome.ones << TaskOutcome::One{request.ids, 0, {}, {}};
        all << request.ids;
    }
    for (const QString &id : qAsConst(all))
        m_doing.insert(id, act);
    emit moved(all);
    for (int at = 0; at < requests.size(); ++at) {
        const TaskRequest &request = requests.at(at);
        Ask(request.cmd, request.body)
            .answered([=](int code, const QJsonDocument &doc) { answered(batch, at, code, {}, doc.object()); })
            .refused([=](int code, const QJsonDocument &doc) {
                answered(batch, at, code, TaskText::result(code), doc.object());
            })
            .lost([=](Ask::Loss why) { answered(batch, at, 0, lossText(why), {}); })
            .send(this);
    }
}

void TaskDesk::answered(const std::shared_ptr<Batch> &batch, int at, int code, const QString &fault,
                        const QJsonObject &reply)
{
    TaskOutcome::One &one = batch->outcome.ones[at];
    one.code = code;
    one.fault = fault;
    one.reply = reply;
    if (!fault.isEmpty())
        qWarning().noquote() << "TaskDesk::answered" << TaskAct::name(batch->outcome.act) << one.ids << code;
    for (const QString &id : qAsConst(one.ids)) {
        const auto mine = m_doing.find(id, batch->outcome.act);
        if (mine != m_doing.end())
            m_doing.erase(mine);
    }
    emit moved(one.ids);
    if (--batch->open > 0)
        return;
    emit ended(batch->outcome);
    if (batch->guard && batch->then)
        batch->then(batch->outcome);
    else
        emit told(batch->outcome);
}
