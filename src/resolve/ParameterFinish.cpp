// The part of ParameterSheet that touches the disk, and the rules of photons.
#include "common/facts/Rset.h"
#include "common/facts/SoftwareType.h"
#include "common/VFunc.h"
#include "resolve/ParameterModel.h"
#include "resolve/ParameterSheet.h"
#include "resolve/TerragenGi.h"
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

using namespace SoftwareType;

ParameterSheet::Photons ParameterSheet::photonsOf(int vrMode)
{
    switch (vrMode) {
    case 1:
    case 3:
    case 4:
        return PhotonsFirst;
    case 2:
    case 7:
        return LocalPhotons;
    case 6: // a map of its own for every frame: many machines can make them
        return PhotonsSpread;
    default:
        return NoPhotons;
    }
}

int ParameterSheet::vrModeFor(Photons photons, int vrMode)
{
    if (photonsOf(vrMode) == photons)
        return vrMode;
    return photons == LocalPhotons ? 2 : photons == PhotonsFirst ? 1 : photons == PhotonsSpread ? 6 : 0;
}

bool ParameterSheet::stepApplies(int vrMode) { return vrMode == 1 || vrMode == 3 || vrMode == 4 || vrMode == 6; }
bool ParameterSheet::fileApplies(int vrMode) { return vrMode == 2 || vrMode == 7; }

QStringList ParameterSheet::vrModes() // V-Ray's own names
{
    return {QStringLiteral("Single frame"),
            QStringLiteral("Multiframe incremental"),
            QStringLiteral("From file"),
            QStringLiteral("Add to current map"),
            QStringLiteral("Incremental add to current map"),
            QStringLiteral("Bucket mode"),
            QStringLiteral("Animation(prepass)"),
            QStringLiteral("Animation(rendering)")};
}

bool ParameterSheet::parseSize(const QString &text, int *width, int *height)
{
    static const QRegularExpression rule(QStringLiteral("\\A([1-9]\\d{0,5})\\s*[*xX×]\\s*([1-9]\\d{0,5})\\z"));
    const QRegularExpressionMatch match = rule.match(text.trimmed());
    *width = match.captured(1).toInt();
    *height = match.captured(2).toInt();
    return match.hasMatch() && *width <= LongestSide && *height <= LongestSide;
}

QString ParameterSheet::finish(const db_resolve &before, db_resolve *res, const CommonConfig &config)
{
    const QString scene = VFunc::followLinks(res->lpath), model = QStringLiteral("modelParameters");
    const QDir folder = QFileInfo(scene).dir();
    QJsonObject rdata = QJsonDocument::fromJson(res->rdata.toUtf8()).object();
    const int type = typeOf(*res);
    if (const QString message = ParameterModel::check(type, rdata, scene); !message.isEmpty())
        return message;
    const QString project = Rset(res->rset).mayaProject();
    if (type == Maya && !project.isEmpty() &&
        project != read(before, config).task.value(QLatin1String("mayaProject")).toString() &&
        !QFileInfo(project).isDir())
        return tr("项目路径不存在");
    QJsonObject object = rdata.value(model).toObject();
    QStringList files;
    if (type == Max) {
        const int mode = object.value(QLatin1String("vrMode")).toInt();
        const QLatin1String maps("vrIrradianceMapFile"), light("vrLightCacheFile");
        if (fileApplies(mode)) {
            const QString first = object.value(maps).toString().section(QLatin1Char(','), 0, 0).trimmed();
            files = ParameterModel::photonFiles(folder.absoluteFilePath(first), mode == 7);
            if (files.isEmpty()) // gone since it was looked at
                return ParameterModel::tr("光子路径不存在");
            object.insert(maps, files.join(QLatin1Char(',')));
        }
        for (const QString &one : object.value(light).toString().split(QLatin1Char(','), Qt::SkipEmptyParts))
            if (const QString path = folder.absoluteFilePath(one.trimmed()); QFileInfo(path).isFile())
                files << path;
        rdata.insert(model, object);
    } else if (type == Terragen) {
        for (const QJsonValue &value : object.value(QLatin1String("cameras")).toArray()) {
            const QJsonObject camera = value.toObject();
            if (camera.value(QLatin1String("selected")).toInt() == 1 &&
                camera.value(QLatin1String("vrMode")).toInt() == 1)
                files << ParameterModel::gicFiles(
                    folder.absoluteFilePath(camera.value(QLatin1String("giFile")).toString()));
        }
    }
    db_resolve done = *res;
    done.rdata = QString::fromUtf8(QJsonDocument(rdata).toJson(QJsonDocument::Compact));
    done.rfile = ParameterModel::appendFiles(done.rfile, files);
    QString message;
    if (!ParameterModel::prepare(&done, config, &message)) // what the machine adds; frames in their own words
        return message;
    const bool elsewhere = Rset(res->rset).isClone() && !QFileInfo::exists(scene); // of another machine's task
    if (type == Terragen && !elsewhere && !TerragenGi::write(scene, TerragenGi::choices(rdata), &message))
        return message;
    *res = done;
    return {};
}
