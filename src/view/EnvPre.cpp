#include "view/EnvPre.h"
#include "common/CommonConfig.h"
#include "common/facts/Command.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/RecordModel.h"
#include "common/ui/kit/ServerCall.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "view/set/EnvSet.h"
#include "view/set/ProjectNew.h"
#include <QDateTime>
#include <QFileInfo>
#include <QPushButton>

namespace
{
constexpr int ShownScenes = 4, TipScenes = 40;
constexpr int FormWidth = 500, NameWidth = 360;
const QString Group = QStringLiteral("EnvPre");
const QString Project = QStringLiteral("project"), Env = QStringLiteral("env"), Machine = QStringLiteral("machine");
const QString Scenes = QStringLiteral("scenes"), MayaPath = QStringLiteral("mayaProject");

QString envMemory(int softwareType) { return Settings::key(Settings::LastEnvironment, softwareType); }
QString projectKey(const QJsonObject &obj) { return obj.value(QLatin1String("id")).toVariant().toString(); }
QString projectName(const QJsonObject &obj) { return obj.value(QLatin1String("name")).toString(); }
} // namespace

EnvPre::EnvPre(int softwareType, const QStringList &scenes, double balance, QWidget *parent)
    : EnvPre(softwareType, scenes, balance, parent, Kind())
{
}

EnvPre::EnvPre(int softwareType, const QStringList &scenes, double balance, QWidget *parent, const Kind &kind)
    : DialogFrame(QStringLiteral("EnvPre"), tr("提交%1文件").arg(SoftwareType::name(softwareType)), parent),
      m_local(kind.local)
{
    m_chosen.softwareType = softwareType;
    m_chosen.scenes = scenes;
    m_chosen.balance = balance;
    m_chosen.resultDir = UserInfo::resultDir();
    m_chosen.allowArrears = EnvChoice::allowsArrears(CommonConfig::get().raw);
    m_chosen.resultRoot =
        softwareType == SoftwareType::Maya ? CommonConfig::get().mayaResultRootPathEnum : UserInfo::outRoot();
    m_projectWish = UserInfo::setting(Settings::LastProject).toString();
    m_envWish = UserInfo::userValue(Group, envMemory(softwareType)).toString();
    m_machineWish = UserInfo::setting(Settings::LastMachine).toString();
    makeForm();
    addButton(tr("新建项目"), Left, [this] { create(); });
    m_edit = new QPushButton(tr("编辑环境"), this);
    connect(m_edit, &QPushButton::clicked, this, &EnvPre::edit);
    addToRow(m_edit);
    m_ok = addButton(kind.accept.isEmpty() ? tr("开始解析") : kind.accept, Primary, [this] { accept(); });
    addButton(tr("取消"), Close);
    askProjects();
}

void EnvPre::makeForm()
{
    QVector<Field> fields{Field::shown(Scenes, tr("场景")), Field::choice(Project, tr("项目")),
                          Field::choice(Env, tr("环境")), Field::choice(Machine, tr("机型"))};
    if (m_local && m_chosen.softwareType == SoftwareType::Maya)
        fields << Field::folder(MayaPath, tr("工程路径"));
    m_form = new Form(fields, this);
    m_form->setMinimumWidth(FormWidth);
    QStringList names;
    for (const QString &scene : m_chosen.scenes.mid(0, ShownScenes))
        names << fontMetrics().elidedText(QFileInfo(scene).fileName(), Qt::ElideMiddle, NameWidth);
    if (m_chosen.scenes.size() > ShownScenes)
        names << tr("… 共 %1 个文件").arg(m_chosen.scenes.size());
    m_form->setValues({{Scenes, names.join(QLatin1Char('\n'))}});
    m_form->editor(Scenes)->setToolTip(
        RecordModelBase::plainTip(m_chosen.scenes.mid(0, TipScenes).join(QLatin1Char('\n'))));
    m_form->editor(Scenes)->setMinimumWidth(NameWidth + Metrics::Gap);
    for (const QString &key : {Project, Env, Machine})
        m_form->editor(key)->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    content()->addWidget(m_form);
    content()->addStretch(1);
    connect(m_form, &Form::changed, this, &EnvPre::chosen);
}

