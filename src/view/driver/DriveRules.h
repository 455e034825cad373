#pragma once
// What the drive lets a user do: names that an entry may get, and which acts fit what is chosen. Pure functions, any
// thread; no window, no request.
#include "view/driver/FileView.h"
#include <functional>

namespace DriveRules
{
constexpr int MostName = 255; // characters that are too many

// Judged in this order; a name that hasn't changed is left, and asks for nothing.
enum class Name { Good, Unchanged, Long, Characters };
Name judgeName(const QString &name, const QString &before = {});
QString refusal(Name what); // what to tell; empty where there is nothing to tell
// base, or with the first free number behind it: "新建文件夹 (2)".
QString freeName(const QString &base, const std::function<bool(const QString &)> &taken);

struct Where {
    int fileType = 1;
    bool root = false;                                   // the list of disks (of results: of their tasks)
    bool search = false;                                 // rows of many folders
    bool upload = true, download = true, analyse = true; // rights
};
struct Acts {
    bool addDisk = false, rename = false, remove = false, create = false, move = false, property = false;
    bool download = false, submit = false, upload = false, check = false;
};
Acts judgeAction(const QVector<const FileView *> &chosen, const Where &where);

// Whether entries may be moved there. chain: ids from the root down to the target.
bool movable(const QStringList &ids, const QStringList &chain, const QString &from);
} // namespace DriveRules
