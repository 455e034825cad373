#include "view/Resolve.h"
#include "common/Debounce.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/Delegates.h"
#include "common/ui/EmptyView.h"
#include "common/ui/IconTool.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Pagination.h"
#include "common/ui/TickHeader.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "io/local/CmdHand.h"
#include "view/EnvPre.h"
#include "view/ResolvePri.h"
#include "view/ResolveWarn.h"
#include "view/SceneDelete.h"
#include "view/SceneInfo.h"
#include <algorithm>
#include <QAction>
#include <QDebug>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStyle>
#include <QTableView>

using SceneState::Act;

namespace
{
constexpr int ReloadMs = 500;
constexpr int HandlerMs = 200; // until the analysis queue stands
} // namespace

Resolve::Resolve(QWidget *parent)
    : BaseWidget(Page, parent), m_model(new ResolveModel(this)), m_sorted(new QSortFilterProxyModel(this)),
      m_reload(new Debounce(this))
{
    setObjectName(QStringLiteral("Resolve"));
    setAccessibleName(tr("解析提交"));
    m_sorted->setSourceModel(m_model);
    m_sorted->setDynamicSortFilter(false);
    acceptFiles(true);
    connect(this, &BaseWidget::dropFileList, this, &Resolve::rFile);
    connect(m_reload, &Debounce::debout, this, &Resolve::refresh);
    makeActions();
    makeBar();
    makeTable();
    setFocusProxy(m_table);
    listen();
    actionsFollow();
    refresh();
}

void Resolve::makeActions()
{
    const auto add = [this](Act act, const QString &icon, const QString &text, void (Resolve::*slot)()) {
        auto *action = new QAction(IconTool::icon(icon), text, this);
        connect(action, &QAction::triggered, this, slot);
        m_acts.insert(int(act), action);
    };
    add(Act::Commit, QStringLiteral("check"), tr("提交渲染"), &Resolve::commitAct);
    add(Act::Again, QStringLiteral("retry"), tr("重新解析"), &Resolve::reresAct);
    add(Act::PauseAnalysis, QStringLiteral("pause"), tr("暂停解析"), &Resolve::pauseresAct);
    add(Act::ResumeAnalysis, QStringLiteral("play"), tr("继续解析"), &Resolve::keepresAct);
    add(Act::PauseUpload, QStringLiteral("pause"), tr("暂停上传"), &Resolve::pauseupAct);
    add(Act::ResumeUpload, QStringLiteral("play"), tr("继续上传"), &Resolve::keepupAct);
    add(Act::Delete, QStringLiteral("trash"), tr("删除任务"), &Resolve::delAct);
    add(Act::Recommit, QStringLiteral("upload"), tr("重新提交"), &Resolve::recommitAct);
    m_acts[int(Act::Delete)]->setShortcut(QKeySequence::Delete);
    m_acts[int(Act::Delete)]->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(m_acts[int(Act::Delete)]);
    const auto key = [this](const QKeySequence &keys, auto slot) {
        auto *action = new QAction(this);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, slot);
        addAction(action);
    };
    key(QKeySequence(Qt::Key_F5), &Resolve::refresh);
    key(QKeySequence::Find, [this] {
        m_search->setFocus();
        m_search->selectAll();
    });
    key(QKeySequence(Qt::Key_Escape), [this] {
        m_search->clear();
        m_model->tickAll(false);
        m_table->clearSelection();
        m_table->setFocus();
    });
}

// Space ticks the selected rows, or takes the ticks away where all have one.
void Resolve::tickSelected()
{
    QList<qlonglong> keys;
    bool allOn = true;
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows) {
        keys << row.data(ResolveModel::KeyRole).toLongLong();
        allOn = allOn && row.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    }
    m_model->tick(keys, !allOn);
}

