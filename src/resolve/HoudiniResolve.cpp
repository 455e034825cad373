#include "resolve/HoudiniResolve.h"
#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "resolve/BatchFile.h"
#include "resolve/SoftwareFinder.h"

void HoudiniResolve::resolve()
{
    enum { WriteFailed = 10004, Malformed = 10010, NotFound = 10011 };
    const QStringList words = software.split(QLatin1Char('-'));
    if (words.size() < 2)
        return setError(Malformed);
    const SoftwareFinder::Installation houdini = SoftwareFinder::houdini(software, words.at(1).trimmed());
    if (!houdini.found())
        return setError(NotFound);
    BatchFile batch(platform::isWindows());
    batch.run({native(houdini.program), native(sceneFile),
               native(UserInfo::programDir() + QLatin1String("/scripts/houdini/p27/vhmain.py"))});
    const QString path = batch.write(logFile);
    if (path.isEmpty())
        return setError(WriteFailed);
    startBatch(path);
}
