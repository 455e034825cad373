#pragma once
// One HTTP request put together from the bytes that arrive, as a value: fed with what a read gave, it answers whether
// the request is complete. No socket, no thread.
//
//   head:  lines ended by CR LF up to the first empty one, MaxHead bytes at most; the first is "METHOD target VERSION"
//   body:  as many bytes as Content-Length says (absent: none), MaxBody at most; what follows is ignored
//
// Bad, for good: a head or a body over its ceiling, a first line of less than two words, a Content-Length that isn't a
// plain decimal number or stands there twice with different values, a body in chunks.
#include <QByteArray>
#include <QList>
#include <QPair>

class HttpRequest
{
public:
    static constexpr int MaxHead = 8 * 1024;
    static constexpr int MaxBody = 64 * 1024 * 1024;
    enum State { Incomplete, Complete, Bad };

    State feed(const QByteArray &data);
    State state() const { return m_state; }
    const char *why() const { return m_why; } // of Bad, for the log

    bool headRead() const { return m_headRead; }
    QByteArray method() const { return m_method; }   // as sent
    QByteArray target() const { return m_target; }   // path and query, not decoded
    QByteArray header(const QByteArray &name) const; // without regard to case; the first one
    bool hasHeader(const QByteArray &name) const;
    QByteArray body() const { return m_body; }

private:
    State bad(const char *why);
    State readHead(const QByteArray &head);
    bool readLength();

    State m_state = Incomplete;
    const char *m_why = "";
    bool m_headRead = false;
    QByteArray m_data; // of the head, until that is whole
    QByteArray m_method, m_target, m_body;
    QList<QPair<QByteArray, QByteArray>> m_headers; // names in lower case
    int m_length = 0;
};
