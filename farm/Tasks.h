#pragma once
// The tasks of the farm: from the number asked for before the analysis to the results taken home. Each change is in the
// database before the function returns, so that what is answered afterwards survives a killed farm.
//
// Life of a task (stage, status): applied (0,1) -> ordered (2,1) -> upload complete, queued (4,0) -> rendering (4,1)
// -> rendered (4,2) -> all results taken home (5,2). Beside it: paused (4,3), pausing (4,1 subtype 15), waiting after
// the priority frames (4,3 subtype 10), and with result 3 cancelled in its stage.
#include "Farm.h"
#include "RenderPlan.h"
#include <map>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

namespace farm
{

class Core;

enum Stage { Analysis = 0, Upload = 2, Prepare = 3, Render = 4, Download = 5 };
enum Status { Queued = 0, Running = 1, Ended = 2, Paused = 3 };
enum Result { Failed = 2, Cancelled = 3 };
enum Subtype { WaitConfirm = 10, PausePending = 15 };
enum FrameState { FrameRunning = 0, FrameWaiting = 1, FrameDone = 3, FrameFailed = 4, FrameCancelled = 5 };

struct TaskFrame {
    FrameJob job;
    int state = FrameWaiting;
    qint64 result = 0;
    qint64 startedMs = 0, endedMs = 0;
};

struct Task {
    int id = 0;
    QString num, name, projectName, machineModel, remark;
    qint64 clientFlag = 0;
    int softwareType = 0, projectId = 0;
    int stage = Analysis, status = Running, result = 0, subtype = 0;
    bool ordered = false, uploaded = false, keyConfirmed = false, history = false, failed = false;
    int orders = 0, analysisType = 0;
    qint64 appliedMs = 0, confirmMs = 0, submitMs = 0, finishMs = 0;
    double priority = 0, cost = 0;
    qint64 speed = 0, totalSize = 0, uploadedSize = 0; // as told by the client, not kept
    QJsonObject body;
    QJsonArray files;
    QSet<QString> keys, here;  // cleaned paths of the files; those that are on the farm
    QVector<TaskFrame> frames; // planned once the upload is complete
    int counted(int state) const;
    bool keyFramesDone() const; // and there are some
    bool hasKeyFrames() const;
};

// A path as uploads name it: slashes, no colons, no leading slashes.
QString cleanKey(QString path);

class Tasks
{
public:
    explicit Tasks(Core &core);

    Task *byId(int id);
    QList<Task *> all(); // by priority

    Task &apply(const QJsonObject &body);           // 10421
    int order(Task &task, const QJsonObject &body); // 10400; the last two digits of the result code
    bool markHere(Task &task, const QString &key);  // a file of the order is on the farm
    bool uploadComplete(Task &task);                // 10704
    void setState(Task &task, int stage, int status, int result = 0, int subtype = 0);
    bool save(Task &task);   // the head; setState does it too
    bool cancel(Task &task); // false where the task has ended
    void remove(Task &task); // an order that was given up before it was placed
    void frameEnded(Task &task, int index, int state, qint64 size = 0, const QString &hash = {});
    void resetFrames(Task &task, int state); // frames of that state wait again

    // Rows of results. Fields as in FarmResult.
    QList<FarmResult> results(int missionId) const;
    FarmResult result(qint64 id, int *missionId) const;
    bool markPushed(const QList<qint64> &ids);
    bool markConfirmed(const QList<qint64> &ids);
    bool markDownloaded(qint64 id);
    QString resultFile(int missionId, const QString &path) const;

    static QString missionName(const Task &task);   // what its results are filed under
    QJsonObject record(const Task &task) const;     // of the task list
    QJsonObject detail(const Task &task) const;     // of the task head
    QJsonObject resultHead(const Task &task) const; // what tells the folder of a task's results
    QJsonObject resultRow(const FarmResult &row) const;
    QList<FarmOrder> describe();
    FarmOrder describe(const Task &task) const;
    QStringList files(const Task &task, bool here) const;

private:
    void load();
    void plan(Task &task);
    void setFiles(Task &task, const QJsonArray &files);
    QString freeNumber();

    Core &m_core;
    std::map<int, Task> m_tasks;
    int m_next = 1;
};

} // namespace farm
