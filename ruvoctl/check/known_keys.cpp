#include "ruvoctl/check/known_keys.h"

#include "ruvoctl/characters.h"
#include "ruvoctl/check/findings.h"

#include <algorithm>
#include <cctype>

namespace ruvo::ctl {
namespace {

// Of a file with more events, only the first ones are proposed for a misspelt name.
constexpr std::size_t kMostNames = 200;

}  // namespace

bool is_event_field(std::string_view field) { return field == "Count" || field == "XMLfield"; }

bool is_step_field(std::string_view field) {
    return field == "Protocol" || field == "IP" || field == "Port" || field == "Data";
}

bool is_number(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), is_decimal_digit);
}

bool is_plain_number(std::string_view text) {
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    return is_number(text);
}

bool begins_with_number(std::string_view value) {
    std::string_view text = trim_blanks(value);
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    return !text.empty() && is_number(text.substr(0, 1));
}

std::optional<MeantKey> meant_key(std::string_view key) {
    std::optional<MeantKey> meant;
    for (const std::string_view field : kFieldWords) {
        const auto position = key.rfind(field);
        if (position == std::string_view::npos || position == 0) continue;
        const std::string_view rest = key.substr(position + field.size());
        const std::string_view index = trim_blanks(rest);
        if (!index.empty() && !is_number(index)) continue;
        if (meant && meant->name.size() >= position) continue;
        meant = {.name = key.substr(0, position), .field = field, .index = index};
    }
    return meant;
}

std::string lower_case(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    return result;
}

KnownNames::KnownNames(const SettingsSource& source) {
    for (const std::string_view name : kBuiltInEvents) {
        by_lower_case_.emplace(lower_case(name), name);
        names_.emplace_back(name);
    }
    for (const EventDefinition& definition : source.definitions) {
        if (definition.kind == kFieldKey && definition.field == "Count") {
            const bool added =
                by_lower_case_.emplace(lower_case(definition.name), definition.name).second;
            if (added && names_.size() < kMostNames) names_.push_back(definition.name);
        }
        if (definition.kind == kIndexedKey && is_number(trim_blanks(definition.index)) &&
            !is_event_field(definition.field)) {
            with_steps_[definition.name] = true;
        }
    }
}

bool KnownNames::contains(std::string_view name) const {
    const auto found = by_lower_case_.find(lower_case(name));
    return found != by_lower_case_.end() && found->second == name;
}

bool KnownNames::has_steps(std::string_view name) const { return with_steps_.contains(name); }

std::optional<std::string> KnownNames::beginning_of(std::string_view key) const {
    constexpr std::size_t kLongest = 64;  // longer names are not typed by hand
    const std::string lower = lower_case(key.substr(0, kLongest));
    for (std::size_t length = lower.size(); length > 0; --length) {
        const auto found = by_lower_case_.find(lower.substr(0, length));
        if (found != by_lower_case_.end()) return found->second;
    }
    return {};
}

}  // namespace ruvo::ctl
