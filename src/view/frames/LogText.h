#pragma once
// The lines of a log on screen: only those that are seen are read and laid out, away from the window's thread. Lines
// are selected with mouse and keys like rows of a list. What is being read doesn't move while the log grows, unless the
// view stands at its end: then it follows. Main thread; the log is shared with the readers.
#include "common/SerialQueue.h"
#include "frames/LogFile.h"
#include <memory>
#include <QAbstractScrollArea>
#include <QHash>

class LogText : public QAbstractScrollArea
{
    Q_OBJECT
public:
    explicit LogText(QWidget *parent = nullptr);
    ~LogText() override;
    void setLog(std::shared_ptr<LogFile> log);
    void grown(bool anew); // there are more lines, or (anew) others
    void setWrap(bool on);
    void setMarks(const QRegularExpression &search);
    void showLine(qint64 line); // selected, in the upper third where it wasn't in sight
    qint64 currentLine() const { return m_current; }
    qint64 firstSelected() const { return qMin(m_anchor, m_current); }
    qint64 lastSelected() const { return qMax(m_anchor, m_current); }
    bool atEnd() const;
    void toEnd();
    int linesInSight() const;
    bool shows(qint64 line) const { return m_texts.contains(line); } // or would, were it in sight

    enum Kind { Plain, Warning, Error };
    static Kind kindOf(const QString &line);
    static const QRegularExpression &errorMark(); // what "next error" looks for

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    void updateBars();
    void fetch();
    qint64 lineAt(int y) const;
    void select(qint64 line, bool extend);
    int rowHeight() const;
    int rowsOf(const QString &text) const; // with wrapping
    int charsInSight() const;

    std::shared_ptr<LogFile> m_log;
    qint64 m_lines = 0, m_current = 0, m_anchor = 0;
    QHash<qint64, QString> m_texts; // of what is in sight and a page around it
    qint64 m_wantedFirst = -1;
    int m_age = 0;
    bool m_wrap = false, m_follow = true;
    QRegularExpression m_search;
    QFont m_font;
    SerialQueue m_queue; // last: it ends first
};
