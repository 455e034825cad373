#include "view/Resolve.h"
#include "common/CommonConfig.h"
#include "common/Debounce.h"
#include "common/facts/PageSize.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Pagination.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "io/local/CmdHand.h"
#include "view/CommitPreview.h"
#include "view/EnvPre.h"
#include "view/ResolvePri.h"
#include "view/SceneDelete.h"
#include "view/SceneInfo.h"
#include <algorithm>
#include <QAction>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>

using SceneState::Act;

namespace
{
constexpr int ReloadMs = 500;
constexpr int HandlerMs = 200; // until the analysis queue stands

bool allowed(int state) // to pause, resume and cancel a row
{
    return (!SceneState::isAnalysis(state) || UserInfo::canAnalyse()) &&
           (!SceneState::isUpload(state) || UserInfo::canUpload());
}
} // namespace

TablePage::Look Resolve::look()
{
    TablePage::Look look;
    look.name = QStringLiteral("Resolve");
    look.accessible = tr("解析列表");
    look.emptyIcon = QStringLiteral("drop");
    look.emptyText = tr("暂时没有解析记录呢");
    look.emptyHint = tr("把场景文件拖到这里，或点击“添加场景”");
    look.search = tr("搜索文件名称");
    return look;
}

Resolve::Resolve(QWidget *parent)
    : BaseWidget(Page, parent), m_model(ResolveRows::model(this)), m_table(new TablePage(look(), m_model, this)),
      m_reload(new Debounce(this)),
      m_acts(this, m_model, m_table,
             {[this](qlonglong rkey) { openParameters(rkey); },
              [](qlonglong rkey) { Seam<ResolveCalls>::post([rkey](ResolveCalls &queue) { queue.reAddFile(rkey); }); },
              [this](const QList<qlonglong> &keys, bool batch) { commit(keys, batch); }})
{
    setObjectName(QStringLiteral("Resolve"));
    setAccessibleName(tr("解析提交"));
    acceptFiles(true);
    connect(this, &BaseWidget::dropFileList, this, &Resolve::rFile);
    connect(m_reload, &Debounce::debout, this, &Resolve::refresh);
    addActs();
    addRowActs();
    m_table->build();
    body()->addWidget(m_table, 1);
    setFocusProxy(m_table);
    m_advice = new QLabel(this);
    m_advice->setObjectName(QStringLiteral("quiet"));
    m_advice->setTextFormat(Qt::PlainText);
    m_advice->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_table->foot()->insertWidget(0, m_advice, 100);
    connect(m_table->view(), &RecordView::selectionMoved, this, &Resolve::advise);
    connect(m_model, &RecordModelBase::rowsChanged, this, &Resolve::advise);
    connect(m_table, &TablePage::refreshWanted, this, &Resolve::refresh);
    connect(m_table, &TablePage::pageWanted, this, &Resolve::refresh);
    connect(m_table, &TablePage::searchWanted, this, [this](const QString &text) { searchName(0, text); });
    connect(m_model, &RecordModelBase::sortWanted, this, &Resolve::refresh);
    connect(m_table->view(), &RecordView::linkClicked, this, &Resolve::openState);
    connect(m_table->view(), &RecordView::opened, this, &Resolve::openState);
    listen();
    refresh();
}

void Resolve::addActs()
{
    ActSet *acts = m_table->acts();
    ActSpec add = m_acts.spec("add", tr("添加场景"), "plus", Act::None, ActSpec::Bar | ActSpec::Menu);
    add.free = true;
    add.keys = QKeySequence::Open;
    add.run = [this](const QStringList &) { chooseFiles(); };
    acts->add(add);
    ActSpec commit = m_acts.commit();
    commit.run = [this](const QStringList &keys) { askCommit(keys); };
    acts->add(commit);
    acts->add(m_acts.parameters());
    acts->add(m_acts.again());
    const auto change = [&](const char *id, const QString &text, const char *icon, Act act) {
        ActSpec one = m_acts.spec(id, text, icon, act, ActSpec::More | ActSpec::Menu);
        one.run = [this, act](const QStringList &keys) { this->change(keys, act); };
        acts->add(one);
    };
    change("pauseAnalysis", tr("暂停解析"), "pause", Act::PauseAnalysis);
    change("keepAnalysis", tr("继续解析"), "play", Act::ResumeAnalysis);
    change("pauseUpload", tr("暂停上传"), "pause", Act::PauseUpload);
    change("keepUpload", tr("继续上传"), "play", Act::ResumeUpload);
    ActSpec remove = m_acts.remove();
    remove.question = [this](const QStringList &keys) {
        return keys.size() == 1 ? tr("确定删除“%1”吗？").arg(names(keys))
                                : tr("确定删除选中的 %1 个任务吗？").arg(keys.size());
    };
    remove.later = deletion();
    remove.farewell = [this](const QStringList &keys) { return farewell(keys); };
    acts->add(remove);
    acts->add(m_acts.recommit());
}

