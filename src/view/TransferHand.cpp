#include "view/TransferHand.h"
#include "common/facts/FileStates.h"
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "view/SceneDelete.h"
#include <QWidget>

TransferHand::TransferHand(QWidget *page) : QObject(page), m_page(page) {}

void TransferHand::setRows(bool uploads, const QList<TransferRow> &groups)
{
    m_uploads = uploads;
    m_groups = groups;
}

bool TransferHand::paused(bool uploads, int state)
{
    return uploads ? state == SceneState::UploadPaused : state == FileStates::DownPause;
}

bool TransferHand::failed(bool uploads, int state)
{
    return uploads ? state == SceneState::UploadFailed
                   : state == FileStates::DownError || state == FileStates::DownGaveUp;
}

void TransferHand::on_re_clicked()
{
    for (const TransferRow &row : qAsConst(m_groups))
        if (m_uploads)
            Seam<ResolveCalls>::post(
                [order = row.order](ResolveCalls &queue) { queue.changeResolveState(0, 3, order); });
        else
            Seam<DownCalls>::post([pri = row.missPri](DownCalls &down) { down.reDown(pri); });
}

void TransferHand::on_start_clicked() { on_re_clicked(); }

void TransferHand::on_pause_clicked()
{
    // The analysis queue writes the order's state, tells the server and pauses the upload queue.
    for (const TransferRow &row : qAsConst(m_groups))
        if (m_uploads)
            Seam<ResolveCalls>::post(
                [order = row.order](ResolveCalls &queue) { queue.changeResolveState(0, 2, order); });
        else
            Seam<DownCalls>::post([pri = row.missPri](DownCalls &down) { down.pauseDown(pri); });
}

void TransferHand::on_del_clicked()
{
    for (const TransferRow &row : qAsConst(m_groups))
        deletion(m_uploads, row)();
}

std::function<void()> TransferHand::deletion(bool uploads, const TransferRow &group)
{
    if (uploads)
        return [rkey = group.rkey] { SceneDelete::run(rkey); };
    return [pri = group.missPri] { Seam<DownCalls>::post([pri](DownCalls &down) { down.delDown(pri); }); };
}

void TransferHand::on_pri_clicked()
{
    for (const TransferRow &row : qAsConst(m_groups))
        if (!m_uploads)
            Seam<DownCalls>::post([pri = row.missPri](DownCalls &down) { down.priDown(pri); });
}

void TransferHand::on_dir_clicked()
{
    if (m_groups.isEmpty())
        return;
    Background::run(
        m_page, [folder = m_groups.first().path] { return VFunc::openFolder(folder); },
        [page = m_page, folder = m_groups.first().path](bool good) {
            if (!good)
                MsgTool::msgOk(page, tr("文件夹打不开：%1").arg(folder));
        });
}
