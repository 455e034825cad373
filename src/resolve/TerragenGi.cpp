#include "resolve/TerragenGi.h"
#include "common/VFunc.h"
#include "resolve/DiskPath.h"
#include "resolve/TerragenScene.h"
#include <algorithm>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTextCodec>
#include <QVector>
#include <QXmlStreamReader>

namespace
{
struct Attribute {
    QByteArray name;
    int from = 0, length = 0; // the value, without quotes
    char quote = '"';
};

struct Tag {
    QByteArray name;
    QVector<Attribute> attributes;
    int end = 0; // behind the last attribute or the name: where another would go
    bool closing = false, empty = false;

    const Attribute *find(const char *wanted) const
    {
        const auto it = std::find_if(attributes.begin(), attributes.end(),
                                     [wanted](const Attribute &one) { return one.name == wanted; });
        return it == attributes.end() ? nullptr : &*it;
    }
};

struct Edit {
    int from, length;
    QByteArray text;
};

bool blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool nameEnds(char c) { return blank(c) || c == '=' || c == '>' || c == '/'; }

// Reads tags one after another; comments, sections and declarations are passed over.
class Tags
{
public:
    explicit Tags(const QByteArray &text) : m_text(text) {}

    // False at the end, and where the text isn't XML (bad() tells which).
    bool next(Tag *tag)
    {
        while (true) {
            m_at = m_text.indexOf('<', m_at);
            if (m_at < 0)
                return false;
            if (skipped("<!--", "-->") || skipped("<![CDATA[", "]]>") || skipped("<?", "?>") || skipped("<!", ">")) {
                if (m_bad)
                    return false;
                continue;
            }
            m_bad = !read(tag);
            return !m_bad;
        }
    }
    bool bad() const { return m_bad; }

private:
    bool skipped(const char *open, const char *close)
    {
        if (qstrncmp(m_text.constData() + m_at, open, qstrlen(open)) != 0)
            return false;
        const int end = m_text.indexOf(close, m_at + int(qstrlen(open)));
        m_bad = end < 0;
        m_at = end < 0 ? m_text.size() : end + int(qstrlen(close));
        return true;
    }
    char here() const { return m_at < m_text.size() ? m_text.at(m_at) : '\0'; }
    void skipBlanks()
    {
        while (m_at < m_text.size() && blank(m_text.at(m_at)))
            ++m_at;
    }
    QByteArray name()
    {
        const int from = m_at;
        while (m_at < m_text.size() && !nameEnds(m_text.at(m_at)))
            ++m_at;
        return m_text.mid(from, m_at - from);
    }
    bool read(Tag *tag)
    {
        *tag = Tag();
        ++m_at;
        tag->closing = here() == '/';
        m_at += tag->closing ? 1 : 0;
        tag->name = name();
        tag->end = m_at;
        if (tag->name.isEmpty())
            return false;
        while (true) {
            skipBlanks();
            if (here() == '/' && m_at + 1 < m_text.size() && m_text.at(m_at + 1) == '>') {
                tag->empty = true;
                m_at += 2;
                return true;
            }
            if (here() == '>') {
                ++m_at;
                return true;
            }
            Attribute one;
            one.name = name();
            skipBlanks();
            if (one.name.isEmpty() || here() != '=')
                return false;
            ++m_at;
            skipBlanks();
            one.quote = here();
            if (one.quote != '"' && one.quote != '\'')
                return false;
            one.from = m_at + 1;
            const int end = m_text.indexOf(one.quote, one.from);
            if (end < 0)
                return false;
            one.length = end - one.from;
            m_at = tag->end = end + 1;
            tag->attributes.append(one);
        }
    }

    const QByteArray &m_text;
    int m_at = 0;
    bool m_bad = false;
};

// The scene's bytes with the encoding in which values are read and written.
struct Scene {
    const QByteArray &bytes;
    QTextCodec *codec;
    QStringList *problems;

    // A value as the XML reader gives it, entities and character references resolved.
    QString value(const Attribute *one) const
    {
        if (!one)
            return {};
        const QString text = codec->toUnicode(bytes.mid(one->from, one->length));
        QXmlStreamReader xml(QLatin1String("<a v=") + QLatin1Char(one->quote) + text + QLatin1Char(one->quote) +
                             QLatin1String("/>"));
        xml.readNextStartElement();
        return xml.attributes().value(QLatin1String("v")).toString();
    }

