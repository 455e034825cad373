#include "view/driver/cloud/ResolveD.h"
#include "common/Debounce.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "db/CloudCalls.h"
#include "db/ResolveDDAO.h"
#include "view/AccountFacts.h"
#include "view/driver/cloud/MayaD.h"
#include "view/driver/cloud/SubmitMayaD.h"
#include <QDateTime>
#include <QVBoxLayout>

namespace
{
constexpr int ReloadMs = 100, HandlerMs = 500; // HandlerMs: until the queue stands

qlonglong rkeyOf(const QString &key) { return ResolveRows::rkey(key); }

QString timeText(qlonglong ms)
{
    return ms > 0 ? QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) : QString();
}

Tint tint(const db_resolve &res)
{
    return res.state == SceneState::Analysing && !res.errstr.isEmpty() ? Tint::Warning : ResolveRows::tint(res);
}

QString why(const db_resolve &res)
{
    const QString text = res.errstr.left(400).trimmed();
    return text.isEmpty() ? ResolveRows::reason(res) : text;
}

} // namespace

ResolveRows::Model *ResolveD::makeModel()
{
    using C = Column<db_resolve>;
    const auto state = [](const db_resolve &r) { return SceneState::text(r.state); };
    auto *model =
        new RecordModel<db_resolve>([](const db_resolve &r) { return ResolveRows::key(r.rkey); },
                                    {C::tick(),
                                     C(QStringLiteral("name"), tr("文件名称"), 200)
                                         .text(ResolveRows::sceneName)
                                         .tip([](const db_resolve &r) { return r.lpath; })
                                         .stretch()
                                         .atLeast(160),
                                     C(QStringLiteral("software"), tr("软件"), 88)
                                         .text([](const db_resolve &r) { return SoftwareType::name(r.filetype); })
                                         .atLeast(72)
                                         .giving(3),
                                     C(QStringLiteral("time"), tr("开始解析时间"), 152)
                                         .text([](const db_resolve &r) { return timeText(r.rtime); })
                                         .sort([](const db_resolve &r) { return r.rtime; })
                                         .atLeast(152)
                                         .giving(1),
                                     C(QStringLiteral("end"), tr("结束时间"), 152)
                                         .text([](const db_resolve &r) { return timeText(r.etime); })
                                         .sort([](const db_resolve &r) { return r.etime; })
                                         .atLeast(152)
                                         .giving(2),
                                     C(QStringLiteral("state"), tr("状态"), 184)
                                         .text(state)
                                         .tint(tint)
                                         .tip([state](const db_resolve &r) {
                                             const QString text = why(r);
                                             return text.isEmpty() ? state(r) : text;
                                         })
                                         .role(Qt::UserRole, [](const db_resolve &r) { return QVariant(r.state); })
                                         .link()
                                         .atLeast(160),
                                     C::acts(tr("操作"), 96)},
                                    this);
    model->setSame([](const db_resolve &a, const db_resolve &b) {
        return a.state == b.state && a.error == b.error && a.errstr == b.errstr && a.rtime == b.rtime &&
               a.etime == b.etime;
    });
    return model;
}

TablePage::Look ResolveD::look()
{
    TablePage::Look look;
    look.name = QStringLiteral("ResolveD");
    look.accessible = tr("云盘解析列表");
    look.emptyIcon = QStringLiteral("analyse");
    look.emptyText = tr("暂时没有解析记录呢");
    look.emptyHint = tr("在云盘中选择场景文件，点击“解析”");
    look.search = tr("搜索文件名称");
    return look;
}

ResolveD::ResolveD(QWidget *parent)
    : QWidget(parent), m_model(makeModel()), m_table(new TablePage(look(), m_model, this)),
      m_reload(new Debounce(this)),
      m_acts(this, m_model, m_table,
             {[this](qlonglong rkey) { paraRes(rkey); }, [this](qlonglong rkey) { resState(1, rkey); },
              [this](const QList<qlonglong> &keys, bool) { commit(keys); }})
{
    setObjectName(QStringLiteral("ResolveD"));
    setAccessibleName(tr("解析提交"));
    addActs();
    m_table->build();
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_table);
    setFocusProxy(m_table);
    connect(m_reload, &Debounce::debout, this, &ResolveD::refresh);
    connect(m_table, &TablePage::refreshWanted, this, &ResolveD::refresh);
    connect(m_table, &TablePage::searchWanted, this, &ResolveD::fill);
    connect(m_table->view(), &RecordView::linkClicked, this, &ResolveD::openState);
    connect(m_table->view(), &RecordView::opened, this, &ResolveD::openState);
    listen();
    refresh();
}

void ResolveD::addActs()
{
    ActSet *acts = m_table->acts();
    ActSpec submit = m_acts.commit();
    submit.id = QStringLiteral("submit");
    submit.places |= ActSpec::Row;
    submit.single = true;
    submit.possible = m_model->when(SceneActs::canSubmit);
    submit.run = [this](const QStringList &keys) { resState(0, rkeyOf(keys.first())); };
    acts->add(submit);
    ActSpec para = m_acts.parameters();
    para.places = ActSpec::Bar | ActSpec::Menu;
    acts->add(para);
    acts->add(m_acts.again());
    acts->add(m_acts.recommit());
    ActSpec remove = m_acts.remove();
    remove.possible = {}; // whatever its state: it's only a record
    remove.question = [this](const QStringList &keys) {
        return keys.size() == 1 ? tr("确定删除“%1”的解析记录吗？云盘里的文件不会删除。").arg(m_acts.nameOf(keys))
                                : tr("确定删除选中的 %1 条解析记录吗？云盘里的文件不会删除。").arg(keys.size());
    };
    remove.run = [this](const QStringList &keys) {
        for (const QString &key : keys)
            delRes(rkeyOf(key));
    };
    acts->add(remove);
}

