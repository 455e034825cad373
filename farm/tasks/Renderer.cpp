#include "tasks/Renderer.h"
#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "Core.h"
#include "drive/Drive.h"
#include "ObjectStore.h"
#include "slurm/Cluster.h"
#include <algorithm>
#include <climits>
#include <QBuffer>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>

namespace farm
{

namespace
{
constexpr int heldMs = 200; // how often a held renderer looks again
constexpr int bringAgainMs = 1000;
constexpr double framePrice = 0.01;
constexpr int maxTries = 5; // of a frame whose nodes are lost
} // namespace

Renderer::Renderer(Core &core) : m_core(core)
{
    m_wake.setSingleShot(true);
    m_expiry.setSingleShot(true);
    m_clock.start();
    for (int i = 0; i < qMax(1, m_core.options.renderThreads); ++i)
        m_nodes += Node{QStringLiteral("node-%1").arg(i + 1, 2, 10, QLatin1Char('0')), 0, false};
    connect(&m_wake, &QTimer::timeout, this, &Renderer::look);
    connect(&m_expiry, &QTimer::timeout, this, &Renderer::look);
    connect(m_core.store.get(), &ContentStore::stored, this, &Renderer::wake);
    if (m_core.options.slurm)
        m_cluster = std::make_unique<Cluster>(m_core, *this);
}

Renderer::~Renderer()
{
    for (const auto &work : qAsConst(m_running))
        work->stop = true;
}

void Renderer::wake() { m_wake.start(0); }

void Renderer::look()
{
    expire();
    for (Task *task : m_core.tasks->all()) {
        if (task->stage == Render && task->subtype == PausePending && task->counted(FrameRunning) == 0)
            m_core.tasks->setState(*task, Render, Paused);
    }
    if (!m_core.faults.peek(QStringLiteral("hold-render")).isNull() || m_core.account->balance() <= 0) {
        m_wake.start(heldMs);
        return;
    }
    if (m_cluster)
        return lookCluster();
    qint64 back = -1; // when the next lost node is
    for (const Node &one : qAsConst(m_nodes)) {
        const qint64 left = one.awayUntilMs - m_clock.elapsed();
        if (!one.busy && left > 0)
            back = back < 0 ? left : qMin(back, left);
    }
    if (back >= 0)
        m_wake.start(int(qMin<qint64>(back + 1, 60000)));
    while (freeNode() >= 0) {
        const qint64 wait = m_nextMs - m_clock.elapsed();
        if (wait > 0) {
            m_wake.start(int(wait));
            return;
        }
        if (!startNext())
            return;
        if (m_core.options.framesPerSecond > 0)
            m_nextMs = m_clock.elapsed() + qint64(1000 / m_core.options.framesPerSecond);
    }
}

void Renderer::expire()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch(), limit = qint64(m_core.options.confirmHours * 3600000);
    qint64 next = -1;
    for (Task *task : m_core.tasks->all()) {
        if (task->stage != Render || task->status != Paused || task->subtype != WaitConfirm)
            continue;
        const qint64 left = task->waitMs + limit - now;
        if (left > 0) {
            next = next < 0 ? left : qMin(next, left);
            continue;
        }
        end(*task);
        m_core.tasks->cancel(*task);
        m_core.tasks->note(*task, task->user, QStringLiteral("优先帧确认过期，自动取消"));
        m_core.business->taskOver(*task);
    }
    if (next >= 0)
        m_expiry.start(int(qMin<qint64>(next, 3600000)));
}

int Renderer::freeNode() const
{
    for (int i = 0; i < m_nodes.size(); ++i) {
        if (!m_nodes.at(i).busy && m_nodes.at(i).awayUntilMs <= m_clock.elapsed())
            return i;
    }
    return -1;
}

bool Renderer::mayRender(const Task &task) const
{
    const Task *cache = task.cache ? m_core.tasks->byId(task.cache) : nullptr;
    return task.rendering() && task.status != Paused && task.subtype != PausePending && !(cache && cache->rendering());
}

