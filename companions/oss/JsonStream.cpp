#include "JsonStream.h"

JsonStream::Result JsonStream::next(QByteArray *object)
{
    if (m_depth == 0) {
        int first = 0;
        while (first < m_buffer.size() && QByteArray(" \t\r\n").contains(m_buffer.at(first)))
            ++first;
        m_buffer.remove(0, first);
        m_at = 0;
        if (m_buffer.isEmpty())
            return Incomplete;
        if (m_buffer.at(0) != '{')
            return Bad;
    }
    for (; m_at < m_buffer.size(); ++m_at) {
        if (m_at >= Ceiling)
            return Bad;
        const char c = m_buffer.at(m_at);
        if (m_escape) {
            m_escape = false;
        } else if (m_text) {
            m_escape = c == '\\';
            m_text = c != '"';
        } else if (c == '"') {
            m_text = true;
        } else if (c == '{' || c == '[') {
            ++m_depth;
        } else if ((c == '}' || c == ']') && --m_depth == 0) {
            *object = m_buffer.left(m_at + 1);
            m_buffer.remove(0, m_at + 1);
            m_at = 0;
            return Complete;
        }
    }
    return Incomplete;
}
