#include "devkit/config_value.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <system_error>
#include <utility>

namespace ruvo::devkit {
namespace {

constexpr std::array<std::pair<std::string_view, ConfigType>, 4> kWords{{
    {"boolean", ConfigType::kBoolean},
    {"integer", ConfigType::kInteger},
    {"double", ConfigType::kDouble},
    {"string", ConfigType::kString},
}};

// The number that the whole text is; nothing when there is more or less, or too much.
template <typename Number>
std::optional<Number> parse_number(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return number;
}

std::optional<ConfigTree> parse_boolean(std::string_view text) {
    if (text != "true" && text != "false") return std::nullopt;
    return text == "true";
}

std::optional<ConfigTree> parse_integer(std::string_view text) {
    const auto number = parse_number<std::int32_t>(text);
    if (!number) return std::nullopt;
    return *number;
}

std::optional<ConfigTree> parse_double(std::string_view text) {
    const auto number = parse_number<double>(text);
    if (!number || !std::isfinite(*number)) return std::nullopt;
    return *number;
}

std::optional<ConfigTree> parse_string(std::string_view text) {
    if (!is_utf8(text)) return std::nullopt;
    return text;
}

}  // namespace

ConfigType config_type(const ConfigTree& value) {
    switch (value.type()) {
        case ConfigTree::value_t::boolean:
            return ConfigType::kBoolean;
        case ConfigTree::value_t::number_float:
            return ConfigType::kDouble;
        case ConfigTree::value_t::number_integer:
        case ConfigTree::value_t::number_unsigned:
            return ConfigType::kInteger;
        case ConfigTree::value_t::object:
            return ConfigType::kObject;
        case ConfigTree::value_t::array:
            return ConfigType::kArray;
        case ConfigTree::value_t::string:
            return ConfigType::kString;
        default:
            return ConfigType::kNull;
    }
}

std::optional<int> config_int(const ConfigTree& value) {
    using Limits = std::numeric_limits<int>;
    if (!value.is_number_integer()) return std::nullopt;
    // What only an unsigned number can hold would turn negative below.
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > Limits::max()) {
        return std::nullopt;
    }
    const auto number = value.get<std::int64_t>();
    if (number < Limits::min() || number > Limits::max()) return std::nullopt;
    return static_cast<int>(number);
}

std::optional<ConfigType> parse_config_type(std::string_view word) {
    for (const auto& [name, type] : kWords) {
        if (name == word) return type;
    }
    return std::nullopt;
}

std::string_view config_type_word(ConfigType type) {
    for (const auto& [name, named] : kWords) {
        if (named == type) return name;
    }
    return "other";
}

std::optional<ConfigTree> parse_config_value(ConfigType type, std::string_view text) {
    switch (type) {
        case ConfigType::kBoolean:
            return parse_boolean(text);
        case ConfigType::kInteger:
            return parse_integer(text);
        case ConfigType::kDouble:
            return parse_double(text);
        case ConfigType::kString:
            return parse_string(text);
        default:
            return std::nullopt;
    }
}

std::string config_value_text(const ConfigTree& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

}  // namespace ruvo::devkit
