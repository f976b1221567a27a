#include "ruvoctl/socket_destination.h"

#include "net/ipv4_address.h"

#include <array>

namespace ruvo::ctl {
namespace {

bool is_limited_broadcast(const in_addr& address) { return address.s_addr == INADDR_NONE; }

// Broadcast in the network that every loopback interface has.
bool is_loopback_broadcast(const in_addr& address) {
    return ntohl(address.s_addr) == (INADDR_LOOPBACK | ~IN_CLASSA_NET);
}

bool is_broadcast(const in_addr& address) {
    return is_limited_broadcast(address) || is_loopback_broadcast(address);
}

bool is_multicast(const in_addr& address) { return IN_MULTICAST(ntohl(address.s_addr)); }

}  // namespace

bool is_ipv4_address(const std::string& text) {
    in_addr ignored{};
    return ::inet_pton(AF_INET, text.c_str(), &ignored) == 1;
}

SocketDestination socket_destination(const Outgoing& out) {
    const std::string ip(out.ip);
    const sockaddr_in address = ipv4_address(ip.c_str(), static_cast<std::uint16_t>(out.port));
    std::array<char, INET_ADDRSTRLEN> text{};
    (void)::inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    return {.ip = text.data(), .port = ntohs(address.sin_port), .ip_parsed = is_ipv4_address(ip)};
}

bool always_refused(Sender sender, const SocketDestination& destination) {
    const in_addr address = ipv4_address(destination.ip.c_str(), destination.port).sin_addr;
    switch (sender) {
        case Sender::kUdp:
        case Sender::kUdpStatus:
            return destination.port == 0 || is_broadcast(address);
        case Sender::kTcp:
        case Sender::kTcpStatus:
            return is_broadcast(address) || is_multicast(address);
        case Sender::kNone:
            break;
    }
    return false;
}

}  // namespace ruvo::ctl
