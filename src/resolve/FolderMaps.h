#pragma once
// Folders that have moved, as the user showed once: where a scene names a file below one that isn't there, it's looked
// for below the other. Paths as text, nothing here touches the disk; kept in the account's settings, the newest first.
// Any thread.
#include <QList>
#include <QString>

struct FolderMap {
    QString from, to; // forward slashes, no slash at the end
    bool good() const { return !from.isEmpty() && !to.isEmpty() && from != to; }
    bool holds(const QString &path) const;    // lies below from
    QString moved(const QString &path) const; // the same below to; empty where it isn't below from
    // The widest one that says the same: "/a/tex/rock" to "/b/tex/rock" is "/a" to "/b".
    static FolderMap widest(const QString &from, const QString &to);
};

namespace FolderMaps
{
constexpr int Most = 200; // beyond it the oldest go
QList<FolderMap> all();
void add(const FolderMap &map);
} // namespace FolderMaps
