#pragma once

#include <ctime>
#include <optional>
#include <string_view>

namespace ruvo::ctl {

// "YYYY-MM-DD HH:MM:SS", with a blank or a T between; nothing when the text is anything
// else or names a day or time that there is not.
std::optional<std::tm> parse_local_time(std::string_view text);

}  // namespace ruvo::ctl
