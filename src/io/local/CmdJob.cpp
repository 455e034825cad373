// Routes that ask the business server: account, projects, environments, machines, tasks; and the master's forwarding.
#include "common/facts/Command.h"
#include "common/facts/PageSize.h"
#include "common/UserInfo.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "io/KnownHosts.h"
#include "io/local/CmdHand.h"
#include "io/local/SeatBook.h"
#include "io/NetWork.h"
#include "io/ProxyFactory.h"
#include "task/Cell.h"
#include "task/TaskHands.h"
#include <QDebug>
#include <QRegularExpression>

namespace
{
constexpr int AllStatus = 1000, PageRows = PageSize::Jobs;
constexpr int OldStatus = 2000;
constexpr int MaxFolders = 10; // opened by one request
constexpr int MaxPages = 500;  // looked through for an order

QByteArray compact(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

} // namespace

void CmdHand::account() { forward(Command::Accounts, "{}"); }

void CmdHand::projectList() { forward(Command::Projects, "{}"); }

void CmdHand::envList()
{
    forward(Command::Environments, compact({{"projectId", m_line.arg("projectId").toInt()},
                                            {"software_type", m_line.arg("softwareType").toInt()}}));
}

void CmdHand::machineList()
{
    forward(Command::Machines,
            compact({{"projectId", m_line.arg("projectId").toInt()}, {"farmId", m_line.arg("farmId").toInt()}}));
}

void CmdHand::jobList()
{
    QJsonObject body{{"name", m_line.arg("name")}, {"page", m_line.arg("page").toInt()}, {"pageCount", PageRows}};
    const auto filter = [&](const QString &arg, const QString &key, qlonglong fallback) {
        bool tooLong = false;
        QJsonArray values;
        for (qlonglong value : m_line.numbers(arg, QString(), &tooLong))
            values.append(value);
        if (values.isEmpty())
            values.append(fallback);
        body[key] = values;
    };
    filter("status", "missionStatus", AllStatus);
    filter("projectId", "projectId", -1);
    filter("userId", "userId", -1);
    forward(Command::Tasks, compact(body));
}

void CmdHand::withDetails(std::function<void(const QStringList &, const QVector<Answer> &)> next)
{
    withTasks([=](const QStringList &ids) {
        QList<QJsonObject> bodies;
        for (const TaskRequest &request : TaskRequest::each(Command::TaskDetail, ids))
            bodies << QJsonDocument::fromJson(request.body).object();
        askEach(Command::TaskDetail, bodies, [=](int val, const QVector<Answer> &answers) {
            if (isGood(Command::TaskDetail, val))
                next(ids, answers);
            else
                over(val, textOf(val), QJsonValue::Undefined, false);
        });
    });
}

void CmdHand::jobDetail()
{
    withDetails([this](const QStringList &, const QVector<Answer> &answers) {
        QJsonArray all;
        for (const Answer &answer : answers)
            all.append(answer.doc.object());
        const int val = answers.last().val;
        over(val, textOf(val), all.size() == 1 ? all.at(0) : QJsonValue(all), true);
    });
}

void CmdHand::jobOpenDir()
{
    withDetails([this](const QStringList &, const QVector<Answer> &answers) {
        QJsonArray opened;
        for (const Answer &answer : answers.mid(0, MaxFolders))
            if (const QString path = TaskHands::openFolder(answer.doc.object()); !path.isEmpty())
                opened.append(path);
        if (opened.isEmpty())
            fail(tr("输出路径不存在"));
        else
            good(tr("已打开本地目录"), opened);
    });
}

void CmdHand::jobDownload()
{
    withTasks([this](const QStringList &ids) {
        QString fault;
        if (TaskHands::download(ids, &fault) < ids.size())
            fail(fault);
        else
            good(tr("已加入下载队列"));
    });
}

void CmdHand::withTasks(std::function<void(QStringList)> next)
{
    bool tooLong = false;
    QStringList ids;
    for (qlonglong id : m_line.numbers("mid", "mids", &tooLong))
        if (id > 0)
            ids << QString::number(id);
    const QStringList orders = m_line.list("i", "is");
    if (tooLong || orders.size() > CmdLine::MaxList) {
        fail(tr("一次最多处理%1个").arg(CmdLine::MaxList));
        return;
    }
    findOrders(orders, ids, std::move(next));
}

// An order that this client has in its stores is known at once; for others the server's lists are searched.
void CmdHand::findOrders(QStringList orders, QStringList ids, std::function<void(QStringList)> next)
{
    QStringList unknown;
    for (const QString &order : orders) {
        int mission = ResolveDAO::instance()->readByOrder(order).missionid;
        if (mission == 0)
            mission = DownloadDAO::instance()->missionByOrder(order).missid;
        if (mission > 0)
            ids << QString::number(mission);
        else
            unknown << order;
    }
    if (!unknown.isEmpty())
        searchOrders(unknown, ids, false, 0, std::move(next));
    else if (ids.isEmpty())
        fail(tr("没有相关大任务"));
    else
        next(ids);
}

void CmdHand::searchOrders(QStringList orders, QStringList ids, bool history, int page,
                           std::function<void(QStringList)> next)
{
    const QJsonObject search{{"name", QString()},
                             {"page", page},
                             {"pageCount", PageRows},
                             {"missionStatus", QJsonArray{history ? OldStatus : AllStatus}}};
    ask(Command::Tasks, search, [=](int, const QJsonDocument &doc) {
        QStringList left = orders, found = ids;
        const QList<TaskRecord> tasks = TaskRecord::list(doc.object().value("pageList"));
        for (const TaskRecord &task : tasks)
            if (left.removeAll(task.num) > 0)
                found << task.id;
        const bool more = !tasks.isEmpty() && page + 1 < qMin(MaxPages, Cell::integer(doc.object(), "pageSize"));
        if (!left.isEmpty() && (more || !history))
            return searchOrders(left, found, history || !more, more ? page + 1 : 0, next);
        if (found.isEmpty())
            fail(tr("没有相关大任务"));
        else
            next(found);
    });
}

// Other seats ask which ports this master forwards, and for one more host and port to be forwarded.
void CmdHand::masterInfo()
{
    if (!UserInfo::isMaster()) {
        good(QString(), QJsonArray(), {{"masterUserId", UserInfo::masterUserId()}});
        return;
    }
    SeatBook::meet(m_caller.address);
    const QString host = m_line.arg("host").toLower();
    const int port = m_line.arg("port").toInt(), farmId = m_line.arg("farmId").toInt();
    static const QRegularExpression name(QStringLiteral("^[a-z0-9]([a-z0-9._-]{0,252})$"));
    if (host.isEmpty())
        tellPorts();
    else if (!name.match(host).hasMatch() || port < 1 || port > 65535)
        fail(tr("参数异常"));
    else if (ProxyFactory::portOf(host, port) != 0 || KnownHosts::contains(host) || farmId <= 0)
        forwardTo(host, port);
    else
        ask(11100, {{"farmId", farmId}}, [=](int, const QJsonDocument &doc) {
            KnownHosts::learn(doc.object());
            forwardTo(host, port);
        });
}

// Only what the farm's own addresses name is forwarded, and nothing of this machine: its other services would take the
// seats' network for themselves.
void CmdHand::forwardTo(const QString &host, int port)
{
    if (ProxyFactory::portOf(host, port) != 0) {
        tellPorts();
        return;
    }
    QString why = tr("%1 不是农场的服务器，不予转发").arg(host);
    const bool allowed = KnownHosts::contains(host) && !ProxyFactory::leadsHere(host);
    if (!allowed)
        qWarning().noquote() << "CmdHand::forwardTo refused" << host << port << "for" << m_caller.address;
    if (allowed && ProxyFactory::openProxy({QStringLiteral("%1:%2").arg(host).arg(port)}, true, &why))
        tellPorts();
    else
        fail(why);
}

void CmdHand::tellPorts() { good(QString(), ProxyFactory::pairs(), {{"masterUserId", UserInfo::userId()}}); }
