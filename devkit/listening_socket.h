#pragma once

#include "devkit/descriptor.h"

#include <netinet/in.h>

namespace ruvo::devkit {

// Sockets bound to the address (port 0: a free one), non-blocking and
// close-on-exec. Both throw std::system_error with the address in its text.
Descriptor open_tcp_listener(const sockaddr_in& address);
// The UDP socket reports each datagram's own destination address (IP_PKTINFO)
// and has a large receive buffer, so a burst is not lost.
Descriptor open_udp_socket(const sockaddr_in& address);

// Takes one waiting connection; an invalid descriptor when there is none.
// Throws std::system_error for what does not pass by itself.
Descriptor accept_connection(int listener_fd, sockaddr_in& peer);

}  // namespace ruvo::devkit
