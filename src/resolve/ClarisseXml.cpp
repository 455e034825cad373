#include "resolve/ClarisseXml.h"
#include "resolve/DiskPath.h"
#include "resolve/LogParser.h"
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QSet>
#include <QTextCodec>
#include <QXmlStreamReader>

namespace
{
constexpr int ClarisseType = 7;

constexpr int MaxDepth = 256;

using Fields = QHash<QString, QString>;

QString frames(const Fields &fields)
{
    const QString first = fields.value(QStringLiteral("start_frame")), last = fields.value(QStringLiteral("end_frame"));
    const QString step = fields.value(QStringLiteral("frame_step"));
    return QStringLiteral("%1-%2:%3").arg(first, last, step.isEmpty() ? QStringLiteral("1") : step);
}

QJsonObject object(const Fields &fields)
{
    QJsonObject result{{QStringLiteral("frames"), frames(fields)}};
    for (const char *name : {"name", "output", "format", "LUT"})
        result.insert(QLatin1String(name), fields.value(QLatin1String(name)));
    return result;
}

QString restored(QString path)
{
    return path.replace(QLatin1String("&lt;"), QLatin1String("<"))
        .replace(QLatin1String("&gt;"), QLatin1String(">"))
        .trimmed();
}

// What stands between the tags, without the software's chatter around it.
QString projectText(const QByteArray &log)
{
    const int from = log.indexOf("<project>"), to = log.lastIndexOf("</project>");
    if (from < 0 || to < from)
        return {};
    QString text = LogParser::decode(log.mid(from, to + 10 - from));
    // The mark of tiled textures comes unescaped from some versions.
    return text.replace(QLatin1String("<UDIM>"), QLatin1String("&lt;UDIM&gt;"));
}

// Walks the report with a stack of its own, so that depth costs no stack of the thread.
class Walk
{
public:
    QString scene;
    QStringList paths;
    struct Image {
        Fields fields;
        QList<Fields> layers;
    };
    QList<Image> images;

    bool run(const QString &text)
    {
        QXmlStreamReader xml(text);
        while (!xml.atEnd()) {
            switch (xml.readNext()) {
            case QXmlStreamReader::StartElement:
                start(xml);
                break;
            case QXmlStreamReader::Characters:
                m_text += xml.text();
                break;
            case QXmlStreamReader::EndElement:
                end();
                break;
            default:
                break;
            }
        }
        if (xml.hasError())
            qWarning().noquote() << "ClarisseXml::parse" << xml.errorString() << "line" << xml.lineNumber();
        return !xml.hasError();
    }

private:
    void start(QXmlStreamReader &xml)
    {
        if (m_open.size() == MaxDepth)
            return xml.raiseError(QStringLiteral("nested too deeply"));
        const QString name = xml.name().toString();
        m_open.append(name);
        m_text.clear();
        if (name == QLatin1String("image"))
            images.append(Image());
        else if (name == QLatin1String("layer") && inside("image"))
            images.last().layers.append(Fields());
        if (Fields *fields = current()) {
            for (const QXmlStreamAttribute &one : xml.attributes())
                fields->insert(one.name().toString(), one.value().toString());
        }
    }

    void end()
    {
        const QString name = m_open.takeLast(), text = m_text.trimmed();
        m_text.clear();
        if (Fields *fields = current()) {
            if (name != QLatin1String("image") && name != QLatin1String("layer") && !fields->contains(name))
                fields->insert(name, text);
        } else if (inside("dependencies")) {
            if (!text.isEmpty())
                paths.append(restored(text));
        } else if (name == QLatin1String("filename") && m_open.size() == 1) {
            scene = restored(text);
        }
    }

    bool inside(const char *name) const { return m_open.contains(QLatin1String(name)); }

    Fields *current()
    {
        if (images.isEmpty() || !inside("image"))
            return nullptr;
        Image &image = images.last();
        return inside("layer") && !image.layers.isEmpty() ? &image.layers.last() : &image.fields;
    }

