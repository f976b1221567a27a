#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ruvo {

// Name and value of the status items, in the order of the report; names may recur
// and the first one counts.
using StatusVariables = std::vector<std::pair<std::string, std::string>>;

// A report replaces the variables in use only when it has more items than this:
// a short or missing report never empties a good list. Start-up waits for as many.
inline constexpr std::size_t kTooFewStatusItems = 5;

// One line of a report: the text before its first colon and all that follows, less
// one line feed; nothing when there is no colon. Nothing is trimmed.
std::optional<std::pair<std::string, std::string>> parse_status_line(std::string_view line);

// Every item of an open report, whose lines end with a line feed, to its end.
StatusVariables read_status_report(std::FILE* report);

}  // namespace ruvo
