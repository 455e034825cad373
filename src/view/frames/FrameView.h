#pragma once
// The window that shows frames from disk: one at a time with zoom, channels, exposure and the values under the mouse;
// playing them in order; all of them as a sheet; two beside each other. Keys: left and right the frames, Home and End
// the first and last, Space plays, F fits, 1 pixel for pixel, R G B A L the channels, C all of them again. Reads on
// other threads within a bounded memory; frames that are missing are marked and passed by. Deletes itself when closed.
// Main thread.
#include "common/ui/BaseWidget.h"
#include "frames/FrameCache.h"
#include "frames/FrameSequence.h"

class ContactSheet;
class FrameCanvas;
class QComboBox;
class QDoubleSpinBox;
class QPushButton;
class QSlider;
class QStackedWidget;

class FrameView : public BaseWidget
{
    Q_OBJECT
public:
    static constexpr qint64 MostBytes = qint64(768) << 20;      // of frames kept
    static FrameView *open(QWidget *over, const QString &file); // with the frames of its series
    ~FrameView() override;

    void show(int number);
    void compareWith(const QString &file); // the same number of another series
    void play(bool on);
    void setSheet(bool on);
    int number() const { return m_number; }
    const FrameSequence &sequence() const { return m_sequence; }
    FrameCanvas *canvas() const { return m_canvas; }
    FrameLook look() const { return m_look; }

signals:
    void shown(int number); // its picture, or why there is none, is on screen
    void listed();          // the series is known

public slots:
    void next();
    void previous();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    FrameView(QWidget *over, const QString &file);
    void makeBar();
    void makeFoot();
    void list(const QString &file);
    void step(int by);
    void take(const QString &path);
    void paint();
    void setLook(const FrameLook &look);
    void tick();
    void hover(const QPoint &pixel);
    QString otherPath() const;
    bool keyFor(QKeyEvent *event);

    FrameSequence m_sequence, m_otherSequence;
    FrameCache m_cache;
    FrameLook m_look;
    int m_number = 0;
    FrameCanvas *m_canvas;
    ContactSheet *m_sheet;
    QStackedWidget *m_stack;
    QComboBox *m_channel = nullptr, *m_compare = nullptr, *m_rate = nullptr;
    QDoubleSpinBox *m_exposure = nullptr, *m_gamma = nullptr;
    QPushButton *m_play = nullptr, *m_sheetButton = nullptr;
    QSlider *m_slider = nullptr;
    QLabel *m_state = nullptr, *m_pixel = nullptr;
    QTimer m_clock;
};
