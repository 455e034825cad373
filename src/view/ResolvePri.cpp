#include "view/ResolvePri.h"
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/EmptyView.h"
#include "common/ui/IconTool.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>

namespace
{
constexpr int RefreshMs = 500;
enum Column { Order, Name, Project, State, Columns };
} // namespace

ResolvePri::ResolvePri(int type, QWidget *parent)
    : BaseWidget(Dialog, parent), m_type(type), m_table(new QTableWidget(0, Columns, this))
{
    setObjectName(QStringLiteral("ResolvePri"));
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(tr("优先级调度"));
    m_table->setHorizontalHeaderLabels({tr("订单号"), tr("任务名"), tr("所属项目"), tr("任务状态")});
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_table->horizontalHeader()->setSectionResizeMode(Name, QHeaderView::Stretch);
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(36);
    m_table->setShowGrid(false);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false);
    m_table->setMinimumSize(620, 320);
    m_table->setAccessibleName(windowTitle());
    new EmptyView(m_table, QStringLiteral("check"), tr("没有等待的任务"), QString());
    body()->addWidget(m_table, 1);
    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(16, 12, 16, 12);
    buttons->setSpacing(8);
    const auto add = [&](const QString &icon, const QString &text, auto hit) {
        auto *button = new QPushButton(icon.isEmpty() ? QIcon() : IconTool::icon(icon), text, this);
        connect(button, &QPushButton::clicked, this, hit);
        buttons->addWidget(button);
        return button;
    };
    add(QStringLiteral("top"), tr("置顶"), [this] { moveRow(0); });
    add(QStringLiteral("chevron-up"), tr("上移"), [this] { moveRow(m_table->currentRow() - 1); });
    add(QStringLiteral("chevron-down"), tr("下移"), [this] { moveRow(m_table->currentRow() + 1); });
    buttons->addStretch(1);
    add({}, tr("保存"), [this] { save(); })->setProperty("primary", true);
    add({}, tr("关闭"), [this] { close(); });
    body()->addLayout(buttons);
    ResolveDAO *dao = ResolveDAO::instance();
    connect(dao, &ResolveDAO::allReswait, this, &ResolvePri::fill, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::stateChanged, this, &ResolvePri::stateChanged, Qt::QueuedConnection);
    connect(dao, &ResolveDAO::resolveDeleted, this, &ResolvePri::removeKey, Qt::QueuedConnection);
    ask();
}

void ResolvePri::ask()
{
    Seam<ResolveCalls>::post([type = m_type](ResolveCalls &queue) { queue.reswait(type); });
}

void ResolvePri::fill(const QList<db_resolve> &list)
{
    m_table->setRowCount(0);
    for (const db_resolve &res : list) {
        const int row = m_table->rowCount();
        m_table->insertRow(row);
        const QString texts[Columns] = {res.ordernum, res.lpath.mid(res.lpath.lastIndexOf(QLatin1Char('/')) + 1),
                                        res.project, SceneState::text(res.state)};
        for (int i = 0; i < Columns; ++i) {
            auto *item = new QTableWidgetItem(texts[i]);
            item->setData(Qt::UserRole, res.rkey);
            item->setToolTip(i == Name ? res.lpath : texts[i]);
            m_table->setItem(row, i, item);
        }
    }
    if (!list.isEmpty())
        m_table->selectRow(0);
}

int ResolvePri::rowOf(qlonglong rkey) const
{
    for (int row = 0; row < m_table->rowCount(); ++row)
        if (m_table->item(row, 0)->data(Qt::UserRole).toLongLong() == rkey)
            return row;
    return -1;
}

void ResolvePri::stateChanged(const db_resolve &res)
{
    const int row = rowOf(res.rkey);
    if (row < 0)
        return;
    const bool waits = SceneState::priorityType(res.state) == m_type;
    if (waits)
        m_table->item(row, State)->setText(SceneState::text(res.state));
    else
        m_table->removeRow(row);
}

void ResolvePri::removeKey(qlonglong rkey)
{
    const int row = rowOf(rkey);
    if (row >= 0)
        m_table->removeRow(row);
}

void ResolvePri::moveRow(int to)
{
    const int from = m_table->currentRow();
    if (from < 0 || to < 0 || to >= m_table->rowCount() || from == to)
        return;
    QList<QTableWidgetItem *> items;
    for (int i = 0; i < Columns; ++i)
        items << m_table->takeItem(from, i);
    m_table->removeRow(from);
    m_table->insertRow(to);
    for (int i = 0; i < Columns; ++i)
        m_table->setItem(to, i, items.at(i));
    m_table->selectRow(to);
}

void ResolvePri::save()
{
    QList<qlonglong> keys;
    for (int row = 0; row < m_table->rowCount(); ++row)
        keys << m_table->item(row, 0)->data(Qt::UserRole).toLongLong();
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
