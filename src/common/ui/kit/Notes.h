#pragma once
// What a window tells or asks in passing: a question, a note that goes by itself, a veil over what is busy. Main
// thread.
#include <functional>
#include <QPointer>
#include <QString>
#include <QWidget>

class QLabel;
class QTimer;

// A question over a window. Answered by Enter, Escape (back) or its buttons. One that carries dontAsk offers
// "不再询问"; once chosen it's no longer asked and taken for accepted.
struct Question {
    QString text;
    QString accept, back; // empty: "确定", "返回"
    QString dontAsk;      // name under which that choice is kept; empty: always asked
    bool danger = false;  // warning icon, the focus stands on going back
    static void ask(QWidget *over, const Question &question, std::function<void()> accepted, QObject *guard = nullptr);
    static bool silenced(const QString &dontAsk);
    static void askAgain(const QString &dontAsk);
};

// A note in the corner of a window that goes after a while; a new one takes the old one's place. With an offer
// ("撤销") it has a button, reached by Tab; gone() tells whether the offer was taken.
class Toast : public QWidget
{
    Q_OBJECT
public:
    static Toast *show(QWidget *over, const QString &text, const QString &offer = {}, std::function<void()> taken = {},
                       int msecs = 5000);
    QString text() const;

signals:
    void gone(bool taken);

private:
    Toast(QWidget *window, const QString &text, const QString &offer, std::function<void()> taken, int msecs);
    void end(bool taken);
    QLabel *m_text;
    bool m_ended = false;
};

// Covers a widget while something is asked for: shown after a moment, so that quick answers don't flicker. What lies
// below takes no mouse meanwhile.
class Busy : public QWidget
{
    Q_OBJECT
public:
    static constexpr int DelayMs = 300;
    explicit Busy(QWidget *over);
    void setBusy(bool on, const QString &text = {});
    bool busy() const { return m_on; }

protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QTimer *m_delay, *m_turn;
    QString m_text;
    int m_angle = 0;
    bool m_on = false;
};
