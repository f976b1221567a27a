#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ruvo::devkit {

// Bytes as text that shows every one of them: \r \n \t, a backslash doubled, and
// \xNN for all else outside of printable ASCII.
std::string escape_text(std::string_view bytes);

// The way back; nothing when an escape is unknown or incomplete.
std::optional<std::string> unescape_text(std::string_view text);

// Two lower-case digits per byte.
std::string to_hex(std::string_view bytes);

}  // namespace ruvo::devkit
