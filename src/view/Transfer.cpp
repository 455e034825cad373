#include "view/Transfer.h"
#include "common/Debounce.h"
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/Delegates.h"
#include "common/ui/EmptyView.h"
#include "common/ui/IconTool.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Pagination.h"
#include "common/ui/Palette.h"
#include "db/Calls.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "transfer/TransSet.h"
#include "view/DownCover.h"
#include "view/TransferHand.h"
#include <QAction>
#include <QActionGroup>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QTreeView>

namespace
{
constexpr int ReloadMs = 500;
constexpr int OrdersMs = 1000;  // sums of bytes are read again this long after a file ended
constexpr int UnknownMs = 2000; // files that move but aren't listed
constexpr int RowHeight = 36;
bool uploading(int state) { return SceneState::InUpload.contains(state); }
// Rows of either store, as the models hold them.
template <class Row> QList<TransferFile> filesOf(const QList<Row> &rows)
{
    QList<TransferFile> files;
    for (const Row &row : rows) {
        TransferFile one;
        one.pri = row.pri;
        one.path = row.lpath;
        one.size = row.size;
        one.state = row.state;
        one.error = row.error;
        files << one;
    }
    return files;
}
} // namespace

Transfer::Transfer(QWidget *parent)
    : BaseWidget(Page, parent), m_up(new TransferModel(true, this)), m_down(new TransferModel(false, this)),
      m_reload(new Debounce(this)), m_orders(new Debounce(this)), m_unknown(new Debounce(this)),
      m_hand(new TransferHand(this))
{
    setObjectName(QStringLiteral("Transfer"));
    setAccessibleName(tr("传输管理"));
    makeBar();
    m_stack = new QStackedWidget(this);
    m_upTree = makeTree(m_up);
    m_downTree = makeTree(m_down);
    m_upTree->setAccessibleName(tr("上传列表"));
    m_downTree->setAccessibleName(tr("下载列表"));
    new EmptyView(m_upTree, QStringLiteral("upload"), tr("暂时没有传输记录呢"),
                  tr("提交渲染后，场景和素材会在这里上传"));
    new EmptyView(m_downTree, QStringLiteral("download"), tr("暂时没有传输记录呢"), tr("渲染结果会自动下载到结果目录"));
    m_stack->addWidget(m_upTree);
    m_stack->addWidget(m_downTree);
    body()->addWidget(m_stack, 1);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(16, 6, 16, 6);
    foot->addStretch(1);
    m_pages = new Pagination(this);
    foot->addWidget(m_pages);
    body()->addLayout(foot);
    connect(m_pages, &Pagination::pageChanged, this, &Transfer::readMissions);
    connect(m_reload, &Debounce::debout, this, &Transfer::refreshUp);
    connect(m_reload, &Debounce::throut, this, &Transfer::readMissions);
    connect(m_orders, &Debounce::throut, this, &Transfer::readOrders);
    connect(m_unknown, &Debounce::throut, this, [this] {
        for (const TransferGroup &group : m_up->groups())
            if (group.state == SceneState::Uploading)
                askFiles(true, group.key, 0);
        for (const TransferGroup &group : m_down->groups())
            if (group.state == TransSet::DownRun)
                askFiles(false, group.key, 0);
    });
    listenUploads();
    listenDownloads();
    triggerAction(m_upAct);
}

void Transfer::makeBar()
{
    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(16, 6, 16, 6);
    bar->setSpacing(8);
    auto *group = new QActionGroup(this);
    const auto tab = [&](const QString &text) {
        auto *action = new QAction(text, group);
        action->setCheckable(true);
        auto *button = new QPushButton(text, this);
        button->setObjectName(QStringLiteral("tab"));
        button->setCheckable(true);
        button->setAutoExclusive(true);
        connect(button, &QPushButton::clicked, action, &QAction::trigger);
        connect(action, &QAction::toggled, button, &QPushButton::setChecked);
        bar->addWidget(button);
        return action;
    };
    m_upAct = tab(tr("上传"));
    m_downAct = tab(tr("下载"));
    m_upAct->setChecked(true);
    connect(group, &QActionGroup::triggered, this, &Transfer::triggerAction);
    bar->addStretch(1);
    auto *again = new QToolButton(this);
    again->setIcon(IconTool::icon(QStringLiteral("refresh")));
    again->setFixedSize(28, 28);
    again->setToolTip(tr("刷新"));
    again->setAccessibleName(again->toolTip());
    connect(again, &QToolButton::clicked, this, &Transfer::refreshUp);
    bar->addWidget(again);
    body()->addLayout(bar);
    const auto key = [this](const QKeySequence &keys, auto slot) {
        auto *action = new QAction(this);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, slot);
        addAction(action);
    };
    key(QKeySequence(Qt::Key_F5), &Transfer::refreshUp);
    for (const QKeySequence &keys :
         {QKeySequence(Qt::CTRL | Qt::Key_Tab), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab)})
        key(keys, [this] {
            triggerAction(m_stack->currentIndex() == 0 ? m_downAct : m_upAct);
            tree()->setFocus();
        });
    key(QKeySequence(Qt::Key_Delete), [this] { pressSelected(tree(), TransferRules::Delete); });
}

