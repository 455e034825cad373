#include "view/set/EnvSet.h"
#include "common/facts/Command.h"
#include "common/facts/SoftwareType.h"
#include "common/ResultRoots.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TablePage.h"
#include "view/EnvChoice.h"
#include "view/set/EnvBlock.h"
#include "view/set/EnvNew.h"
#include <QDir>
#include <QFileInfo>
#include <QPushButton>

namespace
{
const QString Work = QStringLiteral("workPath"), Output = QStringLiteral("outputPath");
const QString Frames = QStringLiteral("framesPerSubTask"), Extra = QStringLiteral("extraConfig");
constexpr int MostFrames = 10000;

// The values of the three fields: beside extraConfig, or within it.
QJsonObject pathsOf(const QJsonObject &config)
{
    QJsonObject out;
    const QJsonObject extra = config.value(Extra).toObject();
    for (const QString &key : {Work, Output, Frames}) {
        const QJsonValue outside = config.value(key);
        out.insert(key, outside.isUndefined() || outside.toString(QStringLiteral("-")).isEmpty() ? extra.value(key)
                                                                                                 : outside);
    }
    return out;
}

bool isFolder(const QString &path) { return path.isEmpty() || (QDir::isAbsolutePath(path) && QFileInfo(path).isDir()); }
} // namespace

EnvSet::EnvSet(int projectId, const QString &projectName, int softwareType, QWidget *parent)
    : DialogFrame(QStringLiteral("EnvSet"), tr("编辑环境"), parent), m_projectId(projectId), m_software(0)
{
    setHeading(projectName);
    makeTabs();
    m_form = new Form({Field::folder(Work, tr("工程路径")), Field::folder(Output, tr("出图路径")),
                       Field::number(Frames, tr("子任务帧数"), 1, MostFrames).orNone(tr("不指定"))},
                      this);
    m_save = new QPushButton(tr("保存路径"), this);
    m_save->setEnabled(false);
    connect(m_save, &QPushButton::clicked, this, &EnvSet::savePaths);
    connect(m_form, &Form::changed, this, [this] { m_save->setEnabled(true); });
    auto *line = new QHBoxLayout;
    line->addStretch(1);
    line->addWidget(m_save);
    content()->addWidget(m_form);
    content()->addLayout(line);
    m_block = new EnvBlock(this);
    m_block->setMinimumSize(720, 190);
    content()->addWidget(m_block, 1);
    addButton(tr("关闭"), Close);
    connect(m_block, &EnvBlock::refresh, this, &EnvSet::ask);
    connect(m_block, &EnvBlock::add, this, [this] { edit({}); });
    connect(m_block, &EnvBlock::edit, this, &EnvSet::edit);
    connect(m_block, &EnvBlock::makeDefault, this,
            [this](const QJsonObject &env) { change(Command::DefaultEnvironment, env, tr("修改失败")); });
    connect(m_block, &EnvBlock::remove, this,
            [this](const QJsonObject &env) { change(Command::DeleteEnvironment, env, tr("删除失败")); });
    load(SoftwareType::all().contains(softwareType) ? softwareType : SoftwareType::Maya);
    m_tabs.value(m_software)->setFocus();
}

void EnvSet::makeTabs()
{
    auto *tabs = new QHBoxLayout;
    tabs->setSpacing(0);
    for (int type : SoftwareType::all()) {
        auto *tab = new QPushButton(SoftwareType::name(type), this);
        tab->setObjectName(QStringLiteral("tab"));
        tab->setCheckable(true);
        connect(tab, &QPushButton::clicked, this, [this, type] { turn(type); });
        m_tabs.insert(type, tab);
        tabs->addWidget(tab);
    }
    tabs->addStretch(1);
    content()->addLayout(tabs);
}

void EnvSet::turn(int softwareType)
{
    for (auto it = m_tabs.cbegin(); it != m_tabs.cend(); ++it)
        it.value()->setChecked(it.key() == m_software); // until it's settled
    if (softwareType == m_software)
        return;
    if (!m_save->isEnabled())
        return load(softwareType);
    Question question;
    question.text = tr("路径尚未保存，确定放弃修改吗？");
    question.accept = tr("放弃修改");
    question.danger = true;
    Question::ask(
        this, question, [this, softwareType] { load(softwareType); }, this);
}

