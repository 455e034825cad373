// Routes that ask the business server: account, projects, environments, machines, tasks; and the master's forwarding.
#include "common/facts/Command.h"
#include "common/facts/PageSize.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "io/KnownHosts.h"
#include "io/local/CmdHand.h"
#include "io/local/SeatBook.h"
#include "io/NetWork.h"
#include "io/ProxyFactory.h"
#include <QDebug>
#include <QRegularExpression>

namespace
{
constexpr int AllStatus = 1000, PageRows = PageSize::Jobs;
constexpr int MaxFolders = 10; // opened by one request

QByteArray compact(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

QList<QJsonObject> bodiesOf(const QList<int> &missions)
{
    QList<QJsonObject> bodies;
    for (int mission : missions)
        bodies << QJsonObject{{"missionId", mission}};
    return bodies;
}
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
        if (values.isEmpty() && fallback >= 0)
            values.append(fallback);
        if (!values.isEmpty()) // all of them: the key stays away
            body[key] = values;
    };
    filter("status", "missionStatus", AllStatus);
    filter("projectId", "projectId", -1);
    filter("userId", "userId", -1);
    forward(Command::Tasks, compact(body));
}

void CmdHand::jobDetail()
{
    withJobs([this](const QList<int> &missions) {
        askEach(Command::TaskDetail, bodiesOf(missions), [this](int val, const QVector<Answer> &answers) {
            QJsonArray all;
            for (const Answer &answer : answers)
                all.append(answer.doc.object());
            over(val, textOf(val), all.size() == 1 ? all.at(0) : QJsonValue(all), isGood(Command::TaskDetail, val));
        });
    });
}

void CmdHand::jobOpenDir()
{
    withJobs([this](const QList<int> &missions) {
        askEach(Command::TaskDetail, bodiesOf(missions.mid(0, MaxFolders)),
                [this](int val, const QVector<Answer> &answers) {
                    if (!isGood(Command::TaskDetail, val)) {
                        over(val, textOf(val), QJsonValue::Undefined, false);
                        return;
                    }
                    QJsonArray opened;
                    for (const Answer &answer : answers) {
                        const QString path = VFunc::rootPath(answer.doc.object(), false);
                        if (!path.isEmpty() && VFunc::openFolder(path))
                            opened.append(path);
                    }
                    if (opened.isEmpty())
                        fail(tr("输出路径不存在"));
                    else
                        good(tr("已打开本地目录"), opened);
                });
    });
}

void CmdHand::jobDownload()
{
    withJobs([this](const QList<int> &missions) {
        const bool batch = missions.size() > 1;
        for (int mission : missions) {
            if (!Seam<DownCalls>::post([=](DownCalls &down) { down.missionResult(mission, false, batch); })) {
                fail(tr("客户端未登录"));
                return;
            }
        }
        good(tr("已加入下载队列"));
    });
}

void CmdHand::withJobs(std::function<void(QList<int>)> next)
{
    bool tooLong = false;
    QList<int> missions;
    for (qlonglong id : m_line.numbers("mid", "mids", &tooLong))
        if (id > 0 && id <= std::numeric_limits<int>::max())
            missions.append(int(id));
    QStringList orders = m_line.list("i", "is");
    if (tooLong || orders.size() > CmdLine::MaxList) {
        fail(tr("一次最多处理%1个").arg(CmdLine::MaxList));
        return;
    }
    findOrders(orders, missions, std::move(next));
}

// An order that this client has in its stores is known at once; for others the server's list is searched.
void CmdHand::findOrders(QStringList orders, QList<int> missions, std::function<void(QList<int>)> next)
{
    while (!orders.isEmpty()) {
        const QString order = orders.takeFirst();
        int mission = ResolveDAO::instance()->readByOrder(order).missionid;
        if (mission == 0)
            mission = DownloadDAO::instance()->missionByOrder(order).missid;
        if (mission > 0) {
            missions.append(mission);
            continue;
        }
        const QJsonObject search{
            {"name", order}, {"page", 0}, {"pageCount", PageRows}, {"missionStatus", QJsonArray{AllStatus}}};
        ask(Command::Tasks, search, [=](int, const QJsonDocument &doc) {
            QList<int> found = missions;
            for (const QJsonValue &value : doc.object().value("pageList").toArray())
                if (value.toObject().value("num").toVariant().toString() == order)
                    found.append(value.toObject().value("id").toVariant().toInt());
            findOrders(orders, found, next);
        });
        return;
    }
    if (missions.isEmpty())
        fail(tr("没有相关大任务"));
    else
        next(missions);
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
