#include "ruvoctl/codec/data_parts.h"

#include "events/expand_data.h"
#include "events/unescape_data.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <memory>

namespace ruvo::ctl {
namespace {

const char* becomes(MacroSource source) {
    switch (source) {
        case MacroSource::kDate:
            return "the date, as in \"2024-10-17 \" with the blank";
        case MacroSource::kTime:
            return "the time, as in \"03:18:38\"";
        case MacroSource::kUptime:
            return "the seconds that the device has been up";
        case MacroSource::kStatus:
        case MacroSource::kUnknown:
            break;
    }
    return "the status item of exactly this name; nothing when the device reports none";
}

}  // namespace

std::vector<DataPart> macros_of(std::string_view bytes) {
    MacroValues values;
    values.status_variables = std::make_shared<StatusVariables>();
    std::vector<DataPart> parts;
    for (auto macro = find_macro(bytes, 0); macro; macro = find_macro(bytes, macro->end())) {
        parts.push_back({.position = macro->position,
                         .text = std::string(macro->name),
                         .becomes = becomes(resolve_macro(macro->name, values).source)});
    }
    return parts;
}

std::vector<DataPart> escapes_of(std::string_view bytes) {
    std::vector<DataPart> parts;
    for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
        const std::string_view pair = bytes.substr(i, 2);
        const std::string replaced = unescape_data(pair);
        if (replaced.size() == pair.size()) continue;
        parts.push_back(
            {.position = i,
             .text = std::string(pair),
             .becomes = fmt::format("{}, {}", control_name(replaced[0]), hex_of(replaced))});
    }
    return parts;
}

}  // namespace ruvo::ctl
