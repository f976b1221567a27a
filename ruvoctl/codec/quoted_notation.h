#pragma once

#include "ruvoctl/codec/text_notation.h"

#include <string_view>

namespace ruvo::ctl {

// Reads text in quotes, single or double, with marked hexadecimal numbers, pairs of
// hexadecimal digits and names of control characters between: "PON",0x0D or STX "PON" CR
// or "PON"<CR>. Blanks, commas and plus signs separate; at least one text is quoted.
// Throws Misfit.
TextReading read_quoted(std::string_view text);

}  // namespace ruvo::ctl
