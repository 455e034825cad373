#include "resolve/ClarisseXml.h"
#include "common/facts/SoftwareType.h"
#include "common/VFunc.h"
#include "resolve/DiskPath.h"
#include "resolve/LogParser.h"
#include "resolve/XmlSource.h"
#include <QDebug>
#include <QJsonArray>
#include <QSet>

namespace
{

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

constexpr int Block = 1024 * 1024;
constexpr char Open[] = "<project>", Close[] = "</project>";

// Where the first of a mark begins in the file, or the last; -1 where there is none.
qint64 find(QFile *file, const QByteArray &mark, bool last, const StopToken &stop)
{
    qint64 found = -1, start = 0; // start: of the window
    QByteArray window;
    file->seek(0);
    while (!stop.stopped()) {
        const QByteArray more = file->read(Block);
        if (more.isEmpty())
            break;
        window += more;
        const int at = last ? window.lastIndexOf(mark) : window.indexOf(mark);
        found = at < 0 ? found : start + at;
        if (found >= 0 && !last)
            break;
        const int kept = qMin(window.size(), mark.size() - 1); // a mark that is cut by the block
        start += window.size() - kept;
        window = window.right(kept);
    }
    return found;
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

    bool run(XmlSource *source)
    {
        QXmlStreamReader xml;
        source->attach(&xml);
        source->escapeTiles();
        while (!xml.atEnd()) {
            switch (xml.readNext()) {
            case QXmlStreamReader::DTD:
                source->entitiesDeclared();
                break;
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
            qWarning().noquote() << "Walk::run" << xml.errorString() << "line" << xml.lineNumber();
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

bool ClarisseXml::parse(QFile *log, const QString &sceneFile, const ClarisseDeep &deep, const StopToken &stop,
                        QJsonObject *result)
{
    const qint64 from = find(log, Open, false, stop), to = find(log, Close, true, stop);
    if (from < 0 || to < from)
        return false;
    // As UTF-8, else in the system's encoding, else as UTF-8 with what can't be read replaced.
    Walk walk;
    bool good = false;
    for (const auto &[name, last] : {std::pair("UTF-8", false), std::pair("System", false), std::pair("UTF-8", true)}) {
        walk = Walk();
        XmlSource source(log, stop, QTextCodec::codecForName(name), from, to + qint64(sizeof(Close)) - 1);
        if (last)
            source.replaceUndecodable();
        good = walk.run(&source);
        if (good || stop.stopped())
            break;
    }
    if (!good)
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

    DiskPath disk(sceneFile, stop);
    QStringList missing;
    walk.paths.prepend(scene);
    const QStringList files = existing(walk.paths, &disk, &missing);
    walk.paths.clear();
    QString details;
    for (const QString &path : qAsConst(missing))
        details += (details.isEmpty() ? QString() : QStringLiteral("\n")) + tr("丢失文件：%1").arg(path);
    const QJsonObject content{{QStringLiteral("sceneName"), scene},
                              {QStringLiteral("missionName"), scene.section(QLatin1Char('/'), -1)},
                              {QStringLiteral("softwareType"), int(SoftwareType::Clarisse)},
                              {QStringLiteral("files"), QJsonArray::fromStringList(files)},
                              {QStringLiteral("modelParameters"), QJsonObject{{QStringLiteral("images"), images}}}};
    *result = {{QStringLiteral("status"), missing.isEmpty() ? 0 : 1},
               {QStringLiteral("content"), content},
               {QStringLiteral("details"), details}};
    return true;
}

bool ClarisseXml::convert(const QString &logPath, const QString &sceneFile, const StopToken &stop)
{
    QFile log(logPath);
    if (!VFunc::openRegular(&log) || log.size() > MaxText) {
        qWarning().noquote() << "ClarisseXml::convert" << logPath << log.size() << "bytes";
        return false;
    }
    QJsonObject result;
    const bool good = parse(&log, sceneFile, ClarisseDeep::scan(sceneFile, stop), stop, &result) && !stop.stopped();
    log.close();
    return good && LogParser::write(logPath, result, true);
}
