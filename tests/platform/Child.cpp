#include "Child.h"
#include <chrono>
#ifdef _WIN32
#include "common/platform/Platform.h"
#include "common/platform/PlatformText_win.h"

static std::wstring commandLine(const std::string &program, const std::vector<std::string> &words)
{
    std::wstring line = L"\"" + platform::widePath(program) + L"\"";
    for (const std::string &word : words)
        line += L" \"" + platform::wide(word) + L"\"";
    return line;
}

static HANDLE launch(const std::string &program, const std::vector<std::string> &words, HANDLE output, DWORD &pid)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION info{};
    std::wstring line = commandLine(program, words);
    if (!CreateProcessW(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &info))
        return nullptr;
    CloseHandle(info.hThread);
    pid = info.dwProcessId;
    return info.hProcess;
}

bool Child::start(const std::string &program, const std::vector<std::string> &words, bool ownTree)
{
    HANDLE reading = nullptr, writing = nullptr;
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    if (!CreatePipe(&reading, &writing, &inherited, 0))
        return false;
    SetHandleInformation(reading, HANDLE_FLAG_INHERIT, 0);
    DWORD pid = 0;
    const HANDLE process = launch(program, words, writing, pid);
    CloseHandle(writing);
    m_output = std::intptr_t(reading);
    m_process = process ? std::intptr_t(process) : -1;
    m_pid = pid;
    return process != nullptr && (!ownTree || platform::holdTree(m_pid));
}

int Child::read()
{
    char c = 0;
    DWORD got = 0;
    return ReadFile(HANDLE(m_output), &c, 1, &got, nullptr) && got == 1 ? (unsigned char)c : -1;
}

int Child::wait()
{
    DWORD code = 0;
    WaitForSingleObject(HANDLE(m_process), INFINITE);
    GetExitCodeProcess(HANDLE(m_process), &code);
    return int(code);
}

Child::~Child()
{
    if (m_output != -1)
        CloseHandle(HANDLE(m_output));
    if (m_process != -1) {
        TerminateProcess(HANDLE(m_process), 1);
        CloseHandle(HANDLE(m_process));
    }
}

std::string ownProgram()
{
    wchar_t path[MAX_PATH * 4] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH * 4);
    return platform::narrow(path);
}

void spawnShared(const std::vector<std::string> &words, bool waitForEnd)
{
    DWORD pid = 0;
    const platform::Handle process(launch(ownProgram(), words, GetStdHandle(STD_OUTPUT_HANDLE), pid));
    if (waitForEnd && process)
        WaitForSingleObject(process.get(), INFINITE);
}

void forgetOrigin(int code)
{
    spawnShared({"--wait"}, false);
    ExitProcess(UINT(code));
}

std::int64_t ownPid() { return GetCurrentProcessId(); }
#else
#include "common/platform/Platform.h"
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char **environ;

static pid_t launch(const std::string &program, const std::vector<std::string> &words, int output, bool ownTree)
{
    std::vector<char *> list{const_cast<char *>(program.c_str())};
    for (const std::string &word : words)
        list.push_back(const_cast<char *>(word.c_str()));
    list.push_back(nullptr);
    if (ownTree) {
        const pid_t child = fork();
        if (child == 0) {
            platform::ownTree();
            dup2(output, 1);
            execv(program.c_str(), list.data());
            _exit(127);
        }
        return child;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, 1);
    if (output != 1)
        posix_spawn_file_actions_addclose(&actions, output);
    pid_t pid = -1;
    if (posix_spawn(&pid, program.c_str(), &actions, nullptr, list.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

bool Child::start(const std::string &program, const std::vector<std::string> &words, bool ownTree)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    m_pid = launch(program, words, ends[1], ownTree);
    close(ends[1]);
    m_output = ends[0];
    return m_pid > 0;
}

int Child::read()
{
    unsigned char c = 0;
    return ::read(int(m_output), &c, 1) == 1 ? c : -1;
}

int Child::wait()
{
    int status = 0;
    if (m_pid <= 0 || waitpid(pid_t(m_pid), &status, 0) < 0)
        return -1;
    m_process = 0; // collected
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

Child::~Child()
{
    if (m_output != -1)
        close(int(m_output));
    if (m_pid > 0 && m_process != 0) {
        kill(pid_t(m_pid), SIGKILL);
        waitpid(pid_t(m_pid), nullptr, 0);
    }
}

std::string ownProgram()
{
    char path[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return std::string(path, std::size_t(length > 0 ? length : 0));
}

void spawnShared(const std::vector<std::string> &words, bool waitForEnd)
{
    const pid_t pid = launch(ownProgram(), words, 1, false);
    if (waitForEnd && pid > 0)
        waitpid(pid, nullptr, 0);
}

std::int64_t ownPid() { return getpid(); }

void forgetOrigin(int code)
{
    if (fork() > 0)
        _exit(code);
    setsid();
    std::string program = ownProgram(), word = "--wait";
    char *words[] = {&program[0], &word[0], nullptr}, *none[] = {nullptr};
    execve(words[0], words, none);
}
#endif

std::string Child::line()
{
    std::string text;
    for (int c = read(); c >= 0 && c != '\n'; c = read()) {
        if (c != '\r')
            text += char(c);
    }
    return text;
}

bool Child::outputEnded()
{
    const auto start = std::chrono::steady_clock::now();
    while (read() >= 0) {
    }
    return std::chrono::steady_clock::now() - start < std::chrono::seconds(30);
}
