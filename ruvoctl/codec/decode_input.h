#pragma once

#include <optional>
#include <string>

namespace ruvo::ctl {

// A Data value, and the key of its settings line where there is one.
struct DecodeInput {
    std::optional<std::string> key;
    std::string value;
    std::string cut;     // that the line is longer than what the daemon reads of it
    std::string misuse;  // why there is no value; empty when there is one, as is `cut` otherwise
};

// Takes a value, or a settings line as the daemon reads it, out of a text.
DecodeInput find_value(const std::string& text);

}  // namespace ruvo::ctl
