#include "view/Transfer.h"
#include "common/Debounce.h"
#include "common/facts/FileStates.h"
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Pagination.h"
#include "common/ui/Palette.h"
#include "db/Calls.h"
#include "db/DownloadDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "view/DoneTable.h"
#include "view/DownCover.h"
#include "view/driver/TransferD.h"
#include "view/TransferHand.h"
#include <QAction>
#include <QActionGroup>
#include <QPushButton>
#include <QStackedWidget>

namespace
{
constexpr int ReloadMs = 500;
constexpr int OrdersMs = 1000;  // sums of bytes are read again this long after a file ended
constexpr int UnknownMs = 2000; // files that move but aren't listed

template <class Row> QList<TransferRow> filesOf(const QList<Row> &rows)
{
    QList<TransferRow> files;
    for (const Row &row : rows)
        files << TransferList::fileRow(row);
    return files;
}
} // namespace

Transfer::Transfer(QWidget *parent)
    : BaseWidget(Page, parent), m_up(new TransferList(true, this)), m_down(new TransferList(false, this)),
      m_reload(new Debounce(this)), m_orders(new Debounce(this)), m_unknown(new Debounce(this)),
      m_hand(new TransferHand(this))
{
    setObjectName(QStringLiteral("Transfer"));
    setAccessibleName(tr("传输管理"));
    m_upTable = makeTable(m_up);
    m_downTable = makeTable(m_down);
    makeTabs();
    connect(m_downTable, &TablePage::pageWanted, this, &Transfer::readMissions);
    connect(m_reload, &Debounce::debout, this, &Transfer::refreshUp);
    connect(m_reload, &Debounce::throut, this, &Transfer::readMissions);
    connect(m_orders, &Debounce::throut, this, &Transfer::readOrders);
    connect(m_unknown, &Debounce::throut, this, [this] {
        for (const TransferRow &row : m_up->groups())
            if (row.state == SceneState::Uploading)
                askFiles(true, row.group, 0);
        for (const TransferRow &row : m_down->groups())
            if (row.state == FileStates::DownRun)
                askFiles(false, row.group, 0);
    });
    listenUploads();
    listenDownloads();
    triggerAction(m_group->actions().first());
}

void Transfer::makeTabs()
{
    m_tabs = new QHBoxLayout;
    m_tabs->setContentsMargins(Metrics::Margin, 6, Metrics::Margin, 0);
    m_tabs->setSpacing(Metrics::Gap);
    m_stack = new QStackedWidget(this);
    m_group = new QActionGroup(this);
    connect(m_group, &QActionGroup::triggered, this, &Transfer::triggerAction);
    addTab(tr("上传"), m_upTable);
    addTab(tr("下载"), m_downTable);
    m_done = new DoneTable(this);
    addTab(tr("已完成"), m_done);
    m_drive = new TransferD(this);
    addTab(tr("云盘"), m_drive);
    m_tabs->addStretch(1);
    body()->addLayout(m_tabs);
    body()->addWidget(m_stack, 1);
    const auto turn = [this](const QKeySequence &keys, int by) {
        auto *action = new QAction(this);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, [this, by] {
            const int count = m_stack->count();
            triggerAction(m_group->actions().at((m_stack->currentIndex() + by + count) % count));
            shown()->setFocus();
        });
        addAction(action);
    };
    turn(QKeySequence(Qt::CTRL | Qt::Key_Tab), 1);
    turn(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab), -1);
}

QAction *Transfer::addTab(const QString &text, QWidget *page)
{
    auto *action = new QAction(text, m_group);
    action->setCheckable(true);
    auto *button = new QPushButton(text, this);
    button->setObjectName(QStringLiteral("tab"));
    button->setCheckable(true);
    button->setAutoExclusive(true);
    // Screen readers check a tab without a click.
    connect(button, &QPushButton::toggled, action, [this, action](bool on) {
        if (on && m_stack->currentIndex() != m_group->actions().indexOf(action))
            triggerAction(action);
    });
    connect(action, &QAction::toggled, button, [button](bool on) {
        button->setChecked(on);
        button->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus); // Tab stops at the chosen one, arrows go on
    });
    m_tabs->addWidget(button);
    m_stack->addWidget(page);
    return action;
}

TablePage *Transfer::makeTable(TransferList *list)
{
    const bool uploads = list->uploads();
    TablePage::Look look;
    look.name = uploads ? QStringLiteral("TransferUp") : QStringLiteral("TransferDown");
    look.accessible = uploads ? tr("上传列表") : tr("下载列表");
    look.emptyIcon = uploads ? QStringLiteral("upload") : QStringLiteral("download");
    look.emptyText = tr("暂时没有传输记录呢");
    look.emptyHint = uploads ? tr("提交渲染后，场景和素材会在这里上传") : tr("渲染结果会自动下载到结果目录");
    auto *table = new TablePage(look, list, this);
    RecordView *view = table->view();
    view->setRootIsDecorated(true);
    view->setIndentation(20);
    addActs(list, table);
    table->build();
    connect(table, &TablePage::refreshWanted, this, &Transfer::refreshUp);
    connect(list, &TransferList::filesWanted, this,
            [this, uploads](const QString &group, int page) { askFiles(uploads, group, page); });
    connect(view, &RecordView::opened, this, [this, list](const QString &key) {
        if (!list->record(key)->file)
            expandMiss(list->indexOf(key).row(), 0);
    });
    return table;
}

