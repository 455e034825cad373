#include "common/ui/kit/Notes.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Palette.h"
#include "common/UserInfo.h"
#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTimer>

namespace
{
const QString Silent = QStringLiteral("DontAsk");
constexpr int ToastWidth = 320;
} // namespace

bool Question::silenced(const QString &dontAsk)
{
    return !dontAsk.isEmpty() && UserInfo::userValue(Silent, dontAsk, 0).toInt() == 1;
}

void Question::askAgain(const QString &dontAsk) { UserInfo::setUserValue(Silent, dontAsk, 0); }

void Question::ask(QWidget *over, const Question &question, std::function<void()> accepted, QObject *guard)
{
    if (silenced(question.dontAsk))
        return accepted();
    auto *box = new MsgBox(MsgBox::Choose, question.text, over ? over->window() : nullptr);
    if (!question.accept.isEmpty())
        box->setAcceptText(question.accept);
    box->setBackText(question.back.isEmpty() ? QObject::tr("返回") : question.back);
    if (question.danger) {
        box->setIcon(QStringLiteral("warning"), Palette::warning);
        box->preferBack();
    }
    QCheckBox *never = nullptr;
    if (!question.dontAsk.isEmpty()) {
        never = new QCheckBox(QObject::tr("不再询问"), box);
        box->addBelow(never);
    }
    QPointer<QObject> alive(guard ? guard : over);
    const bool guarded = guard || over;
    QObject::connect(box, &MsgBox::answered, box, [=](int button) {
        if (button != MsgBox::Accepted || (guarded && !alive))
            return;
        if (never && never->isChecked())
            UserInfo::setUserValue(Silent, question.dontAsk, 1);
        accepted();
    });
    box->open();
}

Toast::Toast(QWidget *window, const QString &text, const QString &offer, std::function<void()> taken, int msecs)
    : QWidget(window), m_text(new QLabel(text, this))
{
    setObjectName(QStringLiteral("toast"));
    setAttribute(Qt::WA_StyledBackground);
    setAccessibleName(text);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(Metrics::Margin, 12, Metrics::Margin, 12);
    line->addWidget(m_text, 1);
    if (!offer.isEmpty()) {
        auto *button = new QPushButton(offer, this);
        connect(button, &QPushButton::clicked, this, [this, taken] {
            if (taken)
                taken();
            end(true);
        });
        line->addWidget(button);
    }
    setFixedWidth(ToastWidth);
    adjustSize();
    move(window->width() - width() - Metrics::Inset, window->height() - height() - 2 * Metrics::Inset);
    QTimer::singleShot(msecs, this, [this] { end(false); });
}

Toast *Toast::show(QWidget *over, const QString &text, const QString &offer, std::function<void()> taken, int msecs)
{
    if (!over)
        return nullptr;
    QWidget *window = over->window();
    for (Toast *old : window->findChildren<Toast *>(QString(), Qt::FindDirectChildrenOnly))
        old->end(false);
    auto *note = new Toast(window, text, offer, std::move(taken), msecs);
    note->QWidget::show();
    note->raise();
    return note;
}

QString Toast::text() const { return m_text->text(); }

void Toast::end(bool taken)
{
    if (m_ended)
        return;
    m_ended = true;
    hide();
    emit gone(taken);
    deleteLater();
}

Busy::Busy(QWidget *over) : QWidget(over), m_delay(new QTimer(this)), m_turn(new QTimer(this))
{
    setVisible(false);
    m_delay->setSingleShot(true);
    m_delay->setInterval(DelayMs);
    m_turn->setInterval(60);
    connect(m_delay, &QTimer::timeout, this, [this] {
        setGeometry(parentWidget()->rect());
        show();
        raise();
        m_turn->start();
    });
    connect(m_turn, &QTimer::timeout, this, [this] {
        m_angle = (m_angle + 24) % 360;
        update();
    });
    over->installEventFilter(this);
}

void Busy::setBusy(bool on, const QString &text)
{
    m_text = text;
    setAccessibleName(text);
    update();
    if (on == m_on)
        return;
    m_on = on;
    if (on) {
        m_delay->start();
        return;
    }
    m_delay->stop();
    m_turn->stop();
    hide();
}

void Busy::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QColor veil = Palette::window;
    veil.setAlpha(190);
    painter.fillRect(rect(), veil);
    painter.setRenderHint(QPainter::Antialiasing);
    QRectF ring(0, 0, 28, 28);
    ring.moveCenter(QPointF(rect().center()) - QPointF(0, 16));
    painter.setPen(QPen(Palette::border, 3));
    painter.drawEllipse(ring);
    painter.setPen(QPen(Palette::accent, 3, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(ring, -m_angle * 16, 100 * 16);
    painter.setPen(Palette::text);
    painter.drawText(QRectF(0, ring.bottom() + 8, width(), 24), Qt::AlignHCenter | Qt::AlignTop, m_text);
}

bool Busy::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(static_cast<QWidget *>(watched)->rect());
    return false;
}
