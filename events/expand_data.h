#pragma once

#include "events/status_reply.h"

#include <cstdint>
#include <ctime>
#include <memory>
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

// A macro's replacement: the first status variable of exactly that name, else the
// date, the time or the uptime (their names in any case), else nothing.
std::string expand_macro(std::string_view name, const MacroValues& values);

// "2024-10-17 ", with the blank, and "03:18:38".
std::string format_date(const std::tm& local_time);
std::string format_time(const std::tm& local_time);

}  // namespace ruvo
