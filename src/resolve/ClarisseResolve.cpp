#include "resolve/ClarisseResolve.h"
#include "common/facts/AnalysisError.h"
#include "resolve/SoftwareFinder.h"

QString ClarisseResolve::version(const QString &software)
{
    const QStringList words = software.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return words.size() < 2 ? software : QStringLiteral("%1 %2").arg(words.at(0), words.at(1)).toUpper();
}

void ClarisseResolve::resolve()
{
    if (software.trimmed().isEmpty())
        return setError(AnalysisError::BadSoftware);
    const SoftwareFinder::Installation clarisse = SoftwareFinder::clarisse(software, version(software));
    if (!clarisse.found())
        return setError(AnalysisError::NoSoftware);
    startPro(clarisse.program, {sceneFile, QStringLiteral("-info")});
}
