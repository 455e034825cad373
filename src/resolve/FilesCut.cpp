#include "resolve/FilesCut.h"
#include <algorithm>
#include <cstring>
#include <QJsonArray>
#include <QJsonDocument>

namespace
{
class Scan
{
public:
    explicit Scan(const QByteArray &json) : m_at(json.constData()), m_end(m_at + json.size()) {}

    const char *at() const { return m_at; }
    char here() const { return m_at < m_end ? *m_at : '\0'; }
    bool take(char c)
    {
        blanks();
        if (here() != c)
            return false;
        ++m_at;
        return true;
    }
    void blanks()
    {
        while (m_at < m_end && (*m_at == ' ' || *m_at == '\n' || *m_at == '\r' || *m_at == '\t'))
            ++m_at;
    }
    // A string with its quotes; false where it isn't one that every reader takes.
    bool string()
    {
        blanks();
        if (here() != '"')
            return false;
        ++m_at;
        const char *close = find('"');
        if (!close)
            return false;
        if (const void *escaped = std::memchr(m_at, '\\', std::size_t(close - m_at))) {
            m_at = static_cast<const char *>(escaped);
            close = behindEscapes();
        }
        m_at = close ? close + 1 : m_end;
        return close != nullptr;
    }
    // Any value, by its brackets: whether it is sound is the parser's business.
    bool value()
    {
        int depth = 0;
        do {
            blanks();
            const char c = here();
            if (c == '"') {
                if (!string())
                    return false;
            } else if (c == '{' || c == '[') {
                ++depth;
                ++m_at;
            } else if (c == '}' || c == ']') {
                --depth;
                ++m_at;
            } else if (m_at == m_end) {
                return false;
            } else {
                ++m_at;
            }
        } while (depth > 0 || (m_at < m_end && !std::strchr(",]} \r\n\t", *m_at)));
        return depth == 0;
    }

private:
    const char *find(char c) const
    {
        return static_cast<const char *>(std::memchr(m_at, c, std::size_t(m_end - m_at)));
    }
    const char *behindEscapes()
    {
        for (; m_at < m_end && *m_at != '"'; ++m_at) {
            if (*m_at == '\\' && !escape())
                return nullptr;
        }
        return m_at < m_end ? m_at : nullptr;
    }
    bool escape()
    {
        if (++m_at == m_end || !std::strchr("\"\\/bfnrtu", *m_at))
            return false;
        const bool code = *m_at == 'u';
        for (int i = 0; code && i < 4; ++i) {
            if (++m_at == m_end || !std::strchr("0123456789abcdefABCDEF", *m_at))
                return false;
        }
        return true;
    }
    const char *m_at, *m_end;
};

// Goes through an object up to the value of a key, which lies next then; passes over what stands before it.
bool enter(Scan *scan, const char *key)
{
    if (!scan->take('{'))
        return false;
    do {
        scan->blanks();
        const char *name = scan->at() + 1;
        if (!scan->string())
            return false;
        const bool wanted =
            scan->at() - name - 1 == qptrdiff(std::strlen(key)) && std::memcmp(name, key, std::strlen(key)) == 0;
        if (!scan->take(':'))
            return false;
        if (wanted)
            return true;
        if (!scan->value())
            return false;
    } while (scan->take(','));
    return false;
}

QByteArray quoted(const QString &path)
{
    const QByteArray text = QJsonDocument(QJsonArray{path}).toJson(QJsonDocument::Compact);
    return text.mid(1, text.size() - 2);
}

// One text, however it is escaped.
bool same(const QByteArray &a, const QByteArray &b)
{
    return a == b || QJsonDocument::fromJson('[' + a + ']') == QJsonDocument::fromJson('[' + b + ']');
}

// False where the bytes aren't UTF-8. No text of its own for what is plain ASCII, as most paths are.
bool append(QString *text, const char *from, int length)
{
    if (std::all_of(from, from + length, [](char c) { return static_cast<signed char>(c) >= 0; })) {
        text->append(QLatin1String(from, length));
        return true;
    }
    const QString decoded = QString::fromUtf8(from, length);
    text->append(decoded);
    return !decoded.contains(QChar::ReplacementCharacter);
}
} // namespace

FilesCut FilesCut::from(const QByteArray &json, const QString &lead, const QString &first)
{
    FilesCut cut;
    Scan scan(json);
    if (!enter(&scan, "content") || !enter(&scan, "files") || !scan.take('['))
        return cut;
    const char *open = scan.at();
    const QByteArray leading = first.isEmpty() ? QByteArray() : quoted(first);
    cut.list.reserve(json.size() + lead.size() + leading.size() + 2);
    cut.list += lead;
    bool any = !leading.isEmpty(), good = append(&cut.list, leading.constData(), leading.size());
    if (!scan.take(']')) {
        bool atStart = true;
        do {
            scan.blanks();
            const char *from = scan.at();
            if (!scan.string())
                return cut;
            const int length = int(scan.at() - from);
            if (!(atStart && !leading.isEmpty() && same(QByteArray(from, length), leading))) {
                if (any)
                    cut.list.append(QLatin1Char(','));
                any = true;
                good = append(&cut.list, from, length) && good;
            }
            atStart = false;
        } while (scan.take(','));
        if (!scan.take(']'))
            return cut;
    }
    cut.rest = json.left(int(open - json.constData())) + ']' +
               QByteArray(scan.at(), int(json.constData() + json.size() - scan.at()));
    cut.good = good;
    return cut;
}
