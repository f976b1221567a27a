#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string_view>

namespace ruvo {

// Reads a stream line by line through a buffer of `Capacity` bytes: a longer line
// comes in pieces of at most Capacity - 1 bytes, each a line of its own. A line
// keeps its line feed and ends at its first zero byte, line feed included.
template <std::size_t Capacity>
class LineReader {
  public:
    explicit LineReader(std::FILE* stream) : stream_(stream) {}

    // The next line, valid until the next call; nothing at the end of the stream.
    std::optional<std::string_view> next() {
        if (std::fgets(buffer_.data(), static_cast<int>(Capacity), stream_) == nullptr) return {};
        return std::string_view(buffer_.data());
    }

  private:
    std::FILE* stream_;
    std::array<char, Capacity> buffer_{};
};

// The buffer of settings files and status replies.
inline constexpr std::size_t kLineBufferBytes = 2048;

}  // namespace ruvo
