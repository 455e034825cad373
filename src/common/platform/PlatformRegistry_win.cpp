#include "common/platform/Platform.h"
#include "common/platform/PlatformText_win.h"

namespace platform
{
namespace
{
const char *const runKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";

// An open key; the machine's hive always in its 64-bit view.
class Key
{
public:
    Key(Hive hive, const std::string &key, REGSAM access, bool create = false)
    {
        const HKEY root = hive == Hive::CurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
        const REGSAM view = access | (hive == Hive::LocalMachine ? KEY_WOW64_64KEY : 0);
        const std::wstring path = widePath(key);
        const LSTATUS opened = create
                                   ? RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, view, nullptr, &m_key, nullptr)
                                   : RegOpenKeyExW(root, path.c_str(), 0, view, &m_key);
        if (opened != ERROR_SUCCESS)
            m_key = nullptr;
    }
    ~Key()
    {
        if (m_key)
            RegCloseKey(m_key);
    }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;
    explicit operator bool() const { return m_key != nullptr; }
    HKEY get() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

std::string textOf(DWORD type, const std::vector<BYTE> &data, DWORD size)
{
    if (type == REG_DWORD && size >= sizeof(DWORD))
        return std::to_string(*reinterpret_cast<const DWORD *>(data.data()));
    if (type == REG_QWORD && size >= sizeof(ULONGLONG))
        return std::to_string(*reinterpret_cast<const ULONGLONG *>(data.data()));
    if (type != REG_SZ && type != REG_EXPAND_SZ && type != REG_MULTI_SZ)
        return {};
    const wchar_t *text = reinterpret_cast<const wchar_t *>(data.data());
    int length = int(size / sizeof(wchar_t));
    while (length > 0 && text[length - 1] == 0) // stored with or without its end mark
        --length;
    return length > 0 ? narrow(text, length) : std::string();
}

template <class Read> std::vector<std::string> namesOf(Read read)
{
    std::vector<std::string> names;
    std::vector<wchar_t> name(16384);
    for (DWORD index = 0;; ++index) {
        DWORD length = DWORD(name.size());
        const LSTATUS got = read(index, name.data(), &length);
        if (got == ERROR_MORE_DATA)
            continue;
        if (got != ERROR_SUCCESS)
            return names;
        names.push_back(length > 0 ? narrow(name.data(), int(length)) : std::string());
    }
}
} // namespace

std::optional<std::string> regGet(Hive hive, const std::string &key, const std::string &name)
{
    const Key open(hive, key, KEY_QUERY_VALUE);
    if (!open)
        return std::nullopt;
    const std::wstring wideName = wide(name);
    DWORD type = 0, size = 0;
    if (RegQueryValueExW(open.get(), wideName.c_str(), nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
        return std::nullopt;
    std::vector<BYTE> data(size + sizeof(wchar_t));
    size = DWORD(data.size());
    if (RegQueryValueExW(open.get(), wideName.c_str(), nullptr, &type, data.data(), &size) != ERROR_SUCCESS)
        return std::nullopt;
    return textOf(type, data, size);
}

bool regSet(Hive hive, const std::string &key, const std::string &name, const std::string &text)
{
    const Key open(hive, key, KEY_SET_VALUE, true);
    const std::wstring value = wide(text);
    return open &&
           RegSetValueExW(open.get(), wide(name).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE *>(value.c_str()),
                          DWORD((value.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
}

bool regDelete(Hive hive, const std::string &key, const std::string &name)
{
    const Key open(hive, key, KEY_SET_VALUE);
    return open && RegDeleteValueW(open.get(), wide(name).c_str()) == ERROR_SUCCESS;
}

std::vector<std::string> regNames(Hive hive, const std::string &key)
{
    const Key open(hive, key, KEY_QUERY_VALUE);
    if (!open)
        return {};
    return namesOf([&](DWORD index, wchar_t *name, DWORD *length) {
        return RegEnumValueW(open.get(), index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

std::vector<std::string> regSubkeys(Hive hive, const std::string &key)
{
    const Key open(hive, key, KEY_ENUMERATE_SUB_KEYS);
    if (!open)
        return {};
    return namesOf([&](DWORD index, wchar_t *name, DWORD *length) {
        return RegEnumKeyExW(open.get(), index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

bool autoStartSet(const std::string &name, const std::string &command)
{
    return regSet(Hive::LocalMachine, runKey, name, command);
}
bool autoStartRemove(const std::string &name) { return regDelete(Hive::LocalMachine, runKey, name); }
std::optional<std::string> autoStartGet(const std::string &name) { return regGet(Hive::LocalMachine, runKey, name); }
} // namespace platform
