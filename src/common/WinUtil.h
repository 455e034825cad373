#pragma once
// Preallocation of partial downloads, under the name that the download queue uses. Static, any thread.
#include <QString>

class WinUtil
{
public:
    // 0 good, -1 not openable, -2 no room for size bytes (the file is removed). An existing file loses its content.
    static int createFixedSizeFile(const QString &path, qint64 size);
};
