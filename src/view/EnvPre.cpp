#include "view/EnvPre.h"
#include "common/CommonConfig.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/Background.h"
#include "common/ui/IconTool.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "io/Ask.h"
#include <QAction>
#include <QComboBox>
#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

namespace
{
constexpr int AnswerMs = 10000;
constexpr int ShownScenes = 4;
constexpr int FieldWidth = 360;
const QString Group = QStringLiteral("EnvPre");

QString envMemory(int softwareType) { return QStringLiteral("defaultEnvId_%1").arg(softwareType); }
QString projectKey(const QJsonObject &obj) { return obj.value(QLatin1String("id")).toVariant().toString(); }

void fill(QComboBox *box, const QJsonArray &list, int current, QString (*text)(const QJsonObject &))
{
    const QSignalBlocker quiet(box);
    box->clear();
    for (const QJsonValue &value : list) {
        box->addItem(text(value.toObject()), value.toObject());
        box->setItemData(box->count() - 1, text(value.toObject()), Qt::ToolTipRole);
    }
    box->setCurrentIndex(current);
    box->setEnabled(box->count() > 0);
}

QString projectName(const QJsonObject &obj) { return obj.value(QLatin1String("name")).toString(); }
} // namespace

EnvPre::EnvPre(int softwareType, const QStringList &scenes, double balance, QWidget *parent)
    : BaseWidget(Dialog, parent)
{
    setObjectName(QStringLiteral("EnvPre"));
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(tr("提交%1文件").arg(SoftwareType::name(softwareType)));
    m_chosen.softwareType = softwareType;
    m_chosen.scenes = scenes;
    m_chosen.balance = balance;
    m_chosen.resultDir = UserInfo::resultDir();
    m_chosen.resultRoot =
        softwareType == SoftwareType::Maya ? CommonConfig::get().mayaResultRootPathEnum : UserInfo::outRoot();
    makeForm(scenes);
    askProjects();
}

void EnvPre::makeForm(const QStringList &scenes)
{
    auto *form = new QFormLayout;
    form->setContentsMargins(24, 16, 24, 8);
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(12);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    QStringList names;
    for (const QString &scene : scenes.mid(0, ShownScenes))
        names << fontMetrics().elidedText(QFileInfo(scene).fileName(), Qt::ElideMiddle, FieldWidth);
    if (scenes.size() > ShownScenes)
        names << tr("… 共 %1 个文件").arg(scenes.size());
    auto *files = new QLabel(names.join(QLatin1Char('\n')), this);
    files->setToolTip(scenes.mid(0, 40).join(QLatin1Char('\n')));
    form->addRow(tr("场景："), files);
    const auto combo = [&](const QString &text) {
        auto *box = new QComboBox(this);
        box->setMinimumWidth(FieldWidth);
        box->setMaximumWidth(FieldWidth);
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setEnabled(false);
        auto *label = new QLabel(text, this);
        label->setBuddy(box);
        box->setAccessibleName(text);
        form->addRow(label, box);
        return box;
    };
    m_project = combo(tr("项目："));
    m_env = combo(tr("环境："));
    m_machine = combo(tr("机型："));
    if (m_chosen.softwareType == SoftwareType::Maya) {
        m_maya = new QLineEdit(this);
        m_maya->setAccessibleName(tr("工程路径"));
        QAction *browse = m_maya->addAction(IconTool::icon(QStringLiteral("folder")), QLineEdit::TrailingPosition);
        connect(browse, &QAction::triggered, this, [this] {
            auto *dialog = new QFileDialog(this, tr("工程路径"), m_maya->text());
            dialog->setAttribute(Qt::WA_DeleteOnClose);
            dialog->setFileMode(QFileDialog::Directory);
            connect(dialog, &QFileDialog::fileSelected, m_maya, &QLineEdit::setText);
            dialog->open();
        });
        form->addRow(tr("工程路径："), m_maya);
    }
    body()->addLayout(form);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(24, 4, 24, 16);
    foot->setSpacing(8);
    m_error = new QLabel(this);
    m_error->setObjectName(QStringLiteral("errorLine"));
    m_error->setWordWrap(true);
    m_error->setMinimumHeight(32);
    foot->addWidget(m_error, 1);
    m_again = new QPushButton(tr("重试"), this);
    m_again->hide();
    connect(m_again, &QPushButton::clicked, this, [this] { m_projects.isEmpty() ? askProjects() : askProject(); });
    m_ok = new QPushButton(tr("开始解析"), this);
    m_ok->setProperty("primary", true);
    m_ok->setEnabled(false);
    m_ok->setDefault(true);
    connect(m_ok, &QPushButton::clicked, this, &EnvPre::accept);
    auto *cancel = new QPushButton(tr("取消"), this);
    connect(cancel, &QPushButton::clicked, this, &EnvPre::close);
    for (QPushButton *button : {m_again, m_ok, cancel})
        foot->addWidget(button);
    body()->addLayout(foot);
    connect(m_project, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &EnvPre::askProject);
}

