#pragma once
// Preallocation of partial downloads, under the name that the download queue uses. Static, any thread.
#include <QString>

class WinUtil
{
public:
    // Gives an open file this size: 0 good, -1 not possible, -2 no room for it (the size stays). The content stays.
    static int createFixedSizeFile(int fd, qint64 size);
};
