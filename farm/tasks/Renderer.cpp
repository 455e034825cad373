#include "tasks/Renderer.h"
#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "Core.h"
#include "drive/Drive.h"
#include "ObjectStore.h"
#include <algorithm>
#include <QBuffer>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>

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

bool Renderer::startNext()
{
    for (Task *task : m_core.tasks->all()) {
        if (!task->rendering() || task->status == Paused || task->subtype == PausePending)
            continue;
        const Task *cache = task->cache ? m_core.tasks->byId(task->cache) : nullptr;
        if (cache && cache->rendering())
            continue;
        const auto same = [task](const auto &work) { return work->task == task->id && !work->stop; };
        if (task->nodeLimit > 0 && std::count_if(m_running.begin(), m_running.end(), same) >= task->nodeLimit)
            continue;
        QString seed;
        if (!ready(*task, &seed))
            continue;
        const int index = nextFrame(*task);
        if (index >= 0) {
            start(*task, index, seed, freeNode());
            return true;
        }
        settle(*task);
    }
    return false;
}

bool Renderer::ready(Task &task, QString *seed)
{
    QString path = task.body.value("scene").toString();
    if (path.isEmpty())
        path = task.body.value("sceneName").toString();
    const QString key = cleanKey(path);
    QString file = m_core.store->fileOf(key, seed);
    if (file.isEmpty())
        file = m_core.drive->sceneFile(path, seed);
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

// The first frame that waits, or a piece of it, but for the others while the priority frames are looked at. -1: none
// now.
int Renderer::nextFrame(Task &task)
{
    for (int i = task.firstWaiting; i < task.frames.size(); ++i) {
        const TaskFrame &one = task.frames.at(i);
        const bool open = one.blocks > 0 && one.state == FrameRunning;
        if (one.state != FrameWaiting && !open) {
            if (i == task.firstWaiting)
                ++task.firstWaiting;
            continue;
        }
        if (one.kind == BlockOfFrame ||
            (one.kind == MergedCache && task.counted(FrameWaiting) + task.counted(FrameRunning) > 1))
            continue;
        if (!one.job.key && task.hasKeyFrames() && !task.keyConfirmed && !mayGoOn(task))
            return -1;
        const int piece = one.blocks > 0 ? nextPiece(task, i) : i;
        if (piece >= 0)
            return piece;
    }
    return -1;
}

// -1: its pieces are all on their way; the frame itself once they are all there.
int Renderer::nextPiece(const Task &task, int frame) const
{
    const TaskFrame &one = task.frames.at(frame);
    bool whole = true;
    for (int i = one.firstBlock; i < one.firstBlock + one.blocks; ++i) {
        if (task.frames.at(i).state == FrameWaiting)
            return i;
        whole = whole && task.frames.at(i).state == FrameDone;
    }
    return whole && one.state == FrameWaiting ? frame : -1;
}

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

FramePicture Renderer::pictureOf(const Task &task, int index, const QString &seed) const
{
    const TaskFrame &one = task.frames.at(index);
    FramePicture picture;
    picture.seed = seed;
    picture.scene = task.name;
    picture.camera = one.job.camera;
    picture.num = task.num;
    picture.frame = one.job.frame;
    picture.index = one.job.place;
    picture.count = one.job.count;
    picture.width = one.job.width;
    picture.height = one.job.height;
    if (one.kind == BlockOfFrame) {
        picture.block = one.block;
        picture.blocks = task.frames.at(one.parent).blocks;
    } else {
        picture.blocks = qMax(1, one.blocks);
    }
    return picture;
}

// The same frames fail in every run, and another try of one may go well.
bool Renderer::fails(const Task &task, int index) const
{
    if (m_core.faults.happens(QStringLiteral("render-fail")))
        return true;
    const qint64 chance = m_core.faults.number(QStringLiteral("fail-chance"), 0);
    const QByteArray seed =
        QStringLiteral("%1 %2 %3").arg(task.id).arg(index).arg(task.frames.at(index).tries).toLatin1();
    return chance > 0 && quint8(QCryptographicHash::hash(seed, QCryptographicHash::Md5).at(0)) * 100 < chance * 256;
}

QStringList Renderer::logHead(const Task &task, int index, const RenderWork &work) const
{
    const TaskFrame &one = task.frames.at(index);
    QStringList lines{
        QStringLiteral("Info: node %1, order %2, %3, frame %4 of %5%6, try %7")
            .arg(work.node, task.num, task.name)
            .arg(one.job.frame)
            .arg(one.job.camera, one.kind == BlockOfFrame ? QStringLiteral(", block %1").arg(one.block + 1) : QString())
            .arg(one.tries)};
    const QJsonObject detail = m_core.tasks->detail(task);
    lines +=
        QStringLiteral("Info: software %1, machine %2").arg(detail.value("software").toString(), task.machineModel);
    for (const QJsonValue &plugin : detail.value("plugins").toArray())
        lines += QStringLiteral("Info: plug-in %1 %2")
                     .arg(plugin.toObject().value("name").toString(), plugin.toObject().value("version").toString());
    lines += QStringLiteral("Info: scene %1").arg(work.sceneFile.isEmpty() ? task.name : work.sceneFile);
    for (const QString &key : m_core.tasks->files(task, false).mid(0, 100))
        lines += QStringLiteral("WARNING: %1 isn't on the farm").arg(key);
    return lines;
}

void Renderer::start(Task &task, int index, const QString &seed, int node)
{
    auto work = std::make_shared<RenderWork>();
    if (task.status == Queued) {
        m_core.event(QStringLiteral("rendering %1, %2 frames").arg(task.id).arg(task.total()));
        m_core.tasks->setState(task, Render, Running);
    }
    m_core.tasks->frameStarted(task, index, m_nodes.at(node).name);
    const TaskFrame &frame = task.frames.at(index);
    work->task = task.id;
    work->index = index;
    work->picture = pictureOf(task, index, seed);
    work->command = m_core.options.renderCommands.value(task.softwareType);
    work->target = m_core.tasks->resultFile(task.id, frame.job.path);
    work->log = m_core.options.dir + QLatin1Char('/') + m_core.tasks->logPath(task, index);
    work->node = m_nodes.at(node).name;
    work->fail = fails(task, index);
    work->seconds = m_core.options.frameSeconds;
    work->logBytes = m_core.faults.number(QStringLiteral("log-bytes"), 0);
    const qint64 awayMs = m_core.faults.number(QStringLiteral("node-vanish"), 0);
    work->vanish = awayMs > 0;
    if (work->vanish)
        m_nodes[node].awayUntilMs = m_clock.elapsed() + awayMs;
    if (!work->command.isEmpty())
        work->how = RenderWork::Command;
    const auto from = [&](int i) { work->pieces += m_core.tasks->resultFile(task.id, task.frames.at(i).job.path); };
    if (frame.kind == MergedCache) {
        work->how = RenderWork::Mean;
        for (int i = 0; i < index; ++i) {
            if (task.frames.at(i).state == FrameDone)
                from(i);
        }
    } else if (frame.blocks > 0) {
        work->how = RenderWork::Join;
        for (int i = frame.firstBlock; i < frame.firstBlock + frame.blocks; ++i)
            from(i);
    }
    QString hash;
    work->sceneFile = m_core.store->fileOf(cleanKey(task.body.value("scene").toString()), &hash);
    work->head = logHead(task, index, *work);
    m_nodes[node].busy = true;
    m_running += work;
    m_core.background([work] { work->run(); }, [this, work, node] { finished(work, node); });
}

void Renderer::finished(const std::shared_ptr<RenderWork> &work, int node)
{
    m_running.removeOne(work);
    m_nodes[node].busy = false;
    const qint64 away = m_nodes.at(node).awayUntilMs - m_clock.elapsed();
    m_wake.start(away > 0 && m_running.isEmpty() ? int(qMin<qint64>(away, 60000)) : 0);
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
    m_core.tasks->frameEnded(*task, work->index, work->good ? FrameDone : FrameFailed, work->size, work->hash);
    if (work->good) {
        task->cost += framePrice;
        m_core.account->charge(framePrice);
        m_core.tasks->save(*task);
    }
    settle(*task);
    emit m_core.orderChanged(task->id);
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
            if (task.frames.at(i).state == FrameRunning && (task.frames.at(i).blocks > 0) == whole)
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
    m_core.tasks->frameEnded(task, index, FrameCancelled);
}

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
