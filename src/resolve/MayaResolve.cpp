#include "resolve/MayaResolve.h"
#include "common/facts/AnalysisError.h"
#include "common/UserInfo.h"
#include "resolve/SoftwareFinder.h"
#include <QFileInfo>
#include <QRegularExpression>

QString MayaResolve::scriptFolder(const QString &software)
{
    static const QRegularExpression old(QStringLiteral("maya201[0-3]"), QRegularExpression::CaseInsensitiveOption);
    const QString base = UserInfo::programDir() + QLatin1String("/scripts/maya/"),
                  present = base + QLatin1String("p27");
    const QString before = base + QLatin1String("p26");
    if (!old.match(software).hasMatch())
        return present;
    // A tree that was laid down without a copy for the old ones still has a source that both can read.
    return QFileInfo(present).isDir() && !QFileInfo(before).isDir() ? present : before;
}

void MayaResolve::resolve()
{
    const QString version = QString(software).remove(QLatin1String("maya")).trimmed();
    const SoftwareFinder::Installation maya = SoftwareFinder::maya(software, version, fastMaya != 0);
    if (!maya.found())
        return setError(AnalysisError::NoSoftware);
    const QString scripts = scriptFolder(software);
    const QString project = rsetText(QStringLiteral("mayaProject"));
    const QStringList inProject = project.isEmpty() ? QStringList() : QStringList{QStringLiteral("-proj"), project};
    if (fastMaya) // the interpreter runs the first word
        return startPro(maya.program, QStringList{scripts + QLatin1String("/VMA.py"), sceneFile} + inProject);

    const QString command = QStringLiteral("python(\"import sys,os\");python(\"sys.path.append(\\\"%1\\\")\");"
                                           "python(\"import vanalyzer\");python(\"vanalyzer.runMain(%2,%3)\")")
                                .arg(scripts)
                                .arg(0)
                                .arg(UserInfo::mayaCache());
    QStringList arguments;
    if (QFileInfo(maya.program).completeBaseName() == QLatin1String("maya"))
        arguments << QStringLiteral("-batch"); // where there is no batch program of its own
    arguments << inProject << QStringLiteral("-file") << sceneFile << QStringLiteral("-command") << command;
    startPro(maya.program, arguments);
}
