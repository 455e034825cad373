#include "io/WebAsk.h"
#include <QEventLoop>

WebAsk WebAsk::get(const QString &url)
{
    Request request;
    request.url = url;
    return get(request);
}

WebAsk &WebAsk::within(int ms)
{
    m_ms = ms;
    return *this;
}

WebAsk &WebAsk::answered(Answer end)
{
    m_answered = std::move(end);
    return *this;
}

WebAsk &WebAsk::refused(Answer end)
{
    m_refused = std::move(end);
    return *this;
}

WebAsk &WebAsk::lost(Lost end)
{
    m_lost = std::move(end);
    return *this;
}

WebAsk &WebAsk::failed(const std::function<void()> &end)
{
    return refused([end](const FuncBody &) { end(); }).lost([end](const QString &) { end(); });
}

void WebAsk::send(QObject *guard)
{
    const FuncBack back = [answered = m_answered, refused = m_refused, lost = m_lost](const Request &,
                                                                                      const FuncBody &rep) {
        if (rep.ok()) {
            if (answered)
                answered(rep);
        } else if (rep.httpStatus != 0 && !rep.brokenOff) {
            if (refused)
                refused(rep);
        } else if (lost) {
            lost(rep.error);
        }
    };
    if (NetWork *net = NetWork::instance())
        return net->ask(m_verb, m_request, back, nullptr, guard, qMax(1, m_ms));
    FuncBody none;
    none.error = QStringLiteral("NetworkError:");
    Delivery::here().post(guard, [back, none] { back({}, none); });
}

void WebAsk::wait()
{
    QEventLoop loop;
    const auto last = [&loop](const auto &end) {
        return [&loop, end](const auto &what) {
            if (end)
                end(what);
            loop.quit();
        };
    };
    m_answered = last(m_answered);
    m_refused = last(m_refused);
    m_lost = last(m_lost);
    send(&loop);
    loop.exec();
}
