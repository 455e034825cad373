// The sub-tasks of a task: planned, added, started, ended, rendered again; and what of them is kept.
#include "Account.h"
#include "Core.h"
#include "tasks/Tasks.h"
#include <algorithm>
#include <QDateTime>
#include <QJsonDocument>

namespace farm
{

namespace
{
qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }

constexpr int maxBlocks = 64;

QJsonObject extraOf(const TaskFrame &one)
{
    return {{"camera", one.job.camera}, {"frame", one.job.frame}, {"width", one.job.width}, {"height", one.job.height},
            {"key", one.job.key},       {"path", one.job.path},   {"place", one.job.place}, {"count", one.job.count},
            {"kind", one.kind},         {"flag", one.flag},       {"parent", one.parent},   {"block", one.block}};
}

TaskFrame frameOf(const QJsonObject &extra)
{
    TaskFrame one;
    one.job = {extra.value("camera").toString(), extra.value("frame").toInt(), extra.value("width").toInt(),
               extra.value("height").toInt(),    extra.value("key").toBool(),  extra.value("path").toString(),
               extra.value("place").toInt(),     extra.value("count").toInt(1)};
    one.kind = extra.value("kind").toInt();
    one.flag = extra.value("flag").toInt();
    one.parent = extra.value("parent").toInt(-1);
    one.block = extra.value("block").toInt();
    return one;
}
} // namespace

