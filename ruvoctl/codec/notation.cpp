#include "ruvoctl/codec/notation.h"

#include "ruvoctl/codec/hex_numbers.h"
#include "ruvoctl/codec/misfit.h"

#include <utility>

namespace ruvo::ctl {
namespace {

// "A B", "FFh" and "[AB][CD]" are words rather than numbers; so is a number that
// nothing separates from another, unless it is marked beyond doubt.
bool may_be_words(const HexNumbers& numbers) {
    switch (numbers.mark) {
        case HexMark::kNone:
            return numbers.count < 2 || (numbers.has_lone_digit && !numbers.has_decimal_digit);
        case HexMark::kTrailingH:
            return !numbers.has_decimal_digit;
        case HexMark::kBracket:
        case HexMark::kAngle:
            return numbers.count < 2 || !numbers.has_decimal_digit;
        default:
            return false;
    }
}

}  // namespace

std::optional<std::string> separated_hex(std::string_view text) {
    try {
        HexNumbers numbers = read_hex_numbers(text);
        if (may_be_words(numbers)) return {};
        return std::move(numbers.bytes);
    } catch (const Misfit&) {
        return {};
    }
}

}  // namespace ruvo::ctl