bool Renderer::startNext()
{
    for (Task *task : m_core.tasks->all()) {
        const auto same = [task](const auto &work) { return work->task == task->id && !work->stop; };
        if (!mayRender(*task) ||
            (task->nodeLimit > 0 && std::count_if(m_running.begin(), m_running.end(), same) >= task->nodeLimit))
            continue;
        QString seed;
        if (!ready(*task, &seed))
            continue;
        const QVector<int> next = open(*task, 1);
        if (!next.isEmpty()) {
            start(*task, next.first(), seed, freeNode());
            return true;
        }
        settle(*task);
    }
    return false;
}

// Everything that may run is handed over; in which order it runs is the cluster's matter.
void Renderer::lookCluster()
{
    if (!m_cluster->ready())
        return; // it wakes this renderer
    for (Task *task : m_core.tasks->all()) {
        QString seed;
        if (!mayRender(*task) || !ready(*task, &seed))
            continue;
        QVector<int> there;
        for (int index : open(*task, INT_MAX)) {
            if (!putTogether(task->frames.at(index)))
                there += index;
            else if (freeNode() >= 0)
                start(*task, index, seed, freeNode());
        }
        if (!there.isEmpty())
            m_cluster->submit(*task, there, seed);
        settle(*task);
    }
}

bool Renderer::ready(Task &task, QString *seed)
{
    QString path = task.body.value("scene").toString();
    if (path.isEmpty())
        path = task.body.value("sceneName").toString();
    const QString key = cleanKey(path);
    QString file = m_core.store->fileOf(key, seed);
    if (file.isEmpty())
        file = m_core.drive->sceneFile(task.body, seed);
    if (file.isEmpty() && m_core.objects->used() && task.here.contains(key)) {
        bring(key);
        return false;
    }
    if (!file.isEmpty() && seed->isEmpty() && m_core.store->hashing())
        return false; // the store wakes the renderer
    if (seed->isEmpty())
        *seed = task.name;
    return true;
}

// The scene lies in the bucket. One that can't be had is asked for again; the task waits for it.
void Renderer::bring(const QString &key)
{
    if (m_bringing.contains(key))
        return;
    m_bringing.insert(key);
    const QByteArray name = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Md5).toHex();
    const QString part =
        QStringLiteral("%1/object-%2.part").arg(m_core.folder(QStringLiteral("incoming")), QLatin1String(name));
    m_core.objects->fetch(key, part, [this, key, part](bool good) {
        if (good)
            m_core.store->take(key, part);
        QTimer::singleShot(good ? 0 : bringAgainMs, this, [this, key] {
            m_bringing.remove(key);
            look();
        });
    });
}

// Frames that wait, or pieces of them, in their order; but none behind the priority frames while those are looked at.
QVector<int> Renderer::open(Task &task, int most)
{
    QVector<int> list;
    for (int i = task.firstWaiting; i < task.frames.size() && list.size() < most; ++i) {
        const TaskFrame &one = task.frames.at(i);
        const bool some = one.blocks > 0 && one.state == FrameRunning;
        if (one.state != FrameWaiting && !some) {
            if (i == task.firstWaiting)
                ++task.firstWaiting;
            continue;
        }
        if (one.kind == BlockOfFrame ||
            (one.kind == MergedCache && task.counted(FrameWaiting) + task.counted(FrameRunning) > 1))
            continue;
        if (!one.job.key && task.hasKeyFrames() && !task.keyConfirmed && !mayGoOn(task))
            break;
        if (one.blocks > 0)
            openPieces(task, i, &list);
        else if (!handedOver(task, i))
            list += i;
    }
    return list;
}

// Its pieces that wait; the frame itself once they are all there.
void Renderer::openPieces(const Task &task, int frame, QVector<int> *list) const
{
    const TaskFrame &one = task.frames.at(frame);
    bool whole = one.state == FrameWaiting;
    for (int i = one.firstBlock; i < one.firstBlock + one.blocks; ++i) {
        if (task.frames.at(i).state == FrameWaiting && !handedOver(task, i))
            *list += i;
        whole = whole && task.frames.at(i).state == FrameDone;
    }
    if (whole)
        *list += frame;
}

