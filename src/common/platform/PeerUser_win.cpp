#include "common/platform/PeerUser.h"
#include <vector>
#include <windows.h>

namespace
{
// The bytes of a TOKEN_USER; empty where the process doesn't let us ask.
std::vector<char> userOf(HANDLE process)
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(process, TOKEN_QUERY, &token))
        return {};
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<char> bytes(size);
    if (size == 0 || !GetTokenInformation(token, TokenUser, bytes.data(), size, &size))
        bytes.clear();
    CloseHandle(token);
    return bytes;
}

PSID sidOf(std::vector<char> &user) { return reinterpret_cast<TOKEN_USER *>(user.data())->User.Sid; }
} // namespace

bool platform::peerIsOwn(std::intptr_t socket)
{
    ULONG pid = 0;
    if (!GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(socket), &pid))
        return false;
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, pid);
    if (!process)
        return false;
    std::vector<char> theirs = userOf(process), ours = userOf(GetCurrentProcess());
    CloseHandle(process);
    return !theirs.empty() && !ours.empty() && EqualSid(sidOf(theirs), sidOf(ours));
}
