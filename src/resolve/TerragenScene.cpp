#include "resolve/TerragenScene.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/SoftwareType.h"
#include "common/VFunc.h"
#include "resolve/DiskPath.h"
#include "resolve/FrameSet.h"
#include "resolve/XmlSource.h"
#include <algorithm>
#include <cmath>
#include <QDebug>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QVector>

namespace
{
constexpr double LargestSize = 1e6; // of a picture, in pixels

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

// A size: some versions write "1280.0".
int number(const QStringRef &text)
{
    const double value = text.trimmed().toDouble();
    return std::isfinite(value) && std::abs(value) <= LargestSize ? int(std::lround(value)) : 0;
}

bool plainAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

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
    int believed = 0; // files whose names hold more than ASCII, and that are there

    Reader(const QString &path, TerragenScene *scene, const StopToken &stop)
        : m_scene(scene), m_disk(path, stop), m_name(QFileInfo(path).completeBaseName())
    {
        add(path);
    }

    bool run(XmlSource *source)
    {
        QXmlStreamReader xml;
        source->attach(&xml);
        while (!xml.atEnd()) {
            const QXmlStreamReader::TokenType token = xml.readNext();
            if (token == QXmlStreamReader::DTD && !xml.entityDeclarations().isEmpty())
                source->entitiesDeclared();
            if (token == QXmlStreamReader::StartElement && !start(xml))
                return false;
            if (token == QXmlStreamReader::EndElement)
                m_open.removeLast();
        }
        if (xml.hasError())
            qWarning().noquote() << "Reader::run" << xml.errorString() << "line" << xml.lineNumber();
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
            checkFrames(path, camera.value(QLatin1String("frames")).toString());
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
            if (value.isEmpty() || !namesFile(one.name().toString()))
                continue;
            const bool there =
                depend(places(value, one.name() == QLatin1String("filename") ? QString() : element.model),
                       name != QLatin1String("micro_exporter")); // its file is written, not read
            believed += there && !plainAscii(value);
        }
        m_open.append(element);
        return true;
    }

    // Photon files of a numbered sequence have to reach over the frames that read them.
    void checkFrames(const QString &pattern, const QString &frames)
    {
        static const QRegularExpression mark(QStringLiteral("%\\d*d"));
        const QString name = pattern.section(QLatin1Char('/'), -1);
        const QRegularExpressionMatch found = mark.match(name);
        const QVector<int> wanted = FrameSet::expand(frames);
        if (!found.hasMatch() || wanted.isEmpty())
            return;
        QVector<int> there;
        for (const QString &file : m_disk.match(pattern, DiskPath::Frames)) {
            const QString one = file.section(QLatin1Char('/'), -1);
            there.append(one.midRef(found.capturedStart(), one.size() - name.size() + found.capturedLength()).toInt());
        }
        if (there.isEmpty())
            return; // told as missing
        const auto [first, last] = std::minmax_element(there.constBegin(), there.constEnd());
        if (*first > wanted.first() || *last < wanted.last())
            m_scene->photonFrames += TerragenScene::tr("光子文件%1只包含第%2到%3帧，渲染帧为%4\n")
                                         .arg(name, QString::number(*first), QString::number(*last), frames);
    }

    static bool refuse(const char *why, const QStringRef &name)
    {
        qWarning().noquote() << "Reader::refuse" << why << name.toString().left(100);
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

    // A path whose variable nobody knows is told as it stands: another folder's files are not for guessing.
    bool depend(const QStringList &paths, bool wanted)
    {
        for (const QString &path : paths) {
            const QString here = m_disk.find(path);
            if (!here.isEmpty()) {
                add(here);
                return true;
            }
            const QStringList matches = m_disk.match(path, DiskPath::Frames);
            for (const QString &match : matches)
                add(match);
            if (!matches.isEmpty())
                return true;
        }
        if (wanted && !m_missing.contains(paths.first())) {
            m_missing.insert(paths.first());
            m_scene->missing.append(paths.first());
        }
        return false;
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

// One reading in an encoding (null: as declared, else UTF-8); good is false where the text isn't a project in it.
struct Attempt {
    TerragenScene scene;
    int believed = 0;
    bool good = false;

    Attempt(const QString &path, QFile *file, QTextCodec *codec, const StopToken &stop)
    {
        Reader reader(path, &scene, stop);
        XmlSource source(file, stop, codec);
        good = reader.run(&source) && !source.undecodable();
        if (good)
            reader.photons();
        believed = reader.believed;
    }
};

bool isUtf8(QFile *file, const StopToken &stop)
{
    XmlSource source(file, stop, QTextCodec::codecForName("UTF-8"));
    while (!source.read(64 * 1024).isEmpty()) {
    }
    return !source.undecodable();
}

// Nothing in a scene of another system tells its encoding: of those that can be read, the one whose names are on the
// disk is right; where none of them is, the likeliest stands first.
Attempt otherEncoding(const QString &path, QFile *file, const StopToken &stop)
{
    Attempt best(path, file, QTextCodec::codecForLocale(), stop);
    for (const char *name : {"GB18030", "Big5", "Windows-1252"}) {
        if (stop.stopped())
            break;
        Attempt other(path, file, QTextCodec::codecForName(name), stop);
        if (other.good && (!best.good || other.believed > best.believed))
            best = other;
    }
    return best;
}
} // namespace

int TerragenScene::giMode(const QString &none, const QString &readFrom, const QString &writeTo)
{
    const auto on = [](const QString &text) {
        return !text.trimmed().isEmpty() && text.trimmed() != QLatin1String("0");
    };
    return on(none) ? 0 : on(readFrom) ? 1 : on(writeTo) ? 2 : 0;
}

TerragenScene TerragenScene::read(const QString &path, const StopToken &stop)
{
    TerragenScene failed;
    QFile file(path);
    if (!VFunc::openRegular(&file, true)) {
        failed.error = AnalysisError::SceneUnreadable;
        return failed;
    }
    failed.error = AnalysisError::BadResult;
    if (file.size() > MaxBytes) {
        qWarning().noquote() << "TerragenScene::read" << path << file.size() << "bytes";
        return failed;
    }
    Attempt attempt(path, &file, nullptr, stop);
    if (!attempt.good && !stop.stopped() && !isUtf8(&file, stop))
        attempt = otherEncoding(path, &file, stop);
    return attempt.good ? attempt.scene : failed;
}

QJsonObject TerragenScene::result() const
{
    const QString scene = files.value(0);
    QString details = (noPhotons ? tr("没有光子文件\n") : QString()) + photonFrames;
    if (cameras.isEmpty())
        details.prepend(tr("错误：没有可用的渲染节点。\r\n"));
    for (const QJsonValue &camera : cameras) {
        const QString fault = FrameSet::checkOrder(camera[QLatin1String("frames")].toString());
        if (!fault.isEmpty())
            details += camera[QLatin1String("name")].toString() + QLatin1Char(' ') + fault + QLatin1Char('\n');
    }
    if (!missing.isEmpty())
        details += tr("丢失文件：\r\n%1").arg(missing.join(QLatin1Char('\n')));
    const QJsonObject content{{QStringLiteral("sceneName"), scene},
                              {QStringLiteral("missionName"), scene.section(QLatin1Char('/'), -1)},
                              {QStringLiteral("softwareType"), int(SoftwareType::Terragen)},
                              {QStringLiteral("files"), QJsonArray::fromStringList(files)},
                              {QStringLiteral("modelParameters"), QJsonObject{{QStringLiteral("cameras"), cameras}}}};
    return {{QStringLiteral("status"), cameras.isEmpty()   ? 2
                                       : details.isEmpty() ? 0
                                                           : 1},
            {QStringLiteral("content"), content},
            {QStringLiteral("details"), details}};
}
