#include "common/platform/Platform.h"
#include "common/platform/PlatformText_win.h"
#include <algorithm>
#include <map>
#include <mutex>
#include <shellapi.h>
#include <tlhelp32.h>

namespace platform
{
namespace
{
std::uint64_t startOf(HANDLE process)
{
    FILETIME created{}, ended{}, kernel{}, user{};
    if (!process || !GetProcessTimes(process, &created, &ended, &kernel, &user))
        return 0;
    return (std::uint64_t(created.dwHighDateTime) << 32) | created.dwLowDateTime;
}

std::uint64_t startOf(std::int64_t pid)
{
    const Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, DWORD(pid)));
    return startOf(process.get());
}

// True when the process is gone, or was told to go and is no more after waitMs.
bool endProcess(std::int64_t pid, DWORD waitMs)
{
    const Handle process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, DWORD(pid)));
    if (!process)
        return GetLastError() == ERROR_INVALID_PARAMETER; // no such process
    TerminateProcess(process.get(), 1);
    return WaitForSingleObject(process.get(), waitMs) == WAIT_OBJECT_0;
}

// Jobs by the number of the child they were made for.
struct Jobs {
    std::mutex mutex;
    std::map<std::int64_t, HANDLE> held;
};
Jobs &jobs()
{
    static Jobs *one = new Jobs; // as long as the process: the end of a job ends its processes
    return *one;
}

HANDLE takeJob(std::int64_t pid)
{
    std::lock_guard<std::mutex> lock(jobs().mutex);
    const auto it = jobs().held.find(pid);
    if (it == jobs().held.end())
        return nullptr;
    const HANDLE job = it->second;
    jobs().held.erase(it);
    return job;
}

bool endJob(HANDLE job, ULONGLONG until)
{
    TerminateJobObject(job, 1);
    for (;;) {
        JOBOBJECT_BASIC_ACCOUNTING_INFORMATION info{};
        if (!QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &info, sizeof info, nullptr))
            return false;
        if (info.ActiveProcesses == 0)
            return true;
        if (GetTickCount64() >= until)
            return false;
        Sleep(5);
    }
}

// The tree below a living process, parents first. Numbers are given anew, so a real child is never older than its
// parent; and of a parent that's gone, nothing tells its children from those of an earlier process of its number.
std::vector<Process> treeOf(std::int64_t pid)
{
    std::vector<Process> all = processes(), tree;
    for (const Process &process : all) {
        if (process.pid == pid && startOf(pid) != 0) {
            tree.push_back(process);
            tree.front().started = startOf(pid);
        }
    }
    for (std::size_t at = 0; at < tree.size(); ++at) {
        for (Process &child : all) {
            const bool known =
                std::any_of(tree.begin(), tree.end(), [&](const Process &one) { return one.pid == child.pid; });
            if (known || child.parent != tree[at].pid || child.pid == std::int64_t(GetCurrentProcessId()))
                continue;
            child.started = startOf(child.pid);
            if (child.started >= tree[at].started)
                tree.push_back(child);
        }
    }
    return tree;
}

std::vector<BYTE> ownerOf(HANDLE process)
{
    HANDLE raw = nullptr;
    if (!process || !OpenProcessToken(process, TOKEN_QUERY, &raw))
        return {};
    const Handle token(raw);
    DWORD size = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    std::vector<BYTE> owner(size);
    if (size == 0 || !GetTokenInformation(token.get(), TokenUser, owner.data(), size, &size))
        owner.clear();
    return owner;
}

bool sameOwner(const std::vector<BYTE> &one, const std::vector<BYTE> &other)
{
    return !one.empty() && !other.empty() &&
           EqualSid(reinterpret_cast<const TOKEN_USER *>(one.data())->User.Sid,
                    reinterpret_cast<const TOKEN_USER *>(other.data())->User.Sid);
}

std::wstring fileOf(HANDLE process)
{
    wchar_t name[32768];
    DWORD length = 32768;
    return process && QueryFullProcessImageNameW(process, 0, name, &length) ? std::wstring(name, length)
                                                                            : std::wstring();
}

std::wstring fullPath(const std::wstring &path)
{
    wchar_t name[32768];
    const DWORD length = GetFullPathNameW(path.c_str(), 32768, name, nullptr);
    return length > 0 && length < 32768 ? std::wstring(name, length) : std::wstring();
}
} // namespace

bool isWindows() { return true; }