    QByteArray escaped(QString text, char quote) const
    {
        if (!codec->canEncode(text))
            problems->append(text);
        text.replace(QLatin1Char('&'), QLatin1String("&amp;")).replace(QLatin1Char('<'), QLatin1String("&lt;"));
        text.replace(QLatin1Char(quote), quote == '"' ? QLatin1String("&quot;") : QLatin1String("&apos;"));
        QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
        return codec->fromUnicode(text.constData(), text.size(), &state);
    }
};

// The blanks before the first attribute stand before a new one too, so that it looks like its neighbours.
QByteArray added(const QByteArray &scene, const Tag &tag, const char *name, const QByteArray &value)
{
    QByteArray lead = " ", equals = "=";
    if (!tag.attributes.isEmpty()) {
        const Attribute &first = tag.attributes.first();
        const int at = scene.lastIndexOf(first.name, first.from);
        int from = at;
        while (from > 0 && blank(scene.at(from - 1)))
            --from;
        lead = scene.mid(from, at - from);
        equals = scene.mid(at + first.name.size(), first.from - 1 - at - first.name.size());
    }
    return lead + name + equals + '"' + value + '"';
}

void set(const Scene &scene, const Tag &tag, const char *name, const QString &value, QList<Edit> *edits)
{
    if (const Attribute *one = tag.find(name)) {
        if (scene.value(one) != value)
            edits->append({one->from, one->length, scene.escaped(value, one->quote)});
    } else {
        edits->append({tag.end, 0, added(scene.bytes, tag, name, scene.escaped(value, '"'))});
    }
}

void choose(const Scene &scene, const Tag &tag, const TerragenGi::Choice &choice, QList<Edit> *edits)
{
    const char *flags[] = {"no_GI_cache_file", "read_from_GI_cache_file", "write_to_GI_cache_file"};
    for (int mode = 0; mode < 3; ++mode)
        set(scene, tag, flags[mode], mode == choice.mode ? QStringLiteral("1") : QStringLiteral("0"), edits);
    const char *const file = "GI_cache_filename_to_read";
    const QString present = DiskPath::slashes(scene.value(tag.find(file)));
    if (choice.mode == 1 && !choice.file.isEmpty() && present != DiskPath::slashes(choice.file))
        set(scene, tag, file, choice.file, edits);
}

// The encodings that a scene may stand in, the likeliest first; none where it is told and unknown.
QList<QTextCodec *> encodings(const QByteArray &scene)
{
    static const QRegularExpression told(QStringLiteral("^<\\?xml[^>]*encoding\\s*=\\s*[\"']([^\"']+)"));
    const QString name = told.match(QString::fromLatin1(scene.left(200))).captured(1);
    QTextCodec *const utf8 = QTextCodec::codecForName("UTF-8");
    QTextCodec::ConverterState state;
    utf8->toUnicode(scene.constData(), scene.size(), &state);
    QList<QTextCodec *> list;
    if (!name.isEmpty())
        list.append(QTextCodec::codecForName(name.toLatin1()));
    else if (state.invalidChars == 0)
        list.append(utf8);
    else
        list = {QTextCodec::codecForLocale(), QTextCodec::codecForName("GB18030"), QTextCodec::codecForName("Big5"),
                QTextCodec::codecForName("Windows-1252")};
    list.removeAll(nullptr);
    return list;
}
} // namespace

QList<TerragenGi::Choice> TerragenGi::choices(const QJsonObject &rdata)
{
    QList<Choice> list;
    const QJsonArray cameras =
        rdata.value(QLatin1String("modelParameters")).toObject().value(QLatin1String("cameras")).toArray();
    for (const QJsonValue &value : cameras) {
        const QJsonObject camera = value.toObject();
        if (camera.value(QLatin1String("selected")).toInt() == 1 && camera.contains(QLatin1String("vrMode")))
            list.append({camera.value(QLatin1String("name")).toString(), camera.value(QLatin1String("vrMode")).toInt(),
                         camera.value(QLatin1String("giFile")).toString()});
    }
    return list;
}

bool TerragenGi::edit(QByteArray *scene, const QList<Choice> &choices, QTextCodec *codec, QStringList *absent)
{
    QList<Edit> edits;
    QStringList problems;
    for (const Choice &one : choices)
        problems.append(one.render);
    const Scene text{*scene, codec ? codec : QTextCodec::codecForName("UTF-8"), &problems};
    Tags tags(*scene);
    Tag tag;
    int depth = 0;
    const Choice *chosen = nullptr;
    while (tags.next(&tag)) {
        if (tag.closing) {
            chosen = --depth <= 1 ? nullptr : chosen;
            continue;
        }
        if (depth == 1 && tag.name == "render") {
            const QString name = text.value(tag.find("name"));
            const auto it =
                std::find_if(choices.begin(), choices.end(), [&name](const Choice &one) { return one.render == name; });
            chosen = it == choices.end() || tag.empty ? nullptr : &*it;
            if (it != choices.end())
                problems.removeAll(name);
        } else if (depth == 2 && chosen && tag.name == "render_GI_settings") {
            choose(text, tag, *chosen, &edits);
        }
        depth += tag.empty ? 0 : 1;
    }
    if (tags.bad() || depth != 0)
        return false;
    std::stable_sort(edits.begin(), edits.end(), [](const Edit &a, const Edit &b) { return a.from < b.from; });
    for (auto it = edits.crbegin(); it != edits.crend(); ++it) // from the end: what stands before keeps its place
        scene->replace(it->from, it->length, it->text);
    if (absent)
        *absent = problems;
    return true;
}

bool TerragenGi::write(const QString &sceneFile, const QList<Choice> &choices, QString *message)
{
    const QString path = VFunc::followLinks(sceneFile);
    QFile file(path);
    if (!VFunc::openRegular(&file) || file.size() > TerragenScene::MaxBytes) {
        *message = tr("场景文件无法打开：%1").arg(path);
        return false;
    }
    const QByteArray before = file.readAll();
    file.close();
    QByteArray after;
    QStringList absent;
    bool good = false;
    for (QTextCodec *codec : encodings(before)) {
        after = before;
        good = edit(&after, choices, codec, &absent);
        if (!good || absent.isEmpty())
            break;
    }
    if (!good) {
        *message = tr("场景文件格式错误：%1").arg(path);
        return false;
    }
    if (!absent.isEmpty()) {
        *message = tr("场景文件中没有：%1").arg(absent.join(QLatin1String(", ")));
        return false;
    }
    if (after == before)
        return true;
    qDebug().noquote() << "TerragenGi::write" << path;
    if (QFileInfo(path).isWritable() && VFunc::writeWhole(path, after))
        return true;
    *message = tr("场景文件无法写入：%1").arg(path);
    return false;
}
