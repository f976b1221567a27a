#pragma once

#include <cstddef>
#include <span>

namespace ruvo {

// The buffer that a sender reads one reply into: at most kReplyBytes - 1 bytes of it.
inline constexpr std::size_t kReplyBytes = 2048;

// Terminates a reply of `received` bytes (less than the buffer holds) and turns a
// carriage return and line feed at its end, in either order, into one line feed.
void finish_reply(std::span<char> reply, std::size_t received);

}  // namespace ruvo