// The row's three buttons, in the order of resolveHand.
void Resolve::addRowActs()
{
    ActSet *acts = m_table->acts();
    ActSpec main = m_acts.spec("main", {}, "", Act::None, ActSpec::Row);
    main.possible = m_model->when([](const db_resolve &r) { return SceneState::mainButton(r.state) != Act::None; });
    main.rowText = [this](const QString &key) {
        return SceneState::buttonText(SceneState::mainButton(m_model->record(key)->state));
    };
    main.run = m_model->each(
        [this](const db_resolve &r) { change({ResolveRows::key(r.rkey)}, SceneState::mainButton(r.state)); });
    acts->add(main);
    ActSpec cancel = m_acts.spec("cancel", tr("取消"), "", Act::Delete, ActSpec::Row);
    cancel.possible = m_model->when(
        [](const db_resolve &r) { return SceneState::possible(Act::Delete, r.state) && allowed(r.state); });
    cancel.danger = true;
    cancel.accept = tr("取消任务");
    cancel.question = [this](const QStringList &keys) {
        return tr("确定取消“%1”吗？任务会从列表中删除。").arg(names(keys));
    };
    cancel.later = deletion();
    cancel.farewell = [this](const QStringList &keys) { return farewell(keys); };
    acts->add(cancel);
    ActSpec priority = m_acts.spec("priority", tr("优先级"), "top", Act::Prioritise, ActSpec::Row | ActSpec::Menu);
    priority.single = true;
    priority.possible = m_model->when([](const db_resolve &r) { return SceneState::priorityType(r.state) >= 0; });
    priority.run = [this](const QStringList &keys) { openPriorities(keys.first()); };
    acts->add(priority);
}

void Resolve::listen()
{
    ResolveDAO *dao = ResolveDAO::instance();
    connect(dao, &ResolveDAO::allFile, this, &Resolve::allFile, Qt::QueuedConnection);
    connect(
        dao, &ResolveDAO::pageFound, this, [this](int page) { m_table->pages()->setPage(page); }, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::inserted, this, &Resolve::arrived, Qt::QueuedConnection);
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
    ScenePage wanted;
    wanted.page = m_table->pages()->page();
    wanted.size = PageSize::Scenes;
    wanted.search = m_table->searched();
    wanted.holding = m_holding;
    if (const int column = m_model->sortColumn(); column >= 0)
        wanted.sort = m_model->column(column).id;
    wanted.down = m_model->sortOrder() == Qt::DescendingOrder;
    if (Seam<ResolveCalls>::post([wanted](ResolveCalls &queue) { queue.showPage(wanted); }))
        m_holding = 0;
    else
        m_reload->debounce(HandlerMs);
}

void Resolve::allFile(QList<db_resolve> list, int pageSum)
{
    m_model->setRows(list);
    m_table->pages()->setPageSum(pageSum);
    QStringList here;
    for (qlonglong rkey : qAsConst(m_toSelect))
        if (m_model->contains(ResolveRows::key(rkey)))
            here << ResolveRows::key(rkey);
    if (here.isEmpty())
        return;
    m_toSelect.clear();
    m_table->view()->select(here);
}

// New scenes stand at the list's end. Those of this window's own drop are shown; of others it's told, for whoever works
// in the list doesn't want it to move away.
void Resolve::arrived(const QList<qlonglong> &keys)
{
    if (keys.isEmpty())
        return;
    const qlonglong first = keys.first();
    if (std::exchange(m_ownDrop, false)) {
        m_toSelect = keys;
        showRow(first);
    } else if (isVisible()) {
        Toast::show(this, tr("新增 %1 个场景").arg(keys.size()), tr("查看"), [this, keys, first] {
            m_toSelect = keys;
            showRow(first);
        });
    }
}

