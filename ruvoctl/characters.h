#pragma once

#include <string_view>

namespace ruvo::ctl {

// Kinds of characters, the same in every locale.
constexpr bool is_decimal_digit(char c) { return c >= '0' && c <= '9'; }
constexpr bool is_octal_digit(char c) { return c >= '0' && c <= '7'; }
constexpr bool is_hex_digit(char c) {
    return is_decimal_digit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
constexpr bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
constexpr bool is_letter_or_digit(char c) { return is_letter(c) || is_decimal_digit(c); }

inline constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr bool is_white_space(char c) { return kWhiteSpace.find(c) != std::string_view::npos; }

}  // namespace ruvo::ctl
