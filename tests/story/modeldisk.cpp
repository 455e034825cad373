// A disk that keeps only what a sync made durable, as a library before the client (LD_PRELOAD). Below the folder
// VN_DISK_ROOT every fsync and fdatasync leaves a record in VN_DISK_LOG: of a file its content, of a folder its names; a
// syncfs one of everything but the stores, which can't be read from here without loosening their locks.
// power.py builds from the records what is there after a cut. VN_DISK_CUT="10704:2" cuts the power at the second such
// word to the business server: from the moment it leaves nothing becomes durable any more, and the process dies.
// VN_CUT="one.db:7" kills before the seventh change (write, length, sync, other name, end) of a file with that in its path;
// "one.db>two.db:2" before the second change of a file of the second kind that follows right upon one of the first;
// "one.db-wal#:1" before the first change of a store's tables: page 1 goes into its write-ahead log with another schema.
#include <atomic>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

static pthread_mutex_t gate = PTHREAD_MUTEX_INITIALIZER;
static const char *root, *records;
static int wantedCommand, wantedCount;
static std::atomic_int off{0}, number{0};
static char cutNames[2][64];
static int cutAt;
static bool cutTables;

// A file is known by inode and time of birth: inodes come back into use.
static void key(const struct statx *facts, char *out)
{
    sprintf(out, "%llu.%lld.%u", static_cast<unsigned long long>(facts->stx_ino), static_cast<long long>(facts->stx_btime.tv_sec),
            facts->stx_btime.tv_nsec);
}

static void note(const char *line)
{
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s/log", records);
    const int fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0 || syscall(SYS_write, fd, line, strlen(line)) < 0)
        abort();
    close(fd);
}

static void keepFile(int fd, const char *kept)
{
    static thread_local char block[1 << 16];
    char again[64];
    snprintf(again, sizeof again, "/proc/self/fd/%d", fd);
    // Where the program can read there: closing another descriptor would drop SQLite's locks on the file.
    const bool readable = (fcntl(fd, F_GETFL) & O_ACCMODE) != O_WRONLY;
    const int in = readable ? fd : open(again, O_RDONLY | O_CLOEXEC);
    const int out = open(kept, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    off_t at = 0;
    for (ssize_t got; (got = pread(in, block, sizeof block, at)) > 0; at += got)
        if (syscall(SYS_write, out, block, size_t(got)) != got)
            abort();
    close(out);
    if (!readable)
        close(in);
}

static void keepNames(const char *path, const char *kept)
{
    FILE *out = fopen(kept, "w");
    DIR *folder = opendir(path);
    while (struct dirent *one = folder ? readdir(folder) : nullptr) {
        struct statx facts;
        char name[64];
        if (!strcmp(one->d_name, ".") || !strcmp(one->d_name, "..") ||
            statx(dirfd(folder), one->d_name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &facts) != 0)
            continue;
        key(&facts, name);
        if (S_ISREG(facts.stx_mode) || S_ISDIR(facts.stx_mode))
            fprintf(out, "%c %s %s\n", S_ISDIR(facts.stx_mode) ? 'd' : 'f', name, one->d_name);
    }
    if (folder)
        closedir(folder);
    fclose(out);
}

static void cut(const char *path)
{
    static std::atomic_int met{0}, last{-1};
    const int which = cutNames[1][0] && strstr(path, cutNames[1]) ? 1 : strstr(path, cutNames[0]) ? 0 : -1;
    if (which < 0)
        return;
    const int before = last.exchange(which);
    if ((!cutNames[1][0] || (which == 1 && before == 0)) && ++met == cutAt) {
        off = 1;
        kill(getpid(), SIGKILL);
        pause();
    }
}

static void changes(int fd, bool tables = false)
{
    char link[64], path[PATH_MAX];
    if (!cutAt || tables != cutTables)
        return;
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = readlink(link, path, sizeof path - 1);
    if (length <= 0 || path[0] != '/')
        return;
    path[length] = 0;
    cut(path);
}

static void keep(int fd, const char *path, const struct statx *facts)
{
    char name[64], to[PATH_MAX], line[PATH_MAX + 256];
    while (off) // the power is gone: this sync never returns
        pause();
    const int mine = ++number;
    key(facts, name);
    snprintf(to, sizeof to, "%s/%d", records, mine);
    S_ISDIR(facts->stx_mode) ? keepNames(path, to) : keepFile(fd, to);
    snprintf(line, sizeof line, "%c %d %s %s\n", S_ISDIR(facts->stx_mode) ? 'D' : 'F', mine, name, path);
    while (off) // it went while the content was kept: whoever waits for this sync must not learn of a success
        pause();
    note(line);
}

static int keepEach(const char *path, const struct stat *, int kind, struct FTW *)
{
    struct statx facts;
    if ((kind != FTW_F && kind != FTW_D) || strstr(path, ".db"))
        return 0;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd >= 0 && statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &facts) == 0)
        keep(fd, path, &facts);
    close(fd);
    return 0;
}

