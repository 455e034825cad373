#pragma once
// A disk that refuses one kind of call, as a full one does, with the error that is wished; the others go where they would
// have gone. For one source file of a test binary, on Linux.
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

enum class Call { None, MakeFolder, MakeFile, Write, Sync, Rename };
static std::atomic<Call> refused{Call::None};
static std::atomic_int refusal{ENOSPC};

template <class Function, class... Args> static auto unlessRefused(Call call, Function *next, Args... args)
{
    const bool refuses = call != Call::None && refused == call;
    if (refuses)
        errno = refusal;
    return refuses ? -1 : next(args...);
}
#define NEXT(function, name) reinterpret_cast<decltype(function) *>(dlsym(RTLD_NEXT, name))

extern "C" {
int folderMaker(int at, const char *name, mode_t mode) __asm__("mkdirat");
int fileOpener(int at, const char *name, int flags, mode_t mode) __asm__("openat");
ssize_t writer(int fd, const void *data, size_t size) __asm__("write");
int renamer(int at, const char *from, int to, const char *name) __asm__("renameat");

int folderMaker(int at, const char *name, mode_t mode)
{
    static const auto next = NEXT(folderMaker, "mkdirat");
    return unlessRefused(Call::MakeFolder, next, at, name, mode);
}
int fileOpener(int at, const char *name, int flags, mode_t mode)
{
    static const auto next = NEXT(fileOpener, "openat");
    return unlessRefused((flags & O_CREAT) != 0 ? Call::MakeFile : Call::None, next, at, name, flags, mode);
}
ssize_t writer(int fd, const void *data, size_t size)
{
    static const auto next = NEXT(writer, "write");
    return unlessRefused(fd > 2 ? Call::Write : Call::None, next, fd, data, size);
}
int renamer(int at, const char *from, int to, const char *name)
{
    static const auto next = NEXT(renamer, "renameat");
    return unlessRefused(Call::Rename, next, at, from, to, name);
}
}
