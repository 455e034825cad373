#include "Updater.h"
#include "common/platform/Platform.h"
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#ifndef Q_OS_WIN
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

QString Updater::system() { return platform::isWindows() ? QStringLiteral("windows") : QStringLiteral("linux"); }

QString Updater::serverOf(const QString &folder)
{
    const QSettings addresses(folder + QStringLiteral("/service.ini"), QSettings::IniFormat);
    QString base = addresses.value(QStringLiteral("server/update")).toString();
    if (base.isEmpty())
        base = addresses.value(QStringLiteral("server/qnbs"), QStringLiteral("http://127.0.0.1")).toString();
    if (!base.contains(QLatin1String("://")))
        base.prepend(QLatin1String("http://"));
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    return base;
}

bool Updater::runs(const QString &program)
{
    // The system lets nobody write to a program that runs.
#ifdef Q_OS_WIN
    QFile file(program);
    return file.exists() && !file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly);
#else
    const int fd = ::open(QFile::encodeName(program).constData(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return errno == ETXTBSY;
    ::close(fd);
    return false;
#endif
}

bool Updater::copyTo(const QString &folder, QString *program)
{
    const QString self = QCoreApplication::applicationFilePath();
    const QString name = QFileInfo(self).fileName();
    if (QFileInfo::exists(folder) && !QFileInfo::exists(folder + QLatin1Char('/') + name))
        return false; // somebody else's
    QDir(folder).removeRecursively();
    if (!QDir().mkpath(folder))
        return false;
    // The program first: it marks the folder as this program's own.
    QStringList names{name};
    names += QDir(QCoreApplication::applicationDirPath())
                 .entryList({QStringLiteral("*.dll"), QStringLiteral("*.so"), QStringLiteral("*.so.*"),
                             QStringLiteral("qt.conf")},
                            QDir::Files);
    for (const QString &one : names)
        if (!QFile::copy(QCoreApplication::applicationDirPath() + QLatin1Char('/') + one,
                         folder + QLatin1Char('/') + one))
            return false;
    *program = folder + QLatin1Char('/') + name;
    return true;
}
