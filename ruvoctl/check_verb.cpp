#include "ruvoctl/check/catalogue.h"
#include "ruvoctl/check/check_settings.h"
#include "ruvoctl/check/corrected_copy.h"
#include "ruvoctl/check/report.h"
#include "ruvoctl/common_options.h"
#include "ruvoctl/exit_status.h"
#include "ruvoctl/input_text.h"
#include "ruvoctl/nearest_word.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/output/style.h"
#include "ruvoctl/socket_destination.h"
#include "ruvoctl/status_report.h"
#include "ruvoctl/verbs.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace ruvo::ctl {
namespace {

constexpr const char* kCheckExamples = R"(Examples:
  ruvoctl check ruvo.txt                     what is wrong, what it costs, how to mend it
  ruvoctl check --fix better.txt ruvo.txt    write a corrected copy, show the difference
  ruvoctl check --status report.txt ruvo.txt with the items that the device reports
  ruvoctl check --explain cr-in-ip           what a check is about, with an example
  ruvoctl check --sarif ruvo.txt             for code hosts and editors

Exit status: 0 nothing found and something is sent; 3 a fatal or an error (with --strict
also a warning); 4 nothing found and nothing is sent; 1 a file cannot be read; 2 wrong usage.)";

struct CheckArguments {
    CommonOptions common;
    std::vector<std::string> files;
    std::string explain;
    std::string fix;
    std::string status;
    std::vector<std::string> addresses;
    std::optional<WordSize> word;
    bool list_ids = false;
    bool strict = false;
    bool sarif = false;
};

int list_ids() {
    for (const Check& check : catalogue()) fmt::print("{}\n", check.id);
    return kAsExpected;
}

int explain(const CheckArguments& arguments) {
    const Style style(arguments.common.color, stdout);
    const std::string text = explanation_text(arguments.explain, style);
    if (!text.empty()) {
        fmt::print("{}", text);
        return kAsExpected;
    }
    std::vector<std::string> ids;
    for (const Check& check : catalogue()) ids.emplace_back(check.id);
    const std::string nearest = nearest_word(arguments.explain, ids);
    fmt::print(stderr, "ruvoctl: there is no check '{}'{}\n", text_of(arguments.explain),
               nearest.empty() ? "; ruvoctl check --list-ids lists them"
                               : fmt::format("; did you mean '{}'?", nearest));
    return kWrongUsage;
}

// OLD=NEW, as --address takes it.
std::string check_address(const std::string& text) {
    const auto separator = text.find('=');
    if (separator == std::string::npos || separator == 0) return "'" + text + "' is not OLD=NEW";
    const std::string address = text.substr(separator + 1);
    return is_ipv4_address(address) ? "" : "'" + address + "' is no IPv4 address";
}

CheckOptions options_of(const CheckArguments& arguments,
                        const std::optional<StatusVariables>& items) {
    CheckOptions options;
    options.test = arguments.common.test;
    if (items) options.items = &*items;
    options.word = arguments.word;
    for (const std::string& address : arguments.addresses) {
        const auto separator = address.find('=');
        options.addresses[address.substr(0, separator)] = address.substr(separator + 1);
    }
    return options;
}

// Checks what can be read; of the rest it tells why not. False when a file was missing.
bool check_files(const CheckArguments& arguments, const CheckOptions& options,
                 std::vector<CheckedFile>& files) {
    bool complete = true;
    for (const std::string& path : arguments.files) {
        try {
            CheckedFile file;
            file.path = path == "-" ? "standard input" : path;
            file.source = read_source(read_input(path));
            file.result = check_settings(file.source, options);
            files.push_back(std::move(file));
        } catch (const FileError& error) {
            fmt::print(stderr, "ruvoctl: {}\n", error.what());
            complete = false;
        }
    }
    return complete;
}

void print_report(const CheckArguments& arguments, const std::vector<CheckedFile>& files) {
    if (arguments.common.json) {
        fmt::print("{}\n", report_json(files).dump(2));
    } else if (arguments.sarif) {
        fmt::print("{}\n", report_sarif(files).dump(2));
    } else {
        const Style style(arguments.common.color, stdout);
        for (const CheckedFile& file : files) fmt::print("{}", report_text(file, style));
    }
}

int status_of(const std::vector<CheckedFile>& files, bool strict) {
    std::size_t problems = 0;
    std::size_t sends = 0;
    for (const CheckedFile& file : files) {
        const CheckSummary& summary = file.result.summary;
        problems += summary.fatal + summary.errors + (strict ? summary.warnings : 0);
        sends += summary.sends_planned;
    }
    if (problems > 0) return kProblemsFound;
    return sends > 0 ? kAsExpected : kNothingToSend;
}