std::vector<Process> processes()
{
    std::vector<Process> list;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    if (!snapshot || !Process32FirstW(snapshot.get(), &entry))
        return list;
    do {
        Process process;
        process.pid = entry.th32ProcessID;
        process.parent = entry.th32ParentProcessID;
        process.name = narrow(entry.szExeFile);
        list.push_back(process);
    } while (Process32NextW(snapshot.get(), &entry));
    return list;
}

bool existProcess(const std::string &name)
{
    const std::string bare = bareName(name);
    const std::vector<Process> all = processes();
    return std::any_of(all.begin(), all.end(), [&](const Process &one) { return sameText(bareName(one.name), bare); });
}

int killByName(const std::string &name)
{
    const std::string bare = bareName(name);
    int ended = 0;
    for (const Process &process : processes()) {
        if (process.pid != std::int64_t(GetCurrentProcessId()) && sameText(bareName(process.name), bare) &&
            endProcess(process.pid, 2000))
            ++ended;
    }
    return ended;
}

bool holdTree(std::int64_t pid)
{
    const Handle process(OpenProcess(PROCESS_SET_QUOTA | PROCESS_TERMINATE, FALSE, DWORD(pid)));
    const HANDLE job = process ? CreateJobObjectW(nullptr, nullptr) : nullptr;
    if (!job)
        return false;
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    if (!AssignProcessToJobObject(job, process.get())) {
        CloseHandle(job);
        return false;
    }
    const Handle older(takeJob(pid)); // of a child of the same number that has ended
    std::lock_guard<std::mutex> lock(jobs().mutex);
    jobs().held[pid] = job;
    return true;
}

std::vector<std::int64_t> strays(const std::string &programFile)
{
    std::vector<std::int64_t> found;
    const std::wstring program = fullPath(wide(programFile));
    const std::vector<BYTE> self = ownerOf(GetCurrentProcess());
    const std::vector<Process> all = processes();
    for (const Process &one : all) {
        if (one.pid == std::int64_t(GetCurrentProcessId()) || !sameText(bareName(one.name), bareName(programFile)))
            continue;
        const Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, DWORD(one.pid)));
        if (program.empty() || _wcsicmp(fileOf(process.get()).c_str(), program.c_str()) != 0 ||
            !sameOwner(ownerOf(process.get()), self))
            continue;
        // The number of a parent that has gone may belong to a younger process.
        const bool lives =
            std::any_of(all.begin(), all.end(), [&](const Process &parent) { return parent.pid == one.parent; }) &&
            startOf(one.parent) <= startOf(process.get());
        if (!lives || one.parent == std::int64_t(GetCurrentProcessId()))
            found.push_back(one.pid);
    }
    return found;
}

int killStrays(const std::string &programFile)
{
    int ended = 0;
    for (std::int64_t pid : strays(programFile))
        ended += endProcess(pid, 2000) ? 1 : 0;
    return ended;
}

bool killTree(std::int64_t pid, int waitMs, const std::string &)
{
    if (pid <= 4 || pid == std::int64_t(GetCurrentProcessId()))
        return false;
    const ULONGLONG until = GetTickCount64() + ULONGLONG(std::max(0, waitMs));
    if (const Handle job(takeJob(pid)); job)
        return endJob(job.get(), until);
    // Parents first, so that none starts another; looked at again, since one may have done so in between.
    for (bool first = true;; first = false) {
        bool any = false, all = true;
        for (const Process &process : treeOf(pid)) {
            any = true;
            const ULONGLONG now = GetTickCount64();
            all = endProcess(process.pid, now < until ? DWORD(until - now) : 0) && all;
        }
        if (!any)
            return true;
        if (!all || (!first && GetTickCount64() >= until))
            return false;
    }
}

int runElevated(const std::string &file, const std::string &parameters, const std::string &, int waitMs)
{
    const ElevatedCommand command = elevatedCommand(file, parameters, false, true);
    const std::wstring verb = wide(command.verb), program = wide(command.program), line = wide(command.parameters);
    SHELLEXECUTEINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_FLAG_NO_UI;
    info.lpVerb = verb.c_str();
    info.lpFile = program.c_str();
    info.lpParameters = line.c_str();
    info.nShow = SW_SHOWNORMAL;
    if (!ShellExecuteExW(&info)) // 1223: the user declined; anything else starts nothing either
        return -1;
    const Handle child(info.hProcess);
    if (child)
        WaitForSingleObject(child.get(), DWORD(std::max(0, waitMs)));
    return 1;
}
} // namespace platform
