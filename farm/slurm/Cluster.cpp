#include "slurm/Cluster.h"
#include "Core.h"
#include "slurm/JobFile.h"
#include "tasks/Renderer.h"
#include <algorithm>
#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QProcessEnvironment>
#include <QUuid>

namespace farm
{

namespace
{
constexpr int lookMs = 1000, callLimitMs = 20000;
constexpr int niceStep = 100;

QString quoted(QString word)
{
    return QLatin1Char('\'') + word.replace(QLatin1Char('\''), QStringLiteral("'\\''")) + QLatin1Char('\'');
}
} // namespace

Cluster::Cluster(Core &core, Renderer &renderer) : m_core(core), m_renderer(renderer)
{
    m_prefix = m_core.db.meta(QStringLiteral("slurm"));
    if (m_prefix.isEmpty()) {
        m_prefix = QStringLiteral("vn%1-").arg(QUuid::createUuid().toString(QUuid::WithoutBraces).left(8));
        m_core.db.setMeta(QStringLiteral("slurm"), m_prefix);
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SLURM_BITSTR_LEN"), QStringLiteral("0")); // long lists of frames whole
    environment.insert(QStringLiteral("SLURM_TIME_FORMAT"), QStringLiteral("standard"));
    m_process.setProcessEnvironment(environment);
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, &m_process, &QProcess::kill);
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, [this] { next(); });
    connect(
        &m_process, &QProcess::errorOccurred, this,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                next();
        },
        Qt::QueuedConnection);
    connect(&m_look, &QTimer::timeout, this, &Cluster::look);
    load();
    askConfig();
    m_look.start(lookMs);
}

Cluster::~Cluster()
{
    m_process.disconnect(this);
    m_process.kill();
    m_process.waitForFinished(1000);
}

void Cluster::load()
{
    m_core.db.each(QStringLiteral("select name, mid, job, places, gone from slurm"), {}, [this](const QSqlQuery &row) {
        Array array;
        array.name = row.value(0).toString();
        array.mid = row.value(1).toInt();
        array.job = row.value(2).toLongLong();
        array.indices = placesOf(row.value(3).toString());
        array.over.fill(0, array.indices.size());
        array.missed.fill(0, array.indices.size());
        for (int place : placesOf(row.value(4).toString())) {
            if (place < array.over.size())
                array.over[place] = Gone;
        }
        const Task *task = m_core.tasks->byId(array.mid);
        array.held = task && task->status == Paused;
        for (int i = 0; i < array.indices.size(); ++i) {
            const int index = array.indices.at(i);
            if (!task || index >= task->frames.size() || task->frames.at(index).state != FrameWaiting)
                array.over[i] = Gone;
            if (array.over.at(i) != Open)
                continue;
            ++array.open;
            m_where.insert(subTaskId(*task, index), array.name);
        }
        m_arrays.insert(array.name, array);
    });
}

// One program at a time, so that what is asked arrives in its order.
void Cluster::call(const QStringList &words, std::function<void(int, const QString &)> done, const QByteArray &input)
{
    m_calls.push_back({words, input, std::move(done)});
    if (!m_busy)
        next();
}

void Cluster::next()
{
    if (m_busy) {
        m_busy = false;
        m_limit.stop();
        const Call over = std::move(m_calls.front());
        m_calls.pop_front();
        const bool good =
            m_process.error() != QProcess::FailedToStart && m_process.exitStatus() == QProcess::NormalExit;
        const QString out = QString::fromUtf8(m_process.readAllStandardOutput());
        const QString wrong = QString::fromUtf8(m_process.readAllStandardError()).trimmed();
        const int code = good ? m_process.exitCode() : -1;
        if (code != 0 && over.done && wrong != m_wrong) // once, not with every look
            qWarning().noquote() << "farm::Cluster::next" << over.words.join(QLatin1Char(' ')).left(200) << code
                                 << wrong.left(300);
        m_wrong = code != 0 && over.done ? wrong : m_wrong;
        if (over.done)
            over.done(code, out);
    }
    if (m_busy || m_calls.empty())
        return;
    m_busy = true;
    m_limit.start(callLimitMs);
    m_process.start(m_calls.front().words.first(), m_calls.front().words.mid(1));
    if (m_busy && m_process.state() != QProcess::NotRunning) {
        m_process.write(m_calls.front().input);
        m_process.closeWriteChannel();
    }
}

