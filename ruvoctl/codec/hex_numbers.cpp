#include "ruvoctl/codec/hex_numbers.h"

#include "events/hex_to_bytes.h"
#include "ruvoctl/characters.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/codec/misfit.h"

#include <algorithm>
#include <array>
#include <utility>

namespace ruvo::ctl {
namespace {

constexpr std::array<std::pair<std::string_view, HexMark>, 9> kMarks = {{
    {"0x", HexMark::kZeroX},
    {"0X", HexMark::kZeroX},
    {"\\x", HexMark::kBackslash},
    {"$", HexMark::kDollar},
    {"%", HexMark::kPercent},
    {"&H", HexMark::kAmpersand},
    {"&h", HexMark::kAmpersand},
    {"[", HexMark::kBracket},
    {"<", HexMark::kAngle},
}};

std::string_view digits_at(std::string_view text, std::size_t position) {
    const std::string_view rest = text.substr(position);
    const auto end = std::find_if_not(rest.begin(), rest.end(), is_hex_digit);
    return rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
}

// Two digits a byte; a number of one digit is a byte too.
std::string bytes_of(std::string_view digits) {
    return digits.size() == 1 ? hex_to_bytes("0" + std::string(digits)) : hex_to_bytes(digits);
}

// Whether a number with this mark may have so many digits.
bool fits(HexMark mark, std::size_t digits) {
    switch (mark) {
        case HexMark::kZeroX:
        case HexMark::kAmpersand:
            return digits == 1 || (digits > 0 && digits % 2 == 0);
        case HexMark::kDollar:
            return digits > 0 && digits % 2 == 0;
        case HexMark::kPercent:
        case HexMark::kBracket:
        case HexMark::kAngle:
            return digits == 2;
        case HexMark::kBackslash:
        case HexMark::kNone:
        case HexMark::kTrailingH:
            break;
    }
    return digits == 1 || digits == 2;
}

bool may_hold_several_bytes(HexMark mark) {
    return mark == HexMark::kZeroX || mark == HexMark::kAmpersand || mark == HexMark::kDollar;
}

// Why a run of digits is no number with this mark.
Misfit misfit_at(HexMark mark, std::string_view text, std::size_t position,
                 std::string_view digits) {
    if (digits.empty()) {
        return {position, position < text.size() ? "this is no hexadecimal digit"
                                                 : "a hexadecimal digit is missing"};
    }
    if (digits.size() == 1) return {position + 1, "a second hexadecimal digit is missing"};
    if (may_hold_several_bytes(mark)) {
        return {position + digits.size() - 1, "a digit without its second one"};
    }
    return {position + 2, "more digits than a byte has"};
}

HexNumber number_of(HexMark mark, std::string_view digits, std::size_t end) {
    const bool decimal =
        std::any_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    return {.mark = mark,
            .bytes = bytes_of(digits),
            .end = end,
            .has_decimal_digit = decimal,
            .has_lone_digit = digits.size() == 1};
}

bool is_x(std::string_view text, std::size_t position) {
    return position < text.size() && (text[position] == 'x' || text[position] == 'X');
}

// The digits behind a mark; in 0x4F0x4E a zero that belongs to the next mark is none of
// them.
std::string_view marked_digits(HexMark mark, std::string_view text, std::size_t position) {
    std::string_view digits = digits_at(text, position);
    if (mark == HexMark::kZeroX && digits.ends_with('0') && is_x(text, position + digits.size())) {
        digits.remove_suffix(1);
    }
    return digits;
}

// 81, 81h and, as assemblers write it, 0FFh.
HexNumber read_unmarked(std::string_view text, std::size_t position) {
    const std::string_view digits = digits_at(text, position);
    const std::size_t end = position + digits.size();
    const bool h = !digits.empty() && end < text.size() && (text[end] == 'h' || text[end] == 'H');
    if (h && digits.size() == 3 && digits[0] == '0') {
        HexNumber number = number_of(HexMark::kTrailingH, digits.substr(1), end + 1);
        number.has_decimal_digit = true;  // no word begins with a zero
        return number;
    }
    if (!fits(HexMark::kNone, digits.size()))
        throw misfit_at(HexMark::kNone, text, position, digits);
    return number_of(h ? HexMark::kTrailingH : HexMark::kNone, digits, h ? end + 1 : end);
}

// [81], <81> and the same with 0x.
HexNumber read_enclosed(HexMark mark, std::string_view text, std::size_t position) {
    const std::string_view rest = text.substr(position);
    const std::size_t begin = position + (rest.starts_with("0x") || rest.starts_with("0X") ? 2 : 0);
    const std::string_view digits = digits_at(text, begin);
    if (!fits(mark, digits.size())) throw misfit_at(mark, text, begin, digits);
    const std::size_t end = begin + digits.size();
    const char closing = mark == HexMark::kBracket ? ']' : '>';
    if (end == text.size() || text[end] != closing) {
        throw Misfit{end, std::string("'") + closing + "' is missing here"};
    }
    return number_of(mark, digits, end + 1);
}

// Whether a number may follow another at once.
bool follows_at_once(HexMark mark, std::string_view rest) {
    switch (mark) {
        case HexMark::kNone:
            return false;
        case HexMark::kZeroX:
            return rest.starts_with("0x") || rest.starts_with("0X");
        case HexMark::kAmpersand:
            return rest.starts_with('&');
        default:
            return true;
    }
}

// A control character among numbers.
struct ListedControl {
    std::string bytes;
    std::size_t length = 0;
    bool bare = false;
};

// <CR> or [CR]; <FF> is a number here.
std::optional<ListedControl> enclosed_control(std::string_view text, std::size_t position) {
    const std::string_view word = bracketed_word(text, position);
    if (word == "FF") return {};
    auto bytes = control_bytes(word);
    if (!bytes) return {};
    return ListedControl{*std::move(bytes), word.size() + 2};
}

std::optional<ListedControl> escaped_control(std::string_view rest) {
    for (const auto& [escape, byte] : {std::pair("\\r", "\r"), {"\\n", "\n"}, {"\\t", "\t"}}) {
        if (rest.starts_with(escape)) return ListedControl{byte, 2};
    }
    return {};
}

std::optional<ListedControl> bare_control(std::string_view rest) {
    const std::string_view head = rest.substr(0, kLongestControlName + 1);
    const auto end = std::find_if_not(head.begin(), head.end(), is_letter_or_digit);
    const std::string_view word = head.substr(0, static_cast<std::size_t>(end - head.begin()));
    if (word == "FF") return {};
    auto bytes = control_bytes(word);
    if (!bytes) return {};
    return ListedControl{*std::move(bytes), word.size(), true};
}

std::optional<ListedControl> listed_control(std::string_view text, std::size_t position) {
    const std::string_view rest = text.substr(position);
    if (auto control = enclosed_control(text, position)) return control;
    if (auto control = escaped_control(rest)) return control;
    return bare_control(rest);
}

// Reads a list of numbers from its beginning to its end.
class HexList {
  public:
    explicit HexList(std::string_view text) : text_(text), end_(text.size()) { open(); }

