#pragma once

#include "execution/outgoing.h"

#include <cstdint>
#include <string>

namespace ruvo::ctl {

// Where a send goes, as its socket sees it.
struct SocketDestination {
    std::string ip;
    std::uint16_t port = 0;
    bool ip_parsed = false;  // false: the text is no address, 0.0.0.0 stands in its place
};

// Four decimal numbers with dots between them, and nothing else.
bool is_ipv4_address(const std::string& text);

SocketDestination socket_destination(const Outgoing& out);

// Destinations that Linux refuses every sender that sets no options, whatever the
// network: port 0 and broadcast by UDP, broadcast and multicast by TCP, where broadcast is
// the limited one and that of the loopback network.
bool always_refused(Sender sender, const SocketDestination& destination);

}  // namespace ruvo::ctl
