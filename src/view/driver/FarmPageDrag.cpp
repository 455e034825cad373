// What is dragged over the page: files of this machine to be sent, entries of the drive to be moved.
#include "common/ui/kit/Notes.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "view/driver/DragDrop.h"
#include "view/driver/DriveInfo.h"
#include "view/driver/DriverPath.h"
#include "view/driver/DriveTree.h"
#include "view/driver/FarmPage.h"
#include "view/driver/FolderModel.h"
#include "view/driver/FolderViews.h"
#include "view/driver/LocalCount.h"
#include <QDropEvent>
#include <QMimeData>

namespace
{
const QString Root = QLatin1String(SubFile::Root);

// A drag may carry a hundred thousand of them: they're turned into paths once it's dropped, elsewhere.
bool anyLocal(const QMimeData *data)
{
    const QList<QUrl> urls = data->hasUrls() ? data->urls() : QList<QUrl>();
    return std::any_of(urls.cbegin(), urls.cend(), [](const QUrl &url) { return url.isLocalFile(); });
}
} // namespace

bool FarmPage::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::DragEnter:
        m_dropWatched = watched;
        dragEnter(static_cast<QDragEnterEvent *>(event));
        return true;
    case QEvent::DragMove:
        m_dropWatched = watched;
        dragMove(static_cast<QDragMoveEvent *>(event));
        return true;
    case QEvent::DragLeave:
        dragEnterIgnore();
        return true;
    case QEvent::Drop:
        m_dropWatched = watched;
        dragDrop(static_cast<QDropEvent *>(event));
        return true;
    case QEvent::Resize:
        if (watched == m_bar)
            fitBar();
        return QWidget::eventFilter(watched, event);
    default:
        return QWidget::eventFilter(watched, event);
    }
}

// The folder under the hand: a row, a branch, a piece of the path, else the folder that is open; empty: none.
QString FarmPage::targetAt(const QPoint &at) const
{
    if (m_dropWatched == m_tree->viewport())
        return m_tree->idAt(at);
    if (m_dropWatched == m_path)
        return m_path->idAt(m_path->mapToGlobal(at));
    const QModelIndex index = view()->indexAt(at);
    if (index.isValid())
        if (const FileView &row = m_model->at(index.row()); row.isFolder() && row.pending.isEmpty() && !row.isNew())
            return row.id;
    return m_path->searching() ? QString() : m_folder;
}

bool FarmPage::droppable(const QMimeData *data, const QString &target) const
{
    if (m_type != DriveRest::Input || target.isEmpty())
        return false;
    if (!DragDrop::carried(data))
        return m_dragLocal;
    const DragDrop drag = DragDrop::read(data);
    if (drag.farmId != m_farm || drag.fileType != m_type)
        return false;
    QStringList chain = m_tree->chain(target);
    if (chain.isEmpty())
        chain << Root << target;
    return DriveRules::movable(drag.ids, chain, drag.parent);
}

void FarmPage::dragPress(QMouseEvent *)
{
    const QStringList ids = chosenIds();
    if (!acts().move || ids.isEmpty())
        return;
    const QString words = ids.size() == 1 ? DriveText::clean(chosen().first()->name) : tr("共 %1 项").arg(ids.size());
    DragDrop drag;
    drag.farmId = m_farm;
    drag.fileType = m_type;
    drag.parent = m_folder;
    drag.ids = ids;
    drag.start(view(), words);
}

void FarmPage::dragEnter(QDragEnterEvent *event)
{
    m_dragLocal = anyLocal(event->mimeData());
    const bool ours = DragDrop::carried(event->mimeData()) || m_dragLocal;
    ours &&m_type == DriveRest::Input ? event->acceptProposedAction() : event->ignore();
}

void FarmPage::dragMove(QDragMoveEvent *event)
{
    const QString target = targetAt(event->pos());
    const bool good = droppable(event->mimeData(), target);
    showTarget(good ? target : QString());
    good ? event->acceptProposedAction() : event->ignore();
}

void FarmPage::dragEnterIgnore() { showTarget({}); }

// The row that would take what is dragged is the current one, without being selected.
void FarmPage::showTarget(const QString &id)
{
    if (m_dropOn == id)
        return;
    m_dropOn = id;
    const QModelIndex index = m_model->indexOf(id);
    m_table->setProperty(DropRow, index.isValid() ? index.row() : -1);
    m_grid->setProperty(DropRow, index.isValid() ? index.row() : -1);
    m_table->viewport()->update();
    m_grid->viewport()->update();
}

void FarmPage::dragDrop(QDropEvent *event)
{
    const QString target = targetAt(event->pos());
    showTarget({});
    if (!droppable(event->mimeData(), target))
        return event->ignore();
    event->acceptProposedAction();
    if (DragDrop::carried(event->mimeData()))
        move(DragDrop::read(event->mimeData()).ids, target);
    else
        put(event->mimeData()->urls(), target);
}

// What is known of the space when the count ends decides; a farm that doesn't tell refuses nothing here.
void FarmPage::put(const QList<QUrl> &urls, const QString &target)
{
    if (!UserInfo::canUpload())
        return tell(tr("您还没有上传文件的权限，请联系您的母账号开通！"));
    if (target == Root)
        return tell(tr("请先打开一个盘符或文件夹，再上传文件"));
    const DriveQueue::Place to = place(target);
    m_info->ask([this, urls, to] {
        LocalCount::start(urls, this, [this, to](const QStringList &paths, const LocalCount::Sum &sum) {
            if (m_info->leftBytes() >= 0 && sum.bytes > m_info->leftBytes())
                return tell(tr("网盘空间不足，不允许拖入上传"));
            DriveQueue::put(to, paths);
            Toast::show(this, tr("已加入上传列表"), tr("查看"), [this] { emit transfers(); });
        });
    });
}
