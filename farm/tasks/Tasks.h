#pragma once
// The tasks of the farm: from the number asked for before the analysis to the results taken home. Each change is in the
// database before the function returns, so that what is answered afterwards survives a killed farm.
//
// Life of a task (stage, status): applied (0,1) -> ordered (2,1) -> upload complete, queued (4,0) -> rendering (4,1)
// -> rendered (4,2) -> all results taken home (5,2). Beside it: paused (4,3), pausing (4,1 subtype 15), waiting after
// the priority frames (4,3 subtype 10), failed before it could render (3,2 result 2), and with result 3 cancelled in
// its stage.
//
// A task falls into sub-tasks (TaskFrame), addressed by their place in the list. First come those of the plan, which
// the order decides and which are never stored; what is added later (blocks, renders again, filled frames) is stored
// and keeps its place. A sub-task that is rendered again is replaced: the new one stands for the frame from then on.
#include "Farm.h"
#include "tasks/RenderPlan.h"
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
enum FrameState {
    FrameRunning = 0,
    FrameWaiting = 1,
    FramePaused = 2,
    FrameDone = 3,
    FrameFailed = 4,
    FrameCancelled = 5
};
enum FrameKind { WholeFrame = 0, LightCache = 100, MergedCache = 101, BlockOfFrame = 201 };
enum FrameFlag { FirstRender = 0, AgainOne = 1, FilledIn = 2, AgainFailed = 3 };

struct TaskFrame {
    FrameJob job;
    int state = FrameWaiting; // FramePaused is only told, never stored
    int kind = WholeFrame, flag = FirstRender;
    int parent = -1;                     // of a block its frame, of a render again the sub-task that it replaces
    int firstBlock = -1, blocks = 0;     // where the pieces of this frame stand
    int block = 0;                       // of a block: which piece, from 0
    bool replaced = false, late = false; // late: it took longer than the account's limit
    qint64 result = 0;
    qint64 startedMs = 0, endedMs = 0;
    int tries = 0, memoryMb = 0;
    QString node;
};

struct Task {
    int id = 0, user = 0;
    QString num, name, projectName, machineModel, remark;
    qint64 clientFlag = 0;
    int softwareType = 0, projectId = 0;
    int stage = Analysis, status = Running, result = 0, subtype = 0;
    bool ordered = false, uploaded = false, keyConfirmed = false, history = false;
    int orders = 0, analysisType = 0;
    qint64 appliedMs = 0, confirmMs = 0, submitMs = 0, finishMs = 0,
           waitMs = 0; // waitMs: since when it waits for a word
    double priority = 0, cost = 0;
    int nodeLimit = 0;       // frames at a time, 0: as many as the farm can
    int main = 0, cache = 0; // of a light cache task its main task; of a main task its light cache task
    qint64 speed = 0, totalSize = 0, uploadedSize = 0; // as told by the client, not kept
    QJsonObject body;
    QJsonArray files;
    QSet<QString> keys, here;           // cleaned paths of the files; those that are on the farm
    QVector<TaskFrame> frames;          // planned once the upload is complete
    int planned = 0;                    // how many of them the order decides
    int firstWaiting = 0;               // no sub-task before this one waits
    int counts[6] = {0, 0, 0, 0, 0, 0}; // of the frames that count, by state
    qint64 goodMs = 0;                  // spent on the frames that are done
    QString framesText;                 // of the plan, "1-10,15"

    int counted(int state) const { return counts[state]; }
    int total() const { return counts[0] + counts[1] + counts[3] + counts[4] + counts[5]; }
    static bool stands(const TaskFrame &one) { return one.kind != BlockOfFrame && !one.replaced; }
    bool rendering() const { return stage == Render && status != Ended; }
    bool keyFramesDone() const; // and there are some
    bool hasKeyFrames() const;
};

// A path as uploads name it: slashes, no colons, no leading slashes.
QString cleanKey(QString path);
// Numbers as one text, runs as "1-10".
QString frameText(QList<int> numbers);

constexpr qint64 SubTaskStep = 10000000; // a sub-task's id is the task's id times this plus its place
inline qint64 subTaskId(const Task &task, int index) { return task.id * SubTaskStep + index; }

class Tasks
{
public:
    explicit Tasks(Core &core);

    Task *byId(int id);
    QList<Task *> all(); // by priority

    Task &apply(const QJsonObject &body, int user); // 10421
    int order(Task &task, const QJsonObject &body); // 10400; the last two digits of the result code
    bool markHere(Task &task, const QString &key);  // a file of the order is on the farm
    bool uploadComplete(Task &task);                // 10704
    void setState(Task &task, int stage, int status, int result = 0, int subtype = 0);
    bool save(Task &task);     // the head; setState does it too
    bool saveBody(Task &task); // the order's own object
    bool cancel(Task &task);   // false where the task has ended
    void remove(Task &task);   // an order that was given up before it was placed

    // Sub-tasks. frameStarted and blocks' frames stand in memory alone: a restart finds what ran waiting again.
    int indexOf(const Task &task, qint64 subTaskId) const; // -1: none of this task
    void frameStarted(Task &task, int index, const QString &node);
    void frameWaits(Task &task, int index);
    void frameEnded(Task &task, int index, int state, qint64 size = 0, const QString &hash = {});
    void frameWas(Task &task, int index, qint64 startedMs, qint64 endedMs, int memoryMb); // of one that has ended
    int append(Task &task, const TaskFrame &frame);                                       // its place
    void replace(Task &task, int index);         // another one stands for it now
    int resetFailed(Task &task);                 // how many frames wait again
    void settleBlocks(Task &task, int frame);    // the frame's state from those of its pieces
    QVector<int> listed(const Task &task) const; // frames, each followed by its renders again; without blocks

    void note(const Task &task, int user, const QString &what); // what somebody did to it
    QJsonArray notes(const Task &task) const;                   // oldest first

    // Rows of results. Fields as in FarmResult. Those of blocks aren't among a task's.
    QList<FarmResult> results(int missionId) const;
    FarmResult result(qint64 id, int *missionId) const;
    bool markPushed(const QList<qint64> &ids);
    bool markConfirmed(const QList<qint64> &ids);
    bool markDownloaded(qint64 id);
    QString resultFile(int missionId, const QString &path) const;
    QString logPath(const Task &task, int index) const; // below the farm's folder

    static QString missionName(const Task &task);               // what its results are filed under
    QJsonObject record(const Task &task) const;                 // of the task list
    QJsonObject detail(const Task &task) const;                 // of the task head
    QJsonValue choice(const Task &task, const char *key) const; // software, plugins: of the order, else of the project
    QJsonObject resultHead(const Task &task) const;             // what tells the folder of a task's results
    QJsonObject resultRow(const FarmResult &row) const;
    QList<FarmOrder> describe();
    FarmOrder describe(const Task &task) const;
    QStringList files(const Task &task, bool here) const;

private:
    void load();
    void plan(Task &task);
    void addBlocks(Task &task);
    void addLightCache(Task &task);
    void keepFrame(const Task &task, int index);
    void keepExtra(const Task &task, int index);
    void recount(Task &task);
    void setFrame(Task &task, int index, int state);
    void setFiles(Task &task, const QJsonArray &files);
    QString freeNumber();

    Core &m_core;
    std::map<int, Task> m_tasks;
    int m_next = 1;
};

QString timeText(qint64 ms); // "yyyy-MM-dd HH:mm:ss"; empty for 0

} // namespace farm
