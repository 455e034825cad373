#include "common/WinUtil.h"
#include "common/platform/SafeFile.h"

int WinUtil::createFixedSizeFile(int fd, qint64 size) { return platform::setFileSize(fd, size); }
