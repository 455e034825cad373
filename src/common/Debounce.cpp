#include "common/Debounce.h"

void Debounce::debounce(int ms)
{
    if (!m_debounce) {
        m_debounce = new QTimer(this);
        m_debounce->setSingleShot(true);
        connect(m_debounce, &QTimer::timeout, this, &Debounce::debout);
    }
    m_debounce->start(ms);
}

void Debounce::throttle(int ms)
{
    if (!m_throttle) {
        m_throttle = new QTimer(this);
        m_throttle->setSingleShot(true);
        connect(m_throttle, &QTimer::timeout, this, &Debounce::throut);
    }
    m_throttle->start(ms);
}

bool Debounce::throttling() const { return m_throttle && m_throttle->isActive(); }
