#pragma once
// One task as a row of the server's list tells it: a value, any thread; the client keeps no store of it.
#include "common/facts/TaskState.h"
#include <QJsonObject>
#include <QList>
#include <QMetaType>
#include <QString>

struct TaskRecord {
    QString id; // "missionId" of every command, see Cell::idValue
    QString name, num, project, frames, cost, memory, username, remark;
    QString keyFrames; // not empty: the task was ordered with priority frames
    QString identity;  // of 3ds Max tasks: "MAIN", "GZ", or empty
    QString gzId;      // of "MAIN": its "GZ" companion
    int farmId = 0, software = 0;
    TaskState::Stand stand;
    int successFrame = 0, failureFrame = 0, cancelFrame = 0, totalFrame = 0, renderingFrame = 0, untreatedFrame = 0;
    bool timeout = false;
    QString confirmTime, submitTime, finishTime; // "yyyy-MM-dd HH:mm:ss"
    qlonglong totalSeconds = 0, succSeconds = 0;

    static TaskRecord from(const QJsonObject &row);
    static QList<TaskRecord>
    list(const QJsonValue &rows); // those without an id, or with one that came before, are left out
    bool isMain() const { return identity == QLatin1String("MAIN"); }
    bool isLightCache() const { return identity == QLatin1String("GZ"); }
    QString statusText() const { return TaskState::text(stand); }
    int donePercent() const; // of all frames
    bool operator==(const TaskRecord &other) const;
};
Q_DECLARE_METATYPE(TaskRecord)

namespace TaskText
{
// A stamp of the server: milliseconds or seconds since the epoch, or a text, which stays as it is; empty for none.
QString time(const QJsonValue &value);
QString duration(qlonglong seconds); // "02:05:09", with days "3 02:05:09"; empty for none
} // namespace TaskText