    QStringList m_open;
    QString m_text;
};
} // namespace

QString ClarisseXml::layerOutput(const QString &image, const QString &output)
{
    QString folder = image;
    folder.replace(QLatin1Char(':'), QLatin1Char('_'))
        .replace(QLatin1Char('/'), QLatin1Char('_'))
        .append(QLatin1Char('/'));
    if (image.contains(QLatin1Char('/')) && output.contains(image))
        return QString(output).replace(image, folder);
    return output.isEmpty() || DiskPath::isAbsolute(output) ? output : folder + output;
}

QStringList ClarisseXml::existing(const QStringList &named, DiskPath *disk, QStringList *missing)
{
    QStringList found;
    QSet<QString> seen, told;
    const auto add = [&](const QString &path) {
        if (!seen.contains(path)) {
            seen.insert(path);
            found.append(path);
        }
    };
    for (const QString &path : named) {
        const QString whole = disk->absolute(path), here = disk->find(whole, true);
        const QStringList matches = here.isEmpty() ? disk->match(whole, DiskPath::Tiles) : QStringList(here);
        for (const QString &match : matches)
            add(match);
        if (matches.isEmpty() && !told.contains(path)) {
            told.insert(path);
            missing->append(path);
        }
    }
    return found;
}

bool ClarisseXml::parse(const QByteArray &log, const QString &sceneFile, const ClarisseDeep &deep, QJsonObject *result)
{
    Walk walk;
    const QString text = projectText(log);
    if (text.isEmpty() || !walk.run(text))
        return false;
    const QString scene = DiskPath::slashes(walk.scene.isEmpty() ? sceneFile : walk.scene);

    QJsonArray images;
    for (const Walk::Image &one : qAsConst(walk.images)) {
        QJsonObject image = object(one.fields);
        const QString name = image.value(QLatin1String("name")).toString();
        QJsonArray layers;
        for (const Fields &fields : one.layers) {
            QJsonObject layer = object(fields);
            layer.insert(QStringLiteral("output"), layerOutput(name, layer.value(QLatin1String("output")).toString()));
            const QString file = deep.file(name, layer.value(QLatin1String("name")).toString());
            if (!file.isEmpty())
                layer.insert(QStringLiteral("deep_output_file"), file);
            layers.append(layer);
        }
        image.insert(QStringLiteral("layers"), layers);
        images.append(image);
    }

    DiskPath disk(sceneFile);
    QStringList missing, lines;
    const QStringList files = existing(QStringList(scene) + walk.paths, &disk, &missing);
    for (const QString &path : qAsConst(missing))
        lines.append(tr("丢失文件：%1").arg(path));
    const QJsonObject content{{QStringLiteral("sceneName"), scene},
                              {QStringLiteral("missionName"), scene.section(QLatin1Char('/'), -1)},
                              {QStringLiteral("softwareType"), ClarisseType},
                              {QStringLiteral("files"), QJsonArray::fromStringList(files)},
                              {QStringLiteral("modelParameters"), QJsonObject{{QStringLiteral("images"), images}}}};
    *result = {{QStringLiteral("status"), missing.isEmpty() ? 0 : 1},
               {QStringLiteral("content"), content},
               {QStringLiteral("details"), lines.join(QLatin1Char('\n'))}};
    return true;
}

bool ClarisseXml::convert(const QString &logPath, const QString &sceneFile)
{
    QFile log(logPath);
    if (!log.open(QIODevice::ReadOnly) || log.size() > MaxText) {
        qWarning().noquote() << "ClarisseXml::convert" << logPath << log.errorString() << log.size() << "bytes";
        return false;
    }
    QJsonObject result;
    const bool good = parse(log.readAll(), sceneFile, ClarisseDeep::scan(sceneFile), &result);
    log.close();
    return good && LogParser::write(logPath, result, true);
}
