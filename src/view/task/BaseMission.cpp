#include "view/task/BaseMission.h"
#include "common/facts/Command.h"
#include "common/ui/Background.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Pagination.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include "task/Cell.h"
#include "task/TaskHands.h"
#include "view/EnvChoice.h"
#include "view/task/FillFrames.h"
#include "view/task/MissionItems.h"
#include "view/task/MissionPart.h"
#include "view/task/ModifyEnv.h"
#include "view/task/NodeLimit.h"
#include "view/task/TaskFilterMenus.h"
#include <QAction>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QShowEvent>
#include <QToolButton>

namespace
{
constexpr int MostRows = 1000, MostPages = 1'000'000; // of what a server may say
constexpr int NoteMs = 2000, MostFolders = 10;

TablePage::Look lookOf(TaskFilter::Page kind)
{
    TablePage::Look look;
    look.name = kind == TaskFilter::Live ? QStringLiteral("Mission") : QStringLiteral("History");
    look.accessible = kind == TaskFilter::Live ? BaseMission::tr("任务列表") : BaseMission::tr("历史任务列表");
    look.emptyIcon = QStringLiteral("file");
    look.emptyText = BaseMission::tr("暂时没有任务呢");
    look.emptyHint = kind == TaskFilter::Live ? BaseMission::tr("提交渲染的场景会出现在这里") : QString();
    look.search = BaseMission::tr("搜索任务名称");
    look.columns = false;
    return look;
}

QHash<QString, QString> namesOf(const QList<TaskRecord> &tasks)
{
    QHash<QString, QString> names;
    for (const TaskRecord &task : tasks)
        names.insert(task.id, task.name);
    return names;
}

QVector<QPair<QString, QString>> entriesOf(const QJsonArray &list)
{
    QVector<QPair<QString, QString>> out;
    for (const QJsonValue &one : list)
        if (const QString id = Cell::id(one.toObject(), "id"); !id.isEmpty())
            out << qMakePair(id, Cell::text(one.toObject(), "name"));
    return out;
}

const char *partKey(TaskFilter::Page kind) { return kind == TaskFilter::Live ? "mission4" : "history3"; }
} // namespace

BaseMission::BaseMission(TaskFilter::Page kind, TaskDesk *desk, QWidget *parent)
    : BaseWidget(Page, parent), m_filter(kind), m_desk(desk), m_model(new TaskModel(&m_filter, this)),
      m_table(new TablePage(lookOf(kind), m_model, this)), m_menus(new TaskFilterMenus(&m_filter, this)),
      m_count(new QLabel(this))
{
    qRegisterMetaType<TaskRecord>();
    m_delay.setSingleShot(true);
    m_delay.setInterval(DelayMs);
    connect(&m_delay, &QTimer::timeout, this, QOverload<>::of(&BaseMission::getMission));
    m_menus->restore();
    body()->addWidget(m_table, 1);
    setFocusProxy(m_table);
}

BaseMission::~BaseMission() { delete m_table; } // it draws from the filter

void BaseMission::build()
{
    RecordView *view = m_table->view();
    const bool live = m_filter.page == TaskFilter::Live;
    auto *remark = new NodeItem(live, view);
    view->setItemDelegateForColumn(m_model->columnOf(QStringLiteral("remark")), remark);
    connect(remark, &BaseItemDelegate::baseItemHand, this, &BaseMission::markHand);
    view->setItemDelegateForColumn(m_model->columnOf(QStringLiteral("name")), new MissionName(view));
    if (live)
        view->setItemDelegateForColumn(m_model->columnOf(QStringLiteral("progress")),
                                       new MissionProgress(m_model->columnOf(QStringLiteral("status")), view));
    m_table->build({m_menus->button()});
    auto *columns = new QToolButton(this);
    columns->setIcon(IconTool::icon(QStringLiteral("columns")));
    columns->setAccessibleName(tr("显示的列"));
    columns->setToolTip(columns->accessibleName());
    columns->setFocusPolicy(Qt::StrongFocus);
    const auto choose = [this] {
        (new MissionPart(m_table->view(), QLatin1String(partKey(m_filter.page)), this))->open();
    };
    connect(columns, &QToolButton::clicked, this, choose);
    m_table->foot()->insertWidget(0, columns);
    m_count->setObjectName(QStringLiteral("quiet"));
    m_table->foot()->insertWidget(1, m_count);
    // Sorting has two directions here, and the columns are chosen in a window of their own.
    disconnect(view->header(), &QHeaderView::sectionClicked, nullptr, nullptr);
    disconnect(view->header(), &QWidget::customContextMenuRequested, nullptr, nullptr);
    connect(view->header(), &QHeaderView::sectionClicked, this, &BaseMission::headHit);
    connect(view->header(), &QWidget::customContextMenuRequested, this, choose);
    MissionPart::restore(view, QLatin1String(partKey(m_filter.page)));
    listen();
    const int sorted = m_model->sortColumn();
    if (sorted >= 0)
        m_model->sort(sorted, m_model->sortOrder()); // as it was kept: the filter hears of it
    count();
}

