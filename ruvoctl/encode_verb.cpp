#include "ruvoctl/codec/data_key.h"
#include "ruvoctl/codec/data_report.h"
#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/codec/read_notation.h"
#include "ruvoctl/codec/words.h"
#include "ruvoctl/common_options.h"
#include "ruvoctl/exit_status.h"
#include "ruvoctl/named_choice.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/verbs.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace ruvo::ctl {
namespace {

constexpr const char* kEncodeExamples = R"(Notations, in the order in which they are tried:
  hex        810104FF
  separated  81 01 04 FF   81,01   81-01   81:01   0x81,0x01   0x8101   \x81\x01
             $0D $0A   %0d%0a   &H0D   81h 01h   [81][01]   <81><01>   {0x81,0x01}
             0x41 0x42 CR   81 01 <CR>   81 01 \r
  quoted     "PON",0x0D   STX "PON" ETX   "PON"<CR>
  text       PON<CR>   [STX]PON[ETX]   PON\r\n   PON\x0D   <0x0D>   {{time}} as it stands
Only with --notation:
  raw        nothing has a meaning of its own
  caret      text with ^M        dollar   text with $0D        percent  text with %0D

Several arguments are joined by blanks; - reads standard input without its last line end.
Put -- in front of a text that begins with a hyphen. Line ends and tabs become the bytes
that leave (0D, 0A, 09), not the daemon's own escapes, a backslash and a letter as two
bytes of the data; \\r makes these, and the daemon replaces them.

Blanks around numbers are left out; --notation raw keeps everything.

The value alone goes to standard output; what was understood, and what is wrong with
it, to standard error. Exit status 3: the value has a fault, or the text may as well be
meant as numbers (--notation says which); it is printed all the same.

Examples:
  ruvoctl encode '<STX>POWER ON<CR>'
  ruvoctl encode 81 01 04 00 02 FF
  ruvoctl encode --crlf 'TIME={{time}}'
  ruvoctl encode --notation dollar '%1POWR 1$0D'
  ruvoctl encode --key LampData0 'LAMP ON\r' >> ruvo.txt)";

struct EncodeOptions {
    CommonOptions common;
    std::string first_word;
    std::optional<std::string> key;
    std::optional<Notation> notation;
    bool cr = false;
    bool lf = false;
    bool crlf = false;
    std::optional<std::string> terminator;
};

std::map<std::string, Notation> notations_by_name() {
    std::map<std::string, Notation> names{{"separated", Notation::kSeparated}};
    for (const Notation notation : kNotations) {
        names.emplace(notation_name(notation), notation);
    }
    return names;
}

void add_terminators(Verb& verb, EncodeOptions& options) {
    Verb group = verb.add_group("Terminator", "What is put behind the text");
    group.add_flag("--cr", options.cr, "A carriage return, 0D");
    group.add_flag("--lf", options.lf, "A line feed, 0A");
    group.add_flag("--crlf", options.crlf, "Both, 0D0A");
    group.add_taker(
        "--terminator", [&options](const std::string& text) { options.terminator = text; },
        "Any other: CR, ETX, '\\x03', 0x0D0A", {.type_name = "NOTATION", .takes_empty = true});
}

std::string terminator_of(const EncodeOptions& options) {
    if (options.cr) return "\r";
    if (options.lf) return "\n";
    if (options.crlf) return "\r\n";
    return options.terminator ? read_terminator(*options.terminator) : std::string();
}

// The line end that an editor or echo puts behind a text is not part of it.
std::string fetch_notation(const Words& words, Notes& notes) {
    std::string text = fetch_text(words);
    if (!words.from_standard_input || !text.ends_with('\n')) return text;
    text.pop_back();
    if (text.ends_with('\r')) text.pop_back();
    notes.push_back({text.size(), "the line end behind it is not encoded"});
    return text;
}

// Shows where a text stops fitting.
int report_misfit(std::string_view what, std::string_view text, const Misfit& misfit) {
    const std::string before = text_of(text.substr(0, misfit.position));
    fmt::print(stderr, "ruvoctl: {}: character {}: {}\n", what, misfit.position + 1, misfit.reason);
    fmt::print(stderr, "  {}{}\n  {:>{}}\n", before, text_of(text.substr(misfit.position)), '^',
               before.size() + 1);
    return kWrongUsage;
}