void Resolve::makeBar()
{
    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(16, 12, 16, 12);
    bar->setSpacing(8);
    auto *open = new QPushButton(IconTool::icon(QStringLiteral("plus")), tr("添加场景"), this);
    connect(open, &QPushButton::clicked, this, &Resolve::chooseFiles);
    bar->addWidget(open);
    const auto button = [&](Act act, bool primary) {
        QAction *action = m_acts.value(int(act));
        auto *one = new QPushButton(action->text(), this);
        one->setProperty("primary", primary);
        connect(one, &QPushButton::clicked, action, &QAction::trigger);
        connect(action, &QAction::changed, one, [this, one, action] {
            if (!action->isEnabled() && window()->focusWidget() == one)
                m_table->setFocus(); // not to the next button: that may be the one that deletes
            one->setEnabled(action->isEnabled());
        });
        bar->addWidget(one);
    };
    button(Act::Commit, true);
    button(Act::Again, false);
    button(Act::Delete, false);
    auto *more = new QPushButton(IconTool::icon(QStringLiteral("more")), tr("更多"), this);
    auto *menu = new QMenu(more);
    for (Act act : {Act::PauseAnalysis, Act::ResumeAnalysis, Act::PauseUpload, Act::ResumeUpload, Act::Recommit})
        menu->addAction(m_acts.value(int(act)));
    more->setMenu(menu);
    bar->addWidget(more);
    bar->addStretch(1);
    m_search = new QLineEdit(this);
    m_search->setPlaceholderText(tr("搜索文件名称"));
    m_search->setAccessibleName(m_search->placeholderText());
    m_search->setClearButtonEnabled(true);
    m_search->setFixedWidth(200);
    m_search->setObjectName(QStringLiteral("search"));
    connect(m_search, &QLineEdit::textChanged, this, [this] { // the sheet dims the hint of an empty field
        m_search->style()->unpolish(m_search);
        m_search->style()->polish(m_search);
    });
    m_search->addAction(IconTool::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &text) { searchName(0, text); });
    bar->addWidget(m_search);
    body()->addLayout(bar);
}

void Resolve::makeTable()
{
    m_table = new QTableView(this);
    m_table->setAccessibleName(tr("解析列表"));
    TickHeader::dress(m_table, m_sorted);
    auto *head = static_cast<TickHeader *>(m_table->horizontalHeader());
    connect(head, &TickHeader::tickAll, m_model, &ResolveModel::tickAll);
    const int widths[ResolveModel::ColumnCount] = {40, 128, 200, 96, 144, 112, 168, 176};
    for (int i = 0; i < ResolveModel::ColumnCount; ++i)
        head->resizeSection(i, widths[i]);
    head->setSectionResizeMode(ResolveModel::Tick, QHeaderView::Fixed);
    head->setSectionResizeMode(ResolveModel::Name, QHeaderView::Stretch);
    m_table->setItemDelegate(new TextItem(m_table, Qt::ElideMiddle));
    m_table->setItemDelegateForColumn(ResolveModel::Tick, new CheckBoxItem(m_table));
    m_table->setItemDelegateForColumn(ResolveModel::Progress, new ProgressItem(m_table));
    auto *state = new LinkItem(m_table);
    connect(state, &LinkItem::clicked, this, &Resolve::resolveStateHand);
    m_table->setItemDelegateForColumn(ResolveModel::State, state);
    auto *hand = new LinkItem(m_table);
    connect(hand, &LinkItem::clicked, this, &Resolve::resolveHand);
    m_table->setItemDelegateForColumn(ResolveModel::Hand, hand);
    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_table, &QWidget::customContextMenuRequested, this, &Resolve::contextMenu);
    connect(m_table, &QAbstractItemView::activated, this, [this](const QModelIndex &index) {
        if (index.column() != ResolveModel::Tick && index.column() != ResolveModel::Hand &&
            index.column() != ResolveModel::State)
            resolveStateHand(0, index);
    });
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, &Resolve::actionsFollow);
    connect(m_model, &ResolveModel::ticksChanged, this, &Resolve::actionsFollow);
    auto *space = new QAction(m_table);
    space->setShortcut(Qt::Key_Space);
    space->setShortcutContext(Qt::WidgetShortcut);
    connect(space, &QAction::triggered, this, &Resolve::tickSelected);
    m_table->addAction(space);
    new EmptyView(m_table, QStringLiteral("drop"), tr("暂时没有解析记录呢"),
                  tr("把场景文件拖到这里，或点击“添加场景”"));
    body()->addWidget(m_table, 1);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(16, 6, 16, 6);
    foot->addStretch(1);
    m_pages = new Pagination(this);
    connect(m_pages, &Pagination::pageChanged, this, &Resolve::refresh);
    foot->addWidget(m_pages);
    body()->addLayout(foot);
}

void Resolve::listen()
{
    ResolveDAO *dao = ResolveDAO::instance();
    connect(dao, &ResolveDAO::allFile, this, &Resolve::allFile, Qt::QueuedConnection);
    connect(
        dao, &ResolveDAO::refreshAll, this, [this] { m_reload->debounce(ReloadMs); }, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::orderChanged, this, &Resolve::orderChanged, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::stateChanged, this, &Resolve::stateChanged, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::resolveDeleted, this, &Resolve::resolveDeleted, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::upProgress, this, &Resolve::upProgress, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::paraSet, this, &Resolve::paraSet, Qt::QueuedConnection);
}

