#include "view/driver/FolderViews.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/Palette.h"
#include "view/driver/DriveRules.h"
#include "view/driver/FolderModel.h"
#include "view/driver/ThumbStore.h"
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>

TypedName::TypedName(const FolderModel *model, QObject *parent) : QObject(parent), m_model(model)
{
    m_steps.setInterval(0);
    connect(&m_steps, &QTimer::timeout, this, &TypedName::look);
    connect(model, &QAbstractItemModel::modelReset, &m_steps, &QTimer::stop);
}

void TypedName::type(const QString &key, int current, qint64 now)
{
    const bool on = !m_typed.isEmpty() && now - m_last < PauseMs;
    m_last = now;
    m_typed = on ? m_typed + key : key;
    // The same letter again goes on to the next name that begins with it.
    m_again = m_typed.size() > 1 && m_typed.count(m_typed.at(0), Qt::CaseInsensitive) == m_typed.size();
    m_sought = m_typed;
    m_at = qMax(0, m_typed.size() == 1 || m_again ? current + 1 : current);
    m_left = m_model->rowCount();
    look();
}

void TypedName::look()
{
    const int step = qMin(Step, m_left), rows = m_model->rowCount();
    const int row = rows > 0 ? m_model->next(m_sought, m_at % rows, step) : -1;
    m_left -= step;
    m_at += step;
    if (row < 0 && m_left > 0)
        return m_steps.start();
    m_steps.stop();
    if (row >= 0)
        return emit found(row);
    if (std::exchange(m_again, false)) {
        m_sought = m_typed.left(1);
        m_left = rows;
        look();
    }
}

namespace
{
void mark(QLineEdit *edit, const QString &before)
{
    const DriveRules::Name what = DriveRules::judgeName(edit->text(), before);
    edit->setProperty("bad", what == DriveRules::Name::Long || what == DriveRules::Name::Characters);
    edit->setToolTip(DriveRules::refusal(what));
    edit->style()->unpolish(edit);
    edit->style()->polish(edit);
}
} // namespace

void NameItem::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    TextItem::paint(painter, option, index);
    const QVariant row = option.widget ? option.widget->property(DropRow) : QVariant();
    if (!row.isValid() || row.toInt() != index.row())
        return;
    painter->setPen(Palette::accent);
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(option.rect.adjusted(1, 1, -2, -2));
}

QWidget *NameItem::createEditor(QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &index) const
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(QStringLiteral("itemEdit_%1").arg(index.data(FolderModel::IdRole).toString()));
    edit->setAccessibleName(tr("新名称"));
    connect(edit, &QLineEdit::textChanged, edit,
            [edit, before = index.data(Qt::EditRole).toString()] { mark(edit, before); });
    return edit;
}

void NameItem::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    auto *edit = static_cast<QLineEdit *>(editor);
    if (edit->isModified()) // the row changed below: what was typed stays
        return;
    const QString name = m_suggested.isNull() ? index.data(Qt::EditRole).toString() : m_suggested;
    m_suggested = QString();
    edit->setText(name);
    const int dot = index.sibling(index.row(), 0).data(CellRole::Icon).toString() == QLatin1String("folder")
                        ? -1
                        : name.lastIndexOf(QLatin1Char('.'));
    edit->setSelection(0, dot > 0 ? dot : name.size());
    edit->setModified(true);
}

void NameItem::setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const
{
    model->setData(index, static_cast<QLineEdit *>(editor)->text(), Qt::EditRole);
}

void NameItem::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option, const QModelIndex &) const
{
    const bool cell = option.decorationPosition == QStyleOptionViewItem::Top; // of the field of pictures
    editor->setGeometry(cell ? QRect(option.rect.left() + 2, option.rect.bottom() - 31, option.rect.width() - 4, 28)
                             : option.rect.adjusted(26, 3, -2, -4));
}

bool NameItem::eventFilter(QObject *editor, QEvent *event)
{
    const bool escape = event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape;
    const QString id = editor->objectName().mid(int(qstrlen("itemEdit_")));
    const bool done = TextItem::eventFilter(editor, event);
    if (escape)
        emit left(id);
    return done;
}

