#include "common/platform/SafeFile.h"
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
namespace
{
constexpr mode_t PrivateMask = 077, NoMask = 07777;
std::atomic<unsigned> usersMask{NoMask}; // NoMask: the process has the user's own

bool isKind(int fd, mode_t kind, struct stat *info)
{
    return fd >= 0 && fstat(fd, info) == 0 && (info->st_mode & S_IFMT) == kind;
}

// What the user's own mask would have left, beside what a default list of rights has given.
void widen(int fd, mode_t wanted)
{
    struct stat info;
    const unsigned mask = usersMask;
    if (mask != NoMask && fstat(fd, &info) == 0)
        (void)!fchmod(fd, (info.st_mode & 07777) | (wanted & ~mask));
}

bool ownLink(const struct stat &info) { return info.st_uid == geteuid() || info.st_uid == 0; }

// The folder that a link leads to, -1 where the link is another user's. It's read through the descriptor that was
// judged, so that it can't be exchanged in between.
int followOwn(int parent, const char *name, Folder::Reason *reason)
{
    const int link = openat(parent, name, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    struct stat info;
    char target[4096];
    int reached = -1;
    if (!isKind(link, S_IFLNK, &info)) {
        reason->text = std::string("not a folder: ") + name;
    } else if (!ownLink(info)) {
        *reason = {std::string("another user's link: ") + name, true};
    } else {
        const ssize_t length = readlinkat(link, "", target, sizeof target - 1);
        target[length > 0 ? length : 0] = 0;
        reached = length > 0 ? openat(parent, target, O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
        if (reached < 0)
            *reason = {std::string("a link that leads nowhere: ") + name, true};
    }
    if (link >= 0)
        close(link);
    return reached;
}

int step(int parent, const char *name, bool make, Folder::Reason *reason)
{
    const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int fd = openat(parent, name, flags);
    if (fd < 0 && errno == ENOENT && make) {
        const bool made = mkdirat(parent, name, 0777) == 0;
        fd = made || errno == EEXIST ? openat(parent, name, flags) : -1;
        if (made && fd >= 0)
            widen(fd, 0777);
    }
    if (fd < 0 && (errno == ELOOP || errno == ENOTDIR))
        return followOwn(parent, name, reason);
    if (fd < 0) {
        reason->noRoom = noRoom();
        reason->text = std::string(std::strerror(errno)) + ": " + name;
    }
    return fd;
}
} // namespace

struct Folder::Held {
    int fd;
};

Folder::Folder(std::unique_ptr<Held> held) : m_held(std::move(held)) {}
Folder::~Folder() { close(m_held->fd); }

bool readFolder(const std::string &path, const std::function<bool(const std::string &)> &entry, std::string *reason)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC);
    DIR *folder = fd < 0 ? nullptr : fdopendir(fd);
    if (!folder) {
        *reason = std::strerror(errno);
        if (fd >= 0)
            close(fd);
        return false;
    }
    const dirent *found = nullptr;
    for (errno = 0; (found = readdir(folder)); errno = 0) {
        const std::string name = found->d_name;
        if (name != "." && name != ".." && !entry(name))
            break;
    }
    const int bad = found ? 0 : errno;
    closedir(folder);
    *reason = bad == 0 ? "" : std::strerror(bad);
    return bad == 0;
}

namespace
{
// 1: the path's last name is the same in the other case, 0: it isn't, -1: it has no letters, or isn't there.
int sameTurned(const std::string &path)
{
    struct stat here, other;
    std::string turned = path;
    for (std::size_t i = path.rfind('/') + 1; i < turned.size(); ++i) {
        if (std::isalpha(static_cast<unsigned char>(turned[i])))
            turned[i] = char(turned[i] ^ 0x20);
    }
    if (turned == path || lstat(path.c_str(), &here) != 0)
        return -1;
    return lstat(turned.c_str(), &other) == 0 && other.st_dev == here.st_dev && other.st_ino == here.st_ino;
}
} // namespace

// Told by a name that lies in it, else by one of our own: the folder's own name lies in another folder, maybe on
// another volume, which may be of another kind.
bool foldsCase(const std::string &folder)
{
    int told = -1, looked = 0;
    std::string unused;
    const auto look = [&](const std::string &name) {
        constexpr int most = 100;
        told = sameTurned(folder + '/' + name);
        return told < 0 && ++looked < most;
    };
    readFolder(folder, look, &unused);
    if (told < 0) {
        std::string probe = folder + "/.vnXXXXXX";
        const int fd = mkstemp(&probe[0]);
        if (fd < 0)
            return false;
        close(fd);
        told = sameTurned(probe);
        unlink(probe.c_str());
    }
    return told > 0;
}

