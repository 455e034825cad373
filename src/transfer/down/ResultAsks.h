#pragma once
// Which result lists (10805) are being asked for, and when to ask again: a request has no time-out of its own, and its
// reply may be lost with the link. One thread; times in ms of any clock that only goes forward.
#include <QJsonObject>
#include <QList>
#include <QMap>

class ResultAsks
{
public:
    struct Ask {
        bool user = false; // missionResult was called for it
        bool autoRes = false, isBatch = false;
        QList<QJsonObject> pushes; // that wait for the list
        int tries = 0;
        qint64 next = 0; // when it is asked (again)
    };
    static constexpr int AgainMs = 10000, SlowestMs = 300000;
    static constexpr int UserTries = 3; // then the user is told; a push is asked for as long as the session lasts

    void addUser(int mid, bool autoRes, bool isBatch, qint64 now);
    void addPush(int mid, const QJsonObject &push, qint64 now);
    // The ones to send now; each counts a try and moves on.
    QList<int> due(qint64 now);
    // Those of the user that got no answer; they are forgotten.
    QList<int> expired(qint64 now);
    bool waits(int mid) const { return m_asks.contains(mid); }
    Ask take(int mid) { return m_asks.take(mid); }
    void refused(int mid); // an answer without a list: the user's ask ends, a push is asked for again later
    bool isEmpty() const { return m_asks.isEmpty(); }

private:
    QMap<int, Ask> m_asks;
};
