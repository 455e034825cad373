#pragma once
// A subordinate seat's dealings with its master seat: hands over what is analysed (POST /model/analysis), and asks for
// the approval of what was handed over (GET /model/checkSlave). Lives on the queue's thread, a part of ResolveHandler.
#include "common/facts/SceneState.h"
#include "db/Records.h"
#include <QJsonObject>
#include <QObject>
#include <QSet>

class SlaveSeat : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    void step(); // hands the next committed row over; it waits then, fails with the master's words, or is tried again
    void poll(); // every row that was handed over, one question at a time each

    static SceneState::Act approval(int masterState); // what the master's state means here; None: no change

private:
    void answered(qlonglong rkey, const QJsonObject &data);
    QSet<qlonglong> m_polled, m_handing; // questions that are out, by rkey
};