void Transfer::addActs(TransferList *list, TablePage *table)
{
    const bool up = list->uploads();
    using Test = std::function<bool(const TransferRow &)>;
    using Slot = void (TransferHand::*)();
    const auto add = [=](const char *id, const QString &text, const char *icon, const Test &possible, Slot slot) {
        ActSpec spec;
        spec.id = QLatin1String(id);
        spec.text = text;
        spec.icon = QLatin1String(icon);
        spec.places = ActSpec::Bar | ActSpec::Row | ActSpec::Menu;
        spec.possible = list->when([possible](const TransferRow &row) { return !row.file && possible(row); });
        spec.run = [this, list, up, slot](const QStringList &keys) {
            TransferHand *hand = m_hand; // GCC's vptr check of m_hand->*slot looks at the lambda, not at the page
            hand->setRows(up, list->records(keys));
            (hand->*slot)();
        };
        return spec;
    };
    const auto stopped = [up](const TransferRow &r) {
        return TransferHand::paused(up, r.state) || TransferHand::failed(up, r.state);
    };
    ActSpec start = add("start", tr("继续"), "play", stopped, &TransferHand::on_start_clicked);
    ActSpec pause = add(
        "pause", tr("暂停"), "pause", [stopped](const TransferRow &r) { return !stopped(r); },
        &TransferHand::on_pause_clicked);
    ActSpec remove = add(
        "delete", tr("删除"), "trash", [](const TransferRow &) { return true; }, &TransferHand::on_del_clicked);
    remove.keys = QKeySequence::Delete;
    remove.danger = true;
    remove.accept = tr("删除任务");
    remove.question = [list, up](const QStringList &keys) {
        const QString name = RecordModelBase::plainLine(list->record(keys.first())->name);
        if (up)
            return keys.size() == 1 ? tr("删除“%1”会取消该订单，确定删除吗？").arg(name)
                                    : tr("删除选中的 %1 个上传任务会取消它们的订单，确定删除吗？").arg(keys.size());
        return keys.size() == 1 ? tr("确定删除下载任务“%1”吗？已下载的文件会保留。").arg(name)
                                : tr("确定删除选中的 %1 个下载任务吗？已下载的文件会保留。").arg(keys.size());
    };
    remove.later = [list, up](const QString &key) { return TransferHand::deletion(up, *list->record(key)); };
    remove.farewell = [list](const QStringList &keys) {
        return keys.size() == 1 ? tr("已删除“%1”").arg(RecordModelBase::plainLine(list->record(keys.first())->name))
                                : tr("已删除 %1 个任务").arg(keys.size());
    };
    ActSpec folder = add(
        "folder", tr("目录"), "folder", [](const TransferRow &) { return true; }, &TransferHand::on_dir_clicked);
    folder.single = true;
    folder.places = ActSpec::Row | ActSpec::Menu;
    ActSpec first = add(
        "priority", tr("优先"), "top", [](const TransferRow &r) { return r.state == FileStates::DownWait; },
        &TransferHand::on_pri_clicked);
    if (up)
        first.possible = [](const QString &) { return false; };
    first.places = ActSpec::Row | ActSpec::Menu;
    for (const ActSpec &spec : {start, pause, remove, folder, first})
        table->acts()->add(spec);
}

QWidget *Transfer::shown() const { return m_stack->currentWidget(); }

const TransferRow *Transfer::byScene(qlonglong rkey) const
{
    const QStringList keys = m_up->keys();
    for (const QString &key : keys)
        if (m_up->record(key)->rkey == rkey)
            return m_up->record(key);
    return nullptr;
}

