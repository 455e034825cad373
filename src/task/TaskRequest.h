#pragma once
// What travels for an operation on tasks: one value a command, made by pure functions and sent by whoever asks (pages
// through TaskDesk, the local API by itself). Tasks are named by their ids as text. Any thread.
#include "task/TaskRecord.h"
#include <QJsonDocument>

struct TaskRequest {
    int cmd = 0;
    QByteArray body; // JSON
    QStringList ids; // the tasks that its answer speaks of

    // One command a task: {"missionId": id} and what more holds.
    static QList<TaskRequest> each(int cmd, const QStringList &ids, const QJsonObject &more = {});
    static TaskRequest list(int cmd, const QStringList &ids); // one command for all: [id, id]
    static TaskRequest handOver(const QStringList &ids, const QString &userId);
    static QList<TaskRequest> pause(const QStringList &ids, bool later);
    static QList<TaskRequest> limit(const QStringList &ids, int nodes);
    static QList<TaskRequest> remark(const QStringList &ids, const QString &text); // cut to RemarkLength
    // Further frames: what is rendered is the detail's model with these frames; outputs, where not empty, are those
    // that take part (TaskFill::outputs).
    static TaskRequest fill(const QString &id, const QJsonObject &detail, const QString &frames,
                            const QStringList &outputs = {});
    // more: machineModel, clientId, software, plugins as newly chosen; what isn't in it stays as the detail tells.
    static TaskRequest environment(const QString &id, const QJsonObject &detail, const QJsonObject &more);
    static TaskRequest move(int farmId, const QStringList &jobs, const QString &anchor, bool behind);
    static constexpr int RemarkLength = 140;
};

namespace TaskFill
{
// The outputs of a task's model by name: layers, nodes, cameras, images; empty where it has no list of them.
QStringList outputs(int software, const QJsonObject &detail);
QJsonValue model(int software, const QJsonObject &detail, const QString &frames, const QStringList &outputs);
} // namespace TaskFill

namespace TaskText
{
// A result of an operation in words, for people: "取消任务失败，任务不可以取消".
QString result(int code);
} // namespace TaskText