void Resolve::refresh()
{
    const int page = m_pages->page();
    const QString name = m_name;
    if (!Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.readFile(page, PageRows, name); }))
        m_reload->debounce(HandlerMs);
}

void Resolve::allFile(QList<db_resolve> list, int pageSum)
{
    m_model->setRows(list);
    m_pages->setPageSum(pageSum);
}

void Resolve::orderChanged(db_resolve res) { m_model->orderChanged(res); }
void Resolve::stateChanged(db_resolve res) { m_model->stateChanged(res); }
void Resolve::upProgress(qlonglong rkey, int ok, int sum) { m_model->upProgress(rkey, ok, sum); }
void Resolve::rightsChanged() { m_model->rightsChanged(); }

void Resolve::resolveDeleted(qlonglong rkey)
{
    if (m_model->rowOf(rkey) >= 0)
        refresh();
}

void Resolve::searchName(int, QString name)
{
    m_name = name.trimmed();
    m_pages->first();
    m_reload->debounce(ReloadMs / 2);
}

void Resolve::chooseFiles()
{
    QStringList endings;
    for (int type : SoftwareType::all())
        for (const QString &ending : SoftwareType::endings(type))
            endings << QStringLiteral("*") + (ending.startsWith(QLatin1Char('.')) ? ending : QLatin1Char('.') + ending);
    auto *dialog = new QFileDialog(this, tr("添加场景"), QString(),
                                   tr("场景文件") + QStringLiteral(" (%1)").arg(endings.join(QLatin1Char(' '))));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    connect(dialog, &QFileDialog::filesSelected, this, &Resolve::rFile);
    dialog->open();
}

void Resolve::rFile(QStringList list)
{
    if (!UserInfo::canAnalyse()) {
        MsgTool::msgOk(this, tr("您还没有解析文件的权限，请联系您的母账号开通！"));
        return;
    }
    if (m_balance <= 0) {
        MsgTool::msgOk(this, tr("余额不足，请充值"));
        return;
    }
    const QString text =
        QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(list)).toJson(QJsonDocument::Compact));
    auto *hand = new CmdHand; // deletes itself
    connect(hand, &CmdHand::backEnvPre, this, &Resolve::backEnvPre, Qt::QueuedConnection);
    hand->start(QStringLiteral("/model /analysis -post=") + text, QStringLiteral("/localClient"));
}

void Resolve::backEnvPre(int type, QStringList fileL, QString err)
{
    if (!err.isEmpty()) {
        MsgTool::msgOk(this, err);
        return;
    }
    if (m_env)
        m_env->close();
    m_env = new EnvPre(type, fileL, m_balance, window());
    m_env->open();
}

void Resolve::envpre(QJsonObject obj)
{
    const QString scene = obj.value(QLatin1String("scenePath")).toString();
    backEnvPre(SoftwareType::ofPath(scene), {scene}, {});
}

QList<qlonglong> Resolve::marked() const
{
    QList<qlonglong> keys = m_model->ticked();
    if (!keys.isEmpty())
        return keys;
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    for (const QModelIndex &index : rows)
        keys << index.data(ResolveModel::KeyRole).toLongLong();
    return keys;
}

QList<qlonglong> Resolve::marked(Act act) const
{
    QList<qlonglong> keys;
    const QList<qlonglong> all = marked();
    for (qlonglong key : all)
        if (SceneState::possible(act, m_model->row(key).state))
            keys << key;
    return keys;
}

void Resolve::actionsFollow()
{
    for (auto it = m_acts.cbegin(); it != m_acts.cend(); ++it)
        it.value()->setEnabled(!marked(Act(it.key())).isEmpty());
}

void Resolve::contextMenu(const QPoint &at)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QModelIndex index = m_table->indexAt(at);
    const qlonglong key = index.data(ResolveModel::KeyRole).toLongLong();
    if (SceneState::priorityType(m_model->row(key).state) >= 0)
        menu->addAction(IconTool::icon(QStringLiteral("top")), tr("优先级"), this,
                        [this, key] { resolveHand(2, m_model->index(m_model->rowOf(key), ResolveModel::Hand)); });
    for (Act act : {Act::Commit, Act::Recommit, Act::Again, Act::PauseAnalysis, Act::ResumeAnalysis, Act::PauseUpload,
                    Act::ResumeUpload, Act::Delete})
        if (m_acts.value(int(act))->isEnabled())
            menu->addAction(m_acts.value(int(act)));
    if (menu->isEmpty())
        menu->addAction(IconTool::icon(QStringLiteral("plus")), tr("添加场景"), this, &Resolve::chooseFiles);
    menu->popup(m_table->viewport()->mapToGlobal(at));
}

