#include "task/TaskRecord.h"
#include "common/facts/SoftwareType.h"
#include "task/Cell.h"
#include <QDateTime>
#include <QJsonArray>
#include <QSet>
#include <tuple>

namespace
{
constexpr qlonglong FirstMillisecond = 100'000'000'000; // smaller ones are seconds
constexpr int MinuteS = 60, HourS = 3600, DayS = 86400;

auto all(const TaskRecord &one)
{
    return std::tie(one.id, one.name, one.num, one.project, one.frames, one.cost, one.memory, one.username, one.remark,
                    one.keyFrames, one.identity, one.gzId, one.farmId, one.software, one.stand, one.successFrame,
                    one.failureFrame, one.cancelFrame, one.totalFrame, one.renderingFrame, one.untreatedFrame,
                    one.timeout, one.confirmTime, one.submitTime, one.finishTime, one.totalSeconds, one.succSeconds);
}
} // namespace

TaskRecord TaskRecord::from(const QJsonObject &row)
{
    const auto count = [&](const char *key) { return qMax(0, Cell::integer(row, key)); };
    TaskRecord one;
    one.id = Cell::id(row, "id");
    one.name = Cell::text(row, "name");
    one.num = Cell::text(row, "num");
    one.project = Cell::text(row, "project");
    one.frames = Cell::text(row, "frames");
    one.cost = Cell::text(row, "cost");
    one.memory = Cell::text(row, "memory");
    one.username = Cell::text(row, "username");
    one.remark = Cell::text(row, "remark");
    one.keyFrames = Cell::text(row, "keyFrames");
    one.farmId = Cell::integer(row, "farmId");
    one.software = TaskState::softwareOf(one.name);
    if (one.software == SoftwareType::Max)
        one.identity = Cell::text(row, "identity");
    if (one.isMain())
        one.gzId = Cell::id(row, "GZ_ID");
    one.stand = {Cell::integer(row, "stage"), Cell::integer(row, "status"), Cell::integer(row, "result"),
                 Cell::integer(row, "subtype")};
    one.successFrame = count("successFrame");
    one.failureFrame = count("failureFrame");
    one.cancelFrame = count("cancelFrame");
    one.totalFrame = count("totalFrame");
    one.renderingFrame = count("renderingFrame");
    one.untreatedFrame = count("untreatedFrame");
    one.timeout = Cell::integer(row, "isTimeout") != 0;
    one.confirmTime = TaskText::time(row.value(QLatin1String("confirmTime")));
    one.submitTime = TaskText::time(row.value(QLatin1String("submitTime")));
    one.finishTime = TaskText::time(row.value(QLatin1String("finishTime")));
    one.totalSeconds = qMax(0LL, Cell::number(row, "totalSeconds"));
    one.succSeconds = qMax(0LL, Cell::number(row, "succSeconds"));
    return one;
}

QList<TaskRecord> TaskRecord::list(const QJsonValue &rows)
{
    QList<TaskRecord> out;
    QSet<QString> seen;
    for (const QJsonValue &row : rows.toArray()) {
        const TaskRecord one = from(row.toObject());
        if (one.id.isEmpty() || seen.contains(one.id))
            continue;
        seen.insert(one.id);
        out << one;
    }
    return out;
}

int TaskRecord::donePercent() const
{
    const qlonglong done = qlonglong(successFrame) + failureFrame + cancelFrame;
    return totalFrame > 0 ? int(qMin(100LL, done * 100 / totalFrame)) : 0;
}

bool TaskRecord::operator==(const TaskRecord &other) const { return all(*this) == all(other); }

QString TaskText::time(const QJsonValue &value)
{
    const QString text = Cell::text(value).trimmed();
    bool whole = false;
    const qlonglong stamp = text.toLongLong(&whole);
    if (!whole)
        return text;
    if (stamp <= 0)
        return {};
    const qlonglong ms = stamp < FirstMillisecond ? stamp * 1000 : stamp;
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString TaskText::duration(qlonglong seconds)
{
    if (seconds <= 0)
        return {};
    const auto two = [](qlonglong number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    const QString clock = QStringLiteral("%1:%2:%3")
                              .arg(two(seconds % DayS / HourS), two(seconds % HourS / MinuteS), two(seconds % MinuteS));
    return seconds < DayS ? clock : QStringLiteral("%1 %2").arg(seconds / DayS).arg(clock);
}
