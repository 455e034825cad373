#include "view/frames/FrameCanvas.h"
#include "common/ui/Palette.h"
#include <algorithm>
#include <cmath>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace
{
constexpr double LeastZoom = 1.0 / 64, MostZoom = 64, SmoothBelow = 2;
constexpr int Grip = 6; // around the wipe's line
} // namespace

FrameCanvas::FrameCanvas(QWidget *parent) : QWidget(parent)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 120);
    setAccessibleName(tr("图片"));
}

void FrameCanvas::setImage(const QImage &image, const QSize &frameSize)
{
    const bool same = frameSize == m_size;
    m_image = image;
    m_size = frameSize;
    if (!same || m_fitted)
        fit();
    update();
}

void FrameCanvas::setOther(const QImage &image)
{
    m_other = image;
    update();
}

void FrameCanvas::setCompare(Compare compare)
{
    m_compare = compare;
    if (m_fitted)
        fit();
    update();
}

void FrameCanvas::setNote(const QString &words)
{
    m_note = words;
    update();
}

QSizeF FrameCanvas::room() const
{
    return m_compare == SideBySide ? QSizeF(width() / 2.0 - 1, height()) : QSizeF(size());
}

// A picture that is smaller than the room isn't enlarged.
double FrameCanvas::fitZoom() const
{
    if (m_size.isEmpty())
        return 1;
    return std::min({1.0, room().width() / m_size.width(), room().height() / m_size.height()});
}

void FrameCanvas::fit()
{
    m_fitted = true;
    m_shift = {};
    m_zoom = fitZoom();
    emit zoomChanged(m_zoom);
    update();
}

void FrameCanvas::setZoom(double zoom)
{
    const double next = std::max(LeastZoom, std::min(MostZoom, zoom));
    m_shift *= next / m_zoom;
    m_zoom = next;
    m_fitted = false;
    keepInSight();
    emit zoomChanged(m_zoom);
    update();
}

void FrameCanvas::keepInSight()
{
    const QSizeF shown = QSizeF(m_size) * m_zoom;
    const double x = std::max(0.0, (shown.width() - room().width()) / 2),
                 y = std::max(0.0, (shown.height() - room().height()) / 2);
    m_shift = {std::max(-x, std::min(x, m_shift.x())), std::max(-y, std::min(y, m_shift.y()))};
}

QRectF FrameCanvas::place() const
{
    const QSizeF shown = QSizeF(m_size) * m_zoom;
    return {QPointF((room().width() - shown.width()) / 2, (room().height() - shown.height()) / 2) + m_shift, shown};
}

QPoint FrameCanvas::pixelAt(const QPoint &at) const
{
    if (m_size.isEmpty() || !place().contains(at) || at.x() >= room().width())
        return {-1, -1};
    const QPointF inside = (QPointF(at) - place().topLeft()) / m_zoom;
    return {std::min(int(inside.x()), m_size.width() - 1), std::min(int(inside.y()), m_size.height() - 1)};
}

void FrameCanvas::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Palette::stage);
    if (m_image.isNull()) {
        painter.setPen(Palette::quiet);
        painter.drawText(rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap, m_note);
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform, m_zoom < SmoothBelow);
    const QRectF at = place();
    const QRectF half(0, 0, room().width(), height());
    painter.setClipRect(half);
    painter.drawImage(at, m_image);
    if (m_compare == SideBySide && !m_other.isNull()) {
        painter.setClipRect(half.translated(width() / 2.0 + 1, 0));
        painter.drawImage(at.translated(width() / 2.0 + 1, 0), m_other);
    } else if (m_compare == Wipe && !m_other.isNull()) {
        const double x = width() * m_wipe;
        painter.setClipRect(QRectF(x, 0, width() - x, height()));
        painter.drawImage(at, m_other);
        painter.setClipping(false);
        painter.setPen(QPen(Palette::accent, 2));
        painter.drawLine(QPointF(x, 0), QPointF(x, height()));
    }
    painter.setClipping(false);
    if (hasFocus()) {
        painter.setPen(Palette::accentDeep);
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

void FrameCanvas::resizeEvent(QResizeEvent *)
{
    if (m_fitted)
        fit();
    else
        keepInSight();
}

void FrameCanvas::wheelEvent(QWheelEvent *event)
{
    const QPointF at = event->position();
    const QPointF inside = (at - place().topLeft()) / m_zoom;
    setZoom(m_zoom * std::pow(1.2, event->angleDelta().y() / 120.0));
    m_shift += at - (place().topLeft() + inside * m_zoom); // what lies under the mouse stays there
    keepInSight();
    update();
}

void FrameCanvas::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->localPos();
    m_wiping = m_compare == Wipe && std::abs(event->localPos().x() - width() * m_wipe) <= Grip;
}

void FrameCanvas::mouseMoveEvent(QMouseEvent *event)
{
    emit hovered(pixelAt(event->pos()));
    if (m_wiping) {
        m_wipe = std::max(0.0, std::min(1.0, event->localPos().x() / std::max(1, width())));
    } else if (event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) {
        m_shift += event->localPos() - m_pressed;
        m_pressed = event->localPos();
        m_fitted = false;
        keepInSight();
    } else {
        const bool grip = m_compare == Wipe && std::abs(event->localPos().x() - width() * m_wipe) <= Grip;
        setCursor(grip ? Qt::SplitHCursor : Qt::ArrowCursor);
        return;
    }
    update();
}

void FrameCanvas::mouseReleaseEvent(QMouseEvent *) { m_wiping = false; }
void FrameCanvas::mouseDoubleClickEvent(QMouseEvent *) { m_fitted ? setZoom(1) : fit(); }
void FrameCanvas::leaveEvent(QEvent *) { emit hovered({-1, -1}); }
