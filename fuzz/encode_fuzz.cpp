// Reads any text in every notation of `ruvoctl encode`, writes what it stands for in every
// form of `ruvoctl decode` and reads that back: the bytes must be the same.
#include "events/hex_to_bytes.h"
#include "ruvoctl/codec/data_parts.h"
#include "ruvoctl/codec/data_report.h"
#include "ruvoctl/codec/decode_input.h"
#include "ruvoctl/codec/forms.h"
#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/codec/notation.h"
#include "ruvoctl/codec/read_notation.h"
#include "ruvoctl/output/printable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

namespace ruvo::ctl {
namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

bool is_printable_ascii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

void require_round_trip(std::string_view bytes) {
    for (const Form form : {Form::kText, Form::kC, Form::kSpaced}) {
        const std::string text = write_form(form, bytes);
        require(is_printable_ascii(text));
        require(read_as_most_likely(text).bytes == bytes);
    }
}

void require_notes_within(const Reading& reading, std::string_view text) {
    for (const Note& note : reading.notes) {
        require(note.position <= text.size());
        require(printable(note.text, Backslash::kAsItIs) == note.text);
    }
}

// What one reading gives, or where it stops. Most readings give what another gave.
template <typename Read>
void try_reading(std::string_view text, std::set<std::string>& seen, Read read) {
    try {
        const Reading reading = read();
        require_notes_within(reading, text);
        if (seen.insert(reading.bytes).second) require_round_trip(reading.bytes);
    } catch (const Misfit& misfit) {
        require(misfit.position <= text.size());
        require(!misfit.reason.empty());
    }
}

void encode_in_every_notation(std::string_view text) {
    std::set<std::string> seen{std::string(text)};
    require_round_trip(text);
    try_reading(text, seen, [&] { return read_as_most_likely(text); });
    for (const Notation notation : kNotations) {
        try_reading(text, seen, [&] { return read_as(notation, text); });
    }
    // What check takes for numbers, encode reads as the same numbers.
    if (const auto bytes = separated_hex(text)) {
        require(read_as(Notation::kSeparated, text).bytes == *bytes);
    }
}

// A value that encode prints stands for its bytes; any other decodes to something.
void decode(const std::string& text) {
    require(hex_to_bytes(hex_of(text)) == text);
    const DecodeInput input = find_value(text);
    if (!input.misuse.empty()) return;
    const DataReport report = examine_data(input.value);
    require(report.sent.size() < 104 && report.sent.find('\0') == std::string::npos);
    require(!describe_sent(report).empty());
    (void)findings_json(report).dump();
    for (const DataPart& part : macros_of(report.bytes)) {
        require(part.position + part.text.size() + 4 <= report.bytes.size());
    }
    for (const DataPart& part : escapes_of(report.bytes)) {
        require(report.bytes.substr(part.position, 2) == part.text);
    }
    require_round_trip(report.bytes);
}

}  // namespace
}  // namespace ruvo::ctl

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    ruvo::ctl::encode_in_every_notation(text);
    ruvo::ctl::decode(text);
    return 0;
}
