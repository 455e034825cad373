#pragma once
// What is asked before tasks are continued, paused or cancelled: a light cache takes its main task along and the other
// way round, which the user agrees to task by task, in the order of the rows; a companion's state is asked for first,
// with a limit in time, and nobody waits in a loop for it. Main thread; deletes itself after done(), which comes once
// while the guard lives and the questions are answered.
#include "task/TaskAct.h"
#include <QObject>

class TaskConfirm : public QObject
{
    Q_OBJECT
public:
    static constexpr int CompanionMs = 3000;
    using Answer = std::function<void(bool yes)>;
    using Question = std::function<void(const QString &text, const Answer &answer)>; // puts it to the user
    using Done = std::function<void(const QStringList &ids)>;                        // what is left; may be empty

    // act: Continue, Pause or Cancel; others are asked nothing.
    static void begin(TaskAct::Act act, const QList<TaskRecord> &tasks, Question question, Done done, QObject *guard);
    static QString text(TaskAct::Act act, const QString &extra); // "确定%1渲染吗？%2"

private:
    TaskConfirm(TaskAct::Act act, const QList<TaskRecord> &tasks, Question question, Done done, QObject *guard);
    void next();
    void companion(const TaskRecord &task);
    void ask(const TaskRecord &task, const QString &extra);
    void finish();

    TaskAct::Act m_act;
    QList<TaskRecord> m_tasks; // not looked at yet
    QStringList m_kept;
    Question m_question;
    Done m_done;
    bool m_asked = false;
};