bool Renderer::handedOver(const Task &task, int index) const { return m_cluster && m_cluster->has(task, index); }

bool Renderer::putTogether(const TaskFrame &frame) { return frame.blocks > 0 || frame.kind == MergedCache; }

bool Renderer::mayGoOn(Task &task)
{
    if (!task.keyFramesDone())
        return false;
    m_core.business->announce(task);
    if (task.body.value("strategy").toVariant().toInt() == 1) {
        task.keyConfirmed = true;
        m_core.tasks->save(task);
        return true;
    }
    m_core.tasks->setState(task, Render, Paused, 0, WaitConfirm);
    m_core.event(QStringLiteral("priority frames done %1").arg(task.id));
    m_core.business->waitForUser(task);
    m_wake.start(0); // for the end of the time it waits
    return false;
}

void Renderer::begun(Task &task)
{
    if (task.status != Queued)
        return;
    m_core.event(QStringLiteral("rendering %1, %2 frames").arg(task.id).arg(task.total()));
    m_core.tasks->setState(task, Render, Running);
}

void Renderer::start(Task &task, int index, const QString &seed, int node)
{
    begun(task);
    m_core.tasks->frameStarted(task, index, m_nodes.at(node).name);
    const std::shared_ptr<RenderWork> work = workOf(task, index, seed, m_nodes.at(node).name);
    const qint64 awayMs = m_core.faults.number(QStringLiteral("node-vanish"), 0);
    work->vanish = awayMs > 0;
    if (work->vanish)
        m_nodes[node].awayUntilMs = m_clock.elapsed() + awayMs;
    m_nodes[node].busy = true;
    m_running += work;
    m_core.background([work] { work->run(); }, [this, work, node] { finished(work, node); });
}

void Renderer::finished(const std::shared_ptr<RenderWork> &work, int node)
{
    m_running.removeOne(work);
    m_nodes[node].busy = false;
    wake();
    Task *task = m_core.tasks->byId(work->task);
    if (work->stop || !task || work->index >= task->frames.size() || task->frames.at(work->index).state != FrameRunning)
        return;
    TaskFrame &frame = task->frames[work->index];
    frame.memoryMb = work->memoryMb;
    if (work->vanished && frame.tries < maxTries) {
        m_core.event(QStringLiteral("%1 lost with %2 of %3").arg(work->node).arg(work->index).arg(task->id));
        m_core.tasks->frameWaits(*task, work->index);
        settle(*task);
        emit m_core.orderChanged(task->id);
        return;
    }
    if (!work->good)
        qWarning().noquote() << "farm::Renderer::finished" << task->id << frame.job.path << work->error;
    ended(*task, work->index, work->good, work->size, work->hash);
}

void Renderer::ended(Task &task, int index, bool good, qint64 size, const QString &hash)
{
    m_core.tasks->frameEnded(task, index, good ? FrameDone : FrameFailed, size, hash);
    if (good) {
        task.cost += framePrice;
        m_core.account->charge(framePrice);
        m_core.tasks->save(task);
    }
    settle(task);
    emit m_core.orderChanged(task.id);
}

void Renderer::clusterStarted(Task &task, int index, const QString &node)
{
    begun(task);
    m_core.tasks->frameStarted(task, index, node);
    emit m_core.orderChanged(task.id);
}

// What a node says is right counts once the picture has been read here.
void Renderer::clusterEnded(Task &task, int index, bool good, qint64 startMs, qint64 endMs,
                            std::function<void()> recorded)
{
    const QString file = m_core.tasks->resultFile(task.id, task.frames.at(index).job.path);
    auto hash = std::make_shared<QString>();
    auto size = std::make_shared<qint64>(0);
    const auto told = [this, id = task.id, index, startMs, endMs, hash, size, recorded] {
        Task *still = m_core.tasks->byId(id);
        if (!still || index >= still->frames.size() || still->frames.at(index).state != FrameRunning)
            return recorded();
        ended(*still, index, !hash->isEmpty(), *size, *hash);
        if (startMs > 0 && endMs >= startMs)
            m_core.tasks->frameWas(*still, index, startMs, endMs, 0);
        recorded();
        wake();
    };
    if (!good)
        return told();
    m_core.background(
        [file, hash, size] {
            *size = QFileInfo(file).size();
            *hash = *size > 0 ? fileMd5(file) : QString();
        },
        told);
}

