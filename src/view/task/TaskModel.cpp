#include "view/task/TaskModel.h"
#include "common/ui/IconTool.h"
#include "common/UserInfo.h"
#include "task/TaskAct.h"
#include "view/task/TaskTint.h"

namespace
{
using C = Column<TaskRow>;

QString words(const char *text) { return TaskModel::tr(text); }
QString id(const char *name) { return QLatin1String(name); }

QString costText(const TaskRow &row)
{
    return UserInfo::denied(TaskAct::CostGrant) ? QStringLiteral("-") : row.task.cost;
}

QString averageText(const TaskRow &row)
{
    return row.task.successFrame > 0 ? TaskText::duration(row.task.succSeconds / row.task.successFrame) : QString();
}

C nameColumn()
{
    return C(id("name"), words(QT_TRANSLATE_NOOP("TaskModel", "任务名称")), 200)
        .text([](const TaskRow &row) { return row.task.name; })
        .tip([](const TaskRow &row) {
            return row.task.timeout
                       ? words(QT_TRANSLATE_NOOP("TaskModel", "%1\n有的帧渲染超时，请查看子任务")).arg(row.task.name)
                       : row.task.name;
        })
        .icon([](const TaskRow &row) { return row.task.timeout ? QStringLiteral("timeout") : QString(); })
        .role(Qt::FontRole,
              [](const TaskRow &row) {
                  QFont font;
                  font.setItalic(true);
                  return row.task.isLightCache() ? QVariant(font) : QVariant();
              })
        .role(TaskModel::Id, [](const TaskRow &row) { return row.task.id; })
        .role(TaskModel::Stage, [](const TaskRow &row) { return row.task.stand.stage; })
        .role(TaskModel::Status, [](const TaskRow &row) { return row.task.stand.status; })
        .role(TaskModel::Subtype, [](const TaskRow &row) { return row.task.stand.subtype; })
        .role(TaskModel::FarmId, [](const TaskRow &row) { return row.task.farmId; })
        .role(TaskModel::Software, [](const TaskRow &row) { return row.task.software; })
        .role(TaskModel::Identity, [](const TaskRow &row) { return row.task.identity; })
        .role(TaskModel::Result, [](const TaskRow &row) { return row.task.stand.result; })
        .role(TaskModel::GzId, [](const TaskRow &row) { return row.task.gzId; })
        .role(TaskModel::Success, [](const TaskRow &row) { return row.task.successFrame; })
        .role(TaskModel::KeyFrames, [](const TaskRow &row) { return row.task.keyFrames; })
        .stretch()
        .atLeast(140);
}

C statusColumn()
{
    return C(id("status"), words(QT_TRANSLATE_NOOP("TaskModel", "状态")), 104)
        .text([](const TaskRow &row) { return row.doing.isEmpty() ? row.task.statusText() : row.doing; })
        .tint([](const TaskRow &row) { return row.doing.isEmpty() ? taskTint(row.task.stand) : Tint::Quiet; })
        .tip([](const TaskRow &row) {
            const TaskRecord &task = row.task;
            return QStringLiteral("%1/%2/%3/%4")
                .arg(task.successFrame)
                .arg(task.failureFrame)
                .arg(task.cancelFrame)
                .arg(task.totalFrame);
        })
        .role(TaskModel::Text, [](const TaskRow &row) { return row.task.statusText(); })
        .role(TaskModel::Done, [](const TaskRow &row) { return row.task.successFrame; })
        .role(TaskModel::Failed, [](const TaskRow &row) { return row.task.failureFrame; })
        .role(TaskModel::Cancelled, [](const TaskRow &row) { return row.task.cancelFrame; })
        .role(TaskModel::Total, [](const TaskRow &row) { return row.task.totalFrame; })
        .unsorted()
        .atLeast(96);
}

// As a text for those who hear it, and for a copy of the cell; painted it is MissionProgress's.
C progressColumn()
{
    return C(id("progress"), words(QT_TRANSLATE_NOOP("TaskModel", "渲染中 | 成功 | 排队 | 失败 | 总帧数")), 280)
        .text([](const TaskRow &row) {
            const TaskRecord &task = row.task;
            return QStringLiteral("%1 | %2 | %3 | %4 | %5")
                .arg(task.renderingFrame)
                .arg(task.successFrame)
                .arg(task.untreatedFrame)
                .arg(task.failureFrame)
                .arg(task.totalFrame);
        })
        .tip([](const TaskRow &row) { return row.eta; })
        .unsorted()
        .atLeast(228)
        .giving(1);
}

C remarkColumn()
{
    return C(id("remark"), words(QT_TRANSLATE_NOOP("TaskModel", "备注")), 120)
        .text([](const TaskRow &row) { return row.task.remark; })
        .role(TaskModel::Remark, [](const TaskRow &row) { return row.task.remark; })
        .role(TaskModel::RemarkText, [](const TaskRow &row) { return row.task.remark; })
        .role(TaskModel::RemarkId, [](const TaskRow &row) { return row.task.id; })
        .unsorted()
        .atLeast(96)
        .giving(6);
}

C plain(const char *name, const QString &title, int width, int gives, QString (*text)(const TaskRow &))
{
    return C(id(name), title, width).text(text).unsorted().giving(gives).atLeast(width - 16);
}

C handColumn()
{
    return C(id("hand"), words(QT_TRANSLATE_NOOP("TaskModel", "操作")), 200)
        .role(TaskModel::HandStage, [](const TaskRow &row) { return row.task.stand.stage; })
        .role(TaskModel::HandStatus, [](const TaskRow &row) { return row.task.stand.status; })
        .role(TaskModel::HandFailed, [](const TaskRow &row) { return row.task.failureFrame; })
        .unsorted()
        .atLeast(152);
}

QVector<C> columns(TaskFilter::Page page)
{
    const bool live = page == TaskFilter::Live;
    C time = plain("confirm", words(QT_TRANSLATE_NOOP("TaskModel", "提交时间")), 148, 5,
                   [](const TaskRow &row) { return row.task.confirmTime; });
    time.sortable = true;
    QVector<C> all{C::tick(), nameColumn(),
                   plain("num", words(QT_TRANSLATE_NOOP("TaskModel", "订单号")), 128, 9,
                         [](const TaskRow &row) { return row.task.num; }),
                   plain("project", words(QT_TRANSLATE_NOOP("TaskModel", "项目")), 112, 7,
                         [](const TaskRow &row) { return row.task.project; }),
                   statusColumn()};
    if (live)
        all << progressColumn();
    all << plain("frames", words(QT_TRANSLATE_NOOP("TaskModel", "帧序列")), 96, 8,
                 [](const TaskRow &row) { return row.task.frames; })
        << plain("cost", words(QT_TRANSLATE_NOOP("TaskModel", "费用")), 72, 4, costText).right()
        << time
        // The labels of these two stand crossed over; that is how users know them.
        << plain("submit", words(QT_TRANSLATE_NOOP("TaskModel", "开始时间")), 148, 12,
                 [](const TaskRow &row) { return row.task.submitTime; })
        << plain("finish", words(QT_TRANSLATE_NOOP("TaskModel", "结束时间")), 148, 11,
                 [](const TaskRow &row) { return row.task.finishTime; })
        << plain("duration", words(QT_TRANSLATE_NOOP("TaskModel", "渲染时长")), 96, 10,
                 [](const TaskRow &row) { return TaskText::duration(row.task.totalSeconds); })
               .right()
        << plain("average", words(QT_TRANSLATE_NOOP("TaskModel", "平均单帧时间")), 112, 13, averageText).right()
        << plain("memory", words(QT_TRANSLATE_NOOP("TaskModel", "内存峰值")), 88, 14,
                 [](const TaskRow &row) { return row.task.memory; })
               .right()
        << plain("user", words(QT_TRANSLATE_NOOP("TaskModel", "创建人")), 96, 15,
                 [](const TaskRow &row) { return row.task.username; })
        << remarkColumn();
    if (live)
        all << plain("eta", words(QT_TRANSLATE_NOOP("TaskModel", "预计剩余")), 172, 2,
                     [](const TaskRow &row) { return row.eta; })
            << plain("expected", words(QT_TRANSLATE_NOOP("TaskModel", "预计费用")), 88, 3,
                     [](const TaskRow &row) {
                         return UserInfo::denied(TaskAct::CostGrant) ? QStringLiteral("-") : row.expected;
                     })
                   .right()
                   .atLeast(104)
            << handColumn();
    return all;
}
} // namespace

