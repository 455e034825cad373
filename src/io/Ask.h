#pragma once
// One bounded question to the business server. It ends exactly once, on the asking thread (which needs an event loop):
//
//   answered(val, doc)  the server did what was asked: val is one of the command's good results
//   refused(val, doc)   it answered with another result
//   lost(why)           no answer: no link, the link broke before one came, or the deadline passed
//
//   Ask(10417, {{"missionId", 7}}).within(10000).answered([=](int, QJsonDocument) { ... }).lost([=](Ask::Loss) { ...
//   }).send(this);
//
// When the guard has died by then nothing is called. An end without a function is let go. Without a deadline given it
// is DefaultMs. A question is never sent twice: what was lost after it went out may have been done. Any thread.
//
// Without a login (10308 and 10309: without a link) a question is lost at once with NoLink; with whenLinked() it waits
// for the login as long as its deadline lasts.
#include <functional>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaType>

class QObject;

class Ask
{
public:
    enum Loss { NoLink, LinkLost, TimeOut };
    using Answer = std::function<void(int val, QJsonDocument doc)>;
    using Lost = std::function<void(Loss why)>;
    static constexpr int DefaultMs = 15000;

    explicit Ask(int cmd, const QJsonObject &body = {});
    Ask(int cmd, const QByteArray &body); // JSON text as it is

    Ask &within(int ms);
    Ask &whenLinked();
    Ask &answered(Answer end);
    Ask &refused(Answer end);
    Ask &any(const Answer &end); // answered and refused alike
    Ask &lost(Lost end);
    // The reply's body as it came (a picture), called before the end that an answer has.
    Ask &bytes(std::function<void(const QByteArray &body)> take);
    Ask &failed(const std::function<void()> &end); // refused and lost alike
    void send(QObject *guard);
    void send(); // nobody waits for the answer

private:
    friend class NetTcp;
    void post(QObject *guard, bool waits);
    int m_cmd, m_ms = DefaultMs;
    bool m_whenLinked = false;
    QByteArray m_body;
    Answer m_answered, m_refused;
    Lost m_lost;
    std::function<void(const QByteArray &)> m_bytes;
};
