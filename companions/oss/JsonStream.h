#pragma once
// Takes JSON objects out of a byte stream that has no framing: objects may come split or joined. A value class without
// a socket. Bytes are only looked at for braces and strings, the parser judges what is in between.
#include <QByteArray>

class JsonStream
{
public:
    static constexpr int Ceiling = 1024 * 1024; // bytes of one object
    enum Result { Incomplete, Complete, Bad };  // Bad: not an object, or over the ceiling; the stream is then useless
    void feed(const QByteArray &bytes) { m_buffer += bytes; }
    Result next(QByteArray *object); // the text of the next whole object; white space between objects is passed over

private:
    QByteArray m_buffer;
    int m_at = 0, m_depth = 0; // how far the buffer was looked at, and the state there
    bool m_text = false, m_escape = false;
};