void BaseMission::listen()
{
    connect(m_table, &TablePage::refreshWanted, this, QOverload<>::of(&BaseMission::getMission));
    connect(m_table, &TablePage::pageWanted, this, QOverload<>::of(&BaseMission::getMission));
    connect(m_table, &TablePage::searchWanted, this, [this](const QString &text) { searchName(0, text); });
    connect(m_table, &TablePage::menuOpened, this, &BaseMission::menuOpens);
    connect(m_menus, &TaskFilterMenus::menuOpened, this, &BaseMission::menuOpens);
    connect(m_menus, &TaskFilterMenus::changed, this, [this] {
        m_model->filterChanged();
        m_shown = m_round; // answers to what was asked before are for another list
        m_table->pages()->first();
        m_delay.start();
    });
    connect(m_model, &RecordModelBase::sortWanted, this, [this](const QString &column, bool down) {
        m_filter.sort = column == QLatin1String("name")      ? TaskFilter::ByName
                        : column == QLatin1String("confirm") ? TaskFilter::ByTime
                                                             : TaskFilter::None;
        m_filter.down = down;
        if (isVisible())
            getMission();
    });
    connect(m_model, &RecordModelBase::rowsChanged, this, &BaseMission::count);
    connect(m_model, &RecordModelBase::ticksChanged, this, &BaseMission::count);
    connect(m_table->view(), &RecordView::selectionMoved, this, &BaseMission::count);
    connect(m_table->view(), &RecordView::opened, this, [this](const QString &key) {
        if (const TaskRow *row = m_model->record(key))
            emit detailWanted(row->task);
    });
    connect(m_desk, &TaskDesk::moved, this, &BaseMission::showDoing);
    connect(m_desk, &TaskDesk::ended, this, &BaseMission::delayGetMission);
    connect(NetTcp::instance(), &NetTcp::loginChanged, this, [this](bool on) {
        m_menusAsked = m_menusAsked && !on;
        if (on && isVisible())
            getMission();
    });
}

// ---- the list ----

void BaseMission::showEvent(QShowEvent *event)
{
    BaseWidget::showEvent(event);
    getMission();
}

void BaseMission::menuOpens(QMenu *menu)
{
    m_menu = menu;
    disconnect(menu, &QMenu::aboutToHide, this, nullptr); // the bar's opens more than once
    connect(menu, &QMenu::aboutToHide, this, [this, menu] {
        if (m_menu == menu)
            m_menu = nullptr;
        m_delay.start(); // what was lost meanwhile
    });
}

void BaseMission::getMission(bool clear)
{
    if (clear)
        m_table->pages()->first();
    if (m_menu && m_menu->isVisible())
        return;
    if (polls() && !isVisible())
        return;
    askMenus();
    m_asked = m_filter.request(m_table->pages()->page());
    const int round = ++m_round;
    if (m_model->rowCount() == 0)
        m_table->setBusy(true);
    Ask(Command::Tasks, m_asked)
        .any([=, body = m_asked](int code, const QJsonDocument &doc) {
            const bool good = Command::good(Command::Tasks, code);
            reply(round, body, doc.object(), good ? QString() : TaskText::result(code));
        })
        .lost([=](Ask::Loss) {
            if (round != m_round)
                return;
            m_table->setBusy(false); // nothing was said of the tasks: what is shown stays
            m_table->setError(tr("服务器没有响应，请检查网络后重试"));
        })
        .send(this);
}