FolderTable::FolderTable(FolderModel *model, QWidget *parent)
    : QTableView(parent), m_model(model), m_names(new NameItem(this)), m_typed(new TypedName(model, this))
{
    m_clock.start();
    connect(m_typed, &TypedName::found, this, [this](int row) { setCurrentIndex(m_model->index(row, 0)); });
    setObjectName(QStringLiteral("folderTable"));
    setModel(model);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(Metrics::Row);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setFixedHeight(Metrics::Head);
    horizontalHeader()->setSectionsClickable(true);
    horizontalHeader()->setMinimumSectionSize(64);
    // Columns aren't chosen; with the list's own selection the head would look through all rows to find that out.
    horizontalHeader()->setSelectionModel(new QItemSelectionModel(model, this));
    connect(horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int section) {
        const bool again = m_model->by().column == section;
        m_model->sort(section, again && !m_model->by().down ? Qt::DescendingOrder : Qt::AscendingOrder);
    });
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setMouseTracking(true);
    setDragEnabled(true);
    setCornerButtonEnabled(false);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setItemDelegate(new TextItem(this));
    setItemDelegateForColumn(FolderModel::Name, m_names);
    connect(model, &FolderModel::aboutToMerge, this, [this] {
        m_top = verticalScrollBar()->value() > 0 ? m_model->index(rowAt(0), 0) : QModelIndex();
        m_above = m_top.isValid() ? rowViewportPosition(m_top.row()) : 0;
    });
    connect(model, &FolderModel::merged, this, [this] {
        if (m_top.isValid()) {
            updateGeometries();
            verticalScrollBar()->setValue(verticalHeader()->sectionPosition(m_top.row()) - m_above);
        }
        m_top = QModelIndex();
    });
}

void FolderTable::keyboardSearch(const QString &key) { m_typed->type(key, currentIndex().row(), m_clock.elapsed()); }

void FolderTable::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    const int whole = viewport()->width();
    const int time = whole > 560 ? 160 : 0, kind = whole > 440 ? 140 : 0, size = 100;
    setColumnHidden(FolderModel::Time, time == 0);
    setColumnHidden(FolderModel::Kind, kind == 0);
    horizontalHeader()->resizeSection(FolderModel::Time, qMax(64, time));
    horizontalHeader()->resizeSection(FolderModel::Kind, qMax(64, kind));
    horizontalHeader()->resizeSection(FolderModel::Size, size);
    horizontalHeader()->resizeSection(FolderModel::Name, qMax(120, whole - time - kind - size));
}

FolderGrid::FolderGrid(FolderModel *model, ThumbStore *thumbs, QWidget *parent)
    : QAbstractItemView(parent), m_model(model), m_thumbs(thumbs), m_names(new NameItem(this)),
      m_typed(new TypedName(model, this))
{
    m_clock.start();
    connect(m_typed, &TypedName::found, this, [this](int row) { setCurrentIndex(m_model->index(row, 0)); });
    setObjectName(QStringLiteral("folderGrid"));
    setModel(model);
    setItemDelegate(m_names);
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setMouseTracking(true);
    setDragEnabled(true);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(thumbs, &ThumbStore::ready, this, [this] { viewport()->update(); });
    connect(model, &QAbstractItemModel::layoutChanged, viewport(), QOverload<>::of(&QWidget::update));
    connect(model, &QAbstractItemModel::rowsRemoved, this, [this] { updateGeometries(); });
    connect(model, &FolderModel::aboutToMerge, this, [this] {
        m_top = verticalOffset() > 0 ? m_model->index(seenRows().first, 0) : QModelIndex();
        m_above = verticalOffset() % Height;
    });
    connect(model, &FolderModel::merged, this, [this] {
        updateGeometries();
        if (m_top.isValid())
            verticalScrollBar()->setValue(m_top.row() / across() * Height + m_above);
        m_top = QModelIndex();
    });
}

int FolderGrid::across() const { return qMax(1, viewport()->width() / Width); }
int FolderGrid::verticalOffset() const { return verticalScrollBar()->value(); }

QRect FolderGrid::cell(int row) const
{
    const int in = across(), wide = viewport()->width() / in;
    return {(row % in) * wide, (row / in) * Height - verticalOffset(), wide, Height};
}

QRect FolderGrid::visualRect(const QModelIndex &index) const { return index.isValid() ? cell(index.row()) : QRect(); }

QPair<int, int> FolderGrid::seenRows() const
{
    const int first = verticalOffset() / Height * across();
    const int last = (verticalOffset() + viewport()->height()) / Height * across() + across() - 1;
    return {first, qMin(last, m_model->rowCount() - 1)};
}

QModelIndex FolderGrid::indexAt(const QPoint &point) const
{
    const int in = across(), wide = viewport()->width() / in;
    const int column = point.x() / qMax(1, wide), line = (point.y() + verticalOffset()) / Height;
    const int row = line * in + column;
    const bool there = point.x() >= 0 && point.y() + verticalOffset() >= 0 && column < in && row < m_model->rowCount();
    return there ? m_model->index(row, 0) : QModelIndex();
}

void FolderGrid::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    const QRect place = visualRect(index);
    if (!index.isValid() || (hint == EnsureVisible && viewport()->rect().contains(place)))
        return;
    const int high = viewport()->height();
    int by = place.top();
    if (hint == PositionAtCenter)
        by -= (high - Height) / 2;
    else if (hint == PositionAtBottom || (hint == EnsureVisible && place.bottom() > high))
        by = place.bottom() - high + 1;
    verticalScrollBar()->setValue(verticalScrollBar()->value() + by);
}