void ResolveD::listen()
{
    ResolveDDAO *dao = ResolveDDAO::instance();
    connect(dao, &ResolveDDAO::allFile, this, &ResolveD::allFile, Qt::QueuedConnection);
    connect(dao, &ResolveDDAO::stateChanged, this, &ResolveD::stateChanged, Qt::QueuedConnection);
    connect(dao, &ResolveDDAO::rtimeChanged, this, &ResolveD::rtimeChanged, Qt::QueuedConnection);
    connect(dao, &ResolveDDAO::paraSet, this, &ResolveD::paraSet, Qt::QueuedConnection);
    connect(
        dao, &ResolveDDAO::resolveDeleted, this, [this] { m_reload->debounce(ReloadMs); }, Qt::QueuedConnection);
    connect(
        dao, &ResolveDDAO::refreshAll, this, [this] { m_reload->debounce(ReloadMs); }, Qt::QueuedConnection);
}

void ResolveD::refresh()
{
    if (!Seam<CloudCalls>::post([](CloudCalls &queue) { queue.readScenes(); }))
        m_reload->debounce(HandlerMs);
}

void ResolveD::allFile(QList<db_resolve> list)
{
    m_rows = list;
    fill();
}

void ResolveD::fill()
{
    QList<db_resolve> shown;
    for (const db_resolve &row : qAsConst(m_rows))
        if (row.lpath.contains(m_table->searched(), Qt::CaseInsensitive))
            shown << row;
    m_model->setRows(shown);
}

// The new state at once; what else is new of the row (its error's text) comes with the list.
void ResolveD::stateChanged(qlonglong rkey, int state)
{
    m_model->change(ResolveRows::key(rkey), [state](db_resolve &mine) { mine.state = state; });
    m_reload->debounce(ReloadMs);
}

void ResolveD::rtimeChanged(qlonglong rkey, qlonglong rtime, qlonglong etime)
{
    m_model->change(ResolveRows::key(rkey), [=](db_resolve &mine) { mine.rtime = rtime, mine.etime = etime; });
}

void ResolveD::paraAct() { m_acts.trigger("para"); }
void ResolveD::delAct() { m_acts.trigger("delete"); }
void ResolveD::reresAct() { m_acts.trigger("again"); }

void ResolveD::resolveStateHand(int, QModelIndex index) { openState(m_model->keyOf(index)); }
void ResolveD::resolveHand(int btn, QModelIndex index) { m_acts.rowButton(btn, index); }

// A refused order goes once more as it is; what was only analysed asks for the rest first, and comes alone.
void ResolveD::commit(const QList<qlonglong> &keys)
{
    for (qlonglong key : keys) {
        const db_resolve *res = m_model->record(ResolveRows::key(key));
        if (res && SceneActs::canSubmit(*res))
            return resState(0, key);
        Seam<CloudCalls>::post([key](CloudCalls &queue) { queue.submitAgain(key); });
    }
}

void ResolveD::resState(int type, qlonglong rkey, bool del)
{
    if (type == 2 || del)
        return delRes(rkey);
    if (type == 1) {
        Seam<CloudCalls>::post([rkey](CloudCalls &queue) { queue.reAdd(rkey); });
        return;
    }
    if (!UserInfo::canUpload()) {
        MsgTool::msgOk(this, tr("您还没有提交渲染的权限，请联系您的母账号开通！"));
        return;
    }
    m_submitting = rkey;
    Seam<CloudCalls>::post([rkey](CloudCalls &queue) { queue.paraSet(rkey); });
}

void ResolveD::delRes(qlonglong rkey)
{
    Seam<CloudCalls>::post([rkey](CloudCalls &queue) { queue.removeScene(rkey); });
}

void ResolveD::paraRes(qlonglong rkey)
{
    m_submitting = 0;
    if (m_acts.mayEdit(tr("您还没有参数设置的权限！")))
        Seam<CloudCalls>::post([rkey](CloudCalls &queue) { queue.paraSet(rkey); }); // paraSet answers
}

void ResolveD::paraSet(db_resolve res)
{
    if (!SceneActs::canSubmit(res))
        return;
    const bool submits = std::exchange(m_submitting, 0) == res.rkey;
    m_acts.open(res, &MayaD::read, [this, submits](const ParameterDialog::Scene &scene) {
        if (submits)
            (new SubmitMayaD(scene, AccountFacts::balance(), window()))->open();
        else if (ParameterDialog *dialog = MayaD::make(scene, window()))
            dialog->open();
        else
            MsgTool::msgOk(this, tr("这类场景没有可以设置的参数"));
    });
}

void ResolveD::openState(const QString &key)
{
    const db_resolve *res = m_model->record(key);
    if (!res)
        return;
    const QString text = why(*res);
    if (res->state == SceneState::Warned)
        m_acts.seeWarnings(*res);
    else if (SceneActs::canSubmit(*res) && (res->state == SceneState::Clean || text.isEmpty()))
        paraRes(res->rkey);
    else if (!text.isEmpty())
        MsgTool::msgOk(this, text);
}
