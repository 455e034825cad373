// The platform layer against the system it runs on. Free of the toolkit, so that the same file runs natively and, cross
// compiled, on Windows or Wine. The program also plays the children that the tests start ("--wait" and the like).
#include "common/platform/Platform.h"
#include "Child.h"
#include "common/platform/SafeFile.h"
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>
#ifdef _WIN32
#include <io.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;
using namespace platform;

static int failures = 0;
static fs::path room; // temporary folder of this run

static std::string shown(const std::string &text) { return "\"" + text + "\""; }
static std::string shown(bool value) { return value ? "true" : "false"; }
template <class Number> static std::string shown(Number value) { return std::to_string(value); }

template <class A, class B> static void same(const char *what, const A &got, const B &wanted, int line)
{
    if (got == wanted)
        return;
    ++failures;
    std::printf("FAIL line %d: %s: got %s, wanted %s\n", line, what, shown(got).c_str(), shown(wanted).c_str());
}
#define SAME(got, wanted) same(#got, got, wanted, __LINE__)
#define HOLDS(what) same(#what, bool(what), true, __LINE__)

static std::string utf8(const fs::path &path)
{
    const auto text = path.generic_u8string();
    return std::string(text.begin(), text.end());
}

static std::string contentOf(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

static bool has(const std::vector<std::string> &list, const std::string &text)
{
    return std::find(list.begin(), list.end(), text) != list.end();
}

static const std::string base = "Software\\Brontel\\PlatformTest";

static void registryKeepsTexts()
{
    const std::string texts[] = {"", "plain", "C:\\a b\\c.exe", "渲染农场", "a=b[c]%41;\"q\"", " blanks around ", std::string(5000, 'x')};
    for (Hive hive : {Hive::CurrentUser, Hive::LocalMachine}) {
        for (const std::string &text : texts) {
            HOLDS(regSet(hive, base + "\\Texts", "名 =[1]", text));
            SAME(regGet(hive, base + "/Texts/", "名 =[1]").value_or("none"), text);
        }
        HOLDS(regSet(hive, base + "\\Texts", "Other", "kept"));
        SAME(regGet(hive, "SOFTWARE\\BRONTEL\\platformtest\\texts", "OTHER").value_or("none"), std::string("kept"));
        HOLDS(has(regNames(hive, base + "\\Texts"), "名 =[1]"));
        HOLDS(has(regSubkeys(hive, "Software\\Brontel"), "PlatformTest"));
        HOLDS(!has(regSubkeys(hive, "Software\\Bron"), "tel"));
        HOLDS(regDelete(hive, base + "\\Texts", "名 =[1]"));
        HOLDS(!regDelete(hive, base + "\\Texts", "名 =[1]"));
        HOLDS(!regGet(hive, base + "\\Texts", "名 =[1]"));
        SAME(regNames(hive, base + "\\Texts").size(), std::size_t(1));
        SAME(regNames(hive, base + "\\Absent").size(), std::size_t(0));
    }
}

static void registryLosesNothingToTwoWriters()
{
    Child writers[4];
    for (int i = 0; i < 4; ++i)
        HOLDS(writers[i].start(ownProgram(), {"--write", std::to_string(i)}));
    for (Child &writer : writers)
        SAME(writer.wait(), 0);
    SAME(regNames(Hive::CurrentUser, base + "\\Many").size(), std::size_t(4 * 15));
}

static void autoStartTakesCommand()
{
    fs::create_directories(room / "with blank");
    const fs::path program = room / "with blank" / "pro$gram";
    std::ofstream(program) << "x";
    const std::string command = utf8(program) + " delay";
    HOLDS(autoStartSet("VandrelTest", command));
    SAME(autoStartGet("VandrelTest").value_or("none"), command);
#ifndef _WIN32
    const std::string entry = contentOf(fs::path(std::getenv("XDG_CONFIG_HOME")) / "autostart" / "VandrelTest.desktop");
    HOLDS(entry.find("Exec=\"" + utf8(room / "with blank") + "/pro\\\\$gram\" delay\n") != std::string::npos);
#endif
    HOLDS(autoStartRemove("VandrelTest"));
    HOLDS(!autoStartGet("VandrelTest"));
}

static void processIsFoundAndKilled()
{
    for (const std::string name : {"vnshort", "vn_a_name_longer_than_the_kernel_keeps"}) {
        const fs::path program = room / (name + ".exe");
        fs::copy_file(fs::u8path(ownProgram()), program);
        HOLDS(!existProcess(name));
        Child child;
        HOLDS(child.start(utf8(program), {"--wait"}));
        SAME(child.line(), std::string("ready"));
        HOLDS(existProcess(name));
        HOLDS(existProcess(name + ".exe"));
        HOLDS(!existProcess(name.substr(0, name.size() - 1)));
        SAME(killByName(name), 1);
        HOLDS(child.outputEnded());
        HOLDS(child.wait() != 0);
        HOLDS(!existProcess(name));
        // By its file: one of the same name from another folder, or of another parent that lives, is left alone.
        Child mine;
        const fs::path other = room / "other" / (name + ".exe");
        fs::create_directories(other.parent_path());
        fs::copy_file(program, other);
        HOLDS(mine.start(utf8(program), {"--wait"}));
        SAME(mine.line(), std::string("ready"));
        HOLDS(strays(utf8(other)).empty());
        HOLDS(strays(ownProgram()).empty());
        SAME(strays(utf8(program)).size(), std::size_t(1));
        SAME(killStrays(utf8(program)), 1);
        HOLDS(mine.outputEnded());
        HOLDS(mine.wait() != 0);
    }
}

static void treeIsKilled()
{
    for (const std::string middle : {"--middle", "--escape"}) {
        Child child;
        HOLDS(child.start(ownProgram(), {"--tree", middle}, true));
        const std::string first = child.line(), second = child.line(); // of the root and the deepest one, in any order
        HOLDS((first == "ready" && second == "root") || (first == "root" && second == "ready"));
        HOLDS(killTree(child.pid()));
        HOLDS(child.outputEnded()); // none of them holds the output any more
        HOLDS(child.wait() != 0);
        HOLDS(killTree(child.pid())); // nothing left to kill is good too
    }
    // A program that has ended leaves nothing behind, and its code comes through.
    Child child;
    HOLDS(child.start(ownProgram(), {"--leave"}, true));
    if (isWindows()) // elsewhere what it leaves is ended with it
        HOLDS(child.line() == "ready" && killTree(child.pid()));
    HOLDS(child.outputEnded());
    SAME(child.wait(), 7);
    HOLDS(!killTree(0));
    HOLDS(!killTree(1));
}

// An ended parent's number says nothing: a process that still names it isn't ended for it.
static void strangersLive()
{
    Child child;
    HOLDS(child.start(ownProgram(), {"--escape"}));
    SAME(child.line(), std::string("ready"));
    child.wait();
    const std::vector<Process> all = processes();
    const std::string own = bareName(ownProgram());
    const auto it = std::find_if(all.begin(), all.end(), [&](const Process &one) {
        return one.pid != child.pid() && !one.dead && sameText(bareName(one.name), own) && one.pid != ownPid();
    });
    HOLDS(it != all.end());
    HOLDS(killTree(child.pid()));
    if (it == all.end())
        return;
    const std::vector<Process> after = processes();
    HOLDS(std::any_of(after.begin(), after.end(), [&](const Process &one) { return one.pid == it->pid && !one.dead; }));
    HOLDS(killTree(it->pid));
    HOLDS(child.outputEnded());
}

static void wordsAreWhole()
{
    const fs::path mark = room / fs::u8path("渲染 é 农场");
    Child child;
    HOLDS(child.start(ownProgram(), {"--mark", utf8(mark)}));
    SAME(child.wait(), 0);
    SAME(contentOf(mark), std::string("done"));
}

static std::string joined(const ElevatedCommand &command)
{
    std::string text = command.verb + "|" + command.program + "|" + command.parameters;
    for (const std::string &word : command.words)
        text += "|" + word;
    return text;
}

static void elevatedCommandIsBuilt()
{
    const struct {
        const char *file, *parameters;
        bool writable, windows;
        const char *wanted;
    } rows[] = {
        {"C:/p/q.exe", "runReg set n \"C:/p/q.exe delay\"", false, true, "runas|C:\\p\\q.exe|runReg set n \"C:/p/q.exe delay\""},
        {"/p/q", "runReg set n \"/a b/q delay\"", true, false, "|/p/q||runReg|set|n|/a b/q delay"},
        {"/p/q", "c4dcopy", false, false, "pkexec|pkexec||/p/q|c4dcopy"},
        {"/p/q", "", true, false, "|/p/q|"},
        {"/p/q", " a  \"\" b\"c d\"e ", true, false, "|/p/q||a||bc de"},
    };
    for (const auto &row : rows)
        SAME(joined(elevatedCommand(row.file, row.parameters, row.writable, row.windows)), std::string(row.wanted));
}

static void elevatedRunStarts()
{
    const fs::path mark = room / "mark of run";
    SAME(runElevated(ownProgram(), "--mark \"" + utf8(mark) + "\"", utf8(room / "new" / "file")), 1);
    SAME(contentOf(mark), std::string("done"));
    SAME(runElevated(utf8(room / "no such program"), "x"), -1);
    const auto before = std::chrono::steady_clock::now();
    SAME(runElevated(ownProgram(), "--until \"" + utf8(room / "go on") + "\"", {}, 50),
         1); // doesn't wait for a long job
    HOLDS(std::chrono::steady_clock::now() - before < std::chrono::seconds(8));
    std::ofstream(room / "go on") << "x";
}

static void hardwareIsTold()
{
    const Hardware facts = hardware();
    for (const std::string &fact : {facts.system, facts.processor, facts.cores, facts.memory}) {
        HOLDS(fact.size() > 2 && fact.front() == '[' && fact.back() == ']');
    }
    HOLDS(std::atoll(facts.memory.c_str() + 1) > (64 << 20));
    HOLDS(std::atoi(facts.cores.c_str() + 1) > 0);
    HOLDS(!isWindows() || !facts.mainboard.empty());
    HOLDS(!isWindows() || !facts.graphics.empty());
    HOLDS(managementFacts("Win32_NoSuchClass", "Name").empty());
    SAME(managementFacts("Win32_OperatingSystem", "Caption").size(), std::size_t(isWindows() ? 1 : 0));
    HOLDS(!isWindows() || volumeSerial().size() == 9);
    HOLDS(bootMark().size() > 8 && bootMark().find_first_of(" \n") == std::string::npos);
    SAME(bootMark(), bootMark());
    SAME(joinFacts({"a", "b"}), std::string("[a][b]"));
    for (const Adapter &adapter : adapters())
        SAME(adapter.mac.size(), std::size_t(17));
    for (const char *skipped : {"VMware Virtual Ethernet", "Teredo Tunneling Pseudo-Interface", "software LOOPBACK", "isatap.{1}"})
        HOLDS(adapterSkipped(skipped));
    HOLDS(!adapterSkipped("Intel(R) Ethernet Connection"));
}

static int closeAfter(int fd, int result)
{
    close(fd);
    return result;
}

static void filesTakeTheirSize()
{
    fs::path deep = room / "大小";
    for (int i = 0; i < 4; ++i)
        deep /= std::string(80, 'd'); // results lie deep
    const auto folder = Folder::reach(utf8(room), utf8(deep.lexically_relative(room)), true);
    if (!folder)
        return HOLDS(folder);
    const int fd = folder->create("f.xtemp");
    for (std::int64_t size : {std::int64_t(0), std::int64_t(1), std::int64_t(5) << 20}) {
        SAME(setFileSize(fd, size), 0);
        SAME(std::int64_t(lseek(fd, 0, SEEK_END)), size);
    }
    for (std::int64_t tooMuch : {std::int64_t(-1), std::int64_t(1) << 61}) {
        HOLDS(setFileSize(fd, tooMuch) < 0);
        SAME(std::int64_t(lseek(fd, 0, SEEK_END)), std::int64_t(5) << 20);
    }
    SAME(closeAfter(fd, setFileSize(-1, 1)), -1);
    HOLDS(freeSpace(utf8(deep / "file")) > 0);
    std::FILE *open = std::fopen(utf8(room / "sync").c_str(), "wb");
    std::fputs("x", open);
    std::fflush(open);
    HOLDS(syncFile(fileno(open)));
    std::fclose(open);
    HOLDS(!syncFile(-1));
}

static void onlyRegularFilesAreOpened()
{
    std::ofstream(room / "场景.ma") << "scene";
    const int fd = openRegular(utf8(room / "场景.ma"));
    char text[8] = {};
    SAME(closeAfter(fd, int(read(fd, text, sizeof text))), 5);
    for (const std::string &other : {utf8(room), utf8(room / "absent"), std::string(isWindows() ? "\\\\.\\nul" : "/dev/zero")})
        SAME(openRegular(other), -1);
#ifndef _WIN32
    mkfifo((room / "fifo.ma").c_str(), 0600);
    SAME(openRegular(utf8(room / "fifo.ma")), -1); // and it didn't wait for a writer
#endif
}

static void foldersAreReachedStepByStep()
{
    Folder::Reason reason;
    const auto put = [](Folder &folder, const char *name, const char *text) {
        const int fd = folder.create(name);
        return closeAfter(fd, fd >= 0 ? int(write(fd, text, unsigned(std::strlen(text)))) : -1);
    };
    for (const char *bad : {"a/../../x", ".."})
        HOLDS(!Folder::reach(utf8(room), bad, true, &reason) && !reason.text.empty() && reason.planted);
    HOLDS(!Folder::reach(utf8(room), "not there", false));
    std::ofstream(room / "plain") << "x";
    HOLDS(!Folder::reach(utf8(room), "plain", true));
    const auto folder = Folder::reach(utf8(room), "结果//shot/./beauty", true, &reason);
    if (!folder)
        return HOLDS(folder);
    const fs::path at = room / fs::u8path("结果") / "shot" / "beauty";
    SAME(put(*folder, "a.xtemp", "new"), 3);
    std::ofstream(at / "a.png") << "old";
    HOLDS(folder->rename("a.xtemp", "a.png") && folder->sync());
    SAME(contentOf(at / "a.png"), std::string("new"));
    SAME(folder->open("a.xtemp"), -1);
    SAME(folder->open("."), -1);
    HOLDS(folder->remove("a.png") && !folder->remove("a.png"));
    std::error_code failed;
    std::ofstream(room / "victim") << "victim";
    fs::create_symlink(room / "victim", at / "linked", failed);
    if (!failed && fs::is_symlink(at / "linked", failed)) {
        SAME(folder->open("linked"), -1);
        SAME(put(*folder, "linked", "x"), 1); // anew, beside the victim
        HOLDS(!fs::is_symlink(at / "linked"));
    } else {
        std::printf("SKIP links: this system makes none\n");
    }
    fs::create_hard_link(room / "victim", at / "twice", failed);
    if (!failed) {
        SAME(folder->open("twice"), -1);
        SAME(put(*folder, "twice", "x"), 1);
    }
    SAME(contentOf(room / "victim"), std::string("victim"));
    fs::create_directories(room / "elsewhere");
    fs::create_directory_symlink(room / "elsewhere", room / "mine", failed);
    if (!failed && fs::is_symlink(room / "mine", failed)) {
        const auto behind = Folder::reach(utf8(room), "mine/sub", true); // people do link their folders
        HOLDS(behind && put(*behind, "f", "x") == 1 && fs::exists(room / "elsewhere" / "sub" / "f"));
    }
#ifndef _WIN32
    if (geteuid() == 0 && lchown((room / "mine").c_str(), 12345, 12345) == 0) {
        HOLDS(!Folder::reach(utf8(room), "mine/sub", true, &reason));
        SAME(reason.text, std::string("another user's link: mine"));
        HOLDS(reason.planted && !reason.noRoom);
    } else {
        std::printf("SKIP another user's link: only root can plant one here\n");
    }
#endif
}

#ifndef _WIN32
static int modeOf(const fs::path &path) { return int(fs::status(path).permissions()) & 0777; }

// The mask is the process's: what it does is seen in a child's work.
static int playPrivate(const fs::path &at)
{
    umask(027);
    privateFiles();
    std::ofstream(at / "store.db") << "x";
    const auto results = Folder::reach(utf8(at), "results/shot", true);
    const int fd = results ? results->create("f.png") : -1;
    std::ofstream(at / "old.db") << "x";
    chmod((at / "old.db").c_str(), 0664);
    chmod(at.c_str(), 0755);
    const bool good = fd >= 0 && makePrivate(utf8(at / "old.db"), false) && makePrivate(utf8(at / "fresh.db"), false) &&
                      makePrivate(utf8(at), true) && !makePrivate(utf8(at / "no" / "folder"), true) &&
                      !makePrivate(utf8(at / "gone.lock"), false, false) && !fs::exists(at / "gone.lock");
    {
        const OpenMask mask;
        std::ofstream(at / "child") << "x";
    }
    std::ofstream(at / "log.txt") << "x";
    return good ? 0 : 1;
}

static void filesAreTheUsersAlone()
{
    const fs::path at = room / "private";
    fs::create_directories(at);
    Child child;
    HOLDS(child.start(ownProgram(), {"--private", utf8(at)}));
    SAME(child.wait(), 0);
    const struct {
        const char *name;
        int mode;
    } rows[] = {{"", 0700},         {"store.db", 0600},     {"old.db", 0600},
                {"fresh.db", 0600}, {"results/shot", 0750}, {"results/shot/f.png", 0640},
                {"child", 0640},    {"log.txt", 0600}};
    for (const auto &row : rows)
        SAME(modeOf(at / row.name), row.mode);
}
#endif

static void freeSpaceIsAskedAtTheNearestParent()
{
    const std::int64_t here = freeSpace(utf8(room));
    HOLDS(here > 0);
    for (const std::string deeper : {"/not/there/yet", "/sync/below a file"})
        HOLDS(std::llabs(freeSpace(utf8(room) + deeper) - here) < (std::int64_t(1) << 30));
    HOLDS(freeSpace("relative") > 0);
    HOLDS(!isWindows() || freeSpace("Q:/nowhere/at all") == -1);
}

static void crashNameTellsTheMoment()
{
    const struct {
        std::int64_t epochMs;
        int offset;
        const char *wanted;
    } rows[] = {
        {0, 0, "1970.01.01_00.00.00_000_5.2.6.0.dmp"},
        {1709251199999, 0, "2024.02.29_23.59.59_999_5.2.6.0.dmp"},
        {1709251199999, 3600, "2024.03.01_00.59.59_999_5.2.6.0.dmp"},
        {1704067200007, -18000, "2023.12.31_19.00.00_007_5.2.6.0.dmp"},
    };
    char name[64];
    for (const auto &row : rows) {
        const std::size_t length = crashName(name, sizeof name, row.epochMs, row.offset, "5.2.6.0");
        SAME(std::string(name, length), std::string(row.wanted));
    }
    SAME(crashName(name, 35, 0, 0, "5.2.6.0"), std::size_t(0)); // no room for the end mark
}

static void crashLeavesADump()
{
    const fs::path folder = room / "dmp";
    fs::create_directories(folder);
    Child child;
    HOLDS(child.start(ownProgram(), {"--crash", utf8(folder)}));
    HOLDS(child.wait() != 0);
    std::vector<fs::path> dumps(fs::directory_iterator(folder), fs::directory_iterator{});
    SAME(dumps.size(), std::size_t(1));
    if (dumps.size() != 1)
        return;
    const std::string name = utf8(dumps.front().filename()), content = contentOf(dumps.front());
    SAME(name.size(), std::string("1970.01.01_00.00.00_000_9.8.7.6.dmp").size());
    SAME(name.substr(23), std::string("_9.8.7.6.dmp"));
    SAME(content.substr(0, isWindows() ? 4 : 10), std::string(isWindows() ? "MDMP" : "signal 11\n"));
    HOLDS(content.size() > 40);
}

__attribute__((no_sanitize("undefined", "address"), noinline)) static void crashNow()
{
    volatile int *volatile nowhere = nullptr; // read anew, so that no optimiser sees it coming
    *nowhere = 1;
}

static int playChild(const std::string &role, const std::string &word)
{
    const auto say = [](const char *text) {
        std::printf("%s\n", text);
        std::fflush(stdout);
    };
    const auto longJob = [] { std::this_thread::sleep_for(std::chrono::seconds(60)); };
    if (role == "--until") {
        const fs::path mark = fs::u8path(word);
        for (int i = 0; i < 500 && fs::exists(mark.parent_path()) && !fs::exists(mark); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
    } else if (role == "--wait") {
        say("ready");
        longJob();
    } else if (role == "--middle") {
        spawnShared({"--wait"}, isWindows()); // elsewhere it ends here: the deepest one outlives its parent
    } else if (role == "--tree") {
        spawnShared({word}, !isWindows());
        say("root");
        longJob();
    } else if (role == "--escape") {
        forgetOrigin();
    } else if (role == "--leave") {
        forgetOrigin(7);
    } else if (role == "--write") {
        for (int i = 0; i < 15; ++i) {
            if (!regSet(Hive::CurrentUser, base + "\\Many", word + "-" + std::to_string(i), "x"))
                return 1;
        }
    } else if (role == "--mark") {
        std::ofstream(fs::u8path(word)) << "done";
#ifndef _WIN32
    } else if (role == "--private") {
        return playPrivate(fs::u8path(word));
#endif
    } else if (role == "--crash") {
        installCrashDump(word, "9.8.7.6");
        crashNow();
    }
    return 0;
}

int main(int argc, char **argv)
{
    const std::vector<std::string> words = commandWords(argc, argv);
    if (argc > 1)
        return playChild(words[1], argc > 2 ? words[2] : "");
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    room = fs::temp_directory_path() / ("vnplatform" + std::to_string(stamp));
    fs::create_directories(room);
#ifndef _WIN32
    setenv("XDG_CONFIG_HOME", (room / "config").c_str(), 1);
#endif
    const struct {
        const char *name;
        void (*run)();
    } tests[] = {
        {"registryKeepsTexts", registryKeepsTexts},
        {"registryLosesNothingToTwoWriters", registryLosesNothingToTwoWriters},
        {"autoStartTakesCommand", autoStartTakesCommand},
        {"processIsFoundAndKilled", processIsFoundAndKilled},
        {"treeIsKilled", treeIsKilled},
        {"strangersLive", strangersLive},
        {"wordsAreWhole", wordsAreWhole},
        {"elevatedCommandIsBuilt", elevatedCommandIsBuilt},
        {"elevatedRunStarts", elevatedRunStarts},
        {"hardwareIsTold", hardwareIsTold},
        {"filesTakeTheirSize", filesTakeTheirSize},
        {"onlyRegularFilesAreOpened", onlyRegularFilesAreOpened},
        {"foldersAreReachedStepByStep", foldersAreReachedStepByStep},
#ifndef _WIN32
        {"filesAreTheUsersAlone", filesAreTheUsersAlone},
#endif
        {"freeSpaceIsAskedAtTheNearestParent", freeSpaceIsAskedAtTheNearestParent},
        {"crashNameTellsTheMoment", crashNameTellsTheMoment},
        {"crashLeavesADump", crashLeavesADump},
    };
    for (const auto &test : tests) {
        const int before = failures;
        test.run();
        std::printf("%s %s\n", failures == before ? "PASS" : "FAIL", test.name);
        std::fflush(stdout);
    }
    std::error_code ignored;
    fs::remove_all(room, ignored);
    std::printf("%d failures\n", failures);
    return failures ? 1 : 0;
}
