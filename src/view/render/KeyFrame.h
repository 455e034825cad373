#pragma once
// The question after the priority frames: go on rendering, cancel, or look at what is there first. One window for all
// tasks that wait, however many pushes come; a task leaves it once the server has taken its answer. Closing it answers
// nothing: the server ends such a task by itself after its hours. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include <QJsonObject>

class TickList;

class KeyFrame : public DialogFrame
{
    Q_OBJECT
public:
    // A task of a push, in the window over this one that stands already, or in a new one. A body without a task's id is
    // dropped: null then, or the window that stands.
    // viewed: the user wants to see results, and they are on their way to this machine.
    static KeyFrame *tell(QWidget *over, const QJsonObject &task, std::function<void()> viewed = {});
    int waiting() const { return m_tasks.size(); }

private:
    KeyFrame(QWidget *parent, std::function<void()> viewed);
    struct Task {
        int id = 0, hours = 0;
        QString name, state;
        bool asked = false; // an answer is on its way
    };
    void add(const QJsonObject &task);
    void show(const QStringList &ticked);
    void send(int cmd);
    void answered(int id, const QString &fault);
    void view();
    QList<int> chosen() const;
    QStringList cells(const Task &task) const;

    std::function<void()> m_viewed;
    QLabel *m_until;
    TickList *m_list;
    QList<Task> m_tasks;
};
