#pragma once

#include "events/status_reply.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ruvo {

// What macros stand for at one moment.
struct MacroValues {
    std::shared_ptr<const StatusVariables> status_variables;  // never null when expanded
    std::tm local_time{};
    std::int64_t uptime_s = 0;
};

// Replaces every {{name}} by its value, then the backslash escapes, also those that
// a value brought in. An opening without a closing stays as it is.
std::string expand_data(std::string_view data, const MacroValues& values);

// One {{name}} in data.
struct Macro {
    std::size_t position = 0;  // of the opening
    std::string_view name;

    // Where the data goes on behind the closing.
    std::size_t end() const { return position + name.size() + 4; }
};

// The first macro at or behind a position: the first opening pairs with the first
// closing behind it, nothing nests.
std::optional<Macro> find_macro(std::string_view data, std::size_t position);

// Where a macro's value comes from.
enum class MacroSource { kStatus, kDate, kTime, kUptime, kUnknown };

struct MacroValue {
    MacroSource source = MacroSource::kUnknown;
    std::string text;
};

MacroValue resolve_macro(std::string_view name, const MacroValues& values);

// A macro's replacement: the first status variable of exactly that name, else the
// date, the time or the uptime (their names in any case), else nothing.
std::string expand_macro(std::string_view name, const MacroValues& values);

// "2024-10-17 ", with the blank, and "03:18:38".
std::string format_date(const std::tm& local_time);
std::string format_time(const std::tm& local_time);

}  // namespace ruvo
