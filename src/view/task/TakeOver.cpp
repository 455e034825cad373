#include "view/task/TakeOver.h"
#include "common/facts/Command.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/ServerCall.h"
#include "task/Cell.h"
#include <QJsonArray>

namespace
{
const QString User = QStringLiteral("user");
}

TakeOver::TakeOver(const QList<TaskRecord> &tasks, TaskDesk *desk, QWidget *parent)
    : DialogFrame(QStringLiteral("TakeOver"), tr("任务交接"), parent), m_tasks(tasks), m_desk(desk),
      m_form(new Form({Field::choice(User, tr("选择账号")).needed()}, this))
{
    setHeading(tasks.size() == 1 ? tasks.first().name : tr("%1 个任务").arg(tasks.size()));
    m_form->setMinimumWidth(380);
    content()->addWidget(m_form);
    content()->addStretch(1);
    addButton(tr("确定"), Primary, [this] { save(); });
    addButton(tr("取消"), Close);
    askAccounts();
}

void TakeOver::askAccounts()
{
    setError({});
    setBusy(true);
    ServerCall::ask(this, Command::Accounts, {}, [this](const ServerCall::Answer &answer) {
        setBusy(false);
        if (!answer.good())
            return setError(answer.text(), [this] { askAccounts(); });
        Field::Choices choices;
        for (const QJsonValue &value : answer.object().value(QLatin1String("rows")).toArray()) {
            const QJsonObject row = value.toObject();
            if (const QString id = Cell::id(row, "id"); !id.isEmpty())
                choices.append({id, Cell::text(row, "name")});
        }
        m_form->setChoices(User, choices);
        if (!choices.isEmpty())
            m_form->setValue(User, choices.first().first);
        else
            setError(tr("没有可以交接的账号"), [this] { askAccounts(); });
    });
}

void TakeOver::save()
{
    if (busy() || !m_form->check())
        return;
    QStringList ids;
    QHash<QString, QString> names;
    for (const TaskRecord &task : m_tasks) {
        ids << task.id;
        names.insert(task.id, task.name);
    }
    setError({});
    setBusy(true);
    m_desk->send(TaskAct::HandOver, {TaskRequest::handOver(ids, m_form->value(User).toString())}, names, this,
                 [this](const TaskOutcome &outcome) {
                     setBusy(false);
                     if (!outcome.good())
                         return setError(outcome.text());
                     close();
                 });
}
