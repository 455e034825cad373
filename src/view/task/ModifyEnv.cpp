#include "view/task/ModifyEnv.h"
#include "common/facts/Command.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TickList.h"
#include "common/UserInfo.h"
#include "task/Cell.h"
#include "view/EnvChoice.h"
#include "view/set/EnvRules.h"
#include <QCheckBox>

namespace
{
const QString Name = QStringLiteral("name"), Now = QStringLiteral("now"), Machine = QStringLiteral("machine");
constexpr int Width = 480; // where the screen has it; the words of what is chosen now go on in a second line

bool hasGpu(const QJsonObject &machine)
{
    for (const char *key : {"startGpu", "gpu", "isGpu"})
        if (Cell::number(machine, key) != 0)
            return true;
    return false;
}

// A machine is known by its client; of several with one it's the model that tells them apart.
QString keyOf(const QString &client, const QString &model) { return client + QLatin1Char('|') + model; }

QString modelOf(const QJsonObject &machine)
{
    const QString model = Cell::text(machine, "machineModel");
    return model.isEmpty() ? EnvChoice::machineName(machine) : model;
}

QString keyOf(const QJsonObject &machine)
{
    const QString client = Cell::text(machine, "clientId");
    return keyOf(client.isEmpty() ? Cell::text(machine, "id") : client, modelOf(machine));
}
} // namespace

ModifyEnv::ModifyEnv(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
    : DetailQueue(QStringLiteral("ModifyEnv"), tr("修改环境配置"), details, desk, parent),
      m_form(new Form({Field::shown(Name, tr("任务名称")), Field::shown(Now, tr("当前选择")),
                       Field::choice(Machine, tr("机型修改"))},
                      this)),
      m_gpu(new QCheckBox(tr("GPU机型"), this)),
      m_list(new TickList(QStringLiteral("plugins"), tr("插件修改"), {{tr("插件修改"), 0}}, this))
{
    m_gpu->setObjectName(QStringLiteral("env_gpu"));
    setWanted({Width, 0});
    m_form->editor(Now)->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_list->setMinimumHeight(180);
    content()->addWidget(m_form);
    content()->addWidget(m_gpu);
    content()->addWidget(m_list, 1);
    connect(m_gpu, &QCheckBox::clicked, this, &ModifyEnv::env_gpu_clicked);
    begin();
}

void ModifyEnv::shown()
{
    const QJsonObject &detail = current().detail;
    QStringList plugins;
    for (const QJsonValue &one : detail.value(QLatin1String("plugins")).toArray())
        plugins << EnvRules::pluginText(one.toObject());
    QStringList now{Cell::text(detail, "machineModel"), Cell::text(detail, "software"),
                    plugins.join(QStringLiteral("、"))};
    now.removeAll(QString());
    m_form->setValues({{Name, current().task.name}, {Now, now.join(QStringLiteral(" / "))}});
    m_gpu->setChecked(Cell::integer(detail, "startGpu") != 0);
    m_gpu->setEnabled(false); // until it's known that there is a choice
    m_machines = m_plugins = {};
    m_known = false;
    m_list->setRows({}, {});
    ++m_round;
    askMachines();
    askPlugins();
}

QString ModifyEnv::software() const
{
    const QString name = Cell::text(current().detail, "software");
    return UserInfo::resolveOs() == QLatin1String("linux") ? name + QStringLiteral(" linux") : name;
}

void ModifyEnv::askMachines()
{
    const QJsonObject &detail = current().detail;
    const QJsonObject body{{QStringLiteral("projectId"), Cell::integer(detail, "projectId")},
                           {QStringLiteral("farmId"), Cell::integer(detail, "farmId")},
                           {QStringLiteral("software"), software()},
                           {QStringLiteral("softwareType"), Cell::integer(detail, "softwareType")}};
    ServerCall::ask(this, Command::Machines, body, [this, round = m_round](const ServerCall::Answer &answer) {
        if (round != m_round)
            return;
        if (!answer.good())
            return setError(answer.text(), [this] { askMachines(); });
        m_machines = EnvChoice::machines(answer.doc);
        showMachines();
    });
}

void ModifyEnv::showMachines()
{
    const QJsonObject &detail = current().detail;
    const QString mine = keyOf(Cell::text(detail, "clientId"), Cell::text(detail, "machineModel"));
    Field::Choices choices;
    bool there = false, several = false;
    for (const QJsonValue &one : qAsConst(m_machines))
        several = several || hasGpu(one.toObject()) != hasGpu(m_machines.first().toObject());
    m_gpu->setEnabled(several);
    for (const QJsonValue &one : qAsConst(m_machines)) {
        const QJsonObject machine = one.toObject();
        if (several && hasGpu(machine) != m_gpu->isChecked())
            continue;
        choices.append({keyOf(machine), EnvChoice::machineName(machine)});
        there = there || keyOf(machine) == mine;
    }
    if (!there) // what it has stays a choice
        choices.prepend({mine, Cell::text(detail, "machineModel")});
    m_form->setChoices(Machine, choices);
    m_form->setValue(Machine, mine);
}

void ModifyEnv::env_gpu_clicked(bool) { showMachines(); }

void ModifyEnv::askPlugins()
{
    const QJsonObject &detail = current().detail;
    const QJsonObject body{{QStringLiteral("softwareType"), Cell::integer(detail, "softwareType")},
                           {QStringLiteral("software"), software()}};
    ServerCall::ask(this, Command::Plugins, body, [this, round = m_round](const ServerCall::Answer &answer) {
        if (round != m_round)
            return;
        if (!answer.good())
            return setError(answer.text(), [this] { askPlugins(); });
        m_plugins = EnvRules::plugins(answer.doc);
        const QJsonArray own = current().detail.value(QLatin1String("plugins")).toArray();
        QStringList ticked;
        for (const QJsonValue &one : own) {
            ticked << EnvRules::pluginKey(one.toObject());
            if (!EnvRules::contains(m_plugins, ticked.last()))
                m_plugins.prepend(one); // no longer offered, still this one's
        }
        QList<TickRow> rows;
        for (const QJsonValue &one : qAsConst(m_plugins))
            rows << TickRow{EnvRules::pluginKey(one.toObject()), {EnvRules::pluginText(one.toObject())}};
        m_list->setRows(rows, ticked);
        m_known = true;
    });
}

QJsonArray ModifyEnv::chosenPlugins() const
{
    QJsonArray chosen;
    for (const QJsonValue &one : m_plugins)
        if (m_list->isTicked(EnvRules::pluginKey(one.toObject())))
            chosen.append(one);
    return chosen;
}

bool ModifyEnv::check() { return true; }

TaskRequest ModifyEnv::request(const TaskDetail &task) const
{
    QJsonObject more;
    const QString chosen = m_form->value(Machine).toString();
    for (const QJsonValue &one : m_machines) {
        const QJsonObject machine = one.toObject();
        if (keyOf(machine) != chosen)
            continue;
        more.insert(QStringLiteral("machineModel"), modelOf(machine));
        more.insert(QStringLiteral("clientId"), machine.contains(QLatin1String("clientId"))
                                                    ? machine.value(QLatin1String("clientId"))
                                                    : machine.value(QLatin1String("id")));
    }
    if (m_known)
        more.insert(QStringLiteral("plugins"), chosenPlugins());
    return TaskRequest::environment(task.task.id, task.detail, more);
}
