#pragma once

#include "ruvoctl/codec/note.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace ruvo::ctl {

// The ways in which vendors write what a device is to be sent.
enum class Notation {
    kHex,        // 810104FF
    kSeparated,  // 81 01 04 FF and what separated_hex knows
    kQuoted,     // "PON",0x0D
    kText,       // PON<CR>, PON\r
    kRaw,        // nothing in it has a meaning of its own
    kCaret,      // text with ^M
    kDollar,     // text with $0D
    kPercent,    // text with %0D
};

inline constexpr std::array<Notation, 8> kNotations = {
    Notation::kHex, Notation::kSeparated, Notation::kQuoted, Notation::kText,
    Notation::kRaw, Notation::kCaret,     Notation::kDollar, Notation::kPercent};

// "hex", "separated-hex", "quoted", "text", "raw", "caret", "dollar" or "percent".
std::string_view notation_name(Notation notation);

// The same for a person: "separated hexadecimal numbers".
std::string_view notation_title(Notation notation);

struct Reading {
    Notation notation = Notation::kText;
    std::string bytes;
    Notes notes;
};

// Reads a text in one notation. Throws Misfit.
Reading read_as(Notation notation, std::string_view text);

// Reads a text in the notation that it is most likely in: hexadecimal digits and nothing
// else in an even number, separated hexadecimal numbers, quoted text, and text otherwise.
// Blanks around it are left out, but of text they are part. Throws Misfit for an escape that
// does not exist.
Reading read_as_most_likely(std::string_view text);

// Whether a reading has a note of a doubt.
bool is_doubtful(const Reading& reading);

// A terminator is read like that too, but a name of a control character needs no
// brackets. Throws Misfit, for a doubtful one too.
std::string read_terminator(std::string_view text);

}  // namespace ruvo::ctl
