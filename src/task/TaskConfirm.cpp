#include "task/TaskConfirm.h"
#include "common/facts/Command.h"
#include "io/Ask.h"
#include "task/Cell.h"
#include <QCoreApplication>
#include <QPointer>

namespace
{
QString words(const char *text) { return QCoreApplication::translate("TaskConfirm", text); }
} // namespace

QString TaskConfirm::text(TaskAct::Act act, const QString &extra)
{
    const QString verb = act == TaskAct::Continue ? words(QT_TRANSLATE_NOOP("TaskConfirm", "继续"))
                         : act == TaskAct::Pause  ? words(QT_TRANSLATE_NOOP("TaskConfirm", "暂停"))
                                                  : words(QT_TRANSLATE_NOOP("TaskConfirm", "取消"));
    return extra.isEmpty() ? words(QT_TRANSLATE_NOOP("TaskConfirm", "确定%1渲染吗？")).arg(verb)
                           : words(QT_TRANSLATE_NOOP("TaskConfirm", "确定%1渲染吗？%2")).arg(verb, extra);
}

TaskConfirm::TaskConfirm(TaskAct::Act act, const QList<TaskRecord> &tasks, Question question, Done done, QObject *guard)
    : QObject(guard), m_act(act), m_tasks(tasks), m_question(std::move(question)), m_done(std::move(done))
{
}

void TaskConfirm::begin(TaskAct::Act act, const QList<TaskRecord> &tasks, Question question, Done done, QObject *guard)
{
    (new TaskConfirm(act, tasks, std::move(question), std::move(done), guard))->next();
}

void TaskConfirm::next()
{
    const bool asks = m_act == TaskAct::Continue || m_act == TaskAct::Pause || m_act == TaskAct::Cancel;
    while (!m_tasks.isEmpty()) {
        const TaskRecord task = m_tasks.takeFirst();
        if (asks && task.isLightCache())
            return ask(task, words(QT_TRANSLATE_NOOP("TaskConfirm", "主渲染文件将连带操作")));
        if (asks && task.isMain() && !task.gzId.isEmpty())
            return companion(task);
        m_kept << task.id;
    }
    finish();
}

// No answer, or one that doesn't tell: then nothing is said of the companion.
void TaskConfirm::companion(const TaskRecord &task)
{
    Ask(Command::TaskDetail, QJsonObject{{QStringLiteral("missionId"), Cell::idValue(task.gzId)}})
        .within(CompanionMs)
        .answered([=](int, const QJsonDocument &doc) {
            const QJsonObject other = doc.object();
            const bool over = Cell::integer(other, "stage") == TaskState::Render &&
                              Cell::integer(other, "status") == TaskState::Ended;
            if (!over)
                return ask(task, words(QT_TRANSLATE_NOOP("TaskConfirm", "光子渲染文件将连带操作")));
            m_kept << task.id;
            next();
        })
        .failed([=] {
            m_kept << task.id;
            next();
        })
        .send(this);
}

void TaskConfirm::ask(const TaskRecord &task, const QString &extra)
{
    m_asked = true;
    QPointer<TaskConfirm> self(this);
    m_question(text(m_act, extra), [=](bool yes) {
        if (!self)
            return;
        if (yes)
            self->m_kept << task.id;
        self->next();
    });
}

void TaskConfirm::finish()
{
    const auto end = [self = QPointer<TaskConfirm>(this)](const QStringList &ids) {
        if (!self)
            return;
        self->deleteLater();
        self->m_done(ids);
    };
    if (m_act != TaskAct::Cancel || m_asked || m_kept.isEmpty())
        return end(m_kept);
    m_question(text(m_act, {}), [end, ids = m_kept](bool yes) { end(yes ? ids : QStringList()); });
}
