#include "frames/LogFile.h"
#include <algorithm>
#include <cstring>
#include <QStringList>
#include <QTextCodec>

namespace
{
constexpr qint64 Block = 1 << 20;
constexpr qint64 GuessBytes = 64 * 1024;
constexpr int MarkBytes = 1024; // of front and end, which tell a file from another that took its place

bool validUtf8(const QByteArray &bytes)
{
    QTextCodec::ConverterState state;
    QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0; // a character that is cut at the end isn't counted
}

// Pictures for what would tear a line apart on screen.
QString shown(QString text)
{
    for (QChar &c : text) {
        if (c == QLatin1Char('\t'))
            continue;
        if (c.unicode() < 0x20)
            c = QChar(0x2400 + c.unicode());
        else if (c.unicode() == 0x7f)
            c = QChar(0x2421);
        else if ((c.unicode() >= 0x202a && c.unicode() <= 0x202e) || (c.unicode() >= 0x2066 && c.unicode() <= 0x2069))
            c = QChar(0xfffd); // it would turn the direction of what follows
    }
    return text;
}
} // namespace

LogFile::LogFile(const QString &path) : m_path(path) { begin(); }

void LogFile::begin()
{
    m_starts.assign(1, 0);
    m_lines = m_at = m_lineStart = m_longest = 0;
    m_known = false;
    m_head.clear();
    m_tail.clear();
}

bool LogFile::same(QFile *file) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const QByteArray head = m_head, tail = m_tail;
    const qint64 at = m_at - tail.size();
    lock.unlock(); // the disk may be slow
    const bool front = file->seek(0) && file->read(head.size()) == head;
    return front && file->seek(at) && file->read(tail.size()) == tail;
}

void LogFile::note(const QByteArray &block)
{
    if (m_head.size() < MarkBytes)
        m_head += block.left(MarkBytes - m_head.size());
    m_tail = block.size() < MarkBytes ? (m_tail + block).right(MarkBytes) : block.right(MarkBytes);
}

LogFile::Coding LogFile::guess(const QByteArray &start)
{
    if (start.startsWith("\xff\xfe"))
        return Coding::Utf16le;
    if (start.startsWith("\xfe\xff"))
        return Coding::Utf16be;
    if (validUtf8(start))
        return Coding::Utf8;
    QTextCodec::ConverterState state;
    QTextCodec::codecForName("GB18030")->toUnicode(start.constData(), start.size(), &state);
    return state.invalidChars == 0 ? Coding::Gb18030 : Coding::Latin1;
}

qint64 LogFile::nextEnd(const QByteArray &block, qint64 from) const
{
    if (unit() == 1) {
        const void *end = std::memchr(block.constData() + from, '\n', size_t(block.size() - from));
        return end ? static_cast<const char *>(end) - block.constData() + 1 : -1;
    }
    const bool little = m_coding == Coding::Utf16le;
    for (qint64 i = from; i + 1 < block.size(); i += 2)
        if (block.at(int(i) + (little ? 0 : 1)) == '\n' && block.at(int(i) + (little ? 1 : 0)) == 0)
            return i + 2;
    return -1;
}

bool LogFile::scan(qint64 most)
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    const qint64 size = file.size();
    const bool stands = size >= indexed() && same(&file);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!stands) {
            begin();
            m_shrunk = true;
        }
        if (!m_known && size > 0 && file.seek(0)) {
            const QByteArray start = file.read(GuessBytes);
            if (!m_chosen)
                m_coding = guess(start);
            m_known = start.size() >= GuessBytes; // a short one may yet tell more
        }
    }
    for (qint64 done = 0; done < most;) {
        qint64 at = 0;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            at = m_at;
        }
        if (!file.seek(at))
            return false;
        QByteArray block = file.read(std::min(Block, most - done));
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (at != m_at) // begun anew meanwhile
            return true;
        block.truncate(block.size() - block.size() % unit());
        if (block.isEmpty())
            return false;
        for (qint64 from = 0, end = 0; (end = nextEnd(block, from)) >= 0; from = end) {
            m_longest = std::max(m_longest, m_at + end - m_lineStart);
            m_lineStart = m_at + end;
            if (++m_lines % StrideLines == 0)
                m_starts.push_back(m_lineStart);
        }
        m_at += block.size();
        note(block);
        done += block.size();
    }
    return true;
}

void LogFile::restart()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    begin();
    m_shrunk = true;
}

bool LogFile::shrunk()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_shrunk, false);
}

qint64 LogFile::lines() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines + (m_at > m_lineStart ? 1 : 0);
}

qint64 LogFile::indexed() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_at;
}

qint64 LogFile::longest() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::max(m_longest, m_at - m_lineStart);
}

LogFile::Coding LogFile::coding() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_coding;
}

