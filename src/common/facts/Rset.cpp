#include "common/facts/Rset.h"
#include "common/facts/SoftwareType.h"
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace
{
// Taken as they stand from what a caller sent.
const char *const Given[] = {"keyFrames", "strategy", "clientResultRootPath", "sourceFileType", "mayaSplitByLayer"};
// Looked for in what a caller sent, then in the machine, then in the environment.
const char *const Placed[] = {"clientId", "startGpu", "farmId"};
} // namespace

Rset::Rset(const QString &text)
{
    if (text.trimmed().isEmpty())
        return;
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(text.toUtf8(), &error);
    m_good = error.error == QJsonParseError::NoError && doc.isObject();
    m_object = doc.object();
}

Rset Rset::of(const Choice &choice)
{
    QJsonObject machine = choice.machine, config = choice.config;
    config.remove(QStringLiteral("combos")); // the list that the choice was made from
    const QString model = machine.value(QLatin1String("machineModel")).toString();
    Rset rset;
    rset.set("softwareType", choice.softwareType);
    rset.set("env", choice.env);
    rset.set("project", choice.project);
    if (!config.isEmpty())
        rset.set("projectConfig", config);
    rset.set("machineModel", model.isEmpty() ? machine.value(QLatin1String("name")).toString() : model);
    if (!choice.scene.isEmpty()) {
        rset.set("sceneName", QFileInfo(choice.scene).fileName());
        rset.set("clientResultRootPath", QFileInfo(choice.scene).absolutePath());
    }
    for (const char *key : Given)
        if (choice.more.contains(QLatin1String(key)))
            rset.set(key, choice.more.value(QLatin1String(key)));
    for (const char *key : Placed)
        for (const QJsonObject &place : {choice.more, machine, choice.env})
            if (place.contains(QLatin1String(key))) {
                rset.set(key, place.value(QLatin1String(key)));
                break;
            }
    if (!rset.has("startGpu"))
        rset.set("startGpu", 0);
    if (choice.softwareType == SoftwareType::Maya && !choice.mayaProject.isEmpty()) {
        QJsonArray vars = machine.value(QLatin1String("envVars")).toArray();
        vars.append(QStringLiteral("MAYA_PROJECT=%1").arg(choice.mayaProject));
        machine[QLatin1String("envVars")] = vars;
        rset.set("mayaProject", choice.mayaProject);
    }
    rset.set("machine", machine);
    return rset;
}

QString Rset::text() const { return QString::fromUtf8(QJsonDocument(m_object).toJson(QJsonDocument::Compact)); }

int Rset::softwareType() const { return m_object.value(QLatin1String("softwareType")).toVariant().toInt(); }

QString Rset::software() const
{
    return m_object.value(QLatin1String("env")).toObject().value(QLatin1String("software")).toString();
}

QJsonArray Rset::plugins() const
{
    const QJsonValue own = m_object.value(QLatin1String("plugins"));
    return own.isArray() ? own.toArray()
                         : m_object.value(QLatin1String("env")).toObject().value(QLatin1String("plugins")).toArray();
}

int Rset::startGpu() const { return m_object.value(QLatin1String("startGpu")).toVariant().toInt(); }

QJsonValue Rset::machineModel() const
{
    const QJsonValue model = m_object.value(QLatin1String("machineModel"));
    return model.isUndefined() ? QJsonValue(QString("")) : model;
}

QString Rset::mayaProject() const { return m_object.value(QLatin1String("mayaProject")).toString(); }

bool Rset::needMasterCheck() const { return m_object.value(QLatin1String("needMasterCheck")).toVariant().toBool(); }

qlonglong Rset::seatKey() const { return m_object.value(QLatin1String("clientFlag")).toVariant().toLongLong(); }

QString Rset::seat() const { return m_object.value(QLatin1String("seat")).toString(); }
