#include "common/platform/Platform.h"
#include "common/platform/SafeFile.h"
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#ifndef SYS_close_range
#define SYS_close_range 436
#endif
#endif

namespace platform
{
namespace
{
std::atomic<int> askedPipe{-1};

void tell(int)
{
    const int kept = errno;
    const char one = 1;
    [[maybe_unused]] const ssize_t told = write(askedPipe, &one, 1);
    errno = kept;
}
} // namespace

#ifdef __linux__
namespace
{
// As bash and make have it: what ended by a signal ends its keeper by the same one.
[[noreturn]] void endLike(int status)
{
    if (!WIFSIGNALED(status))
        _exit(WEXITSTATUS(status));
    const rlimit none{0, 0}; // the program has left its own core
    setrlimit(RLIMIT_CORE, &none);
    signal(WTERMSIG(status), SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, WTERMSIG(status));
    sigprocmask(SIG_UNBLOCK, &one, nullptr);
    kill(getpid(), WTERMSIG(status));
    _exit(128 + WTERMSIG(status));
}

// Ends every child; the children of those come here then, whatever session or environment they have. "1 23 456 " is
// read in pieces: a process that forks as fast as it's ended fills no memory.
void endChildren()
{
    for (;;) {
        const int list = open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
        char piece[256];
        pid_t number = 0;
        for (ssize_t got; list >= 0 && (got = read(list, piece, sizeof piece)) > 0;) {
            for (ssize_t i = 0; i < got; ++i) {
                if (piece[i] >= '0' && piece[i] <= '9') {
                    number = number * 10 + (piece[i] - '0');
                } else if (number > 1) {
                    kill(number, SIGKILL);
                    number = 0;
                }
            }
        }
        close(list);
        if (list < 0 || (waitpid(-1, nullptr, 0) < 0 && errno != EINTR))
            return;
    }
}

[[noreturn]] void keep(pid_t program)
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        signal(number, SIG_DFL); // the handlers are the client's
    prctl(PR_SET_NAME, "vandrel-tree");
    if (syscall(SYS_close_range, 0u, ~0u, 0u) != 0) {
        for (int fd = 0; fd < 4096; ++fd)
            close(fd);
    }
    int status = 0;
    for (pid_t ended = 0; ended != program;) {
        ended = waitpid(-1, &status, 0);
        if (ended < 0 && errno != EINTR)
            _exit(127);
    }
    endChildren();
    endLike(status);
}
} // namespace

void ownTree()
{
    setsid();
    openMask(); // what the programs make for their users isn't ours to hide
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        return;
    // Not fork(): that takes locks, which another thread of the client may have held.
    const pid_t program = pid_t(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
    if (program > 0)
        keep(program);
}
#else
void ownTree()
{
    setsid();
    openMask();
}
#endif

bool holdTree(std::int64_t) { return true; }

std::vector<std::string> commandWords(int argc, char **argv) { return {argv, argv + argc}; }

bool onTerminate(void (*asked)())
{
    int ends[2];
    if (askedPipe >= 0 || pipe2(ends, O_CLOEXEC) != 0)
        return false;
    askedPipe = ends[1];
    // Lives as long as the process: it sleeps in the read.
    std::thread([in = ends[0], asked] {
        for (char one = 0;;) {
            const ssize_t got = read(in, &one, 1);
            if (got == 1)
                asked();
            else if (got == 0 || errno != EINTR)
                return;
        }
    }).detach();
    struct sigaction action = {};
    action.sa_handler = tell;
    action.sa_flags = SA_RESTART;
    bool good = true;
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        good = sigaction(number, &action, nullptr) == 0 && good;
    return good;
}
} // namespace platform
