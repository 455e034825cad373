#include "Renderer.h"
#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "Core.h"
#include "drive/Drive.h"
#include "FramePainter.h"
#include "ObjectStore.h"
#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace farm
{

namespace
{
constexpr int heldMs = 200; // how often a held renderer looks again
constexpr int bringAgainMs = 1000;
constexpr double framePrice = 0.01;
constexpr qint64 commandLimitMs = 3600000;
} // namespace

// What a pool thread needs of a frame, and what it brings.
struct Renderer::Work {
    int task = 0, index = 0;
    FramePicture picture;
    QString sceneFile, command, target;
    bool fail = false;
    std::atomic<bool> stop{false};
    bool good = false;
    qint64 size = 0;
    QString hash, error;
};

Renderer::Renderer(Core &core) : m_core(core)
{
    m_wake.setSingleShot(true);
    m_clock.start();
    connect(&m_wake, &QTimer::timeout, this, &Renderer::look);
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
    for (Task *task : m_core.tasks->all()) {
        if (task->stage == Render && task->subtype == PausePending && task->counted(FrameRunning) == 0)
            m_core.tasks->setState(*task, Render, Paused);
    }
    if (!m_core.faults.peek(QStringLiteral("hold-render")).isNull() || m_core.account->balance() <= 0) {
        m_wake.start(heldMs);
        return;
    }
    while (m_running.size() < qMax(1, m_core.options.renderThreads)) {
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

bool Renderer::startNext()
{
    for (Task *task : m_core.tasks->all()) {
        if (task->stage != Render || task->status == Ended || task->status == Paused || task->subtype == PausePending)
            continue;
        QString seed;
        if (!ready(*task, &seed))
            continue;
        const int index = nextFrame(*task);
        if (index >= 0) {
            start(*task, index, seed);
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

// The first frame that waits, but for the others while the priority frames are looked at. -1: none now.
int Renderer::nextFrame(Task &task)
{
    for (int i = 0; i < task.frames.size(); ++i) {
        if (task.frames.at(i).state != FrameWaiting)
            continue;
        const bool held = !task.frames.at(i).job.key && task.hasKeyFrames() && !task.keyConfirmed;
        if (!held)
            return i;
        if (!task.keyFramesDone())
            return -1;
        m_core.business->announce(task);
        if (task.body.value("strategy").toVariant().toInt() != 1) {
            m_core.tasks->setState(task, Render, Paused, 0, WaitConfirm);
            m_core.event(QStringLiteral("priority frames done %1").arg(task.id));
            m_core.business->waitForUser(task);
            return -1;
        }
        task.keyConfirmed = true;
        m_core.tasks->save(task);
        return i;
    }
    return -1;
}

void Renderer::start(Task &task, int index, const QString &seed)
{
    auto work = std::make_shared<Work>();
    TaskFrame &frame = task.frames[index];
    int count = 0, place = 0;
    for (const TaskFrame &one : qAsConst(task.frames)) {
        if (one.job.camera == frame.job.camera) {
            ++count;
            place += one.job.frame < frame.job.frame ? 1 : 0;
        }
    }
    work->task = task.id;
    work->index = index;
    work->picture = {seed,  task.name, frame.job.camera, task.num,        frame.job.frame,
                     place, count,     frame.job.width,  frame.job.height};
    work->command = m_core.options.renderCommands.value(task.softwareType);
    work->target = m_core.tasks->resultFile(task.id, frame.job.path);
    work->fail = m_core.faults.happens(QStringLiteral("render-fail"));
    QString hash;
    work->sceneFile = m_core.store->fileOf(cleanKey(task.body.value("scene").toString()), &hash);
    frame.state = FrameRunning;
    frame.startedMs = QDateTime::currentMSecsSinceEpoch();
    if (task.status == Queued) {
        m_core.event(QStringLiteral("rendering %1, %2 frames").arg(task.id).arg(task.frames.size()));
        m_core.tasks->setState(task, Render, Running);
    }
    m_running += work;
    m_core.background([work] { render(*work); }, [this, work] { finished(work); });
}

// On a pool thread. The frame gets its name when it is whole, so a killed farm leaves no half picture.
void Renderer::render(Work &work)
{
    const QString half = QFileInfo(work.target).path() + QStringLiteral("/.") + QFileInfo(work.target).fileName();
    QDir().mkpath(QFileInfo(work.target).path());
    QFile::remove(half);
    if (work.fail)
        work.error = QStringLiteral("told to fail");
    else if (!work.command.isEmpty())
        work.good = runCommand(work, half);
    else
        work.good = paintFrame(work.picture, half, &work.error);
    if (!work.good)
        return;
    work.size = QFileInfo(half).size();
    work.hash = fileMd5(half);
    QFile::remove(work.target);
    work.good = !work.hash.isEmpty() && QFile::rename(half, work.target);
    if (!work.good)
        work.error = QStringLiteral("%1 couldn't be written").arg(work.target);
}

bool Renderer::runCommand(Work &work, const QString &file)
{
    QStringList words = QProcess::splitCommand(work.command);
    for (QString &word : words) {
        word.replace(QStringLiteral("%scene%"), work.sceneFile)
            .replace(QStringLiteral("%frame%"), QString::number(work.picture.frame))
            .replace(QStringLiteral("%camera%"), work.picture.camera)
            .replace(QStringLiteral("%out%"), file)
            .replace(QStringLiteral("%width%"), QString::number(work.picture.width))
            .replace(QStringLiteral("%height%"), QString::number(work.picture.height));
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QElapsedTimer clock;
    clock.start();
    process.start(words.value(0), words.mid(1));
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(100)) {
        if (work.stop || clock.elapsed() > commandLimitMs) {
            process.kill();
            process.waitForFinished(5000);
        }
    }
    // error() isn't asked: each look at a process that still runs leaves a time-out there.
    const bool good = process.state() == QProcess::NotRunning && process.exitStatus() == QProcess::NormalExit &&
                      process.exitCode() == 0 && QFileInfo(file).size() > 0;
    if (!good)
        work.error =
            QStringLiteral("%1: %2 %3")
                .arg(words.value(0), process.errorString(), QString::fromLocal8Bit(process.readAll().right(2000)));
    return good;
}

void Renderer::finished(const std::shared_ptr<Work> &work)
{
    m_running.removeOne(work);
    wake();
    Task *task = m_core.tasks->byId(work->task);
    if (work->stop || !task || work->index >= task->frames.size() || task->frames.at(work->index).state != FrameRunning)
        return;
    if (!work->good)
        qWarning().noquote() << "farm::Renderer::finished" << task->id << task->frames.at(work->index).job.path
                             << work->error;
    m_core.tasks->frameEnded(*task, work->index, work->good ? FrameDone : FrameFailed, work->size, work->hash);
    if (work->good) {
        task->cost += framePrice;
        m_core.account->charge(framePrice);
    }
    settle(*task);
    emit m_core.orderChanged(task->id);
}

void Renderer::settle(Task &task)
{
    const int running = task.counted(FrameRunning), waiting = task.counted(FrameWaiting);
    if (task.subtype == PausePending && running == 0 && waiting > 0)
        return m_core.tasks->setState(task, Render, Paused);
    if (task.status == Ended || running > 0 || waiting > 0)
        return;
    m_core.tasks->setState(task, Render, Ended,
                           task.counted(FrameDone) == 0 && task.counted(FrameFailed) > 0 ? Failed : 0);
    m_core.event(
        QStringLiteral("rendered %1: %2 of %3").arg(task.id).arg(task.counted(FrameDone)).arg(task.frames.size()));
    m_core.account->addNotice(1, QStringLiteral("任务 %1 渲染结束").arg(task.name));
    m_core.business->announce(task);
    emit m_core.taskFinished(task.id);
}

void Renderer::abandon(Task &task)
{
    for (const auto &work : qAsConst(m_running)) {
        if (work->task == task.id)
            work->stop = true;
    }
    for (TaskFrame &frame : task.frames) {
        if (frame.state == FrameRunning)
            frame.state = FrameWaiting;
    }
}

} // namespace farm
