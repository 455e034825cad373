#include "resolve/TerragenScene.h"
#include "resolve/DiskPath.h"
#include "resolve/LogParser.h"
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QTextCodec>
#include <QVector>
#include <QXmlStreamReader>

namespace
{
constexpr int TerragenType = 8;
constexpr int WrongData = 10012, NotReadable = 10032;
constexpr int EntityLimit = 4096;

// Attributes that name a file to be read.
bool namesFile(const QString &attribute)
{
    static const QSet<QString> names{
        QStringLiteral("filename"),           QStringLiteral("instance_cache_filename_to_read"),
        QStringLiteral("opacity_image"),      QStringLiteral("colour_image"),
        QStringLiteral("image_filename"),     QStringLiteral("import_filename"),
        QStringLiteral("displacement_image"), QStringLiteral("translucency_image")};
    return names.contains(attribute);
}

int number(const QStringRef &text) { return text.trimmed().toInt(); }

QString frames(const QXmlStreamAttributes &attributes)
{
    const QString first = attributes.value(QLatin1String("sequence_first")).trimmed().toString();
    const QString last = attributes.value(QLatin1String("sequence_last")).trimmed().toString();
    const QString step = attributes.value(QLatin1String("sequence_step")).trimmed().toString();
    const QString from = first.isEmpty() ? QStringLiteral("1") : first;
    return QStringLiteral("%1-%2:%3")
        .arg(from, last.isEmpty() ? from : last, step.isEmpty() ? QStringLiteral("1") : step);
}

class Reader
{
public:
    Reader(const QString &path, TerragenScene *scene)
        : m_scene(scene), m_disk(path), m_name(QFileInfo(path).completeBaseName())
    {
        add(path);
    }

    bool run(QXmlStreamReader &xml)
    {
        xml.setEntityExpansionLimit(EntityLimit);
        while (!xml.atEnd()) {
            const QXmlStreamReader::TokenType token = xml.readNext();
            if (token == QXmlStreamReader::StartElement && !start(xml))
                return false;
            if (token == QXmlStreamReader::EndElement)
                m_open.removeLast();
        }
        if (xml.hasError())
            qWarning().noquote() << "TerragenScene::read" << xml.errorString() << "line" << xml.lineNumber();
        return !xml.hasError();
    }

    // Photon files of the cameras that read them: the named one, and all that lie beside it.
    void photons()
    {
        for (const QJsonValue &value : qAsConst(m_scene->cameras)) {
            const QJsonObject camera = value.toObject();
            if (camera.value(QLatin1String("vrMode")).toInt() != 1)
                continue;
            const QString named = camera.value(QLatin1String("giFile")).toString();
            const QString path = named.isEmpty() ? QString() : m_disk.absolute(substituted(named));
            const QStringList beside =
                named.isEmpty() ? QStringList()
                                : m_disk.filesIn(path.section(QLatin1Char('/'), 0, -2), QStringLiteral(".gic"));
            m_scene->noPhotons |= beside.isEmpty();
            for (const QString &file : beside)
                add(file);
            if (!named.isEmpty())
                depend({path}, true);
        }
    }

private:
    struct Element {
        bool render = false;
        QString model; // folder of the model that is read here or further out
    };

    bool start(const QXmlStreamReader &xml)
    {
        const QStringRef name = xml.name();
        const QXmlStreamAttributes attributes = xml.attributes();
        if (m_open.isEmpty() && name != QLatin1String("terragen"))
            return refuse("root", name);
        if (m_open.size() >= TerragenScene::MaxDepth)
            return refuse("nested too deeply", name);
        Element element;
        element.model = m_open.isEmpty() ? QString() : m_open.last().model;
        element.render = m_open.size() == 1 && name == QLatin1String("render");
        if (element.render)
            m_scene->cameras.append(camera(attributes));
        else if (!m_open.isEmpty() && m_open.last().render && name == QLatin1String("render_GI_settings"))
            photonSettings(attributes);
        const QString file = attributes.value(QLatin1String("filename")).toString();
        if (name.endsWith(QLatin1String("_reader")) && !file.trimmed().isEmpty()) {
            element.model = m_disk.absolute(substituted(file)).section(QLatin1Char('/'), 0, -2);
            if (name == QLatin1String("obj_reader")) {
                for (const QString &beside : m_disk.filesIn(element.model))
                    add(beside);
            }
        }
        for (const QXmlStreamAttribute &one : attributes) {
            const QString value = one.value().trimmed().toString();
            if (!value.isEmpty() && namesFile(one.name().toString()))
                depend(places(value, one.name() == QLatin1String("filename") ? QString() : element.model),
                       name != QLatin1String("micro_exporter")); // its file is written, not read
        }
        m_open.append(element);
        return true;
    }

    static bool refuse(const char *why, const QStringRef &name)
    {
        qWarning().noquote() << "TerragenScene::read" << why << name.toString().left(100);
        return false;
    }

    static QJsonObject camera(const QXmlStreamAttributes &attributes)
    {
        return {{QStringLiteral("name"), attributes.value(QLatin1String("name")).toString()},
                {QStringLiteral("width"), number(attributes.value(QLatin1String("image_width")))},
                {QStringLiteral("height"), number(attributes.value(QLatin1String("image_height")))},
                {QStringLiteral("frames"), frames(attributes)}};
    }

