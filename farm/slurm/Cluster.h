#pragma once
// The frames of the tasks as jobs of a Slurm cluster. Slurm decides when and where each runs; this class hands them
// over, a job array a task (another one for what is rendered again), and reads back what became of them: the queue
// tells what runs, the accounting of finished jobs how each ended. The farm's folder must be seen by the nodes under
// the same path.
//
//   node limit -> the array's throttle          pause -> hold; frames that run are cancelled, or end first
//   continue -> release                         cancel -> scancel          order of the queue -> nice values
//
// Life of an array: stored with the frames that it is for -> handed over (sbatch) -> each frame runs and ends -> gone.
// A farm that starts again finds its arrays by their names, also one whose number it never heard. Of a frame that
// neither the queue nor the accounting knows any more the job itself has left word (JobFile); without it's done where
// its picture is there, else it has failed. While the controller doesn't answer nothing changes, and what was asked of
// it is asked again.
//
// Lives on the farm's thread; Slurm's programs run beside it, one after the other, never waited for.
#include "slurm/ClusterText.h"
#include "tasks/Tasks.h"
#include <deque>
#include <functional>
#include <QObject>
#include <QProcess>
#include <QTimer>

namespace farm
{

class Core;
class Renderer;

class Cluster : public QObject
{
    Q_OBJECT
public:
    Cluster(Core &core, Renderer &renderer);
    ~Cluster() override;
    bool ready() const { return m_maxArray > 0; } // it has answered once
    int nodes() const { return m_processors; }

    bool has(const Task &task, int index) const; // handed over and not ended
    // Takes the frames over; what can't be taken now is offered again.
    void submit(Task &task, const QVector<int> &indices, const QString &seed);
    void hold(const Task &task);
    void release(const Task &task);
    void limit(const Task &task);
    void reorder();
    void take(const Task &task, int index); // out of the cluster, whether it runs or waits
    void takeAll(const Task &task);         // all of its frames

private:
    // An array is kept until each of its frames has its own record: one that has ended while that is made is Ending.
    enum Stand : char { Open, Gone, Ending };
    struct Array {
        QString name;
        int mid = 0, nice = -1;
        qint64 job = 0;       // 0: not handed over, or nobody knows yet
        QVector<int> indices; // of the task's frames, by the place in the array
        QVector<char> over;   // by place: a Stand
        QVector<char> missed; // looks in which nobody knew of it
        int open = 0;
        bool asking = false, held = false;
    };
    struct Call {
        QStringList words;
        QByteArray input;
        std::function<void(int code, const QString &out)> done;
    };

    void load();
    void call(const QStringList &words, std::function<void(int, const QString &)> done = {},
              const QByteArray &input = {});
    void next();
    void askConfig();
    void answers(bool yes); // whether the controller did
    void look();
    void readQueue(const QString &text);
    void readEnds();
    void send(Array &array);
    void ended(Array &array, int place, const EndLine &end);
    void close(Array &array, int place);
    bool keep(const Array &array);
    QString framesFile(const QString &array) const;
    void forgetEmpty();
    QList<Array *> of(const Task &task);
    int rank(int mid) const;

    Core &m_core;
    Renderer &m_renderer;
    QTimer m_look, m_limit;
    QProcess m_process;
    std::deque<Call> m_calls;
    bool m_busy = false, m_silent = false;
    int m_maxArray = 0, m_processors = 0;
    QString m_accounting, m_prefix, m_wrong; // m_wrong: what went wrong last
    QMap<QString, Array> m_arrays;           // by name
    QHash<qint64, QString> m_where;          // sub-task -> the array that has it
};

} // namespace farm
