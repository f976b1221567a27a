#include "ruvoctl/codec/text_notation.h"

#include "events/expand_data.h"
#include "events/hex_to_bytes.h"
#include "ruvoctl/characters.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace ruvo::ctl {
namespace {

constexpr std::array<std::pair<char, char>, 12> kEscapes = {{
    {'r', '\r'},
    {'n', '\n'},
    {'t', '\t'},
    {'a', '\a'},
    {'b', '\b'},
    {'f', '\f'},
    {'v', '\v'},
    {'e', '\x1B'},
    {'\\', '\\'},
    {'"', '"'},
    {'\'', '\''},
    {'0', '\0'},
}};

char sign_of(TextMark mark) {
    switch (mark) {
        case TextMark::kCaret:
            return '^';
        case TextMark::kDollar:
            return '$';
        case TextMark::kPercent:
            return '%';
        case TextMark::kNone:
            break;
    }
    return '\0';
}

std::string_view notation_of(char sign) {
    return sign == '^' ? "caret" : sign == '$' ? "dollar" : "percent";
}

// ^@ to ^_, letters in either case, and ^? for the delete character.
bool has_control(char c) { return (c >= '?' && c <= '_') || (c >= 'a' && c <= 'z'); }

char control_of(char c) {
    const int capital = std::toupper(static_cast<unsigned char>(c));
    return static_cast<char>(capital ^ 0x40);
}

// Walks over a text once, from its beginning to its end.
class TextReader {
  public:
    TextReader(std::string_view text, TextMark mark) : text_(text), sign_(sign_of(mark)) {}

    TextReading read() && {
        while (position_ < text_.size()) read_next();
        return std::move(reading_);
    }

  private:
    void read_next() {
        const char c = text_[position_];
        if (read_macro()) return;
        if (c == '\\') return read_escape();
        if (read_bracketed()) return;
        if (c == sign_ && read_marked()) return;
        if (c == '^' || c == '$' || c == '%') note_mark();
        if (c == '0') note_zero_x();
        if (c == '{' || c == '(') note_other_brackets();
        if (c == '\n') note_line_end();
        if (static_cast<unsigned char>(c) >= 0x80) note_beyond_ascii();
        take(std::string_view(&c, 1), 1);
    }

    void take(std::string_view bytes, std::size_t length) {
        reading_.bytes += bytes;
        position_ += length;
    }

    std::string_view rest() const { return text_.substr(position_); }

    void note(std::string text) { reading_.notes.push_back({position_, std::move(text)}); }

    bool read_macro() {
        if (!rest().starts_with("{{")) return false;
        const auto macro = find_macro(text_, position_);
        if (!macro) return false;
        const std::size_t length = macro->end() - position_;
        take(rest().substr(0, length), length);
        return true;
    }

    void read_escape() {
        if (rest().size() < 2) {
            throw Misfit{position_, "a backslash alone; write \\\\ for one that is meant"};
        }
        const char letter = rest()[1];
        if (letter == 'x') return read_hex_escape();
        const bool octal = is_octal_digit(letter) &&
                           (letter != '0' || (rest().size() > 2 && is_octal_digit(rest()[2])));
        if (octal) throw Misfit{position_, "octal numbers are not read; write \\x and two digits"};
        const auto found = std::find_if(kEscapes.begin(), kEscapes.end(),
                                        [&](const auto& escape) { return escape.first == letter; });
        if (found == kEscapes.end()) {
            throw Misfit{position_,
                         fmt::format("\\{} is no escape; write \\\\ for a backslash that "
                                     "is meant",
                                     printable({&letter, 1}))};
        }
        take({&found->second, 1}, 2);
    }

    // The digits at an offset from here, at most two.
    std::string_view hex_digits(std::size_t offset) const {
        const std::string_view digits = rest().substr(offset, 2);
        const auto end = std::find_if_not(digits.begin(), digits.end(), is_hex_digit);
        return digits.substr(0, static_cast<std::size_t>(end - digits.begin()));
    }

