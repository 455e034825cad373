#include "common/ui/Delegates.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include <QAbstractItemView>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

namespace
{
constexpr int Pad = 8;
constexpr int Gap = 16; // between two words of a row's buttons

QColor tintOf(const QModelIndex &index)
{
    const QVariant tint = index.data(CellRole::Tint);
    return tint.isValid() ? tint.value<QColor>() : Palette::text;
}

bool under(const QStyleOptionViewItem &option, const QRect &place)
{
    const auto *view = qobject_cast<const QAbstractItemView *>(option.widget);
    return view && (option.state & QStyle::State_MouseOver) &&
           place.contains(view->viewport()->mapFromGlobal(QCursor::pos()));
}
} // namespace

void TextItem::background(QPainter *painter, const QStyleOptionViewItem &option)
{
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
}

void TextItem::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    background(painter, option);
    QRect area = option.rect.adjusted(Pad, 0, -Pad, 0);
    const QString icon = index.data(CellRole::Icon).toString();
    if (!icon.isEmpty()) {
        const qreal ratio = painter->device()->devicePixelRatioF();
        const QColor tint = icon == QLatin1String("timeout") ? Palette::warning : Palette::quiet;
        painter->drawPixmap(area.left(), area.center().y() - 7, IconTool::pixmap(icon, tint, 16, ratio));
        area.setLeft(area.left() + 22);
    }
    const QVariant align = index.data(Qt::TextAlignmentRole);
    const int flags = (align.isValid() ? align.toInt() : int(Qt::AlignLeft | Qt::AlignVCenter)) | Qt::TextSingleLine;
    painter->setPen(tintOf(index));
    painter->setFont(option.font);
    painter->drawText(area, flags, option.fontMetrics.elidedText(index.data().toString(), m_elide, area.width()));
}

QSize TextItem::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    return m_height > 0 ? QSize(size.width(), m_height) : size;
}

void CheckBoxItem::drawBox(QPainter *painter, const QRect &cell, Qt::CheckState state)
{
    QRect box(0, 0, 14, 14);
    box.moveCenter(cell.center());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(state == Qt::Unchecked ? Palette::quiet : Palette::accent, 1));
    painter->setBrush(state == Qt::Unchecked ? QBrush(Qt::NoBrush) : QBrush(Palette::accent));
    painter->drawRoundedRect(QRectF(box).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
    painter->setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF at = box.topLeft();
    if (state == Qt::Checked)
        painter->drawPolyline(QPolygonF({at + QPointF(3.5, 7.2), at + QPointF(6, 9.8), at + QPointF(10.6, 4.4)}));
    else if (state == Qt::PartiallyChecked)
        painter->drawLine(at + QPointF(4, 7), at + QPointF(10, 7));
    painter->restore();
}

void CheckBoxItem::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    background(painter, option);
    drawBox(painter, option.rect, Qt::CheckState(index.data(Qt::CheckStateRole).toInt()));
}

bool CheckBoxItem::editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &,
                               const QModelIndex &index)
{
    const bool click =
        event->type() == QEvent::MouseButtonRelease && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton;
    if (!click)
        return false;
    const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    return model->setData(index, on ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

void ProgressItem::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    background(painter, option);
    const qlonglong whole = index.data(CellRole::Whole).toLongLong();
    const qlonglong part = qBound<qlonglong>(0, index.data(CellRole::Part).toLongLong(), whole);
    const QRect area = option.rect.adjusted(Pad, 0, -Pad, 0);
    const QString text = index.data().toString();
    painter->setFont(option.font);
    painter->setPen(whole > 0 ? Palette::text : Palette::quiet);
    const QRect words(area.left(), area.top() + 4, area.width(), area.height() - 14);
    painter->drawText(words, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                      option.fontMetrics.elidedText(text, Qt::ElideRight, area.width()));
    if (whole <= 0)
        return;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    const QRectF bar(area.left(), area.bottom() - 8, area.width(), 3);
    painter->setBrush(Palette::border);
    painter->drawRoundedRect(bar, 1.5, 1.5);
    painter->setBrush(tintOf(index) == Palette::text ? Palette::accent : tintOf(index));
    painter->drawRoundedRect(QRectF(bar.left(), bar.top(), bar.width() * double(part) / double(whole), bar.height()),
                             1.5, 1.5);
    painter->setRenderHint(QPainter::Antialiasing, false);
}

QList<QRect> LinkItem::places(const QStyleOptionViewItem &option, const QStringList &words) const
{
    QList<QRect> out;
    int x = option.rect.left() + Pad;
    for (const QString &word : words) {
        if (word.isEmpty()) {
            out << QRect();
            continue;
        }
        const int width = qMin(option.fontMetrics.horizontalAdvance(word) + 2, qMax(0, option.rect.right() - Pad - x));
        out << QRect(x, option.rect.top(), width, option.rect.height());
        x += width + Gap;
    }
    return out;
}

static QStringList wordsOf(const QModelIndex &index)
{
    const QVariant buttons = index.data(CellRole::Buttons);
    return buttons.isValid() ? buttons.toStringList() : QStringList{index.data().toString()};
}

void LinkItem::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    background(painter, option);
    const QStringList words = wordsOf(index);
    const QList<QRect> rects = places(option, words);
    const bool buttons = index.data(CellRole::Buttons).isValid();
    for (int i = 0; i < words.size(); ++i) {
        if (rects[i].isEmpty())
            continue;
        const bool hot = under(option, rects[i]);
        QFont font = option.font;
        font.setUnderline(hot);
        painter->setFont(font);
        painter->setPen(buttons ? (hot ? Palette::strong : Palette::link) : tintOf(index));
        painter->drawText(rects[i], Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                          option.fontMetrics.elidedText(words[i], Qt::ElideRight, rects[i].width()));
    }
}

bool LinkItem::editorEvent(QEvent *event, QAbstractItemModel *, const QStyleOptionViewItem &option,
                           const QModelIndex &index)
{
    if (event->type() != QEvent::MouseButtonRelease)
        return false;
    auto *mouse = static_cast<QMouseEvent *>(event);
    if (mouse->button() != Qt::LeftButton)
        return false;
    const QList<QRect> rects = places(option, wordsOf(index));
    for (int i = 0; i < rects.size(); ++i) {
        if (!rects[i].contains(mouse->pos()))
            continue;
        emit clicked(i, index);
        return true;
    }
    return false;
}
