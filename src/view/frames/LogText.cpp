#include "view/frames/LogText.h"
#include "common/Delivery.h"
#include "common/ui/Palette.h"
#include <QFontDatabase>
#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>

namespace
{
constexpr int Left = 8, LineGap = 4;
}

LogText::LogText(QWidget *parent) : QAbstractScrollArea(parent)
{
    // Not the widget's own font: the style sheet's would take its place.
    m_font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_font.setPixelSize(12);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("日志内容"));
    viewport()->setCursor(Qt::IBeamCursor);
}

LogText::~LogText() { m_queue.finish(); }

void LogText::setLog(std::shared_ptr<LogFile> log)
{
    m_log = std::move(log);
    grown(true);
}

const QRegularExpression &LogText::errorMark()
{
    static const QRegularExpression mark(
        QStringLiteral("\\b(error|fatal|failed|failure|exception|traceback|segmentation fault)\\b|错误|失败"),
        QRegularExpression::CaseInsensitiveOption);
    return mark;
}

LogText::Kind LogText::kindOf(const QString &line)
{
    static const QRegularExpression warning(QStringLiteral("\\b(warning|warn|deprecated)\\b|警告"),
                                            QRegularExpression::CaseInsensitiveOption);
    // "0 errors" is no error.
    static const QRegularExpression none(QStringLiteral("\\b(0|no) (error|failure|warning)s?\\b"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QString start = line.left(400);
    if (none.match(start).hasMatch())
        return Plain;
    if (errorMark().match(start).hasMatch())
        return Error;
    return warning.match(start).hasMatch() ? Warning : Plain;
}

int LogText::rowHeight() const { return QFontMetrics(m_font).height() + LineGap; }
int LogText::linesInSight() const { return qMax(1, viewport()->height() / rowHeight()); }
int LogText::charsInSight() const
{
    return qMax(10,
                (viewport()->width() - 2 * Left) / qMax(1, QFontMetrics(m_font).horizontalAdvance(QLatin1Char('0'))));
}
int LogText::rowsOf(const QString &text) const
{
    return m_wrap ? qMax(1, (QFontMetrics(m_font).horizontalAdvance(text) + viewport()->width() - 2 * Left - 1) /
                                qMax(1, viewport()->width() - 2 * Left))
                  : 1;
}

bool LogText::atEnd() const { return verticalScrollBar()->value() >= verticalScrollBar()->maximum(); }
void LogText::toEnd() { verticalScrollBar()->setValue(verticalScrollBar()->maximum()); }

void LogText::updateBars()
{
    const bool follow = m_follow;
    const int sight = linesInSight();
    verticalScrollBar()->setPageStep(sight);
    verticalScrollBar()->setRange(0, int(qBound<qint64>(0, m_lines - sight + (m_wrap ? sight / 2 : 0), INT_MAX)));
    const qint64 longest = m_log ? qMin<qint64>(m_log->longest(), LogFile::MostChars + 40) : 0;
    horizontalScrollBar()->setPageStep(charsInSight());
    horizontalScrollBar()->setRange(0, m_wrap ? 0 : int(qMax<qint64>(0, longest - charsInSight())));
    if (follow)
        toEnd();
    m_follow = follow;
}

void LogText::grown(bool anew)
{
    if (!m_log)
        return;
    if (anew) {
        m_texts.clear();
        m_current = m_anchor = 0;
        m_follow = true;
    } else {
        m_texts.remove(m_lines - 1); // it may have gone on
    }
    ++m_age;
    m_wantedFirst = -1;
    m_lines = m_log->lines();
    updateBars();
    fetch();
    viewport()->update();
}

void LogText::setWrap(bool on)
{
    m_wrap = on;
    updateBars();
    viewport()->update();
}

void LogText::setMarks(const QRegularExpression &search)
{
    m_search = search;
    viewport()->update();
}

// Asks for a page around what is in sight, once.
void LogText::fetch()
{
    if (!m_log)
        return;
    const int sight = linesInSight();
    const qint64 top = verticalScrollBar()->value();
    bool missing = false;
    for (qint64 line = top; line < qMin(m_lines, top + sight + 1); ++line)
        missing = missing || !m_texts.contains(line);
    const qint64 first = qMax<qint64>(0, top - sight);
    if (!missing || m_wantedFirst == first)
        return;
    m_wantedFirst = first;
    m_queue.post([way = Delivery::here(), self = QPointer<QObject>(this), this, log = m_log, first, count = sight * 3,
                  age = m_age] {
        const QStringList texts = log->lines(first, count);
        way.post(self, [this, texts, first, age] {
            if (age != m_age)
                return fetch();
            m_texts.clear();
            for (int i = 0; i < texts.size(); ++i)
                m_texts.insert(first + i, texts.at(i));
            viewport()->update();
            if (m_wantedFirst == first)
                m_wantedFirst = -1;
            fetch();
        });
    });
}

void LogText::paintEvent(QPaintEvent *)
{
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), Palette::window);
    painter.setFont(m_font);
    const int height = rowHeight(),
              shift = horizontalScrollBar()->value() * QFontMetrics(m_font).horizontalAdvance(QLatin1Char('0'));
    const int width = viewport()->width() - 2 * Left;
    qint64 line = verticalScrollBar()->value();
    for (int y = 0; y < viewport()->height() && line < m_lines; ++line) {
        const QString text = m_texts.value(line);
        const int rows = rowsOf(text);
        const QRect area(0, y, viewport()->width(), rows * height);
        if (line >= firstSelected() && line <= lastSelected())
            painter.fillRect(area, Palette::selected);
        const Kind kind = kindOf(text);
        const QColor colour = Palette::of(kind == Error ? Tint::Failed : kind == Warning ? Tint::Warning : Tint::Plain);
        if (!m_search.pattern().isEmpty() && m_search.match(text).hasMatch())
            painter.fillRect(QRect(0, y, 3, area.height()), Palette::accent);
        painter.setPen(colour);
        const QRect place = m_wrap ? QRect(Left, y + LineGap / 2, width, area.height())
                                   : QRect(Left - shift, y + LineGap / 2, INT_MAX / 4, height);
        painter.drawText(place, (m_wrap ? Qt::TextWrapAnywhere : Qt::TextSingleLine) | Qt::TextExpandTabs, text);
        if (line == m_current && hasFocus()) {
            painter.setPen(Palette::accent);
            painter.drawRect(area.adjusted(0, 0, -1, -1));
        }
        y += area.height();
    }
}

