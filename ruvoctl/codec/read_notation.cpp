#include "ruvoctl/codec/read_notation.h"

#include "events/hex_to_bytes.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/codec/hex_numbers.h"
#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/codec/notation.h"
#include "ruvoctl/codec/quoted_notation.h"
#include "ruvoctl/codec/text_notation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace ruvo::ctl {
namespace {

bool is_hex_digit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

bool is_letter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

std::string read_plain_hex(std::string_view text) {
    const auto strange = std::find_if_not(text.begin(), text.end(), is_hex_digit);
    if (strange != text.end()) {
        throw Misfit{static_cast<std::size_t>(strange - text.begin()),
                     "this is no hexadecimal digit"};
    }
    if (text.size() % 2 != 0) throw Misfit{text.size() - 1, "a digit without its second one"};
    return hex_to_bytes(text);
}

bool is_plain_hex(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), is_hex_digit);
}

Reading of_text(Notation notation, TextReading reading) {
    return {notation, std::move(reading.bytes), std::move(reading.notes)};
}

Reading plain_hex(std::string_view text) {
    Reading reading{Notation::kHex, hex_to_bytes(text), {}};
    if (std::all_of(text.begin(), text.end(), is_letter)) {
        reading.notes.push_back({0, "read as hexadecimal digits; --notation text reads a word"});
    }
    return reading;
}

// What stopped other notations, where the text is likely to be meant in them.
void note_other_notations(std::string_view text, Notes& notes) {
    if (is_plain_hex(text)) {
        notes.push_back({0, "an odd number of hexadecimal digits is read as text"});
        return;
    }
    const bool quoted = !text.empty() && (text.front() == '"' || text.front() == '\'');
    try {
        if (quoted) {
            (void)read_quoted(text);
        } else {
            (void)read_hex_numbers(text);
        }
    } catch (const Misfit& misfit) {
        // Two numbers and more are hardly there by accident.
        if (!quoted && misfit.position < 5) return;
        notes.push_back({misfit.position,
                         fmt::format("{}; {}", misfit.reason,
                                     quoted ? "the quotes are part of the data"
                                            : "without that it would be hexadecimal numbers")});
    }
}

std::optional<Reading> read_if_quoted(std::string_view text) {
    if (text.find_first_of("\"'") == std::string_view::npos) return {};
    try {
        return of_text(Notation::kQuoted, read_quoted(text));
    } catch (const Misfit&) {
        return {};
    }
}

}  // namespace

std::string_view notation_name(Notation notation) {
    switch (notation) {
        case Notation::kHex:
            return "hex";
        case Notation::kSeparated:
            return "separated-hex";
        case Notation::kQuoted:
            return "quoted";
        case Notation::kText:
            return "text";
        case Notation::kRaw:
            return "raw";
        case Notation::kCaret:
            return "caret";
        case Notation::kDollar:
            return "dollar";
        case Notation::kPercent:
            return "percent";
    }
    return {};
}

std::string_view notation_title(Notation notation) {
    switch (notation) {
        case Notation::kHex:
            return "plain hexadecimal";
        case Notation::kSeparated:
            return "separated hexadecimal numbers";
        case Notation::kQuoted:
            return "quoted text";
        case Notation::kText:
            return "text";
        case Notation::kRaw:
            return "raw text";
        case Notation::kCaret:
            return "text with ^ for control characters";
        case Notation::kDollar:
            return "text with $ before hexadecimal digits";
        case Notation::kPercent:
            return "text with % before hexadecimal digits";
    }
    return {};
}

Reading read_as(Notation notation, std::string_view text) {
    switch (notation) {
        case Notation::kHex:
            return {notation, read_plain_hex(text), {}};
        case Notation::kSeparated:
            return {notation, read_hex_numbers(text).bytes, {}};
        case Notation::kQuoted:
            return of_text(notation, read_quoted(text));
        case Notation::kText:
            return of_text(notation, read_text(text, TextMark::kNone));
        case Notation::kRaw:
            break;
        case Notation::kCaret:
            return of_text(notation, read_text(text, TextMark::kCaret));
        case Notation::kDollar:
            return of_text(notation, read_text(text, TextMark::kDollar));
        case Notation::kPercent:
            return of_text(notation, read_text(text, TextMark::kPercent));
    }
    return {Notation::kRaw, std::string(text), {}};
}

Reading read_as_most_likely(std::string_view text) {
    if (is_plain_hex(text) && text.size() % 2 == 0) return plain_hex(text);
    if (auto bytes = separated_hex(text)) return {Notation::kSeparated, *std::move(bytes), {}};
    if (auto reading = read_if_quoted(text)) return *std::move(reading);
    Reading reading = read_as(Notation::kText, text);
    note_other_notations(text, reading.notes);
    return reading;
}

std::string read_terminator(std::string_view text) {
    if (auto bytes = control_bytes(text)) return *std::move(bytes);
    return read_as_most_likely(text).bytes;
}

}  // namespace ruvo::ctl
