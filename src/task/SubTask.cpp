#include "task/SubTask.h"
#include "common/facts/SoftwareType.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "task/Cell.h"
#include "task/TaskRecord.h"
#include <QCoreApplication>
#include <QJsonArray>
#include <QSet>
#include <tuple>

namespace
{
struct Words {
    Q_DECLARE_TR_FUNCTIONS(SubTask)
};
enum Flag { RerenderFlag = 11, DownloadFlag = 12 }; // of the rights: what 9 and 10 in the account's list take away
constexpr int MostPages = 10'000'000, MostPictures = 1000;

auto all(const SubTask &one)
{
    return std::tie(one.id, one.jobId, one.farmId, one.status, one.type, one.flag, one.first, one.last, one.step,
                    one.camera, one.layer, one.node, one.shownLayer, one.startTime, one.endTime, one.memory, one.log,
                    one.speed, one.parentId, one.seconds, one.downloadState, one.blocks, one.block, one.stage,
                    one.stages, one.version, one.pictures, one.timeout);
}

QString firstOf(const QStringList &texts)
{
    for (const QString &text : texts)
        if (!text.isEmpty())
            return text;
    return {};
}
} // namespace

SubTask SubTask::from(const QJsonObject &row)
{
    SubTask one;
    one.id = Cell::id(row, "id");
    one.jobId = Cell::id(row, "jobId");
    one.farmId = Cell::integer(row, "farmId");
    one.status = row.contains(QLatin1String("status")) ? Cell::integer(row, "status") : int(All);
    one.type = Cell::integer(row, "type");
    one.flag = Cell::integer(row, "flag");
    one.first = Cell::integer(row, "frame_from");
    one.last = row.contains(QLatin1String("frame_to")) ? Cell::integer(row, "frame_to") : one.first;
    one.step = qMax(1, Cell::integer(row, "frame_step"));
    one.camera = Cell::text(row, "camera");
    one.layer = Cell::text(row, "maya_layer");
    one.node = Cell::text(row, "hou_rop");
    one.shownLayer = Cell::text(row, "showSub_lay");
    one.startTime = TaskText::time(row.value(QLatin1String("start_time")));
    one.endTime = TaskText::time(row.value(QLatin1String("end_time")));
    one.seconds = qMax(0LL, Cell::number(row, "seconds"));
    one.memory = Cell::text(row, "memory_peak");
    one.log = Cell::text(row, "log_file");
    one.speed = Cell::text(row, "speed");
    one.parentId = Cell::id(row, "parentViewId");
    one.downloadState = Cell::integer(row, "downloadState");
    one.blocks = qMax(0, Cell::integer(row, "blocks_count"));
    one.block = qMax(0, Cell::integer(row, "block"));
    one.stage = Cell::integer(row, "curStage");
    one.stages = Cell::integer(row, "totalStages");
    one.version = row.value(QLatin1String("newVer"));
    one.pictures = qBound(0, Cell::integer(row, "picCount"), MostPictures);
    one.timeout = Cell::integer(row, "timeout") != 0;
    return one;
}

bool SubTask::operator==(const SubTask &other) const { return all(*this) == all(other); }

QString SubTask::stateText(int state)
{
    static const char *const words[] = {
        QT_TRANSLATE_NOOP("SubTask", "渲染中"),   QT_TRANSLATE_NOOP("SubTask", "排队中"),
        QT_TRANSLATE_NOOP("SubTask", "已暂停"),   QT_TRANSLATE_NOOP("SubTask", "已完成"),
        QT_TRANSLATE_NOOP("SubTask", "渲染失败"), QT_TRANSLATE_NOOP("SubTask", "已取消")};
    return state >= Rendering && state <= Cancelled ? QCoreApplication::translate("SubTask", words[state]) : QString();
}

QStringList SubTask::stateChoices()
{
    QStringList out{Words::tr("全部")};
    for (int state = Rendering; state <= Cancelled; ++state)
        out << stateText(state);
    return out;
}

bool SubTask::marked() const
{
    return flag == Rerendered || flag == RerenderedToo || flag == Filled || type == LightCache ||
           type == MergedLightCache;
}

QString SubTask::note() const
{
    QStringList words;
    if (flag == Rerendered || flag == RerenderedToo)
        words << Words::tr("重渲");
    else if (flag == Filled)
        words << Words::tr("补帧");
    if (type == LightCache)
        words << Words::tr("光子");
    else if (type == MergedLightCache)
        words << Words::tr("合并光子");
    else if (type == Block)
        words << Words::tr("分块");
    return words.join(QLatin1Char(' '));
}