void LogText::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateBars();
    m_wantedFirst = -1;
    fetch();
}

void LogText::scrollContentsBy(int, int)
{
    m_follow = atEnd();
    fetch();
    viewport()->update();
}

qint64 LogText::lineAt(int y) const
{
    qint64 line = verticalScrollBar()->value();
    for (int bottom = 0; line < m_lines; ++line)
        if ((bottom += rowsOf(m_texts.value(line)) * rowHeight()) > y)
            break;
    return qBound<qint64>(0, line, qMax<qint64>(0, m_lines - 1));
}

void LogText::select(qint64 line, bool extend)
{
    m_current = qBound<qint64>(0, line, qMax<qint64>(0, m_lines - 1));
    if (!extend)
        m_anchor = m_current;
    const qint64 top = verticalScrollBar()->value();
    if (m_current < top)
        verticalScrollBar()->setValue(int(m_current));
    else if (m_current >= top + linesInSight())
        verticalScrollBar()->setValue(int(m_current - linesInSight() + 1));
    viewport()->update();
}

void LogText::showLine(qint64 line)
{
    const qint64 top = verticalScrollBar()->value();
    m_current = m_anchor = qBound<qint64>(0, line, qMax<qint64>(0, m_lines - 1));
    if (line < top || line >= top + linesInSight())
        verticalScrollBar()->setValue(int(qMax<qint64>(0, line - linesInSight() / 3)));
    viewport()->update();
}

void LogText::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        select(lineAt(event->y()), event->modifiers() & Qt::ShiftModifier);
}

void LogText::mouseMoveEvent(QMouseEvent *event)
{
    if (event->buttons() & Qt::LeftButton)
        select(event->y() < 0                      ? verticalScrollBar()->value() - 1
               : event->y() > viewport()->height() ? verticalScrollBar()->value() + linesInSight()
                                                   : lineAt(event->y()),
               true);
}

void LogText::keyPressEvent(QKeyEvent *event)
{
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    switch (event->key()) {
    case Qt::Key_Up:
        return select(m_current - 1, extend);
    case Qt::Key_Down:
        return select(m_current + 1, extend);
    case Qt::Key_PageUp:
        return select(m_current - linesInSight(), extend);
    case Qt::Key_PageDown:
        return select(m_current + linesInSight(), extend);
    case Qt::Key_Home:
        return select(0, extend);
    case Qt::Key_End:
        return select(m_lines - 1, extend);
    case Qt::Key_A:
        if (event->modifiers() & Qt::ControlModifier) {
            m_anchor = 0;
            m_current = qMax<qint64>(0, m_lines - 1);
            return viewport()->update();
        }
        break;
    default:
        break;
    }
    QAbstractScrollArea::keyPressEvent(event);
}
