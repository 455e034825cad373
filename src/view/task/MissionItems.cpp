#include "view/task/MissionItems.h"
#include "common/facts/TaskState.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/Palette.h"
#include "view/task/TaskModel.h"
#include <QAbstractItemView>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

namespace
{
constexpr int Pad = 8, BarHeight = 14, LeftWidth = 60, RightWidth = 92, IconSize = 16, RerenderGrant = 4;
const QColor Ground(0xd9, 0xd9, 0xd9), Other(0x99, 0x99, 0x99), OverBar(0xff, 0xff, 0xff), OverGround(0, 0, 0);

QPoint mouseIn(const QStyleOptionViewItem &option)
{
    const auto *view = qobject_cast<const QAbstractItemView *>(option.widget);
    return view && (option.state & QStyle::State_MouseOver) ? view->viewport()->mapFromGlobal(QCursor::pos())
                                                            : QPoint(-1, -1);
}
} // namespace

BaseItemDelegate::BaseItemDelegate(QObject *parent) : TextItem(parent) { setRowHeight(Metrics::Row); }

void BaseItemDelegate::remPos() { emit rePos(); }

void BaseItemDelegate::paintButtons(QPainter *painter, const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    const QPoint mouse = mouseIn(option);
    const qreal ratio = painter->device()->devicePixelRatioF();
    const QList<Button> all = buttons(index);
    for (int i = 0; i < all.size(); ++i) {
        const QRect at = place(option.rect, i);
        if (at.isEmpty())
            continue;
        const QColor tint = !all.at(i).enabled ? Palette::faint : at.contains(mouse) ? Palette::strong : Palette::quiet;
        QRect icon(0, 0, IconSize, IconSize);
        icon.moveCenter(at.center());
        painter->drawPixmap(icon.topLeft(), IconTool::pixmap(all.at(i).icon, tint, IconSize, ratio));
    }
}

bool BaseItemDelegate::editorEvent(QEvent *event, QAbstractItemModel *, const QStyleOptionViewItem &option,
                                   const QModelIndex &index)
{
    if (event->type() != QEvent::MouseButtonRelease)
        return false;
    const auto *mouse = static_cast<QMouseEvent *>(event);
    const QList<Button> all = buttons(index);
    for (int i = 0; i < all.size() && mouse->button() == Qt::LeftButton; ++i)
        if (all.at(i).enabled && place(option.rect, i).contains(mouse->pos())) {
            emit baseItemHand(i, index);
            return true;
        }
    return false;
}

bool BaseItemDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                                 const QModelIndex &index)
{
    const QList<Button> all = buttons(index);
    for (int i = 0; i < all.size(); ++i)
        if (event->type() == QEvent::ToolTip && place(option.rect, i).contains(event->pos())) {
            QToolTip::showText(event->globalPos(), all.at(i).tip, view);
            return true;
        }
    return TextItem::helpEvent(event, view, option, index);
}

MissionHand::MissionHand(std::function<bool(int)> denied, QObject *parent)
    : BaseItemDelegate(parent), m_denied(std::move(denied))
{
}

QRect MissionHand::place(const QRect &cell, int button) const
{
    return {cell.left() + Pad + button * ButtonWidth, cell.top(), ButtonWidth, cell.height()};
}

QList<BaseItemDelegate::Button> MissionHand::buttons(const QModelIndex &index) const
{
    const bool queued = index.data(TaskModel::HandStage).toInt() == TaskState::Render &&
                        index.data(TaskModel::HandStatus).toInt() != TaskState::Ended;
    const bool failed = index.data(TaskModel::HandFailed).toInt() != 0 && !(m_denied && m_denied(RerenderGrant));
    return {{QStringLiteral("mh_detail"), QStringLiteral("detail"), tr("详情"), true},
            {QStringLiteral("mh_reren"), QStringLiteral("reren"), tr("重渲失败帧"), failed},
            {QStringLiteral("mh_pri"), QStringLiteral("pri"), tr("优先级调整"), queued},
            {QStringLiteral("mh_more"), QStringLiteral("more"), tr("更多"), true}};
}

void MissionHand::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    background(painter, option);
    paintButtons(painter, option, index);
}

NodeItem::NodeItem(bool limit, QObject *parent) : BaseItemDelegate(parent), m_limit(limit) {}

