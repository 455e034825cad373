#include "io/Ask.h"
#include "io/NetTcp.h"

namespace
{
// Success is the command's number with 00 behind it; some have a second one.
bool isGood(int cmd, int val)
{
    switch (val) {
    case 1010100:
        return cmd == 10401;
    case 1040608:
        return cmd == 10406;
    case 1042601:
    case 1042606:
        return cmd == 10426;
    default:
        return val == cmd * 100;
    }
}
} // namespace

Ask::Ask(int cmd, const QJsonObject &body) : Ask(cmd, QJsonDocument(body).toJson(QJsonDocument::Compact)) {}

Ask::Ask(int cmd, const QByteArray &body) : m_cmd(cmd), m_body(body) {}

Ask &Ask::within(int ms)
{
    m_ms = ms;
    return *this;
}

Ask &Ask::whenLinked()
{
    m_whenLinked = true;
    return *this;
}

Ask &Ask::answered(Answer end)
{
    m_answered = std::move(end);
    return *this;
}

Ask &Ask::refused(Answer end)
{
    m_refused = std::move(end);
    return *this;
}

Ask &Ask::any(const Answer &end) { return answered(end).refused(end); }

Ask &Ask::lost(Lost end)
{
    m_lost = std::move(end);
    return *this;
}

Ask &Ask::failed(const std::function<void()> &end)
{
    return refused([end](int, const QJsonDocument &) { end(); }).lost([end](Loss) { end(); });
}

void Ask::send(QObject *guard) { post(guard, true); }

void Ask::send() { post(nullptr, false); }

void Ask::post(QObject *guard, bool waits)
{
    NetTcp::Waiting waiting;
    if (waits) {
        waiting.func = [cmd = m_cmd, good = m_answered, bad = m_refused](int val, const QJsonDocument &doc) {
            if (const Answer &end = isGood(cmd, val) ? good : bad)
                end(val, doc);
        };
        waiting.lost = m_lost;
        waiting.guard = guard;
        waiting.deadline.setRemainingTime(m_ms);
    }
    waiting.way = Delivery::here();
    waiting.whenLinked = m_whenLinked;
    if (NetTcp *tcp = NetTcp::instance())
        tcp->post(m_cmd / 100, m_cmd, m_body, std::move(waiting));
    else
        waiting.end(NoLink);
}
