// Expands any data with any status variables.

#include "core/text_cut.h"
#include "events/expand_data.h"
#include "events/expanded_copy.h"
#include "events/hex_to_bytes.h"
#include "events/unescape_data.h"
#include "fuzz/stand_in_system.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace ruvo::fuzz {
namespace {

// An input is data, and behind each of these bytes a status variable; the first of the
// others in it ends its name.
constexpr char kNextVariable = '\x1e';
constexpr char kNameEnd = '\x1f';

constexpr std::array<std::string_view, 3> kEscapes = {"\\n", "\\r", "\\t"};

StatusVariables variables_of(std::string_view text) {
    StatusVariables variables;
    for (auto at = text.find(kNextVariable); at != std::string_view::npos;) {
        text.remove_prefix(at + 1);
        at = text.find(kNextVariable);
        const std::string_view item = text.substr(0, at);
        const auto end = std::min(item.find(kNameEnd), item.size());
        variables.emplace_back(item.substr(0, end), item.substr(std::min(end + 1, item.size())));
    }
    return variables;
}

// The clock and the uptime at their ordinary and their widest.
MacroValues values_for(StatusVariables variables, std::size_t size) {
    MacroValues values;
    values.status_variables = std::make_shared<const StatusVariables>(std::move(variables));
    values.local_time.tm_mday = 1;
    values.uptime_s = static_cast<std::int64_t>(size);
    if (size % 16 == 15) {
        constexpr int kMost = std::numeric_limits<int>::max() - 1900;
        values.local_time = {.tm_sec = kMost,
                             .tm_min = kMost,
                             .tm_hour = kMost,
                             .tm_mday = kMost,
                             .tm_mon = kMost,
                             .tm_year = kMost};
        values.uptime_s = std::numeric_limits<std::int64_t>::min();
    }
    return values;
}

bool holds_escape(std::string_view text) {
    return std::any_of(kEscapes.begin(), kEscapes.end(), [&](std::string_view escape) {
        return text.find(escape) != std::string_view::npos;
    });
}

// The first variable of the name, or one of the three words; anything else is nothing.
void require_resolved(std::string_view name, const MacroValues& values) {
    const MacroValue value = resolve_macro(name, values);
    const auto& variables = *values.status_variables;
    const auto found = std::find_if(variables.begin(), variables.end(),
                                    [&](const auto& item) { return item.first == name; });
    require((value.source == MacroSource::kStatus) == (found != variables.end()),
            "a status variable goes first");
    if (found != variables.end()) require(value.text == found->second, "the first one counts");
    require(value.text.empty() || value.source != MacroSource::kUnknown,
            "an unknown name stands for nothing");
    const bool is_word = value.source == MacroSource::kDate || value.source == MacroSource::kTime ||
                         value.source == MacroSource::kUptime;
    require(!is_word || until_zero(name).size() == 4 || until_zero(name).size() == 6,
            "the words have their lengths");
    require(expand_macro(name, values) == value.text, "a macro stands for its value");
}

// The macros one after the other, from the first to what is no macro any more; the data
// between them is nobody's.
std::string with_macros_resolved(std::string_view data, const MacroValues& values) {
    std::string result;
    std::size_t position = 0;
    while (const auto macro = find_macro(data, position)) {
        require(macro->position >= position && macro->end() <= data.size(),
                "a macro is in the data");
        require(data.substr(macro->position, 2) == "{{" && data.substr(macro->end() - 2, 2) == "}}",
                "a macro has its braces");
        require(macro->name.find("}}") == std::string_view::npos, "the first closing counts");
        require(
            data.substr(position, macro->position - position).find("{{") == std::string_view::npos,
            "the first opening counts");
        require_resolved(macro->name, values);
        result += data.substr(position, macro->position - position);
        result += resolve_macro(macro->name, values).text;
        position = macro->end();
    }
    const std::string_view rest = data.substr(position);
    const auto opening = rest.find("{{");
    require(
        opening == std::string_view::npos || rest.find("}}", opening + 2) == std::string_view::npos,
        "no macro is left");
    return result.append(rest);
}

// Letter by letter from the start, over and over.
std::string replaced_slowly(std::string text, std::string_view pattern,
                            std::string_view replacement) {
    for (auto at = text.find(pattern); at != std::string::npos; at = text.find(pattern)) {
        text.replace(at, pattern.size(), replacement);
    }
    return text;
}

std::string unescaped_slowly(std::string text) {
    text = replaced_slowly(std::move(text), "\\n", "\n");
    text = replaced_slowly(std::move(text), "\\r", "\r");
    return replaced_slowly(std::move(text), "\\t", "\t");
}

// A replacement that is shorter than its pattern comes to an end.
void try_replacing(std::string_view text, const StatusVariables& variables) {
    for (const auto& [pattern, replacement] : variables) {
        if (replacement.size() >= pattern.size()) continue;
        require(replace_all(text, pattern, replacement) ==
                    replaced_slowly(std::string(text), pattern, replacement),
                "every occurrence is replaced");
    }
}

void expand(std::string_view data, const MacroValues& values) {
    const std::string expanded = expand_data(data, values);
    const std::string before_escapes = with_macros_resolved(data, values);
    require(expanded == unescaped_slowly(before_escapes), "macros first, then the escapes");
    require(expanded.size() <= before_escapes.size(), "escapes only shorten");
    require(!holds_escape(expanded), "no escape is left");
    require(unescape_data(expanded) == expanded, "escapes are read once");

    EventEntry entry;
    entry.delay = 7;
    entry.subCommands.resize(2);
    entry.subCommands[1].data = data;
    for (const std::int32_t test : {0, 1}) {
        const EventEntry copy = expanded_copy(entry, values, test);
        require(copy.subCommands[0].data.empty() && copy.subCommands[1].data == expanded,
                "every step is expanded");
        require(copy.delay == (test ? 0 : 7), "a test run has no delay");
    }
}

void try_input(std::string_view input) {
    const std::string_view data = input.substr(0, input.find(kNextVariable));
    const MacroValues values = values_for(variables_of(input), input.size());
    expand(data, values);
    const std::string bytes = hex_to_bytes(data);
    require(bytes.size() == (data.size() + 1) / 2, "two characters are a byte");
    expand(bytes, values);
    try_replacing(data.substr(0, 200), *values.status_variables);
}

}  // namespace
}  // namespace ruvo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ruvo::fuzz::try_input({reinterpret_cast<const char*>(data), size});
    return 0;
}