    void read_hex_escape() {
        const std::string_view digits = hex_digits(2);
        if (digits.empty()) throw Misfit{position_ + 2, "\\x without a hexadecimal digit"};
        if (digits.size() == 2 && rest().size() > 4 && is_hex_digit(rest()[4])) {
            note(fmt::format("\\x{} is one byte; the '{}' behind it is text", digits, rest()[4]));
        }
        const std::string byte =
            hex_to_bytes(digits.size() == 2 ? std::string(digits) : "0" + std::string(digits));
        take(byte, 2 + digits.size());
    }

    bool read_bracketed() {
        if (const auto control = bracketed_control(text_, position_)) {
            if (bracketed_word(text_, position_) == "FF") note("read as the form feed, 0C");
            take(control->bytes, control->length);
            return true;
        }
        const std::string_view word = bracketed_word(text_, position_);
        if (is_nearly_control_name(word)) {
            note(
                fmt::format("'{}' stays as it is written; the control character's name is in "
                            "capitals",
                            printable(rest().substr(0, word.size() + 2))));
        } else if (word.size() == 2 && is_hex_digit(word[0]) && is_hex_digit(word[1])) {
            note(fmt::format("'{}' stays as it is written; write \\x{} for the byte",
                             rest().substr(0, 4), word));
        }
        return false;
    }

    // Whether the sign stands for a byte together with what follows.
    bool read_marked() {
        if (sign_ == '^') {
            if (rest().size() < 2 || !has_control(rest()[1])) {
                throw Misfit{position_,
                             "no character for ^ to turn into a control character; "
                             "write \\x5E for ^"};
            }
            const char control = control_of(rest()[1]);
            take({&control, 1}, 2);
            return true;
        }
        const std::string_view digits = hex_digits(1);
        if (digits.size() < 2) return false;
        take(hex_to_bytes(digits), 3);
        return true;
    }

    void note_mark() {
        const char sign = text_[position_];
        const bool caret = sign == '^' && rest().size() > 1 && rest()[1] >= '@' && rest()[1] <= '_';
        if (!caret && (sign == '^' || hex_digits(1).size() < 2)) return;
        note(fmt::format("'{}' stays as it is written; --notation {} reads it as a byte",
                         text_of(rest().substr(0, caret ? 2 : 3)), notation_of(sign)));
    }

    // {CR} and (CR). Names that are words in small letters are rather words here.
    void note_other_brackets() {
        const std::string_view inner = rest().substr(1, kLongestControlName + 1);
        const auto closing = inner.find(rest()[0] == '{' ? '}' : ')');
        if (closing == std::string_view::npos) return;
        const std::string_view name = inner.substr(0, closing);
        std::string small(name);
        for (char& c : small) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (!control_bytes(small)) return;
        note(fmt::format("'{}' stays as it is written; write <{}> for the control character",
                         rest().substr(0, closing + 2), name));
        reading_.notes.back().doubtful = true;
    }

    void note_zero_x() {
        const bool number = rest().size() > 3 && (rest()[1] == 'x' || rest()[1] == 'X') &&
                            hex_digits(2).size() == 2;
        if (!number) return;
        note(fmt::format("'{}' stays as it is written; write \\x{} for the byte",
                         rest().substr(0, 4), hex_digits(2)));
    }

    void note_line_end() {
        if (std::exchange(line_ends_, true)) return;
        note("a line end within the text is data like any other byte");
    }

    // Told once: a text in another alphabet has many of them.
    void note_beyond_ascii() {
        if (std::exchange(beyond_ascii_, true)) return;
        note(
            "a character beyond ASCII goes out as the bytes that your terminal makes of it, often "
            "two or three; write \\x and two digits for the byte that the device expects");
    }

    std::string_view text_;
    char sign_;
    std::size_t position_ = 0;
    bool beyond_ascii_ = false;
    bool line_ends_ = false;
    TextReading reading_;
};

}  // namespace

TextReading read_text(std::string_view text, TextMark mark) {
    return TextReader(text, mark).read();
}

}  // namespace ruvo::ctl
