// What has become of the frames that were handed over.
#include "Core.h"
#include "slurm/Cluster.h"
#include "slurm/JobFile.h"
#include "tasks/Renderer.h"
#include <QDebug>
#include <QFile>
#include <QPointer>

namespace farm
{

namespace
{
constexpr char missedLooks = 3; // in which neither queue nor accounting know of a frame
constexpr qint64 mostAtOnce = 8 << 20;

bool putBack(const QString &state) // Slurm itself puts such a job into its queue again
{
    return state == QLatin1String("NODE_FAIL") || state == QLatin1String("REQUEUED") ||
           state == QLatin1String("PREEMPTED");
}
} // namespace

void Cluster::look()
{
    if (!m_calls.empty())
        return; // the controller is slow enough already
    if (!ready())
        return askConfig();
    if (m_arrays.isEmpty())
        return;
    call({"squeue", "-h", "-a", "-o", QLatin1String(QueueFormat)}, [this](int code, const QString &out) {
        answers(code == 0);
        if (code != 0)
            return;
        readEnds();
        readQueue(out);
    });
}

void Cluster::readQueue(const QString &text)
{
    QHash<QString, QHash<int, QString>> running; // name -> place -> node
    QHash<QString, QSet<int>> waiting;
    for (const QueueLine &line : queueLines(text)) {
        const auto array = m_arrays.find(line.name);
        if (array == m_arrays.end())
            continue;
        if (array->job == 0) { // handed over, but the answer was lost
            array->job = line.job;
            keep(*array);
        }
        for (int place : line.places) {
            if (line.state == QLatin1String("PENDING") || line.state == QLatin1String("CONFIGURING") ||
                line.places.size() > 1)
                waiting[line.name].insert(place);
            else
                running[line.name].insert(place, line.node);
        }
    }
    for (const QString &name : m_arrays.keys()) {
        const auto array = m_arrays.find(name);
        if (array == m_arrays.end() || array->asking)
            continue;
        if (array->job == 0) {
            send(*array);
            continue;
        }
        Task *task = m_core.tasks->byId(array->mid);
        for (int place = 0; task && place < array->indices.size() && array != m_arrays.end(); ++place) {
            if (array->over.at(place))
                continue;
            const int index = array->indices.at(place), state = task->frames.at(index).state;
            const bool runs = running.value(name).contains(place), waits = waiting.value(name).contains(place);
            array->missed[place] = runs || waits ? 0 : array->missed.at(place) + 1;
            if (runs && state == FrameWaiting) {
                m_renderer.clusterStarted(*task, index, running.value(name).value(place));
            } else if (waits && state == FrameRunning) {
                m_core.tasks->frameWaits(*task, index);
                m_renderer.wake();
            } else if (EndLine end; array->missed.at(place) > 0 && readEndFile(framesFile(name), place, &end)) {
                ended(*array, place, end);
            } else if (array->missed.at(place) >= missedLooks) {
                const bool there = QFile::exists(m_core.tasks->resultFile(task->id, task->frames.at(index).job.path));
                end.state = there ? QStringLiteral("COMPLETED") : QStringLiteral("LOST");
                ended(*array, place, end);
            }
        }
    }
    forgetEmpty();
}

// The accounting grows at its end; it's read on from where the last whole line ended.
void Cluster::readEnds()
{
    QFile file(m_accounting);
    if (m_accounting.isEmpty() || !file.open(QIODevice::ReadOnly))
        return;
    const QString key = QStringLiteral("slurm-ends");
    qint64 from = m_core.db.meta(key).toLongLong();
    if (from > file.size())
        from = 0; // begun anew
    file.seek(from);
    QByteArray bytes = file.read(mostAtOnce);
    bytes.truncate(bytes.lastIndexOf('\n') + 1);
    for (const QByteArray &line : bytes.split('\n')) {
        EndLine end;
        if (!line.contains(m_prefix.toLatin1()) || !endLine(QString::fromUtf8(line), &end))
            continue;
        const auto array = m_arrays.find(end.name);
        if (array == m_arrays.end() || end.place >= array->over.size() || array->over.at(end.place) ||
            putBack(end.state))
            continue;
        ended(*array, end.place, end);
    }
    if (!bytes.isEmpty())
        m_core.db.setMeta(key, QString::number(from + bytes.size()));
}

void Cluster::ended(Array &array, int place, const EndLine &end)
{
    const int mid = array.mid, index = array.indices.at(place);
    Task *task = m_core.tasks->byId(mid);
    if (!task || index >= task->frames.size())
        return close(array, place);
    array.over[place] = Ending;
    m_core.event(QStringLiteral("frame %1 of %2 ended").arg(index).arg(array.name));
    if (task->frames.at(index).state == FrameWaiting)
        m_renderer.clusterStarted(*task, index, end.node);
    const bool good = end.state == QLatin1String("COMPLETED") && end.exitCode == 0;
    if (!good) {
        QFile log(m_core.options.dir + QLatin1Char('/') + m_core.tasks->logPath(*task, index));
        if (log.open(QIODevice::Append))
            log.write(
                QStringLiteral("ERROR: the job ended as %1, exit code %2\n").arg(end.state).arg(end.exitCode).toUtf8());
    }
    m_renderer.clusterEnded(*task, index, good, end.startMs, end.endMs,
                            [self = QPointer<Cluster>(this), name = array.name, place] {
                                if (self && self->m_arrays.contains(name)) // an empty one goes with the next look
                                    self->close(self->m_arrays[name], place);
                            });
}

} // namespace farm
