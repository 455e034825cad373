#include "common/platform/Platform.h"
#include "common/platform/PlatformText_win.h"
#include <winsock2.h> // before iphlpapi.h, whose address types it brings

#include <cstdio>
#include <cstring>
#include <dbghelp.h>
#include <io.h>
#include <iphlpapi.h>
#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

namespace platform
{
namespace
{
template <class Type> void release(Type *&object)
{
    if (object)
        object->Release();
    object = nullptr;
}

// One connection to the management service, for the life of a look-up.
class Management
{
public:
    Management()
    {
        // A thread that already works in another mode is fine: the objects are the same.
        m_entered = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        IWbemLocator *locator = nullptr;
        if (FAILED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                    reinterpret_cast<void **>(&locator))))
            return;
        BSTR space = SysAllocString(L"ROOT\\CIMV2");
        if (FAILED(locator->ConnectServer(space, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &m_services)))
            m_services = nullptr;
        else
            CoSetProxyBlanket(m_services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                              RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
        SysFreeString(space);
        release(locator);
    }
    ~Management()
    {
        release(m_services);
        if (m_entered)
            CoUninitialize();
    }
    Management(const Management &) = delete;
    Management &operator=(const Management &) = delete;

    std::vector<std::string> facts(const std::string &className, const std::string &property) const
    {
        std::vector<std::string> list;
        if (!m_services)
            return list;
        BSTR language = SysAllocString(L"WQL");
        BSTR query = SysAllocString((L"SELECT * FROM " + wide(className)).c_str());
        IEnumWbemClassObject *rows = nullptr;
        if (SUCCEEDED(m_services->ExecQuery(language, query, WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY,
                                            nullptr, &rows))) {
            IWbemClassObject *row = nullptr;
            ULONG count = 0;
            while (rows->Next(patienceMs, 1, &row, &count) == S_OK && count == 1) {
                const std::string value = valueOf(row, property);
                if (!value.empty())
                    list.push_back(value);
                release(row);
            }
            release(rows);
        }
        SysFreeString(query);
        SysFreeString(language);
        return list;
    }

private:
    static constexpr LONG patienceMs = 10000; // a service that hangs must not hang its caller

    static std::string valueOf(IWbemClassObject *row, const std::string &property)
    {
        VARIANT value, text;
        VariantInit(&value);
        VariantInit(&text);
        std::string out;
        if (SUCCEEDED(row->Get(wide(property).c_str(), 0, &value, nullptr, nullptr)) && value.vt != VT_NULL &&
            SUCCEEDED(VariantChangeType(&text, &value, 0, VT_BSTR)) && text.bstrVal)
            out = narrow(text.bstrVal);
        VariantClear(&text);
        VariantClear(&value);
        return out;
    }

    IWbemServices *m_services = nullptr;
    bool m_entered = false;
};

// The nearest folder that exists, with a slash behind it.
std::wstring existingFolder(const std::string &path)
{
    wchar_t full[MAX_PATH * 4] = {};
    const DWORD length = GetFullPathNameW(widePath(path.empty() ? "." : path).c_str(), MAX_PATH * 4, full, nullptr);
    std::wstring at(full, length < MAX_PATH * 4 ? length : 0);
    while (!at.empty()) {
        const DWORD kind = GetFileAttributesW(at.c_str());
        if (kind != INVALID_FILE_ATTRIBUTES && (kind & FILE_ATTRIBUTE_DIRECTORY))
            return at.back() == L'\\' ? at : at + L"\\";
        while (!at.empty() && at.back() == L'\\')
            at.pop_back();
        const std::size_t slash = at.find_last_of(L'\\');
        if (slash == std::wstring::npos)
            break;
        at.resize(slash + 1);
    }
    return {};
}

// What the filter needs, prepared while the process is sound.
struct Crash {
    wchar_t folder[MAX_PATH * 4] = {};
    char version[64] = {};
    int utcOffset = 0;
} crash;

LONG WINAPI onCrash(EXCEPTION_POINTERS *exception)
{
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const std::int64_t ticks = (std::int64_t(now.dwHighDateTime) << 32) | now.dwLowDateTime;
    char name[128];
    if (!crashName(name, sizeof name, ticks / 10000 - 11644473600000LL, crash.utcOffset, crash.version))
        return EXCEPTION_CONTINUE_SEARCH;
    wchar_t path[MAX_PATH * 4 + 130];
    std::size_t at = std::wcslen(crash.folder);
    std::memcpy(path, crash.folder, at * sizeof(wchar_t));
    path[at++] = L'\\';
    for (const char *c = name; *c; ++c)
        path[at++] = wchar_t(*c);
    path[at] = 0;
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        MINIDUMP_EXCEPTION_INFORMATION info{GetCurrentThreadId(), exception, FALSE};
        MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal, &info, nullptr, nullptr);
        CloseHandle(file);
    }
    return EXCEPTION_EXECUTE_HANDLER; // the process dies, without a system dialog
}
} // namespace

std::vector<std::string> managementFacts(const std::string &className, const std::string &property)
{
    return Management().facts(className, property);
}

