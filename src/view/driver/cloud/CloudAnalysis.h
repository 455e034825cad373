#pragma once
// What the drive's windows ask of the analysis of scenes on the farm. Main thread.
#include "db/Records.h"
#include <QStringList>

namespace CloudAnalysis
{
struct Scene {
    QString path; // on the drive, from its disk on: "D/project/scenes/a.ma"
    QString root; // of its project there; empty: the scene's folder
};
struct Told {
    int taken = 0; // scenes that went into the queue
    QString text;  // what to tell of the others, with their names; empty: nothing
};
// Puts the scenes into the queue of the farm's analyses. Kinds that the service doesn't know are told, and nothing is
// posted of them.
Told analyse(int farmId, const QList<Scene> &scenes);

QString title(int softwareType); // of a record's dialogs
} // namespace CloudAnalysis
