#pragma once
// Applies for order numbers, (104, 10421): the first row without one, at most one request in 3 seconds. A row whose
// answer is out is asked for again only after 10 seconds, and the first answer wins. Lives on the queue's thread.
#include "common/Debounce.h"
#include "db/Records.h"
#include <QElapsedTimer>
#include <QJsonObject>

class OrderRequest : public QObject
{
    Q_OBJECT
public:
    explicit OrderRequest(QObject *parent = nullptr);
    void tick();
    void linkLost(); // what was asked will never be answered
    void setTimes(int gateMs, int againMs);

private:
    void replied(qlonglong rkey, int val, const QJsonObject &reply);
    void refused(const db_resolve &row, int val);

    Debounce m_gate;
    qlonglong m_asked = 0; // rkey of the request that is out
    QElapsedTimer m_since;
    int m_gateMs = 3000, m_againMs = 10000;
};
