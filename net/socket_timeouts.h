#pragma once

#include <sys/socket.h>
#include <sys/time.h>

namespace ruvo {

// Bounds every send and receive on a TCP socket to 2 seconds (on Linux also the
// connect). A failure is silent: the socket then merely waits longer.
inline void set_socket_timeouts(int socket) {
    constexpr timeval kTimeout{.tv_sec = 2, .tv_usec = 0};
    (void)::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &kTimeout, sizeof kTimeout);
    (void)::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &kTimeout, sizeof kTimeout);
}

}  // namespace ruvo