static int kept(long call, int fd)
{
    changes(fd);
    char link[64], path[PATH_MAX];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = root ? readlink(link, path, sizeof path - 1) : -1;
    struct statx facts;
    if (length <= 0 || strncmp(path, root, strlen(root)) != 0 || statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &facts) != 0)
        return int(syscall(call, fd));
    path[length] = 0;
    pthread_mutex_lock(&gate);
    call == SYS_syncfs ? void(nftw(root, keepEach, 16, FTW_PHYS)) : keep(fd, path, &facts);
    pthread_mutex_unlock(&gate);
    return 0;
}

extern "C" int fsync(int fd) { return kept(SYS_fsync, fd); }
extern "C" int fdatasync(int fd) { return kept(SYS_fdatasync, fd); }
extern "C" int syncfs(int fd) { return kept(SYS_syncfs, fd); }

static void *die(void *nothing)
{
    usleep(100000); // the word is on its way
    kill(getpid(), SIGKILL);
    return nothing;
}

static void watch(const void *bytes, size_t length)
{
    const auto *data = static_cast<const unsigned char *>(bytes);
    static const unsigned char magic[] = {0x11, 0x12, 0x13, 0x14};
    if (!wantedCommand || off)
        return;
    for (size_t at = 0; at + 28 <= length;) {
        if (memcmp(data + at, magic, sizeof magic) != 0)
            return;
        const unsigned char *head = data + at;
        const int command = head[24] << 24 | head[25] << 16 | head[26] << 8 | head[27];
        if (command == wantedCommand && --wantedCount <= 0) {
            off = 1;
            pthread_t end;
            pthread_create(&end, nullptr, die, nullptr);
            return;
        }
        at += 8 + size_t(head[4] << 24 | head[5] << 16 | head[6] << 8 | head[7]);
    }
}

extern "C" ssize_t send(int fd, const void *data, size_t length, int flags)
{
    watch(data, length);
    return syscall(SYS_sendto, fd, data, length, flags, nullptr, 0);
}

extern "C" ssize_t write(int fd, const void *data, size_t length)
{
    watch(data, length);
    changes(fd);
    return syscall(SYS_write, fd, data, length);
}

// Whether a page 1 of the store to be cut tells of other tables than the one that was read or written before.
static bool otherTables(int fd, const void *data, size_t length)
{
    static std::atomic_uint known{0};
    char link[64], path[PATH_MAX];
    if (!cutTables || length < 512 || memcmp(data, "SQLite format 3", 16) != 0)
        return false;
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t got = readlink(link, path, sizeof path - 1);
    path[got < 0 ? 0 : got] = 0;
    if (!strstr(path, std::string(cutNames[0], strcspn(cutNames[0], "-")).c_str()))
        return false;
    unsigned now;
    memcpy(&now, static_cast<const char *>(data) + 40, sizeof now); // the schema's number
    return known.exchange(now) != now;
}

extern "C" ssize_t pread64(int fd, void *data, size_t length, off64_t at)
{
    const ssize_t got = syscall(SYS_pread64, fd, data, length, at);
    if (got > 0)
        otherTables(fd, data, size_t(got));
    return got;
}

extern "C" ssize_t pwrite64(int fd, const void *data, size_t length, off64_t at)
{
    changes(fd, otherTables(fd, data, length));
    return syscall(SYS_pwrite64, fd, data, length, at);
}

extern "C" int ftruncate64(int fd, off64_t length)
{
    changes(fd);
    return int(syscall(SYS_ftruncate, fd, length));
}

extern "C" int unlink(const char *path)
{
    if (cutAt)
        cut(path);
    return int(syscall(SYS_unlink, path));
}

extern "C" int unlinkat(int folder, const char *path, int flags)
{
    if (cutAt)
        cut(path);
    return int(syscall(SYS_unlinkat, folder, path, flags));
}

extern "C" int renameat(int from, const char *path, int to, const char *name)
{
    if (cutAt)
        cut(path);
    return int(syscall(SYS_renameat2, from, path, to, name, 0));
}

__attribute__((constructor)) static void begin(void)
{
    root = getenv("VN_DISK_ROOT");
    records = getenv("VN_DISK_LOG");
    const char *cut = getenv("VN_DISK_CUT");
    if (!root || !records)
        root = nullptr;
    else if (cut)
        sscanf(cut, "%d:%d", &wantedCommand, &wantedCount);
    if (const char *moment = getenv("VN_CUT"))
        if (sscanf(moment, "%63[^>:]>%63[^:]:%d", cutNames[0], cutNames[1], &cutAt) != 3) {
            cutNames[1][0] = 0;
            sscanf(moment, "%63[^#:]%*[#]:%d", cutNames[0], &cutAt);
            cutTables = cutAt > 0;
            if (!cutTables)
                sscanf(moment, "%63[^:]:%d", cutNames[0], &cutAt);
        }
    unsetenv("LD_PRELOAD"); // not for the client's children
}
