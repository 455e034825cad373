#include "common/platform/PeerUser.h"
#include <sys/socket.h>
#include <unistd.h>

bool platform::peerIsOwn(std::intptr_t socket)
{
#ifdef SO_PEERCRED
    ucred peer = {};
    socklen_t size = sizeof(peer);
    return getsockopt(int(socket), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
#else
    uid_t user = 0;
    gid_t group = 0;
    return getpeereid(int(socket), &user, &group) == 0 && user == geteuid();
#endif
}
