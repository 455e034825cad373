#include "view/MasterMeeting.h"
#include "common/Session.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "io/NetTcp.h"
#include "io/ProxyFactory.h"
#include "io/WebAsk.h"
#include <QCoreApplication>
#include <QJsonArray>
#include <QUrl>

namespace
{
void takeMasterInfo(const FuncBody &reply, MasterMeeting *out)
{
    const QJsonArray pairs = reply.array.isEmpty() ? reply.object.value(QLatin1String("data")).toArray() : reply.array;
    if (!reply.ok() || pairs.isEmpty())
        return;
    out->good = true;
    const QUrl rest(Session::qnhttp());
    const int restPort = rest.port(rest.scheme() == QLatin1String("https") ? 443 : 80);
    QJsonArray others; // for REST
    bool linked = false;
    for (const QJsonValue &value : pairs) {
        const QJsonArray pair = value.toArray();
        const int port = pair.at(0).toVariant().toInt(), target = pair.at(2).toVariant().toInt();
        const QString host = pair.at(1).toString();
        const bool link = !linked && host == Session::qnIP() && (target == 0 || target == NetTcp::DefaultPort);
        if (link) {
            NetTcp::instance()->setHost(UserInfo::masterHost(), port);
            NetTcp::instance()->reconnect();
            linked = true;
        }
        // One port can't lead to both servers of a host.
        if (host == rest.host() && (target == 0 ? !link : target == restPort))
            out->updatePort = port;
        if (!link)
            others.append(pair);
    }
    ProxyFactory::addPairs(others);
    QNetworkProxyFactory::setApplicationProxyFactory(new ProxyFactory);
    UserInfo::setMasterUserId(reply.object.value(QLatin1String("masterUserId")).toVariant().toInt());
}
} // namespace

MasterMeeting MasterMeeting::hold()
{
    MasterMeeting master;
    if (UserInfo::isMaster()) {
        QString why;
        master.good = ProxyFactory::openProxy(ProxyFactory::ownServers(), true, &why);
        if (!master.good)
            MsgTool::msgOkLoop(why); // no window is there yet that the message could stand in
        return master;
    }
    if (!UserInfo::isSlave())
        return master;
    master.good = false;
    master.seat = true;
    Request request;
    request.url = UserInfo::master() + QStringLiteral("/masterInfo");
    request.bareAddress = true;
    WebAsk::get(request)
        .within(WaitMs)
        .answered([&master](const FuncBody &reply) { takeMasterInfo(reply, &master); })
        .wait();
    if (!master.good)
        MsgTool::msgOkLoop(QCoreApplication::translate("Startup", "无法连接远程主机！"));
    return master;
}
