#include "resolve/FilesCut.h"
#include <algorithm>
#include <cstring>
#ifdef __SSE2__
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/reader.h>

namespace
{
constexpr int MaxDepth = 1000;
using Json = rapidjson::StringStream;

// JSON text of a path, behind what is there; false where its bytes aren't UTF-8.
bool append(QString *list, const char *text, int length)
{
    const auto plain = [](char c) { return c >= 0x20 && c != '"' && c != '\\' && c != 0x7f; };
    list->append(QLatin1Char('"'));
    if (std::all_of(text, text + length, plain)) { // as most are; signed: what isn't ASCII is below
        list->append(QLatin1String(text, length));
        list->append(QLatin1Char('"'));
        return true;
    }
    const QString decoded = QString::fromUtf8(text, length);
    for (const QChar c : decoded) {
        if (c == QLatin1Char('"') || c == QLatin1Char('\\'))
            list->append(QLatin1Char('\\'));
        if (c.unicode() >= 0x20)
            list->append(c);
        else
            list->append(QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0')));
    }
    list->append(QLatin1Char('"'));
    return !decoded.contains(QChar::ReplacementCharacter);
}

// Hears the result up to the end of its list of files, and ends the reading there.
class Ear : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Ear>
{
public:
    bool found = false, good = true;
    std::size_t open = 0, close = 0; // of the list's brackets

    Ear(const Json &json, QString *list, const QByteArray &first) : m_json(json), m_list(list), m_first(first) {}

    bool Default() { return !m_inList; } // anything but a plain string in the list is the ordinary parser's business
    bool Key(const char *text, rapidjson::SizeType length, bool)
    {
        const auto is = [text, length](const char *key) {
            return length == std::strlen(key) && std::memcmp(text, key, length) == 0;
        };
        m_next = (m_depth == 1 && is("content")) || (m_depth == 2 && m_inContent && is("files"));
        return true;
    }
    bool String(const char *text, rapidjson::SizeType length, bool)
    {
        if (!m_inList)
            return true;
        const bool again = m_atStart && !m_first.isEmpty() && m_first.size() == int(length) &&
                           std::memcmp(text, m_first.constData(), length) == 0;
        m_atStart = false;
        if (again)
            return true;
        if (m_any)
            m_list->append(QLatin1Char(','));
        return add(text, int(length));
    }
    bool StartObject()
    {
        if (m_depth == 1)
            m_inContent = m_next;
        return enter();
    }
    bool StartArray()
    {
        m_inList = m_depth == 2 && m_inContent && m_next;
        if (m_inList) {
            open = m_json.Tell();
            if (!m_first.isEmpty() && !add(m_first.constData(), m_first.size()))
                return false;
            ++m_depth;
            return true;
        }
        return enter();
    }
    bool EndObject(rapidjson::SizeType) { return leave(); }
    bool EndArray(rapidjson::SizeType)
    {
        found = m_inList;
        close = m_json.Tell();
        return !found && leave();
    }

private:
    bool add(const char *text, int length)
    {
        m_any = true;
        good = append(m_list, text, length);
        return good;
    }
    bool enter()
    {
        m_next = false;
        return !m_inList && ++m_depth < MaxDepth;
    }
    bool leave()
    {
        --m_depth;
        m_inContent = m_inContent && m_depth >= 2;
        return true;
    }

    const Json &m_json;
    QString *m_list;
    QByteArray m_first;
    int m_depth = 0;
    bool m_next = false, m_inContent = false, m_inList = false, m_atStart = true, m_any = false;
};
} // namespace

FilesCut FilesCut::from(const QByteArray &json, const QString &lead, const QString &first)
{
    FilesCut cut;
    cut.list.reserve(json.size() + lead.size() + first.size() + 4);
    cut.list += lead;
    Json stream(json.constData());
    Ear ear(stream, &cut.list, first.toUtf8());
    rapidjson::Reader reader;
    reader.Parse<rapidjson::kParseIterativeFlag>(stream, ear); // without recursion: the depth isn't ours
    if (!ear.found || !ear.good)
        return cut;
    cut.rest = json.left(int(ear.open) + 1) + json.mid(int(ear.close));
    cut.good = true;
    return cut;
}