// From the order and from what was stored since.
void Tasks::plan(Task &task)
{
    const QString scene = task.name.isEmpty() ? task.body.value("sceneName").toString() : task.name;
    task.frames.clear();
    QList<int> numbers;
    for (const FrameJob &job : framePlan(task.body, task.softwareType, scene, m_core.options.maxWidth)) {
        TaskFrame frame;
        frame.job = job;
        frame.kind = task.main ? LightCache : WholeFrame;
        task.frames += frame;
        numbers += job.frame;
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    task.framesText = frameText(numbers);
    task.planned = task.frames.size();
    const auto known = [&task](const QSqlQuery &row) {
        const int index = row.value(0).toInt();
        return index >= 0 && index < task.frames.size() ? &task.frames[index] : nullptr;
    };
    m_core.db.each(QStringLiteral("select idx, head from extra where mid = ? order by idx"), {task.id},
                   [&](const QSqlQuery &row) {
                       if (row.value(0).toInt() != task.frames.size())
                           return; // what came before it is lost, so its place can't be kept
                       const TaskFrame one = frameOf(QJsonDocument::fromJson(row.value(1).toByteArray()).object());
                       if (one.kind == BlockOfFrame && one.parent >= 0 && one.parent < task.frames.size()) {
                           TaskFrame &whole = task.frames[one.parent];
                           whole.firstBlock = whole.blocks++ == 0 ? task.frames.size() : whole.firstBlock;
                       }
                       task.frames += one;
                   });
    m_core.db.each(QStringLiteral("select idx, id from result where mid = ?"), {task.id}, [&](const QSqlQuery &row) {
        if (TaskFrame *one = known(row)) {
            one->state = FrameDone;
            one->result = row.value(1).toLongLong();
        }
    });
    m_core.db.each(
        QStringLiteral("select idx, state, started, ended, flag, replaced, late, tries, memory, node from sub "
                       "where mid = ?"),
        {task.id}, [&](const QSqlQuery &row) {
            TaskFrame *one = known(row);
            if (!one)
                return;
            const int state = row.value(1).toInt();
            one->state = state >= FrameDone && state <= FrameCancelled ? state : int(FrameWaiting);
            one->startedMs = row.value(2).toLongLong();
            one->endedMs = row.value(3).toLongLong();
            one->flag = row.value(4).toInt();
            one->replaced = row.value(5).toInt() == 1;
            one->late = row.value(6).toInt() == 1;
            one->tries = row.value(7).toInt();
            one->memoryMb = row.value(8).toInt();
            one->node = row.value(9).toString();
        });
    recount(task);
}

void Tasks::recount(Task &task)
{
    std::fill(std::begin(task.counts), std::end(task.counts), 0);
    task.goodMs = 0;
    task.firstWaiting = 0;
    for (const TaskFrame &one : qAsConst(task.frames)) {
        if (!Task::stands(one))
            continue;
        ++task.counts[one.state];
        task.goodMs += one.state == FrameDone ? one.endedMs - one.startedMs : 0;
    }
}

void Tasks::setFrame(Task &task, int index, int state)
{
    TaskFrame &one = task.frames[index];
    if (Task::stands(one)) {
        --task.counts[one.state];
        ++task.counts[state];
        task.goodMs -= one.state == FrameDone ? one.endedMs - one.startedMs : 0;
    }
    one.state = state;
    if (state == FrameWaiting) {
        const int from = one.kind == BlockOfFrame ? one.parent : index;
        task.firstWaiting = qMin(task.firstWaiting, from);
        one.startedMs = one.endedMs = 0;
    } else if (state == FrameRunning) {
        one.startedMs = now();
        one.endedMs = 0;
    } else {
        one.endedMs = now();
        if (one.startedMs == 0)
            one.startedMs = one.endedMs;
    }
    if (Task::stands(one))
        task.goodMs += state == FrameDone ? one.endedMs - one.startedMs : 0;
}

void Tasks::keepFrame(const Task &task, int index)
{
    const TaskFrame &one = task.frames.at(index);
    m_core.db.run(
        QStringLiteral("replace into sub(mid, idx, state, started, ended, flag, replaced, late, tries, memory, "
                       "node) values(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
        {task.id, index, one.state, one.startedMs, one.endedMs, one.flag, one.replaced ? 1 : 0, one.late ? 1 : 0,
         one.tries, one.memoryMb, one.node});
}

void Tasks::keepExtra(const Task &task, int index)
{
    m_core.db.run(QStringLiteral("replace into extra(mid, idx, head) values(?, ?, ?)"),
                  {task.id, index,
                   QString::fromUtf8(QJsonDocument(extraOf(task.frames.at(index))).toJson(QJsonDocument::Compact))});
}

int Tasks::append(Task &task, const TaskFrame &frame)
{
    const int index = task.frames.size();
    task.frames += frame;
    if (frame.kind == BlockOfFrame && frame.parent >= 0) {
        TaskFrame &whole = task.frames[frame.parent];
        whole.firstBlock = whole.blocks++ == 0 ? index : whole.firstBlock;
    }
    if (Task::stands(frame))
        ++task.counts[frame.state];
    keepExtra(task, index);
    return index;
}

// A priority frame is rendered in as many pieces as the order tells, so that the first picture comes soon.
void Tasks::addBlocks(Task &task)
{
    const int blocks = qMin(maxBlocks, task.body.value("blocksCount").toVariant().toInt());
    if (blocks < 2 || task.main)
        return;
    Db::Batch batch(m_core.db);
    for (int i = 0; i < task.planned && task.frames.at(i).job.key; ++i) {
        for (int block = 0; block < qMin(blocks, task.frames.at(i).job.height); ++block) {
            TaskFrame piece;
            piece.job = task.frames.at(i).job;
            piece.job.path =
                QStringLiteral("blocks/%1.%2.png").arg(piece.job.path).arg(block + 1, 2, 10, QLatin1Char('0'));
            piece.kind = BlockOfFrame;
            piece.parent = i;
            piece.block = block;
            append(task, piece);
        }
    }
}

// Modes that make a light cache of their own: it's a task beside the order, rendered first, every so many frames in the
// size told for it, and put together at its end.
void Tasks::addLightCache(Task &task)
{
    const QJsonObject model = task.body.value("modelParameters").toObject();
    const int mode = model.value("vrMode").toVariant().toInt();
    if (task.softwareType != 3 || task.main || task.cache || !QList<int>{1, 3, 4, 6}.contains(mode))
        return;
    QJsonObject own = model;
    const int step = qMax(1, model.value("giStep").toVariant().toInt());
    const QVector<int> numbers = frameNumbers(model.value("frames").toVariant().toString());
    QStringList some;
    for (int i = 0; i < numbers.size(); i += step)
        some += QString::number(numbers.at(i));
    own.insert("frames", some.join(QLatin1Char(',')));
    for (const char *side : {"Width", "Height"}) {
        const QJsonValue given = model.value(QStringLiteral("gi") + QLatin1String(side));
        if (given.toVariant().toInt() > 0)
            own.insert(QString::fromLatin1(side).toLower(), given);
    }
    const QString num = freeNumber();
    const int id = m_next++;
    Task &cache = m_tasks[id];
    cache.id = id;
    cache.num = num;
    cache.user = task.user;
    cache.name = task.name;
    cache.projectName = task.projectName;
    cache.projectId = task.projectId;
    cache.machineModel = task.machineModel;
    cache.softwareType = task.softwareType;
    cache.clientFlag = 0;
    cache.stage = task.stage;
    cache.status = Queued;
    cache.ordered = cache.uploaded = true;
    cache.appliedMs = task.appliedMs;
    cache.confirmMs = task.confirmMs;
    cache.submitMs = task.submitMs;
    cache.priority = task.priority - 0.5;
    cache.main = task.id;
    task.cache = id;
    cache.body = task.body;
    cache.body.insert("modelParameters", own);
    cache.body.remove("keyFrames");
    cache.here = task.here;
    save(cache);
    saveBody(cache);
    save(task);
    plan(cache);
    if (cache.planned > 1) {
        TaskFrame merged;
        merged.job = cache.frames.first().job;
        merged.job.path = QStringLiteral("merged/%1").arg(merged.job.path.section(QLatin1Char('/'), -1));
        merged.kind = MergedCache;
        append(cache, merged);
    }
    emit m_core.orderChanged(id);
}

int Tasks::indexOf(const Task &task, qint64 id) const
{
    const qint64 index = id - subTaskId(task, 0);
    return index >= 0 && index < task.frames.size() ? int(index) : -1;
}

void Tasks::frameStarted(Task &task, int index, const QString &node)
{
    setFrame(task, index, FrameRunning);
    task.frames[index].node = node;
    ++task.frames[index].tries;
    if (task.frames.at(index).kind == BlockOfFrame)
        settleBlocks(task, task.frames.at(index).parent);
}

void Tasks::frameWaits(Task &task, int index)
{
    setFrame(task, index, FrameWaiting);
    keepFrame(task, index);
    if (task.frames.at(index).kind == BlockOfFrame)
        settleBlocks(task, task.frames.at(index).parent);
}

void Tasks::frameEnded(Task &task, int index, int state, qint64 size, const QString &hash)
{
    TaskFrame &frame = task.frames[index];
    if (state == FrameDone) {
        m_core.db.run(QStringLiteral("delete from result where mid = ? and path = ?"),
                      {task.id, frame.job.path}); // rendered again
        frame.result = m_core.db.insert(
            QStringLiteral("insert into result(mid, idx, path, frame, size, hash, keyframe, pushed, confirmed, "
                           "downloaded, block) values(?, ?, ?, ?, ?, ?, ?, 0, 0, 0, ?)"),
            {task.id, index, frame.job.path, frame.job.frame, size, hash, frame.job.key ? 1 : 0,
             frame.kind == BlockOfFrame ? 1 : 0});
        if (frame.result < 0)
            state = FrameFailed;
    }
    setFrame(task, index, state);
    const qint64 limit = m_core.account->config().value("timeout").toVariant().toLongLong() * 60000; // told in minutes
    frame.late = limit > 0 && frame.endedMs - frame.startedMs > limit;
    keepFrame(task, index);
    if (frame.kind == BlockOfFrame)
        settleBlocks(task, frame.parent);
}

void Tasks::frameWas(Task &task, int index, qint64 startedMs, qint64 endedMs, int memoryMb)
{
    TaskFrame &one = task.frames[index];
    if (Task::stands(one) && one.state == FrameDone)
        task.goodMs += (endedMs - startedMs) - (one.endedMs - one.startedMs);
    one.startedMs = startedMs;
    one.endedMs = endedMs;
    one.memoryMb = qMax(one.memoryMb, memoryMb);
    keepFrame(task, index);
}

// While a piece runs the frame runs; once none runs or waits, it ends as its pieces did, but for one that is whole:
// that waits to be put together.
void Tasks::settleBlocks(Task &task, int frame)
{
    const TaskFrame &whole = task.frames.at(frame);
    int by[6] = {0, 0, 0, 0, 0, 0};
    for (int i = whole.firstBlock; i < whole.firstBlock + whole.blocks; ++i)
        ++by[task.frames.at(i).state];
    if (whole.state == FrameDone || whole.state == FrameCancelled)
        return;
    const int state = by[FrameRunning] > 0                                    ? FrameRunning
                      : by[FrameWaiting] > 0 || by[FrameDone] == whole.blocks ? FrameWaiting
                      : by[FrameFailed] > 0                                   ? FrameFailed
                                                                              : FrameCancelled;
    if (state == whole.state)
        return;
    setFrame(task, frame, state);
    if (state != FrameRunning)
        keepFrame(task, frame);
}

void Tasks::replace(Task &task, int index)
{
    TaskFrame &one = task.frames[index];
    if (Task::stands(one)) {
        --task.counts[one.state];
        task.goodMs -= one.state == FrameDone ? one.endedMs - one.startedMs : 0;
    }
    one.replaced = true;
    keepFrame(task, index);
}

int Tasks::resetFailed(Task &task)
{
    Db::Batch batch(m_core.db);
    int count = 0;
    for (int i = 0; i < task.frames.size(); ++i) {
        if (task.frames.at(i).state != FrameFailed || task.frames.at(i).replaced)
            continue;
        task.frames[i].flag = AgainFailed;
        count += Task::stands(task.frames.at(i)) ? 1 : 0;
        setFrame(task, i, FrameWaiting);
        keepFrame(task, i);
    }
    return count;
}

QVector<int> Tasks::listed(const Task &task) const
{
    QHash<int, int> next; // what is rendered again -> by which one
    for (int i = task.planned; i < task.frames.size(); ++i) {
        if (task.frames.at(i).kind != BlockOfFrame && task.frames.at(i).parent >= 0)
            next.insert(task.frames.at(i).parent, i);
    }
    QVector<int> list;
    for (int i = 0; i < task.frames.size(); ++i) {
        if (task.frames.at(i).kind == BlockOfFrame || task.frames.at(i).parent >= 0)
            continue;
        for (int at = i; at >= 0; at = next.value(at, -1))
            list += at;
    }
    return list;
}

QString Tasks::logPath(const Task &task, int index) const
{
    return QStringLiteral("logs/%1/%2.log").arg(task.id).arg(subTaskId(task, index));
}

void Tasks::note(const Task &task, int user, const QString &what)
{
    m_core.db.run(QStringLiteral("insert into oper(mid, ms, user, what) values(?, ?, ?, ?)"),
                  {task.id, now(), user, what});
}

QJsonArray Tasks::notes(const Task &task) const
{
    QJsonArray rows;
    m_core.db.each(QStringLiteral("select ms, user, what from oper where mid = ? order by id"), {task.id},
                   [&](const QSqlQuery &row) {
                       rows.append(QJsonObject{{"operator", m_core.account->nameOf(row.value(1).toInt())},
                                               {"time", timeText(row.value(0).toLongLong())},
                                               {"content", row.value(2).toString()}});
                   });
    return rows;
}

} // namespace farm