// Of several answers to one question the latest question's counts; what was asked of another list never does.
void BaseMission::reply(int round, const QJsonObject &body, const QJsonObject &list, const QString &fault)
{
    if (round <= m_shown || body != m_asked)
        return;
    m_shown = round;
    m_table->setBusy(false);
    m_table->setError(fault);
    const QList<TaskRecord> tasks = TaskRecord::list(list.value(QLatin1String("pageList"))).mid(0, MostRows);
    fill(tasks);
    if (list.contains(QLatin1String("pageList")))
        m_table->pages()->setPageSum(qBound(1, Cell::integer(list, "pageSize"), MostPages));
}

void BaseMission::fill(const QList<TaskRecord> &tasks)
{
    QScrollBar *bar = m_table->view()->verticalScrollBar();
    const int at = bar->value();
    QList<TaskRow> rows;
    QSet<QString> ids;
    for (const TaskRecord &task : tasks) {
        m_eta.see(task);
        ids.insert(task.id);
        rows << rowOf(task);
    }
    m_eta.keep(ids);
    m_model->setRows(rows);
    if (!bar->isSliderDown() && bar->value() != at)
        bar->setValue(at);
}

TaskRow BaseMission::rowOf(const TaskRecord &task) const
{
    return {task, m_desk->doing(task.id), m_eta.of(task).text(), TaskText::expectedCost(task)};
}

void BaseMission::learn(const QString &id, const QList<SubTask> &frames)
{
    m_eta.see(id, frames);
    if (m_model->contains(id))
        m_model->change(id, [this](TaskRow &mine) { mine = rowOf(mine.task); });
}

void BaseMission::showDoing(const QStringList &ids)
{
    for (const QString &id : ids)
        if (const TaskRow *row = m_model->record(id); row && row->doing != m_desk->doing(id))
            m_model->change(id, [this](TaskRow &mine) { mine.doing = m_desk->doing(mine.task.id); });
}

void BaseMission::delayGetMission() { m_delay.start(); }

void BaseMission::searchName(int, QString name)
{
    m_filter.name = name.trimmed();
    getMission(true);
}

void BaseMission::headHit(int section)
{
    const ColumnInfo &info = m_model->column(section);
    if (info.kind == ColumnInfo::Tick)
        return m_model->tickAll(m_model->tickState() != Qt::Checked);
    if (info.sortable) {
        const bool again = m_model->sortColumn() == section && m_model->sortOrder() == Qt::AscendingOrder;
        return m_model->sort(section, again ? Qt::DescendingOrder : Qt::AscendingOrder);
    }
    const TaskMenu *menu = m_model->menuOf(section);
    QHeaderView *head = m_table->view()->header();
    const QPoint below = head->mapToGlobal(QPoint(head->sectionViewportPosition(section), head->height()));
    for (auto part : {&TaskFilter::project, &TaskFilter::status, &TaskFilter::user, &TaskFilter::remark})
        if (&(m_filter.*part) == menu)
            m_menus->open(part, below);
}

void BaseMission::askMenus()
{
    if (m_menusAsked)
        return;
    m_menusAsked = true;
    const auto failed = [this] { m_menusAsked = false; }; // by the next look
    Ask(Command::Projects, QByteArray("{}"))
        .answered([this](int, const QJsonDocument &doc) {
            m_filter.project.setEntries(entriesOf(EnvChoice::projects(doc)));
            m_model->filterChanged();
        })
        .failed(failed)
        .send(this);
    Ask(Command::SubAccounts)
        .answered([this](int, const QJsonDocument &doc) {
            m_filter.user.setEntries(entriesOf(doc.object().value(QLatin1String("rows")).toArray()));
            m_model->filterChanged();
        })
        .failed(failed)
        .send(this);
}

void BaseMission::count()
{
    const int sum = m_model->rowCount(), sel = m_table->view()->targets().size();
    m_count->setText(sum > 0 ? tr("已选 %1 / 本页 %2").arg(sel).arg(sum) : QString());
    emit orderCount(sel, sum);
}

