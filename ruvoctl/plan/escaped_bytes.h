#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ruvo::ctl {

// The bytes that a text stands for: \r \n \t \\ and \xNN (two digits), all else is
// itself. Nothing when an escape is unknown or incomplete.
std::optional<std::string> escaped_bytes(std::string_view text);

}  // namespace ruvo::ctl
