#include "transfer/down/ResultAsks.h"

void ResultAsks::addUser(int mid, bool autoRes, bool isBatch, qint64 now)
{
    Ask &ask = m_asks[mid];
    // The user who asks in person is answered in person, whatever a program asked before.
    ask.autoRes = autoRes && (!ask.user || ask.autoRes);
    ask.isBatch = isBatch && (!ask.user || ask.isBatch);
    ask.user = true;
    ask.tries = 0;
    ask.next = now;
}

void ResultAsks::addPush(int mid, const QJsonObject &push, qint64 now)
{
    const bool fresh = !m_asks.contains(mid);
    Ask &ask = m_asks[mid];
    if (!ask.pushes.contains(push))
        ask.pushes.append(push);
    if (fresh)
        ask.next = now;
}

QList<int> ResultAsks::due(qint64 now)
{
    QList<int> list;
    for (auto it = m_asks.begin(); it != m_asks.end(); ++it) {
        if (it->next > now || (it->pushes.isEmpty() && it->tries >= UserTries))
            continue;
        list.append(it.key());
        const int slow = qMin(qMax(0, it->tries - UserTries + 1), 5);
        ++it->tries;
        it->next = now + qMin(AgainMs << slow, SlowestMs);
    }
    return list;
}

QList<int> ResultAsks::expired(qint64 now)
{
    QList<int> list;
    for (auto it = m_asks.begin(); it != m_asks.end();) {
        if (it->user && it->tries >= UserTries && it->next <= now) {
            list.append(it.key());
            it->user = false;
        }
        if (!it->user && it->pushes.isEmpty())
            it = m_asks.erase(it);
        else
            ++it;
    }
    return list;
}

void ResultAsks::refused(int mid)
{
    const auto it = m_asks.find(mid);
    if (it == m_asks.end())
        return;
    it->user = false;
    if (it->pushes.isEmpty())
        m_asks.erase(it);
}
