#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace ruvo {

// The number that a setting's text begins with, as strtol reads it in base 10 and
// cut to 32 bits: leading blanks and a sign are allowed, text without a number is 0.
inline std::int32_t int32_of(const std::string& text) {
    return static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

}  // namespace ruvo
