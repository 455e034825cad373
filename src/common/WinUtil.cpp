#include "common/WinUtil.h"
#include "common/platform/Platform.h"

int WinUtil::createFixedSizeFile(const QString &path, qint64 size)
{
    return platform::createFixedSizeFile(path.toStdString(), size);
}