QModelIndex FolderGrid::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    const int rows = m_model->rowCount(), now = currentIndex().row();
    if (rows == 0)
        return {};
    const int page = qMax(1, viewport()->height() / Height) * across();
    int row = qMax(0, now);
    switch (action) {
    case MoveUp:
        row = now - across() >= 0 ? now - across() : now;
        break;
    case MoveDown:
        row = now + across() < rows ? now + across() : now;
        break;
    case MoveLeft:
    case MovePrevious:
        row = now - 1;
        break;
    case MoveRight:
    case MoveNext:
        row = now + 1;
        break;
    case MoveHome:
        row = 0;
        break;
    case MoveEnd:
        row = rows - 1;
        break;
    case MovePageUp:
        row = now - page;
        break;
    case MovePageDown:
        row = now + page;
        break;
    }
    return m_model->index(qBound(0, row, rows - 1), 0);
}

void FolderGrid::setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags flags)
{
    const QRect area = rect.normalized().translated(0, verticalOffset());
    QItemSelection chosen;
    const int in = across(), wide = qMax(1, viewport()->width() / in);
    const int left = qBound(0, area.left() / wide, in - 1), right = qBound(0, area.right() / wide, in - 1);
    for (int line = qMax(0, area.top() / Height); line <= area.bottom() / Height; ++line) {
        const int first = line * in + left, last = qMin(line * in + right, m_model->rowCount() - 1);
        if (first >= m_model->rowCount())
            break;
        chosen.select(m_model->index(first, 0), m_model->index(last, 0));
    }
    selectionModel()->select(chosen, flags);
}

QRegion FolderGrid::visualRegionForSelection(const QItemSelection &) const { return viewport()->rect(); }

void FolderGrid::updateGeometries()
{
    QAbstractItemView::updateGeometries();
    const int lines = (m_model->rowCount() + across() - 1) / across();
    verticalScrollBar()->setSingleStep(Height / 3);
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, qMax(0, lines * Height - viewport()->height()));
}

void FolderGrid::resizeEvent(QResizeEvent *event)
{
    QAbstractItemView::resizeEvent(event);
    updateGeometries();
}

void FolderGrid::rowsInserted(const QModelIndex &parent, int start, int end)
{
    QAbstractItemView::rowsInserted(parent, start, end);
    updateGeometries();
    viewport()->update();
}

void FolderGrid::rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end)
{
    QAbstractItemView::rowsAboutToBeRemoved(parent, start, end);
    viewport()->update();
}

QStyleOptionViewItem FolderGrid::viewOptions() const
{
    QStyleOptionViewItem option = QAbstractItemView::viewOptions();
    option.decorationPosition = QStyleOptionViewItem::Top;
    return option;
}

void FolderGrid::keyboardSearch(const QString &key) { m_typed->type(key, currentIndex().row(), m_clock.elapsed()); }

void FolderGrid::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    const auto [first, last] = seenRows();
    QVector<FileView> seen;
    for (int row = qMax(0, first); row <= last; ++row) {
        const QRect place = cell(row);
        const FileView &entry = m_model->at(row);
        if (m_model->rowCount() > row)
            seen << entry;
        if (!event->rect().intersects(place))
            continue;
        const QModelIndex index = m_model->index(row, 0);
        const QRect box = place.adjusted(3, 3, -3, -3);
        if (selectionModel()->isSelected(index))
            painter.fillRect(box, Palette::selected);
        const QRect stage(box.left() + (box.width() - Side) / 2, box.top() + 2, Side, Side - 8);
        if (const QPixmap *small = m_thumbs->find(entry)) {
            QSize size = small->size();
            size.scale(stage.size(), Qt::KeepAspectRatio);
            QRect at(QPoint(), size);
            at.moveCenter(stage.center());
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawPixmap(at, *small);
        } else {
            const qreal ratio = painter.device()->devicePixelRatioF();
            painter.drawPixmap(stage.center().x() - 24, stage.center().y() - 24,
                               IconTool::pixmap(DriveText::icon(entry), Palette::quiet, 48, ratio));
        }
        const QRect words(box.left() + 4, box.bottom() - 30, box.width() - 8, 28);
        painter.setPen(entry.pending.isEmpty() ? Palette::text : Palette::of(Tint::Running));
        painter.drawText(words, Qt::AlignCenter | Qt::TextSingleLine,
                         fontMetrics().elidedText(DriveText::name(entry), Qt::ElideMiddle, words.width()));
        const QVariant drop = property(DropRow);
        if ((index == currentIndex() && hasFocus()) || (drop.isValid() && drop.toInt() == row)) {
            painter.setPen(Palette::accent);
            painter.setBrush(Qt::NoBrush);
            painter.drawRect(box.adjusted(0, 0, -1, -1));
        }
    }
    m_thumbs->setSeen(seen);
}