void Cluster::askConfig()
{
    call({"scontrol", "show", "config"}, [this](int code, const QString &out) {
        const int most = configValue(out, QStringLiteral("MaxArraySize")).toInt();
        answers(code == 0 && most > 1);
        if (code != 0 || most <= 1)
            return;
        m_maxArray = most - 1;
        m_accounting = m_core.options.slurmAccounting;
        if (m_accounting.isEmpty() &&
            configValue(out, QStringLiteral("JobCompType")) == QLatin1String("jobcomp/filetxt"))
            m_accounting = configValue(out, QStringLiteral("JobCompLoc"));
        m_core.event(QStringLiteral("cluster %1, accounting %2")
                         .arg(configValue(out, QStringLiteral("ClusterName")), m_accounting));
        m_renderer.wake();
    });
    call({"sinfo", "-h", "-o", "%C"}, [this](int code, const QString &out) {
        if (code == 0)
            m_processors = qMax(1, out.trimmed().section(QLatin1Char('/'), 3).toInt());
    });
}

void Cluster::answers(bool yes)
{
    if (yes == m_silent)
        m_core.event(yes ? QStringLiteral("the cluster answers again") : QStringLiteral("the cluster doesn't answer"));
    m_silent = !yes;
}

bool Cluster::has(const Task &task, int index) const { return m_where.contains(subTaskId(task, index)); }

int Cluster::rank(int mid) const
{
    int at = 0;
    for (const Task *task : m_core.tasks->all()) {
        if (task->id == mid)
            break;
        at += task->rendering() ? 1 : 0;
    }
    return at;
}

void Cluster::submit(Task &task, const QVector<int> &indices, const QString &seed)
{
    for (int from = 0; from < indices.size(); from += m_maxArray) {
        const QVector<int> some = indices.mid(from, m_maxArray);
        const int serial = m_core.db.meta(QStringLiteral("slurm-serial")).toInt() + 1;
        Array array;
        array.name = QStringLiteral("%1%2-%3").arg(m_prefix).arg(task.id).arg(serial);
        array.mid = task.id;
        array.indices = some;
        array.over.fill(0, some.size());
        array.missed.fill(0, some.size());
        array.open = some.size();
        QList<std::shared_ptr<RenderWork>> works;
        for (int index : some)
            works += m_renderer.workOf(task, index, seed, QString());
        const QString file = framesFile(array.name);
        if (!writeJobFile(file, works) || !m_core.db.setMeta(QStringLiteral("slurm-serial"), QString::number(serial)) ||
            !keep(array)) {
            qWarning().noquote() << "farm::Cluster::submit" << file << "couldn't be kept";
            return;
        }
        for (int index : some)
            m_where.insert(subTaskId(task, index), array.name);
        Array &kept = m_arrays[array.name] = array;
        send(kept);
    }
}

QString Cluster::framesFile(const QString &array) const
{
    return QStringLiteral("%1/%2.frames").arg(m_core.folder(QStringLiteral("slurm")), array);
}

bool Cluster::keep(const Array &array)
{
    QVector<int> gone;
    for (int i = 0; i < array.over.size(); ++i) {
        if (array.over.at(i) == Gone)
            gone += i;
    }
    return m_core.db.run(QStringLiteral("replace into slurm(name, mid, job, places, gone) values(?, ?, ?, ?, ?)"),
                         {array.name, array.mid, array.job, placesText(array.indices), placesText(gone)});
}

