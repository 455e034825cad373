#include "view/task/NodeLimit.h"
#include "task/Cell.h"
#include <QLineEdit>
#include <QRegularExpression>

namespace
{
constexpr int TooMany = 1042401; // its reply tells how many there are
constexpr int EditWidth = 420;
} // namespace

NodeLimit::NodeLimit(Kind kind, const QList<TaskRecord> &tasks, TaskDesk *desk, QWidget *parent)
    : DialogFrame(QStringLiteral("NodeLimit"), kind == Limit ? tr("最大节点数") : tr("备注"), parent), m_kind(kind),
      m_tasks(tasks), m_desk(desk), m_edit(new QLineEdit(this))
{
    setHeading(tasks.size() == 1 ? tasks.first().name : tr("%1 个任务").arg(tasks.size()));
    m_edit->setObjectName(QStringLiteral("edit"));
    m_edit->setAccessibleName(windowTitle());
    m_edit->setMinimumWidth(EditWidth);
    content()->addWidget(m_edit);
    content()->addStretch(1);
    if (kind == Remark) {
        if (tasks.size() == 1)
            m_edit->setText(tasks.first().remark.left(TaskRequest::RemarkLength));
        connect(m_edit, &QLineEdit::textChanged, this, [this](const QString &text) {
            if (text.size() > TaskRequest::RemarkLength)
                m_edit->setText(text.mid(0, TaskRequest::RemarkLength));
        });
    }
    addButton(tr("确定"), Primary, [this] { save(); });
    addButton(tr("取消"), Close);
    m_edit->setFocus();
}

void NodeLimit::save()
{
    if (busy())
        return;
    QStringList ids;
    QHash<QString, QString> names;
    for (const TaskRecord &task : m_tasks) {
        ids << task.id;
        names.insert(task.id, task.name);
    }
    QList<TaskRequest> requests = TaskRequest::remark(ids, m_edit->text());
    if (m_kind == Limit) {
        static const QRegularExpression whole(QStringLiteral("^[0-9]+$"));
        const QString text = m_edit->text().trimmed();
        const int nodes = whole.match(text).hasMatch() ? text.toInt() : 0;
        if (nodes <= 0) {
            setError(tr("请输入正整数"));
            return m_edit->setFocus();
        }
        requests = TaskRequest::limit(ids, nodes);
    }
    setError({});
    setBusy(true);
    m_desk->send(m_kind == Limit ? TaskAct::Limit : TaskAct::Remark, requests, names, this,
                 [this](const TaskOutcome &outcome) { answered(outcome); });
}

void NodeLimit::answered(const TaskOutcome &outcome)
{
    setBusy(false);
    for (const TaskOutcome::One &one : outcome.ones)
        if (m_kind == Limit && one.code == TooMany)
            return setError(tr("最大节点数设置不能超过%1").arg(Cell::integer(one.reply, "serverNodeLimit")));
    if (!outcome.good())
        return setError(outcome.text());
    if (m_kind == Limit)
        emit nodeOk(m_tasks.first().id.toInt(), m_edit->text().trimmed().toInt());
    else
        emit markOk();
    close();
}
