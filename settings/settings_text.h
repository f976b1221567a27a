#pragma once

#include "settings/event_definition.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace ruvo {

// One line of a settings file as it was read, line feed included, becomes a
// record; nothing when it has no "=". Blanks and carriage returns belong to the
// key and the value; only one line feed at the end is dropped.
std::optional<EventDefinition> parse_settings_line(std::string_view line);

// The lines of the file that a fresh device gets, each with its line feed.
std::array<std::string, 10> default_settings_lines(bool enabled);

}  // namespace ruvo
