#include "view/frames/FrameView.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Metrics.h"
#include "view/frames/ContactSheet.h"
#include "view/frames/FrameCanvas.h"
#include <algorithm>
#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMenu>
#include <QPushButton>
#include <QSlider>
#include <QStackedWidget>

namespace
{
constexpr int Ahead = 12; // frames read before they're played
}

FrameView *FrameView::open(QWidget *over, const QString &file)
{
    auto *view = new FrameView(over, file);
    view->setAttribute(Qt::WA_DeleteOnClose);
    static_cast<QWidget *>(view)->show();
    return view;
}

FrameView::FrameView(QWidget *over, const QString &file)
    : BaseWidget(Window, over ? over->window() : nullptr), m_cache(MostBytes), m_canvas(new FrameCanvas),
      m_sheet(new ContactSheet), m_stack(new QStackedWidget)
{
    setWindowFlag(Qt::Window);
    setTitle(tr("图片预览"));
    makeBar();
    m_stack->addWidget(m_canvas);
    m_stack->addWidget(m_sheet);
    body()->addWidget(m_stack, 1);
    makeFoot();
    resize(900, 520);
    rememberPlace(QStringLiteral("FrameView"));
    connect(&m_cache, &FrameCache::ready, this, &FrameView::take);
    connect(m_canvas, &FrameCanvas::hovered, this, &FrameView::hover);
    connect(m_sheet, &ContactSheet::chosen, this, [this](int number) {
        setSheet(false);
        show(number);
    });
    connect(&m_clock, &QTimer::timeout, this, &FrameView::tick);
    m_clock.setTimerType(Qt::PreciseTimer);
    for (QWidget *one : {static_cast<QWidget *>(m_canvas), static_cast<QWidget *>(m_sheet)})
        one->installEventFilter(this);
    m_canvas->setFocus();
    if (!file.isEmpty())
        list(file);
}

FrameView::~FrameView() = default;

void FrameView::makeBar()
{
    auto *bar = m_bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::Margin, Metrics::Gap, Metrics::Margin, Metrics::Gap);
    bar->setSpacing(Metrics::Gap);
    m_channel = new QComboBox;
    m_channel->addItems(
        {tr("彩色"), QStringLiteral("R"), QStringLiteral("G"), QStringLiteral("B"), QStringLiteral("A"), tr("亮度")});
    m_channel->setAccessibleName(tr("通道"));
    const auto spin = [](double from, double to, double value, double step, const QString &name) {
        auto *one = new QDoubleSpinBox;
        one->setRange(from, to);
        one->setValue(value);
        one->setSingleStep(step);
        one->setDecimals(2);
        one->setAccessibleName(name);
        one->setToolTip(name);
        return one;
    };
    m_exposure = spin(-16, 16, 0, 0.5, tr("曝光"));
    m_gamma = spin(0.1, 5, 2.2, 0.1, tr("伽马"));
    makeCompare();
    auto *fit = new QPushButton(tr("适合窗口"));
    auto *whole = new QPushButton(QStringLiteral("1:1"));
    whole->setAccessibleName(tr("实际像素"));
    m_sheetButton = new QPushButton(tr("缩略图"));
    m_sheetButton->setCheckable(true);
    bar->addWidget(m_channel);
    bar->addWidget(new QLabel(tr("曝光")));
    bar->addWidget(m_exposure);
    bar->addWidget(new QLabel(tr("伽马")));
    bar->addWidget(m_gamma);
    bar->addWidget(m_compare);
    bar->addWidget(m_other);
    bar->addStretch(1);
    bar->addWidget(fit);
    bar->addWidget(whole);
    bar->addWidget(m_sheetButton);
    body()->addLayout(bar);
    const auto changed = [this] {
        FrameLook look;
        look.channel = FrameLook::Channel(m_channel->currentIndex());
        look.exposure = float(m_exposure->value());
        look.gamma = float(m_gamma->value());
        setLook(look);
    };
    connect(m_channel, QOverload<int>::of(&QComboBox::currentIndexChanged), this, changed);
    connect(m_exposure, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, changed);
    connect(m_gamma, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, changed);
    connect(fit, &QPushButton::clicked, m_canvas, &FrameCanvas::fit);
    connect(whole, &QPushButton::clicked, this, [this] { m_canvas->setZoom(1); });
    connect(m_sheetButton, &QPushButton::toggled, this, &FrameView::setSheet);
}

void FrameView::addToBar(QWidget *widget)
{
    m_bar->insertWidget(m_bar->indexOf(static_cast<QWidget *>(m_other)) + 1, widget);
}

