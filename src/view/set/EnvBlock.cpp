#include "view/set/EnvBlock.h"
#include "common/ui/kit/TablePage.h"
#include "view/EnvChoice.h"
#include "view/set/EnvRules.h"

namespace
{
int number(const QJsonObject &env, const char *key) { return env.value(QLatin1String(key)).toVariant().toInt(); }
bool isDefault(const QJsonObject &env) { return number(env, "isDefault") == 1; }

QString pluginsText(const QJsonObject &env)
{
    QStringList texts;
    const QJsonArray list = env.value(QLatin1String("plugins")).toArray();
    for (const QJsonValue &value : list)
        texts << EnvRules::pluginText(value.toObject());
    return texts.join(QStringLiteral(", "));
}

QString softwareText(const QJsonObject &env)
{
    return env.value(QLatin1String("software")).toString() +
           (number(env, "startGpu") == 1 ? QStringLiteral(" (GPU)") : QString());
}

RecordModel<QJsonObject> *makeModel(QObject *parent)
{
    using C = Column<QJsonObject>;
    return new RecordModel<QJsonObject>(
        EnvChoice::environmentKey,
        {C(QStringLiteral("software"), EnvBlock::tr("软件"), 180).text(softwareText).unsorted(),
         C(QStringLiteral("plugins"), EnvBlock::tr("插件"), 220).text(pluginsText).stretch().unsorted(),
         C(QStringLiteral("default"), EnvBlock::tr("默认"), 72)
             .text([](const QJsonObject &env) { return isDefault(env) ? EnvBlock::tr("默认") : QString(); })
             .tint([](const QJsonObject &) { return Tint::Done; })
             .unsorted(),
         C::acts(EnvBlock::tr("操作"), 260)},
        parent);
}
} // namespace

EnvBlock::EnvBlock(QWidget *parent) : QWidget(parent), m_model(makeModel(this))
{
    setObjectName(QStringLiteral("EnvBlock"));
    m_model->setSame([](const QJsonObject &a, const QJsonObject &b) { return a == b; });
    TablePage::Look look;
    look.name = QStringLiteral("EnvBlock");
    look.accessible = tr("环境配置");
    look.emptyIcon = QStringLiteral("plus");
    look.emptyText = tr("没有环境配置");
    look.emptyHint = tr("点击“+ 添加配置”创建");
    look.columns = false;
    m_table = TablePage::fill(this, look, m_model);
    const auto spec = [this](const char *id, const QString &text, auto signal) {
        ActSpec one(id, text, QString(), ActSpec::Row | ActSpec::Menu);
        one.single = true;
        one.run = m_model->each([this, signal](const QJsonObject &env) { emit(this->*signal)(env); });
        return one;
    };
    ActSpec fresh("add", tr("+ 添加配置"), QString(), ActSpec::Bar | ActSpec::Menu);
    fresh.free = true;
    fresh.run = [this](const QStringList &) { emit add(); };
    m_table->acts()->add(fresh);
    ActSpec standard = spec("default", tr("设为默认"), &EnvBlock::makeDefault);
    standard.possible = m_model->when([](const QJsonObject &env) { return !isDefault(env); });
    m_table->acts()->add(standard);
    m_table->acts()->add(spec("edit", tr("编辑"), &EnvBlock::edit));
    ActSpec del = spec("del", tr("删除"), &EnvBlock::remove);
    del.keys = QKeySequence::Delete;
    del.danger = true;
    del.accept = del.text;
    del.question = [](const QStringList &) { return tr("确定删除此环境配置吗？"); };
    m_table->acts()->add(del);
    m_table->build();
    connect(m_table, &TablePage::refreshWanted, this, &EnvBlock::refresh);
    connect(m_table->view(), &RecordView::opened, this,
            [this](const QString &key) { m_table->acts()->run(QStringLiteral("edit"), {key}); });
}

void EnvBlock::setRows(const QJsonArray &combos)
{
    QList<QJsonObject> rows;
    for (const QJsonValue &value : combos)
        if (value.isObject())
            rows << value.toObject();
    m_model->setRows(rows);
}