    void photonSettings(const QXmlStreamAttributes &attributes)
    {
        QJsonObject camera = m_scene->cameras.takeAt(m_scene->cameras.size() - 1).toObject();
        const auto text = [&attributes](const char *name) { return attributes.value(QLatin1String(name)).toString(); };
        const int mode = TerragenScene::giMode(text("no_GI_cache_file"), text("read_from_GI_cache_file"),
                                               text("write_to_GI_cache_file"));
        camera.insert(QStringLiteral("giName"), text("name"));
        camera.insert(QStringLiteral("vrMode"), mode);
        if (mode == 1)
            camera.insert(QStringLiteral("giFile"), DiskPath::slashes(text("GI_cache_filename_to_read").trimmed()));
        m_scene->cameras.append(camera);
    }

    QString substituted(const QString &path) const
    {
        return QString(path).replace(QLatin1String("${TGDNAME}"), m_name, Qt::CaseInsensitive);
    }

    // Where a named file may lie, the likeliest first: a bare name beside its model, all else by the scene's folder.
    QStringList places(const QString &named, const QString &model) const
    {
        const QString value = DiskPath::slashes(substituted(named));
        QStringList list;
        if (!model.isEmpty() && !value.contains(QLatin1Char('/')))
            list.append(m_disk.absolute(value, model));
        list.append(m_disk.absolute(value));
        return list;
    }

    void depend(const QStringList &paths, bool wanted)
    {
        for (const QString &path : paths) {
            const QString here = m_disk.find(path);
            if (!here.isEmpty())
                return add(here);
            const QStringList matches = m_disk.match(path, DiskPath::Frames);
            for (const QString &match : matches)
                add(match);
            if (!matches.isEmpty())
                return;
        }
        if (wanted && !m_missing.contains(paths.first())) {
            m_missing.insert(paths.first());
            m_scene->missing.append(paths.first());
        }
    }

    void add(const QString &path)
    {
        if (m_seen.contains(path))
            return;
        m_seen.insert(path);
        m_scene->files.append(path);
    }

    TerragenScene *m_scene;
    DiskPath m_disk;
    QString m_name;
    QVector<Element> m_open;
    QSet<QString> m_seen, m_missing;
};

// Texts of other systems: a declared encoding is the XML reader's business, and UTF-8 its default.
QString otherEncoding(const QByteArray &bytes)
{
    QTextCodec::ConverterState state;
    QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars == 0)
        return {};
    for (QTextCodec *codec : {QTextCodec::codecForLocale(), QTextCodec::codecForName("GB18030"),
                              QTextCodec::codecForName("Windows-1252")}) {
        QTextCodec::ConverterState other;
        const QString text = codec ? codec->toUnicode(bytes.constData(), bytes.size(), &other) : QString();
        if (!text.isEmpty() && other.invalidChars == 0)
            return text;
    }
    return {};
}
} // namespace

int TerragenScene::giMode(const QString &none, const QString &readFrom, const QString &writeTo)
{
    const auto on = [](const QString &text) {
        return !text.trimmed().isEmpty() && text.trimmed() != QLatin1String("0");
    };
    return on(none) ? 0 : on(readFrom) ? 1 : on(writeTo) ? 2 : 0;
}

TerragenScene TerragenScene::read(const QString &path)
{
    TerragenScene scene;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > MaxBytes) {
        qWarning().noquote() << "TerragenScene::read" << path << file.errorString() << file.size() << "bytes";
        scene.error = file.isOpen() ? WrongData : NotReadable;
        return scene;
    }
    const QByteArray bytes = file.readAll();
    Reader reader(path, &scene);
    QXmlStreamReader xml(bytes);
    bool good = reader.run(xml);
    if (!good) {
        const QString text = otherEncoding(bytes);
        scene = TerragenScene();
        Reader again(path, &scene);
        QXmlStreamReader decoded(text);
        good = !text.isEmpty() && again.run(decoded);
        if (good)
            again.photons();
    } else {
        reader.photons();
    }
    if (!good) {
        scene = TerragenScene();
        scene.error = WrongData;
    }
    return scene;
}

QJsonObject TerragenScene::result() const
{
    const QString scene = files.value(0);
    QString details = noPhotons ? tr("没有光子文件\n") : QString();
    if (!missing.isEmpty())
        details += tr("丢失文件：\r\n%1").arg(missing.join(QLatin1Char('\n')));
    const QJsonObject content{{QStringLiteral("sceneName"), scene},
                              {QStringLiteral("missionName"), scene.section(QLatin1Char('/'), -1)},
                              {QStringLiteral("softwareType"), TerragenType},
                              {QStringLiteral("files"), QJsonArray::fromStringList(files)},
                              {QStringLiteral("modelParameters"), QJsonObject{{QStringLiteral("cameras"), cameras}}}};
    return {{QStringLiteral("status"), details.isEmpty() ? 0 : 1},
            {QStringLiteral("content"), content},
            {QStringLiteral("details"), details}};
}
