#include "ruvoctl/codec/data_report.h"

#include "core/text_cut.h"
#include "events/expand_data.h"
#include "events/hex_to_bytes.h"
#include "events/unescape_data.h"
#include "execution/outgoing.h"
#include "ruvoctl/check/severity_role.h"
#include "ruvoctl/exit_status.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace ruvo::ctl {
namespace {

std::string shown(std::string_view text) { return text_of(text); }

const char* bytes_word(std::size_t count) { return count == 1 ? "byte" : "bytes"; }

void print_finding(std::FILE* stream, const DataFinding& finding, const Style& style) {
    fmt::print(stream, "column {}: {}[{}]: {}\n", finding.position + 1,
               style.paint(role_of(finding.severity), severity_name(finding.severity)), finding.id,
               shown(finding.cause));
    fmt::print(stream, "  effect: {}\n", shown(finding.effect));
    if (finding.corrected) fmt::print(stream, "  fix: {}\n", shown(*finding.corrected));
}

// Of data with macros nothing can be counted before they are replaced; `rest` is what
// they leave of it.
std::string describe_with_macros(std::string_view bytes, std::string_view rest) {
    return fmt::format(
        "{} leaves with its macros{} replaced",
        until_zero(rest).size() < rest.size() ? "what stands before the zero byte" : "it",
        unescape_data(bytes) == bytes ? "" : " and escapes");
}

// What stands between and around the macros.
std::string without_macros(std::string_view bytes) {
    std::string rest;
    std::size_t position = 0;
    for (auto macro = find_macro(bytes, 0); macro; macro = find_macro(bytes, position)) {
        rest += bytes.substr(position, macro->position - position);
        position = macro->end();
    }
    return rest + std::string(bytes.substr(position));
}

// Whether a macro begins before the data ends.
bool leaves_with_macros(std::string_view bytes) {
    const auto macro = find_macro(bytes, 0);
    return macro && macro->position < until_zero(bytes).size();
}

}  // namespace

DataReport examine_data(std::string value) {
    DataReport report;
    report.bytes = hex_to_bytes(value);
    report.sent = cut_to_buffer(unescape_data(report.bytes), kSentDataBytes);
    report.findings = check_data(value, nullptr);
    report.value = std::move(value);
    return report;
}

int exit_status_of(const DataReport& report) {
    const bool problem =
        std::any_of(report.findings.begin(), report.findings.end(), [](const DataFinding& finding) {
            return finding.severity == Severity::kFatal || finding.severity == Severity::kError;
        });
    return problem ? kProblemsFound : kAsExpected;
}

std::string describe_sent(const DataReport& report) {
    if (leaves_with_macros(report.bytes)) {
        return describe_with_macros(report.bytes, without_macros(report.bytes));
    }
    const std::size_t count = report.sent.size();
    if (count == 0) return "an empty message leaves";
    if (report.sent == report.bytes) {
        return count == 1 ? "the byte leaves as it is"
                          : fmt::format("all {} bytes leave as they are", count);
    }
    return fmt::format("{} {} {}: {}", count, bytes_word(count), count == 1 ? "leaves" : "leave",
                       printable(report.sent));
}

void print_findings(std::FILE* stream, const DataReport& report, const Style& style) {
    for (const DataFinding& finding : report.findings) print_finding(stream, finding, style);
}

nlohmann::ordered_json findings_json(const DataReport& report) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const DataFinding& finding : report.findings) {
        nlohmann::ordered_json fix = nlohmann::ordered_json::array();
        if (finding.corrected) fix.push_back(shown(*finding.corrected));
        list.push_back({{"id", finding.id},
                        {"severity", severity_name(finding.severity)},
                        {"column", finding.position + 1},
                        {"end_column", finding.position + finding.length + 1},
                        {"cause", shown(finding.cause)},
                        {"effect", shown(finding.effect)},
                        {"fix", fix}});
    }
    return list;
}

}  // namespace ruvo::ctl
