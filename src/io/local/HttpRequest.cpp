#include "io/local/HttpRequest.h"
#include <algorithm>

HttpRequest::State HttpRequest::feed(const QByteArray &data)
{
    if (m_state != Incomplete)
        return m_state;
    if (m_headRead) {
        m_body += data.left(m_length - m_body.size());
    } else {
        const int before = m_data.size(); // bytes of the head that came with earlier reads
        m_data += data.left(MaxHead + 4 - before);
        const int end = m_data.indexOf("\r\n\r\n", qMax(0, before - 3));
        if (end < 0)
            return m_data.size() < MaxHead + 4 ? m_state : bad("head too long");
        if (readHead(m_data.left(end)) == Bad)
            return m_state;
        m_headRead = true;
        m_data.clear();
        m_body = data.mid(end + 4 - before, m_length);
    }
    if (m_body.size() == m_length)
        m_state = Complete;
    return m_state;
}

HttpRequest::State HttpRequest::bad(const char *why)
{
    m_why = why;
    m_data.clear();
    m_body.clear();
    return m_state = Bad;
}

HttpRequest::State HttpRequest::readHead(const QByteArray &head)
{
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.constFirst().simplified().split(' ');
    if (words.size() < 2)
        return bad("no request line");
    m_method = words[0];
    m_target = words[1];
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines[i].indexOf(':');
        if (colon > 0)
            m_headers.append({lines[i].left(colon).trimmed().toLower(), lines[i].mid(colon + 1).trimmed()});
    }
    if (hasHeader("transfer-encoding"))
        return bad("transfer coding");
    return readLength() ? m_state : m_state = Bad;
}

bool HttpRequest::readLength()
{
    QByteArray length;
    for (const auto &one : qAsConst(m_headers)) {
        if (one.first != "content-length")
            continue;
        const bool digits = !one.second.isEmpty() && std::all_of(one.second.cbegin(), one.second.cend(),
                                                                 [](char c) { return c >= '0' && c <= '9'; });
        if (!digits || (!length.isEmpty() && length != one.second)) {
            bad("content length");
            return false;
        }
        length = one.second;
    }
    bool ok = true;
    const qulonglong bytes = length.isEmpty() ? 0 : length.toULongLong(&ok);
    if (!ok || bytes > qulonglong(MaxBody)) {
        bad("body too long");
        return false;
    }
    m_length = int(bytes);
    return true;
}

QByteArray HttpRequest::header(const QByteArray &name) const
{
    const QByteArray wanted = name.toLower();
    for (const auto &one : m_headers)
        if (one.first == wanted)
            return one.second;
    return {};
}

bool HttpRequest::hasHeader(const QByteArray &name) const
{
    const QByteArray wanted = name.toLower();
    return std::any_of(m_headers.cbegin(), m_headers.cend(),
                       [&wanted](const auto &one) { return one.first == wanted; });
}
