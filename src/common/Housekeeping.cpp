#include "common/Housekeeping.h"
#include "common/VFunc.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

QStringList Housekeeping::removeOldVersions(const QString &programDir)
{
    static const QRegularExpression version(QStringLiteral("\\A\\d+(\\.\\d+){3}\\z"));
    const QFileInfo own(
        QFileInfo(programDir).canonicalFilePath()); // links followed: the running tree must be recognised
    if (!version.match(own.fileName()).hasMatch())
        return {};
    QStringList removed;
    QDir above(own.path());
    const auto folders = QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks;
    for (const QString &name : above.entryList({QStringLiteral("*.*.*.*")}, folders)) {
        if (name != own.fileName() && version.match(name).hasMatch() && VFunc::removeDir(above.filePath(name)))
            removed.append(name);
    }
    for (const QString &name : above.entryList({QStringLiteral("VD-*.exe")}, QDir::Files)) {
        if (above.remove(name))
            removed.append(name);
    }
    if (!removed.isEmpty())
        qDebug().noquote() << "Housekeeping::removeOldVersions" << removed;
    return removed;
}
