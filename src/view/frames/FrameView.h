#pragma once
// The window that shows frames: one at a time with zoom, channels, exposure and the values under the mouse; playing
// them in order; all of them as a sheet; two beside each other. Keys: left and right the frames, Home and End the first
// and last, Space plays, F fits, 1 pixel for pixel, R G B A L the channels, C all of them again. Reads on other threads
// within a bounded memory; frames that are missing are marked and passed by. What isn't on disk yet can be fetched
// (setFetch): a picture that stands for the frame until its file comes. Deletes itself when closed. Main thread.
#include "common/ui/BaseWidget.h"
#include "frames/FrameCache.h"
#include "frames/FrameSequence.h"
#include <functional>
#include <QElapsedTimer>
#include <QHash>
#include <QSet>

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
    // The same number of another series; a file of this one, or one without others beside it, stays as it is, and so
    // does a pinned one.
    void compareWith(const QString &file, bool pinned = false);
    void setFrames(const FrameSequence &frames, int number); // in place of a folder's; number: to be shown
    // Asked for a frame that is looked at and has no file. give() or refuse() answers; what came is kept by its number.
    using Fetch = std::function<void(int number)>;
    void setFetch(Fetch fetch) { m_fetch = std::move(fetch); }
    void give(int number, const QString &file);
    void refuse(int number, const QString &why); // asked for again when it's next looked at
    void tell(int number, const QString &words); // while it's on its way
    void forgetFetched();                        // they show something else now
    QString shownFile() const { return pathOf(m_number); }
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

    explicit FrameView(QWidget *over, const QString &file = {});
    void addToBar(QWidget *widget);        // beside the comparing
    void setSubject(const QString &words); // in the title

private:
    void makeBar();
    void makeCompare();
    void askCompare();
    void dropCompare();
    QString pathOf(int number) const; // on disk, else fetched; empty: neither
    void wantFetched();
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
    QString m_otherPinned; // stays, whatever number is shown
    Fetch m_fetch;
    QHash<int, QString> m_fetched, m_notes;
    QSet<int> m_fetching;
    FrameCache m_cache;
    FrameLook m_look;
    int m_number = 0;
    FrameCanvas *m_canvas;
    ContactSheet *m_sheet;
    QStackedWidget *m_stack;
    QHBoxLayout *m_bar = nullptr;
    QPushButton *m_other = nullptr;
    QComboBox *m_channel = nullptr, *m_compare = nullptr, *m_rate = nullptr;
    QDoubleSpinBox *m_exposure = nullptr, *m_gamma = nullptr;
    QPushButton *m_play = nullptr, *m_sheetButton = nullptr;
    QSlider *m_slider = nullptr;
    QLabel *m_state = nullptr, *m_pixel = nullptr;
    QTimer m_clock;
    QElapsedTimer m_played;
    qint64 m_gaps = 0, m_ticks = 0; // frames missing; ticks since it began to play
};
