#pragma once

#include "ruvoctl/codec/misfit.h"

#include <optional>
#include <string>
#include <string_view>

namespace ruvo::ctl {

// The bytes of hexadecimal numbers that something separates or marks: "81 01 04",
// "81,01", "0x41,0x42", "\x81\x01", "$0D $0A", "%0d", "81h 01h", "[81][01]", "0x41 CR". Nothing
// when the text is anything else, plain hexadecimal and ordinary text included.
std::optional<std::string> separated_hex(std::string_view text);

// Why a text that is no such numbers, and no plain hexadecimal, may be meant as numbers all
// the same, and where it stops being them. Nothing for ordinary text.
std::optional<Misfit> nearly_numbers(std::string_view text);

}  // namespace ruvo::ctl
