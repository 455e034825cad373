#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/RecordModel.h"
#include <QApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

namespace
{
// As high and wide as what it holds, so that a dialog is no larger than its body wants and scrolls where it can't be.
class Scroll : public QScrollArea
{
public:
    using QScrollArea::QScrollArea;
    QSize wanted;
    QSize sizeHint() const override
    {
        // Where the screen is too low, the bar takes of the width.
        const int bar = verticalScrollBar()->sizeHint().width();
        return wanted.expandedTo(widget() ? widget()->sizeHint() + QSize(bar, 0) : QSize());
    }

protected:
    bool focusNextPrevChild(bool next) override { return QWidget::focusNextPrevChild(next); } // the dialog scrolls
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::LayoutRequest)
            updateGeometry();
        return QScrollArea::eventFilter(watched, event);
    }
};
} // namespace

DialogFrame::DialogFrame(const QString &name, const QString &title, QWidget *parent)
    : BaseWidget(Dialog, parent), m_content(new QVBoxLayout), m_scroll(new Scroll(this)), m_row(new QHBoxLayout),
      m_heading(new QLabel(this)), m_error(new QLabel(this)), m_again(new QPushButton(tr("重试"), this)),
      m_busy(nullptr)
{
    setObjectName(name);
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(title);
    setAccessibleName(title);
    m_heading->setObjectName(QStringLiteral("heading"));
    m_heading->setTextFormat(Qt::PlainText);
    m_heading->setContentsMargins(Metrics::Inset, Metrics::Margin, Metrics::Inset, 0);
    m_heading->hide();
    body()->addWidget(m_heading);
    auto *inner = new QWidget(m_scroll);
    inner->setLayout(m_content);
    m_content->setContentsMargins(Metrics::Inset, Metrics::Margin, Metrics::Inset, Metrics::Gap);
    m_content->setSpacing(Metrics::Gap);
    m_scroll->setWidget(inner);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    body()->addWidget(m_scroll, 1);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { bringIntoSight(now); });
    m_busy = new Busy(m_scroll);
    m_error->setObjectName(QStringLiteral("errorLine"));
    m_error->setTextFormat(Qt::PlainText);
    m_error->setWordWrap(true);
    m_error->hide();
    m_again->hide();
    connect(m_again, &QPushButton::clicked, this, [this] {
        if (const std::function<void()> retry = m_retry)
            retry();
    });
    auto *line = new QHBoxLayout;
    line->setContentsMargins(Metrics::Inset, 4, Metrics::Inset, 0);
    line->setSpacing(Metrics::Gap);
    line->addWidget(m_error, 1);
    line->addWidget(m_again);
    body()->addLayout(line);
    m_row->setContentsMargins(Metrics::Inset, 12, Metrics::Inset, Metrics::Margin);
    m_row->setSpacing(Metrics::Gap);
    m_row->addStretch(1);
    body()->addLayout(m_row);
}

// The focus leaves the fields while they go with the dialog.
DialogFrame::~DialogFrame() { disconnect(qApp, nullptr, this, nullptr); }

void DialogFrame::setHeading(const QString &text, const QString &tip)
{
    m_heading->setText(fontMetrics().elidedText(text, Qt::ElideMiddle, 520));
    m_heading->setToolTip(RecordModelBase::plainTip(tip.isEmpty() ? text : tip));
    m_heading->setVisible(!text.isEmpty());
}

void DialogFrame::setWanted(const QSize &size) { static_cast<Scroll *>(m_scroll)->wanted = size; }

QPushButton *DialogFrame::addButton(const QString &text, ButtonKind kind, std::function<void()> hit)
{
    auto *button = new QPushButton(text, this);
    if (kind == Primary) {
        button->setProperty("primary", true);
        m_primary = button;
    }
    if (kind == Close)
        m_close = button;
    connect(button, &QPushButton::clicked, this, [this, kind, hit] {
        if (hit)
            hit();
        if (kind == Close)
            on_headClose_clicked();
    });
    if (kind == Left)
        m_row->insertWidget(0, button);
    else
        m_row->addWidget(button);
    return button;
}

void DialogFrame::preferBack() { m_preferBack = true; }

void DialogFrame::addToRow(QWidget *widget) { m_row->insertWidget(m_row->count() ? 0 : -1, widget); }

void DialogFrame::setError(const QString &text, std::function<void()> again)
{
    m_error->setText(text);
    m_error->setVisible(!text.isEmpty());
    m_retry = std::move(again);
    m_again->setVisible(!text.isEmpty() && m_retry);
}

QString DialogFrame::error() const { return m_error->text(); }

void DialogFrame::setBusy(bool on, const QString &text)
{
    m_busy->setBusy(on, text);
    if (m_primary)
        m_primary->setEnabled(!on);
}

bool DialogFrame::busy() const { return m_busy->busy(); }

// The toolkit scrolls only where Tab stays inside the area, and to the middle of what is wider than it: here the
// field's beginning is seen, from wherever the focus came. Under a pressed mouse nothing moves: the click would go
// elsewhere.
void DialogFrame::bringIntoSight(QWidget *field)
{
    if (QGuiApplication::mouseButtons() != Qt::NoButton || !m_scroll->isAncestorOf(field))
        return;
    for (QWidget *at = field->parentWidget(); at != this; at = at->parentWidget())
        if (auto *area = qobject_cast<QScrollArea *>(at)) {
            const QSize size = field->size().boundedTo(area->viewport()->size());
            const QPoint middle = QRect(field->mapTo(area->widget(), QPoint()), size).center();
            area->ensureVisible(middle.x(), middle.y(), (size.width() + 1) / 2, (size.height() + 1) / 2);
        }
}

void DialogFrame::showEvent(QShowEvent *event)
{
    BaseWidget::showEvent(event);
    if (!focusWidget() || focusWidget() == this) // the first field, else the button that Enter presses
        focusNextPrevChild(true);
    if (m_preferBack && m_close)
        m_close->setFocus();
    else if (m_primary && m_primary->isVisibleTo(this) &&
             (!focusWidget() || qobject_cast<QPushButton *>(focusWidget())))
        m_primary->setFocus();
}

// A line that appears (what is wrong with a field) is given its room; nothing ever shrinks under the mouse.
bool DialogFrame::event(QEvent *event)
{
    const bool done = BaseWidget::event(event);
    if (event->type() != QEvent::LayoutRequest || !isVisible() || !screen())
        return done;
    const QRect whole = screen()->availableGeometry();
    const QSize room = sizeHint().expandedTo(size()).boundedTo(whole.size());
    if (room != size()) {
        resize(room);
        move(qBound(whole.left(), x(), whole.right() - room.width() + 1),
             qBound(whole.top(), y(), whole.bottom() - room.height() + 1));
    }
    return done;
}

void DialogFrame::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool button = qobject_cast<QPushButton *>(focusWidget());
    const bool lines = qobject_cast<QPlainTextEdit *>(focusWidget());
    if (enter && !button && !lines && !m_preferBack && m_primary && m_primary->isEnabled())
        m_primary->click();
    else
        BaseWidget::keyPressEvent(event);
}
