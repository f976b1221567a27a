#pragma once

#include <string>
#include <string_view>

namespace ruvo {

// Decodes hex text two characters at a time and never fails: bad digits give what
// strtol gives, and a lone last digit is a whole byte.
std::string hex_to_bytes(std::string_view hex);

}  // namespace ruvo
