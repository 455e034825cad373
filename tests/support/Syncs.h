#pragma once
// Every fsync and fdatasync of this test binary, counted by the file's path: the calls of the system themselves, so that
// a sync that only pretends counts as none. fail() makes those of files whose path ends so fail, as a disk that goes does.
#include <cerrno>
#include <QString>

namespace syncs
{
int count(const QString &ending);                  // of files and folders whose path ends so
void fail(const QString &ending, int error = EIO); // null: none
void reset();
} // namespace syncs
