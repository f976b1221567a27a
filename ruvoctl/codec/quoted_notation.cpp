#include "ruvoctl/codec/quoted_notation.h"

#include "ruvoctl/characters.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/codec/hex_numbers.h"
#include "ruvoctl/codec/misfit.h"

#include <algorithm>
#include <utility>

namespace ruvo::ctl {
namespace {

// Walks over the elements of a list once.
class QuotedReader {
  public:
    explicit QuotedReader(std::string_view text) : text_(text) {}

    TextReading read() && {
        skip_blanks();
        if (position_ == text_.size()) throw Misfit{position_, "there is no quoted text"};
        while (position_ < text_.size()) {
            read_element();
            skip_separator();
        }
        if (!has_quotes_) throw Misfit{0, "there is no quoted text"};
        return std::move(reading_);
    }

  private:
    void read_element() {
        const char c = text_[position_];
        if (c == '"' || c == '\'') return read_quotation(c);
        if (const auto control = bracketed_control(text_, position_)) {
            reading_.bytes += control->bytes;
            position_ += control->length;
            return;
        }
        if (!read_name()) read_number();
        // The next one must be told from this one.
        if (position_ < text_.size() && is_letter_or_digit(text_[position_])) {
            throw Misfit{position_, "a separator is missing before this"};
        }
    }

    void read_quotation(char quote) {
        const std::size_t begin = position_ + 1;
        std::size_t end = begin;
        while (end < text_.size() && text_[end] != quote) end += text_[end] == '\\' ? 2 : 1;
        if (end >= text_.size()) throw Misfit{position_, "this quote is not closed"};
        try {
            append(read_text(text_.substr(begin, end - begin), TextMark::kNone), begin);
        } catch (const Misfit& misfit) {
            throw Misfit{begin + misfit.position, misfit.reason};
        }
        position_ = end + 1;
        has_quotes_ = true;
    }

    void append(const TextReading& part, std::size_t begin) {
        reading_.bytes += part.bytes;
        for (const Note& note : part.notes) {
            reading_.notes.push_back({begin + note.position, note.text});
        }
    }

    // CR, STX: between quoted texts a name needs no brackets.
    bool read_name() {
        const std::string_view rest = text_.substr(position_);
        const auto end = std::find_if_not(rest.begin(), rest.end(), is_letter_or_digit);
        const std::string_view word = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
        if (word == "FF") {
            reading_.notes.push_back({position_, "read as the number FF, not as the form feed"});
            return false;
        }
        const auto bytes = control_bytes(word);
        if (!bytes) return false;
        reading_.bytes += *bytes;
        position_ += word.size();
        return true;
    }

    void read_number() {
        const HexNumber number = read_hex_number(text_, position_);
        if (number.mark == HexMark::kNone && number.has_lone_digit) {
            throw Misfit{position_, "a digit alone may be a text; quote it or write 0x"};
        }
        reading_.bytes += number.bytes;
        position_ = number.end;
    }

    void skip_blanks() {
        while (position_ < text_.size() && is_white_space(text_[position_])) ++position_;
    }

    void skip_separator() {
        skip_blanks();
        if (position_ == text_.size() || (text_[position_] != ',' && text_[position_] != '+'))
            return;
        const std::size_t separator = position_++;
        skip_blanks();
        if (position_ == text_.size()) {
            throw Misfit{separator, "nothing follows behind this"};
        }
    }

    std::string_view text_;
    std::size_t position_ = 0;
    bool has_quotes_ = false;
    TextReading reading_;
};

}  // namespace

TextReading read_quoted(std::string_view text) { return QuotedReader(text).read(); }

}  // namespace ruvo::ctl
