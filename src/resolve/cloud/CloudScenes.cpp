#include "resolve/cloud/CloudScenes.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/Rset.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "resolve/cloud/CloudQueue.h"
#include "resolve/ParameterModel.h"

db_resolve CloudScenes::row(int farmId, const QString &scene, const QString &root)
{
    db_resolve one;
    one.lpath = scene;
    one.rootpath = root.isEmpty() ? scene.section(QLatin1Char('/'), 0, -2) : root;
    one.filetype = SoftwareType::ofPath(scene);
    if (!CloudQueue::knows(one.filetype))
        one.filetype = SoftwareType::Unknown;
    one.farmid = farmId;
    return one;
}

bool CloudScenes::canSubmit(const db_resolve &res)
{
    return SceneState::Ended.contains(res.state) && res.state != SceneState::Failed;
}

bool CloudScenes::prepare(db_resolve *res, const ParameterSheet &sheet, const QString &rset, const CommonConfig &config,
                          QString *message)
{
    sheet.write(res);
    Rset chosen(rset);
    chosen.set("hasClone", 1); // nothing is left to analyse
    chosen.set("farmId", res->farmid);
    res->rset = chosen.text();
    if (ParameterModel::prepare(res, config, message))
        return true;
    if (message->isEmpty())
        *message = AnalysisError::text(AnalysisError::BadResult);
    return false;
}