TaskModel::TaskModel(const TaskFilter *filter, QObject *parent)
    : RecordModel<TaskRow>([](const TaskRow &row) { return row.task.id; }, columns(filter->page), parent),
      m_filter(filter)
{
    setSortBy(SortBy::Source);
    setSame([](const TaskRow &one, const TaskRow &two) { return one == two; });
}

QVariant TaskModel::data(const QModelIndex &index, int role) const
{
    // A light cache's name, which stands beside its main task's.
    if (role == CellRole::Tint && index.isValid() && column(index.column()).id == QLatin1String("name") &&
        index.data(Identity) == QLatin1String("GZ"))
        return Palette::accent;
    return RecordModel<TaskRow>::data(index, role);
}

const TaskMenu *TaskModel::menuOf(int section) const
{
    const QString name = section >= 0 && section < columnCount() ? column(section).id : QString();
    return name == QLatin1String("project")  ? &m_filter->project
           : name == QLatin1String("status") ? &m_filter->status
           : name == QLatin1String("user")   ? &m_filter->user
           : name == QLatin1String("remark") ? &m_filter->remark
                                             : nullptr;
}

QVariant TaskModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const QVariant value = RecordModel<TaskRow>::headerData(section, orientation, role);
    const TaskMenu *menu = orientation == Qt::Horizontal ? menuOf(section) : nullptr;
    if (!menu)
        return value;
    const bool narrowed = menu->narrowed();
    if (role == Qt::DecorationRole)
        return IconTool::pixmap(QStringLiteral("filter"), narrowed ? Palette::accent : Palette::quiet, 12);
    if (narrowed && (role == Qt::DisplayRole || role == Qt::AccessibleTextRole))
        return value.toString() + tr("(筛选)");
    return value;
}
