#pragma once

#include <cstddef>
#include <string_view>

namespace ruvo {

// The text up to its first zero byte, as C string operations see it.
constexpr std::string_view until_zero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

// What a bounded copy into a buffer of `capacity` bytes keeps of a text: up to
// its first zero byte, at most capacity - 1 characters. The capacity is at least 1.
constexpr std::string_view cut_to_buffer(std::string_view text, std::size_t capacity) {
    return until_zero(text).substr(0, capacity - 1);
}

// The text without one line feed at its end.
constexpr std::string_view without_line_feed(std::string_view text) {
    if (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

}  // namespace ruvo