void EnvPre::waitFor(int replies)
{
    m_open = replies;
    m_error->clear();
    m_again->hide();
    m_ok->setEnabled(false);
}

// One question of a round; what comes for an earlier choice is dropped.
void EnvPre::ask(int cmd, const QJsonObject &body, void (EnvPre::*take)(const QJsonDocument &))
{
    Ask(cmd, body)
        .within(AnswerMs)
        .whenLinked()
        .any([this, take, round = m_round](int, const QJsonDocument &doc) {
            if (round == m_round)
                (this->*take)(doc);
        })
        .lost([this, round = m_round](Ask::Loss) {
            if (round != m_round)
                return;
            m_error->setText(tr("服务器没有响应，请检查网络后重试"));
            m_again->show();
        })
        .send(this);
}

void EnvPre::answered()
{
    if (--m_open > 0)
        return;
    m_ok->setEnabled(true);
    m_ok->setFocus();
}

void EnvPre::askProjects()
{
    waitFor(1);
    ++m_round;
    ask(10502, {}, &EnvPre::projectsReply);
}

void EnvPre::projectsReply(const QJsonDocument &doc)
{
    m_projects = EnvChoice::projects(doc);
    const QString last = UserInfo::userValue(Group, QStringLiteral("defaultProject")).toString();
    fill(m_project, m_projects, EnvChoice::preferred(m_projects, last, projectKey), projectName);
    if (m_projects.isEmpty())
        answered();
    else
        askProject();
}

QJsonObject EnvPre::project() const { return m_project->currentData().toJsonObject(); }

void EnvPre::askProject()
{
    waitFor(2);
    ++m_round;
    const QJsonValue id = project().value(QLatin1String("id"));
    ask(10506, {{QStringLiteral("projectId"), id}, {QStringLiteral("software_type"), m_chosen.softwareType}},
        &EnvPre::environmentsReply);
    ask(11102, {{QStringLiteral("projectId"), id}}, &EnvPre::machinesReply);
}

void EnvPre::environmentsReply(const QJsonDocument &doc)
{
    m_chosen.config = EnvChoice::config(doc);
    const QJsonArray list = m_chosen.config.value(QLatin1String("combos")).toArray();
    const QString last = UserInfo::userValue(Group, envMemory(m_chosen.softwareType)).toString();
    fill(m_env, list, EnvChoice::preferred(list, last, EnvChoice::environmentKey), EnvChoice::environmentText);
    if (m_maya && m_maya->text().isEmpty())
        m_maya->setText(m_chosen.config.value(QLatin1String("workPath")).toString());
    answered();
}

void EnvPre::machinesReply(const QJsonDocument &doc)
{
    m_machines = EnvChoice::machines(doc);
    const QString last = UserInfo::userValue(Group, QStringLiteral("machine")).toString();
    fill(m_machine, m_machines, EnvChoice::preferred(m_machines, last, EnvChoice::machineName), EnvChoice::machineName);
    answered();
}

void EnvPre::accept()
{
    m_chosen.project = project();
    m_chosen.env = m_env->currentData().toJsonObject();
    m_chosen.machine = m_machine->currentData().toJsonObject();
    if (!m_maya || m_maya->text().trimmed().isEmpty()) {
        insert();
        return;
    }
    // Whether a folder exists is asked away from the window: it may lie on a drive that doesn't answer.
    m_chosen.mayaProject = m_maya->text().trimmed();
    m_ok->setEnabled(false);
    Background::run(
        this, [path = m_chosen.mayaProject] { return QFileInfo(path).isDir(); },
        [this](bool exists) {
            m_ok->setEnabled(true);
            m_chosen.mayaProjectExists = exists;
            insert();
        });
}

void EnvPre::insert()
{
    const QString no = EnvChoice::refusal(m_chosen);
    if (!no.isEmpty()) {
        m_error->setText(no);
        return;
    }
    remember();
    const QList<db_resolve> list = EnvChoice::rows(m_chosen, QDateTime::currentSecsSinceEpoch());
    if (Seam<ResolveCalls>::post([list](ResolveCalls &queue) { queue.addFile(list); })) {
        emit submitted();
        close();
    } else {
        m_error->setText(tr("解析队列尚未就绪，请稍后重试"));
    }
}

void EnvPre::remember() const
{
    UserInfo::setUserValue(Group, QStringLiteral("defaultProject"), projectKey(m_chosen.project));
    UserInfo::setUserValue(Group, envMemory(m_chosen.softwareType), EnvChoice::environmentKey(m_chosen.env));
    UserInfo::setUserValue(Group, QStringLiteral("machine"), EnvChoice::machineName(m_chosen.machine));
}
