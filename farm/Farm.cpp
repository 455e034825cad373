#include "Farm.h"
#include "Account.h"
#include "Business.h"
#include "ContentStore.h"
#include "Core.h"
#include "drive/Drive.h"
#include "drive/DriveAnalysis.h"
#include "FileServer.h"
#include "Rest.h"
#include "tasks/Filled.h"
#include "tasks/Renderer.h"
#include "tasks/Tasks.h"
#include <future>
#include <QDebug>

using namespace farm;

Farm::Farm(QObject *parent) : QObject(parent) {}

Farm::~Farm() { stop(); }

bool Farm::start(const FarmOptions &options)
{
    stop();
    m_error.clear();
    for (const QString &fault : options.faults) {
        if (!m_faults.set(fault)) {
            m_error = QStringLiteral("unknown fault %1").arg(fault);
            return false;
        }
    }
    m_thread = new QThread;
    m_thread->setObjectName(QStringLiteral("farm"));
    m_core = new Core(options, m_faults);
    connect(m_core, &Core::loggedIn, this, &Farm::loggedIn);
    connect(m_core, &Core::orderChanged, this, &Farm::orderChanged);
    connect(m_core, &Core::uploadFinished, this, &Farm::uploadFinished);
    connect(m_core, &Core::taskFinished, this, &Farm::taskFinished);
    connect(m_core, &Core::resultsConfirmed, this, &Farm::resultsConfirmed);
    connect(m_core, &Core::downloaded, this, &Farm::downloaded);
    connect(m_core, &Core::violated, this, &Farm::violated);
    m_core->moveToThread(m_thread);
    m_thread->start();
    bool good = false;
    blocking([&] {
        good = m_core->open(&m_error);
        if (good)
            m_ports = m_core->ports();
    });
    if (!good)
        stop();
    return good;
}

void Farm::stop()
{
    if (!m_core)
        return;
    blocking([this] { m_core->close(); });
    m_thread->quit();
    m_thread->wait();
    delete m_core;
    m_core = nullptr;
    delete m_thread;
    m_thread = nullptr;
    m_ports = FarmPorts();
}

void Farm::blocking(const std::function<void()> &work) const
{
    auto done = std::make_shared<std::promise<void>>(); // outlives whichever side leaves first
    m_core->post([&work, done] {
        work();
        done->set_value();
    });
    done->get_future().wait();
}

template <typename R> R Farm::ask(const std::function<R(Core &)> &question) const
{
    R answer{};
    if (m_core)
        blocking([&] { answer = question(*m_core); });
    return answer;
}

void Farm::tell(const std::function<void(Core &)> &order) const
{
    if (m_core)
        blocking([&] { order(*m_core); });
}

QList<FarmOrder> Farm::orders() const
{
    return ask<QList<FarmOrder>>([](Core &core) { return core.tasks->describe(); });
}

FarmOrder Farm::order(int missionId) const
{
    return ask<FarmOrder>([missionId](Core &core) {
        const Task *task = core.tasks->byId(missionId);
        return task ? core.tasks->describe(*task) : FarmOrder();
    });
}

QList<FarmResult> Farm::results(int missionId) const
{
    return ask<QList<FarmResult>>([missionId](Core &core) { return core.tasks->results(missionId); });
}

QMap<QString, QString> Farm::storedFiles() const
{
    return ask<QMap<QString, QString>>([](Core &core) { return core.store->contents(); });
}

QStringList Farm::taskFiles(int missionId, bool here) const
{
    return ask<QStringList>([=](Core &core) {
        const Task *task = core.tasks->byId(missionId);
        return task ? core.tasks->files(*task, here) : QStringList();
    });
}

FarmCounters Farm::counters() const
{
    return ask<FarmCounters>([](Core &core) { return core.counters; });
}

QStringList Farm::violations() const
{
    return ask<QStringList>([](Core &core) { return core.violations; });
}

QMap<int, int> Farm::commandCounts() const
{
    return ask<QMap<int, int>>([](Core &core) { return core.commands; });
}

QJsonObject Farm::config() const
{
    return ask<QJsonObject>([](Core &core) { return core.account->config(); });
}

QMap<QString, QString> Farm::driveFiles(int farmId, int tree) const
{
    return ask<QMap<QString, QString>>([=](Core &core) {
        QMap<QString, QString> all;
        core.drive->tree().takeResults();
        core.drive->tree().each(farmId, tree, [&all](const DriveNode &node, const QString &path) {
            all.insert(node.kind == DriveNode::Folder ? path + QLatin1Char('/') : path, node.hash);
        });
        return all;
    });
}

bool Farm::fillDrive(const QString &path, int folders, int files, qint64 size)
{
    return ask<bool>([=](Core &core) { return core.drive->tree().fill(1, path, folders, files, size); });
}

qint64 Farm::driveUsed(int farmId) const
{
    return ask<qint64>([farmId](Core &core) { return core.drive->tree().used(farmId); });
}

bool Farm::putDriveFile(int farmId, const QString &path, const QByteArray &bytes)
{
    return ask<bool>([=](Core &core) { return core.drive->put(farmId, path, bytes); });
}

QMap<QString, int> Farm::analysisCounts() const
{
    return ask<QMap<QString, int>>([](Core &core) {
        const DriveAnalysis::Counts &sum = core.drive->analysis().counts();
        return QMap<QString, int>{{QStringLiteral("started"), sum.started},
                                  {QStringLiteral("resumed"), sum.resumed},
                                  {QStringLiteral("stopped"), sum.stopped},
                                  {QStringLiteral("asked"), sum.asked}};
    });
}

bool Farm::fillDrive(int farmId, const QString &path, int folders, int files, qint64 size)
{
    return ask<bool>([=](Core &core) { return core.drive->tree().fill(farmId, path, folders, files, size); });
}

QStringList Farm::events() const
{
    return ask<QStringList>([](Core &core) { return core.events; });
}

void Farm::kick(int reason)
{
    tell([reason](Core &core) { core.business->kick(reason); });
}

void Farm::push(int cmd, int val, const QJsonObject &body)
{
    tell([&](Core &core) { core.business->push(cmd, val, body); });
}

void Farm::dropLinks()
{
    tell([](Core &core) {
        core.business->dropLinks();
        core.rest->dropLinks();
        core.files->dropLinks();
    });
}

void Farm::setBalance(double balance)
{
    tell([balance](Core &core) { core.account->setBalance(balance); });
}

void Farm::rotateTokens()
{
    tell([](Core &core) { core.account->rotateTokens(); });
}

void Farm::fillTasks()
{
    tell([](farm::Core &core) { farm::fillTasks(core); });
}

void Farm::addProjects(const QStringList &names)
{
    tell([names](farm::Core &core) { core.account->addProjects(names); });
}

void Farm::removeProject(int id)
{
    tell([id](farm::Core &core) { core.account->removeProject(id); });
}

QJsonArray Farm::projects() const
{
    return ask<QJsonArray>([](farm::Core &core) { return core.account->projects(); });
}

QJsonObject Farm::projectConfig(int projectId, int softwareType) const
{
    return ask<QJsonObject>([=](farm::Core &core) { return core.account->projectConfig(projectId, softwareType); });
}

void Farm::addNotice(const QString &content)
{
    tell([&](Core &core) { core.account->addNotice(3, content); });
}
