#include "common/ui/kit/RowDrag.h"
#include "common/ui/kit/RecordModel.h"
#include "common/ui/kit/RecordView.h"
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>

namespace
{
constexpr int LineHeight = 2, EdgePixels = 18;
}

RowDrag::RowDrag(RecordView *view) : QObject(view), m_view(view), m_line(new QWidget(view->viewport()))
{
    m_line->setObjectName(QStringLiteral("dropLine"));
    m_line->setAttribute(Qt::WA_StyledBackground);
    m_line->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_line->hide();
    view->viewport()->installEventFilter(this);
    view->installEventFilter(this);
}

int RowDrag::gapAt(int y) const
{
    const QModelIndex at = m_view->indexAt(QPoint(4, qMax(0, y)));
    if (!at.isValid())
        return m_view->model()->rowCount();
    return at.row() + (y > m_view->visualRect(at).center().y() ? 1 : 0);
}

void RowDrag::showGap(int row)
{
    const RecordModelBase *model = m_view->records();
    const bool last = row >= model->rowCount();
    const QRect rect = m_view->visualRect(model->index(last ? model->rowCount() - 1 : row, 0));
    m_line->setGeometry(0, (last ? rect.bottom() : rect.top()) - 1, m_view->viewport()->width(), LineHeight);
    m_line->show();
    m_line->raise();
}

void RowDrag::end()
{
    m_line->hide();
    m_view->viewport()->unsetCursor();
    m_keys.clear();
    m_moving = false;
}

bool RowDrag::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_view) {
        if (m_moving && event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
            end();
            return true;
        }
        return false;
    }
    if (event->type() == QEvent::Hide || event->type() == QEvent::Leave)
        return false;
    if (event->type() != QEvent::MouseButtonPress && event->type() != QEvent::MouseMove &&
        event->type() != QEvent::MouseButtonRelease)
        return false;
    auto *mouse = static_cast<QMouseEvent *>(event);
    if (event->type() == QEvent::MouseButtonPress) {
        end();
        const QModelIndex at = m_view->indexAt(mouse->pos());
        if (mouse->button() != Qt::LeftButton || !at.isValid() || mouse->modifiers() != Qt::NoModifier)
            return false;
        const QString key = m_view->records()->keyOf(at);
        const QStringList marked = m_view->selected();
        m_keys = marked.contains(key) ? marked : QStringList{key};
        m_from = mouse->pos();
        // A press would leave only this row selected; a click without a move still does, when the button goes up.
        return marked.size() > 1 && marked.contains(key);
    }
    if (m_keys.isEmpty())
        return false;
    if (event->type() == QEvent::MouseMove) {
        m_moving = m_moving || (mouse->pos() - m_from).manhattanLength() >= QApplication::startDragDistance();
        if (m_moving) {
            m_view->viewport()->setCursor(Qt::ClosedHandCursor);
            QScrollBar *bar = m_view->verticalScrollBar();
            const int y = mouse->pos().y(), height = m_view->viewport()->height();
            if (y < EdgePixels || y > height - EdgePixels)
                bar->setValue(bar->value() + (y < EdgePixels ? -EdgePixels : EdgePixels));
            showGap(gapAt(y));
        }
        return true; // no selection by drawing over rows
    }
    const QStringList keys = m_keys;
    const bool moved = m_moving;
    const int row = gapAt(mouse->pos().y());
    end();
    if (!moved) {
        if (keys.size() > 1)
            m_view->select({m_view->records()->keyOf(m_view->indexAt(mouse->pos()))});
        return false;
    }
    emit dropped(keys, m_view->records()->keys().value(row));
    m_view->select(keys);
    return true;
}
