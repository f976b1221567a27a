#pragma once

#include "devkit/user_config_store.h"

#include <optional>
#include <string>
#include <string_view>

namespace ruvo::devkit {

// The numbers are the codes that the device's library answers for a token.
enum class ConfigType : int {
    kNull = 0,
    kBoolean = 1,
    kDouble = 2,
    kInteger = 3,
    kObject = 4,
    kArray = 5,
    kString = 6,
};

ConfigType config_type(const ConfigTree& value);

// An integer that fits the device's 32 bits; nothing for any other value.
std::optional<int> config_int(const ConfigTree& value);

// The type that a word such as "boolean" names; nothing when it names none that has
// values of one line: boolean, integer, double, string.
std::optional<ConfigType> parse_config_type(std::string_view word);

// The word of a type; "other" for a type without one.
std::string_view config_type_word(ConfigType type);

// A value of this type from its text: true or false, a whole number of 32 bits, a finite
// decimal number, any UTF-8. Nothing when the text is none.
std::optional<ConfigTree> parse_config_value(ConfigType type, std::string_view text);

// The text that parse_config_value takes for this value; JSON for a type without a word.
std::string config_value_text(const ConfigTree& value);

}  // namespace ruvo::devkit