void Transfer::listenUploads()
{
    UploadDAO *up = UploadDAO::instance();
    const auto queued = Qt::QueuedConnection;
    connect(up, &UploadDAO::allFile, this, QOverload<QList<db_upfile>, bool>::of(&Transfer::allFile), queued);
    connect(
        up, &UploadDAO::fileDeleted, this, [this](const QString &key) { m_up->removeFile(key.toLongLong()); }, queued);
    connect(up, &UploadDAO::fileDeletedByOrder, m_up, &TransferList::clearFiles, queued);
    connect(up, &UploadDAO::fileStateChanged, this, &Transfer::changeState, queued);
    connect(up, &UploadDAO::fileSpeedChanged, this,
            QOverload<qlonglong, qlonglong, qlonglong, qlonglong>::of(&Transfer::changeSpeed), queued);
    connect(
        up, &UploadDAO::refreshAll, this, [this] { m_reload->debounce(ReloadMs); }, queued);
    connect(up, &UploadDAO::orderSpeedChanged, m_up, &TransferList::setGroupSpeed, queued);
    ResolveDAO *scenes = ResolveDAO::instance();
    connect(scenes, &ResolveDAO::stateChanged, this, &Transfer::orderState, queued);
    connect(
        scenes, &ResolveDAO::resolveDeleted, this,
        [this](qlonglong rkey) {
            if (const TransferRow *row = byScene(rkey))
                m_up->removeGroup(row->group);
        },
        queued);
    connect(
        scenes, &ResolveDAO::upProgress, this,
        [this](qlonglong rkey, int ok, int sum) {
            if (const TransferRow *row = byScene(rkey))
                m_up->setGroupCount(row->group, ok, sum);
            if (!m_orders->throttling())
                m_orders->throttle(OrdersMs);
        },
        queued);
}

void Transfer::listenDownloads()
{
    DownloadDAO *down = DownloadDAO::instance();
    const auto queued = Qt::QueuedConnection;
    connect(down, &DownloadDAO::allFile, this, QOverload<QList<db_downfile>, bool>::of(&Transfer::allFile), queued);
    connect(down, &DownloadDAO::miss, this, &Transfer::miss, queued);
    connect(
        down, &DownloadDAO::downProgress, this,
        [this](qlonglong pri, qlonglong ok, qlonglong sum) {
            const QString group = QString::number(pri);
            m_down->setGroupCount(group, int(ok), int(sum));
            if (!m_down->group(group) && !m_reload->throttling()) // one that isn't listed yet
                m_reload->throttle(ReloadMs);
        },
        queued);
    connect(down, &DownloadDAO::fileEnded, m_down, &TransferList::removeFile, queued);
    connect(
        down, &DownloadDAO::missionStateChanged, this,
        [this](qlonglong pri, int state) { m_down->setGroupState(QString::number(pri), state); }, queued);
    connect(
        down, &DownloadDAO::missionDeleted, this, [this](qlonglong pri) { m_down->removeGroup(QString::number(pri)); },
        queued);
    connect(down, &DownloadDAO::fileStateChanged, this, &Transfer::changeState, queued);
    connect(down, &DownloadDAO::fileSpeedChanged, this,
            QOverload<qlonglong, qlonglong, qlonglong, qlonglong>::of(&Transfer::changeSpeed), queued);
    connect(
        down, &DownloadDAO::refreshAll, this, [this] { m_reload->debounce(ReloadMs); }, queued);
}

void Transfer::connectDAOView(int type) { type == 0 ? readOrders() : readMissions(); }
void Transfer::initDAOView(int type) { triggerAction(m_group->actions().value(type, m_group->actions().first())); }

void Transfer::triggerAction(QAction *act)
{
    m_stack->setCurrentIndex(m_group->actions().indexOf(act));
    act->setChecked(true);
    setFocusProxy(shown());
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
            QList<TransferRow> groups;
            const QList<db_resolve> all = ResolveDAO::instance()->readAll();
            for (const db_resolve &res : all)
                if (SceneState::InUpload.contains(res.state))
                    groups << TransferList::upload(res);
            return groups;
        },
        [this](const QList<TransferRow> &groups) { m_up->setGroups(groups); });
}

void Transfer::readMissions()
{
    Seam<DownCalls>::post([page = m_downTable->pages()->page()](DownCalls &down) { down.readFile(page); });
}

void Transfer::askFiles(bool uploads, const QString &group, int page)
{
    if (uploads)
        Seam<UpCalls>::post([=](UpCalls &up) { up.readFile(group, page); });
    else
        Seam<DownCalls>::post([pri = group.toLongLong(), page](DownCalls &down) { down.readMissionFile(pri, page); });
}

void Transfer::orderState(const db_resolve &res)
{
    if (!SceneState::InUpload.contains(res.state)) {
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
    QList<TransferRow> groups;
    for (const db_downmiss &miss : qAsConst(list))
        groups << TransferList::mission(miss);
    m_down->setGroups(groups);
    m_downTable->pages()->setPageSum(pageSum);
}

void Transfer::expandMiss(int row, int)
{
    auto *table = qobject_cast<TablePage *>(shown());
    if (!table)
        return;
    RecordView *view = table->view();
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

void Transfer::downCover(int mid, QString text)
{
    QString name;
    for (const QString &key : m_down->keys())
        if (const TransferRow *row = m_down->record(key); row && !row->file && row->mission == mid)
            name = row->name;
    (new DownCover(mid, name, text, window()))->open();
}

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