void Resolve::commit(const QList<qlonglong> &keys, bool batch)
{
    for (qlonglong key : keys)
        Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.commitResolve(key, batch, {}); });
}

void Resolve::commitAct()
{
    QList<qlonglong> keys = marked(Act::Commit);
    const auto failed = [this](qlonglong key) { return m_model->row(key).state == SceneState::Failed; };
    if (keys.size() > 1) // of several only what can render: a failed analysis costs money and gives nothing
        keys.erase(std::remove_if(keys.begin(), keys.end(), failed), keys.end());
    if (keys.isEmpty())
        MsgTool::msgOk(this, tr("选中的场景都没有解析成功，请重新解析后再提交"));
    else if (keys.size() > 1)
        MsgTool::ask(this, tr("批量提交无法修改参数，确定提交吗？"), [this, keys] { commit(keys, true); });
    else
        commit(keys, true);
}

void Resolve::recommitAct() { commit(marked(Act::Recommit), false); }

void Resolve::reresAct()
{
    const QList<qlonglong> keys = marked(Act::Again);
    for (qlonglong key : keys)
        Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.reAddFile(key); });
}

void Resolve::change(int type, Act act)
{
    const QList<qlonglong> keys = marked(act);
    for (qlonglong key : keys)
        Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.changeResolveState(key, type, {}); });
}

void Resolve::pauseresAct() { change(0, Act::PauseAnalysis); }
void Resolve::keepresAct() { change(1, Act::ResumeAnalysis); }
void Resolve::pauseupAct() { change(2, Act::PauseUpload); }
void Resolve::keepupAct() { change(3, Act::ResumeUpload); }

void Resolve::delAct()
{
    const QList<qlonglong> keys = marked(Act::Delete);
    if (!keys.isEmpty())
        remove(keys);
}

void Resolve::remove(const QList<qlonglong> &keys)
{
    const QString text =
        keys.size() == 1 ? tr("确定删除“%1”吗？")
                               .arg(m_model->index(m_model->rowOf(keys.first()), ResolveModel::Name).data().toString())
                         : tr("确定删除选中的 %1 个任务吗？").arg(keys.size());
    MsgTool::ask(this, text, [this, keys] {
        for (qlonglong key : keys)
            SceneDelete::run(key);
    });
}

void Resolve::resolveStateHand(int, QModelIndex index)
{
    const qlonglong key = index.data(ResolveModel::KeyRole).toLongLong();
    switch (SceneState::link(m_model->row(key).state)) {
    case Act::EditParameters:
        if (UserInfo::canSetParameters())
            Seam<ResolveCalls>::post([key](ResolveCalls &queue) { queue.paraSet(key); });
        else
            MsgTool::msgOk(this, tr("您还没有参数设置的权限！"));
        break;
    case Act::SeeErrors:
        Seam<ResolveCalls>::post([key](ResolveCalls &queue) { queue.seeError(0, key); });
        break;
    case Act::SeeWarnings:
        Seam<ResolveCalls>::post([key](ResolveCalls &queue) { queue.seeError(1, key); });
        break;
    default:
        break;
    }
}

void Resolve::resolveHand(int btn, QModelIndex index)
{
    const qlonglong key = index.data(ResolveModel::KeyRole).toLongLong();
    const int state = m_model->row(key).state;
    if (btn == 0) {
        const int type = SceneState::changeType(SceneState::mainButton(state));
        if (type >= 0)
            Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.changeResolveState(key, type, {}); });
    } else if (btn == 1) {
        remove({key});
    } else if (SceneState::priorityType(state) >= 0 && !m_pri) {
        m_pri = new ResolvePri(SceneState::priorityType(state), window());
        connect(m_pri, &ResolvePri::saved, this, [this] { m_reload->debounce(ReloadMs); });
        m_pri->open();
    }
}

void Resolve::seeWarn(db_resolve res)
{
    auto *dialog = new ResolveWarn(res, window());
    connect(dialog, &ResolveWarn::commit, this, [this](qlonglong key) { commit({key}, false); });
    connect(dialog, &ResolveWarn::again, this,
            [](qlonglong key) { Seam<ResolveCalls>::post([key](ResolveCalls &queue) { queue.reAddFile(key); }); });
    dialog->open();
}

void Resolve::paraSet(db_resolve res)
{
    if (!UserInfo::canSetParameters()) {
        MsgTool::msgOk(this, tr("您没有参数设置的权限！"));
        return;
    }
    auto *dialog = new SceneInfo(res, window());
    connect(dialog, &SceneInfo::commit, this, [this](qlonglong key) { commit({key}, false); });
    dialog->open();
}