int openRegular(const std::string &path)
{
    // A device may act on being opened, and a pipe's other end would go on; what comes in between is found below.
    struct stat before;
    if (stat(path.c_str(), &before) != 0 || !S_ISREG(before.st_mode))
        return -1;
    // Without O_NONBLOCK a pipe would be waited for until someone writes to it.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat info;
    if (isKind(fd, S_IFREG, &info)) {
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
        return fd;
    }
    if (fd >= 0)
        close(fd);
    return -1;
}

bool noRoom() { return errno == ENOSPC || errno == EDQUOT; }

int setFileSize(int fd, std::int64_t size)
{
    struct stat info;
    if (fd < 0 || size < 0 || fstat(fd, &info) != 0)
        return -1;
    const off_t before = info.st_size;
#ifdef __linux__
    // Real blocks, so that a full disk shows now. A file system that can't do it gets the bare length.
    if (size > before && fallocate(fd, 0, before, off_t(size) - before) == 0)
        return 0;
    if (size > before && errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL) {
        const bool full = noRoom() || errno == EFBIG;
        (void)!ftruncate(fd, before);
        return full ? -2 : -1;
    }
#endif
    if (ftruncate(fd, off_t(size)) == 0)
        return 0;
    return noRoom() || errno == EFBIG ? -2 : -1;
}

void privateFiles()
{
    const mode_t before = umask(PrivateMask);
    if (usersMask == NoMask)
        usersMask = before;
}

void openMask()
{
    if (usersMask != NoMask)
        umask(mode_t(usersMask));
}

OpenMask::OpenMask() { openMask(); }

OpenMask::~OpenMask()
{
    if (usersMask != NoMask)
        umask(PrivateMask);
}

bool makePrivate(const std::string &path, bool folder, bool make)
{
    const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | (folder ? O_DIRECTORY : make ? O_CREAT : 0);
    const int fd = ::open(path.c_str(), flags, 0600);
    struct stat info;
    const bool good = isKind(fd, folder ? S_IFDIR : S_IFREG, &info) && fchmod(fd, info.st_mode & 0700) == 0;
    if (fd >= 0)
        close(fd);
    return good;
}

std::unique_ptr<Folder> Folder::reach(const std::string &root, const std::string &below, bool make, Reason *reason)
{
    Reason why;
    int at = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (at < 0)
        why.text = std::string(std::strerror(errno)) + ": " + root;
    for (std::size_t from = 0; at >= 0 && from < below.size();) {
        const std::size_t end = std::min(below.find('/', from), below.size());
        const std::string piece = below.substr(from, end - from);
        from = end + 1;
        if (piece.empty() || piece == ".")
            continue;
        const int next = piece == ".." ? -1 : step(at, piece.c_str(), make, &why);
        if (piece == "..")
            why = {"a piece that leaves the folder", true};
        close(at);
        at = next;
    }
    if (reason)
        *reason = why;
    return at < 0 ? nullptr : std::unique_ptr<Folder>(new Folder(std::make_unique<Held>(Held{at})));
}

int Folder::open(const std::string &name, bool write)
{
    const int fd =
        openat(m_held->fd, name.c_str(), (write ? O_RDWR : O_RDONLY) | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat info;
    // A second name is as good as a link for whoever wants to have another file written.
    if (isKind(fd, S_IFREG, &info) && info.st_nlink == 1)
        return fd;
    if (fd >= 0)
        close(fd);
    return -1;
}

int Folder::create(const std::string &name)
{
    unlinkat(m_held->fd, name.c_str(), 0);
    const int fd = openat(m_held->fd, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd >= 0)
        widen(fd, 0666);
    return fd;
}

bool Folder::remove(const std::string &name) { return unlinkat(m_held->fd, name.c_str(), 0) == 0; }

bool Folder::rename(const std::string &from, const std::string &to)
{
    return renameat(m_held->fd, from.c_str(), m_held->fd, to.c_str()) == 0;
}

// Some file systems have nothing to sync for a folder and say so.
bool Folder::sync() { return fsync(m_held->fd) == 0 || errno == EINVAL || errno == ENOTSUP; }
} // namespace platform
