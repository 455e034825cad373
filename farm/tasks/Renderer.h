#pragma once
// Renders the frames of the tasks whose upload is complete, some at a time on the pool, in the order of the queue,
// priority frames first; by the built-in painter or by a command of the software's own. It obeys: a paused task doesn't
// render, a cancelled one has ended, no more frames of a task at a time than its limit, and what a thread brings for
// something that was stopped is thrown away. A light cache task goes before its main task. With a cluster the frames
// run there, and only what is put together of pieces is done here.
#include "tasks/RenderWork.h"
#include "tasks/Tasks.h"
#include <functional>
#include <memory>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace farm
{

class Cluster;
class Core;

class Renderer : public QObject
{
    Q_OBJECT
public:
    explicit Renderer(Core &core);
    ~Renderer() override;
    void wake();                      // something has changed: look for work
    void abandon(Task &task);         // its running frames wait again; what their threads bring counts for nothing
    void drop(Task &task, int index); // cancels one sub-task
    void end(Task &task);             // none of its frames is rendered any more
    // Told of what the queue should be like from now on.
    void hold(Task &task);
    void resume(Task &task);
    void limit(Task &task);
    void reorder();

    // From the cluster: a frame runs there, has ended there.
    void clusterStarted(Task &task, int index, const QString &node);
    // recorded: once the frame's own record tells it.
    void clusterEnded(Task &task, int index, bool good, qint64 startMs, qint64 endMs, std::function<void()> recorded);
    std::shared_ptr<RenderWork> workOf(const Task &task, int index, const QString &seed, const QString &node) const;

    int nodes() const;
    int speed(const Task &task, int index) const;              // per cent a second of one that runs, 0: doesn't
    QByteArray halfPicture(const Task &task, int index) const; // PNG of what there is of it, or nothing

private:
    struct Node {
        QString name;
        qint64 awayUntilMs = 0; // of m_clock
        bool busy = false;
    };
    void look();
    void expire(); // tasks that wait for a word too long
    void lookCluster();
    bool startNext();
    bool mayRender(const Task &task) const;
    void bring(const QString &key);
    bool ready(Task &task, QString *seed);   // the scene is here and its hash is known
    QVector<int> open(Task &task, int most); // sub-tasks that can be rendered now
    void openPieces(const Task &task, int frame, QVector<int> *list) const;
    bool handedOver(const Task &task, int index) const;
    static bool putTogether(const TaskFrame &frame); // of what was rendered already
    bool mayGoOn(Task &task);                        // past its priority frames
    int freeNode() const;
    void start(Task &task, int index, const QString &seed, int node);
    void finished(const std::shared_ptr<RenderWork> &work, int node);
    void ended(Task &task, int index, bool good, qint64 size, const QString &hash);
    void begun(Task &task);
    void settle(Task &task); // state after a frame has ended
    FramePicture pictureOf(const Task &task, int index, const QString &seed) const;
    QStringList logHead(const Task &task, int index, const RenderWork &work) const;
    bool fails(const Task &task, int index) const;

    Core &m_core;
    QTimer m_wake, m_expiry;
    QSet<QString> m_bringing; // keys on their way out of the bucket
    QElapsedTimer m_clock;
    qint64 m_nextMs = 0; // of m_clock: when the next frame may start
    QVector<Node> m_nodes;
    QList<std::shared_ptr<RenderWork>> m_running;
    std::unique_ptr<Cluster> m_cluster; // null: everything is rendered here
};

} // namespace farm
