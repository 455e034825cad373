#pragma once
// A dialog over the details of several tasks, one after the other, or, where the user says so, one answer for all of
// them. It stays open until the server has taken each, and tells what it didn't take. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "task/TaskDesk.h"
#include "task/TaskDetails.h"

class QCheckBox;

class DetailQueue : public DialogFrame
{
    Q_OBJECT
public:
    DetailQueue(const QString &name, const QString &title, const QList<TaskDetail> &details, TaskDesk *desk,
                QWidget *parent);

protected:
    void begin(); // once the dialog stands: the first task is shown
    const TaskDetail &current() const { return m_details.first(); }
    virtual void shown() = 0; // current() is another one
    virtual bool check() = 0; // before it's sent; says itself what's wrong
    virtual TaskRequest request(const TaskDetail &task) const = 0;
    virtual TaskAct::Act act() const = 0;
    virtual void taken() {} // the server has taken it, for one or all

private:
    void save();
    void answered(const TaskOutcome &outcome, const QList<TaskDetail> &sent);
    void show();

    QList<TaskDetail> m_details; // those that are left
    TaskDesk *m_desk;
    QCheckBox *m_all = nullptr;
    const int m_sum;
};
