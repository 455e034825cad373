#pragma once
// The files that the orders of some scenes would carry, as they stand on this disk now. Reads the store and the disk,
// and where a remembered folder map finds what a scene misses, writes that into the scene's row: on a thread that may
// wait. A value.
#include "resolve/FolderMaps.h"
#include "resolve/StopToken.h"
#include <functional>
#include <QHash>
#include <QStringList>
#include <QVector>

struct PreflightFiles {
    static constexpr int Most = 500000; // of files; what comes behind isn't looked at
    static constexpr int TellEach = 2000;

    struct File {
        QString path;                  // as the upload names it
        qint64 size = 0, modified = 0; // bytes; ms since the epoch
        int farm = 0;                  // 0: nobody knows yet which one renders it
    };
    struct Missing {
        qlonglong rkey = 0;
        int farm = 0;
        QString path;       // as the order names it
        bool scene = false; // the scene itself, which nothing can stand in for
    };
    int scenes = 0;      // that could be read
    int gone = 0;        // no longer in the store, or with a list that can't be read
    QVector<File> files; // there; each once, the largest first
    QVector<Missing> missing;
    int found = 0;  // of files, by a folder map
    int copies = 0; // of the same name, size and time in another place
    qint64 bytes = 0, copyBytes = 0;
    QString resultFolder;  // of the first scene
    qint64 freeBytes = -1; // there
    bool cut = false;      // there are more

    using Tell = std::function<void(int looked)>; // now and then
    static PreflightFiles look(const QList<qlonglong> &rkeys, const StopToken &stop, const Tell &tell);
    // Those of the missing that lie below the map's folder and are found: path as named -> file. The rows of their
    // scenes name them from now on; where a row can't be written its files stay missing.
    static QHash<QString, File> find(const QVector<Missing> &missing, const FolderMap &map, const StopToken &stop);
    void take(const QHash<QString, File> &files); // what find brought: no longer missing
    void count();                                 // after files came: copies and bytes
};
