#include "resolve/MaxResolve.h"
#include "common/facts/AnalysisError.h"
#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "resolve/BatchFile.h"
#include "resolve/MaxVersion.h"
#include "resolve/SoftwareFinder.h"
#include <QFileInfo>

namespace
{
// The encrypted copy where one was packaged, else the source.
QString script()
{
    const QString packaged = UserInfo::programDir() + QLatin1String("/scripts/max/Vandrel_param.mse");
    return QFileInfo::exists(packaged) ? packaged : QString(packaged).chopped(1);
}
} // namespace

void MaxResolve::resolve()
{
    const QStringList words = software.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.size() < 3)
        return setError(AnalysisError::BadSoftware);
    const auto check = [year = words.last(), path = sceneFile](const StopToken &) {
        const QString matched = MaxVersion::isVersionMatched(year, path);
        return matched == QLatin1String("matched") ? 0 : matched.toInt();
    };
    onDisk(check, [this, year = words.last()] { startSoftware(year); });
}

void MaxResolve::startSoftware(const QString &year)
{
    const SoftwareFinder::Installation max = SoftwareFinder::max(software, year);
    if (!max.found())
        return setError(AnalysisError::NoSoftware);

    const QString starter = logFile + QLatin1String(".ms");
    BatchFile batch(platform::isWindows());
    batch.set(QStringLiteral("vandrel_old_2010_2012"), native(logFile));
    batch.set(QStringLiteral("vandrel_filepath"), native(logFile));
    batch.set(QStringLiteral("vandrel_fileload"), native(sceneFile));
    batch.run({native(max.program), QStringLiteral("-q"), QStringLiteral("-silent"), QStringLiteral("-mip"),
               QStringLiteral("-u"), QStringLiteral("MAXScript"), native(starter)});
    batch.show(native(logFile));
    // The script appends to the log, which has to be there.
    if (BatchFile::write(starter, QStringLiteral("filein \"%1\"\r\n").arg(script()).toUtf8()).isEmpty() ||
        BatchFile::write(logFile, {}).isEmpty())
        return setError(AnalysisError::WriteError);
    const QString path = batch.write(logFile);
    if (path.isEmpty())
        return setError(AnalysisError::WriteError);
    startBatch(path);
}
