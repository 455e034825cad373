#include "common/platform/Platform.h"
#include "common/platform/SafeFile.h"
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

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

void ownSession()
{
    setsid();
    openMask(); // what the programs make for their users isn't ours to hide
}

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
