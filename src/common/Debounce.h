#pragma once
// Two single-shot timers, made on first use: debounce(n) restarts the first, which emits debout() n ms after the last
// call; throttle(n) starts the second, which emits throut(); throttling() says whether that one runs. One thread: its
// own.
#include <QObject>
#include <QTimer>

class Debounce : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    void debounce(int ms);
    void throttle(int ms);
    bool throttling() const;

signals:
    void debout();
    void throut();

private:
    QTimer *m_debounce = nullptr;
    QTimer *m_throttle = nullptr;
};
