#pragma once
// Hands tasks over to another account: the list of accounts is asked for, one is chosen, the server is told. Main
// thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "task/TaskDesk.h"

class Form;

class TakeOver : public DialogFrame
{
    Q_OBJECT
public:
    TakeOver(const QList<TaskRecord> &tasks, TaskDesk *desk, QWidget *parent);

private:
    void askAccounts();
    void save();

    const QList<TaskRecord> m_tasks;
    TaskDesk *m_desk;
    Form *m_form;
};