void FrameView::makeCompare()
{
    m_compare = new QComboBox;
    m_compare->addItems({tr("不对比"), tr("并排"), tr("划变")});
    m_compare->setAccessibleName(tr("对比"));
    m_other = new QPushButton(tr("对比图片"));
    m_other->setEnabled(false);
    connect(m_other, &QPushButton::clicked, this, &FrameView::askCompare);
    connect(m_compare, QOverload<int>::of(&QComboBox::activated), this, [this](int index) {
        m_canvas->setCompare(FrameCanvas::Compare(index));
        m_other->setEnabled(index > 0);
        if (index == 0 || !otherPath().isEmpty() || !m_otherSequence.files.isEmpty())
            return paint();
        askCompare();
    });
}

// This frame, held fast beside the others; what another window of frames shows; any file.
void FrameView::askCompare()
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QString mine = shownFile();
    if (!mine.isEmpty())
        connect(menu->addAction(tr("固定当前帧")), &QAction::triggered, this, [this, mine] { compareWith(mine); });
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        auto *view = qobject_cast<FrameView *>(widget);
        if (!view || view == this || view->shownFile().isEmpty())
            continue;
        connect(menu->addAction(tr("窗口：%1").arg(view->windowTitle())), &QAction::triggered, this,
                [this, file = view->shownFile()] { compareWith(file); });
    }
    connect(menu->addAction(tr("选择文件 ...")), &QAction::triggered, this, [this] {
        auto *dialog = new QFileDialog(this, tr("选择对比的图片"), m_sequence.folder);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &file) { compareWith(file); });
        connect(dialog, &QFileDialog::rejected, this, &FrameView::dropCompare);
        dialog->open();
    });
    menu->popup(m_other->mapToGlobal(QPoint(0, m_other->height())));
}

void FrameView::dropCompare()
{
    if (!m_otherPinned.isEmpty() || !m_otherSequence.files.isEmpty())
        return;
    m_compare->setCurrentIndex(0);
    m_other->setEnabled(false);
    m_canvas->setCompare(FrameCanvas::Off);
}

void FrameView::makeFoot()
{
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(Metrics::Margin, Metrics::Gap, Metrics::Margin, Metrics::Gap);
    foot->setSpacing(Metrics::Gap);
    m_play = new QPushButton(tr("播放"));
    m_play->setCheckable(true);
    m_rate = new QComboBox;
    m_rate->addItems({QStringLiteral("24"), QStringLiteral("25"), QStringLiteral("30")});
    m_rate->setAccessibleName(tr("每秒帧数"));
    m_rate->setToolTip(tr("每秒帧数"));
    m_slider = new QSlider(Qt::Horizontal);
    m_slider->setAccessibleName(tr("帧"));
    m_state = new QLabel;
    m_state->setTextFormat(Qt::PlainText);
    m_pixel = new QLabel;
    m_pixel->setTextFormat(Qt::PlainText);
    m_pixel->setMinimumWidth(
        fontMetrics().horizontalAdvance(QStringLiteral("9999, 9999  0.0000 0.0000 0.0000 0.0000")));
    foot->addWidget(m_play);
    foot->addWidget(m_rate);
    foot->addWidget(m_slider, 1);
    foot->addWidget(m_state);
    body()->addLayout(foot);
    auto *below = new QHBoxLayout;
    below->setContentsMargins(Metrics::Margin, 0, Metrics::Margin, Metrics::Gap);
    below->addWidget(m_pixel);
    below->addStretch(1);
    body()->addLayout(below);
    connect(m_play, &QPushButton::toggled, this, &FrameView::play);
    connect(m_rate, QOverload<int>::of(&QComboBox::activated), this, [this] { play(m_play->isChecked()); });
    connect(m_slider, &QSlider::valueChanged, this, [this](int value) {
        if (value != m_number)
            show(value);
    });
}

void FrameView::list(const QString &file)
{
    m_canvas->setNote(tr("读取中 ..."));
    Background::run(
        this, [file] { return FrameSequence::of(file); },
        [this, file](const FrameSequence &found) {
            FrameSequence frames = found;
            if (frames.files.isEmpty())
                frames.files.insert(0, file); // it has gone meanwhile: reading it tells so
            setSubject(QFileInfo(file).fileName());
            const QString name = QFileInfo(file).absoluteFilePath();
            setFrames(frames, frames.files.key(name, frames.first()));
        });
}

void FrameView::setSubject(const QString &words)
{
    setTitle(words.isEmpty() ? tr("图片预览") : tr("图片预览") + QStringLiteral(" - ") + words);
}

void FrameView::setFrames(const FrameSequence &frames, int number)
{
    for (auto it = frames.files.begin(); it != frames.files.end(); ++it)
        m_fetched.remove(it.key()); // the frame itself is here
    m_sequence = frames;
    m_gaps = frames.ordered.isEmpty() ? qint64(frames.last()) - frames.first() + 1 - frames.files.size()
                                      : qint64(frames.missing().size());
    const QSignalBlocker quiet(m_slider);
    m_slider->setRange(m_sequence.first(), m_sequence.last());
    m_play->setEnabled(m_sequence.files.size() > 1);
    m_sheet->setSequence(m_sequence);
    emit listed();
    show(number);
}