void LogFile::setCoding(Coding coding)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const int before = unit();
    m_coding = coding;
    m_chosen = true;
    if (unit() != before)
        begin(); // its lines end elsewhere
}

LogFile::Place LogFile::placeOf(qint64 line) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const qint64 index = std::min<qint64>(line / StrideLines, qint64(m_starts.size()) - 1);
    return {index * StrideLines, m_starts[size_t(index)]};
}

QString LogFile::decode(const QByteArray &bytes) const
{
    QByteArray text = bytes;
    switch (m_coding) {
    case Coding::Utf16le:
    case Coding::Utf16be: {
        const char *name = m_coding == Coding::Utf16le ? "UTF-16LE" : "UTF-16BE";
        QString out = QTextCodec::codecForName(name)->toUnicode(text);
        out.remove(QChar(QChar::ByteOrderMark));
        while (out.endsWith(QLatin1Char('\n')) || out.endsWith(QLatin1Char('\r')))
            out.chop(1);
        return out;
    }
    case Coding::Gb18030:
    case Coding::Latin1:
    case Coding::Utf8:
        break;
    }
    while (text.endsWith('\n') || text.endsWith('\r'))
        text.chop(1);
    if (text.startsWith("\xef\xbb\xbf"))
        text.remove(0, 3);
    // Zero bytes must not end the text.
    if (m_coding == Coding::Utf8)
        return QString::fromUtf8(text.constData(), text.size());
    return QTextCodec::codecForName(m_coding == Coding::Gb18030 ? "GB18030" : "windows-1252")->toUnicode(text);
}

// take(number, bytes, whole length of the line) for count lines from first; false ends the walk. Of a long line only
// the front is kept in memory.
template <class Take> void LogFile::walk(qint64 first, qint64 count, qint64 mostOfLine, Take take) const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return;
    const Place place = placeOf(first);
    const qint64 limit = indexed();
    qint64 number = place.line, at = place.offset;
    QByteArray line;
    qint64 length = 0;
    file.seek(at);
    const qint64 piece = count > StrideLines ? Block : 64 * 1024;
    while (at < limit && number < first + count) {
        const QByteArray block = file.read(std::min(piece, limit - at));
        if (block.isEmpty())
            break;
        at += block.size();
        for (qint64 from = 0; from < block.size();) {
            const qint64 end = nextEnd(block, from);
            const qint64 part = (end < 0 ? block.size() : end) - from;
            if (number >= first && line.size() < mostOfLine)
                line.append(block.constData() + from, int(std::min(part, mostOfLine - line.size())));
            length += part;
            from += part;
            if (end < 0)
                break;
            if (number >= first && !take(number, line, length))
                return;
            line.clear();
            length = 0;
            if (++number >= first + count)
                return;
        }
    }
    if (length > 0 && number >= first && number < first + count)
        take(number, line, length);
}

QStringList LogFile::lines(qint64 first, int count) const
{
    QStringList out;
    walk(first, count, qint64(MostChars) * 4, [&](qint64, const QByteArray &bytes, qint64 length) {
        QString text = decode(bytes);
        if (text.size() > MostChars || length > bytes.size())
            text = text.left(MostChars) + QStringLiteral(" … (%L1 B)").arg(length);
        out << shown(text);
        return true;
    });
    return out;
}

QString LogFile::line(qint64 number) const { return lines(number, 1).value(0); }

QByteArray LogFile::bytes(qint64 first, qint64 last, qint64 most) const
{
    QByteArray out;
    walk(first, last - first + 1, most, [&](qint64, const QByteArray &bytes, qint64) {
        out += bytes.left(int(std::max<qint64>(0, most - out.size())));
        return out.size() < most;
    });
    return out;
}

qint64 LogFile::find(const QRegularExpression &what, qint64 from, bool forward, const std::atomic_bool &stop) const
{
    constexpr qint64 Searched = 256 * 1024; // of one line
    const qint64 all = lines();
    if (forward) {
        qint64 found = -1;
        walk(std::max<qint64>(0, from), all, Searched, [&](qint64 number, const QByteArray &bytes, qint64) {
            if (what.match(decode(bytes)).hasMatch())
                found = number;
            return found < 0 && !stop;
        });
        return found;
    }
    // Backwards in strides, each read forwards.
    constexpr qint64 Step = 16 * StrideLines;
    for (qint64 end = std::min(from + 1, all); end > 0 && !stop;) {
        const qint64 begin = std::max<qint64>(0, (end - 1) / Step * Step);
        qint64 found = -1;
        walk(begin, end - begin, Searched, [&](qint64 number, const QByteArray &bytes, qint64) {
            if (what.match(decode(bytes)).hasMatch())
                found = number;
            return !stop;
        });
        if (found >= 0)
            return found;
        end = begin;
    }
    return -1;
}