void Resolve::showRow(qlonglong rkey)
{
    m_holding = rkey;
    if (m_table->search()->text().isEmpty())
        refresh();
    else
        m_table->search()->clear(); // it might hide them; the search's own reload follows
}

void Resolve::orderChanged(db_resolve res)
{
    m_model->change(ResolveRows::key(res.rkey), [&](db_resolve &mine) {
        mine.ordernum = res.ordernum;
        mine.missionid = res.missionid;
    });
}

void Resolve::stateChanged(db_resolve res)
{
    m_model->change(ResolveRows::key(res.rkey), [&](db_resolve &mine) { ResolveRows::take(&mine, res); });
}

void Resolve::upProgress(qlonglong rkey, int ok, int sum)
{
    m_model->change(ResolveRows::key(rkey), [&](db_resolve &mine) { mine.fok = ok, mine.fsum = sum; });
}

// What to do about the one row that is selected, without a mouse resting on it.
void Resolve::advise()
{
    const QStringList keys = m_table->view()->selected();
    const db_resolve *res = keys.size() == 1 ? m_model->record(keys.first()) : nullptr;
    const QString why = res ? ResolveRows::reason(*res) : QString();
    const QString line =
        why.section(QLatin1Char('\n'), -1) +
        (why.contains(QLatin1Char('\n')) ? QStringLiteral("  ·  ") + why.section(QLatin1Char('\n'), 0, 0) : QString());
    if (m_advice->text() == line)
        return;
    m_advice->setText(line);
    m_advice->setToolTip(RecordModelBase::plainTip(why));
}

void Resolve::rightsChanged()
{
    m_model->touch({});
    m_table->acts()->follow();
}

void Resolve::resolveDeleted(qlonglong rkey)
{
    if (m_model->contains(ResolveRows::key(rkey)))
        refresh();
}

void Resolve::searchName(int, QString name)
{
    if (m_table->search()->text() != name)
        m_table->search()->setText(name);
    if (m_holding == 0)
        m_table->pages()->first();
    m_reload->debounce(1);
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
    if (m_balance <= 0 && !EnvChoice::allowsArrears(CommonConfig::get().raw)) {
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
    if (fileL == m_told.first)
        m_env->setMayaProject(m_told.second);
    m_told = {};
    connect(m_env, &EnvPre::submitted, this, [this] { m_ownDrop = true; });
    m_env->open();
}

void Resolve::projectTold(QStringList scenes, QString project) { m_told = {scenes, project}; }

void Resolve::envpre(QJsonObject obj)
{
    const QString scene = obj.value(QLatin1String("scenePath")).toString();
    backEnvPre(SoftwareType::SketchUp, {scene}, {});
    m_env->setFinished(obj);
    called();
}

// Who called stands in another program's window.
void Resolve::called()
{
    if (m_env)
        m_env->setCaller([](const QString &text) { TrayIcon::instance()->showInfoMsg(QString(), text); });
}

QString Resolve::names(const QStringList &keys) const { return m_acts.nameOf(keys); }

void Resolve::commit(const QList<qlonglong> &keys, bool batch)
{
    for (qlonglong key : keys)
        Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.commitResolve(key, batch, {}); });
}

// Of several only what can render goes: a failed analysis costs money and gives nothing. A single failed one is the
// user's own decision, taken after a question.
void Resolve::askCommit(const QStringList &keys)
{
    const auto failed = [this](const QString &key) { return m_model->record(key)->state == SceneState::Failed; };
    QStringList good = keys;
    if (keys.size() > 1)
        good.erase(std::remove_if(good.begin(), good.end(), failed), good.end());
    if (good.isEmpty()) {
        MsgTool::msgOk(this, tr("选中的场景都没有解析成功，请重新解析后再提交"));
        return;
    }
    Background::run(
        this, [wanted = SceneActs::rkeys(good)] { return ResolveDAO::instance()->countAlong(wanted); },
        [this, good](int others) { askCommit(good, others); });
}

