#include "view/ResolvePri.h"
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/kit/RowDrag.h"
#include "common/ui/kit/TablePage.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "view/ResolveRows.h"
#include <QTimer>

namespace
{
constexpr int RefreshMs = 500;
enum { Top = -1000000 };

RecordModel<db_resolve> *makeModel(QObject *parent)
{
    using C = Column<db_resolve>;
    const auto words = [](const char *text) { return ResolvePri::tr(text); };
    return new RecordModel<db_resolve>(
        [](const db_resolve &r) { return ResolveRows::key(r.rkey); },
        {C(QStringLiteral("order"), words(QT_TRANSLATE_NOOP("ResolvePri", "订单号")), 128)
             .text([](const db_resolve &r) { return r.ordernum; })
             .unsorted(),
         C(QStringLiteral("name"), words(QT_TRANSLATE_NOOP("ResolvePri", "任务名")), 200)
             .text(ResolveRows::sceneName)
             .tip([](const db_resolve &r) { return r.lpath; })
             .stretch()
             .unsorted(),
         C(QStringLiteral("project"), words(QT_TRANSLATE_NOOP("ResolvePri", "所属项目")), 112)
             .text([](const db_resolve &r) { return r.project; })
             .unsorted(),
         C(QStringLiteral("state"), words(QT_TRANSLATE_NOOP("ResolvePri", "任务状态")), 136)
             .text([](const db_resolve &r) { return SceneState::text(r.state); })
             .unsorted()},
        parent);
}
} // namespace

ResolvePri::ResolvePri(int type, QWidget *parent)
    : DialogFrame(QStringLiteral("ResolvePri"), tr("优先级调度"), parent), m_type(type), m_model(makeModel(this))
{
    TablePage::Look look;
    look.accessible = windowTitle();
    look.emptyIcon = QStringLiteral("check");
    look.emptyText = tr("没有等待的任务");
    look.refresh = false;
    look.columns = false;
    m_table = new TablePage(look, m_model, this);
    addActs();
    m_table->build();
    connect(new RowDrag(m_table->view()), &RowDrag::dropped, this, &ResolvePri::moveBefore);
    m_table->setMinimumSize(560, 300);
    content()->setContentsMargins(0, 0, 0, 0);
    content()->addWidget(m_table, 1);
    addButton(tr("保存"), Primary, [this] { save(); });
    addButton(tr("关闭"), Close);
    ResolveDAO *dao = ResolveDAO::instance();
    connect(dao, &ResolveDAO::allReswait, this, &ResolvePri::fill, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::stateChanged, this, &ResolvePri::stateChanged, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::resolveDeleted, this, &ResolvePri::removeKey, Qt::QueuedConnection);
    ask();
}

void ResolvePri::addActs()
{
    const auto add = [this](const char *id, const QString &text, const char *icon, const QKeySequence &keys, int by) {
        ActSpec spec(id, text, QLatin1String(icon), ActSpec::Bar | ActSpec::Menu);
        spec.keys = keys;
        spec.run = [this, by](const QStringList &rows) { move(rows, by); };
        m_table->acts()->add(spec);
    };
    add("top", tr("置顶"), "top", QKeySequence(Qt::CTRL | Qt::Key_Home), Top);
    add("up", tr("上移"), "chevron-up", QKeySequence(Qt::CTRL | Qt::Key_Up), -1);
    add("down", tr("下移"), "chevron-down", QKeySequence(Qt::CTRL | Qt::Key_Down), 1);
}

void ResolvePri::ask()
{
    Seam<ResolveCalls>::post([type = m_type](ResolveCalls &queue) { queue.reswait(type); });
}

bool ResolvePri::waits(const db_resolve &res) const { return SceneState::priorityType(res.state) == m_type; }

// The store's answer doesn't say which queue was asked for: an answer about the other one is none for this dialog.
void ResolvePri::fill(const QList<db_resolve> &list)
{
    QList<db_resolve> mine;
    for (const db_resolve &res : list)
        if (waits(res))
            mine << res;
    if (mine.isEmpty() == list.isEmpty())
        m_model->setRows(mine);
}

void ResolvePri::stateChanged(const db_resolve &res)
{
    if (!waits(res))
        return removeKey(res.rkey);
    m_model->change(ResolveRows::key(res.rkey), [&](db_resolve &mine) { mine.state = res.state; });
}

void ResolvePri::removeKey(qlonglong rkey) { m_model->remove(ResolveRows::key(rkey)); }

void ResolvePri::move(const QStringList &keys, int by)
{
    QStringList order = m_model->keys();
    if (by == Top) {
        for (const QString &key : keys)
            order.removeAll(key);
        order = keys + order;
    } else { // the foremost in the direction first, so that a block moves as one and stops at the end
        for (int i = 0; i < keys.size(); ++i) {
            const QString &key = by < 0 ? keys.at(i) : keys.at(keys.size() - 1 - i);
            const int from = order.indexOf(key), to = from + by;
            if (to >= 0 && to < order.size() && !keys.contains(order.at(to)))
                order.move(from, to);
        }
    }
    m_model->setRows(m_model->records(order));
}

void ResolvePri::moveBefore(const QStringList &keys, const QString &before)
{
    const QStringList order = m_model->keys();
    QStringList now, moved;
    for (const QString &key : order)
        (keys.contains(key) ? moved : now) << key;
    // Dropped on one of their own they close up behind what stands before it.
    int at = order.indexOf(before);
    while (at >= 0 && at < order.size() && keys.contains(order.at(at)))
        ++at;
    at = at < 0 || at >= order.size() ? now.size() : now.indexOf(order.at(at));
    m_model->setRows(m_model->records(now.mid(0, at) + moved + now.mid(at)));
}

void ResolvePri::save()
{
    QList<qlonglong> keys;
    for (const QString &key : m_model->keys())
        keys << ResolveRows::rkey(key);
    Background::run(
        this,
        [type = m_type, keys] {
            ResolveDAO::instance()->setPriority(type, keys);
            return true;
        },
        [this](bool) {
            emit saved();
            QTimer::singleShot(RefreshMs, this, &ResolvePri::ask);
        });
}
