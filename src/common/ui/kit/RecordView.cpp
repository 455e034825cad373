#include "common/ui/kit/RecordView.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Acts.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/RecordModel.h"
#include "common/UserInfo.h"
#include <algorithm>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>

namespace
{
const QString Group = QStringLiteral("Columns");
constexpr int SaveMs = 400;
constexpr qreal LeavingOpacity = 0.5; // of a row that is deleted unless it's taken back
} // namespace

RecordHeader::RecordHeader(RecordModelBase *model, QWidget *parent)
    : QHeaderView(Qt::Horizontal, parent), m_records(model)
{
    setSectionsMovable(true);
    setFirstSectionMovable(false);
    setHighlightSections(false);
    setStretchLastSection(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setFixedHeight(Metrics::Head);
    setMinimumSectionSize(32);
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QHeaderView::sectionClicked, this, &RecordHeader::hit);
}

void RecordHeader::hit(int section)
{
    if (m_records->column(section).kind == ColumnInfo::Tick) {
        m_records->tickAll(m_records->tickState() != Qt::Checked);
        return;
    }
    const bool again = m_records->sortColumn() == section;
    if (again && m_records->sortOrder() == Qt::DescendingOrder)
        m_records->sort(-1, Qt::AscendingOrder);
    else
        m_records->sort(section, again ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void RecordHeader::paintSection(QPainter *painter, const QRect &rect, int section) const
{
    painter->save();
    QHeaderView::paintSection(painter, rect, section);
    painter->restore();
    if (m_records->column(section).kind == ColumnInfo::Tick)
        return CheckBoxItem::drawBox(painter, rect, m_records->tickState());
    if (m_records->sortColumn() != section)
        return;
    const bool up = m_records->sortOrder() == Qt::AscendingOrder;
    const int text = fontMetrics().horizontalAdvance(m_records->column(section).title);
    const bool right = m_records->column(section).atRight;
    const int x =
        right ? qMax(rect.left(), rect.right() - 8 - text - 14) : qMin(rect.left() + 12 + text, rect.right() - 14);
    painter->drawPixmap(x, rect.center().y() - 6,
                        IconTool::pixmap(up ? QStringLiteral("chevron-up") : QStringLiteral("chevron-down"),
                                         Palette::text, 12, painter->device()->devicePixelRatioF()));
}

RecordView::RecordView(const QString &name, RecordModelBase *model, QWidget *parent)
    : QTreeView(parent), m_name(name), m_records(model), m_save(new QTimer(this))
{
    setModel(model);
    for (int i = 0; i < model->columnCount(); ++i) {
        m_widths << model->column(i).width;
        m_shown << !model->column(i).hidden;
    }
    dress();
    restore();
    m_save->setSingleShot(true);
    m_save->setInterval(SaveMs);
    connect(m_save, &QTimer::timeout, this, &RecordView::save);
    connect(header(), &QHeaderView::sectionMoved, m_save, QOverload<>::of(&QTimer::start));
    connect(header(), &QHeaderView::sectionResized, this, [this](int section, int, int now) {
        if (m_fitting)
            return;
        m_widths[section] = now;
        fit();
        m_save->start();
    });
    connect(model, &QAbstractItemModel::headerDataChanged, this, [this] { m_save->start(); });
    connect(this, &QAbstractItemView::activated, this, [this](const QModelIndex &index) {
        const ColumnInfo::Kind kind = m_records->column(index.column()).kind;
        if (kind != ColumnInfo::Tick && kind != ColumnInfo::Acts && kind != ColumnInfo::Link)
            emit opened(keyAt(index));
    });
}

void RecordView::dress()
{
    auto *head = new RecordHeader(m_records, this);
    setHeader(head);
    head->setSectionsClickable(true); // a view that doesn't sort by itself takes that away
    connect(head, &QWidget::customContextMenuRequested, this,
            [this, head](const QPoint &at) { columnMenu(this)->popup(head->mapToGlobal(at)); });
    setUniformRowHeights(true);
    setMouseTracking(true);
    setRootIsDecorated(false);
    setIndentation(0);
    setAllColumnsShowFocus(true);
    setExpandsOnDoubleClick(false);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::CustomContextMenu);
    const auto fitting = [](TextItem *item) {
        item->setRowHeight(Metrics::Row);
        return item;
    };
    setItemDelegate(fitting(new TextItem(this, Qt::ElideMiddle)));
    for (int i = 0; i < m_records->columnCount(); ++i) {
        const ColumnInfo &info = m_records->column(i);
        TextItem *item = nullptr;
        if (info.kind == ColumnInfo::Tick) {
            item = new CheckBoxItem(this);
        } else if (info.kind == ColumnInfo::Progress) {
            item = new ProgressItem(this);
        } else if (info.kind == ColumnInfo::Link || info.kind == ColumnInfo::Acts) {
            auto *words = new LinkItem(this);
            const bool acts = info.kind == ColumnInfo::Acts;
            connect(words, &LinkItem::clicked, this, [this, acts](int place, const QModelIndex &index) {
                if (!acts)
                    emit linkClicked(keyAt(index), m_records->column(index.column()).id);
                else if (m_acts)
                    m_acts->runInRow(keyAt(index), place);
            });
            item = words;
        }
        if (item)
            setItemDelegateForColumn(i, fitting(item));
        if (info.kind == ColumnInfo::Tick)
            head->setSectionResizeMode(i, QHeaderView::Fixed);
    }
}

void RecordView::showRowActs(ActSet *acts)
{
    m_acts = acts;
    m_records->setRowActs([acts](const QString &key) { return acts->rowWords(key); });
}

QString RecordView::keyAt(const QModelIndex &index) const { return m_records->keyOf(index); }

QStringList RecordView::selected() const
{
    QModelIndexList rows = selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(), [this](const QModelIndex &a, const QModelIndex &b) {
        if (a.parent() == b.parent())
            return a.row() < b.row();
        const QModelIndex first = a.parent().isValid() ? a.parent() : a, second = b.parent().isValid() ? b.parent() : b;
        return first == second ? !a.parent().isValid() : first.row() < second.row();
    });
    QStringList keys;
    for (const QModelIndex &row : qAsConst(rows))
        keys << keyAt(row);
    return keys;
}

