#pragma once
// Clears what earlier versions left beside the program. Blocks while it deletes; any thread.
#include <QString>
#include <QStringList>

class Housekeeping
{
public:
    // Beside programDir: folders named by a version (four numbers) other than programDir itself, and installers named
    // VD-*.exe. Only where programDir's own name is a version, so that a client that runs from someone's home folder or
    // a build folder never deletes what isn't its own. Gives the names removed.
    static QStringList removeOldVersions(const QString &programDir);
};
