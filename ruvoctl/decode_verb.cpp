#include "core/line_reader.h"
#include "ruvoctl/codec/data_key.h"
#include "ruvoctl/codec/data_parts.h"
#include "ruvoctl/codec/data_report.h"
#include "ruvoctl/codec/decode_input.h"
#include "ruvoctl/codec/forms.h"
#include "ruvoctl/codec/words.h"
#include "ruvoctl/common_options.h"
#include "ruvoctl/exit_status.h"
#include "ruvoctl/named_choice.h"
#include "ruvoctl/output/hex_dump.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/verbs.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace ruvo::ctl {
namespace {

constexpr const char* kDecodeExamples =
    R"(The value is read as the daemon reads it, two characters a byte, whatever they are. Several
arguments are joined by blanks; - reads standard input. A whole settings line will do.

With --notation the bytes are printed in one form alone, which encode reads back:
  text    <STX>POWER ON<CR>
  c       \x02POWER ON\r
  spaced  02 50 4F 57 45 52 20 4F 4E 0D

Exit status 3: the value has a fault, or its line is longer than what the daemon reads, or
nothing reads the line.

Examples:
  ruvoctl decode 504F574552204F4E0D
  ruvoctl decode 'LampData0=7B7B74696D657D7D5C725C6E'
  ruvoctl decode --notation text 504F574552204F4E0D
  grep '^LampData0=' ruvo.txt | ruvoctl decode -)";

struct DecodeOptions {
    CommonOptions common;
    std::string first_word;
    std::optional<Form> form;
};

void print_row(const char* title, std::string_view text) { fmt::print("{:<8} {}\n", title, text); }

void print_parts(std::string_view bytes) {
    for (const DataPart& part : macros_of(bytes)) {
        print_row("macro", fmt::format("{{{{{}}}}} from byte {} on becomes {}",
                                       printable(part.text), part.position + 1, part.becomes));
    }
    for (const DataPart& part : escapes_of(bytes)) {
        print_row("escape", fmt::format("{} from byte {} on leaves as {}", text_of(part.text),
                                        part.position + 1, part.becomes));
    }
}

void print_report(const DecodeOptions& options, const DecodeInput& input,
                  const DataReport& report) {
    if (input.key) print_row("key", text_of(*input.key));
    if (!input.cut.empty()) print_row("cut", input.cut);
    print_row("value", text_of(report.value));
    print_row("bytes", std::to_string(report.bytes.size()));
    print_row("text", printable(report.bytes));
    print_row("named", write_form(Form::kText, report.bytes));
    fmt::print("{}", hex_dump(report.bytes, "         "));
    print_parts(report.bytes);
    print_row("sent", describe_sent(report));
    print_findings(stdout, report, Style(options.common.color, stdout));
}

nlohmann::ordered_json notes_json(const DecodeInput& input) {
    nlohmann::ordered_json notes = nlohmann::ordered_json::array();
    if (!input.cut.empty()) notes.push_back({{"column", kLineBufferBytes}, {"text", input.cut}});
    return notes;
}

nlohmann::ordered_json decode_json(const DecodeInput& input, const DataReport& report) {
    nlohmann::ordered_json macros = nlohmann::ordered_json::array();
    for (const DataPart& macro : macros_of(report.bytes)) {
        macros.push_back(text_of(macro.text));
    }
    nlohmann::ordered_json key;
    if (input.key) key = text_of(*input.key);
    return {{"format", "ruvoctl.decode"},
            {"version", 1},
            {"key", key},
            {"value", text_of(report.value)},
            {"bytes", bytes_json(report.bytes)},
            {"sent", bytes_json(report.sent)},
            {"macros", macros},
            {"notes", notes_json(input)},
            {"diagnostics", findings_json(report)}};
}

// Says when nothing reads the line that the value stands in; false then.
bool tell_of_key(const DecodeInput& input) {
    const std::string why = input.key ? why_no_data_key(*input.key) : std::string();
    if (why.empty()) return true;
    fmt::print(stderr, "ruvoctl: {}: {}\n", text_of(*input.key), why);
    return false;
}

int run_decode(const DecodeOptions& options, const Words& words) {
    const DecodeInput input = find_value(fetch_text(words));
    if (!input.misuse.empty()) {
        fmt::print(stderr, "ruvoctl: {}\n", input.misuse);
        return kWrongUsage;
    }
    const DataReport report = examine_data(input.value);
    if (options.common.json) {
        fmt::print("{}\n", decode_json(input, report).dump(2));
    } else if (options.form) {
        fmt::print("{}\n", write_form(*options.form, report.bytes));
        if (!input.cut.empty()) fmt::print(stderr, "ruvoctl: {}\n", input.cut);
        print_findings(stderr, report, Style(options.common.color, stderr));
    } else {
        print_report(options, input, report);
    }
    const bool read = tell_of_key(input);
    return input.cut.empty() && read ? exit_status_of(report) : kProblemsFound;
}

}  // namespace

void declare_decode(Verb verb) {
    static const std::map<std::string, Form> forms{
        {"text", Form::kText}, {"c", Form::kC}, {"spaced", Form::kSpaced}};
    auto options = std::make_shared<DecodeOptions>();
    verb.add_words("HEX", options->first_word, "The value, or its settings line");
    verb.add_taker("--notation",
                   [&form = options->form](const std::string& word) {
                       form = named_choice("--notation", word, forms);
                   },
                   "Print the bytes alone: text, c or spaced", {.type_name = "NAME"});
    add_output_options(verb, options->common);
    verb.set_footer(kDecodeExamples);
    verb.when_chosen([verb, options] {
        return [options, words = read_words(verb, options->first_word)] {
            return run_decode(*options, words);
        };
    });
}

}  // namespace ruvo::ctl