void RecordView::select(const QStringList &keys)
{
    QItemSelection rows;
    QModelIndex first;
    for (const QString &key : keys) {
        const QModelIndex index = m_records->indexOf(key);
        if (!index.isValid())
            continue;
        rows.select(index, index);
        if (!first.isValid())
            first = index;
    }
    selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (!first.isValid())
        return;
    selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    scrollTo(first);
}

QString RecordView::current() const { return keyAt(currentIndex()); }
void RecordView::setCurrent(const QString &key)
{
    selectionModel()->setCurrentIndex(m_records->indexOf(key), QItemSelectionModel::NoUpdate);
}

QStringList RecordView::targets() const
{
    const QStringList ticked = m_records->ticked(), marked = selected();
    const bool within =
        std::all_of(marked.begin(), marked.end(), [&](const QString &key) { return ticked.contains(key); });
    return within ? ticked : marked;
}

void RecordView::tickSelected()
{
    const QStringList keys = selected(), ticked = m_records->ticked();
    const bool all = std::all_of(keys.begin(), keys.end(), [&](const QString &key) { return ticked.contains(key); });
    m_records->tick(keys, !all);
}

void RecordView::selectionChanged(const QItemSelection &on, const QItemSelection &off)
{
    QTreeView::selectionChanged(on, off);
    emit selectionMoved();
}

void RecordView::drawRow(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    painter->setOpacity(m_acts && m_acts->leaving(m_records->keyOf(index)) ? LeavingOpacity : 1);
    QTreeView::drawRow(painter, option, index);
    painter->setOpacity(1);
    const QRect row(0, option.rect.top(), viewport()->width(), option.rect.height());
    if (selectionModel()->isSelected(index))
        painter->fillRect(QRect(0, row.top(), 2, row.height() - 1), Palette::accent);
    if (!hasFocus() || index.siblingAtColumn(0) != currentIndex().siblingAtColumn(0))
        return;
    painter->setPen(Palette::accent);
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(row.adjusted(0, 0, -1, -2));
}

