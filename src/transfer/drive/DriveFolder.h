#pragma once
// Finds an entry of a drive by its names, from a folder that is known, and makes folders that are missing if it is told
// to. Ends once, on the asking thread (which needs an event loop), while the guard lives.
#include "transfer/drive/DriveRest.h"

class DriveFolder
{
public:
    using Found = std::function<void(const SubFile &entry)>; // without names: an entry with the folder's id alone
    using Failed = std::function<void(const QString &why)>;
    using Step = std::function<void(int names, const QString &id)>; // the folder of the first so many names is known
    struct From {
        QString id, disk; // disk: that it lies on; empty for the root
    };

    static void reach(int farmId, int fileType, const From &from, const QStringList &names, bool make, int limitMs,
                      QObject *guard, const Found &found, const Failed &failed, const Step &step = {});
};