QTreeView *Transfer::makeTree(TransferModel *model)
{
    auto *view = new QTreeView(this);
    view->setModel(model);
    view->setUniformRowHeights(true);
    view->setMouseTracking(true);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    view->setAllColumnsShowFocus(true);
    view->setIndentation(20);
    view->setExpandsOnDoubleClick(false);
    QHeaderView *head = view->header();
    head->setFixedHeight(32);
    head->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    head->setStretchLastSection(false);
    const int widths[TransferModel::ColumnCount] = {260, 96, 224, 96, 144, 216};
    for (int i = 0; i < TransferModel::ColumnCount; ++i)
        head->resizeSection(i, widths[i]);
    head->setSectionResizeMode(TransferModel::Name, QHeaderView::Stretch);
    auto *text = new TextItem(view, Qt::ElideMiddle);
    text->setRowHeight(RowHeight);
    view->setItemDelegate(text);
    view->setItemDelegateForColumn(TransferModel::Progress, new ProgressItem(view));
    auto *hand = new LinkItem(view);
    const bool uploads = model->uploads();
    connect(hand, &LinkItem::clicked, this,
            [this, uploads](int button, const QModelIndex &index) { press(uploads, button, index); });
    view->setItemDelegateForColumn(TransferModel::Hand, hand);
    connect(view, &QTreeView::doubleClicked, this, [this, view](const QModelIndex &index) {
        if (!index.parent().isValid() && index.column() != TransferModel::Hand && view == tree())
            expandMiss(index.row(), index.column());
    });
    connect(view, &QTreeView::expanded, this, [this, model](const QModelIndex &index) {
        const QString key = index.data(TransferModel::KeyRole).toString();
        if (const TransferGroup *group = model->group(key); group && !group->loaded)
            askFiles(model->uploads(), key, 0);
    });
    connect(model, &TransferModel::filesWanted, this,
            [this, uploads](const QString &key, int page) { askFiles(uploads, key, page); });
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(view, &QWidget::customContextMenuRequested, this,
            [this, view](const QPoint &at) { contextMenu(view, at); });
    return view;
}

QTreeView *Transfer::tree() const { return m_stack->currentIndex() == 0 ? m_upTree : m_downTree; }

void Transfer::listenUploads()
{
    UploadDAO *up = UploadDAO::instance();
    connect(up, &UploadDAO::allFile, this, QOverload<QList<db_upfile>, bool>::of(&Transfer::allFile),
            Qt::QueuedConnection);
    connect(
        up, &UploadDAO::fileDeleted, this, [this](const QString &key) { m_up->removeFile(key.toLongLong()); },
        Qt::QueuedConnection);
    connect(up, &UploadDAO::fileDeletedByOrder, m_up, &TransferModel::clearFiles, Qt::QueuedConnection);
    connect(up, &UploadDAO::fileStateChanged, this, &Transfer::changeState, Qt::QueuedConnection);
    connect(up, &UploadDAO::fileSpeedChanged, this,
            QOverload<qlonglong, qlonglong, qlonglong, qlonglong>::of(&Transfer::changeSpeed), Qt::QueuedConnection);
    connect(up, &UploadDAO::orderSpeedChanged, m_up, &TransferModel::setGroupSpeed, Qt::QueuedConnection);
    connect(
        up, &UploadDAO::refreshAll, this, [this] { m_reload->debounce(ReloadMs); }, Qt::QueuedConnection);
    ResolveDAO *scenes = ResolveDAO::instance();
    connect(scenes, &ResolveDAO::stateChanged, this, &Transfer::orderState, Qt::QueuedConnection);
    connect(
        scenes, &ResolveDAO::resolveDeleted, this,
        [this](qlonglong rkey) {
            for (const TransferGroup &group : m_up->groups())
                if (group.rkey == rkey) {
                    m_up->removeGroup(group.key);
                    return;
                }
        },
        Qt::QueuedConnection);
    connect(
        scenes, &ResolveDAO::upProgress, this,
        [this](qlonglong rkey, int ok, int sum) {
            for (const TransferGroup &group : m_up->groups())
                if (group.rkey == rkey) {
                    m_up->setGroupCount(group.key, ok, sum);
                    break;
                }
            if (!m_orders->throttling())
                m_orders->throttle(OrdersMs);
        },
        Qt::QueuedConnection);
}

