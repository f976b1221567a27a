#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdint>

namespace ruvo {

// A socket address from dotted text and a port; text that is no IPv4 address gives
// 0.0.0.0.
inline sockaddr_in ipv4_address(const char* ip, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    (void)::inet_pton(AF_INET, ip, &address.sin_addr);
    return address;
}

// The address as the socket operations take it.
inline const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

}  // namespace ruvo
