#pragma once

#include "ruvoctl/codec/note.h"

#include <string>
#include <string_view>

namespace ruvo::ctl {

// What else a text's bytes may be written with.
enum class TextMark {
    kNone,
    kCaret,    // ^M
    kDollar,   // $0D
    kPercent,  // %0D
};

struct TextReading {
    std::string bytes;
    Notes notes;
};

// Reads text with names in brackets (<CR>, [STX]) and the escapes of C (\r \n \t \x0D \0
// \\ \", no octal numbers). A macro stays as it is written, whatever its name holds.
// Throws Misfit.
TextReading read_text(std::string_view text, TextMark mark);

}  // namespace ruvo::ctl