// ---- what can be done ----

bool BaseMission::possible(TaskAct::Act act, const TaskRecord &task) const
{
    // One after the other: what is under way would be sent once more.
    return TaskAct::possible(act, task, &UserInfo::denied) &&
           (TaskAct::doing(act).isEmpty() || m_desk->doing(task.id).isEmpty());
}

void BaseMission::addAct(TaskAct::Act act, int places, const QKeySequence &keys)
{
    ActSpec spec;
    spec.id = TaskAct::name(act);
    spec.text = TaskAct::text(act);
    spec.places = places;
    spec.keys = keys;
    spec.every = true;
    spec.single = act == TaskAct::Detail || act == TaskAct::Priority;
    spec.danger = act == TaskAct::ToHistory;
    spec.possible = m_model->when([this, act](const TaskRow &row) { return possible(act, row.task); });
    if (act == TaskAct::ToHistory)
        spec.question = [](const QStringList &) { return tr("确定将任务转移到历史任务模块吗？转移后不可逆！"); };
    if (act == TaskAct::RerenderFailed)
        spec.question = [](const QStringList &) { return tr("确定重新渲染失败子任务吗？"); };
    spec.run = [this, act](const QStringList &keys) { this->act(act, records(keys)); };
    m_table->acts()->add(spec);
}

QList<TaskRecord> BaseMission::records(const QStringList &keys) const
{
    QList<TaskRecord> out;
    for (const TaskRow &row : m_model->records(keys))
        out << row.task;
    return out;
}

TaskRecord BaseMission::recordAt(const QModelIndex &index) const
{
    const TaskRow *row = m_model->record(m_model->keyOf(index));
    return row ? row->task : TaskRecord();
}

void BaseMission::send(TaskAct::Act act, const QList<TaskRequest> &requests, const QList<TaskRecord> &tasks)
{
    m_desk->send(act, requests, namesOf(tasks));
}

void BaseMission::act(TaskAct::Act act, const QList<TaskRecord> &tasks)
{
    switch (act) {
    case TaskAct::Detail:
        emit detailWanted(tasks.first());
        break;
    case TaskAct::ChangeEnvironment:
        withDetails(tasks, [this](const QList<TaskDetail> &details) { changeEnvironment(details); });
        break;
    case TaskAct::Fill:
        withDetails(tasks, [this](const QList<TaskDetail> &details) { fillFrames(details); });
        break;
    case TaskAct::Fetch:
        download(tasks);
        break;
    case TaskAct::OpenFolder:
        openFolders(tasks);
        break;
    case TaskAct::Clone:
        clone(tasks);
        break;
    case TaskAct::Remark:
        (new NodeLimit(NodeLimit::Remark, tasks, m_desk, this))->open();
        break;
    default:
        break;
    }
}

void BaseMission::withDetails(const QList<TaskRecord> &tasks, std::function<void(const QList<TaskDetail> &)> next)
{
    TaskDetail::ask(tasks, this, [this, next](const QList<TaskDetail> &details, const QString &fault) {
        if (!fault.isEmpty())
            MsgTool::msgOk(this, fault);
        if (!details.isEmpty())
            next(details);
    });
}

// A window per software: their models differ.
void BaseMission::fillFrames(const QList<TaskDetail> &details)
{
    QMap<int, QList<TaskDetail>> kinds;
    for (const TaskDetail &one : details)
        kinds[Cell::integer(one.detail, "softwareType")] << one;
    for (auto it = kinds.cbegin(); it != kinds.cend(); ++it) {
        BaseFill *dialog = BaseFill::make(it.key(), it.value(), m_desk, this);
        if (!dialog) {
            MsgTool::msgOk(this, tr("此软件的任务不支持补帧"));
            continue;
        }
        connect(dialog, &BaseFill::fillOk, this, &BaseMission::delayGetMission);
        connect(dialog, &BaseFill::fillOk, this, &BaseMission::fillOkTip);
        dialog->open();
    }
}

