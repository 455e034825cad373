#include "task/SubDetail.h"
#include "common/facts/SoftwareType.h"
#include "task/Cell.h"
#include "task/TaskRecord.h"
#include <iterator>
#include <QCoreApplication>
#include <QJsonArray>

namespace
{
struct Words {
    Q_DECLARE_TR_FUNCTIONS(SubDetail)
};
constexpr int MostText = 4000; // of one value

const char *const vrayModes[] = {"Single frame",
                                 "Multiframe incremental",
                                 "From file",
                                 "Add to current map",
                                 "Incremental add to current map",
                                 "Bucket mode",
                                 "Animation(prepass)",
                                 "Animation(rendering)"};

QString plain(const QJsonValue &value)
{
    if (value.isArray()) {
        QStringList parts;
        for (const QJsonValue &one : value.toArray())
            parts << plain(one.isObject() ? one.toObject().value(QLatin1String("name")) : one);
        parts.removeAll(QString());
        return parts.join(QStringLiteral(", "));
    }
    if (value.isObject())
        return plain(value.toObject().value(QLatin1String("name")));
    return value.isBool() ? QString::number(value.toBool()) : Cell::text(value);
}

// Some programs have a list of layers or nodes: what they share stands in the first.
QJsonObject modelOf(const QJsonObject &detail)
{
    const QJsonValue model = detail.value(QLatin1String("modelParameters"));
    return model.isArray() ? model.toArray().first().toObject() : model.toObject();
}

// The first of these keys that says something, in the task's parameters or beside them.
QString valueOf(const QJsonObject &detail, const std::initializer_list<const char *> &keys)
{
    const QJsonObject model = modelOf(detail);
    for (const char *key : keys)
        for (const QJsonObject &where : {detail, model})
            if (const QString text = plain(where.value(QLatin1String(key))); !text.isEmpty())
                return text.left(MostText);
    return {};
}

// Light caches: of 3ds Max those of V-Ray, of others those of each camera or node that has them.
QString photons(const QJsonObject &one, int software)
{
    QString text;
    const auto add = [&](const QString &label, const char *key) {
        if (const QString value = plain(one.value(QLatin1String(key))); !value.isEmpty())
            text += label.arg(value);
    };
    if (one.contains(QLatin1String("vrMode"))) {
        const int mode = Cell::integer(one, "vrMode");
        const QStringList kinds{Words::tr("先渲光子"), Words::tr("分布式渲光子"), Words::tr("本地光子")};
        const bool named = software == SoftwareType::Max && mode >= 0 && mode < int(std::size(vrayModes));
        text += (named ? QString::fromLatin1(vrayModes[mode]) : kinds.value(mode)) + QStringLiteral("\r\n");
    }
    add(Words::tr("光子文件：%1\r\n"), "giFile");
    add(Words::tr("光子宽度：%1\r\n"), "giWidth");
    add(Words::tr("光子高度：%1\r\n"), "giHeight");
    add(Words::tr("光子隔帧：%1\r\n"), "giStep");
    const auto addFile = [&](const QString &label, const char *key) {
        if (const QString value = plain(one.value(QLatin1String(key))); !value.isEmpty())
            text += label + value + QStringLiteral("\r\n");
    };
    addFile(Words::tr("发光贴图文件：\r\n"), "vrIrradianceMapFile");
    addFile(Words::tr("灯光缓存文件：\r\n"), "vrLightCacheFile");
    return text;
}

// What has no line of its own.
QString others(const QJsonObject &model)
{
    static const QStringList told{
        "width",    "height", "outputFormat", "frames",           "keyFrames",           "giFile", "giWidth",
        "giHeight", "giStep", "vrMode",       "vrLightCacheFile", "vrIrradianceMapFile", "files"};
    QStringList lines;
    for (auto it = model.begin(); it != model.end() && lines.size() < 200; ++it)
        if (const QString value = plain(it.value()); !told.contains(it.key()) && !value.isEmpty())
            lines << QStringLiteral("%1: %2").arg(it.key(), value.left(200));
    return lines.join(QStringLiteral("\r\n"));
}
} // namespace

QString SubDetail::text(const QJsonObject &detail)
{
    const QJsonObject model = modelOf(detail);
    QStringList lines;
    const auto add = [&](const QString &label, const QString &value) {
        if (!value.isEmpty())
            lines << label + value;
    };
    add(Words::tr("任务名："), valueOf(detail, {"name", "missionName"}));
    add(Words::tr("订单号："), valueOf(detail, {"num", "ordernum"}));
    add(Words::tr("归属人："), valueOf(detail, {"username", "userName"}));
    add(Words::tr("所属农场："), valueOf(detail, {"farmName", "farmId"}));
    add(Words::tr("所选机型："), valueOf(detail, {"machineModel", "machine"}));
    QStringList env{valueOf(detail, {"software", "env"}), valueOf(detail, {"plugins"})};
    env.removeAll(QString());
    add(Words::tr("环境配置："), env.join(QStringLiteral("  ")));
    add(Words::tr("工程路径："), valueOf(detail, {"mayaProject", "projectPath", "scene"}));
    add(Words::tr("输出路径："), valueOf(detail, {"clientResultRootPath", "outputPath"}));
    const QString width = valueOf(detail, {"width"}), height = valueOf(detail, {"height"});
    if (!width.isEmpty() && !height.isEmpty())
        add(Words::tr("分辨率："), QStringLiteral("%1*%2").arg(width, height));
    add(Words::tr("输出格式："), valueOf(detail, {"outputFormat", "imageFormat", "format"}));
    const bool only = valueOf(detail, {"onlyScene"}).toInt() != 0;
    add(Words::tr("上传模式："), only ? Words::tr("只上传主文件") : Words::tr("完整上传"));
    add(Words::tr("优先帧："), valueOf(detail, {"keyFrames"}));
    add(Words::tr("子任务帧数："), valueOf(detail, {"subFrames", "frameCount", "batchFrames"}));
    QString light = photons(model, Cell::integer(detail, "softwareType"));
    for (const QJsonValue &camera : model.value(QLatin1String("cameras")).toArray())
        light += photons(camera.toObject(), Cell::integer(detail, "softwareType"));
    add(Words::tr("光子信息："), light.isEmpty() ? light : QStringLiteral("\r\n") + light.trimmed());
    const QString rest = others(model);
    add(Words::tr("参数信息："), rest.isEmpty() ? rest : QStringLiteral("\r\n") + rest);
    return lines.join(QStringLiteral("\r\n"));
}

QStringList SubDetail::operations(const QJsonObject &reply)
{
    QStringList lines;
    QJsonArray rows;
    for (const char *key : {"rows", "results", "pageList"})
        if (rows.isEmpty())
            rows = reply.value(QLatin1String(key)).toArray();
    const auto first = [](const QJsonObject &row, const std::initializer_list<const char *> &keys) {
        for (const char *key : keys)
            if (row.contains(QLatin1String(key)))
                return TaskText::time(row.value(QLatin1String(key))).left(MostText);
        return QString();
    };
    for (const QJsonValue &value : rows) {
        const QJsonObject row = value.toObject();
        if (lines.size() == MostOperations)
            break;
        QString content;
        for (const char *key : {"content", "operation", "remark"})
            if (content.isEmpty())
                content = Cell::text(row, key).left(MostText);
        lines << Words::tr("操作人：%1     时间：%2     内容：%3")
                     .arg(Cell::text(row, row.contains(QLatin1String("username")) ? "username" : "operator"),
                          first(row, {"time", "createTime", "operateTime"}), content);
    }
    return lines;
}
