#include "events/expand_data.h"

#include "core/text_cut.h"
#include "events/unescape_data.h"

#include <strings.h>

#include <array>
#include <cstdio>

namespace ruvo {
namespace {

constexpr std::size_t kTimeTextBytes = 128;
constexpr std::string_view kOpening = "{{";
constexpr std::string_view kClosing = "}}";

bool is_built_in_macro(std::string_view name, std::string_view macro) {
    const std::string_view text = until_zero(name);
    return text.size() == macro.size() &&
           ::strncasecmp(text.data(), macro.data(), macro.size()) == 0;
}

std::string expand_macros(std::string_view data, const MacroValues& values) {
    std::string result;
    std::size_t position = 0;
    while (const auto macro = find_macro(data, position)) {
        result += data.substr(position, macro->position - position);
        result += expand_macro(macro->name, values);
        position = macro->end();
    }
    result += data.substr(position);
    return result;
}

}  // namespace

std::string expand_data(std::string_view data, const MacroValues& values) {
    return unescape_data(expand_macros(data, values));
}

std::optional<Macro> find_macro(std::string_view data, std::size_t position) {
    const auto opening = data.find(kOpening, position);
    if (opening == std::string_view::npos) return {};
    const auto name = opening + kOpening.size();
    const auto closing = data.find(kClosing, name);
    if (closing == std::string_view::npos) return {};
    return Macro{.position = opening, .name = data.substr(name, closing - name)};
}

MacroValue resolve_macro(std::string_view name, const MacroValues& values) {
    for (const auto& [variable, value] : *values.status_variables) {
        if (variable == name) return {MacroSource::kStatus, value};
    }
    if (is_built_in_macro(name, "date")) {
        return {MacroSource::kDate, format_date(values.local_time)};
    }
    if (is_built_in_macro(name, "time")) {
        return {MacroSource::kTime, format_time(values.local_time)};
    }
    if (is_built_in_macro(name, "uptime")) {
        return {MacroSource::kUptime, std::to_string(values.uptime_s)};
    }
    return {};
}

std::string expand_macro(std::string_view name, const MacroValues& values) {
    return resolve_macro(name, values).text;
}

std::string format_date(const std::tm& local_time) {
    std::array<char, kTimeTextBytes> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d ", local_time.tm_year + 1900,
                  local_time.tm_mon + 1, local_time.tm_mday);
    return text.data();
}

std::string format_time(const std::tm& local_time) {
    std::array<char, kTimeTextBytes> text{};
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", local_time.tm_hour, local_time.tm_min,
                  local_time.tm_sec);
    return text.data();
}

}  // namespace ruvo