nlohmann::ordered_json encode_json(const EncodeOptions& options, const Reading& reading,
                                   const DataReport& report) {
    nlohmann::ordered_json notes = nlohmann::ordered_json::array();
    for (const Note& note : reading.notes) {
        notes.push_back({{"column", note.position + 1}, {"text", note.text}});
    }
    nlohmann::ordered_json key;
    if (options.key) key = text_of(*options.key);
    return {{"format", "ruvoctl.encode"},
            {"version", 1},
            {"notation", notation_name(reading.notation)},
            {"key", key},
            {"data", report.value},
            {"bytes", bytes_json(report.bytes)},
            {"sent", bytes_json(report.sent)},
            {"doubtful", is_doubtful(reading)},
            {"notes", notes},
            {"diagnostics", findings_json(report)}};
}

void print_talk(const EncodeOptions& options, const Reading& reading, const DataReport& report) {
    const Style style(options.common.color, stderr);
    fmt::print(stderr, "read as {}: {}\n", notation_title(reading.notation),
               printable(report.bytes));
    for (const Note& note : reading.notes) {
        fmt::print(stderr, "character {}: {}: {}\n", note.position + 1,
                   note.doubtful ? style.paint(Role::kWarning, "warning")
                                 : style.paint(Role::kInformation, "note"),
                   note.text);
    }
    fmt::print(stderr, "{}\n", describe_sent(report));
    print_findings(stderr, report, style);
}

// Says what is wrong with a key that is good for data; returns the exit status.
int tell_of_key(const std::optional<std::string>& key) {
    const std::string why = key ? why_never_sent(*key) : std::string();
    if (why.empty()) return kAsExpected;
    fmt::print(stderr, "ruvoctl: --key {}: {}\n", text_of(*key), why);
    return kProblemsFound;
}

int print_value(const EncodeOptions& options, const Reading& reading) {
    const DataReport report = examine_data(hex_of(reading.bytes));
    if (options.common.json) {
        fmt::print("{}\n", encode_json(options, reading, report).dump(2));
    } else {
        print_talk(options, reading, report);
        if (options.key) fmt::print("{}=", *options.key);
        fmt::print("{}\n", report.value);
    }
    const int reading_status = is_doubtful(reading) ? kProblemsFound : kAsExpected;
    return std::max({tell_of_key(options.key), reading_status, exit_status_of(report)});
}

std::string title_of(const std::optional<Notation>& notation) {
    return notation ? fmt::format("this is no {}", notation_name(*notation))
                    : std::string("this can't be read");
}

int run_encode(const EncodeOptions& options, const Words& words) {
    if (options.key) {
        const std::string why = why_no_data_key(*options.key);
        if (!why.empty()) {
            fmt::print(stderr, "ruvoctl: --key {}: {}\n", text_of(*options.key), why);
            return kWrongUsage;
        }
    }
    Notes notes;
    const std::string text = fetch_notation(words, notes);
    Reading reading;
    try {
        reading = options.notation ? read_as(*options.notation, text) : read_as_most_likely(text);
    } catch (const Misfit& misfit) {
        return report_misfit(title_of(options.notation), text, misfit);
    }
    reading.notes.insert(reading.notes.begin(), notes.begin(), notes.end());
    try {
        reading.bytes += terminator_of(options);
    } catch (const Misfit& misfit) {
        return report_misfit("--terminator", *options.terminator, misfit);
    }
    return print_value(options, reading);
}

}  // namespace

void declare_encode(Verb verb) {
    auto options = std::make_shared<EncodeOptions>();
    verb.add_words("TEXT", options->first_word, "What the device is to be sent");
    verb.add_taker("--notation",
                   [&notation = options->notation](const std::string& word) {
                       notation = named_choice("--notation", word, notations_by_name());
                   },
                   "How the text is written", {.type_name = "NAME"});
    verb.add_taker("--key", [&key = options->key](const std::string& text) { key = text; },
                   "Print the whole settings line of this key", {.type_name = "KEY"});
    add_terminators(verb, *options);
    add_output_options(verb, options->common);
    verb.set_footer(kEncodeExamples);
    verb.when_chosen([verb, options] {
        return [options, words = read_words(verb, options->first_word)] {
            return run_encode(*options, words);
        };
    });
}

}  // namespace ruvo::ctl
