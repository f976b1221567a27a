#pragma once

#include "core/unique_fd.h"

#include <cstdint>
#include <string_view>

namespace ruvo {

// A datagram on its way, and the socket that it has left from.
struct Datagram {
    UniqueFd sock;           // empty when there is none to be had
    std::int32_t sent = -1;  // bytes, or -1
};

// The two halves of udpclient; without a socket there is no pause. Any thread.
Datagram send_datagram(const char* ip, std::uint16_t port, std::string_view data);
void close_after_pause(Datagram datagram);

// Sends one datagram to a dotted IPv4 address from a socket of its own, which it
// closes 20 ms later. Returns the number of bytes sent, or -1; failures are silent.
// Any thread.
std::int32_t udpclient(const char* ip, std::uint16_t port, std::string_view data);

}  // namespace ruvo
