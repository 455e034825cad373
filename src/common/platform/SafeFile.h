#pragma once
// Files and folders that someone else may have prepared for us: nothing is opened before it's known what it is, and no
// link is followed that another user has planted. Texts are UTF-8; descriptors are the C runtime's and belong to the
// caller. Any thread; a Folder to one at a time.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace platform
{

// A regular file for reading. -1 for everything else (pipe, device, folder, nothing), and none of it is waited for.
int openRegular(const std::string &path);

// Calls out with the name of everything in the folder but "." and "..", as it's stored (UTF-8 on Windows); the call
// answers false to end it. False where the folder couldn't be read to its end, reason then says why, in English.
bool readFolder(const std::string &path, const std::function<bool(const std::string &name)> &entry,
                std::string *reason);

// Whether names that differ only in case are one in this folder.
bool foldsCase(const std::string &folder);

// Whether the call to the system that just failed on this thread, one of Folder's too, found no room: the disk is full,
// has no more names to give, or this user's share of it is used up. To be asked at once.
bool noRoom();

// Gives an open file this size and, where the file system can, its blocks: 0 good, -1 not possible, -2 no room (the
// size is then as it was). The position stays.
int setFileSize(int fd, std::int64_t size);

// From here on new files and folders of this process are its user's alone. What is meant for others too (results) and
// child programs keep the user's own mask; see Folder and openMask().
void privateFiles();
void openMask(); // back to the user's own mask, for good: where this process is about to become another program
// The user's own mask for the length of a scope: another program is started in it.
class OpenMask
{
public:
    OpenMask();
    ~OpenMask();
    OpenMask(const OpenMask &) = delete;
    OpenMask &operator=(const OpenMask &) = delete;
};
// Takes away what other users may do with a file or folder that an earlier version made; makes the file where it's
// missing and make is set. False on failure. Windows keeps the folder's own rights and answers true.
bool makePrivate(const std::string &path, bool folder, bool make = true);

// A folder reached step by step from a root that the user chose. The root itself may be a link or lie behind some.
// Below it a link is followed only where it belongs to this user or the system's, and what was reached can't be
// exchanged afterwards: POSIX works in the open folder, Windows holds every step open.
class Folder
{
public:
    struct Reason {
        std::string text;     // in English; empty: there is none
        bool planted = false; // a link of another user's, or a piece that leaves the folder
        bool noRoom = false;  // for a folder that is to be made
    };
    // below: pieces with "/" between, none of them ".."; made where they are missing when make is set. Null on failure.
    static std::unique_ptr<Folder> reach(const std::string &root, const std::string &below, bool make,
                                         Reason *reason = nullptr);
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    // A file of this folder, for reading and writing: a regular one under this name alone, never through a link. -1
    // otherwise. write unset: for reading only.
    int open(const std::string &name, bool write = true);
    // A new, empty file; a file or link that stands there goes first. -1 on failure.
    int create(const std::string &name);
    bool remove(const std::string &name);                        // the link itself, never what it leads to
    bool rename(const std::string &from, const std::string &to); // takes the place of a file or link called to
    bool sync();                                                 // names are on the medium

private:
    struct Held;
    explicit Folder(std::unique_ptr<Held> held);
    std::unique_ptr<Held> m_held;
};
} // namespace platform
