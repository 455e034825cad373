#pragma once
// Texts and handles between the system's wide calls and the layer's UTF-8. Only the *_win.cpp files include this.
#ifndef UNICODE
#define UNICODE
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <string>
#include <windows.h>

namespace platform
{
inline std::wstring wide(const std::string &text)
{
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0);
    std::wstring out(std::size_t(length > 0 ? length : 0), L'\0');
    if (length > 0)
        MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), &out[0], length);
    return out;
}

inline std::string narrow(const wchar_t *text, int length = -1)
{
    const int room = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    std::string out(std::size_t(room > 0 ? room : 0), '\0');
    if (room > 0)
        WideCharToMultiByte(CP_UTF8, 0, text, length, &out[0], room, nullptr, nullptr);
    if (length < 0 && !out.empty())
        out.pop_back(); // the end mark was counted
    return out;
}

inline std::wstring widePath(const std::string &path)
{
    std::wstring out = wide(path);
    for (wchar_t &c : out)
        c = c == L'/' ? L'\\' : c;
    return out;
}

// For calls that open files: an absolute path that is too long for the usual limit takes the prefix that lifts it.
inline std::wstring filePath(const std::string &path)
{
    const std::wstring out = widePath(path);
    if (out.size() < MAX_PATH - 12 || out.compare(0, 4, L"\\\\?\\") == 0)
        return out;
    if (out.compare(0, 2, L"\\\\") == 0)
        return L"\\\\?\\UNC\\" + out.substr(2);
    return out[1] == L':' ? L"\\\\?\\" + out : out;
}

// A system handle closed at the end of its scope.
class Handle
{
public:
    explicit Handle(HANDLE handle) : m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~Handle()
    {
        if (m_handle)
            CloseHandle(m_handle);
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    explicit operator bool() const { return m_handle != nullptr; }
    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};
} // namespace platform
