#include "view/set/CommonSet.h"
#include "common/ResultPath.h"
#include "view/set/EnvRules.h"
#include "view/set/ResultRule.h"
#include <QDateTime>
#include <QDir>
#include <QPushButton>

namespace
{
constexpr int LongestRule = 200, LongestTime = 30 * 24 * 3600; // characters, seconds
const QString Dir = QStringLiteral("ResultDir"), Check = QStringLiteral("resultCheck");
const QString Rule = QStringLiteral("resultRule");
} // namespace

CommonSet::CommonSet(QWidget *parent) : SetPage(parent)
{
    setObjectName(QStringLiteral("CommonSet"));
    addSection(tr("常规"), {Field::toggle(QStringLiteral("autoStart"), tr("开机自启动")),
                            setting(Settings::Language, tr("语言设置"),
                                    {{QStringLiteral("zh_cn"), QStringLiteral("中文")},
                                     {QStringLiteral("en_us"), QStringLiteral("English")}})});
    addSection(tr("渲染结果"), resultFields());
    addSection(tr("提交"), submitFields());
    const auto span = [](const QJsonValue &value, const QJsonObject &) {
        const QString text = EnvRules::spanText(value.toDouble());
        return text.isEmpty() ? text : QStringLiteral("= ") + text;
    };
    addSection(tr("渲染时间"),
               {record(Field::number(QStringLiteral("timeout"), tr("渲染时间阈值"), 1, LongestTime)
                           .needed()
                           .hinted(tr("(子任务的渲染时间)"))
                           .measured(tr("秒"))
                           .orNone(tr("不限"))
                           .telling(span)),
                record(Field::choice(QStringLiteral("killTimeout"), tr("超过阈值"),
                                     {{0, tr("不处理")}, {1, tr("超时警告提醒")}, {2, tr("超时警告提醒并取消任务")}})
                           .onlyWhen([](const QJsonObject &all) {
                               return all.value(QLatin1String("timeout")).toInt(1) != 0;
                           }))});
}

QVector<Field> CommonSet::resultFields()
{
    const Field::Choices places{{ResultPath::Personal, tr("结果保存路径")},
                                {ResultPath::Project, tr("项目的出图路径")},
                                {ResultPath::Scene, tr("场景所在文件夹")}};
    const auto ruled = [](const QJsonObject &all) { return all.value(Check).toBool(); };
    const auto example = [](const QJsonValue &value, const QJsonObject &all) {
        return tr("示例：%1")
                   .arg(QDir::toNativeSeparators(
                       examplePath(all.value(Dir).toString(), all.value(Check).toBool(), value.toString()))) +
               QLatin1Char('\n') + tr("%project% 项目，%submit% 提交日期，%order% 订单号，用 / 分隔文件夹");
    };
    const auto fault = [](const QJsonValue &value, const QJsonObject &all) {
        return examplePath(all.value(Dir).toString(), true, value.toString()).isEmpty() ? tr("此规则不能用作文件夹名")
                                                                                        : QString();
    };
    return {setting(Settings::ResultDir, tr("结果保存路径")).needed(),
            setting(Settings::OutRoot, tr("结果输出位置"), places),
            record(Field::choice(QStringLiteral("mayaResultRootPathEnum"), tr("Maya结果输出位置"), places)),
            Field::toggle(Check, tr("自定义路径规则")),
            setting(Settings::ResultRule, tr("路径规则"))
                .longest(LongestRule)
                .hinted(QStringLiteral("%project%/%submit%/%order%"))
                .onlyWhen(ruled)
                .checked(fault)
                .telling(example)
                .beside([this](QWidget *parent) {
                    auto *button = new QPushButton(tr("选择…"), parent);
                    button->setAccessibleName(tr("路径规则"));
                    connect(button, &QPushButton::clicked, this, &CommonSet::chooseRule);
                    return button;
                }),
            record(Field::toggle(QStringLiteral("autoPushResult"), tr("渲染结果自动推送"))),
            setting(Settings::AutoSendResult, tr("自动下载渲染结果"), {{1, tr("自动下载")}, {0, tr("手动下载")}}),
            setting(Settings::TaskNotice, tr("任务结束通知"), {{1, tr("通知")}, {0, tr("不通知")}})};
}

void CommonSet::chooseRule()
{
    auto *dialog = new ResultRule(value(Rule).toString(), window());
    connect(dialog, &ResultRule::resultRule, this, [this](const QString &rule) { setValue(Rule, rule); });
    dialog->open();
}

QVector<Field> CommonSet::submitFields()
{
    const auto on = [](const char *key) {
        return [key](const QJsonObject &all) { return all.value(QLatin1String(key)).toBool(); };
    };
    return {record(Field::toggle(QStringLiteral("autoSubmit"), tr("解析结果正常，自动提交任务"))),
            record(Field::toggle(QStringLiteral("ignoreWarn"), tr("忽略解析结果的警告信息，自动提交任务"))
                       .onlyWhen(on("autoSubmit"))),
            record(Field::toggle(QStringLiteral("frameFirst"), tr("默认优先渲染前中后三帧"))),
            record(Field::choice(
                QStringLiteral("priorityStrategy"), tr("优先帧渲染后"),
                {{1, tr("优先帧渲染完成后，自动开始渲染")}, {2, tr("优先帧渲染完成后，等待手动开始渲染")}}))};
}

QString CommonSet::examplePath(const QString &dir, bool ruled, const QString &rule)
{
    const QJsonObject task{
        {QStringLiteral("num"), QStringLiteral("2026001")},
        {QStringLiteral("missionName"), QStringLiteral("shot_010.ma")},
        {QStringLiteral("projectName"), QStringLiteral("valley")},
        {QStringLiteral("createTime"), QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))}};
    const QString folder = ResultPath::ruleFolder(ruled ? rule : QString(), task);
    return folder.isEmpty() ? folder : QStringLiteral("%1/%2").arg(QDir::cleanPath(dir), folder);
}

QJsonObject CommonSet::derived(const QJsonObject &values) const
{
    // A rule in force is shown as one, whatever the switch of an older client says.
    const bool ruled = !values.value(Rule).toString().isEmpty();
    const int strategy = values.value(QLatin1String("priorityStrategy")).toInt() == 1 ? 1 : 2;
    const int push = values.value(QLatin1String("AutoSendResult")).toInt() == 0 ? 0 : 1;
    return {{Check, ruled}, {QStringLiteral("priorityStrategy"), strategy}, {QStringLiteral("AutoSendResult"), push}};
}

// The rule that is switched off isn't in force: the engine knows the rule alone.
QVariant CommonSet::kept(Settings::Key key, const QJsonValue &shown) const
{
    if (key == Settings::ResultRule && formOf(Check) && !value(Check).toBool())
        return QString();
    if (key == Settings::ResultDir)
        return QDir::fromNativeSeparators(shown.toString());
    return SetPage::kept(key, shown);
}
