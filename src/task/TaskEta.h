#pragma once
// When a render will be done and what it will have cost, from the frames that are done. A list tells only how many
// frames took how long together; how much they differ is learnt from what was added between two looks, and from the
// frames' own times wherever a list of them passes by. Values, one thread.
#include "task/SubTask.h"
#include "task/TaskRecord.h"
#include <QHash>
#include <QSet>
#include <QVector>

struct TaskEta {
    double seconds = -1; // from now; below 0: can't be told
    double spread = 0;   // four of five renders end within seconds ± spread
    bool known() const { return seconds >= 0; }
    bool rough() const { return spread > seconds / 2; } // the frames differ much, or few are done
    QString text() const;                               // "约 2 小时 10 分，±20 分"; empty where unknown
};

class EtaBook
{
public:
    static constexpr int MostTasks = 500, MostFrames = 2000; // ... of each of them
    void see(const TaskRecord &task);
    void see(const QString &task, const QList<SubTask> &frames);
    TaskEta of(const TaskRecord &task) const;
    void keep(const QSet<QString> &ids); // once there are too many, forgets the others

private:
    struct Run {
        int frames;
        double seconds;
    };
    struct Seen {
        int frames = 0;
        qlonglong seconds = 0;
        QVector<Run> runs;
        QHash<QString, qlonglong> single; // seconds of frames that were told one by one
    };
    QHash<QString, Seen> m_seen;
};

namespace TaskText
{
// What the whole task will cost at the price of the frames so far, "约 30.00"; empty where it can't be told.
QString expectedCost(const TaskRecord &task);
} // namespace TaskText
