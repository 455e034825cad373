#include "resolve/ParameterDefaults.h"
#include "common/UserInfo.h"
#include "resolve/MaxLog.h"
#include "resolve/ParameterModel.h"
#include <QJsonArray>
#include <QRegularExpression>

namespace
{
const QString Model = QStringLiteral("modelParameters");
const QString ProjectMark = QStringLiteral("MAYA_PROJECT=");

QJsonArray arrayOf(const QJsonValue &value)
{
    if (value.isArray())
        return value.toArray();
    const QString text = value.toString();
    return text.isEmpty() ? QJsonArray() : QJsonArray{text};
}

QJsonArray withSelected(const QJsonArray &list)
{
    QJsonArray result;
    for (const QJsonValue &value : list) {
        QJsonObject entry = value.toObject();
        entry.insert(QStringLiteral("selected"), 1);
        result.append(entry);
    }
    return result;
}

QJsonArray camerasOf(const QJsonObject &layer)
{
    for (const char *key : {"cameras_array", "enableCameras", "cameras", "cameras_overide"}) {
        const QJsonArray cameras = arrayOf(layer.value(QLatin1String(key)));
        if (!cameras.isEmpty())
            return cameras;
    }
    return {};
}

QJsonObject mayaLayer(const QJsonObject &layer)
{
    const QJsonArray cameras = camerasOf(layer);
    QJsonObject result{{QStringLiteral("camerasArray"), cameras},
                       {QStringLiteral("cameras_array"), cameras},
                       {QStringLiteral("cameras"), cameras}};
    for (const char *key : {"frames", "layer", "width", "height"})
        result.insert(QLatin1String(key), layer.value(QLatin1String(key)));
    if (layer.contains(QLatin1String("keyFrames")))
        result.insert(QStringLiteral("keyFrames"), layer.value(QLatin1String("keyFrames")));
    return result;
}

// A value of the analysis: at the top, in the model, or in its first layer that has it.
QString mayaText(const QJsonObject &rdata, const QJsonObject &model, const QString &key)
{
    QString text = rdata.value(key).toString();
    if (text.isEmpty())
        text = model.value(key).toString();
    for (const QJsonValue &layer : model.value(QLatin1String("layers")).toArray()) {
        if (text.isEmpty())
            text = layer.toObject().value(key).toString();
    }
    return text;
}
} // namespace