void RecordView::focusInEvent(QFocusEvent *event)
{
    // Who comes by the keyboard sees where he stands; selected is what an arrow or Space selects.
    if (!currentIndex().isValid() && m_records->rowCount() > 0)
        selectionModel()->setCurrentIndex(m_records->index(0, 0), QItemSelectionModel::NoUpdate);
    QTreeView::focusInEvent(event);
}

void RecordView::keyPressEvent(QKeyEvent *event)
{
    const bool arrow = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    const bool plain = event->modifiers() == Qt::NoModifier;
    if (arrow && plain && currentIndex().isValid() && !selectionModel()->hasSelection()) {
        selectionModel()->setCurrentIndex(currentIndex(),
                                          QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && plain && currentIndex().isValid()) {
        emit opened(current());
        return;
    }
    QTreeView::keyPressEvent(event);
}

void RecordView::eachSeen(const std::function<void(const QModelIndex &, int)> &row) const
{
    for (QModelIndex at = indexAt(QPoint(1, 1)); at.isValid(); at = indexBelow(at)) {
        const int top = visualRect(at).top();
        if (top >= viewport()->height())
            return;
        row(at, top);
    }
}

void RecordView::keepPlace()
{
    m_keepsPlace = true;
    connect(m_records, &QAbstractItemModel::rowsAboutToBeInserted, this, &RecordView::rememberPlace);
}

void RecordView::rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end)
{
    if (m_keepsPlace) // before the view forgets its layout
        rememberPlace();
    QTreeView::rowsAboutToBeRemoved(parent, start, end);
}

// Once for all changes before the next layout. At the head of the list its head is looked at.
void RecordView::rememberPlace()
{
    if (m_places.isEmpty() && verticalScrollBar()->value() > 0 && isVisible())
        eachSeen([this](const QModelIndex &index, int top) { m_places.append({index, top}); });
}

void RecordView::doItemsLayout()
{
    const auto places = std::exchange(m_places, {});
    QTreeView::doItemsLayout();
    for (const auto &place : places) {
        const QRect now = visualRect(place.first);
        if (!now.isValid())
            continue; // it has gone, the next one stays
        verticalScrollBar()->setValue(verticalScrollBar()->value() + now.top() - place.second);
        break;
    }
    if (isVisible())
        eachSeen([this](const QModelIndex &index, int) { m_records->seen(index); });
}

void RecordView::scrollContentsBy(int dx, int dy)
{
    QTreeView::scrollContentsBy(dx, dy);
    m_places.clear();
    if (dy != 0)
        eachSeen([this](const QModelIndex &index, int) { m_records->seen(index); });
}

void RecordView::resizeEvent(QResizeEvent *event)
{
    QTreeView::resizeEvent(event);
    fit();
}

// First the columns that give way shrink to their least width, the most willing first; then they go, in the same order.
void RecordView::fit()
{
    const int room = viewport()->width();
    QVector<int> widths = m_widths, order;
    QVector<bool> shown = m_shown;
    int sum = 0, wide = -1;
    for (int i = 0; i < widths.size(); ++i) {
        const ColumnInfo &info = m_records->column(i);
        order << i;
        widths[i] = qMax(info.wide ? info.least : widths[i], info.least);
        if (info.wide)
            wide = i;
        sum += shown.at(i) ? widths.at(i) : 0;
    }
    std::stable_sort(order.begin(), order.end(),
                     [this](int a, int b) { return m_records->column(a).gives > m_records->column(b).gives; });
    for (int i : qAsConst(order)) {
        if (sum <= room || !shown.at(i))
            continue;
        const int now = qMax(m_records->column(i).least, widths.at(i) - (sum - room));
        sum -= widths.at(i) - now;
        widths[i] = now;
    }
    for (int i : qAsConst(order)) {
        if (sum <= room || m_records->column(i).gives == 0)
            break;
        sum -= shown.at(i) ? widths.at(i) : 0;
        shown[i] = false;
    }
    if (wide >= 0 && sum < room)
        widths[wide] += room - sum;
    m_fitting = true;
    for (int i = 0; i < widths.size(); ++i) {
        header()->setSectionHidden(i, !shown.at(i));
        if (shown.at(i))
            header()->resizeSection(i, widths.at(i));
    }
    m_fitting = false;
}

