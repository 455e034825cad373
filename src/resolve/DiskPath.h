#pragma once
// Files as a scene names them, looked up on this disk. Scenes are made on other machines: their paths mix both slashes,
// are relative to the scene's folder, and on a disk that tells case apart often differ from it in case alone; then the
// disk's own spelling is the answer. Folders are listed once and kept, so one object serves one scene. One thread.
#include "resolve/StopToken.h"
#include <QHash>
#include <QString>
#include <QStringList>

class DiskPath
{
public:
    enum Pattern {
        Frames = 1, // %04d, %d
        Tiles = 2   // <UDIM>, ####
    };
    static constexpr int MaxMatches = 1000000;

    explicit DiskPath(const QString &sceneFile, const StopToken &stop = {});
    QString sceneFolder() const { return m_folder; }

    static QString slashes(const QString &path); // backslashes turned, runs of slashes but leading ones kept single
    static bool isAbsolute(const QString &path); // of any system: "/x", "//server/x", "C:/x"
    static bool isPattern(const QString &path, int kinds);
    // Slashes turned, "." and ".." folded (never above the root), a relative path put below the folder (the scene's
    // when empty).
    QString absolute(const QString &path, const QString &folder = {}) const;
    // The file as the disk spells it; empty where there is none. folderToo: a folder counts as well.
    QString find(const QString &absolutePath, bool folderToo = false);
    QStringList match(const QString &absolutePattern, int kinds);           // existing files, sorted within a folder
    QStringList filesIn(const QString &folder, const QString &ending = {}); // absolute, sorted

private:
    struct Listing {
        QStringList files, folders;       // sorted
        QHash<QString, QString> spelling; // folded name to the disk's
    };
    const Listing &listing(const QString &folder);
    QString spelled(const QString &folder, const QString &name);
    QString folderOnDisk(const QString &folder);
    static int rootLength(const QString &path);

    QString m_folder;
    StopToken m_stop;
    QHash<QString, Listing> m_listings;
    QHash<QString, QString> m_folders; // as named to as on disk, empty where it isn't
};