// A commit by hand lets the other scenes of the same drop go by themselves. Who doesn't want that says so here.
void Resolve::askCommit(const QStringList &keys, int others)
{
    const db_resolve *only = keys.size() == 1 ? m_model->record(keys.first()) : nullptr;
    CommitPreview::Wish wish;
    wish.rkeys = SceneActs::rkeys(keys);
    wish.others = others;
    wish.heading = only ? names(keys) : tr("%1 个场景").arg(keys.size());
    wish.tip = only ? only->lpath : QString();
    wish.danger = only && only->state == SceneState::Failed;
    wish.question = keys.size() > 1 ? tr("批量提交无法修改参数，确定提交吗？")
                    : wish.danger
                        ? tr("“%1”解析失败，提交后可能渲染不出结果，费用照常计算。仍要提交吗？").arg(names(keys))
                        : QString();
    auto *dialog = new CommitPreview(wish, window());
    connect(dialog, &CommitPreview::commit, this, [this, keys](bool along) {
        commit(SceneActs::rkeys(m_table->acts()->fit(QStringLiteral("commit"), keys)), along);
    });
    dialog->open();
}

void Resolve::change(const QStringList &keys, Act act)
{
    const int type = SceneState::changeType(act);
    if (type < 0)
        return;
    for (qlonglong key : SceneActs::rkeys(keys))
        Seam<ResolveCalls>::post([=](ResolveCalls &queue) { queue.changeResolveState(key, type, {}); });
}

std::function<std::function<void()>(const QString &)> Resolve::deletion() const
{
    return [](const QString &key) { return [rkey = ResolveRows::rkey(key)] { SceneDelete::run(rkey); }; };
}

QString Resolve::farewell(const QStringList &keys) const
{
    return keys.size() == 1 ? tr("已删除“%1”").arg(names(keys)) : tr("已删除 %1 个任务").arg(keys.size());
}

void Resolve::commitAct() { m_acts.trigger("commit"); }
void Resolve::recommitAct() { m_acts.trigger("recommit"); }
void Resolve::delAct() { m_acts.trigger("delete"); }
void Resolve::paraAct() { m_acts.trigger("para"); }
void Resolve::reresAct() { m_acts.trigger("again"); }
void Resolve::pauseresAct() { m_acts.trigger("pauseAnalysis"); }
void Resolve::keepresAct() { m_acts.trigger("keepAnalysis"); }
void Resolve::pauseupAct() { m_acts.trigger("pauseUpload"); }
void Resolve::keepupAct() { m_acts.trigger("keepUpload"); }

void Resolve::resolveStateHand(int, QModelIndex index) { openState(m_model->keyOf(index)); }
void Resolve::resolveHand(int btn, QModelIndex index) { m_acts.rowButton(btn, index); }

void Resolve::openState(const QString &key)
{
    const db_resolve *res = m_model->record(key);
    const qlonglong rkey = ResolveRows::rkey(key);
    switch (res ? SceneState::link(res->state) : Act::None) {
    case Act::EditParameters:
        openParameters(rkey);
        break;
    case Act::SeeErrors:
        Seam<ResolveCalls>::post([rkey](ResolveCalls &queue) { queue.seeError(0, rkey); });
        break;
    case Act::SeeWarnings:
        Seam<ResolveCalls>::post([rkey](ResolveCalls &queue) { queue.seeError(1, rkey); });
        break;
    default:
        break;
    }
}

void Resolve::openParameters(qlonglong rkey)
{
    if (m_acts.mayEdit(tr("您还没有参数设置的权限！")))
        Seam<ResolveCalls>::post([rkey](ResolveCalls &queue) { queue.paraSet(rkey); });
}

void Resolve::openPriorities(const QString &key)
{
    const int type = SceneState::priorityType(m_model->record(key)->state);
    if (m_pri)
        m_pri->close(); // it may be the other queue's
    m_pri = new ResolvePri(type, window());
    connect(m_pri, &ResolvePri::saved, this, [this] { m_reload->debounce(ReloadMs); });
    m_pri->open();
}

void Resolve::seeWarn(db_resolve res) { m_acts.seeWarnings(res); }

void Resolve::paraSet(db_resolve res)
{
    if (!m_acts.mayEdit(tr("您没有参数设置的权限！")))
        return;
    m_acts.open(res, &ParameterDialog::read, [this](const ParameterDialog::Scene &scene) {
        if (auto *parameters = ParameterDialog::make(scene, window()))
            return parameters->open();
        auto *dialog = new SceneInfo(scene.res, window());
        connect(dialog, &SceneInfo::commit, this, [this](qlonglong key) { commit({key}, false); });
        dialog->open();
    });
}
