#pragma once

#include <cstdint>
#include <string>

namespace ruvo {

// The width of a device's `long`, in bits; numbers beyond it read differently.
enum class WordSize { k32 = 32, k64 = 64 };

inline constexpr WordSize kOwnWord = sizeof(long) == 4 ? WordSize::k32 : WordSize::k64;

// The number that a setting's text begins with, as strtol reads it in base 10 and
// cut to 32 bits: leading blanks and a sign are allowed, text without a number is 0.
std::int32_t int32_of(const std::string& text, WordSize word = kOwnWord);

// The number that a sub-command index begins with, as the standard conversion to an
// unsigned long reads it and cut to 32 bits; a minus sign wraps.
// Throws std::invalid_argument when there is no number and std::out_of_range when it
// is beyond the word, both with the text "stoul".
std::uint32_t index_of(const std::string& text, WordSize word = kOwnWord);

}  // namespace ruvo
