#include "common/platform/Platform.h"

namespace platform
{
void ownSession() {}
bool onTerminate(void (*)()) { return false; }
} // namespace platform
