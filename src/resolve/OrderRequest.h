#pragma once
// Applies for order numbers, (104, 10421): the first row without one, at most one request in 3 seconds. A row whose
// answer is out is asked for again only after 10 seconds, and the first answer wins; one that was refused stands behind
// those that weren't, with the reason as the row's error. Lives on the queue's thread.
#include "common/Debounce.h"
#include "db/Records.h"
#include <QElapsedTimer>
#include <QJsonObject>
#include <QMap>
#include <QPair>

class OrderRequest : public QObject
{
    Q_OBJECT
public:
    explicit OrderRequest(QObject *parent = nullptr);
    void tick();
    void setTimes(int gateMs, int againMs);

private:
    void replied(qlonglong rkey, int val, const QJsonObject &reply);
    void refused(const db_resolve &row, int val);
    bool granted(qlonglong rkey, int mission, const QString &order); // false: not written
    db_resolve next() const;

    Debounce m_gate;
    QMap<qlonglong, QElapsedTimer> m_asked;         // requests that are out, by rkey
    QList<qlonglong> m_refused;                     // the one that waits longest first
    QMap<qlonglong, QPair<int, QString>> m_granted; // task and order that the store couldn't take yet
    int m_gateMs = 3000, m_againMs = 10000;
};
