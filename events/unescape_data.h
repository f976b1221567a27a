#pragma once

#include <string>
#include <string_view>

namespace ruvo {

// Replaces backslash + n, then backslash + r, then backslash + t by a line feed, a
// carriage return and a tab; every other backslash stays.
std::string unescape_data(std::string_view data);

// Replaces the leftmost occurrence of the pattern until none remains, also those
// that a replacement completes. The replacement must not hold the pattern, and
// the pattern must not be empty.
std::string replace_all(std::string_view text, std::string_view pattern,
                        std::string_view replacement);

}  // namespace ruvo
