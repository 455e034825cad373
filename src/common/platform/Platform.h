#pragma once
// Operating-system operations, free of any toolkit: texts are UTF-8, paths take both kinds of slashes. Platform_win.cpp
// and Platform_posix.cpp implement the same list; PlatformRules.cpp holds what both decide alike. No state but the
// crash dump's, so every function may be called from any thread. Failures give an empty value, false or a number told
// beside the function; nothing throws on purpose and nothing shows a dialog.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform
{

bool isWindows();

// --- Settings hives. Keys as in "Software\\Brontel\\x"; compared without regard to case. On POSIX both hives are
// sections of one INI file, <XDG config>/brontel/registry.ini, replaced as a whole under a lock file.
enum class Hive { CurrentUser, LocalMachine }; // LocalMachine: the 64-bit view
std::optional<std::string> regGet(Hive hive, const std::string &key,
                                  const std::string &name); // numbers as decimal text
bool regSet(Hive hive, const std::string &key, const std::string &name, const std::string &text);
bool regDelete(Hive hive, const std::string &key, const std::string &name); // false where there was no such value
std::vector<std::string> regNames(Hive hive, const std::string &key);       // value names
std::vector<std::string> regSubkeys(Hive hive, const std::string &key);

// --- Start with the session: the machine's Run key, on POSIX a desktop file in the user's autostart folder.
bool autoStartSet(const std::string &name, const std::string &command);
bool autoStartRemove(const std::string &name);
std::optional<std::string> autoStartGet(const std::string &name); // the command as it was set

// --- Processes. Names are compared without ".exe", on Windows without regard to case.
struct Process {
    std::int64_t pid = 0, parent = 0;
    std::int64_t group = 0, session = 0; // POSIX only
    std::uint64_t started = 0;           // comparable start time
    bool dead = false;                   // ended, not yet collected by its parent
    std::string name;
};
std::vector<Process> processes();
bool existProcess(const std::string &name);
int killByName(const std::string &name); // number of processes ended, never the caller itself
// Those that run from exactly that program file, for this user, and whose parent has gone or is this process: never
// another user's, nor those of another client that lives.
std::vector<std::int64_t> strays(const std::string &programFile);
int killStrays(const std::string &programFile); // number of processes ended
// Ends a process and what it started. True when none of them is left after at most waitMs. Whole only for a child that
// went through ownTree() or holdTree(); of others, what still names it as its parent, and on POSIX what stands in a
// session or group that one of them leads or carries mark, an entry "name=value" of the environment.
bool killTree(std::int64_t pid, int waitMs = 3000, const std::string &mark = {});
// POSIX, for a child that was forked and hasn't started its program yet: what is started is a child of that child,
// which leads a session, inherits whatever leaves its parents, ends what the program leaves behind, and ends as it did.
// Safe there (no allocation, no lock). Where the system has no such service, a session of its own is all. Windows:
// nothing.
void ownTree();
// Windows, for a child that has just been started: a job object, from which nothing it starts can leave, and which ends
// with this process. False where it can't be had. Elsewhere nothing, and true.
bool holdTree(std::int64_t pid);
// The words that the process was started with, also such as the ANSI code page of Windows can't hold.
std::vector<std::string> commandWords(int argc, char **argv);
// The system or a terminal asks the program to end (SIGTERM, SIGINT, SIGHUP): called on a thread of its own, each time;
// it may do anything that a thread may. Windows asks windows, not processes: false there, and nothing is called.
bool onTerminate(void (*asked)());

// --- Elevated run.
struct ElevatedCommand {
    std::string verb;               // "runas" on Windows; "pkexec" or empty on POSIX
    std::string program;            // what is started
    std::string parameters;         // Windows: the line handed over
    std::vector<std::string> words; // POSIX: the words behind the program
};
std::vector<std::string> splitWords(const std::string &line); // at blanks; double quotes keep blanks and are taken off
ElevatedCommand elevatedCommand(const std::string &file, const std::string &parameters, bool targetWritable,
                                bool windows);
// target: what the child will write to; on POSIX it decides whether elevation is needed (empty: it isn't).
// 1 started (waits at most waitMs for its end), -1 refused by the user or not startable.
int runElevated(const std::string &file, const std::string &parameters, const std::string &target = {},
                int waitMs = 5000);

// --- Facts about the machine; several instances are joined, each in "[...]".
struct Hardware {
    std::string system, processor, cores, memory, mainboard, graphics; // memory in bytes
};
Hardware hardware(); // blocks while the management service answers
// Windows: one property of all instances of a class of ROOT\CIMV2. POSIX: empty.
std::vector<std::string> managementFacts(const std::string &className, const std::string &property);
std::string joinFacts(const std::vector<std::string> &facts);
std::string volumeSerial(); // of the system's volume, "1A2B-3C4D" on Windows, the file system's id elsewhere
struct Adapter {
    std::string description, mac; // "AA:BB:CC:DD:EE:FF"
};
std::vector<Adapter> adapters(); // without those that adapterSkipped() names
bool adapterSkipped(const std::string &description);

// Tells this start of the machine from every other one: what a program wrote since is there even if the program was
// killed, what it wrote before may be lost. No blanks in it; empty where it can't be told.
std::string bootMark();

// --- Files.
std::int64_t freeSpace(const std::string &path); // for this user, at the nearest existing parent; -1 on failure
bool syncFile(int fd);                           // what was written is on the medium
bool syncFolder(const std::string &path);        // the names in it are: a rename or a new file survives a power cut
// Everything on the volumes that hold these folders is, each volume asked once. A folder that is gone has nothing left
// to lose; false when a volume tells of a failed write, or where it can't be had.
bool syncVolumes(const std::vector<std::string> &folders);

// --- Crash dump: "<folder>/yyyy.MM.dd_HH.mm.ss_zzz_<version>.dmp", a mini dump on Windows, a text with the stack
// elsewhere. The process dies afterwards in its usual way.
bool installCrashDump(const std::string &folder, const std::string &version);
// Safe within a signal handler. Gives the length, 0 when out is too small.
std::size_t crashName(char *out, std::size_t room, std::int64_t epochMs, int utcOffsetSeconds, const char *version);

// --- Texts of names, alike everywhere.
std::string bareName(const std::string &program);          // last piece, without ".exe"
bool sameText(const std::string &a, const std::string &b); // ASCII without regard to case
} // namespace platform
