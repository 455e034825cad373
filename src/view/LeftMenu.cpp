#include "view/LeftMenu.h"
#include "common/ui/Delegates.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include <QHeaderView>
#include <QPainter>

namespace
{
enum Role { Key = Qt::UserRole, Group, Title, Mark, Icon };
constexpr int RowHeight = 36, GroupHeight = 32;
constexpr int OpenWidth = 168, FoldedWidth = 48;

class MenuItem : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const bool folded = static_cast<const LeftMenu *>(parent())->folded();
        const QString title = index.data(Title).toString();
        painter->setFont(option.font);
        if (index.data(Group).toBool()) {
            painter->setPen(folded ? Palette::line : Palette::quiet);
            if (folded)
                painter->drawLine(option.rect.left() + 12, option.rect.center().y(), option.rect.right() - 12,
                                  option.rect.center().y());
            else
                painter->drawText(option.rect.adjusted(16, 8, -8, 0), Qt::AlignLeft | Qt::AlignVCenter, title);
            return;
        }
        const bool on = option.state & QStyle::State_Selected, hot = option.state & QStyle::State_MouseOver;
        if (on || hot)
            painter->fillRect(option.rect, on ? Palette::selected : Palette::raised);
        if (on)
            painter->fillRect(QRect(option.rect.topLeft(), QSize(2, option.rect.height())), Palette::accent);
        if ((option.state & QStyle::State_HasFocus) && on) {
            painter->setPen(Palette::accent);
            painter->drawRect(option.rect.adjusted(0, 0, -1, -1));
        }
        const QColor tint = on ? Palette::strong : Palette::text;
        const QPixmap icon = IconTool::pixmap(index.data(Icon).toString(), on ? Palette::accent : Palette::text, 20,
                                              painter->device()->devicePixelRatioF());
        painter->drawPixmap(option.rect.left() + 14, option.rect.center().y() - 9, icon);
        painter->setPen(tint);
        const QRect words = option.rect.adjusted(46, 0, -20, 0);
        if (!folded)
            painter->drawText(words, Qt::AlignLeft | Qt::AlignVCenter,
                              option.fontMetrics.elidedText(title, Qt::ElideRight, words.width()));
        if (index.data(Mark).toBool()) {
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(Qt::NoPen);
            painter->setBrush(Palette::failed);
            painter->drawEllipse(QPointF(folded ? option.rect.left() + 36 : option.rect.right() - 14,
                                         option.rect.center().y() - (folded ? 8 : 0)),
                                 3, 3);
            painter->setRenderHint(QPainter::Antialiasing, false);
        }
    }
};
} // namespace

LeftMenu::LeftMenu(QWidget *parent) : QTableWidget(0, 1, parent)
{
    setObjectName(QStringLiteral("leftMenu"));
    setAccessibleName(tr("菜单"));
    horizontalHeader()->hide();
    verticalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->setMinimumSectionSize(8);
    setShowGrid(false);
    setMouseTracking(true);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setItemDelegate(new MenuItem(this));
    setFixedWidth(OpenWidth);
    setTabKeyNavigation(false);
    connect(this, &QTableWidget::itemSelectionChanged, this, &LeftMenu::chosen);
}

int LeftMenu::addRow(const QString &icon, const QString &title)
{
    const int row = rowCount();
    insertRow(row);
    auto *item = new QTableWidgetItem;
    item->setData(Title, title);
    item->setData(Icon, icon);
    item->setData(Qt::AccessibleTextRole, title);
    setItem(row, 0, item);
    setRowHeight(row, RowHeight);
    return row;
}

void LeftMenu::addGroup(const QString &title)
{
    const int row = addRow({}, title);
    item(row, 0)->setData(Group, true);
    item(row, 0)->setFlags(Qt::NoItemFlags);
    setRowHeight(row, GroupHeight);
}

void LeftMenu::addPage(const QString &icon, const QString &title, const QString &key)
{
    item(addRow(icon, title), 0)->setData(Key, key);
}

int LeftMenu::rowOf(const QString &key) const
{
    for (int row = 0; row < rowCount(); ++row)
        if (!item(row, 0)->data(Group).toBool() && item(row, 0)->data(Key).toString() == key)
            return row;
    return -1;
}

void LeftMenu::setPossible(const QString &key, bool on)
{
    setRowHidden(rowOf(key), !on);
    bool empty = true;
    for (int row = rowCount() - 1; row >= 0; --row) { // from below: a group stands over its rows
        const bool group = item(row, 0)->data(Group).toBool();
        if (group)
            setRowHidden(row, empty);
        empty = group || (empty && isRowHidden(row));
    }
}

void LeftMenu::setFolded(bool on)
{
    m_folded = on;
    setFixedWidth(on ? FoldedWidth : OpenWidth);
    for (int row = 0; row < rowCount(); ++row)
        item(row, 0)->setToolTip(on && !item(row, 0)->data(Group).toBool() ? item(row, 0)->data(Title).toString()
                                                                           : QString());
    viewport()->update();
}

void LeftMenu::setMark(const QString &key, bool on)
{
    if (QTableWidgetItem *row = item(rowOf(key), 0)) {
        row->setData(Mark, on);
        row->setData(Qt::AccessibleDescriptionRole, on ? tr("有新内容") : QString());
    }
}

void LeftMenu::selectPage(const QString &key) { setCurrentCell(rowOf(key), 0); }

QStringList LeftMenu::titles() const
{
    QStringList out;
    for (int row = 0; row < rowCount(); ++row)
        if (!item(row, 0)->data(Group).toBool() && !isRowHidden(row))
            out << item(row, 0)->data(Title).toString();
    return out;
}

void LeftMenu::chosen()
{
    const QList<QTableWidgetItem *> list = selectedItems();
    if (!list.isEmpty())
        emit pageChosen(list.first()->data(Key).toString());
}
