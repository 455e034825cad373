#include "view/set/EnvNew.h"
#include "common/facts/Command.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/ServerCall.h"
#include "view/set/EnvRules.h"
#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>

namespace
{
const QString Software = QStringLiteral("software");

void fill(QListWidget *list, const QJsonArray &plugins, const QString &search = {})
{
    const QString current = list->currentItem() ? list->currentItem()->data(Qt::UserRole).toString() : QString();
    list->clear();
    for (const QJsonValue &value : plugins) {
        const QString text = EnvRules::pluginText(value.toObject()), key = EnvRules::pluginKey(value.toObject());
        if (!text.contains(search, Qt::CaseInsensitive))
            continue;
        auto *item = new QListWidgetItem(text, list);
        item->setData(Qt::UserRole, key);
        if (key == current)
            list->setCurrentItem(item);
    }
    if (!list->currentItem() && list->count() > 0)
        list->setCurrentRow(0);
}

QString keyOf(const QListWidget *list)
{
    return list->currentItem() ? list->currentItem()->data(Qt::UserRole).toString() : QString();
}
} // namespace

EnvNew::EnvNew(int projectId, int softwareType, const QJsonObject &env, QWidget *parent)
    : DialogFrame(QStringLiteral("EnvNew"), env.isEmpty() ? tr("添加配置") : tr("编辑配置"), parent),
      m_projectId(projectId), m_softwareType(softwareType), m_env(env),
      m_chosen(env.value(QLatin1String("plugins")).toArray())
{
    setHeading(SoftwareType::name(softwareType));
    m_form = new Form({Field::choice(Software, tr("软件版本")).needed()}, this);
    m_form->editor(Software)->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    content()->addWidget(m_form);
    makeLists();
    auto *gpu = new QHBoxLayout;
    auto *label = new QLabel(tr("启用GPU渲染："), this);
    m_gpu = new QCheckBox(this);
    m_gpu->setObjectName(QStringLiteral("startGpu"));
    m_gpu->setAccessibleName(label->text());
    m_gpu->setChecked(env.value(QLatin1String("startGpu")).toVariant().toInt() == 1);
    label->setBuddy(m_gpu);
    gpu->addWidget(label);
    gpu->addWidget(m_gpu);
    gpu->addStretch(1);
    content()->addLayout(gpu);
    addButton(tr("保存"), Primary, [this] { save(); });
    addButton(tr("取消"), Close);
    connect(m_form, &Form::changed, this, [this] { askPlugins(true); });
    askVersions();
}

void EnvNew::makeLists()
{
    const auto list = [this](const QString &name, const QString &title, QVBoxLayout *column) {
        auto *one = new QListWidget(this);
        one->setObjectName(name);
        one->setAccessibleName(title);
        one->setMinimumSize(240, 160);
        auto *label = new QLabel(title, this);
        label->setBuddy(one);
        column->addWidget(label);
        column->addWidget(one, 1);
        return one;
    };
    const auto arrow = [this](const QString &name, const QString &icon, const QString &tip) {
        auto *one = new QToolButton(this);
        one->setObjectName(name);
        one->setIcon(IconTool::icon(icon));
        one->setFixedSize(Metrics::Control, Metrics::Control);
        one->setFocusPolicy(Qt::StrongFocus);
        one->setToolTip(tip);
        one->setAccessibleName(tip);
        return one;
    };
    auto *both = new QHBoxLayout;
    both->setSpacing(Metrics::Gap);
    auto *left = new QVBoxLayout, *middle = new QVBoxLayout, *right = new QVBoxLayout;
    m_left = list(QStringLiteral("offered"), tr("可选插件"), left);
    m_search = new QLineEdit(this);
    m_search->setPlaceholderText(tr("搜索插件"));
    m_search->setAccessibleName(m_search->placeholderText());
    m_search->setMaxLength(200);
    left->insertWidget(1, m_search);
    m_toR = arrow(QStringLiteral("toR"), QStringLiteral("chevron-right"), tr("添加插件"));
    m_toL = arrow(QStringLiteral("toL"), QStringLiteral("chevron-left"), tr("移除插件"));
    middle->addStretch(1);
    middle->addWidget(m_toR);
    middle->addWidget(m_toL);
    middle->addStretch(1);
    m_right = list(QStringLiteral("chosen"), tr("已选插件"), right);
    both->addLayout(left, 1);
    both->addLayout(middle);
    both->addLayout(right, 1);
    content()->addLayout(both, 1);
    connect(m_toR, &QToolButton::clicked, this, &EnvNew::on_toR_clicked);
    connect(m_toL, &QToolButton::clicked, this, &EnvNew::on_toL_clicked);
    connect(m_left, &QListWidget::itemDoubleClicked, this, &EnvNew::on_toR_clicked);
    connect(m_right, &QListWidget::itemDoubleClicked, this, &EnvNew::on_toL_clicked);
    connect(m_search, &QLineEdit::textChanged, this, &EnvNew::showLists);
    const auto follow = [this] {
        m_toR->setEnabled(m_left->currentItem());
        m_toL->setEnabled(m_right->currentItem());
    };
    connect(m_left, &QListWidget::currentItemChanged, this, follow);
    connect(m_right, &QListWidget::currentItemChanged, this, follow);
    QWidget *last = m_form;
    for (QWidget *one : {static_cast<QWidget *>(m_search), static_cast<QWidget *>(m_left),
                         static_cast<QWidget *>(m_toR), static_cast<QWidget *>(m_toL), static_cast<QWidget *>(m_right)})
        setTabOrder(std::exchange(last, one), one);
    showLists();
    follow();
}

