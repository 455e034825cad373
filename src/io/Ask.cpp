#include "io/Ask.h"
#include "common/facts/Command.h"
#include "io/NetTcp.h"

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

Ask &Ask::bytes(std::function<void(const QByteArray &)> take)
{
    m_bytes = std::move(take);
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
            if (const Answer &end = Command::good(cmd, val) ? good : bad)
                end(val, doc);
        };
        waiting.lost = m_lost;
        waiting.bytes = m_bytes;
        waiting.guard = guard;
        waiting.deadline.setRemainingTime(m_ms);
    }
    waiting.way = Delivery::here();
    waiting.whenLinked = m_whenLinked;
    if (NetTcp *tcp = NetTcp::instance())
        tcp->post(Command::module(m_cmd), m_cmd, m_body, std::move(waiting));
    else
        waiting.end(NoLink);
}
