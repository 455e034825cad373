// Windows opens by whole paths only, so every step below the root is held open without the right to rename or delete
// it: what was judged is what the next path goes through.
#include "common/platform/PlatformText_win.h"
#include "common/platform/SafeFile.h"
#include <aclapi.h>
#include <algorithm>
#include <fcntl.h>
#include <io.h>
#include <list>
#include <vector>

namespace platform
{
namespace
{
constexpr DWORD LinkAttributes = FILE_ATTRIBUTE_REPARSE_POINT;

// Tags with this bit stand for another name; others (files kept in a cloud, deduplicated ones) are the file itself.
bool isLink(HANDLE handle)
{
    FILE_ATTRIBUTE_TAG_INFO info{};
    return GetFileInformationByHandleEx(handle, FileAttributeTagInfo, &info, sizeof info) &&
           (info.FileAttributes & LinkAttributes) && (info.ReparseTag & 0x20000000);
}

// This user's or the system's.
bool ownLink(HANDLE handle)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR described = nullptr;
    if (GetSecurityInfo(handle, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                        &described) != ERROR_SUCCESS)
        return false;
    bool own = IsWellKnownSid(owner, WinBuiltinAdministratorsSid) || IsWellKnownSid(owner, WinLocalSystemSid);
    HANDLE opened = nullptr;
    if (!own && OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) {
        const Handle token(opened);
        DWORD size = 0;
        GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
        std::vector<char> user(size);
        own = size > 0 && GetTokenInformation(token.get(), TokenUser, user.data(), size, &size) &&
              EqualSid(owner, reinterpret_cast<TOKEN_USER *>(user.data())->User.Sid);
    }
    LocalFree(described);
    return own;
}

bool isFolder(HANDLE handle)
{
    BY_HANDLE_FILE_INFORMATION info{};
    return GetFileInformationByHandle(handle, &info) && (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
}

HANDLE holdFolder(const std::wstring &path, bool asLink)
{
    const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | (asLink ? FILE_FLAG_OPEN_REPARSE_POINT : 0);
    // Listing counts as reading: only then does the missing right to delete hold for others.
    return CreateFileW(path.c_str(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | READ_CONTROL,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, flags, nullptr);
}

int descriptorOf(HANDLE handle, int flags)
{
    const int fd = handle == INVALID_HANDLE_VALUE ? -1 : _open_osfhandle(reinterpret_cast<intptr_t>(handle), flags);
    if (fd < 0 && handle != INVALID_HANDLE_VALUE)
        CloseHandle(handle);
    return fd;
}

int regularOrClose(HANDLE handle, bool alone, int flags)
{
    BY_HANDLE_FILE_INFORMATION info{};
    if (handle == INVALID_HANDLE_VALUE)
        return -1;
    if (GetFileType(handle) == FILE_TYPE_DISK && GetFileInformationByHandle(handle, &info) &&
        !(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) &&
        (!alone || (!isLink(handle) && info.nNumberOfLinks == 1)))
        return descriptorOf(handle, flags);
    CloseHandle(handle);
    return -1;
}

constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
} // namespace

struct Folder::Held {
    std::string path;
    std::list<Handle> steps;
    std::wstring file(const std::string &name) const { return filePath(path + "/" + name); }
};

Folder::Folder(std::unique_ptr<Held> held) : m_held(std::move(held)) {}
Folder::~Folder() = default;

bool readFolder(const std::string &path, const std::function<bool(const std::string &)> &entry, std::string *reason)
{
    WIN32_FIND_DATAW found{};
    const HANDLE handle = FindFirstFileW((filePath(path) + L"\\*").c_str(), &found);
    DWORD bad = handle == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
    for (bool more = handle != INVALID_HANDLE_VALUE; more;) {
        const std::string name = narrow(found.cFileName);
        if (name != "." && name != ".." && !entry(name))
            break;
        more = FindNextFileW(handle, &found);
        if (!more && GetLastError() != ERROR_NO_MORE_FILES)
            bad = GetLastError();
    }
    if (handle != INVALID_HANDLE_VALUE)
        FindClose(handle);
    *reason = bad == ERROR_SUCCESS ? "" : "system error " + std::to_string(bad);
    return bad == ERROR_SUCCESS;
}

bool foldsCase(const std::string &) { return true; }

int openRegular(const std::string &path)
{
    const std::wstring name = filePath(path);
    if (name.compare(0, 4, L"\\\\.\\") == 0) // devices and pipes by their names
        return -1;
    return regularOrClose(
        CreateFileW(name.c_str(), GENERIC_READ, ShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr),
        false, _O_RDONLY | _O_BINARY);
}

bool noRoom()
{
    constexpr DWORD QuotaExceeded = 1295; // not in every header
    const DWORD error = GetLastError();
    return error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL || error == QuotaExceeded;
}

int setFileSize(int fd, std::int64_t size)
{
    const intptr_t handle = fd >= 0 ? _get_osfhandle(fd) : -1;
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = size;
    if (handle == -1 || size < 0)
        return -1;
    if (SetFileInformationByHandle(reinterpret_cast<HANDLE>(handle), FileEndOfFileInfo, &end, sizeof end))
        return 0;
    return noRoom() ? -2 : -1;
}

void privateFiles() {}
void openMask() {}
OpenMask::OpenMask() {}
OpenMask::~OpenMask() {}

bool makePrivate(const std::string &path, bool folder, bool make)
{
    (void)path;
    (void)folder;
    (void)make;
    return true;
}

std::unique_ptr<Folder> Folder::reach(const std::string &root, const std::string &below, bool make, Reason *reason)
{
    auto held = std::make_unique<Held>();
    Reason why;
    held->path = root;
    while (!held->path.empty() && (held->path.back() == '/' || held->path.back() == '\\'))
        held->path.pop_back();
    held->steps.emplace_back(holdFolder(filePath(held->path + "/"), false));
    if (!held->steps.back() || !isFolder(held->steps.back().get()))
        why.text = "no folder: " + root;
    for (std::size_t from = 0; why.text.empty() && from < below.size();) {
        const std::size_t end = std::min(below.find('/', from), below.size());
        const std::string piece = below.substr(from, end - from);
        from = end + 1;
        if (piece.empty() || piece == ".")
            continue;
        if (piece == ".." || piece.find_first_of("\\:") != std::string::npos) {
            why = {"a piece that leaves the folder", true};
            break;
        }
        held->path += "/" + piece;
        const std::wstring name = filePath(held->path);
        const bool full = make && !CreateDirectoryW(name.c_str(), nullptr) && noRoom();
        held->steps.emplace_back(holdFolder(name, true));
        const HANDLE at = held->steps.back().get();
        if (!at)
            why = {"can't be opened: " + piece, false, full};
        else if (isLink(at) && !ownLink(at))
            why = {"another user's link: " + piece, true};
        else if (isLink(at))
            held->steps.emplace_back(holdFolder(name, false)); // the link stays held before it
        if (why.text.empty() && (!held->steps.back() || !isFolder(held->steps.back().get())))
            why.text = "not a folder: " + piece;
    }
    if (reason)
        *reason = why;
    return why.text.empty() ? std::unique_ptr<Folder>(new Folder(std::move(held))) : nullptr;
}

int Folder::open(const std::string &name, bool write)
{
    return regularOrClose(CreateFileW(m_held->file(name).c_str(), GENERIC_READ | (write ? GENERIC_WRITE : 0), ShareAll,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr),
                          true, (write ? _O_RDWR : _O_RDONLY) | _O_BINARY);
}

int Folder::create(const std::string &name)
{
    remove(name);
    return descriptorOf(CreateFileW(m_held->file(name).c_str(), GENERIC_READ | GENERIC_WRITE, ShareAll, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr),
                        _O_RDWR | _O_BINARY);
}

bool Folder::remove(const std::string &name) { return DeleteFileW(m_held->file(name).c_str()) != 0; }

bool Folder::rename(const std::string &from, const std::string &to)
{
    return MoveFileExW(m_held->file(from).c_str(), m_held->file(to).c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

bool Folder::sync() { return true; } // a rename that is written through needs no more
} // namespace platform
