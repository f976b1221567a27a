#include "ruvoctl/check/catalogue.h"
#include "ruvoctl/check/corrected_copy.h"
#include "ruvoctl/check/report.h"
#include "ruvoctl/check/severity_role.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <algorithm>

namespace ruvo::ctl {
namespace {

std::string diagnostic_text(const CheckedFile& file, const Diagnostic& diagnostic,
                            const Style& style) {
    const SourcePosition position = file.source.position(diagnostic.offset);
    const std::string place =
        fmt::format("{}:{}:{}:", text_of(file.path), position.line, position.column);
    std::string text = fmt::format(
        "{} {} {}\n    {} {}\n", style.paint(Role::kStrong, place),
        style.paint(role_of(diagnostic.severity),
                    fmt::format("{}[{}]:", severity_name(diagnostic.severity), diagnostic.id)),
        diagnostic.cause, style.paint(Role::kFaint, "effect:"), diagnostic.effect);
    for (const std::string& line : corrected_lines(file.source, diagnostic.fix)) {
        text += fmt::format("    {}    {}\n", style.paint(Role::kFaint, "fix:"),
                            style.paint(Role::kGood, line));
    }
    return text;
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string found_text(const CheckSummary& summary) {
    std::string text;
    const auto append = [&text](std::size_t count, const char* one, const char* many) {
        if (count == 0) return;
        if (!text.empty()) text += ", ";
        text += counted(count, one, many);
    };
    append(summary.fatal, "fatal", "fatal");
    append(summary.errors, "error", "errors");
    append(summary.warnings, "warning", "warnings");
    return text;
}

std::string indented(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto feed = std::min(text.find('\n'), text.size());
        result += "    " + text_of(text.substr(0, feed)) + "\n";
        text.remove_prefix(std::min(feed + 1, text.size()));
    }
    return result;
}

// A paragraph in lines of at most 78 characters.
std::string wrapped(std::string_view text) {
    constexpr std::size_t kWidth = 78;
    std::string result;
    while (text.size() > kWidth) {
        const auto blank = text.rfind(' ', kWidth);
        result += std::string(text.substr(0, blank)) + "\n";
        text.remove_prefix(blank + 1);
    }
    return result + std::string(text) + "\n";
}

}  // namespace

std::string report_text(const CheckedFile& file, const Style& style) {
    std::string text;
    for (const Diagnostic& diagnostic : file.result.diagnostics) {
        text += diagnostic_text(file, diagnostic, style);
    }
    const CheckSummary& summary = file.result.summary;
    const Role role = summary.fatal + summary.errors > 0 ? Role::kError
                      : summary.warnings > 0             ? Role::kWarning
                                                         : Role::kGood;
    return text +
           fmt::format("{}: {}\n", text_of(file.path), style.paint(role, summary_text(summary)));
}

std::string summary_text(const CheckSummary& summary) {
    const std::string found = found_text(summary);
    if (summary.sends_planned == 0) {
        return fmt::format("{}, nothing is sent{}{}", counted(summary.events, "event", "events"),
                           found.empty() ? "" : "; ", found);
    }
    const std::string problems = found.empty() ? "no problems" : found;
    const std::string arrive =
        summary.fatal > 0 ? "none is sent: the whole file takes no effect"
        : summary.sends_as_written == summary.sends_planned
            ? std::string(summary.sends_planned == 1 ? "it arrives as written"
                                                     : "all arrive as written")
            : fmt::format("{} as written", counted(summary.sends_as_written, "arrives", "arrive"));
    return fmt::format("{}, {} planned, {}; {}", counted(summary.events, "event", "events"),
                       counted(summary.sends_planned, "send", "sends"), arrive, problems);
}

std::string explanation_text(std::string_view id, const Style& style) {
    const Check* const check = find_check(id);
    if (check == nullptr) return {};
    std::string text =
        fmt::format("{} {}\n\n{}\n",
                    style.paint(role_of(check->severity),
                                fmt::format("{}[{}]:", severity_name(check->severity), check->id)),
                    style.paint(Role::kStrong, check->title), wrapped(check->explanation));
    if (check->fault.empty()) return text;
    text += "Settings that have it:\n\n" + indented(check->fault);
    text += "\nSettings that do not:\n\n" + indented(check->near);
    return text;
}

}  // namespace ruvo::ctl
