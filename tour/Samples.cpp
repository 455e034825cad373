#include "Samples.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "Stage.h"
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>

namespace
{
constexpr int Layers = 200, Cameras = 500, Frames = 48, Gap = 17;

QJsonArray names(const QString &pattern, int count)
{
    QJsonArray out;
    for (int i = 0; i < count; ++i)
        out.append(i == 1 ? Stage::longName(i) : pattern.arg(i, 3, 10, QLatin1Char('0')));
    return out;
}

QJsonArray outputs(const QString &nameKey, const QString &pattern, const QJsonObject &values)
{
    QJsonArray out;
    for (const QJsonValue &name : names(pattern, Layers)) {
        QJsonObject one = values;
        one.insert(nameKey, name);
        one.insert(QStringLiteral("frames"), QStringLiteral("1-%1").arg(100 + out.size()));
        one.insert(QStringLiteral("selected"), out.size() % 3 ? 1 : 0);
        out.append(one);
    }
    return out;
}

QJsonObject parameters(int softwareType, QString *path)
{
    const QJsonObject size{{"width", 1920}, {"height", 1080}};
    QJsonObject one = size;
    one.insert("frames", "1-250");
    switch (softwareType) {
    case SoftwareType::Maya: {
        *path = QStringLiteral("/projects/valley/shot.ma");
        QJsonObject layer = size;
        layer.insert("cameras", QJsonArray{"persp"});
        layer.insert("cameras_overide", names(QStringLiteral("camera_%1"), Cameras));
        return {{"modelParameters", QJsonObject{{"layers", outputs("layer", QStringLiteral("rs_layer_%1"), layer)}}}};
    }
    case SoftwareType::Max:
        *path = QStringLiteral("/projects/valley/shot.max");
        one.insert("outputFile", "valley.exr");
        one.insert("enableCameras", names(QStringLiteral("Camera%1"), Cameras / 2));
        one.insert("disableCameras", names(QStringLiteral("PhysCamera%1"), Cameras / 2));
        one.insert("vrMode", 2);
        one.insert("vrIrradianceMapFile", "/projects/valley/" + Stage::longName(3));
        return {{"modelParameters", one}};
    case SoftwareType::Houdini:
        *path = QStringLiteral("/projects/valley/shot.hip");
        return {{"Rops", outputs("Rop", QStringLiteral("/out/mantra_%1"), {{"reslution", QJsonArray{1920, 1080}}})}};
    case SoftwareType::Cinema4D:
        *path = QStringLiteral("/projects/valley/shot.c4d");
        one.insert("cameras", names(QStringLiteral("Camera.%1"), Cameras));
        one.insert("activeCamera", "Camera.000");
        one.insert("outputName", "valley");
        one.insert("outputSuffix", "png");
        return {{"modelParameters", one}};
    case SoftwareType::Clarisse: {
        *path = QStringLiteral("/projects/valley/shot.project");
        QJsonArray images =
            outputs("name", QStringLiteral("build://project/image_%1"), {{"output", "/out/image"}, {"format", "exr"}});
        QJsonObject first = images.first().toObject();
        first.insert("layers", outputs("name", QStringLiteral("layer_%1"), {{"format", "exr"}}));
        images.replace(0, first);
        return {{"modelParameters", QJsonObject{{"images", images}}}};
    }
    default: {
        *path = QStringLiteral("/projects/valley/shot.tgd");
        QJsonObject camera = size;
        camera.insert("vrMode", 1);
        camera.insert("giName", "GI settings 01");
        camera.insert("giFile", "/projects/valley/gi_0001.gic");
        return {{"modelParameters", QJsonObject{{"cameras", outputs("name", QStringLiteral("Render %1"), camera)}}}};
    }
    }
}
} // namespace

db_resolve Samples::scene(int softwareType)
{
    db_resolve made;
    made.rkey = 1;
    made.state = SceneState::Clean;
    made.rset = QStringLiteral("{\"softwareType\":%1}").arg(softwareType);
    made.rdata = QString::fromUtf8(QJsonDocument(parameters(softwareType, &made.lpath)).toJson());
    return made;
}

QString Samples::frames(const QString &folder, const QString &name)
{
    const auto file = [&](int number) {
        return QStringLiteral("%1/%2.%3.png").arg(folder, name).arg(number, 4, 10, QLatin1Char('0'));
    };
    for (int number = 1; number <= Frames; ++number) {
        QImage image(480, 270, QImage::Format_RGB32);
        image.fill(QColor(40, 60 + number * 2, 90));
        QPainter(&image).fillRect(number * 8, 90, 64, 64, QColor(225, 130, 40));
        if (number != Gap)
            image.save(file(number));
    }
    return file(1);
}

QString Samples::log(const QString &folder)
{
    QFile file(folder + QStringLiteral("/render.log"));
    if (!file.open(QIODevice::WriteOnly))
        return {};
    for (int i = 0; i < 4000; ++i)
        file.write(QStringLiteral("[%1] %2\n")
                       .arg(i, 6, 10, QLatin1Char('0'))
                       .arg(i % 97 == 5   ? QStringLiteral("Error: can't open texture %1").arg(Stage::longName(i))
                            : i % 31 == 7 ? QStringLiteral("Warning: missing UVs on mesh %1").arg(i)
                                          : QStringLiteral("rendering tile %1 of 4000").arg(i))
                       .toUtf8());
    return file.fileName();
}

SoftwareState Samples::software()
{
    SoftwareState state;
    state.current.insert(QStringLiteral("maya_scripts"), {QStringLiteral("1.2.0.3"), QStringLiteral("2026-10-02")});
    for (const char *id : {"maya_scripts", "max_plugin", "houdini_tools"})
        for (int i = 0; i < 3; ++i) {
            SoftwareOffer one;
            one.softwareId = QLatin1String(id);
            one.name = QString(one.softwareId).replace(QLatin1Char('_'), QLatin1Char(' '));
            one.version = QStringLiteral("2.%1.0.0").arg(i);
            one.versionType = i == 2;
            one.force = i == 1;
            one.size = 83886080LL << i;
            one.notes = i == 0 ? Stage::longName(4) : QStringLiteral("Mends the search for textures.");
            state.versions << one;
        }
    return state;
}

PreflightFigures Samples::figures(bool troubled)
{
    PreflightFigures now;
    now.scenes = 1;
    now.files = 102345;
    now.bytes = 812345678901;
    now.missing = 341;
    now.found = 12;
    now.copies = 88;
    now.copyBytes = 9876543210;
    now.asked = troubled ? 3456 : now.files - now.missing;
    now.here = now.asked / 2;
    now.hereBytes = now.bytes / 2;
    now.perSecond = 11LL << 20;
    now.resultFolder = QStringLiteral("/results/") + Stage::longName(5).left(90);
    now.freeBytes = troubled ? 3LL << 30 : 900LL << 30;
    now.measured = now.over = true;
    for (int i = 0; i < 40; ++i)
        now.folders << PreflightFolder{QStringLiteral("D:/projects/valley/textures/") +
                                           (i == 1 ? Stage::longName(1) : QStringLiteral("set_%1").arg(i)),
                                       40 - i,
                                       {i == 2 ? Stage::longName(2) : QStringLiteral("rock.tif")},
                                       i != 3};
    now.trouble = troubled ? Preflight::tr("农场没有应答") : QString();
    now.again = troubled;
    return now;
}
