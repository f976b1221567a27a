#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace ruvo {

inline constexpr std::int32_t kNoSocket = -2;
inline constexpr std::int32_t kNotConnected = -3;
inline constexpr std::int32_t kNotSent = -4;

// Connects to a dotted IPv4 address, sends once and reads at most one reply, each
// within 2 seconds. Returns the number of bytes sent, kNoSocket, kNotConnected or
// kNotSent; the last two are logged. Afterwards `reply` (at least one byte long)
// holds zero-terminated text: the reply, or "(errno)text" of the step that failed,
// the receiving included. Any thread;
// works without memory to spare.
std::int32_t tcpclient(const char* ip, std::int32_t port, std::string_view data,
                       std::span<char> reply);

}  // namespace ruvo
