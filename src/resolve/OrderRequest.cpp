#include "resolve/OrderRequest.h"
#include "db/ResolveDAO.h"
#include "io/NetTcp.h"
#include "resolve/OrderMessage.h"
#include <QDateTime>
#include <QDebug>

namespace
{
constexpr int Success = 1042100;
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
    const QJsonObject rset = OrderMessage::object(row.rset);
    const QString path = QString(row.lpath).replace('\\', '/');
    const QJsonObject body{
        {"name", path.mid(path.lastIndexOf('/') + 1)},
        {"clientFlag", row.rkey},
        {"projectId", row.projectId},
        {"softwareType", rset.value("softwareType").toVariant().toInt()},
        {"machineModel", rset.value("machineModel").isUndefined() ? QJsonValue("") : rset.value("machineModel")}};
    NetTcp::instance()->nvds(
        104, 10421, body,
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
    if (val != Success || order.isEmpty())
        return refused(row, val);
    if (!dao->setOrder(rkey, reply.value("id").toVariant().toInt(), order))
        return;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const bool clone = OrderMessage::object(row.rset).contains("hasClone");
    if (clone && (row.state < 107 || row.state == 114))
        dao->setState(rkey, 107, 0, now);
    else if (!clone && row.state == 114)
        dao->setState(rkey, 100, 0, now);
}

void OrderRequest::refused(const db_resolve &row, int val)
{
    qWarning().noquote() << "OrderRequest::refused" << row.rkey << row.lpath << val;
    // A row that the user has paused, or whose result stands already, keeps its state and is asked for again.
    if (row.state == 100 || (row.state == 114 && row.error != val))
        ResolveDAO::instance()->setState(row.rkey, 114, val, QDateTime::currentMSecsSinceEpoch());
}