    HexNumbers read() && {
        while (position_ < end_) {
            add_element();
            if (position_ == end_) break;
            skip_separator();
        }
        if (numbers_.count == 0) throw Misfit{begin_, "there is no number"};
        if (separator_pending_) throw Misfit{end_, "a number is missing behind the separator"};
        return std::move(numbers_);
    }

  private:
    // Leaves out the blanks and the braces or brackets around the list.
    void open() {
        trim();
        if (begin_ == end_) return;
        const std::string_view inner = text_.substr(begin_ + 1, end_ - begin_ - 1);
        braced_ = text_[begin_] == '{' && text_[end_ - 1] == '}';
        const bool bracketed = text_[begin_] == '[' &&
                               inner.find_first_of("[]") == inner.size() - 1 &&
                               inner.find_first_of(" ,;") != std::string_view::npos;
        if (!braced_ && !(bracketed && inner.ends_with(']'))) return;
        ++begin_;
        --end_;
        trim();
    }

    void trim() {
        while (begin_ < end_ && is_white_space(text_[begin_])) ++begin_;
        while (begin_ < end_ && is_white_space(text_[end_ - 1])) --end_;
        position_ = begin_;
    }

    void add_element() {
        const auto control = listed_control(text_.substr(0, end_), position_);
        if (!control) return add_number();
        if (control->bare && !numbers_.bare_control) numbers_.bare_control = position_;
        numbers_.bytes += control->bytes;
        ++numbers_.controls;
        position_ += control->length;
        separator_pending_ = false;
        behind_control_ = true;
    }

