#include "BodyRules.h"
#include <QJsonObject>
#include <QMap>

namespace farm
{

namespace
{
// key:type with n number, s text, a array; a key alone may be of any type. "[]" is an array as the whole body.
const QMap<int, QString> &rules()
{
    static const QString task = QStringLiteral("missionId:n");
    static const QMap<int, QString> table{
        {10303,
         "autoSubmit:n ignoreWarn:n frameFirst:n timeout:n killTimeout:n parseTime:n killParseTime:n autoPushResult:n "
         "mayaResultRootPathEnum:n repairType:n mayaSplitByLayer:n submitUpload:n priorityStrategy:n blocksCount:n"},
        {10308, "thirdParty:n"},
        {10310, "os:s cpu:s mac:s diskNo:s mainboard:s graphics:s memory screenW:n screenH:n maxVersions"},
        {10311, "page:n"},
        {10313, "ids:s status:n"},
        {10400, "scene:s analysisTime:n clientFlag:n missionId:n ordernum:s"},
        {10401, task},
        {10402, "missionId:n status page"},
        {10403, "missionId:n jobId subJobId farmId"},
        {10405, "missionId:n softwareType:n modelParameters"},
        {10406, "[]"},
        {10407, "missionId:n subjobId newVer"},
        {10409, task},
        {10413, task},
        {10414, task},
        {10415, task},
        {10416, "missionId:n realtimeSpeed:n feelingSpeed:n totalSize:n uploadedSize:n"},
        {10417, task},
        {10419, "farmId:n job_id_to job_ids_from:a insert_after_position"},
        {10420, "farmId:n"},
        {10421, "name:s clientFlag:n projectId:n softwareType:n machineModel:s"},
        {10422, "missionId:n type:n"},
        {10423, "missionIds:s handoverUserId:n"},
        {10424, "missionId:n nodeLimit:n"},
        {10425, "missionId:n subjobIds:s"},
        {10426, "missionId:n machineModel:s clientId software:s plugins"},
        {10427, "name:s pageCount:n page"},
        {10428, task},
        {10429, task},
        {10430, "missionId:n pauseRender:n"},
        {10432, "[]"},
        {10436, "missionId:n remark:s"},
        {10437, "missionId:n status page"},
        {10500, "name:s"},
        {10501, "projectId:n"},
        {10504, "projectId:n software_type:n software:s plugins:a startGpu:n isDefault:n env_block"},
        {10505, "projectId:n software_type:n id:n"},
        {10506, "projectId:n software_type:n"},
        {10507, "projectId:n software_type:n id:n"},
        {10508, "projectId:n software_type:n id:n software:s plugins:a startGpu:n isDefault:n env_block"},
        {10509, "projectId:n software_type:n workPath:s outputPath:s extraConfig"},
        {10600, "softwareType:n"},
        {10601, "softwareType:n software:s"},
        {10703, "id:n farmId:n"},
        {10704, task},
        {10800, "fileId:n"},
        {10801, "missionId:n subjobId picIndex"},
        {10802, "fileId:n"},
        {10804, "missionId:n subjobId"},
        {10805, task},
        {10806, "missionId:n subjobIds:s"},
        {11100, "farmId:n"},
    };
    return table;
}

bool fits(const QJsonValue &value, const QString &type)
{
    return type.isEmpty()
               ? !value.isUndefined()
               : (type == QLatin1String("n") && value.isDouble()) || (type == QLatin1String("s") && value.isString()) ||
                     (type == QLatin1String("a") && value.isArray());
}
} // namespace

QStringList bodyFaults(int cmd, const QJsonDocument &body)
{
    QStringList wrong;
    const QString rule = rules().value(cmd);
    if (rule == QLatin1String("[]"))
        return body.isArray() ? wrong : QStringList{QStringLiteral("not an array")};
    for (const QString &word : rule.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString key = word.section(QLatin1Char(':'), 0, 0);
        if (!fits(body.object().value(key), word.section(QLatin1Char(':'), 1)))
            wrong += key;
    }
    if (cmd == 10422 && body.object().value("type").toInt() == 4) {
        for (const char *key : {"analysisStartTime", "analysisEndTime"}) {
            if (!body.object().value(QLatin1String(key)).isString())
                wrong += QLatin1String(key);
        }
    }
    if (cmd == 10309 && !body.isObject())
        wrong += QStringLiteral("not an object");
    return wrong;
}

} // namespace farm