QString FrameView::pathOf(int number) const
{
    const auto file = m_sequence.files.constFind(number);
    return file == m_sequence.files.cend() ? m_fetched.value(number) : *file;
}

void FrameView::wantFetched()
{
    if (!m_fetch || !pathOf(m_number).isEmpty() || m_fetching.contains(m_number) || m_play->isChecked())
        return;
    m_fetching.insert(m_number);
    m_notes.insert(m_number, tr("读取中 ..."));
    m_fetch(m_number);
}

void FrameView::give(int number, const QString &file)
{
    m_fetching.remove(number);
    m_notes.remove(number);
    m_fetched.insert(number, file);
    if (number == m_number)
        show(number);
}

void FrameView::refuse(int number, const QString &why)
{
    m_fetching.remove(number);
    m_notes.insert(number, why);
    if (number == m_number)
        paint();
}

void FrameView::tell(int number, const QString &words)
{
    m_notes.insert(number, words);
    if (number == m_number)
        paint();
}

void FrameView::forgetFetched()
{
    m_fetched.clear();
    m_fetching.clear();
    m_notes.clear();
    show(m_number);
}

QString FrameView::otherPath() const
{
    return m_otherPinned.isEmpty() ? m_otherSequence.files.value(m_number) : m_otherPinned;
}

void FrameView::compareWith(const QString &file, bool pinned)
{
    Background::run(
        this, [file] { return FrameSequence::of(file); },
        [this, file, pinned](const FrameSequence &found) {
            const QString whole = QFileInfo(file).absoluteFilePath();
            const bool mine = m_sequence.files.key(whole, -1) >= 0 || m_fetched.values().contains(file);
            m_otherPinned = pinned || mine || found.files.size() <= 1 || found.isBeside(m_sequence) ? whole : QString();
            m_otherSequence = found;
            m_other->setEnabled(true);
            if (m_compare->currentIndex() == 0) {
                m_compare->setCurrentIndex(int(FrameCanvas::Wipe));
                m_canvas->setCompare(FrameCanvas::Wipe);
            }
            show(m_number);
        });
}

void FrameView::show(int number)
{
    m_number = number;
    m_slider->setValue(number);
    wantFetched();
    m_cache.dropWishes();
    if (m_play->isChecked()) { // the newest wish is read first: the farthest is told first
        auto it = m_sequence.files.upperBound(number);
        QStringList next;
        for (int i = 0; i < Ahead && it != m_sequence.files.end(); ++i, ++it)
            next.prepend(it.value());
        for (const QString &path : next)
            if (!m_cache.find(path))
                m_cache.wish(path);
    }
    const QString other = otherPath();
    if (!other.isEmpty() && !m_cache.find(other))
        m_cache.wish(other);
    const QString path = pathOf(number);
    if (!path.isEmpty() && !m_cache.find(path))
        m_cache.wish(path);
    paint();
}

void FrameView::take(const QString &path)
{
    if (path == pathOf(m_number) || path == otherPath())
        paint();
}

void FrameView::paint()
{
    const QString path = pathOf(m_number);
    const FrameCache::Ready *one = path.isEmpty() ? nullptr : m_cache.find(path);
    const FrameCache::Ready *other = otherPath().isEmpty() ? nullptr : m_cache.find(otherPath());
    m_canvas->setOther(other ? other->shown : QImage());
    const int count = m_sequence.files.size();
    QString words = tr("第 %1 帧，共 %2 帧").arg(m_number).arg(count);
    if (m_gaps > 0)
        words += tr("，缺 %1 帧").arg(m_gaps);
    if (m_fetched.contains(m_number))
        words += tr("，预览");
    if (path.isEmpty()) {
        m_canvas->setImage({}, {});
        m_canvas->setNote(m_notes.value(m_number, tr("第 %1 帧还没有").arg(m_number)));
    } else if (one) {
        if (!one->frame->valid()) {
            m_canvas->setNote(one->frame->error);
            m_canvas->setImage({}, {});
        } else {
            m_canvas->setImage(one->shown, one->size);
            words += QStringLiteral("  %1*%2%3")
                         .arg(one->size.width())
                         .arg(one->size.height())
                         .arg(one->frame->isFloat() ? tr("，浮点") : QString());
        }
    } else if (!m_play->isChecked()) {
        m_canvas->setNote(tr("读取中 ..."));
    }
    m_state->setText(words);
    if (one || path.isEmpty())
        emit shown(m_number);
}

