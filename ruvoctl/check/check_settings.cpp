#include "ruvoctl/check/check_settings.h"

#include "ruvoctl/check/findings.h"
#include "ruvoctl/settings_model.h"

#include <algorithm>

namespace ruvo::ctl {
namespace {

void count_severities(CheckResult& result) {
    for (const Diagnostic& diagnostic : result.diagnostics) {
        switch (diagnostic.severity) {
            case Severity::kFatal:
                ++result.summary.fatal;
                break;
            case Severity::kError:
                ++result.summary.errors;
                break;
            case Severity::kWarning:
                ++result.summary.warnings;
                break;
            case Severity::kInformation:
                ++result.summary.information;
                break;
        }
    }
}

}  // namespace

std::string_view severity_name(Severity severity) {
    switch (severity) {
        case Severity::kFatal:
            return "fatal";
        case Severity::kError:
            return "error";
        case Severity::kWarning:
            return "warning";
        case Severity::kInformation:
            break;
    }
    return "information";
}

CheckResult check_settings(const SettingsSource& source, const CheckOptions& options) {
    const SettingsModel model = model_settings(source, options.word.value_or(WordSize::k64));
    Findings findings(source, model, options);
    CheckResult result;
    if (check_file_form(findings)) {
        check_keys(findings);
        check_counts(findings);
        check_triggers(findings);
        check_steps(findings);
        check_lost_steps(findings);
        check_delays(findings);
        check_whole_file(findings, result.summary);
    }
    result.diagnostics = findings.take();
    std::stable_sort(
        result.diagnostics.begin(), result.diagnostics.end(),
        [](const Diagnostic& left, const Diagnostic& right) { return left.offset < right.offset; });
    count_severities(result);
    return result;
}

}  // namespace ruvo::ctl
