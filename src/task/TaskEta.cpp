#include "task/TaskEta.h"
#include "task/Cell.h"
#include <cmath>
#include <QCoreApplication>

namespace
{
constexpr int MostRuns = 64;
constexpr double FourOfFive = 1.28; // standard deviations
// Before anything is known of how frames differ: half of their mean, with the weight of so many looks.
constexpr double GuessedRatio = 0.5, GuessWeight = 2;
constexpr int Minute = 60, Hour = 3600, Day = 86400;

QString words(const char *text) { return QCoreApplication::translate("TaskEta", text); }

// To the accuracy that such a guess has: "40 秒", "20 分", "2 小时 10 分", "1 天 3 小时".
QString spanText(double seconds)
{
    if (seconds < Minute)
        return words(QT_TRANSLATE_NOOP("TaskEta", "%1 秒")).arg(qMax(10, int(std::lround(seconds / 10) * 10)));
    const qlonglong minutes = std::llround(seconds / Minute);
    if (minutes < 60)
        return words(QT_TRANSLATE_NOOP("TaskEta", "%1 分")).arg(minutes);
    if (minutes < Day / Minute)
        return minutes % 60 == 0
                   ? words(QT_TRANSLATE_NOOP("TaskEta", "%1 小时")).arg(minutes / 60)
                   : words(QT_TRANSLATE_NOOP("TaskEta", "%1 小时 %2 分")).arg(minutes / 60).arg(minutes % 60);
    const qlonglong hours = std::llround(seconds / Hour);
    return hours % 24 == 0 ? words(QT_TRANSLATE_NOOP("TaskEta", "%1 天")).arg(hours / 24)
                           : words(QT_TRANSLATE_NOOP("TaskEta", "%1 天 %2 小时")).arg(hours / 24).arg(hours % 24);
}
} // namespace

QString TaskEta::text() const
{
    if (!known())
        return {};
    const QString about = words(QT_TRANSLATE_NOOP("TaskEta", "约 %1，±%2")).arg(spanText(seconds), spanText(spread));
    return rough() ? words(QT_TRANSLATE_NOOP("TaskEta", "%1（各帧相差较大）")).arg(about) : about;
}

void EtaBook::see(const TaskRecord &task)
{
    Seen &seen = m_seen[task.id];
    const int frames = task.successFrame - seen.frames;
    const qlonglong seconds = task.succSeconds - seen.seconds;
    if (frames < 0 || seconds < 0) { // rendered again
        seen = Seen();
        return see(task);
    }
    if (frames == 0)
        return;
    seen.frames = task.successFrame;
    seen.seconds = task.succSeconds;
    if (seen.runs.size() >= MostRuns) { // the two oldest as one
        seen.runs[1] = {seen.runs.at(0).frames + seen.runs.at(1).frames,
                        seen.runs.at(0).seconds + seen.runs.at(1).seconds};
        seen.runs.removeFirst();
    }
    seen.runs << Run{frames, double(seconds)};
}

// Those that are done, of which one is one frame: no light caches, no blocks, no ranges.
void EtaBook::see(const QString &task, const QList<SubTask> &frames)
{
    Seen &seen = m_seen[task];
    for (const SubTask &one : frames)
        if (one.status == SubTask::Done && one.type == 0 && one.first == one.last && one.seconds > 0 &&
            (seen.single.size() < MostFrames || seen.single.contains(one.id)))
            seen.single.insert(one.id, one.seconds);
}

TaskEta EtaBook::of(const TaskRecord &task) const
{
    TaskEta eta;
    if (task.stand.stage != TaskState::Render || task.stand.status != TaskState::Running || task.successFrame <= 0 ||
        task.succSeconds <= 0)
        return eta;
    const int counted = task.untreatedFrame + task.renderingFrame;
    const int left = counted > 0 ? counted : task.totalFrame - task.successFrame - task.failureFrame - task.cancelFrame;
    if (left <= 0)
        return eta;
    const double done = task.successFrame, mean = task.succSeconds / done;
    double squares = GuessWeight * std::pow(GuessedRatio * mean, 2), looks = GuessWeight;
    const Seen seen = m_seen.value(task.id);
    for (const Run &run : seen.runs)
        squares += run.frames * std::pow(run.seconds / run.frames - mean, 2);
    for (const qlonglong seconds : seen.single)
        squares += std::pow(seconds - mean, 2);
    looks += qMax(0, seen.runs.size() - 1) + qMax(0, seen.single.size() - 1); // one each is used up by the mean
    const double variance = squares / looks;
    // How many frames are rendered at once: now, or else as it was on the whole.
    double lanes = task.renderingFrame;
    if (lanes <= 0 && task.totalSeconds > 0)
        lanes = double(task.succSeconds) / task.totalSeconds;
    lanes = qBound(1.0, lanes, double(left));
    const double work = left - 0.5 * qMin(task.renderingFrame, left); // those under way are half done, as a rule
    eta.seconds = work * mean / lanes;
    eta.spread = FourOfFive * std::sqrt(work * variance + work * work * variance / done) / lanes;
    return eta;
}

void EtaBook::keep(const QSet<QString> &ids)
{
    if (m_seen.size() <= MostTasks)
        return;
    for (auto it = m_seen.begin(); it != m_seen.end();)
        it = ids.contains(it.key()) ? std::next(it) : m_seen.erase(it);
}

QString TaskText::expectedCost(const TaskRecord &task)
{
    const double sofar = Cell::real(QJsonValue(task.cost));
    const int done = task.successFrame + task.failureFrame;
    const bool goesOn = task.stand.stage == TaskState::Render && task.stand.status != TaskState::Ended;
    if (sofar <= 0 || done <= 0 || done >= task.totalFrame || !goesOn)
        return {};
    return words(QT_TRANSLATE_NOOP("TaskEta", "约 %1"))
        .arg(sofar * (task.totalFrame - task.cancelFrame) / done, 0, 'f', 2);
}