void Transfer::listenDownloads()
{
    DownloadDAO *down = DownloadDAO::instance();
    connect(down, &DownloadDAO::allFile, this, QOverload<QList<db_downfile>, bool>::of(&Transfer::allFile),
            Qt::QueuedConnection);
    connect(down, &DownloadDAO::miss, this, &Transfer::miss, Qt::QueuedConnection);
    connect(
        down, &DownloadDAO::downProgress, this,
        [this](qlonglong pri, qlonglong ok, qlonglong sum) {
            const QString key = QString::number(pri);
            m_down->setGroupCount(key, int(ok), int(sum));
            if (!m_down->group(key) && !m_reload->throttling()) // one that isn't listed yet
                m_reload->throttle(ReloadMs);
        },
        Qt::QueuedConnection);
    connect(down, &DownloadDAO::fileEnded, m_down, &TransferModel::removeFile, Qt::QueuedConnection);
    connect(
        down, &DownloadDAO::missionStateChanged, this,
        [this](qlonglong pri, int state) { m_down->setGroupState(QString::number(pri), state); }, Qt::QueuedConnection);
    connect(
        down, &DownloadDAO::missionDeleted, this, [this](qlonglong pri) { m_down->removeGroup(QString::number(pri)); },
        Qt::QueuedConnection);
    connect(down, &DownloadDAO::fileStateChanged, this, &Transfer::changeState, Qt::QueuedConnection);
    connect(down, &DownloadDAO::fileSpeedChanged, this,
            QOverload<qlonglong, qlonglong, qlonglong, qlonglong>::of(&Transfer::changeSpeed), Qt::QueuedConnection);
    connect(
        down, &DownloadDAO::refreshAll, this, [this] { m_reload->debounce(ReloadMs); }, Qt::QueuedConnection);
}

void Transfer::connectDAOView(int type) { type == 0 ? readOrders() : readMissions(); }
void Transfer::initDAOView(int type) { triggerAction(type == 0 ? m_upAct : m_downAct); }

void Transfer::triggerAction(QAction *act)
{
    act->setChecked(true);
    m_stack->setCurrentIndex(act == m_upAct ? 0 : 1);
    setFocusProxy(tree());
    m_pages->setMaximumHeight(act == m_upAct ? 0 : QWIDGETSIZE_MAX);
    refreshUp();
}

void Transfer::refreshUp()
{
    readOrders();
    readMissions();
}

void Transfer::readOrders()
{
    Background::run(
        this,
        [] {
            QList<TransferGroup> groups;
            const QList<db_resolve> all = ResolveDAO::instance()->readAll();
            for (const db_resolve &res : all)
                if (uploading(res.state))
                    groups << TransferRules::upload(res);
            return groups;
        },
        [this](const QList<TransferGroup> &groups) { m_up->setGroups(groups); });
}

void Transfer::readMissions()
{
    Seam<DownCalls>::post([page = m_pages->page()](DownCalls &down) { down.readFile(page); });
}

void Transfer::askFiles(bool uploads, const QString &key, int page)
{
    if (uploads)
        Seam<UpCalls>::post([=](UpCalls &up) { up.readFile(key, page); });
    else
        Seam<DownCalls>::post([pri = key.toLongLong(), page](DownCalls &down) { down.readMissionFile(pri, page); });
}

void Transfer::orderState(const db_resolve &res)
{
    if (!uploading(res.state)) {
        m_up->removeGroup(res.ordernum);
        return;
    }
    if (m_up->group(res.ordernum))
        m_up->setGroupState(res.ordernum, res.state);
    else if (!m_orders->throttling())
        m_orders->throttle(ReloadMs);
}

void Transfer::allFile(QList<db_upfile> fl, bool clear)
{
    if (!fl.isEmpty())
        m_up->setFiles(fl.first().ordernum, filesOf(fl), clear);
}

