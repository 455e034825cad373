#pragma once
// What a commit without a dialog fills in, one function per software: just what the dialog would have saved with
// nothing touched. Each may run again on its own output. Used by ParameterModel alone; any thread.
#include "common/CommonConfig.h"
#include "common/facts/SoftwareType.h"
#include <QJsonObject>
#include <QString>

namespace ParameterDefaults
{
using namespace SoftwareType;

// "MAYA_PROJECT=..." in the machine's variables.
void mayaProject(QJsonObject *rset);
// The layers with their cameras, in place of the analysis's object; blocksCount, mayaSplitByLayer, filePrefix.
void maya(QJsonObject *rdata, const CommonConfig &config);
// Photon files of modes 2 and 7, which join the scene's files; sizes of the photon pass.
void max(QJsonObject *rdata, QString *rfile); // files that are there; one that isn't would never be uploaded
void houdini(QJsonObject *rdata);
void cinema4D(QJsonObject *rdata);
void clarisse(QJsonObject *rdata);
void terragen(QJsonObject *rdata);

// Shown in errstr of a .max scene that lacks one of them.
QString noCameraText();
QString noPhotonText();
} // namespace ParameterDefaults
