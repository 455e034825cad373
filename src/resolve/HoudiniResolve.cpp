#include "resolve/HoudiniResolve.h"
#include "common/facts/AnalysisError.h"
#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "resolve/BatchFile.h"
#include "resolve/SoftwareFinder.h"

void HoudiniResolve::resolve()
{
    const QStringList words = software.split(QLatin1Char('-'));
    if (words.size() < 2)
        return setError(AnalysisError::BadSoftware);
    const SoftwareFinder::Installation houdini = SoftwareFinder::houdini(software, words.at(1).trimmed());
    if (!houdini.found())
        return setError(AnalysisError::NoSoftware);
    BatchFile batch(platform::isWindows());
    batch.run({native(houdini.program), native(sceneFile),
               native(UserInfo::programDir() + QLatin1String("/scripts/houdini/p27/vhmain.py"))});
    const QString path = batch.write(logFile);
    if (path.isEmpty())
        return setError(AnalysisError::WriteError);
    startBatch(path);
}
