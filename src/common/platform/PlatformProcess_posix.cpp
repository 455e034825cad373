#include "common/platform/Platform.h"
#include "common/platform/SafeFile.h"
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace platform
{
namespace
{
std::string readSmall(const std::string &path)
{
    char text[4096];
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {};
    const ssize_t got = read(fd, text, sizeof text);
    close(fd);
    return got > 0 ? std::string(text, std::size_t(got)) : std::string();
}

// "pid (name) state parent group session ..."; the name may hold blanks and brackets, so the last ")" ends it.
bool parseStat(const std::string &stat, Process &process)
{
    const std::size_t open = stat.find('('), close = stat.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close + 2 >= stat.size())
        return false;
    char state = 0;
    long long parent = 0, group = 0, session = 0;
    unsigned long long started = 0;
    const int got = std::sscanf(stat.c_str() + close + 2,
                                "%c %lld %lld %lld %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %llu",
                                &state, &parent, &group, &session, &started);
    if (got < 5)
        return false;
    process.pid = std::atoll(stat.c_str());
    process.parent = parent;
    process.group = group;
    process.session = session;
    process.started = started;
    process.dead = state == 'Z' || state == 'X' || state == 'x';
    process.name = stat.substr(open + 1, close - open - 1);
    return true;
}

// The kernel keeps 15 bytes of a name: a longer one is read from the program's path or its first word.
bool hasName(const Process &process, const std::string &name)
{
    if (process.dead)
        return false;
    if (bareName(process.name) == name)
        return true;
    const std::string folder = "/proc/" + std::to_string(process.pid);
    char target[4096];
    const ssize_t length = readlink((folder + "/exe").c_str(), target, sizeof target);
    if (length > 0 && bareName(std::string(target, std::size_t(length))) == name)
        return true;
    const std::string line = readSmall(folder + "/cmdline");
    return !line.empty() && bareName(line.c_str()) == name;
}

// Whether the process was started with that entry in its environment.
bool carries(std::int64_t pid, const std::string &mark)
{
    const int fd = open(("/proc/" + std::to_string(pid) + "/environ").c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false; // somebody else's
    std::string all(1, '\0');
    char piece[16384];
    for (ssize_t got; (got = read(fd, piece, sizeof piece)) > 0;)
        all.append(piece, std::size_t(got));
    close(fd);
    all.push_back('\0');
    return all.find(std::string(1, '\0') + mark + std::string(1, '\0')) != std::string::npos;
}

// Adds whatever belongs to the tree and isn't in it yet; true when something was added.
bool growTree(const std::vector<Process> &all, std::set<std::int64_t> &tree, std::int64_t self, const std::string &mark)
{
    const std::size_t before = tree.size();
    for (const Process &process : all) {
        if (!mark.empty() && process.pid != self && !process.dead && !tree.count(process.pid) &&
            carries(process.pid, mark))
            tree.insert(process.pid);
    }
    for (bool again = true; again;) {
        again = false;
        for (const Process &process : all) {
            const bool belongs = tree.count(process.parent) || tree.count(process.group) || tree.count(process.session);
            if (belongs && process.pid != self && process.pid > 1 && tree.insert(process.pid).second)
                again = true;
        }
    }
    return tree.size() > before;
}

bool anyLeft(const std::set<std::int64_t> &tree)
{
    for (std::int64_t pid : tree) {
        Process process;
        if (parseStat(readSmall("/proc/" + std::to_string(pid) + "/stat"), process) && !process.dead)
            return true;
    }
    return false;
}

bool writableTarget(std::string path)
{
    while (!path.empty()) {
        if (access(path.c_str(), F_OK) == 0)
            return access(path.c_str(), W_OK) == 0;
        const std::size_t slash = path.find_last_of('/');
        if (slash == std::string::npos)
            return true;
        path.resize(slash == 0 && path.size() > 1 ? 1 : slash);
    }
    return true;
}
} // namespace

bool isWindows() { return false; }

std::vector<Process> processes()
{
    std::vector<Process> list;
    DIR *folder = opendir("/proc");
    if (!folder)
        return list;
    while (const dirent *entry = readdir(folder)) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9')
            continue;
        Process process;
        if (parseStat(readSmall(std::string("/proc/") + entry->d_name + "/stat"), process))
            list.push_back(process);
    }
    closedir(folder);
    return list;
}

