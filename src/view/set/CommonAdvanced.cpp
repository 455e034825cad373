#include "view/set/CommonAdvanced.h"
#include "view/set/EnvRules.h"

namespace
{
constexpr int LongestParse = 30 * 24 * 3600, MostBlocks = 1000; // seconds
constexpr int Day = 24 * 60, Step = 30;                         // minutes
const QString Other = QStringLiteral("otherOn");

QString clock(int minute)
{
    return QStringLiteral("%1:%2").arg(minute / 60, 2, 10, QLatin1Char('0')).arg(minute % 60, 2, 10, QLatin1Char('0'));
}

// Half hours, and the minute that is set now.
Field::Choices hours(int set)
{
    Field::Choices out;
    for (int minute = 0; minute < Day; minute += Step) {
        if (set > minute - Step && set < minute)
            out.append({set, clock(set)});
        out.append({minute, clock(minute)});
    }
    if (set > Day - Step && set < Day)
        out.append({set, clock(set)});
    return out;
}
} // namespace

CommonAdvanced::CommonAdvanced(QWidget *parent) : SetPage(parent)
{
    setObjectName(QStringLiteral("CommonAdvanced"));
    addSection(tr("解析"), analysisFields());
    addSection(tr("补帧"), {record(Field::choice(QStringLiteral("repairType"), tr("补帧方式"),
                                                 {{0, tr("补帧生成新任务")}, {1, tr("补帧不生成新任务")}})),
                            record(Field::number(QStringLiteral("blocksCount"), tr("优先帧分块渲染"), 1, MostBlocks)
                                       .needed()
                                       .measured(tr("块"))
                                       .orNone(tr("不分块")))});
    addSection(tr("传输"), transferFields());
}

QVector<Field> CommonAdvanced::analysisFields()
{
    const auto says = [](const QString &text) {
        return [text](const QJsonValue &, const QJsonObject &) { return text; };
    };
    const auto span = [](const QJsonValue &value, const QJsonObject &) {
        const QString text = EnvRules::spanText(value.toDouble());
        return text.isEmpty() ? text : QStringLiteral("= ") + text;
    };
    return {record(Field::number(QStringLiteral("parseTime"), tr("解析时间阈值"), 1, LongestParse)
                       .needed()
                       .measured(tr("秒"))
                       .orNone(tr("不限"))
                       .telling(span)),
            record(Field::toggle(QStringLiteral("killParseTime"), tr("超时警告提醒并自动跳过"))
                       .onlyWhen(
                           [](const QJsonObject &all) { return all.value(QLatin1String("parseTime")).toInt(1) != 0; })),
            setting(Settings::ResolveThreads, tr("解析并发数设置"))
                .needed()
                .hinted(tr("(范围1-5)"))
                .measured(tr("(范围1-5)")),
            setting(Settings::FastMaya, tr("解析方式"), {{0, tr("普通解析")}, {1, tr("高级解析")}})
                .telling(says(tr("(只支持maya软件，解析时CPU占用较高)"))),
            record(Field::toggle(QStringLiteral("submitUpload"), tr("跳过解析环节直接提交上传"))
                       .telling(says(tr("(此功能只针对Maya文件生效)")))),
            setting(Settings::MayaCache, tr("上传Redshift Cache"), {{0, tr("不上传")}, {1, tr("上传")}})
                .telling(says(tr("(仅限maya)"))),
            record(Field::toggle(QStringLiteral("mayaSplitByLayer"), tr("分层提交")))};
}

QVector<Field> CommonAdvanced::transferFields()
{
    const auto speed = [this](Settings::Key key, const QString &label) {
        return setting(key, label).needed().measured(QStringLiteral("KB/s")).orNone(tr("不限"));
    };
    const auto on = [](const QJsonObject &all) { return all.value(Other).toBool(); };
    const auto span = [](const QJsonValue &value, const QJsonObject &all) {
        return all.value(Other).toBool() && value.toInt() == all.value(QLatin1String("otherFrom")).toInt()
                   ? tr("请选择不同的起止时间")
                   : QString();
    };
    return {speed(Settings::UpSpeed, tr("上传速度")),
            speed(Settings::DownSpeed, tr("下载速度")),
            Field::toggle(Other, tr("分时段使用另一速度")),
            setting(Settings::OtherFrom, tr("开始时间"), hours(0)).onlyWhen(on),
            setting(Settings::OtherTo, tr("结束时间"), hours(0)).onlyWhen(on).checked(span),
            speed(Settings::OtherUpSpeed, tr("时段内上传速度")).onlyWhen(on),
            speed(Settings::OtherDownSpeed, tr("时段内下载速度")).onlyWhen(on),
            setting(Settings::UpThreads, tr("上传并发数")).needed(),
            setting(Settings::DownThreads, tr("下载并发数")).needed(),
            setting(Settings::UpHash, tr("上传校验方式"),
                    {{1, tr("MD5(耗时长)")}, {0, tr("简单hash（绝对路径+大小+修改时间，耗时短）")}}),
            setting(Settings::IsWan, tr("传输线路"),
                    {{QStringLiteral("WAN"), tr("外网")}, {QStringLiteral("LAN"), tr("内网")}})};
}

QJsonObject CommonAdvanced::derived(const QJsonObject &values) const
{
    const auto number = [&values](const char *key) { return values.value(QLatin1String(key)).toInt(); };
    const int from = number("otherFrom"), to = number("otherTo");
    for (const char *key : {"otherFrom", "otherTo"})
        formOf(QLatin1String(key))->setChoices(QLatin1String(key), hours(number(key)));
    return {{Other, from != to},
            {QStringLiteral("upHash"), number("upHash") == 1 ? 1 : 0},
            {QStringLiteral("repairType"), number("repairType") == 0 ? 0 : 1},
            {QStringLiteral("mayaCache"), number("mayaCache") == 0 ? 0 : 1}};
}

// Without another speed its hours are alike, which the engine takes for none.
QVariant CommonAdvanced::kept(Settings::Key key, const QJsonValue &shown) const
{
    if ((key == Settings::OtherFrom || key == Settings::OtherTo) && !value(Other).toBool())
        return 0;
    return SetPage::kept(key, shown);
}
