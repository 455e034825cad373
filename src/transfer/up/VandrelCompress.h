#pragma once
// Two operations on top of QuaZip's JlCompress: files into a new ZIP in large blocks, with a stop flag that is tested
// between blocks, so that a pause cancels a long compression. Static, any thread; blocks the caller.
#include <atomic>
#include <JlCompress.h>
#include <QStringList>

class VandrelCompress : public JlCompress
{
public:
    // Deflate level 6, entries by their file names alone, ZIP64 where the size wants it. False when stop turned true, a
    // file can't be read or the archive can't be written (logged); the archive is then removed.
    static bool vandrelCompressOneFile(const QString &zipName, const QString &file, const std::atomic_bool &stop);
    static bool vandrelCompress(const QString &zipName, const QStringList &files, const std::atomic_bool &stop);
    // Whether the archive is whole and its only entry has this size and name.
    static bool holds(const QString &zipName, const QString &file, qint64 size);

    static constexpr int Level = 6;
    static constexpr int Block = 1048576;
};
