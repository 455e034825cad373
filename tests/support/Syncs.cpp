#include "support/Syncs.h"
#include <algorithm>
#include <cerrno>
#include <mutex>
#include <QStringList>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
std::mutex mutex;
QString failing;
int failure = EIO;

QStringList &paths()
{
    static QStringList list;
    return list;
}

int note(long call, int fd)
{
    char path[4096];
    const ssize_t length = readlink(qPrintable(QStringLiteral("/proc/self/fd/%1").arg(fd)), path, sizeof path);
    bool fails = false;
    int error = 0;
    {
        std::lock_guard lock(mutex);
        paths() << QString::fromUtf8(path, int(std::max<ssize_t>(0, length)));
        error = failure;
        fails = !failing.isNull() && paths().last().endsWith(failing);
    }
    if (!fails)
        return int(syscall(call, fd));
    errno = error;
    return -1;
}
} // namespace

extern "C" int fsync(int fd) { return note(SYS_fsync, fd); }
extern "C" int fdatasync(int fd) { return note(SYS_fdatasync, fd); }

int syncs::count(const QString &ending)
{
    std::lock_guard lock(mutex);
    return int(std::count_if(paths().cbegin(), paths().cend(), [&](const QString &path) { return path.endsWith(ending); }));
}

void syncs::fail(const QString &ending, int error)
{
    std::lock_guard lock(mutex);
    failing = ending;
    failure = error;
}

void syncs::reset()
{
    std::lock_guard lock(mutex);
    paths().clear();
}
