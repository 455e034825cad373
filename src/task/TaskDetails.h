#pragma once
// The details of several tasks, asked for at once and handed over together, in the order of the tasks. Main thread.
#include "task/TaskRecord.h"
#include <functional>

class QObject;

struct TaskDetail {
    TaskRecord task;
    QJsonObject detail;

    // fault: what the server said of those that are missing, a line each; empty where there are none.
    using Then = std::function<void(const QList<TaskDetail> &details, const QString &fault)>;
    static void ask(const QList<TaskRecord> &tasks, QObject *guard, Then then);
    // The record of a task that no list holds, of its detail.
    static TaskRecord record(const QString &id, const QJsonObject &detail);
};
