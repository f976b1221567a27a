#pragma once

#include <cstdint>
#include <string_view>

namespace ruvo {

// Sends one datagram to a dotted IPv4 address from a socket of its own, which it
// closes 20 ms later. Returns the number of bytes sent, or -1; failures are silent.
// Any thread.
std::int32_t udpclient(const char* ip, std::uint16_t port, std::string_view data);

}  // namespace ruvo