void EnvPre::chosen(const QString &key)
{
    if (m_filling)
        return;
    if (key == Env)
        m_envWish = EnvChoice::environmentKey(picked(Env, environments()));
    if (key == Machine)
        m_machineWish = EnvChoice::machineName(picked(Machine, m_machines));
    if (key != Project)
        return setError({});
    m_projectWish = projectKey(project());
    askProject();
}

void EnvPre::fill(const QString &key, const QJsonArray &list, int current, QString (*text)(const QJsonObject &))
{
    m_filling = true;
    Field::Choices choices;
    for (int i = 0; i < list.size(); ++i)
        choices.append({i, text(list.at(i).toObject())});
    m_form->setChoices(key, choices);
    m_form->setValue(key, current);
    m_filling = false;
}

QJsonObject EnvPre::picked(const QString &key, const QJsonArray &list) const
{
    const QJsonValue at = m_form->value(key);
    return at.isDouble() ? list.at(at.toInt()).toObject() : QJsonObject();
}

QJsonObject EnvPre::project() const { return picked(Project, m_projects); }

void EnvPre::waitFor(int replies)
{
    ++m_round;
    m_open = replies;
    setError({});
    setBusy(true, tr("正在读取…"));
}

// One question of a round; what comes for an earlier choice is dropped.
void EnvPre::ask(int cmd, const QJsonObject &body, void (EnvPre::*take)(const QJsonDocument &))
{
    ServerCall::ask(this, cmd, body, [this, cmd, take, round = m_round](const ServerCall::Answer &answer) {
        if (round != m_round)
            return;
        if (answer.good())
            return (this->*take)(answer.doc);
        ++m_round; // the others of this round don't matter any more
        setBusy(false);
        m_ok->setEnabled(false);
        // Where the server refuses, the project may have been deleted elsewhere: the list is read anew.
        const bool all = cmd == Command::Projects || answer.kind == ServerCall::Answer::Refused;
        setError(answer.text(), [this, all] { all ? askProjects() : askProject(); });
    });
}

void EnvPre::answered()
{
    if (--m_open > 0)
        return;
    setBusy(false);
    m_edit->setEnabled(!project().isEmpty());
    m_ok->setFocus();
}

void EnvPre::askProjects()
{
    waitFor(1);
    ask(Command::Projects, {}, &EnvPre::projectsReply);
}

void EnvPre::projectsReply(const QJsonDocument &doc)
{
    m_projects = EnvChoice::projects(doc);
    fill(Project, m_projects, EnvChoice::preferred(m_projects, m_projectWish, projectKey), projectName);
    if (!m_projects.isEmpty())
        return askProject();
    m_chosen.config = QJsonObject();
    m_machines = QJsonArray();
    fill(Env, {}, -1, EnvChoice::environmentText);
    fill(Machine, {}, -1, EnvChoice::machineName);
    answered();
}

void EnvPre::askProject()
{
    waitFor(2);
    const QJsonValue id = project().value(QLatin1String("id"));
    ask(Command::Environments,
        {{QStringLiteral("projectId"), id}, {QStringLiteral("software_type"), m_chosen.softwareType}},
        &EnvPre::environmentsReply);
    ask(Command::Machines, {{QStringLiteral("projectId"), id}}, &EnvPre::machinesReply);
}

void EnvPre::environmentsReply(const QJsonDocument &doc)
{
    m_chosen.config = EnvChoice::config(doc);
    const QJsonArray list = environments();
    fill(Env, list, EnvChoice::preferred(list, m_envWish, EnvChoice::environmentKey), EnvChoice::environmentText);
    showWorkPath(m_chosen.config.value(QLatin1String("workPath")).toString());
    answered();
}