// What there is to choose from belongs to a software and a farm.
void BaseMission::changeEnvironment(const QList<TaskDetail> &details)
{
    QMap<QPair<int, int>, QList<TaskDetail>> kinds;
    for (const TaskDetail &one : details)
        kinds[{Cell::integer(one.detail, "softwareType"), Cell::integer(one.detail, "farmId")}] << one;
    for (const QList<TaskDetail> &kind : qAsConst(kinds)) {
        auto *dialog = new ModifyEnv(kind, m_desk, this);
        connect(dialog, &ModifyEnv::modifyEnvOk, this, &BaseMission::delayGetMission);
        dialog->open();
    }
}

void BaseMission::fillOkTip() { TrayIcon::instance()->showInfoMsg(QString(), tr("补帧成功"), NoteMs); }

void BaseMission::download(const QList<TaskRecord> &tasks)
{
    QStringList ids;
    for (const TaskRecord &task : tasks)
        ids << task.id;
    QString fault;
    const int taken = TaskHands::download(ids, &fault);
    if (!fault.isEmpty())
        MsgTool::msgOk(this, fault);
    if (taken > 0)
        Toast::show(this, tr("%1 个任务已加入下载队列").arg(taken), tr("查看"),
                    [this] { emit pageWanted(QStringLiteral("transfer")); });
}

void BaseMission::openFolders(const QList<TaskRecord> &tasks)
{
    withDetails(tasks.mid(0, MostFolders), [this](const QList<TaskDetail> &details) {
        Background::run(
            this,
            [details] {
                int opened = 0;
                for (const TaskDetail &one : details)
                    opened += TaskHands::openFolder(one.detail).isEmpty() ? 0 : 1;
                return opened;
            },
            [this](int opened) {
                if (opened == 0)
                    MsgTool::msgOk(this, tr("本地还没有该任务的结果目录"));
            });
    });
}

void BaseMission::clone(const QList<TaskRecord> &tasks)
{
    if (m_balance <= 0) {
        MsgTool::msgOk(this, tr("余额不足，请充值"));
        return;
    }
    withDetails(tasks, [this](const QList<TaskDetail> &details) {
        QList<db_resolve> rows;
        QStringList faults;
        for (const TaskDetail &one : details) {
            db_resolve row;
            QString fault;
            if (TaskHands::clone(one.detail, &row, &fault))
                rows << row;
            else
                faults << fault;
        }
        faults.removeDuplicates();
        if (!faults.isEmpty())
            MsgTool::msgOk(this, faults.join(QLatin1Char('\n')));
        if (rows.isEmpty())
            return;
        if (Seam<ResolveCalls>::post([rows](ResolveCalls &queue) { queue.addFile(rows); }))
            emit pageWanted(QStringLiteral("resolve"));
        else
            MsgTool::msgOk(this, tr("解析队列没有运行，请稍后再试"));
    });
}

void BaseMission::markHand(int idx, QModelIndex index)
{
    if (idx != NodeItem::Remark)
        return;
    auto *dialog = new NodeLimit(NodeLimit::Remark, {recordAt(index)}, m_desk, this);
    connect(dialog, &NodeLimit::markOk, this, QOverload<>::of(&BaseMission::getMission));
    dialog->open();
}

void BaseMission::openTask(const QString &id)
{
    if (const TaskRow *row = m_model->record(id)) {
        emit detailWanted(row->task);
        return;
    }
    TaskRecord wanted;
    wanted.id = id;
    withDetails({wanted}, [this, id](const QList<TaskDetail> &details) {
        emit detailWanted(TaskDetail::record(id, details.first().detail));
    });
}

void BaseMission::rightsChanged()
{
    m_model->touch({});
    baseAllAct();
}

void BaseMission::baseAllAct() { m_table->acts()->follow(); }

void BaseMission::baseHasAction(QAction *act)
{
    act->setEnabled(m_table->acts()->can(act->objectName(), m_table->view()->targets()));
}

void BaseMission::triggered(const char *act) { m_table->acts()->action(QLatin1String(act))->trigger(); }
void BaseMission::envAct() { triggered("environment"); }
void BaseMission::fillAct() { triggered("fill"); }
void BaseMission::openldirAct() { triggered("folder"); }
void BaseMission::downAct() { triggered("download"); }
