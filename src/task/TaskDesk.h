#pragma once
// Operations on tasks that are on their way. What is handed in is sent once and never again by itself: what was lost
// after it went out may have been done. While it's under way doing() tells so for each of its tasks; its end is told
// exactly once, to who asked while he lives, else by told(), so that it's also heard of when his window has been left.
// Lists are asked anew after ended(). Main thread; one a session, owned by Shell.
#include "task/TaskAct.h"
#include "task/TaskRequest.h"
#include <memory>
#include <QHash>
#include <QObject>
#include <QPointer>

struct TaskOutcome {
    struct One {
        QStringList ids;
        int code = 0;  // 0: no answer
        QString fault; // in words; empty: done
        QJsonObject reply;
    };
    TaskAct::Act act = TaskAct::Detail;
    QHash<QString, QString> names; // of the tasks
    QList<One> ones;

    int tasks() const; // all of them
    int failed() const;
    bool good() const { return failed() == 0; }
    // What to tell: "暂停渲染：已完成（3 个任务）", or what became of those that failed, a line each.
    QString text() const;
};

class TaskDesk : public QObject
{
    Q_OBJECT
public:
    using Then = std::function<void(const TaskOutcome &outcome)>;
    explicit TaskDesk(QObject *parent = nullptr);

    // names: of the tasks, by id. With a guard then() is called at the end while it lives, in place of told().
    void send(TaskAct::Act act, const QList<TaskRequest> &requests, const QHash<QString, QString> &names,
              QObject *guard = nullptr, Then then = {});
    QString doing(const QString &id) const; // empty: nothing is under way for it
    int underWay() const { return m_doing.size(); }

signals:
    void moved(QStringList ids);     // something began or ended for these
    void ended(TaskOutcome outcome); // every one
    void told(TaskOutcome outcome);  // ... that nobody else tells

private:
    struct Batch;
    void answered(const std::shared_ptr<Batch> &batch, int at, int code, const QString &fault,
                  const QJsonObject &reply);
    QMultiHash<QString, TaskAct::Act> m_doing; // the latest first
};
Q_DECLARE_METATYPE(TaskOutcome)
