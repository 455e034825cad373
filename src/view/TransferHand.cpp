#include "view/TransferHand.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "view/SceneDelete.h"
#include <QWidget>

TransferHand::TransferHand(QWidget *page) : QObject(page), m_page(page) {}

void TransferHand::setRow(bool uploads, const TransferGroup &group)
{
    m_uploads = uploads;
    m_group = group;
}

void TransferHand::press(int button)
{
    switch (button) {
    case TransferRules::Start:
        return on_start_clicked();
    case TransferRules::Pause:
        return on_pause_clicked();
    case TransferRules::Again:
        return on_re_clicked();
    case TransferRules::Delete:
        return on_del_clicked();
    case TransferRules::Folder:
        return on_dir_clicked();
    case TransferRules::Priority:
        return on_pri_clicked();
    default:
        return;
    }
}

void TransferHand::on_re_clicked()
{
    if (m_uploads)
        Seam<ResolveCalls>::post(
            [order = m_group.order](ResolveCalls &queue) { queue.changeResolveState(0, 3, order); });
    else
        Seam<DownCalls>::post([pri = m_group.pri](DownCalls &down) { down.reDown(pri); });
}

void TransferHand::on_start_clicked() { on_re_clicked(); }

void TransferHand::on_pause_clicked()
{
    // The analysis queue writes the order's state, tells the server and pauses the upload queue.
    if (m_uploads)
        Seam<ResolveCalls>::post(
            [order = m_group.order](ResolveCalls &queue) { queue.changeResolveState(0, 2, order); });
    else
        Seam<DownCalls>::post([pri = m_group.pri](DownCalls &down) { down.pauseDown(pri); });
}

void TransferHand::on_del_clicked()
{
    const TransferGroup group = m_group;
    if (m_uploads)
        MsgTool::ask(m_page, tr("删除“%1”会取消该订单，确定删除吗？").arg(group.name),
                     [key = group.rkey] { SceneDelete::run(key); });
    else
        MsgTool::ask(m_page, tr("确定删除下载任务“%1”吗？已下载的文件会保留。").arg(group.name),
                     [pri = group.pri] { Seam<DownCalls>::post([pri](DownCalls &down) { down.delDown(pri); }); });
}

void TransferHand::on_pri_clicked()
{
    if (!m_uploads)
        Seam<DownCalls>::post([pri = m_group.pri](DownCalls &down) { down.priDown(pri); });
}

void TransferHand::on_dir_clicked()
{
    Background::run(
        m_page, [folder = m_group.folder] { return VFunc::openFolder(folder); },
        [page = m_page, folder = m_group.folder](bool good) {
            if (!good)
                MsgTool::msgOk(page, tr("文件夹打不开：%1").arg(folder));
        });
}