void EnvPre::machinesReply(const QJsonDocument &doc)
{
    m_machines = EnvChoice::machines(doc);
    fill(Machine, m_machines, EnvChoice::preferred(m_machines, m_machineWish, EnvChoice::machineName),
         EnvChoice::machineName);
    answered();
}

// The project's own path, unless another one was typed.
void EnvPre::showWorkPath(const QString &path)
{
    const QString shown = m_form->value(MayaPath).toString();
    if (!shown.isEmpty() && shown != m_workPath)
        return;
    m_workPath = path;
    if (m_form->editor(MayaPath))
        m_form->setValue(MayaPath, path);
}

void EnvPre::refreshEnvPre(int projectId)
{
    if (projectId > 0)
        m_projectWish = QString::number(projectId);
    askProjects();
}

void EnvPre::refreshResultDir(const QString &, const QString &projectPath) { showWorkPath(projectPath); }

void EnvPre::create()
{
    auto *dialog = new ProjectNew(this);
    connect(dialog, &ProjectNew::refreshEnvPre, this, &EnvPre::refreshEnvPre);
    dialog->open();
}

void EnvPre::edit()
{
    if (project().isEmpty())
        return;
    auto *dialog = new EnvSet(projectKey(project()).toInt(), projectName(project()), m_chosen.softwareType, this);
    connect(dialog, &EnvSet::refreshResultDir, this, &EnvPre::refreshResultDir);
    connect(dialog, &EnvSet::refreshEnvPre, this, &EnvPre::refreshEnvPre);
    connect(dialog, &EnvSet::gone, this, &EnvPre::askProjects);
    dialog->open();
}

void EnvPre::accept()
{
    m_chosen.project = project();
    m_chosen.env = picked(Env, environments());
    m_chosen.machine = picked(Machine, m_machines);
    m_chosen.mayaProject = m_form->value(MayaPath).toString();
    m_chosen.mayaProjectExists = true;
    if (m_chosen.mayaProject.isEmpty())
        return insert();
    // Whether a folder exists is asked away from the window: it may lie on a drive that doesn't answer.
    m_ok->setEnabled(false);
    Background::run(
        this, [path = m_chosen.mayaProject] { return QFileInfo(path).isDir(); },
        [this](bool exists) {
            m_ok->setEnabled(!busy());
            m_chosen.mayaProjectExists = exists;
            insert();
        });
}

void EnvPre::setMayaProject(const QString &folder)
{
    if (m_form->editor(MayaPath))
        m_form->setValue(MayaPath, folder);
}

void EnvPre::setFinished(const QJsonObject &order)
{
    m_chosen.finished = order;
    if (order.contains(QLatin1String("projectId")))
        m_projectWish = order.value(QLatin1String("projectId")).toVariant().toString();
}

void EnvPre::insert()
{
    const QString no = EnvChoice::refusal(m_chosen);
    if (!no.isEmpty())
        return setError(no);
    remember();
    const QList<db_resolve> list = EnvChoice::rows(m_chosen, QDateTime::currentSecsSinceEpoch());
    const bool finished = !m_chosen.finished.isEmpty();
    if (Seam<ResolveCalls>::post(
            [=](ResolveCalls &queue) { finished ? queue.saveDataSet(list.first()) : queue.addFile(list); })) {
        emit submitted();
        if (m_caller)
            m_caller(tr("提交成功，请致客户端查看！"));
        close();
    } else {
        if (m_caller)
            m_caller(tr("提交失败，请联系客服人员！"));
        setError(tr("解析队列尚未就绪，请稍后重试"));
    }
}

void EnvPre::remember() const
{
    UserInfo::setSetting(Settings::LastProject, projectKey(m_chosen.project));
    UserInfo::setUserValue(Group, envMemory(m_chosen.softwareType), EnvChoice::environmentKey(m_chosen.env));
    UserInfo::setSetting(Settings::LastMachine, EnvChoice::machineName(m_chosen.machine));
}
