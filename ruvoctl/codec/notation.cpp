#include "ruvoctl/codec/notation.h"

#include "ruvoctl/characters.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/codec/hex_numbers.h"

#include <algorithm>
#include <utility>

namespace ruvo::ctl {
namespace {

constexpr std::string_view kSeparators = " \t\r\n,;-:";
constexpr std::string_view kMarkCharacters = "xXhH$%&[]<>{}";

bool is_small_digit(char c) { return c >= 'a' && c <= 'f'; }

// "A B", "FFh" and "[AB][CD]" are words rather than numbers; so is a number that
// nothing separates from another, unless it is marked beyond doubt. Behind a backslash the
// text goes on as readily as the numbers.
bool may_be_words(const HexNumbers& numbers) {
    switch (numbers.mark) {
        case HexMark::kNone:
            return numbers.count < 2 || (numbers.lone_digit && !numbers.has_decimal_digit) ||
                   numbers.bare_control || numbers.attached_control;
        case HexMark::kTrailingH:
            return !numbers.has_decimal_digit;
        case HexMark::kBracket:
        case HexMark::kAngle:
            return numbers.count < 2 || !numbers.has_decimal_digit;
        case HexMark::kBackslash:
            return numbers.bare_control || (numbers.count < 2 && numbers.controls > 0);
        default:
            return false;
    }
}

// Whether words are nearer to numbers than to a text.
std::optional<Misfit> doubt_of_words(const HexNumbers& numbers, std::string_view text) {
    if (numbers.mark == HexMark::kNone && numbers.count > 1 && numbers.has_decimal_digit) {
        if (numbers.attached_control) {
            return Misfit{*numbers.attached_control, "nothing separates this from the numbers"};
        }
        if (numbers.bare_control) {
            return Misfit{*numbers.bare_control, "a name among numbers needs brackets"};
        }
    }
    const bool capitals = std::none_of(text.begin(), text.end(), is_small_digit);
    const bool words = numbers.lone_digit || (numbers.count < 2 && !text.ends_with('h'));
    if (numbers.mark == HexMark::kTrailingH && capitals && !words) {
        return Misfit{0, "numbers of letters alone may be words"};
    }
    return {};
}

bool are_escapes(std::string_view word) {
    while (word.starts_with("\\r") || word.starts_with("\\n") || word.starts_with("\\t")) {
        word.remove_prefix(2);
    }
    return word.empty();
}

// The digits of a word that are not those of an escape; nothing when it holds anything
// but digits and marks.
std::optional<std::string> digits_of(std::string_view word) {
    std::string digits;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word.substr(i, 2) == "\\x") {
            i += 3;
        } else if (is_hex_digit(word[i])) {
            digits += word[i];
        } else if (kMarkCharacters.find(word[i]) == std::string_view::npos) {
            return {};
        }
    }
    return digits;
}

// Where plain hexadecimal ends that control characters follow; nothing when there is no such,
// or nothing but a decimal number or a word in front of them.
std::optional<std::size_t> digits_before_controls(std::string_view text) {
    const auto end = std::find_if_not(text.begin(), text.end(), is_hex_digit);
    const auto count = static_cast<std::size_t>(end - text.begin());
    const std::string_view rest = text.substr(count);
    const auto decimals = std::count_if(text.begin(), end, is_decimal_digit);
    const bool mixed = decimals > 0 && decimals < end - text.begin();
    if (rest.empty() || !mixed || count < 4 || count % 2 != 0) return {};
    return are_escapes(rest) || bracketed_control(rest, 0) ? std::optional(count) : std::nullopt;
}

// Whether a text is bytes of two digits each, four or more of them, but for one character.
// Where that stands beside a decimal digit, three bytes will do.
bool are_bytes_around(std::string_view text, std::size_t strange) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < text.size(); ++bytes) {
        const std::size_t end = std::min(text.find(' ', i), text.size());
        if (end - i != 2) return false;
        i = end + 1;
    }
    const auto is_decimal_at = [&](std::size_t i) {
        return i < text.size() && is_decimal_digit(text[i]);
    };
    const bool beside = is_decimal_at(strange + 1) || (strange > 0 && is_decimal_at(strange - 1));
    return bytes >= 4 || (bytes == 3 && beside);
}

// Whether a text is digits, mostly decimal, but for one letter that looks like one.
bool are_digits_around(std::string_view text, std::size_t strange) {
    const auto decimals = std::count_if(text.begin(), text.end(), is_decimal_digit);
    return text.size() >= 8 && text.size() % 2 == 0 && 2 * decimals >= std::ssize(text) &&
           std::string_view("OoIl").find(text[strange]) != std::string_view::npos;
}

// Where one letter stands that is rather a slip than a word among numbers.
std::optional<std::size_t> slip_in(std::string_view text) {
    const auto is_strange = [](char c) { return c != ' ' && !is_hex_digit(c); };
    if (std::count_if(text.begin(), text.end(), is_strange) != 1) return {};
    if (std::count_if(text.begin(), text.end(), is_decimal_digit) < 2) return {};
    const auto at = std::find_if(text.begin(), text.end(), is_strange);
    const auto position = static_cast<std::size_t>(at - text.begin());
    if (!is_letter(*at)) return {};
    const bool separated = text.find(' ') != std::string_view::npos;
    const bool slip =
        separated ? are_bytes_around(text, position) : are_digits_around(text, position);
    return slip ? std::optional(position) : std::nullopt;
}

// Counts the digits of a text whose words are all numbers, well written or not.
class NumberWords {
  public:
    explicit NumberWords(std::string_view text) {
        while (numbers_alone_ && !text.empty()) {
            const std::size_t end = std::min(text.find_first_of(kSeparators), text.size());
            if (end > 0) add(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

    // A number of one or two digits alone is as likely a text.
    bool are_numbers() const { return numbers_alone_ && digits_ > 2 && decimals_ > 0; }

  private:
    void add(std::string_view word) {
        if (control_bytes(word) || bracketed_control(word, 0) || are_escapes(word)) return;
        const auto digits = digits_of(word);
        const auto decimals =
            digits ? std::count_if(digits->begin(), digits->end(), is_decimal_digit) : 0;
        // Words such as FADE are no numbers, nor is a share.
        if (!digits || (decimals == 0 && digits->size() != 2) || word.ends_with('%')) {
            numbers_alone_ = false;
            return;
        }
        digits_ += digits->size();
        decimals_ += static_cast<std::size_t>(decimals);
    }

    bool numbers_alone_ = true;
    std::size_t digits_ = 0;
    std::size_t decimals_ = 0;
};

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

std::optional<Misfit> nearly_numbers(std::string_view text) {
    try {
        return doubt_of_words(read_hex_numbers(text), text);
    } catch (const Misfit& misfit) {
        if (const auto end = digits_before_controls(text)) {
            return Misfit{*end, "hexadecimal digits end here"};
        }
        if (const auto slip = slip_in(text)) {
            return Misfit{*slip, "this is no hexadecimal digit, all the others are"};
        }
        if (!NumberWords(text).are_numbers()) return {};
        if (!std::all_of(text.begin(), text.end(), is_hex_digit)) return misfit;
        return Misfit{text.size() - 1, "an odd number of hexadecimal digits"};
    }
}

}  // namespace ruvo::ctl
