#pragma once
// A subordinate seat's dealings with its master seat: hands over what is analysed (POST /model/analysis), and asks for
// the approval of what was handed over (GET /model/checkSlave). Lives on the queue's thread, a part of ResolveHandler.
#include "db/Records.h"
#include <QJsonObject>
#include <QObject>
#include <QSet>

class SlaveSeat : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    void step(); // hands the next committed row over: 108, then 115, 109 with the master's words, or 107 again
    void poll(); // every row in 115 and 116, one question at a time each

    static int approvalState(int masterState); // the state that follows here; 0 no change

private:
    void answered(qlonglong rkey, const QJsonObject &data);
    QSet<qlonglong> m_polled;
};
