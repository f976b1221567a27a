#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ruvo::ctl {

// How a vendor marks a number as hexadecimal.
enum class HexMark {
    kNone,       // 81
    kZeroX,      // 0x81, several bytes as 0x8101
    kBackslash,  // \x81
    kDollar,     // $81
    kPercent,    // %81
    kAmpersand,  // &H81
    kTrailingH,  // 81h, 0FFh
    kBracket,    // [81], [0x81]
    kAngle,      // <81>, <0x81>
};

struct HexNumber {
    HexMark mark = HexMark::kNone;
    std::string bytes;
    std::size_t end = 0;  // where the text goes on behind it
    bool has_decimal_digit = false;
    bool has_lone_digit = false;  // it is written with one digit
};

// The number that begins at a position. Throws Misfit.
HexNumber read_hex_number(std::string_view text, std::size_t position);

struct HexNumbers {
    std::string bytes;
    HexMark mark = HexMark::kNone;
    std::size_t count = 0;
    bool has_decimal_digit = false;
    std::optional<std::size_t> lone_digit;  // where the first number of one digit is
    std::size_t controls = 0;               // control characters by their names or escapes
    // Where the first of them is that has neither brackets nor a backslash, and the first
    // that nothing separates from a number.
    std::optional<std::size_t> bare_control;
    std::optional<std::size_t> attached_control;
};

// Reads hexadecimal numbers that all have the same mark and the same separator
// (blanks, or one of , ; - : with or without blanks; none for marks that need none), in
// braces or brackets or bare. Control characters may stand between them: <CR>, CR, \r.
// Throws Misfit.
HexNumbers read_hex_numbers(std::string_view text);

}  // namespace ruvo::ctl
