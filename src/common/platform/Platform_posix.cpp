#include "common/platform/Platform.h"
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <execinfo.h>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace platform
{
namespace
{
std::string readText(const std::string &path)
{
    std::string text;
    if (std::FILE *file = std::fopen(path.c_str(), "re")) {
        char part[4096];
        std::size_t got;
        while (text.size() < (1u << 20) && (got = std::fread(part, 1, sizeof part, file)) > 0)
            text.append(part, got);
        std::fclose(file);
    }
    return text;
}

std::string trimmed(std::string text)
{
    const char *blanks = " \t\r\n";
    text.erase(0, std::min(text.find_first_not_of(blanks), text.size()));
    text.erase(text.find_last_not_of(blanks) + 1);
    return text;
}

// Values of all lines "key<separator>value".
std::vector<std::string> linesOf(const std::string &text, const std::string &key, char separator)
{
    std::vector<std::string> values;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        const std::string line = text.substr(from, end - from);
        const std::size_t at = line.find(separator);
        if (at != std::string::npos && trimmed(line.substr(0, at)) == key)
            values.push_back(trimmed(line.substr(at + 1)));
        from = end + 1;
    }
    return values;
}

std::vector<std::string> entries(const std::string &folder)
{
    std::vector<std::string> names;
    if (DIR *open = opendir(folder.c_str())) {
        while (const dirent *entry = readdir(open)) {
            if (entry->d_name[0] != '.')
                names.push_back(entry->d_name);
        }
        closedir(open);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> graphicsCards()
{
    std::vector<std::string> cards;
    const std::string nvidia = "/proc/driver/nvidia/gpus";
    for (const std::string &gpu : entries(nvidia)) {
        const auto model = linesOf(readText(nvidia + "/" + gpu + "/information"), "Model", ':');
        cards.insert(cards.end(), model.begin(), model.end());
    }
    const std::string drm = "/sys/class/drm";
    for (const std::string &card : entries(drm)) {
        if (!cards.empty() || card.compare(0, 4, "card") != 0 || card.find('-') != std::string::npos)
            continue;
        const std::string events = readText(drm + "/" + card + "/device/uevent");
        const auto driver = linesOf(events, "DRIVER", '='), id = linesOf(events, "PCI_ID", '=');
        if (!driver.empty() || !id.empty())
            cards.push_back(trimmed((driver.empty() ? "" : driver.front()) + " " + (id.empty() ? "" : id.front())));
    }
    return cards;
}

std::string upper(std::string text)
{
    for (char &c : text)
        c = c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
    return text;
}

// What the handler needs, prepared while it is still allowed to allocate.
struct Crash {
    char folder[3072] = {};
    char version[64] = {};
    int utcOffset = 0;
} crash;
volatile std::sig_atomic_t crashing = 0;
char crashStack[64 * 1024];

void writeStack(int fd, int signalNumber)
{
    char line[] = "signal 00\n";
    line[7] = char('0' + signalNumber / 10 % 10);
    line[8] = char('0' + signalNumber % 10);
    if (write(fd, line, sizeof line - 1) < 0)
        return;
    void *frames[64];
    backtrace_symbols_fd(frames, backtrace(frames, 64), fd);
}

void onCrash(int signalNumber)
{
    std::signal(signalNumber, SIG_DFL);
    if (!crashing) {
        crashing = 1;
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        char path[sizeof crash.folder + 128];
        const std::size_t length = std::strlen(crash.folder);
        std::memcpy(path, crash.folder, length);
        path[length] = '/';
        const std::int64_t epochMs = std::int64_t(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
        if (crashName(path + length + 1, sizeof path - length - 1, epochMs, crash.utcOffset, crash.version)) {
            const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            if (fd >= 0) {
                writeStack(fd, signalNumber);
                close(fd);
            }
        }
    }
    raise(signalNumber); // delivered, with the default action, when the handler returns
}
} // namespace

Hardware hardware()
{
    Hardware facts;
    const std::string cpu = readText("/proc/cpuinfo");
    std::vector<std::string> models = linesOf(cpu, "model name", ':'), sockets = linesOf(cpu, "physical id", ':');
    const std::size_t threads = models.size();
    std::sort(sockets.begin(), sockets.end());
    sockets.erase(std::unique(sockets.begin(), sockets.end()), sockets.end());
    if (!models.empty())
        models.resize(std::max<std::size_t>(1, std::min(sockets.size(), models.size())), models.front());
    facts.processor = joinFacts(models);

    const auto cores = linesOf(cpu, "cpu cores", ':');
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    const std::string count = !cores.empty() ? cores.front() : std::to_string(threads ? long(threads) : online);
    facts.cores = joinFacts(std::vector<std::string>(std::max<std::size_t>(1, models.size()), count));

    const auto memory = linesOf(readText("/proc/meminfo"), "MemTotal", ':');
    if (!memory.empty())
        facts.memory = "[" + std::to_string(std::atoll(memory.front().c_str()) * 1024) + "]";

    const std::string dmi = "/sys/class/dmi/id/";
    const std::string board =
        trimmed(trimmed(readText(dmi + "board_vendor")) + " " + trimmed(readText(dmi + "board_name")));
    if (!board.empty())
        facts.mainboard = "[" + board + "]";
    facts.graphics = joinFacts(graphicsCards());

    std::vector<std::string> name = linesOf(readText("/etc/os-release"), "PRETTY_NAME", '=');
    utsname kernel{};
    if (name.empty() && uname(&kernel) == 0)
        name.push_back(std::string(kernel.sysname) + " " + kernel.release);
    if (!name.empty()) {
        name.front().erase(std::remove(name.front().begin(), name.front().end(), '"'), name.front().end());
        facts.system = "[" + name.front() + "]";
    }
    return facts;
}

std::vector<std::string> managementFacts(const std::string &, const std::string &) { return {}; }

std::string bootMark() { return trimmed(readText("/proc/sys/kernel/random/boot_id")); }

std::string volumeSerial()
{
    struct stat root, device;
    const std::string folder = "/dev/disk/by-uuid";
    if (stat("/", &root) == 0) {
        for (const std::string &id : entries(folder)) {
            if (stat((folder + "/" + id).c_str(), &device) == 0 && device.st_rdev == root.st_dev)
                return id;
        }
    }
    // No block device below the root (containers, network roots): the machine's own id is as lasting.
    return trimmed(readText("/etc/machine-id"));
}

std::vector<Adapter> adapters()
{
    std::vector<Adapter> real, all;
    const std::string folder = "/sys/class/net";
    for (const std::string &name : entries(folder)) {
        const std::string mac = upper(trimmed(readText(folder + "/" + name + "/address")));
        if (name == "lo" || mac.size() != 17 || mac == "00:00:00:00:00:00" || adapterSkipped(name))
            continue;
        all.push_back({name, mac});
        if (access((folder + "/" + name + "/device").c_str(), F_OK) == 0)
            real.push_back({name, mac});
    }
    return real.empty() ? all : real;
}

std::int64_t freeSpace(const std::string &path)
{
    std::string at = path.empty() ? "." : path;
    struct statvfs info;
    while (statvfs(at.c_str(), &info) != 0) {
        const std::size_t slash = at.find_last_of('/');
        if ((errno != ENOENT && errno != ENOTDIR) || at == "/" || at == ".")
            return -1;
        at = slash == std::string::npos ? "." : at.substr(0, std::max<std::size_t>(slash, 1));
    }
    return std::int64_t(info.f_bavail) * std::int64_t(info.f_frsize);
}

bool syncFile(int fd) { return fd >= 0 && (fdatasync(fd) == 0 || errno == EINVAL); }

bool syncFolder(const std::string &path)
{
    const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool good = fsync(fd) == 0 || errno == EINVAL; // some network file systems keep no folders back
    close(fd);
    return good;
}

bool syncVolumes(const std::vector<std::string> &folders)
{
    std::set<dev_t> asked;
    bool good = true;
    for (const std::string &folder : folders) {
        std::string at = folder;
        int fd = open(at.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        while (fd < 0 && errno == ENAMETOOLONG && at.rfind('/') != std::string::npos) {
            at.resize(at.rfind('/')); // what lies deeper than a path can tell is of the same volume
            fd = open(at.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        }
        if (fd < 0) {
            good = good && (errno == ENOENT || errno == ENOTDIR);
            continue;
        }
        struct stat where {
        };
        if (fstat(fd, &where) != 0 || (asked.insert(where.st_dev).second && syncfs(fd) != 0))
            good = false;
        close(fd);
    }
    return good;
}

bool installCrashDump(const std::string &folder, const std::string &version)
{
    if (folder.size() >= sizeof crash.folder || version.size() >= sizeof crash.version)
        return false;
    std::memcpy(crash.folder, folder.c_str(), folder.size() + 1);
    std::memcpy(crash.version, version.c_str(), version.size() + 1);
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    crash.utcOffset = localtime_r(&now, &local) ? int(local.tm_gmtoff) : 0;
    void *frame[1];
    backtrace(frame, 1); // the first call loads a library, which a handler may not

    stack_t stack{};
    stack.ss_sp = crashStack;
    stack.ss_size = sizeof crashStack;
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = onCrash;
    action.sa_flags = SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    bool all = true;
    for (int number : {SIGSEGV, SIGABRT, SIGBUS, SIGILL, SIGFPE})
        all = sigaction(number, &action, nullptr) == 0 && all;
    return all;
}
} // namespace platform
