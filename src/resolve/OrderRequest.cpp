#include "resolve/OrderRequest.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/Command.h"
#include "common/facts/Rset.h"
#include "db/ResolveDAO.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include "resolve/OrderMessage.h"
#include <QDebug>

namespace
{
using SceneState::Act;
constexpr int LatestMs = 60000; // a late answer still counts, the order number is good
} // namespace

OrderRequest::OrderRequest(QObject *parent) : QObject(parent) {}

void OrderRequest::setTimes(int gateMs, int againMs)
{
    m_gateMs = gateMs;
    m_againMs = againMs;
}

void OrderRequest::tick()
{
    if (m_gate.throttling())
        return;
    m_gate.throttle(m_gateMs);
    for (qlonglong rkey : m_granted.keys())
        if (granted(rkey, m_granted[rkey].first, m_granted[rkey].second))
            m_granted.remove(rkey);
    if (!NetTcp::isLogin())
        return;
    const db_resolve row = next();
    if (row.rkey == 0)
        return;
    m_refused.removeAll(row.rkey);
    m_asked[row.rkey].start();
    const Rset rset(row.rset);
    const QString path = QString(row.lpath).replace('\\', '/');
    const QJsonObject body{{"name", path.mid(path.lastIndexOf('/') + 1)},
                           {"clientFlag", row.rkey},
                           {"projectId", row.projectId},
                           {"softwareType", rset.softwareType()},
                           {"machineModel", rset.machineModel()}};
    Ask(Command::ApplyOrder, body)
        .within(LatestMs)
        .any([this, rkey = row.rkey](int val, const QJsonDocument &doc) { replied(rkey, val, doc.object()); })
        .lost([this, rkey = row.rkey](Ask::Loss) { m_asked.remove(rkey); })
        .send(this);
}

// What waits for its answer is passed by, what was refused comes when nothing else waits.
db_resolve OrderRequest::next() const
{
    QList<qlonglong> out = m_granted.keys();
    for (auto it = m_asked.cbegin(); it != m_asked.cend(); ++it)
        if (!it->hasExpired(m_againMs))
            out << it.key();
    ResolveDAO *dao = ResolveDAO::instance();
    const db_resolve fresh = dao->nextWithoutOrder(out + m_refused);
    if (fresh.rkey != 0)
        return fresh;
    for (qlonglong rkey : m_refused) {
        const db_resolve row = dao->read(rkey);
        if (row.rkey != 0 && row.ordernum.isEmpty() && !out.contains(rkey))
            return row;
    }
    return {};
}

void OrderRequest::replied(qlonglong rkey, int val, const QJsonObject &reply)
{
    m_asked.remove(rkey);
    const db_resolve row = ResolveDAO::instance()->read(rkey);
    if (row.rkey == 0 || !row.ordernum.isEmpty())
        return;
    const QString order = reply.value("num").toVariant().toString();
    if (!Command::good(Command::ApplyOrder, val) || order.isEmpty())
        return refused(row, val);
    const int mission = reply.value("id").toVariant().toInt();
    if (!granted(rkey, mission, order))
        m_granted.insert(rkey, {mission, order});
}

bool OrderRequest::granted(qlonglong rkey, int mission, const QString &order)
{
    ResolveDAO *dao = ResolveDAO::instance();
    const db_resolve row = dao->read(rkey);
    if (row.rkey == 0)
        return true;
    if (row.ordernum.isEmpty() && !dao->setOrder(rkey, mission, order))
        return false;
    m_refused.removeAll(rkey);
    const Act act = Rset(row.rset).isClone() ? Act::CommitClone : Act::GrantOrder;
    if (SceneState::possible(act, row.state))
        return dao->step(rkey, act) >= 0;
    return row.error < AnalysisError::FirstServerResult || dao->mark(rkey, 0) >= 0; // the refusal's word goes
}

void OrderRequest::refused(const db_resolve &row, int val)
{
    qWarning().noquote() << "OrderRequest::refused" << row.rkey << row.lpath << val;
    // A row that the user has paused, or whose result stands already, keeps its state and is asked for again.
    m_refused.removeAll(row.rkey);
    m_refused << row.rkey;
    // A row that the user has paused, or whose result stands already, keeps its state and carries the word.
    if (SceneState::possible(Act::RefuseOrder, row.state))
        ResolveDAO::instance()->step(row.rkey, Act::RefuseOrder, 0, val);
    else
        ResolveDAO::instance()->mark(row.rkey, val);
}