bool existProcess(const std::string &name)
{
    const std::string bare = bareName(name);
    const std::vector<Process> all = processes();
    return std::any_of(all.begin(), all.end(), [&](const Process &process) { return hasName(process, bare); });
}

int killByName(const std::string &name)
{
    const std::string bare = bareName(name);
    int ended = 0;
    for (const Process &process : processes()) {
        if (process.pid != getpid() && process.pid > 1 && hasName(process, bare) &&
            kill(pid_t(process.pid), SIGKILL) == 0)
            ++ended;
    }
    return ended;
}

std::vector<std::int64_t> strays(const std::string &programFile)
{
    std::vector<std::int64_t> found;
    char *real = realpath(programFile.c_str(), nullptr);
    if (!real)
        return found;
    const std::string program(real);
    free(real);
    const std::vector<Process> all = processes();
    // A process whose parent ended is handed to the first process, or to the one that manages the user's session.
    const auto orphan = [&all](const Process &one) {
        const auto parent = std::find_if(all.begin(), all.end(), [&](const Process &p) { return p.pid == one.parent; });
        return one.parent <= 1 || parent == all.end() || parent->dead || parent->name == "systemd";
    };
    for (const Process &one : all) {
        const std::string folder = "/proc/" + std::to_string(one.pid);
        struct stat owner {
        };
        char target[4096];
        const ssize_t length = readlink((folder + "/exe").c_str(), target, sizeof target);
        if (one.pid <= 1 || one.pid == getpid() || one.dead || length <= 0 || stat(folder.c_str(), &owner) != 0 ||
            owner.st_uid != geteuid())
            continue;
        const std::string file(target, std::size_t(length));
        if ((file == program || file == program + " (deleted)") && (one.parent == getpid() || orphan(one)))
            found.push_back(one.pid);
    }
    return found;
}

int killStrays(const std::string &programFile)
{
    int ended = 0;
    for (std::int64_t pid : strays(programFile))
        ended += kill(pid_t(pid), SIGKILL) == 0 ? 1 : 0;
    return ended;
}

bool killTree(std::int64_t pid, int waitMs, const std::string &mark)
{
    const std::int64_t self = getpid();
    if (pid <= 1 || pid == self)
        return false;
    std::set<std::int64_t> tree{pid};
    // Stopped first, so that nothing forks away between the look and the kill.
    do {
        for (std::int64_t one : tree)
            kill(pid_t(one), SIGSTOP);
    } while (growTree(processes(), tree, self, mark));
    for (std::int64_t one : tree)
        kill(pid_t(one), SIGKILL);
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
    while (anyLeft(tree)) {
        if (std::chrono::steady_clock::now() >= until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

int runElevated(const std::string &file, const std::string &parameters, const std::string &target, int waitMs)
{
    const ElevatedCommand command = elevatedCommand(file, parameters, writableTarget(target), false);
    std::vector<char *> words{const_cast<char *>(command.program.c_str())};
    for (const std::string &word : command.words)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);

    // A session of its own: the child outlives this program and its terminal.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    pid_t child = 0;
    const OpenMask mask; // what it installs is for others too
    const int failed = posix_spawnp(&child, command.program.c_str(), nullptr, &attributes, words.data(), environ);
    posix_spawnattr_destroy(&attributes);
    if (failed != 0)
        return -1;

    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= until) {
            std::thread([child] { waitpid(child, nullptr, 0); }).detach(); // collects it whenever it ends
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const bool refused =
        command.verb == "pkexec" && WIFEXITED(status) && (WEXITSTATUS(status) == 126 || WEXITSTATUS(status) == 127);
    return refused ? -1 : 1;
}
} // namespace platform