    void add_number() {
        const HexNumber number = read_hex_number(text_.substr(0, end_), position_);
        if (numbers_.count > 0 && number.mark != numbers_.mark) {
            throw Misfit{position_, "this number is not marked like the ones before"};
        }
        numbers_.mark = number.mark;
        numbers_.bytes += number.bytes;
        numbers_.has_decimal_digit |= number.has_decimal_digit;
        if (number.has_lone_digit && !numbers_.lone_digit) numbers_.lone_digit = position_;
        ++numbers_.count;
        position_ = number.end;
        separator_pending_ = false;
        behind_control_ = false;
    }

    void skip_separator() {
        const std::size_t before = position_;
        char separator = ' ';
        skip_blanks();
        if (position_ < end_ &&
            std::string_view(",;-:").find(text_[position_]) != std::string_view::npos) {
            separator = text_[position_];
        }
        // Beside a control character there may be blanks or nothing in any list.
        if (separator == ' ' && is_beside_control(before)) return;
        if (separator == ' ' && position_ == before) {
            if (!follows_at_once(numbers_.mark, text_.substr(position_))) {
                throw Misfit{position_, "neither a hexadecimal digit nor a separator"};
            }
            separator = '\0';
        }
        if (!separator_) separator_ = separator;
        if (separator != separator_) {
            throw Misfit{position_, "the numbers before are separated differently"};
        }
        if (separator != ' ' && separator != '\0') {
            ++position_;
            skip_blanks();
            // A list in braces may end with a comma.
            separator_pending_ = !(braced_ && separator == ',');
        }
    }

    // Whether a control character is on either side of the gap that begins at `before`.
    bool is_beside_control(std::size_t before) {
        const bool before_control =
            position_ < end_ && listed_control(text_.substr(0, end_), position_).has_value();
        if (!behind_control_ && !before_control) return false;
        const bool attached = position_ == before && behind_control_ != before_control;
        if (attached && !numbers_.attached_control) numbers_.attached_control = before;
        return true;
    }

    void skip_blanks() {
        while (position_ < end_ && is_white_space(text_[position_])) ++position_;
    }

    std::string_view text_;
    std::size_t begin_ = 0;
    std::size_t end_;
    std::size_t position_ = 0;
    bool braced_ = false;
    std::optional<char> separator_;
    bool behind_control_ = false;
    bool separator_pending_ = false;
    HexNumbers numbers_;
};

}  // namespace

HexNumber read_hex_number(std::string_view text, std::size_t position) {
    const std::string_view rest = text.substr(position);
    for (const auto& [sign, mark] : kMarks) {
        if (!rest.starts_with(sign)) continue;
        const std::size_t begin = position + sign.size();
        if (mark == HexMark::kBracket || mark == HexMark::kAngle) {
            return read_enclosed(mark, text, begin);
        }
        const std::string_view digits = marked_digits(mark, text, begin);
        if (!fits(mark, digits.size())) throw misfit_at(mark, text, begin, digits);
        return number_of(mark, digits, begin + digits.size());
    }
    return read_unmarked(text, position);
}

HexNumbers read_hex_numbers(std::string_view text) { return HexList(text).read(); }

}  // namespace ruvo::ctl
