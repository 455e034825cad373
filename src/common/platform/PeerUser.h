#pragma once
// Who is at the other end of a local socket. Any thread.
#include <cstdint>

namespace platform
{
// True when it is the user who runs this program. socket: the connected descriptor; on Windows the client's end of a
// pipe. False where it can't be found out.
bool peerIsOwn(std::intptr_t socket);
} // namespace platform