bool is_same_file(const std::string& left, const std::string& right) {
    std::error_code error;  // one of them does not exist: they differ
    return std::filesystem::equivalent(left, right, error);
}

// Writes the corrected copy, shows what it changes and what is left to a person; the
// status is that of the copy.
int fix(const CheckArguments& arguments, const CheckOptions& options) {
    const std::string path = arguments.files.front();
    if (std::filesystem::exists(arguments.fix) && !is_same_file(path, arguments.fix)) {
        fmt::print(stderr, "ruvoctl: {} exists; --fix writes a new file\n", text_of(arguments.fix));
        return kWrongUsage;
    }
    if (is_same_file(path, arguments.fix)) {
        fmt::print(stderr, "ruvoctl: --fix writes a copy elsewhere, never in place\n");
        return kWrongUsage;
    }
    const SettingsSource source = read_source(read_input(path));
    CheckedFile copy;
    copy.path = arguments.fix;
    copy.source = read_source(corrected_copy(source, options));
    copy.result = check_settings(copy.source, options);
    write_output(arguments.fix, copy.source.text);
    const std::string difference = unified_difference(source.text, copy.source.text);
    fmt::print("--- {}\n+++ {}\n{}", text_of(path), text_of(arguments.fix), difference);
    fmt::print("{}", report_text(copy, Style(arguments.common.color, stdout)));
    return status_of({std::move(copy)}, arguments.strict);
}

// The items of a status report that the daemon would take over.
std::optional<StatusVariables> read_items(const std::string& path) {
    StatusReport report = status_report(read_input(path));
    if (is_taken_over(report)) return std::move(report.items);
    fmt::print(stderr, "ruvoctl: {} has {} items; the daemon takes no report with fewer than {}\n",
               text_of(path), report.items.size(), kTooFewStatusItems + 1);
    return {};
}

int run_check(CheckArguments& arguments) {
    if (arguments.list_ids) return list_ids();
    if (!arguments.explain.empty()) return explain(arguments);
    if (arguments.files.empty()) arguments.files.push_back(arguments.common.file);
    std::optional<StatusVariables> items;
    if (!arguments.status.empty()) items = read_items(arguments.status);
    const CheckOptions options = options_of(arguments, items);
    if (!arguments.fix.empty()) return fix(arguments, options);
    std::vector<CheckedFile> files;
    const bool complete = check_files(arguments, options, files);
    print_report(arguments, files);
    return complete ? status_of(files, arguments.strict) : kFailed;
}

void add_options(Verb& verb, CheckArguments& arguments) {
    verb.add_list("FILE", arguments.files, "Settings files; - reads standard input");
    add_file_option(verb, arguments.common);
    add_test_option(verb, arguments.common);
    verb.add_option("--status", arguments.status,
                    "The device's status report, a line name:value for each item",
                    {.type_name = "FILE"});
    add_word_option(verb, [&arguments](WordSize word) { arguments.word = word; });
    verb.add_flag("--strict", arguments.strict, "Warnings count as problems, too");
    add_output_options(verb, arguments.common);
    verb.add_flag("--sarif", arguments.sarif, "Print a SARIF 2.1.0 document",
                  {.excludes = {"--json"}});
    verb.add_option("--fix", arguments.fix, "Write a corrected copy there and show the difference",
                    {.type_name = "OUTPUT", .excludes = {"--json", "--sarif"}});
    verb.add_list("--address", arguments.addresses,
                  "In the corrected copy, an address or host name OLD becomes NEW",
                  {.type_name = "OLD=NEW", .check = check_address});
    verb.add_option("--explain", arguments.explain, "Explain a check and end", {.type_name = "ID"});
    verb.add_flag("--list-ids", arguments.list_ids, "Print the ids of all checks and end");
}

}  // namespace

void declare_check(Verb verb) {
    auto arguments = std::make_shared<CheckArguments>();
    add_options(verb, *arguments);
    verb.set_footer(kCheckExamples);
    verb.when_chosen([verb, arguments] {
        if (!arguments->files.empty() && verb.is_given("--file")) {
            throw UsageError("a file is named with -f or as FILE, not both");
        }
        if (std::count(arguments->files.begin(), arguments->files.end(), "-") > 1) {
            throw UsageError("standard input is read once");
        }
        if (arguments->fix == "-") {
            throw UsageError("--fix writes a file; ./- is one of this name");
        }
        if (!arguments->fix.empty() && arguments->files.size() > 1) {
            throw UsageError("--fix corrects one file at a time");
        }
        return [arguments] { return run_check(*arguments); };
    });
}

}  // namespace ruvo::ctl