void Transfer::allFile(QList<db_downfile> fl, bool clear)
{
    if (!fl.isEmpty())
        m_down->setFiles(QString::number(fl.first().missPri), filesOf(fl), clear);
}

void Transfer::miss(QList<db_downmiss> list, int pageSum)
{
    QList<TransferGroup> groups;
    for (const db_downmiss &miss : qAsConst(list))
        groups << TransferRules::mission(miss);
    m_down->setGroups(groups);
    m_pages->setPageSum(pageSum);
}

void Transfer::expandMiss(int row, int)
{
    QTreeView *view = tree();
    const QModelIndex index = view->model()->index(row, 0);
    view->setExpanded(index, !view->isExpanded(index));
}

void Transfer::changeSpeed(qlonglong pri, qlonglong ed, qlonglong size, qlonglong speed)
{
    if (!model(sender() != DownloadDAO::instance())->changeSpeed(pri, ed, size, speed) && !m_unknown->throttling())
        m_unknown->throttle(UnknownMs);
}

void Transfer::changeSpeed(qlonglong pri, qlonglong ed, qlonglong size) { changeSpeed(pri, ed, size, 0); }

void Transfer::changeState(qlonglong pri, int state, int error)
{
    model(sender() != DownloadDAO::instance())->changeState(pri, state, error);
}

void Transfer::press(bool uploads, int button, const QModelIndex &index)
{
    const TransferGroup *group = model(uploads)->group(index.data(TransferModel::KeyRole).toString());
    if (!group)
        return;
    m_hand->setRow(uploads, *group);
    m_hand->press(button);
}

// The selection's groups, as long as it holds one kind of row.
QList<QString> Transfer::selectedKeys(QTreeView *view) const
{
    QList<QString> keys;
    const QModelIndexList rows = view->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows) {
        if (row.data(TransferModel::KindRole) != rows.first().data(TransferModel::KindRole))
            break;
        const QString key = row.data(TransferModel::KeyRole).toString();
        if (!keys.contains(key))
            keys << key;
    }
    return keys;
}

void Transfer::pressSelected(QTreeView *view, int button)
{
    const bool uploads = view == m_upTree;
    const QList<QString> keys = selectedKeys(view);
    for (const QString &key : keys) {
        const TransferGroup *group = model(uploads)->group(key);
        if (!group || TransferRules::buttons(uploads, group->state).at(button).isEmpty())
            continue;
        m_hand->setRow(uploads, *group);
        m_hand->press(button);
    }
}

void Transfer::contextMenu(QTreeView *view, const QPoint &at)
{
    const bool uploads = view == m_upTree;
    const QList<QString> keys = selectedKeys(view);
    if (keys.isEmpty() || !model(uploads)->group(keys.first()))
        return;
    static const char *const icons[] = {"play", "pause", "retry", "trash", "folder", "top"};
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QStringList texts = TransferRules::buttons(uploads, model(uploads)->group(keys.first())->state);
    for (int i = 0; i < texts.size(); ++i)
        if (!texts.at(i).isEmpty())
            menu->addAction(IconTool::icon(QLatin1String(icons[i])), texts.at(i), this,
                            [this, view, i] { pressSelected(view, i); });
    menu->popup(view->viewport()->mapToGlobal(at));
}

void Transfer::downCover(int mid, QString text) { (new DownCover(mid, text, window()))->open(); }

void Transfer::downErrorTip(QString tip)
{
    if (m_tip)
        return;
    m_tip = new MsgBox(MsgBox::Choose, tip.isEmpty() ? tr("账户余额不足无法下载，请充值！") : tip, window());
    m_tip->setIcon(QStringLiteral("warning"), Palette::warning);
    m_tip->setAcceptText(tr("去充值"));
    connect(m_tip, &MsgBox::answered, this, [this](int button) {
        if (button == MsgBox::Accepted)
            emit recharge();
    });
    m_tip->open();
}

void Transfer::downSpace(QString driver)
{
    if (m_space)
        return;
    m_space = new MsgBox(
        MsgBox::Ok,
        (driver.size() == 1 ? tr("%1盘空间不足，请清理磁盘！\r\n您也可以更换路径，但只对新任务起作用")
                            : tr("文件夹 %1 所在的磁盘空间不足，请清理磁盘！\r\n您也可以更换路径，但只对新任务起作用"))
            .arg(driver),
        window());
    m_space->setIcon(QStringLiteral("warning"), Palette::warning);
    m_space->open();
}
