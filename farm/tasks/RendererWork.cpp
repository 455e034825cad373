// What a frame needs for its way through a thread here or a node of the cluster.
#include "ContentStore.h"
#include "Core.h"
#include "drive/Drive.h"
#include "tasks/Renderer.h"
#include <QCryptographicHash>

namespace farm
{

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
        QStringLiteral("Info: order %1, %2, frame %3 of %4%5, try %6")
            .arg(task.num, task.name)
            .arg(one.job.frame)
            .arg(one.job.camera, one.kind == BlockOfFrame ? QStringLiteral(", block %1").arg(one.block + 1) : QString())
            .arg(one.tries)};
    lines += QStringLiteral("Info: software %1, machine %2")
                 .arg(m_core.tasks->choice(task, "software").toString(), task.machineModel);
    for (const QJsonValue &plugin : m_core.tasks->choice(task, "plugins").toArray())
        lines += QStringLiteral("Info: plug-in %1 %2")
                     .arg(plugin.toObject().value("name").toString(), plugin.toObject().value("version").toString());
    lines += QStringLiteral("Info: scene %1").arg(work.sceneFile.isEmpty() ? task.name : work.sceneFile);
    for (const QString &key : qAsConst(task.keys))
        if (!task.here.contains(key))
            lines += QStringLiteral("WARNING: %1 isn't on the farm").arg(key);
    return lines;
}

std::shared_ptr<RenderWork> Renderer::workOf(const Task &task, int index, const QString &seed,
                                             const QString &node) const
{
    auto work = std::make_shared<RenderWork>();
    const TaskFrame &frame = task.frames.at(index);
    work->task = task.id;
    work->index = index;
    work->picture = pictureOf(task, index, seed);
    work->command = m_core.options.renderCommands.value(task.softwareType);
    work->target = m_core.tasks->resultFile(task.id, frame.job.path);
    work->log = m_core.options.dir + QLatin1Char('/') + m_core.tasks->logPath(task, index);
    work->node = node;
    work->fail = fails(task, index);
    work->seconds = m_core.options.frameSeconds;
    work->logBytes = m_core.faults.number(QStringLiteral("log-bytes"), 0);
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
    const QString scene = task.body.value("scene").toString();
    work->sceneFile = m_core.store->fileOf(cleanKey(scene), &hash);
    if (work->sceneFile.isEmpty())
        work->sceneFile = m_core.drive->sceneFile(task.body, &hash);
    work->head = logHead(task, index, *work);
    if (!node.isEmpty())
        work->head.prepend(QStringLiteral("Info: node %1").arg(node));
    return work;
}

} // namespace farm
