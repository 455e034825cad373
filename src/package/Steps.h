#pragma once
// Every change that an update makes on a disk goes through here, one function an operation: what is written is on the
// medium when it returns, so that the order of the calls is the order of what a power cut leaves. Each answers false
// on failure and leaves the reason in why(). A build for tests (VN_INJECT) ends the process without a word before
// operation number $VN_DIE_AT, counted from 1, has no room on the disk from number $VN_FULL_AT on, and appends the name
// of each operation to the file $VN_STEPS.
#include <functional>
#include <QByteArray>
#include <QIODevice>
#include <QString>

namespace Steps
{
bool makeFolder(const QString &path); // with those above it
// Writes what next() gives, until it gives nothing; false in good ends the writing as failed and removes the file.
bool write(const QString &path, bool executable, const std::function<QByteArray(bool *good)> &next);
bool writeWhole(const QString &path, const QByteArray &content); // replaces the file as a whole
bool rename(const QString &from, const QString &to); // to must not be there; both in one folder or file system
// Swaps two names at once where the system can. False with *possible false: it can't, nothing has changed.
bool exchange(const QString &one, const QString &other, bool *possible);
bool linkOrCopy(const QString &from, const QString &to); // a link stays a link; a file is linked hard, else copied
bool removeFile(const QString &path);                    // true where there is none
bool removeTree(const QString &path);                    // links in it are removed, not followed
bool syncFolder(const QString &path);
QString why();
} // namespace Steps