bool RecordView::columnVisible(const QString &id) const
{
    const int at = m_records->columnOf(id);
    return at >= 0 && !header()->isSectionHidden(at);
}

void RecordView::setColumnShown(const QString &id, bool shown)
{
    const int at = m_records->columnOf(id);
    if (at < 0)
        return;
    m_shown[at] = shown;
    fit();
    m_save->start();
}

QMenu *RecordView::columnMenu(QWidget *parent)
{
    auto *menu = new QMenu(parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QMenu *sorting = menu->addMenu(tr("排序"));
    for (int i = 0; i < m_records->columnCount(); ++i) {
        const ColumnInfo &info = m_records->column(i);
        if (info.title.isEmpty())
            continue;
        if (info.gives > 0) { // the others are what the list is about
            QAction *one = menu->addAction(info.title);
            one->setObjectName(info.id);
            one->setCheckable(true);
            one->setChecked(m_shown.at(i));
            connect(one, &QAction::toggled, this, [this, id = info.id](bool on) { setColumnShown(id, on); });
        }
        if (!info.sortable)
            continue;
        for (Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            const bool up = order == Qt::AscendingOrder;
            QAction *one = sorting->addAction(up ? tr("%1，升序").arg(info.title) : tr("%1，降序").arg(info.title));
            one->setCheckable(true);
            one->setChecked(m_records->sortColumn() == i && m_records->sortOrder() == order);
            connect(one, &QAction::triggered, this, [this, i, order] { m_records->sort(i, order); });
        }
    }
    sorting->addSeparator();
    connect(sorting->addAction(tr("不排序")), &QAction::triggered, this,
            [this] { m_records->sort(-1, Qt::AscendingOrder); });
    return menu;
}

// "sort:id:0", then one "id:width:shown" a column, in the order they stand.
void RecordView::save()
{
    if (m_name.isEmpty() || UserInfo::userDir().isEmpty())
        return;
    const int sorted = m_records->sortColumn();
    QStringList parts{QStringLiteral("sort:%1:%2")
                          .arg(sorted < 0 ? QString() : m_records->column(sorted).id)
                          .arg(int(m_records->sortOrder()))};
    for (int i = 0; i < m_widths.size(); ++i) {
        const int at = header()->logicalIndex(i);
        parts << QStringLiteral("%1:%2:%3").arg(m_records->column(at).id).arg(m_widths.at(at)).arg(int(m_shown.at(at)));
    }
    const QString text = parts.join(QLatin1Char(';'));
    if (text != UserInfo::userValue(Group, m_name).toString())
        UserInfo::setUserValue(Group, m_name, text);
}

void RecordView::restore()
{
    if (m_name.isEmpty() || UserInfo::userDir().isEmpty())
        return;
    int place = 0;
    const QStringList parts = UserInfo::userValue(Group, m_name).toString().split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const QStringList words = part.split(QLatin1Char(':'));
        const int at = words.size() == 3 ? m_records->columnOf(words.at(words.first() == QLatin1String("sort"))) : -1;
        if (at < 0)
            continue;
        if (words.first() == QLatin1String("sort")) {
            m_records->sort(at, words.at(2).toInt() == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
            continue;
        }
        m_widths[at] = qBound(m_records->column(at).least, words.at(1).toInt(), 4000);
        m_shown[at] = words.at(2) == QLatin1String("1") || m_records->column(at).gives == 0;
        header()->moveSection(header()->visualIndex(at), place++);
    }
}
