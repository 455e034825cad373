#pragma once
// Renders the frames of the tasks whose upload is complete, some at a time on the pool, in the order of the queue,
// priority frames first; by the built-in painter or by a command of the software's own. It obeys: a paused task doesn't
// render, a cancelled one has ended, and what a thread brings for either is thrown away.
#include "Tasks.h"
#include <atomic>
#include <memory>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace farm
{

class Core;

class Renderer : public QObject
{
    Q_OBJECT
public:
    explicit Renderer(Core &core);
    ~Renderer() override;
    void wake();              // something has changed: look for work
    void abandon(Task &task); // its running frames wait again; what their threads bring counts for nothing

private:
    struct Work;
    void look();
    bool startNext();
    void bring(const QString &key);
    bool ready(Task &task, QString *seed); // the scene is here and its hash is known
    int nextFrame(Task &task);
    void start(Task &task, int index, const QString &seed);
    void finished(const std::shared_ptr<Work> &work);
    void settle(Task &task); // state after a frame has ended
    static void render(Work &work);
    static bool runCommand(Work &work, const QString &file);

    Core &m_core;
    QTimer m_wake;
    QSet<QString> m_bringing; // keys on their way out of the bucket
    QElapsedTimer m_clock;
    qint64 m_nextMs = 0; // of m_clock: when the next frame may start
    QList<std::shared_ptr<Work>> m_running;
};

} // namespace farm
