#pragma once
// What the dialogs of the tour are filled with: large scenes of each program, frames and a log on disk, software on
// offer, what a commit would send. Made up; the same at every walk.
#include "db/Records.h"
#include "resolve/Preflight.h"
#include "view/update/SoftwareState.h"

namespace Samples
{
db_resolve scene(int softwareType);                         // with hundreds of layers or cameras
QString frames(const QString &folder, const QString &name); // a series with a gap; its first file
QString log(const QString &folder);                         // with errors and warnings
SoftwareState software();                                   // releases, betas, one of them forced
PreflightFigures figures(bool troubled);
} // namespace Samples
