#include "package/FileInstall.h"
#include "package/Steps.h"
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>

namespace
{
const QString fresh = QStringLiteral(".vnnew"), before = QStringLiteral(".vnold");
const QString staging = QStringLiteral("staging"), committing = QStringLiteral("commit");
constexpr int LockMs = 2000;
const QString readme = QStringLiteral("readme.txt");

bool exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}
} // namespace

bool FileInstall::fail(const QString &words)
{
    m_why = words;
    return false;
}

bool FileInstall::save(const QString &step, const QStringList &paths)
{
    const QJsonObject all{{QStringLiteral("step"), step},
                          {QStringLiteral("folder"), m_folder},
                          {QStringLiteral("paths"), QJsonArray::fromStringList(paths)}};
    return (Steps::makeFolder(QFileInfo(m_journal).absolutePath()) &&
            Steps::writeWhole(m_journal, QJsonDocument(all).toJson(QJsonDocument::Compact))) ||
           fail(Steps::why());
}

bool FileInstall::clear(const QStringList &paths, const QString &suffix)
{
    for (const QString &path : paths)
        if (!Steps::removeFile(m_folder + QLatin1Char('/') + path + suffix))
            return fail(Steps::why());
    return true;
}

bool FileInstall::commit(const QStringList &paths)
{
    for (const QString &path : paths) {
        const QString place = m_folder + QLatin1Char('/') + path;
        if (!exists(place + fresh))
            continue; // is in its place already
        if (exists(place) && !exists(place + before) && !Steps::rename(place, place + before))
            return fail(Steps::why());
        if (exists(place) && !Steps::removeFile(place))
            return fail(Steps::why());
        if (!Steps::rename(place + fresh, place))
            return fail(Steps::why());
    }
    return clear(paths, before) && (Steps::removeFile(m_journal) || fail(Steps::why()));
}

bool FileInstall::alone(QLockFile *lock)
{
    lock->setStaleLockTime(0); // large packages take long; a dead owner is known by its number
    if (lock->tryLock(LockMs))
        return true;
    if (lock->error() == QLockFile::LockFailedError)
        return fail(QStringLiteral("another client is bringing software into ") + m_folder);
    return fail(m_folder + (lock->error() == QLockFile::PermissionError
                                ? QStringLiteral(": this user may not write there")
                                : QStringLiteral(" can't be written, the disk may be full")));
}

bool FileInstall::recover()
{
    if (!QFileInfo::exists(m_journal))
        return true;
    QLockFile lock(lockFile(m_folder));
    return alone(&lock) && mend();
}

bool FileInstall::mend()
{
    QFile from(m_journal);
    if (!from.open(QIODevice::ReadOnly))
        return true;
    const QJsonObject all = QJsonDocument::fromJson(from.readAll()).object();
    from.close();
    QStringList paths;
    for (const QJsonValue &value : all.value(QLatin1String("paths")).toArray())
        if (Manifest::goodPath(value.toString()))
            paths << value.toString();
    if (all.value(QLatin1String("folder")).toString() != m_folder)
        return fail(m_journal + QStringLiteral(" speaks of another folder"));
    if (all.value(QLatin1String("step")).toString() == committing)
        return commit(paths);
    return clear(paths, fresh) && (Steps::removeFile(m_journal) || fail(Steps::why()));
}

bool FileInstall::install(Package *package)
{
    QStringList paths; // the package's own words about itself stay out
    for (const ManifestFile &file : package->manifest().files) {
        const QString place = m_folder + QLatin1Char('/') + file.path;
        for (QString one = QFileInfo(place).path(); one.size() > m_folder.size(); one = QFileInfo(one).path())
            if (QFileInfo(one).isSymLink())
                return fail(one + QStringLiteral(" is a link, nothing is written behind it"));
        if (QFileInfo(file.path).fileName().compare(readme, Qt::CaseInsensitive) != 0 && !(file.keep && exists(place)))
            paths << file.path;
    }
    if (paths.isEmpty())
        return fail(QStringLiteral("the package brings no files"));
    QLockFile lock(lockFile(m_folder));
    if (!alone(&lock) || !mend() || !save(staging, paths) || !clear(paths, fresh))
        return false;
    const auto takeBack = [this](const QString &reason) {
        mend();
        return fail(reason);
    };
    if (!package->unpack(m_folder, fresh, paths))
        return takeBack(package->why());
    for (const QString &path : paths)
        if (!Steps::syncFolder(QFileInfo(m_folder + QLatin1Char('/') + path).absolutePath()))
            return takeBack(Steps::why());
    return save(committing, paths) ? commit(paths) : takeBack(m_why);
}
