#include "common/platform/Platform.h"
#include "common/platform/PlatformText_win.h"
#include <shellapi.h>

namespace platform
{
void ownTree() {}
bool onTerminate(void (*)()) { return false; }

std::vector<std::string> commandWords(int, char **)
{
    std::vector<std::string> words;
    int count = 0;
    LPWSTR *list = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; list && i < count; ++i)
        words.push_back(narrow(list[i]));
    LocalFree(list);
    return words;
}
} // namespace platform
