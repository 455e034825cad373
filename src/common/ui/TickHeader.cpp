#include "common/ui/TickHeader.h"
#include "common/ui/Delegates.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include <QPainter>
#include <QSortFilterProxyModel>
#include <QTableView>

namespace
{
constexpr int RowHeight = 36, HeadHeight = 32;
}

TickHeader::TickHeader(QSortFilterProxyModel *sorted, QWidget *parent)
    : QHeaderView(Qt::Horizontal, parent), m_sorted(sorted)
{
    setSectionsClickable(true);
    setHighlightSections(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setFixedHeight(HeadHeight);
    setMinimumSectionSize(40);
    setSortIndicator(-1, Qt::AscendingOrder);
    connect(this, &QHeaderView::sectionClicked, this, &TickHeader::sectionHit);
}

void TickHeader::dress(QTableView *table, QSortFilterProxyModel *sorted)
{
    table->setHorizontalHeader(new TickHeader(sorted, table));
    table->setModel(sorted);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(RowHeight);
    table->setShowGrid(false);
    table->setMouseTracking(true);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    table->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    table->setTabKeyNavigation(false);
    table->setWordWrap(false);
}

void TickHeader::sectionHit(int section)
{
    if (section == 0) {
        emit tickAll(m_sorted->headerData(0, Qt::Horizontal, Qt::CheckStateRole).toInt() != Qt::Checked);
        return;
    }
    const bool again = m_sorted->sortColumn() == section;
    if (again && m_sorted->sortOrder() == Qt::DescendingOrder)
        m_sorted->sort(-1);
    else
        m_sorted->sort(section, again ? Qt::DescendingOrder : Qt::AscendingOrder);
    viewport()->update();
}

void TickHeader::paintSection(QPainter *painter, const QRect &rect, int section) const
{
    painter->save();
    QHeaderView::paintSection(painter, rect, section);
    painter->restore();
    if (section == 0) {
        CheckBoxItem::drawBox(painter, rect,
                              Qt::CheckState(model()->headerData(0, Qt::Horizontal, Qt::CheckStateRole).toInt()));
        return;
    }
    if (m_sorted->sortColumn() != section)
        return;
    const QString arrow =
        m_sorted->sortOrder() == Qt::AscendingOrder ? QStringLiteral("chevron-up") : QStringLiteral("chevron-down");
    const QString title = model()->headerData(section, Qt::Horizontal).toString();
    const int x = qMin(rect.left() + 12 + fontMetrics().horizontalAdvance(title), rect.right() - 14);
    painter->drawPixmap(x, rect.center().y() - 6,
                        IconTool::pixmap(arrow, Palette::quiet, 12, painter->device()->devicePixelRatioF()));
}
