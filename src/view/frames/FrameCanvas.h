#pragma once
// A picture, or two of them side by side or wiped, with zoom and pan. The wheel zooms at the mouse, dragging pans, 1
// shows pixel for pixel, F fits; the wipe's line is dragged. Paints what it's given and never reads a file. Main
// thread.
#include <QImage>
#include <QWidget>

class FrameCanvas : public QWidget
{
    Q_OBJECT
public:
    enum Compare { Off, SideBySide, Wipe };
    explicit FrameCanvas(QWidget *parent = nullptr);
    void setImage(const QImage &image, const QSize &frameSize); // keeps zoom and place where the size is the same
    void setOther(const QImage &image);                         // the second picture
    void setCompare(Compare compare);
    void setNote(const QString &words); // in the middle where there is no picture
    QString note() const { return m_image.isNull() ? m_note : QString(); }
    void fit();
    void setZoom(double zoom); // screen pixels a picture's pixel; the middle stays
    double zoom() const { return m_zoom; }
    bool fitted() const { return m_fitted; }
    QPoint pixelAt(const QPoint &at) const; // of the first picture; (-1, -1) beside it

signals:
    void hovered(QPoint pixel);
    void zoomChanged(double zoom);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    QRectF place() const; // of the first picture
    QSizeF room() const;  // for one picture
    void keepInSight();
    double fitZoom() const;

    QImage m_image, m_other;
    QSize m_size; // of the frame, in its own pixels
    QString m_note;
    Compare m_compare = Off;
    double m_zoom = 1, m_wipe = 0.5;
    bool m_fitted = true, m_wiping = false;
    QPointF m_shift, m_pressed; // of the picture's middle against the room's
};