void EnvNew::askVersions()
{
    setError({});
    setBusy(true);
    ServerCall::ask(this, Command::Softwares, {{QStringLiteral("softwareType"), m_softwareType}},
                    [this](const ServerCall::Answer &answer) {
                        setBusy(false);
                        if (!answer.good())
                            return setError(answer.text(), [this] { askVersions(); });
                        QStringList versions = EnvRules::versions(answer.doc);
                        const QString mine = m_env.value(Software).toString();
                        if (!mine.isEmpty() && !versions.contains(mine)) // no longer offered, still this one's
                            versions.prepend(mine);
                        Field::Choices choices;
                        for (const QString &version : qAsConst(versions))
                            choices.append({version, version});
                        const QSignalBlocker quiet(m_form);
                        m_form->setChoices(Software, choices);
                        m_form->setValue(Software, mine.isEmpty() ? versions.value(0) : mine);
                        if (versions.isEmpty())
                            return setError(tr("服务器没有提供此软件的版本"), [this] { askVersions(); });
                        askPlugins(false);
                    });
}

// byHand: another version was chosen, so what it doesn't know goes from the chosen.
void EnvNew::askPlugins(bool byHand)
{
    setError({});
    setBusy(true);
    const QJsonObject body{{QStringLiteral("softwareType"), m_softwareType},
                           {Software, m_form->value(Software).toString()}};
    ServerCall::ask(this, Command::Plugins, body, [this, byHand, round = ++m_round](const ServerCall::Answer &answer) {
        if (round != m_round)
            return;
        setBusy(false);
        if (!answer.good())
            return setError(answer.text(), [this, byHand] { askPlugins(byHand); });
        m_offered = EnvRules::plugins(answer.doc);
        QJsonArray known;
        for (const QJsonValue &value : qAsConst(m_chosen))
            if (!byHand || EnvRules::contains(m_offered, EnvRules::pluginKey(value.toObject())))
                known.append(value);
        m_chosen = known;
        showLists();
    });
}

void EnvNew::showLists()
{
    QJsonArray offered;
    for (const QJsonValue &value : qAsConst(m_offered))
        if (!EnvRules::contains(m_chosen, EnvRules::pluginKey(value.toObject())))
            offered.append(value);
    fill(m_left, offered, m_search->text().trimmed());
    fill(m_right, m_chosen);
}

void EnvNew::on_toR_clicked()
{
    const QString key = keyOf(m_left);
    for (const QJsonValue &value : qAsConst(m_offered))
        if (EnvRules::pluginKey(value.toObject()) == key) {
            m_chosen = EnvRules::with(m_chosen, value.toObject());
            break;
        }
    showLists();
}

void EnvNew::on_toL_clicked()
{
    m_chosen = EnvRules::without(m_chosen, keyOf(m_right));
    showLists();
}

void EnvNew::save()
{
    if (busy() || !m_form->check())
        return;
    if (EnvRules::rendererChosen(m_softwareType, m_chosen))
        return send();
    Question question;
    question.text = tr("未选择渲染器");
    question.accept = tr("继续保存");
    Question::ask(
        this, question, [this] { send(); }, this);
}

void EnvNew::send()
{
    const QString software = m_form->value(Software).toString();
    QJsonObject block = m_env.value(QLatin1String("env_block")).toObject();
    block.insert(Software, software);
    block.insert(QStringLiteral("plugins"), m_chosen);
    QJsonObject body{{QStringLiteral("projectId"), m_projectId},
                     {QStringLiteral("software_type"), m_softwareType},
                     {Software, software},
                     {QStringLiteral("plugins"), m_chosen},
                     {QStringLiteral("startGpu"), m_gpu->isChecked() ? 1 : 0},
                     {QStringLiteral("isDefault"), m_env.value(QLatin1String("isDefault")).toVariant().toInt()},
                     {QStringLiteral("env_block"), block}};
    if (!fresh())
        body.insert(QStringLiteral("id"), m_env.value(QLatin1String("id")).toVariant().toInt());
    setError({});
    setBusy(true);
    const int cmd = fresh() ? Command::NewEnvironment : Command::EditEnvironment;
    ServerCall::ask(this, cmd, body, [this](const ServerCall::Answer &answer) {
        setBusy(false);
        if (!answer.good())
            return setError((fresh() ? tr("创建失败") : tr("修改失败")) + QStringLiteral("：") + answer.text());
        const int told = answer.object().value(QLatin1String("id")).toVariant().toInt();
        emit saved(fresh() ? told : m_env.value(QLatin1String("id")).toVariant().toInt());
        close();
    });
}
