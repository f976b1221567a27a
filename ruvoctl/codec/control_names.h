#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ruvo::ctl {

// In characters.
inline constexpr std::size_t kLongestControlName = 5;

// The bytes that a name stands for: "CR", "STX", "SP", "CRLF". Names are in capitals; those
// that are no words or tags otherwise may be in any case ("cr"). Nothing for other words.
std::optional<std::string> control_bytes(std::string_view name);

// Whether a word would be a name if it were in capitals.
bool is_nearly_control_name(std::string_view word);

// The name of a control character or of the delete character; empty for other bytes.
std::string_view control_name(char byte);

// A name, or a number with 0x, in angle or square brackets.
struct BracketedControl {
    std::string bytes;
    std::size_t length = 0;  // with its brackets
};

// What stands at a position: <CR>, [STX], <0x0D>. Nothing when it is anything else.
std::optional<BracketedControl> bracketed_control(std::string_view text, std::size_t position);

// The word in brackets that begins at a position, without them; empty when there is none.
std::string_view bracketed_word(std::string_view text, std::size_t position);

}  // namespace ruvo::ctl
