// Routes around the files on their way: what stands in the stores, and the queues' own calls to hold and to go on.
#include "common/facts/SceneState.h"
#include "db/Calls.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "io/local/CmdHand.h"
#include "transfer/TransSet.h"

namespace
{
bool onItsWayUp(const db_resolve &row) { return SceneState::InUpload.contains(row.state); }
} // namespace

void CmdHand::transferList()
{
    QJsonArray up, down;
    for (const db_resolve &row : ResolveDAO::instance()->readAll()) {
        if (!onItsWayUp(row))
            continue;
        up.append(QJsonObject{{"num", row.ordernum},
                              {"mid", row.missionid},
                              {"rkey", row.rkey},
                              {"scene", row.lpath},
                              {"state", row.state},
                              {"status", SceneState::text(row.state)},
                              {"done", row.fok},
                              {"total", row.fsum},
                              {"bytes", row.fsize},
                              {"sent", row.fup}});
    }
    const QList<int> states{TransSet::DownWait, TransSet::DownRun, TransSet::DownPause, TransSet::DownError,
                            TransSet::DownGaveUp};
    for (const db_downmiss &row : DownloadDAO::instance()->missions(states))
        down.append(QJsonObject{{"id", row.pri},
                                {"num", row.ordernum},
                                {"mid", row.missid},
                                {"name", row.missname},
                                {"folder", row.lpath},
                                {"state", row.state},
                                {"status", TransSet::stateText(row.state, 0)},
                                {"done", row.ok},
                                {"total", row.sum}});
    good(QString(), QJsonObject{{"uploads", up}, {"downloads", down}});
}

void CmdHand::transferPause() { moveTransfers(false); }
void CmdHand::transferContinue() { moveTransfers(true); }

void CmdHand::moveTransfers(bool on)
{
    QStringList orders;
    for (const QString &num : m_line.list("num", "nums").mid(0, CmdLine::MaxList)) {
        if (onItsWayUp(ResolveDAO::instance()->readByOrder(num)))
            orders << num;
    }
    bool tooLong = false;
    QList<qlonglong> downloads;
    for (qlonglong id : m_line.numbers("id", "ids", &tooLong))
        if (DownloadDAO::instance()->mission(id).pri != 0)
            downloads << id;
    if (orders.isEmpty() && downloads.isEmpty()) {
        fail(tr("没有相关传输"));
        return;
    }
    const int type = SceneState::changeType(on ? SceneState::Act::ResumeUpload : SceneState::Act::PauseUpload);
    bool there = true;
    for (const QString &num : qAsConst(orders))
        there = Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.changeResolveState(0, type, num); }) && there;
    for (qlonglong id : qAsConst(downloads))
        there = Seam<DownCalls>::post([=](DownCalls &down) { on ? down.reDown(id) : down.pauseDown(id); }) && there;
    if (there)
        good(QString());
    else
        fail(tr("客户端未登录"));
}