void EnvSet::load(int softwareType)
{
    m_software = softwareType;
    for (auto it = m_tabs.cbegin(); it != m_tabs.cend(); ++it)
        it.value()->setChecked(it.key() == m_software);
    m_config = QJsonObject();
    m_form->setValues({});
    m_form->setEnabled(false);
    m_save->setEnabled(false);
    m_block->setRows({});
    ask();
}

void EnvSet::ask()
{
    m_block->table()->setBusy(true);
    m_block->table()->setError({});
    const QJsonObject body{{QStringLiteral("projectId"), m_projectId}, {QStringLiteral("software_type"), m_software}};
    ServerCall::ask(this, Command::Environments, body, [this, round = ++m_round](const ServerCall::Answer &answer) {
        if (round != m_round)
            return;
        m_block->table()->setBusy(false);
        m_block->table()->setError(answer.text());
        if (answer.good())
            return take(answer.doc);
        if (answer.kind == ServerCall::Answer::Refused)
            emit gone();
    });
}

void EnvSet::take(const QJsonDocument &reply)
{
    m_config = EnvChoice::config(reply);
    if (!m_save->isEnabled()) // what is being typed isn't taken away
        m_form->setValues(pathsOf(m_config));
    m_form->setEnabled(true);
    m_block->setRows(m_config.value(QLatin1String("combos")).toArray());
}

void EnvSet::edit(const QJsonObject &env)
{
    auto *dialog = new EnvNew(m_projectId, m_software, env, this);
    connect(dialog, &EnvNew::saved, this, [this] {
        ask();
        emit refreshEnvPre(m_projectId);
    });
    dialog->open();
}

void EnvSet::change(int cmd, const QJsonObject &env, const QString &failed)
{
    setError({});
    m_block->table()->setBusy(true);
    const QJsonObject body{{QStringLiteral("projectId"), m_projectId},
                           {QStringLiteral("software_type"), m_software},
                           {QStringLiteral("id"), env.value(QLatin1String("id")).toVariant().toInt()}};
    ServerCall::ask(this, cmd, body, [this, failed](const ServerCall::Answer &answer) {
        if (!answer.good())
            setError(failed + QStringLiteral("：") + answer.text());
        ask(); // also then: it may be another one's doing that it isn't there
        emit refreshEnvPre(m_projectId);
    });
}

// Whether the folders are there is asked away from the window; those that are become places for results.
void EnvSet::savePaths()
{
    if (!m_form->check())
        return;
    const QString work = QDir::fromNativeSeparators(m_form->value(Work).toString());
    const QString output = QDir::fromNativeSeparators(m_form->value(Output).toString());
    m_save->setEnabled(false);
    Background::run(
        this,
        [work, output] {
            const int bad = (isFolder(work) ? 0 : 1) + (isFolder(output) ? 0 : 2);
            if (bad == 0 && !output.isEmpty())
                ResultRoots::add(output);
            return bad;
        },
        [this, work, output, software = m_software](int bad) {
            if (software != m_software)
                return;
            if (bad == 0)
                return sendPaths(work, output);
            m_save->setEnabled(true);
            if (bad & 1)
                m_form->setWhy(Work, tr("文件夹不存在"));
            if (bad & 2)
                m_form->setWhy(Output, tr("文件夹不存在"));
        });
}

void EnvSet::sendPaths(const QString &work, const QString &output)
{
    QJsonObject extra = m_config.value(Extra).toObject();
    extra.insert(Work, work);
    extra.insert(Output, output);
    extra.insert(Frames, m_form->value(Frames));
    const QJsonObject body{{QStringLiteral("projectId"), m_projectId},
                           {QStringLiteral("software_type"), m_software},
                           {Work, work},
                           {Output, output},
                           {Extra, extra}};
    setError({});
    ServerCall::ask(this, Command::ShareEnvironment, body,
                    [this, work, output, software = m_software](const ServerCall::Answer &answer) {
                        if (!answer.good()) {
                            m_save->setEnabled(software == m_software);
                            return setError(tr("修改失败") + QStringLiteral("：") + answer.text());
                        }
                        Toast::show(this, tr("保存成功"));
                        emit refreshResultDir(output, work);
                        emit refreshEnvPre(m_projectId);
                        ask();
                    });
}
