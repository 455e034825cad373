#include "resolve/OrderRequest.h"
#include "common/facts/Command.h"
#include "common/facts/Rset.h"
#include "db/ResolveDAO.h"
#include "io/NetTcp.h"
#include "resolve/OrderMessage.h"
#include <QDebug>

namespace
{
using SceneState::Act;
}

OrderRequest::OrderRequest(QObject *parent) : QObject(parent) {}

void OrderRequest::setTimes(int gateMs, int againMs)
{
    m_gateMs = gateMs;
    m_againMs = againMs;
}

void OrderRequest::linkLost() { m_asked = 0; }

void OrderRequest::tick()
{
    if (m_gate.throttling())
        return;
    m_gate.throttle(m_gateMs);
    if (!NetTcp::isLogin())
        return;
    const db_resolve row = ResolveDAO::instance()->nextWithoutOrder();
    if (row.rkey == 0 || (row.rkey == m_asked && m_since.elapsed() < m_againMs))
        return;
    m_asked = row.rkey;
    m_since.start();
    const Rset rset(row.rset);
    const QString path = QString(row.lpath).replace('\\', '/');
    const QJsonObject body{{"name", path.mid(path.lastIndexOf('/') + 1)},
                           {"clientFlag", row.rkey},
                           {"projectId", row.projectId},
                           {"softwareType", rset.softwareType()},
                           {"machineModel", rset.machineModel()}};
    NetTcp::instance()->nvds(
        Command::module(Command::ApplyOrder), Command::ApplyOrder, body,
        [this, rkey = row.rkey](int val, const QJsonDocument &doc) { replied(rkey, val, doc.object()); }, this);
}

void OrderRequest::replied(qlonglong rkey, int val, const QJsonObject &reply)
{
    if (m_asked == rkey)
        m_asked = 0;
    ResolveDAO *dao = ResolveDAO::instance();
    const db_resolve row = dao->read(rkey);
    if (row.rkey == 0 || !row.ordernum.isEmpty())
        return;
    const QString order = reply.value("num").toVariant().toString();
    if (!Command::good(Command::ApplyOrder, val) || order.isEmpty())
        return refused(row, val);
    if (!dao->setOrder(rkey, reply.value("id").toVariant().toInt(), order))
        return;
    dao->step(rkey, Rset(row.rset).isClone() ? Act::CommitClone : Act::GrantOrder);
}

void OrderRequest::refused(const db_resolve &row, int val)
{
    qWarning().noquote() << "OrderRequest::refused" << row.rkey << row.lpath << val;
    // A row that the user has paused, or whose result stands already, keeps its state and is asked for again.
    ResolveDAO::instance()->step(row.rkey, Act::RefuseOrder, 0, val);
}