QString SubTask::frames() const
{
    QString text = QString::number(first);
    if (last != first)
        text += QStringLiteral("-%1").arg(last);
    return step > 1 ? text + QStringLiteral(":%1").arg(step) : text;
}

QString SubTask::splitTitle(int software)
{
    switch (software) {
    case SoftwareType::Maya:
    case SoftwareType::Clarisse:
        return Words::tr("层名");
    case SoftwareType::Houdini:
    case SoftwareType::Terragen:
        return Words::tr("节点");
    case SoftwareType::SketchUp:
        return {};
    default:
        return Words::tr("镜头");
    }
}

QString SubTask::split(int software) const
{
    switch (software) {
    case SoftwareType::Maya:
    case SoftwareType::Clarisse:
        return firstOf({shownLayer, layer, camera});
    case SoftwareType::Houdini:
    case SoftwareType::Terragen:
        return firstOf({node, shownLayer, camera});
    case SoftwareType::SketchUp:
        return {};
    default:
        return firstOf({camera, shownLayer});
    }
}

QString SubTask::stageText() const { return stages > 1 ? QStringLiteral("%1/%2").arg(stage).arg(stages) : QString(); }

bool SubTask::mayRerender() const { return UserInfo::perm(RerenderFlag); }
bool SubTask::mayDownload() const { return status == Done && UserInfo::perm(DownloadFlag); }

QString SubTask::codeText(int code)
{
    const QString number = QString::number(code);
    for (const QString &text : {Session::actionText(code), Session::errorText(code)})
        if (!text.isEmpty() && text != number)
            return QStringLiteral("%1 (%2)").arg(text, number);
    return {};
}

SubList SubList::from(const QJsonObject &reply, bool blocks)
{
    SubList list;
    QSet<QString> seen;
    for (const QJsonValue &value : reply.value(QLatin1String("results")).toArray()) {
        const SubTask one = SubTask::from(value.toObject());
        if (one.id.isEmpty() || seen.contains(one.id))
            continue;
        if (list.rows.size() == MostRows)
            break;
        seen.insert(one.id);
        list.rows << one;
    }
    const auto count = [&](const char *frame, const char *block) {
        return qMax(0, Cell::integer(reply, blocks ? block : frame));
    };
    list.total = count("totalFrame", "totalBlock");
    list.rendering = count("renderingFrame", "renderingBlock");
    list.waiting = count("untreatedFrame", "untreatedBlock");
    list.paused = count("suspendFrame", "suspendBlock");
    list.done = count("successFrame", "successBlock");
    list.failed = count("failureFrame", "failureBlock");
    list.cancelled = count("cancelFrame", "cancelBlock");
    list.pages = qBound(1, Cell::integer(reply, "pageSize"), MostPages);
    list.pictures = qBound(0, Cell::integer(reply, "picCount"), MostPictures);
    return list;
}

QJsonObject SubAsk::list(const QString &task, int status, int page)
{
    return {{"missionId", Cell::idValue(task)}, {"status", status}, {"page", page}};
}

QJsonObject SubAsk::blocks(const QString &task, const QString &sub, int status, int page)
{
    QJsonObject body = list(task, status, page);
    body.insert(QStringLiteral("subjobId"), Cell::idValue(sub));
    return body;
}

QJsonObject SubAsk::cancel(const QString &task, const SubTask &sub)
{
    return {{"missionId", Cell::idValue(task)},
            {"jobId", Cell::idValue(sub.jobId)},
            {"subJobId", Cell::idValue(sub.id)},
            {"farmId", sub.farmId}};
}

QJsonObject SubAsk::chosen(const QString &task, const QStringList &subs)
{
    return {{"missionId", Cell::idValue(task)}, {"subjobIds", subs.join(QLatin1Char(','))}};
}

QJsonObject SubAsk::one(const QString &task, const QString &sub)
{
    return {{"missionId", Cell::idValue(task)}, {"subjobId", Cell::idValue(sub)}};
}

QJsonObject SubAsk::preview(const QString &task, const QString &sub, const QJsonValue &version)
{
    QJsonObject body = one(task, sub);
    body.insert(QStringLiteral("newVer"), version.isString() || version.isDouble() ? version : QJsonValue(0));
    return body;
}

QJsonObject SubAsk::picture(const QString &task, const QString &sub, int index)
{
    QJsonObject body = one(task, sub);
    body.insert(QStringLiteral("picIndex"), index);
    return body;
}
