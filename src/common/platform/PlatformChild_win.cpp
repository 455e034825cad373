#include "common/platform/Platform.h"

namespace platform
{
void ownSession() {}
} // namespace platform
