#include "package/Steps.h"
#include "common/platform/Platform.h"
#include <cerrno>
#include <cstring>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#ifdef Q_OS_WIN
#include <windows.h>
#endif
#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>
#endif

namespace
{
QString reason;

bool failed(const QString &path, const QString &words)
{
    reason = path + QStringLiteral(": ") + words;
    return false;
}

#ifdef VN_INJECT
bool full = false;
void at(const char *operation, const QString &path)
{
    static int count = 0;
    ++count;
    const QByteArray log = qgetenv("VN_STEPS");
    if (!log.isEmpty()) {
        QFile to(QString::fromLocal8Bit(log));
        if (to.open(QIODevice::Append))
            to.write(QByteArray::number(count) + ' ' + operation + ' ' + path.toUtf8() + '\n');
    }
    if (qEnvironmentVariableIntValue("VN_DIE_AT") == count)
        std::_Exit(77);
    full = qEnvironmentVariableIsSet("VN_FULL_AT") && count >= qEnvironmentVariableIntValue("VN_FULL_AT");
}
#else
constexpr bool full = false;
void at(const char *, const QString &) {}
#endif

bool exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

bool syncParent(const QString &path) { return Steps::syncFolder(QFileInfo(path).absolutePath()); }
} // namespace

QString Steps::why() { return reason; }

bool Steps::syncFolder(const QString &path)
{
    return platform::syncFolder(path.toStdString()) || failed(path, QStringLiteral("the folder can't be synced"));
}

bool Steps::makeFolder(const QString &path)
{
    if (QFileInfo(path).isDir())
        return true;
    if (!makeFolder(QFileInfo(path).absolutePath()))
        return false;
    at("makeFolder", path);
    if (full || !QDir().mkdir(path))
        return failed(path, QStringLiteral("the folder can't be made"));
    return syncParent(path);
}

bool Steps::write(const QString &path, bool executable, const std::function<QByteArray(bool *good)> &next)
{
    at("write", path);
    QFile to(path);
    if (!to.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return failed(path, to.errorString());
    const auto drop = [&to, &path](const QString &words) {
        to.close();
        to.remove();
        return failed(path, words);
    };
    for (bool good = true;;) {
        const QByteArray piece = next(&good);
        if (!good)
            return drop(reason);
        if (piece.isEmpty())
            break;
        if (full || to.write(piece) != piece.size() || !to.flush())
            return drop(QStringLiteral("can't be written whole, the disk may be full (%1)").arg(to.errorString()));
    }
    QFile::Permissions rights = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    if (executable)
        rights |= QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    if (!to.flush() || !platform::syncFile(to.handle()))
        return drop(to.errorString());
    to.setPermissions(rights);
    to.close();
    return to.error() == QFileDevice::NoError || failed(path, to.errorString());
}

bool Steps::writeWhole(const QString &path, const QByteArray &content)
{
    const QString next = path + QStringLiteral(".next");
    QFile::remove(next);
    bool given = false;
    if (!write(next, false, [&](bool *) { return std::exchange(given, true) ? QByteArray() : content; }))
        return false;
    at("writeWhole", path);
    // QFile::rename doesn't replace; the system's own does.
#ifdef Q_OS_WIN
    const QString from = QDir::toNativeSeparators(next), to = QDir::toNativeSeparators(path);
    if (!MoveFileExW(reinterpret_cast<const wchar_t *>(from.utf16()), reinterpret_cast<const wchar_t *>(to.utf16()),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return failed(path, QStringLiteral("can't be replaced, error %1").arg(GetLastError()));
#else
    if (::rename(QFile::encodeName(next).constData(), QFile::encodeName(path).constData()) != 0)
        return failed(path, QString::fromLocal8Bit(std::strerror(errno)));
#endif
    return syncParent(path);
}

bool Steps::rename(const QString &from, const QString &to)
{
    at("rename", from);
    if (exists(to))
        return failed(to, QStringLiteral("is there already"));
    if (!QDir().rename(from, to))
        return failed(from, QStringLiteral("can't become ") + to);
    return syncParent(to);
}

bool Steps::exchange(const QString &one, const QString &other, bool *possible)
{
    *possible = false;
#if defined(Q_OS_LINUX) && defined(RENAME_EXCHANGE)
    at("exchange", one);
    if (!qEnvironmentVariableIsSet("VN_NO_EXCHANGE")) {
        if (::renameat2(AT_FDCWD, QFile::encodeName(one).constData(), AT_FDCWD, QFile::encodeName(other).constData(),
                        RENAME_EXCHANGE) == 0) {
            *possible = true;
            return syncParent(one);
        }
        *possible = errno != EINVAL && errno != ENOSYS;
        return failed(one, QString::fromLocal8Bit(std::strerror(errno)));
    }
#else
    Q_UNUSED(other)
#endif
    return failed(one, QStringLiteral("this system can't swap two names"));
}

bool Steps::linkOrCopy(const QString &from, const QString &to)
{
    at("linkOrCopy", to);
    const QFileInfo info(from);
#ifndef Q_OS_WIN
    if (info.isSymLink()) {
        QByteArray target(4096, 0);
        const ssize_t length =
            ::readlink(QFile::encodeName(from).constData(), target.data(), size_t(target.size() - 1));
        return (length > 0 &&
                ::symlink(target.left(int(length)).constData(), QFile::encodeName(to).constData()) == 0) ||
               failed(from, QString::fromLocal8Bit(std::strerror(errno)));
    }
    if (::link(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
#endif
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return failed(from, source.errorString());
    return write(to, info.isExecutable(), [&source](bool *good) {
        const QByteArray piece = source.read(1 << 20);
        *good = source.error() == QFileDevice::NoError;
        return piece;
    });
}

bool Steps::removeFile(const QString &path)
{
    if (!exists(path))
        return true;
    at("removeFile", path);
    return QFile::remove(path) || failed(path, QStringLiteral("can't be removed"));
}

bool Steps::removeTree(const QString &path)
{
    const QFileInfo info(path);
    if (info.isSymLink() || info.isFile())
        return removeFile(path);
    if (!info.isDir())
        return true;
    const auto all = QDir(path).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &one : all)
        if (!removeTree(one.filePath()))
            return false;
    at("removeFolder", path);
    return QDir().rmdir(path) || failed(path, QStringLiteral("can't be removed"));
}
