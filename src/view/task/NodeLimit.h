#pragma once
// The most machines that tasks may take, or the remark on them. Stays open while the server hasn't taken it, and tells
// why. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "task/TaskDesk.h"

class QLineEdit;

class NodeLimit : public DialogFrame
{
    Q_OBJECT
public:
    enum Kind { Limit, Remark };
    NodeLimit(Kind kind, const QList<TaskRecord> &tasks, TaskDesk *desk, QWidget *parent);

signals:
    void nodeOk(int mid, int node); // of the first task
    void markOk();

private:
    void save();
    void answered(const TaskOutcome &outcome);

    const Kind m_kind;
    const QList<TaskRecord> m_tasks;
    TaskDesk *m_desk;
    QLineEdit *m_edit;
};