Hardware hardware()
{
    const Management management;
    Hardware facts;
    facts.system = joinFacts(management.facts("Win32_OperatingSystem", "Caption"));
    facts.processor = joinFacts(management.facts("Win32_Processor", "Name"));
    facts.cores = joinFacts(management.facts("Win32_Processor", "NumberOfCores"));
    facts.memory = joinFacts(management.facts("Win32_PhysicalMemory", "Capacity"));
    facts.mainboard = joinFacts(management.facts("Win32_BaseBoard", "Name"));
    facts.graphics = joinFacts(management.facts("Win32_VideoController", "Caption"));
    return facts;
}

// The moment of the start, as the kernel keeps it.
std::string bootMark()
{
    using Query = LONG(WINAPI *)(ULONG, void *, ULONG, ULONG *);
    struct {
        LARGE_INTEGER bootTime, rest[5];
    } facts = {};
    constexpr ULONG TimeOfDay = 3;
    const HMODULE kernel = GetModuleHandleW(L"ntdll.dll");
    const auto query =
        kernel ? reinterpret_cast<Query>(reinterpret_cast<void *>(GetProcAddress(kernel, "NtQuerySystemInformation")))
               : nullptr;
    if (!query || query(TimeOfDay, &facts, sizeof facts, nullptr) != 0 || facts.bootTime.QuadPart == 0)
        return {};
    return std::to_string(facts.bootTime.QuadPart);
}

std::string volumeSerial()
{
    wchar_t windows[MAX_PATH] = L"C:\\";
    GetWindowsDirectoryW(windows, MAX_PATH);
    windows[3] = 0; // the drive alone
    DWORD serial = 0;
    if (!GetVolumeInformationW(windows, nullptr, 0, &serial, nullptr, nullptr, nullptr, 0))
        return {};
    char text[16];
    std::snprintf(text, sizeof text, "%04lX-%04lX", static_cast<unsigned long>(serial >> 16),
                  static_cast<unsigned long>(serial & 0xFFFF));
    return text;
}

std::vector<Adapter> adapters()
{
    std::vector<Adapter> list;
    ULONG size = 16384;
    std::vector<char> memory;
    ULONG got = ERROR_BUFFER_OVERFLOW;
    for (int tries = 0; tries < 3 && got == ERROR_BUFFER_OVERFLOW; ++tries) {
        memory.resize(size);
        got =
            GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, reinterpret_cast<IP_ADAPTER_ADDRESSES *>(memory.data()), &size);
    }
    if (got != ERROR_SUCCESS)
        return list;
    for (auto *one = reinterpret_cast<IP_ADAPTER_ADDRESSES *>(memory.data()); one; one = one->Next) {
        const std::string description = narrow(one->Description);
        if (one->IfType == IF_TYPE_SOFTWARE_LOOPBACK || one->PhysicalAddressLength != 6 || adapterSkipped(description))
            continue;
        char mac[18];
        const BYTE *b = one->PhysicalAddress;
        std::snprintf(mac, sizeof mac, "%02X:%02X:%02X:%02X:%02X:%02X", b[0], b[1], b[2], b[3], b[4], b[5]);
        list.push_back({description, mac});
    }
    return list;
}

std::int64_t freeSpace(const std::string &path)
{
    const std::wstring folder = existingFolder(path);
    ULARGE_INTEGER free{};
    if (folder.empty() || !GetDiskFreeSpaceExW(folder.c_str(), &free, nullptr, nullptr))
        return -1;
    return std::int64_t(free.QuadPart);
}

bool syncFile(int fd)
{
    const intptr_t handle = fd >= 0 ? _get_osfhandle(fd) : -1;
    return handle != -1 && FlushFileBuffers(reinterpret_cast<HANDLE>(handle));
}

bool syncFolder(const std::string &path)
{
    const Handle folder(CreateFileW(widePath(path).c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    // A share that gives no such handle keeps its names itself.
    return folder ? FlushFileBuffers(folder.get()) || GetLastError() == ERROR_ACCESS_DENIED ||
                        GetLastError() == ERROR_INVALID_FUNCTION
                  : GetLastError() == ERROR_ACCESS_DENIED;
}

// Volumes are flushed by administrators only.
bool syncVolumes(const std::vector<std::string> &) { return false; }

bool installCrashDump(const std::string &folder, const std::string &version)
{
    const std::wstring path = widePath(folder);
    if (path.size() >= MAX_PATH * 4 || version.size() >= sizeof crash.version)
        return false;
    std::memcpy(crash.folder, path.c_str(), (path.size() + 1) * sizeof(wchar_t));
    std::memcpy(crash.version, version.c_str(), version.size() + 1);
    TIME_ZONE_INFORMATION zone{};
    const DWORD kind = GetTimeZoneInformation(&zone);
    const LONG bias = zone.Bias + (kind == TIME_ZONE_ID_DAYLIGHT   ? zone.DaylightBias
                                   : kind == TIME_ZONE_ID_STANDARD ? zone.StandardBias
                                                                   : 0);
    crash.utcOffset = int(-bias * 60);
    SetErrorMode(SetErrorMode(0) | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(onCrash);
    return true;
}
} // namespace platform
