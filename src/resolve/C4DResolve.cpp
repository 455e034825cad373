#include "resolve/C4DResolve.h"
#include "common/facts/AnalysisError.h"
#include "common/Seam.h"
#include "common/UserInfo.h"
#include "common/WindowCalls.h"
#include "resolve/BatchFile.h"
#include "resolve/C4DPlugin.h"
#include "resolve/SoftwareFinder.h"
#include <QJsonArray>
#include <QRegularExpression>

QString C4DResolve::version(const QString &software)
{
    static const QRegularExpression year(QStringLiteral("(?:^|\\D)(\\d{4})$"));
    const QRegularExpressionMatch match = year.match(software);
    return match.hasMatch() ? match.captured(1) : software.right(2);
}

void C4DResolve::resolve()
{
    const SoftwareFinder::Installation c4d = SoftwareFinder::cinema4D(software, version(software));
    if (!c4d.found())
        return setError(AnalysisError::NoSoftware);
    const QJsonArray left = C4DPlugin::install(UserInfo::programDir() + QLatin1String("/scripts/c4d"), c4d.folder);
    if (!left.isEmpty() && !C4DPlugin::elevated(left)) {
        const QString text = tr("请允许此操作，已保证解析正常");
        Seam<WindowCalls>::post([text](WindowCalls &window) { window.msgOk(text); });
        return setError(AnalysisError::NotElevated);
    }
    const QString program = native(c4d.program);
    const QStringList arguments{QStringLiteral("-nogui"), native(sceneFile)};
    if (BatchFile::write(
            logFile, (program + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')) + QLatin1Char('\n')).toLocal8Bit())
            .isEmpty())
        return setError(AnalysisError::WriteError);
    startPro(program, arguments, UserInfo::programDir());
}