namespace ParameterDefaults
{

void mayaProject(QJsonObject *rset)
{
    const QString project = rset->value(QLatin1String("mayaProject")).toString();
    QJsonObject machine = rset->value(QLatin1String("machine")).toObject();
    QJsonArray variables = machine.value(QLatin1String("envVars")).toArray();
    const bool had = !variables.isEmpty();
    bool there = false;
    for (int i = 0; i < variables.size(); ++i) {
        const QString entry = variables.at(i).toString();
        if (!entry.startsWith(ProjectMark))
            continue;
        QString path = project.isEmpty() ? entry.mid(ProjectMark.size()) : project;
        variables[i] = ProjectMark + UserInfo::pathCase(path.replace(QLatin1Char('/'), QLatin1Char('\\')));
        there = true;
    }
    if (!there && !project.isEmpty())
        variables.append(ProjectMark +
                         UserInfo::pathCase(QString(project).replace(QLatin1Char('/'), QLatin1Char('\\'))));
    if (!had && variables.isEmpty())
        return;
    machine.insert(QStringLiteral("envVars"), variables);
    rset->insert(QStringLiteral("machine"), machine);
}

void maya(QJsonObject *rdata, const CommonConfig &config)
{
    const QJsonObject model = rdata->value(Model).toObject();
    const QString renderer = mayaText(*rdata, model, QStringLiteral("renderer")),
                  format = mayaText(*rdata, model, QStringLiteral("format"));
    if (!rdata->value(Model).isArray()) {
        QJsonArray layers;
        for (const QJsonValue &layer : model.value(QLatin1String("layers")).toArray())
            layers.append(mayaLayer(layer.toObject()));
        // What describes the scene as a whole stands beside the layers from now on.
        for (const char *key : {"renderer", "format", "filePrefix"}) {
            const QString text = mayaText(*rdata, model, QLatin1String(key));
            if (!text.isEmpty())
                rdata->insert(QLatin1String(key), text);
        }
        rdata->insert(Model, layers);
    }
    rdata->insert(QStringLiteral("mayaSplitByLayer"), config.mayaSplitByLayer);
    static const QRegularExpression whole(QStringLiteral("redshift|vray|mtoa|arnold"),
                                          QRegularExpression::CaseInsensitiveOption);
    const bool inPieces =
        !(whole.match(renderer).hasMatch() && format.compare(QLatin1String("exr"), Qt::CaseInsensitive) == 0);
    rdata->insert(QStringLiteral("blocksCount"), inPieces ? config.blocksCount : 1);
}

void max(QJsonObject *rdata, QString *rfile)
{
    QJsonObject model = rdata->value(Model).toObject();
    const int mode = model.value(QLatin1String("vrMode")).toInt();
    model.insert(QStringLiteral("vrMode"), mode);
    // The analysis can't tell the size of the photon pass.
    if (model.value(QLatin1String("giWidth")).toInt(-1) <= 0)
        model.insert(QStringLiteral("giWidth"), model.value(QLatin1String("width")));
    if (model.value(QLatin1String("giHeight")).toInt(-1) <= 0)
        model.insert(QStringLiteral("giHeight"), model.value(QLatin1String("height")));
    if (!model.contains(QLatin1String("giStep")))
        model.insert(QStringLiteral("giStep"), 1);
    const QString first =
        model.value(QLatin1String("vrIrradianceMapFile")).toString().section(QLatin1Char(','), 0, 0).trimmed();
    if ((mode == 2 || mode == 7) && !first.isEmpty()) {
        const QStringList files = ParameterModel::photonFiles(first, mode == 7);
        if (!files.isEmpty())
            model.insert(QStringLiteral("vrIrradianceMapFile"), files.join(QLatin1Char(',')));
        *rfile = ParameterModel::appendFiles(*rfile, files);
    }
    rdata->insert(Model, model);
}

void houdini(QJsonObject *rdata)
{
    QJsonValue model = rdata->value(Model);
    if (!model.isArray()) {
        const QJsonObject object = model.toObject();
        model = rdata->contains(QLatin1String("Rops")) ? rdata->value(QLatin1String("Rops"))
                                                       : object.value(QLatin1String("Rops"));
        rdata->insert(QStringLiteral("coverParameters"), model.toArray());
    }
    QJsonArray nodes;
    for (const QJsonValue &value : withSelected(model.toArray())) {
        QJsonObject node = value.toObject();
        const QJsonArray size = node.value(QLatin1String("reslution")).toArray();
        if (size.size() == 2 && !node.contains(QLatin1String("width"))) {
            node.insert(QStringLiteral("width"), size.at(0));
            node.insert(QStringLiteral("height"), size.at(1));
        }
        nodes.append(node);
    }
    rdata->insert(Model, nodes);
}

void cinema4D(QJsonObject *rdata)
{
    QJsonObject model = rdata->value(Model).toObject();
    if (arrayOf(model.value(QLatin1String("enableCameras"))).isEmpty()) { // not moved before
        model.insert(QStringLiteral("enableCameras"), arrayOf(model.value(QLatin1String("cameras"))));
        model.insert(QStringLiteral("cameras"), arrayOf(model.value(QLatin1String("activeCamera"))));
    }
    const QString name = model.value(QLatin1String("outputName")).toString(),
                  suffix = model.value(QLatin1String("outputSuffix")).toString();
    if (!name.isEmpty() || !model.contains(QLatin1String("outputFile")))
        model.insert(QStringLiteral("outputFile"), suffix.isEmpty() ? name : name + QLatin1Char('.') + suffix);
    rdata->insert(Model, model);
}

void clarisse(QJsonObject *rdata)
{
    QJsonObject model = rdata->value(Model).toObject();
    QJsonArray images;
    for (const QJsonValue &value : withSelected(model.value(QLatin1String("images")).toArray())) {
        QJsonObject image = value.toObject();
        image.insert(QStringLiteral("layers"), withSelected(image.value(QLatin1String("layers")).toArray()));
        images.append(image);
    }
    model.insert(QStringLiteral("images"), images);
    rdata->insert(Model, model);
}

void terragen(QJsonObject *rdata)
{
    QJsonObject model = rdata->value(Model).toObject();
    QJsonArray cameras;
    for (const QJsonValue &value : withSelected(model.value(QLatin1String("cameras")).toArray())) {
        QJsonObject camera = value.toObject();
        camera.insert(QStringLiteral("vrMode"), camera.value(QLatin1String("vrMode")).toInt());
        cameras.append(camera);
    }
    model.insert(QStringLiteral("cameras"), cameras);
    rdata->insert(Model, model);
}

QString noCameraText() { return MaxLog::noCameraText(); }
QString noPhotonText() { return MaxLog::noPhotonText(); }
} // namespace ParameterDefaults
