#include "ruvoctl/codec/read_notation.h"

#include "events/hex_to_bytes.h"
#include "ruvoctl/characters.h"
#include "ruvoctl/codec/control_names.h"
#include "ruvoctl/codec/hex_numbers.h"
#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/codec/notation.h"
#include "ruvoctl/codec/quoted_notation.h"
#include "ruvoctl/codec/text_notation.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace ruvo::ctl {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

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

// Who names the notation has no doubts.
Reading without_doubt(Reading reading) {
    for (Note& note : reading.notes) note.doubtful = false;
    return reading;
}

Reading plain_hex(std::string_view text) {
    Reading reading{Notation::kHex, hex_to_bytes(text), {}};
    if (std::all_of(text.begin(), text.end(), is_letter)) {
        reading.notes.push_back({0, "read as hexadecimal digits; --notation text reads a word"});
    }
    return reading;
}

Reading separated_numbers(std::string_view text) {
    const HexNumbers numbers = read_hex_numbers(text);
    Reading reading{Notation::kSeparated, numbers.bytes, {}};
    const bool marked = numbers.mark != HexMark::kNone && numbers.mark != HexMark::kTrailingH;
    if (numbers.lone_digit && !marked) {
        const char digit = text[*numbers.lone_digit];
        reading.notes.push_back(
            {*numbers.lone_digit, fmt::format("a digit alone is read as 0{}", digit)});
    }
    return reading;
}

void note_unread_quotes(std::string_view text, Notes& notes) {
    try {
        (void)read_quoted(text);
    } catch (const Misfit& misfit) {
        notes.push_back(
            {misfit.position, fmt::format("{}; the quotes are part of the data", misfit.reason)});
    }
}

// Whether whole numbers make up a text but for its last word; two and more of them are
// hardly there by accident.
bool begins_with_numbers(std::string_view text) {
    try {
        return read_hex_numbers(text.substr(0, text.find_last_of(" ,;-:"))).count > 1;
    } catch (const Misfit&) {
        return false;
    }
}

// What stopped numbers.
void note_unread_numbers(std::string_view text, Notes& notes) {
    try {
        (void)read_hex_numbers(text);
    } catch (const Misfit& misfit) {
        if (!begins_with_numbers(text.substr(0, misfit.position))) return;
        notes.push_back(
            {misfit.position,
             fmt::format("{}; without that it would be hexadecimal numbers", misfit.reason)});
    }
}

// What stopped other notations, where the text is likely to be meant in them.
void note_other_notations(std::string_view text, Notes& notes) {
    if (auto misfit = nearly_numbers(text)) {
        notes.push_back({misfit->position, std::move(misfit->reason), true});
    } else if (is_plain_hex(text)) {
        notes.push_back({0, "an odd number of hexadecimal digits is read as text"});
    } else if (text.starts_with('"') || text.starts_with('\'')) {
        note_unread_quotes(text, notes);
    } else {
        note_unread_numbers(text, notes);
    }
}

std::optional<Reading> read_if_quoted(std::string_view text) {
    if (text.find_first_of("\"'") == std::string_view::npos) return {};
    try {
        return without_doubt(of_text(Notation::kQuoted, read_quoted(text)));
    } catch (const Misfit&) {
        return {};
    }
}

// Nothing when it is most likely text.
std::optional<Reading> read_unless_text(std::string_view text) {
    if (is_plain_hex(text) && text.size() % 2 == 0) return plain_hex(text);
    if (separated_hex(text)) return separated_numbers(text);
    return read_if_quoted(text);
}

// Blanks around a text may well be meant; `inner` is what stands between them.
Reading read_likely_text(std::string_view text, std::string_view inner, std::size_t begin) {
    Reading reading = of_text(Notation::kText, read_text(text, TextMark::kNone));
    Notes others;
    note_other_notations(inner, others);
    for (Note& note : others) {
        note.position += begin;
        reading.notes.push_back(std::move(note));
    }
    const bool front = !text.empty() && is_blank(text.front());
    if (front || (!text.empty() && is_blank(text.back()))) {
        reading.notes.push_back(
            {front ? 0 : text.size() - 1, "the blanks around it are part of the data"});
    }
    for (Note& note : reading.notes) {
        if (!note.doubtful) continue;
        note.text = fmt::format("doubtful: read as text; force it with --notation ({})", note.text);
    }
    return reading;
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
            return separated_numbers(text);
        case Notation::kQuoted:
            return without_doubt(of_text(notation, read_quoted(text)));
        case Notation::kText:
            return without_doubt(of_text(notation, read_text(text, TextMark::kNone)));
        case Notation::kRaw:
            break;
        case Notation::kCaret:
            return without_doubt(of_text(notation, read_text(text, TextMark::kCaret)));
        case Notation::kDollar:
            return without_doubt(of_text(notation, read_text(text, TextMark::kDollar)));
        case Notation::kPercent:
            return without_doubt(of_text(notation, read_text(text, TextMark::kPercent)));
    }
    return {Notation::kRaw, std::string(text), {}};
}

Reading read_as_most_likely(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(kWhiteSpace), text.size());
    const std::string_view inner =
        text.substr(begin, text.find_last_not_of(kWhiteSpace) + 1 - begin);
    if (auto reading = read_unless_text(inner)) {
        for (Note& note : reading->notes) note.position += begin;
        if (inner.size() < text.size()) {
            reading->notes.push_back(
                {begin > 0 ? 0 : inner.size(), "the blanks around it are left out"});
        }
        return *std::move(reading);
    }
    return read_likely_text(text, inner, begin);
}

bool is_doubtful(const Reading& reading) {
    return std::any_of(reading.notes.begin(), reading.notes.end(),
                       [](const Note& note) { return note.doubtful; });
}

std::string read_terminator(std::string_view text) {
    if (auto bytes = control_bytes(text)) return *std::move(bytes);
    const Reading reading = read_as_most_likely(text);
    for (const Note& note : reading.notes) {
        if (note.doubtful) throw Misfit{note.position, note.text};
    }
    return reading.bytes;
}

}  // namespace ruvo::ctl