void FrameView::setLook(const FrameLook &look)
{
    m_look = look;
    m_cache.setLook(look);
    show(m_number);
}

// Over what is missing, unless it can be fetched.
void FrameView::step(int by)
{
    if (m_fetch && !m_sequence.ordered.isEmpty()) {
        const QList<int> all = m_sequence.numbers();
        auto at = by > 0 ? std::upper_bound(all.begin(), all.end(), m_number)
                         : std::lower_bound(all.begin(), all.end(), m_number);
        if (by < 0 && at == all.begin())
            return;
        at -= by < 0;
        if (at != all.end())
            show(*at);
        return;
    }
    if (m_sequence.files.isEmpty())
        return;
    auto it = m_sequence.files.lowerBound(m_number);
    if (by > 0)
        it = m_sequence.files.upperBound(m_number);
    else if (it != m_sequence.files.begin())
        --it;
    else
        return;
    if (it != m_sequence.files.end())
        show(it.key());
}

void FrameView::next() { step(1); }
void FrameView::previous() { step(-1); }

void FrameView::play(bool on)
{
    m_play->setChecked(on);
    m_play->setText(on ? tr("暂停") : tr("播放"));
    if (!on)
        return m_clock.stop();
    setSheet(false);
    m_played.start();
    m_ticks = 0;
    m_clock.start(1);
}

// A frame that isn't read yet is waited for rather than skipped; at the end it begins anew.
void FrameView::tick()
{
    // Counted from the start: 24 a second is no whole number of milliseconds.
    const int rate = m_rate->currentText().toInt();
    const qint64 due = m_played.elapsed() * rate / 1000;
    if (due <= m_ticks) {
        const qint64 next = (m_ticks + 1) * 1000 / rate + 1 - m_played.elapsed();
        return m_clock.start(int(qMax<qint64>(1, next)));
    }
    m_ticks = due; // what was late isn't made up for
    auto it = m_sequence.files.upperBound(m_number);
    if (it == m_sequence.files.end())
        it = m_sequence.files.begin();
    if (it == m_sequence.files.end())
        return;
    if (m_cache.find(it.value()))
        show(it.key());
    else
        m_cache.wish(it.value());
}

void FrameView::setSheet(bool on)
{
    if (on)
        play(false);
    m_sheetButton->setChecked(on);
    m_stack->setCurrentWidget(on ? static_cast<QWidget *>(m_sheet) : m_canvas);
    m_stack->currentWidget()->setFocus();
}

void FrameView::hover(const QPoint &pixel)
{
    const FrameCache::Ready *one = m_cache.find(pathOf(m_number));
    if (pixel.x() < 0 || !one || !one->frame->valid())
        return m_pixel->clear();
    const FrameImage::Pixel p = one->frame->at(pixel.x(), pixel.y());
    m_pixel->setText(QStringLiteral("%1, %2   %3 %4 %5 %6")
                         .arg(pixel.x())
                         .arg(pixel.y())
                         .arg(p.r, 0, 'f', 4)
                         .arg(p.g, 0, 'f', 4)
                         .arg(p.b, 0, 'f', 4)
                         .arg(p.a, 0, 'f', 4));
}

bool FrameView::keyFor(QKeyEvent *event)
{
    if (event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier))
        return false;
    switch (event->key()) {
    case Qt::Key_Left:
        return previous(), true;
    case Qt::Key_Right:
        return next(), true;
    case Qt::Key_Home:
        return show(m_sequence.first()), true;
    case Qt::Key_End:
        return show(m_sequence.last()), true;
    case Qt::Key_Space:
        return play(!m_play->isChecked()), true;
    case Qt::Key_F:
        return m_canvas->fit(), true;
    case Qt::Key_1:
        return m_canvas->setZoom(1), true;
    case Qt::Key_C:
        return m_channel->setCurrentIndex(FrameLook::Rgb), true;
    case Qt::Key_R:
        return m_channel->setCurrentIndex(FrameLook::Red), true;
    case Qt::Key_G:
        return m_channel->setCurrentIndex(FrameLook::Green), true;
    case Qt::Key_B:
        return m_channel->setCurrentIndex(FrameLook::Blue), true;
    case Qt::Key_A:
        return m_channel->setCurrentIndex(FrameLook::Alpha), true;
    case Qt::Key_L:
        return m_channel->setCurrentIndex(FrameLook::Luminance), true;
    default:
        return false;
    }
}

bool FrameView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_canvas && event->type() == QEvent::KeyPress && keyFor(static_cast<QKeyEvent *>(event)))
        return true;
    return BaseWidget::eventFilter(watched, event);
}

void FrameView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && m_sheetButton->isChecked())
        return setSheet(false);
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    BaseWidget::keyPressEvent(event);
}