QRect NodeItem::place(const QRect &cell, int button) const
{
    const int count = m_limit ? 2 : 1;
    return {cell.right() + 1 - (count - button) * ButtonWidth, cell.top(), ButtonWidth, cell.height()};
}

QList<BaseItemDelegate::Button> NodeItem::buttons(const QModelIndex &) const
{
    QList<Button> all{{QStringLiteral("ni_remark"), QStringLiteral("edit"), tr("修改备注"), true}};
    if (m_limit)
        all << Button{QStringLiteral("ni_node"), QStringLiteral("nodes"), tr("最大节点数"), true};
    return all;
}

void NodeItem::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    background(painter, option);
    const QRect words = option.rect.adjusted(Pad, 0, -(m_limit ? 2 : 1) * ButtonWidth, 0);
    painter->setPen(Palette::text);
    painter->setFont(option.font);
    painter->drawText(words, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                      option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, words.width()));
    paintButtons(painter, option, index);
}

MissionName::MissionName(QObject *parent) : TextItem(parent, Qt::ElideMiddle) { setRowHeight(Metrics::Row); }

void MissionName::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem own(option);
    const QVariant font = index.data(Qt::FontRole);
    own.font.setItalic(font.isValid() && font.value<QFont>().italic());
    TextItem::paint(painter, own, index);
}

MissionProgress::MissionProgress(int statusColumn, QObject *parent) : TextItem(parent), m_status(statusColumn)
{
    setRowHeight(Metrics::Row);
}

void MissionProgress::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    background(painter, option);
    const QModelIndex at = index.siblingAtColumn(m_status);
    const auto count = [&at](int role) { return at.data(role).toLongLong(); };
    const qlonglong good = count(TaskModel::Done), failed = count(TaskModel::Failed), total = count(TaskModel::Total);
    const qlonglong cancelled = count(TaskModel::Cancelled);
    painter->setFont(option.font);
    const QRect area = option.rect.adjusted(Pad, 0, -Pad, 0);
    // What the head names, in its order: rendering and done at the left, queued, failed and all at the right.
    const QStringList counts = index.data().toString().split(QStringLiteral(" | "));
    const QColor tints[] = {Palette::link, Palette::doneText, Palette::quiet, Palette::failedText, Palette::text};
    const auto counters = [&](int x, int from, int to) {
        for (int i = from; i < qMin(to, counts.size()); ++i) {
            const QString word = i + 1 < to ? counts.at(i) + QStringLiteral(" | ") : counts.at(i);
            const int width = option.fontMetrics.horizontalAdvance(word);
            painter->setPen(tints[i]);
            painter->drawText(QRect(x, area.top(), width, area.height()), Qt::AlignLeft | Qt::AlignVCenter, word);
            x += width;
        }
    };
    const auto widthOf = [&](int from, int to) {
        return option.fontMetrics.horizontalAdvance(counts.mid(from, to - from).join(QStringLiteral(" | ")));
    };
    const bool roomy = area.width() >= LeftWidth + RightWidth + 4 * Pad; // else the bar alone
    if (roomy) {
        counters(area.left() + qMax(0, LeftWidth - widthOf(0, 2)), 0, 2);
        counters(area.right() + 1 - RightWidth, 2, 5);
    }
    const QRect bar(area.left() + (roomy ? LeftWidth + Pad : 0), area.center().y() - BarHeight / 2,
                    area.width() - (roomy ? LeftWidth + RightWidth + 2 * Pad : 0), BarHeight);
    painter->fillRect(bar, Ground);
    if (total <= 0 || bar.width() <= 0)
        return;
    qlonglong before = 0;
    const auto xOf = [&](qlonglong frames) { return int(qMin(frames, total) * bar.width() / total); };
    const auto part = [&](qlonglong frames, const QColor &colour) {
        const int from = xOf(before), to = xOf(before + frames);
        painter->fillRect(QRect(bar.left() + from, bar.top(), to - from, bar.height()), colour);
        before += frames;
    };
    part(good, Palette::done);
    part(failed, Palette::failed);
    part(cancelled, Other);
    // Whichever stands out from what lies under the middle.
    painter->setPen(xOf(before) >= bar.width() / 2 ? OverBar : OverGround);
    painter->drawText(bar, Qt::AlignCenter, QStringLiteral("%1%").arg(qMin<qlonglong>(100, before * 100 / total)));
}
