#include "common/ui/kit/TickList.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/Pagination.h"
#include <algorithm>
#include <QLineEdit>

namespace
{
constexpr int LeastName = 132;
}

TickList::TickList(const QString &name, const QString &accessible, const QVector<Head> &heads, QWidget *parent)
    : QWidget(parent)
{
    using C = Column<TickRow>;
    QVector<C> columns{C::tick()};
    for (int i = 0; i < heads.size(); ++i) {
        C one(QStringLiteral("cell%1").arg(i), heads.at(i).title,
              heads.at(i).width > 0 ? heads.at(i).width : LeastName);
        one.text([i](const TickRow &row) { return row.cells.value(i); });
        one.gives = i;
        if (heads.at(i).width == 0) // what the row is about: others give way first
            one.stretch().atLeast(LeastName);
        else
            one.atLeast(heads.at(i).width);
        columns << one;
    }
    m_model = new RecordModel<TickRow>([](const TickRow &row) { return row.key; }, columns, this);
    m_model->setSame([](const TickRow &a, const TickRow &b) { return a == b; });
    TablePage::Look look;
    look.accessible = accessible;
    look.emptyIcon = QStringLiteral("search");
    look.emptyText = tr("没有可选的内容");
    look.search = tr("搜索");
    look.refresh = look.columns = false;
    m_page = TablePage::fill(this, look, m_model);
    m_page->setObjectName(name);
    const auto all = [this](const char *id, const QString &text, bool on) {
        ActSpec spec(id, text, QString(), ActSpec::Bar | ActSpec::Menu);
        spec.free = true;
        spec.run = [this, on](const QStringList &) { m_model->tickAll(on); };
        m_page->acts()->add(spec);
    };
    all("all", tr("全选"), true);
    all("none", tr("全不选"), false);
    m_page->build();
    m_page->search()->setFixedWidth(120);
    m_page->pages()->hide();
    connect(m_page, &TablePage::searchWanted, this, &TickList::show);
    connect(m_model, &RecordModelBase::ticksChanged, this, &TickList::follow);
    connect(m_page->view(), &RecordView::selectionMoved, this, [this] {
        if (!m_quiet)
            emit selectionMoved();
    });
}

void TickList::setRows(const QList<TickRow> &rows, const QStringList &ticked)
{
    m_rows = rows;
    m_on = QSet<QString>(ticked.begin(), ticked.end());
    show(m_page->searched());
}

void TickList::show(const QString &search)
{
    QList<TickRow> found;
    for (const TickRow &row : qAsConst(m_rows))
        if (std::any_of(row.cells.begin(), row.cells.end(),
                        [&](const QString &cell) { return cell.contains(search, Qt::CaseInsensitive); }))
            found << row;
    m_quiet = true; // rows that go take their ticks with them: m_on keeps those
    m_model->setRows(found);
    m_model->tickAll(false);
    m_model->tick(ticked(), true);
    m_quiet = false;
    emit selectionMoved();
}

void TickList::setCells(const QHash<QString, QStringList> &cells)
{
    QList<TickRow> shown;
    for (TickRow &row : m_rows) {
        if (const auto fresh = cells.constFind(row.key); fresh != cells.cend())
            row.cells = *fresh;
        if (m_model->contains(row.key))
            shown << row;
    }
    m_quiet = true;
    m_model->setRows(shown);
    m_quiet = false;
}

QStringList TickList::ticked() const
{
    QStringList keys;
    for (const TickRow &row : m_rows)
        if (m_on.contains(row.key))
            keys << row.key;
    return keys;
}

void TickList::setTicked(const QStringList &keys)
{
    m_on = QSet<QString>(keys.begin(), keys.end());
    m_quiet = true;
    m_model->tickAll(false);
    m_model->tick(keys, true);
    m_quiet = false;
}

QStringList TickList::selected() const { return m_page->view()->selected(); }
void TickList::select(const QStringList &keys) { m_page->view()->select(keys); }

void TickList::follow()
{
    if (m_quiet)
        return;
    const QStringList now = m_model->ticked(), shown = m_model->keys();
    const QSet<QString> on(now.begin(), now.end());
    QStringList moved;
    for (const QString &key : shown)
        if (on.contains(key) != m_on.contains(key))
            moved << key;
    for (const QString &key : qAsConst(moved)) {
        if (on.contains(key))
            m_on.insert(key);
        else
            m_on.remove(key);
    }
    if (!moved.isEmpty())
        emit ticksChanged(moved);
}
