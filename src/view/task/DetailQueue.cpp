#include "view/task/DetailQueue.h"
#include <QCheckBox>

DetailQueue::DetailQueue(const QString &name, const QString &title, const QList<TaskDetail> &details, TaskDesk *desk,
                         QWidget *parent)
    : DialogFrame(name, title, parent), m_details(details), m_desk(desk), m_sum(details.size())
{
}

void DetailQueue::begin()
{
    m_all = new QCheckBox(this); // Tab comes to it after the fields
    m_all->setObjectName(QStringLiteral("all"));
    m_all->setText(tr("应用到全部"));
    m_all->setChecked(true);
    m_all->setVisible(m_sum > 1);
    content()->addWidget(m_all);
    addButton(tr("确定"), Primary, [this] { save(); });
    addButton(tr("取消"), Close);
    show();
}

void DetailQueue::show()
{
    const QString name = current().task.name;
    setHeading(m_sum > 1 ? tr("%1（%2/%3）").arg(name).arg(m_sum - m_details.size() + 1).arg(m_sum) : name, name);
    m_all->setVisible(m_details.size() > 1);
    shown();
}

void DetailQueue::save()
{
    if (busy() || !check())
        return;
    const QList<TaskDetail> sent = m_all->isVisibleTo(this) && m_all->isChecked() ? m_details : m_details.mid(0, 1);
    QList<TaskRequest> requests;
    QHash<QString, QString> names;
    for (const TaskDetail &one : sent) {
        requests << request(one);
        names.insert(one.task.id, one.task.name);
    }
    setError({});
    setBusy(true);
    m_desk->send(act(), requests, names, this, [this, sent](const TaskOutcome &outcome) { answered(outcome, sent); });
}

void DetailQueue::answered(const TaskOutcome &outcome, const QList<TaskDetail> &sent)
{
    setBusy(false);
    QList<TaskDetail> left; // what was taken goes, so that a second try sends nothing twice
    for (int i = 0; i < sent.size(); ++i)
        if (!outcome.ones.at(i).fault.isEmpty())
            left << sent.at(i);
    m_details = left + m_details.mid(sent.size());
    if (left.size() < sent.size())
        taken();
    if (m_details.isEmpty()) {
        close();
        return;
    }
    if (!outcome.good())
        setError(outcome.text());
    show();
}
