#include "task/TaskNews.h"
#include "common/facts/TaskState.h"
#include "task/Cell.h"
#include <algorithm>

namespace
{
constexpr int MostNames = 3, MostWaiting = 10000;
}

TaskNews::TaskNews(int spacingMs, QObject *parent) : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(spacingMs);
    connect(&m_timer, &QTimer::timeout, this, &TaskNews::tell);
}

void TaskNews::over(const QJsonObject &task)
{
    One one;
    one.id = Cell::id(task, "missionId").isEmpty() ? Cell::id(task, "id") : Cell::id(task, "missionId");
    one.name = Cell::text(task, "name").isEmpty() ? Cell::text(task, "missionName") : Cell::text(task, "name");
    if (one.name.isEmpty())
        one.name = one.id.isEmpty() ? Cell::text(task, "content") : tr("任务 %1").arg(one.id);
    const int result = Cell::integer(task, "result");
    const bool lacking = Cell::integer(task, "failureFrame") > 0;
    one.end = result == TaskState::Cancelled           ? One::Cancelled
              : result == TaskState::Failed || lacking ? One::Failed
                                                       : One::Done;
    if (one.name.isEmpty() || m_waiting.size() >= MostWaiting)
        return;
    m_waiting << one;
    if (!m_timer.isActive())
        tell();
}

void TaskNews::tell()
{
    if (m_waiting.isEmpty())
        return;
    m_timer.start();
    const QList<One> all = std::exchange(m_waiting, {});
    const auto count = [&all](One::End end) {
        return int(std::count_if(all.begin(), all.end(), [end](const One &one) { return one.end == end; }));
    };
    QStringList names, ids, sums;
    for (const One &one : all) {
        if (!one.id.isEmpty() && !ids.contains(one.id))
            ids << one.id;
        if (names.size() < MostNames && !names.contains(one.name))
            names << one.name;
    }
    const int done = count(One::Done), failed = count(One::Failed), cancelled = count(One::Cancelled);
    if (done > 0)
        sums << (all.size() == 1 ? tr("任务渲染完成") : tr("%1 个任务渲染完成").arg(done));
    if (failed > 0)
        sums << (all.size() == 1 ? tr("任务有失败的帧") : tr("%1 个任务有失败的帧").arg(failed));
    if (cancelled > 0)
        sums << (all.size() == 1 ? tr("任务已取消") : tr("%1 个任务已取消").arg(cancelled));
    QString text = names.join(QStringLiteral("、"));
    if (all.size() > names.size())
        text += tr("等 %1 个").arg(all.size());
    emit note(sums.join(QStringLiteral("，")), text, failed > 0, ids);
}
