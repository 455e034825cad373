#include "common/platform/Platform.h"
#include <unistd.h>

namespace platform
{
void ownSession() { setsid(); }
} // namespace platform