void Renderer::settle(Task &task)
{
    const int running = task.counted(FrameRunning), waiting = task.counted(FrameWaiting);
    if (task.subtype == PausePending && running == 0 && waiting > 0)
        return m_core.tasks->setState(task, Render, Paused);
    if (!task.rendering() || running > 0 || waiting > 0)
        return;
    m_core.tasks->setState(task, Render, Ended,
                           task.counted(FrameDone) == 0 && task.counted(FrameFailed) > 0 ? Failed : 0);
    m_core.event(QStringLiteral("rendered %1: %2 of %3").arg(task.id).arg(task.counted(FrameDone)).arg(task.total()));
    m_core.account->addNotice(1, QStringLiteral("任务 %1 渲染结束").arg(task.name));
    m_core.business->announce(task);
    m_core.business->taskOver(task);
    emit m_core.taskFinished(task.id);
}

void Renderer::abandon(Task &task)
{
    for (const auto &work : qAsConst(m_running)) {
        if (work->task == task.id)
            work->stop = true;
    }
    for (bool whole : {false, true}) { // the pieces first: a frame that still runs then is being put together
        for (int i = 0; i < task.frames.size(); ++i) {
            if (task.frames.at(i).state != FrameRunning || (task.frames.at(i).blocks > 0) != whole)
                continue;
            if (m_cluster)
                m_cluster->take(task, i);
            m_core.tasks->frameWaits(task, i);
        }
    }
}

void Renderer::drop(Task &task, int index)
{
    const int state = task.frames.at(index).state;
    if (state != FrameWaiting && state != FrameRunning)
        return;
    for (const auto &work : qAsConst(m_running)) {
        if (work->task == task.id && work->index == index)
            work->stop = true;
    }
    if (m_cluster)
        m_cluster->take(task, index);
    m_core.tasks->frameEnded(task, index, FrameCancelled);
}

void Renderer::end(Task &task)
{
    abandon(task);
    if (m_cluster)
        m_cluster->takeAll(task);
}

void Renderer::hold(Task &task)
{
    if (m_cluster)
        m_cluster->hold(task);
}

void Renderer::resume(Task &task)
{
    if (m_cluster)
        m_cluster->release(task);
}

void Renderer::limit(Task &task)
{
    if (m_cluster)
        m_cluster->limit(task);
}

void Renderer::reorder()
{
    if (m_cluster)
        m_cluster->reorder();
}

int Renderer::nodes() const { return m_cluster && m_cluster->nodes() > 0 ? m_cluster->nodes() : m_nodes.size(); }

int Renderer::speed(const Task &task, int index) const
{
    for (const auto &work : m_running) {
        const qint64 ms = QDateTime::currentMSecsSinceEpoch() - task.frames.at(index).startedMs;
        if (work->task == task.id && work->index == index && !work->stop)
            return int(int(work->percent) * 1000 / qMax<qint64>(1, ms));
    }
    return 0;
}

QByteArray Renderer::halfPicture(const Task &task, int index) const
{
    const TaskFrame &one = task.frames.at(index);
    QImage image;
    if (one.blocks > 0) {
        QStringList pieces;
        bool some = false;
        for (int i = one.firstBlock; i < one.firstBlock + one.blocks; ++i) {
            const bool there = task.frames.at(i).state == FrameDone;
            some = some || there;
            pieces += there ? m_core.tasks->resultFile(task.id, task.frames.at(i).job.path) : QString();
        }
        if (some)
            image = piecesOf(pictureOf(task, index, {}), pieces);
    }
    for (const auto &work : m_running) {
        if (work->task == task.id && work->index == index)
            image = work->half();
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return !image.isNull() && image.save(&buffer, "png") ? bytes : QByteArray();
}

} // namespace farm