void Cluster::send(Array &array)
{
    const Task *task = m_core.tasks->byId(array.mid);
    if (!task || array.asking)
        return;
    QVector<int> places;
    for (int i = 0; i < array.over.size(); ++i) {
        if (!array.over.at(i))
            places += i;
    }
    if (places.isEmpty())
        return;
    array.asking = true;
    array.nice = rank(array.mid) * niceStep;
    array.held = task->status == Paused;
    const QString folder = m_core.folder(QStringLiteral("slurm"));
    QStringList words{
        "sbatch",
        "--parsable",
        QStringLiteral("--job-name=%1").arg(array.name),
        QStringLiteral("--array=%1%2")
            .arg(placesText(places), task->nodeLimit > 0 ? QStringLiteral("%%1").arg(task->nodeLimit) : QString()),
        QStringLiteral("--nice=%1").arg(array.nice),
        QStringLiteral("--chdir=%1").arg(folder),
        QStringLiteral("--output=%1/%2-%a.out").arg(folder, array.name),
        QStringLiteral("--export=PATH,HOME,LANG,LD_LIBRARY_PATH"),
        QStringLiteral("--comment=%1").arg(task->num)};
    if (array.held)
        words += QStringLiteral("--hold");
    words += QProcess::splitCommand(m_core.options.slurmOptions);
    const QString script = QStringLiteral("#!/bin/sh\nexec %1 --render-frame %2 \"$SLURM_ARRAY_TASK_ID\"\n")
                               .arg(quoted(m_core.options.slurmProgram), quoted(framesFile(array.name)));
    call(
        words,
        [this, name = array.name](int code, const QString &out) {
            const auto found = m_arrays.find(name);
            const qint64 job = out.trimmed().section(QLatin1Char(';'), 0, 0).toLongLong();
            if (found == m_arrays.end()) {
                if (job > 0)
                    call({"scancel", QString::number(job)}); // taken back meanwhile
                return;
            }
            found->asking = false;
            if (code != 0 || job <= 0)
                return; // the next look finds it by its name, or hands it over again
            found->job = job;
            keep(*found);
            m_core.event(QStringLiteral("job %1 for %2, %3 frames").arg(job).arg(found->mid).arg(found->open));
            const Task *now = m_core.tasks->byId(found->mid);
            if (now && (now->status == Paused) != found->held)
                found->held ? release(*now) : hold(*now);
        },
        script.toUtf8());
}

QList<Cluster::Array *> Cluster::of(const Task &task)
{
    QList<Array *> list;
    for (Array &one : m_arrays) {
        if (one.mid == task.id)
            list += &one;
    }
    return list;
}

void Cluster::hold(const Task &task)
{
    for (Array *one : of(task)) {
        one->held = true;
        if (one->job > 0)
            call({"scontrol", "hold", QString::number(one->job)});
    }
}

void Cluster::release(const Task &task)
{
    for (Array *one : of(task)) {
        one->held = false;
        if (one->job > 0)
            call({"scontrol", "release", QString::number(one->job)});
    }
}

void Cluster::limit(const Task &task)
{
    for (Array *one : of(task)) {
        if (one->job > 0)
            call({"scontrol", "update", QStringLiteral("JobId=%1").arg(one->job),
                  QStringLiteral("ArrayTaskThrottle=%1").arg(task.nodeLimit)});
    }
}

void Cluster::reorder()
{
    for (Array &one : m_arrays) {
        const int nice = rank(one.mid) * niceStep;
        if (one.job > 0 && one.nice != nice)
            call({"scontrol", "update", QStringLiteral("JobId=%1").arg(one.job), QStringLiteral("Nice=%1").arg(nice)});
        one.nice = nice;
    }
}

void Cluster::take(const Task &task, int index)
{
    const auto found = m_arrays.find(m_where.value(subTaskId(task, index)));
    if (found == m_arrays.end())
        return;
    const int place = found->indices.indexOf(index);
    if (found->job > 0)
        call({"scancel", QStringLiteral("%1_%2").arg(found->job).arg(place)});
    close(*found, place);
    keep(*found);
    forgetEmpty();
}

void Cluster::takeAll(const Task &task)
{
    for (Array *one : of(task)) {
        if (one->job > 0)
            call({"scancel", QString::number(one->job)});
        for (int i = 0; i < one->indices.size(); ++i)
            close(*one, i);
    }
    forgetEmpty();
}

void Cluster::close(Array &array, int place)
{
    if (place < 0 || place >= array.over.size() || array.over.at(place) == Gone)
        return;
    array.over[place] = Gone;
    --array.open;
    m_where.remove(array.mid * SubTaskStep + array.indices.at(place));
}

void Cluster::forgetEmpty()
{
    for (auto it = m_arrays.begin(); it != m_arrays.end();) {
        if (it->open > 0) {
            ++it;
            continue;
        }
        m_core.db.run(QStringLiteral("delete from slurm where name = ?"), {it->name});
        QFile::remove(framesFile(it->name));
        removeEndFiles(framesFile(it->name));
        it = m_arrays.erase(it);
    }
}

} // namespace farm
