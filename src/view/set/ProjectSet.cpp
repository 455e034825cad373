#include "view/set/ProjectSet.h"
#include "common/facts/Command.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TablePage.h"
#include "common/UserInfo.h"
#include "view/EnvChoice.h"
#include "view/set/EnvSet.h"
#include "view/set/ProjectNew.h"
#include <algorithm>

namespace
{
constexpr int ShownFaults = 3;

RecordModel<Project> *makeModel(QObject *parent)
{
    using C = Column<Project>;
    return new RecordModel<Project>(
        [](const Project &p) { return p.key; },
        {C::tick(),
         C(QStringLiteral("name"), ProjectSet::tr("项目名称"), 260)
             .text([](const Project &p) { return p.name; })
             .stretch(),
         C(QStringLiteral("default"), ProjectSet::tr("默认"), 110)
             .text([](const Project &p) { return p.isDefault ? ProjectSet::tr("默认项目") : QString(); })
             .tint([](const Project &) { return Tint::Quiet; })
             .giving(1),
         C::acts(ProjectSet::tr("操作"), 200)},
        parent);
}

bool sameProject(const Project &a, const Project &b)
{
    return a.name == b.name && a.isDefault == b.isDefault && a.obj == b.obj;
}
} // namespace

ProjectSet::ProjectSet(QWidget *parent) : QWidget(parent), m_model(makeModel(this))
{
    setObjectName(QStringLiteral("ProjectSet"));
    m_model->setSame(sameProject);
    TablePage::Look look;
    look.name = QStringLiteral("ProjectSet");
    look.accessible = tr("项目管理");
    look.emptyIcon = QStringLiteral("folder");
    look.emptyText = tr("没有项目");
    look.emptyHint = tr("点击“新建项目”创建");
    look.search = tr("搜索项目");
    look.columns = false;
    m_table = TablePage::fill(this, look, m_model);
    makeActs();
    connect(m_table, &TablePage::refreshWanted, this, &ProjectSet::ask);
    connect(m_table, &TablePage::searchWanted, this, &ProjectSet::search);
    connect(m_table->view(), &RecordView::opened, this,
            [this](const QString &key) { m_table->acts()->run(QStringLiteral("env"), {key}); });
    ask();
}

void ProjectSet::makeActs()
{
    ActSpec fresh("new", tr("新建项目"), QStringLiteral("plus"), ActSpec::Bar | ActSpec::Menu);
    ActSpec env("env", tr("编辑环境"), QString(), ActSpec::Row | ActSpec::Menu);
    ActSpec del("del", tr("删除"), QStringLiteral("trash"), ActSpec::Bar | ActSpec::Row | ActSpec::Menu);
    fresh.primary = fresh.free = true;
    fresh.run = [this](const QStringList &) { create(); };
    env.single = true;
    env.run = m_model->each([this](const Project &project) { edit(project); });
    del.keys = QKeySequence::Delete;
    del.danger = true;
    del.accept = del.text;
    del.question = [](const QStringList &keys) {
        return keys.size() == 1 ? tr("确定删除此项目吗？") : tr("确定删除这 %1 个项目吗？").arg(keys.size());
    };
    del.run = [this](const QStringList &keys) { remove(m_model->records(keys)); };
    for (const ActSpec &spec : {fresh, env, del})
        m_table->acts()->add(spec);
    m_table->build();
}

void ProjectSet::ask()
{
    m_table->setBusy(true);
    ServerCall::ask(this, Command::Projects, {}, [this, round = ++m_round](const ServerCall::Answer &answer) {
        if (round != m_round)
            return;
        m_table->setBusy(false);
        m_table->setError((m_refused << answer.text()).join(QLatin1Char('\n')).trimmed());
        m_refused.clear();
        if (answer.good())
            take(answer.doc);
    });
}

void ProjectSet::take(const QJsonDocument &reply)
{
    m_all.clear();
    const QJsonArray list = EnvChoice::projects(reply);
    for (const QJsonValue &value : list) {
        const QJsonObject obj = value.toObject();
        Project one{obj.value(QLatin1String("id")).toVariant().toString(), obj.value(QLatin1String("name")).toString(),
                    obj, obj.value(QLatin1String("isDefault")).toVariant().toInt() == 1};
        if (!one.key.isEmpty())
            m_all << one;
    }
    search();
}

void ProjectSet::search()
{
    const QString text = m_table->searched();
    QList<Project> found;
    std::copy_if(m_all.cbegin(), m_all.cend(), std::back_inserter(found),
                 [&text](const Project &p) { return p.name.contains(text, Qt::CaseInsensitive); });
    m_table->setEmpty(text.isEmpty() ? tr("没有项目") : tr("没有找到项目"),
                      text.isEmpty() ? tr("点击“新建项目”创建") : QString());
    m_model->setRows(found);
}

void ProjectSet::create()
{
    auto *dialog = new ProjectNew(window());
    connect(dialog, &ProjectNew::refreshEnvPre, this, [this](int id) {
        ask();
        emit refreshEnvPre(id);
    });
    dialog->open();
}

void ProjectSet::edit(const Project &project)
{
    auto *dialog = new EnvSet(project.key.toInt(), project.name, SoftwareType::Maya, window());
    connect(dialog, &EnvSet::refreshEnvPre, this, &ProjectSet::refreshEnvPre);
    connect(dialog, &EnvSet::gone, this, &ProjectSet::ask);
    dialog->open();
}

// Each on its own: one that is refused (orders that aren't done) doesn't hold up the others.
void ProjectSet::remove(const QList<Project> &projects)
{
    m_table->setBusy(true);
    for (const Project &project : projects) {
        ++m_open;
        ServerCall::ask(this, Command::DeleteProject, {{QStringLiteral("projectId"), project.key.toInt()}},
                        [this, project](const ServerCall::Answer &answer) {
                            if (answer.good() && UserInfo::setting(Settings::LastProject).toString() == project.key)
                                UserInfo::setSetting(Settings::LastProject, QString());
                            if (!answer.good() && m_refused.size() < ShownFaults)
                                m_refused
                                    << tr("删除失败") + QStringLiteral("：%1 %2").arg(project.name, answer.text());
                            removed();
                        });
    }
}

void ProjectSet::removed()
{
    if (--m_open > 0)
        return;
    ask();
    emit refreshEnvPre(0);
}
