#pragma once

#include <string>
#include <string_view>

namespace ruvo::ctl {

// Bytes, 16 a line: offset (only where there are several lines), hexadecimal in two
// groups, printable text. Every line begins with the margin and ends with a line feed.
std::string hex_dump(std::string_view bytes, std::string_view margin);

}  // namespace ruvo::ctl
