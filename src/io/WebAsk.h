#pragma once
// One bounded question to a REST service; the ends are those of Ask, on the asking thread, exactly one, once:
//
//   answered(rep)   a status from 200 to 299; the body is parsed as far as it is JSON
//   refused(rep)    the service answered with another status; rep.error tells which
//   lost(error)     no answer: the network failed, or the deadline passed and the request was aborted
//
// When the guard has died by then nothing is called. Without a deadline given it is DefaultMs. What isn't a GET goes
// out once: lost is told of it even where it was carried out. Any thread.
#include "io/NetWork.h"

class WebAsk
{
public:
    using Answer = std::function<void(const FuncBody &rep)>;
    using Lost = std::function<void(const QString &error)>;
    static constexpr int DefaultMs = 15000;

    static WebAsk get(const QString &url);
    static WebAsk get(const Request &request) { return WebAsk(NetWork::Get, request); }
    static WebAsk post(const Request &request) { return WebAsk(NetWork::Post, request); }
    static WebAsk put(const Request &request) { return WebAsk(NetWork::Put, request); }
    static WebAsk del(const Request &request) { return WebAsk(NetWork::Delete, request); }

    WebAsk &within(int ms);
    WebAsk &answered(Answer end);
    WebAsk &refused(Answer end);
    WebAsk &lost(Lost end);
    WebAsk &failed(const std::function<void()> &end); // refused and lost alike
    void send(QObject *guard);
    void wait(); // sends, and returns after the end was called: for a start, before there is anything else to do

private:
    WebAsk(NetWork::Verb verb, const Request &request) : m_verb(verb), m_request(request) {}
    NetWork::Verb m_verb;
    Request m_request;
    int m_ms = DefaultMs;
    Answer m_answered, m_refused;
    Lost m_lost;
};
