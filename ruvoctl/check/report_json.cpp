#include "ruvoctl/check/corrected_copy.h"
#include "ruvoctl/check/report.h"
#include "ruvoctl/output/printable.h"

#include <nlohmann/json.hpp>

namespace ruvo::ctl {
namespace {

using Json = nlohmann::ordered_json;

Json diagnostic_json(const SettingsSource& source, const Diagnostic& d) {
    const SourcePosition position = source.position(d.offset);
    Json json = {{"id", d.id},
                 {"severity", severity_name(d.severity)},
                 {"line", position.line},
                 {"column", position.column},
                 {"end_column", position.column + d.length},
                 {"offset", d.offset},
                 {"event", nullptr},
                 {"step", nullptr},
                 {"cause", text_of(d.cause)},
                 {"effect", text_of(d.effect)},
                 {"fix", corrected_lines(source, d.fix)}};
    if (!d.event.empty()) json["event"] = text_of(d.event);
    if (d.step) json["step"] = *d.step;
    return json;
}

Json summary_json(const CheckSummary& summary) {
    return {{"lines", summary.lines},
            {"lines_without_effect", summary.lines_without_effect},
            {"events", summary.events},
            {"sends_planned", summary.sends_planned},
            {"sends_as_written", summary.sends_as_written},
            {"fatal", summary.fatal},
            {"errors", summary.errors},
            {"warnings", summary.warnings},
            {"information", summary.information}};
}

}  // namespace

nlohmann::ordered_json report_json(const std::vector<CheckedFile>& files) {
    Json list = Json::array();
    for (const CheckedFile& file : files) {
        Json diagnostics = Json::array();
        for (const Diagnostic& diagnostic : file.result.diagnostics) {
            diagnostics.push_back(diagnostic_json(file.source, diagnostic));
        }
        list.push_back({{"file", text_of(file.path)},
                        {"summary", summary_json(file.result.summary)},
                        {"diagnostics", std::move(diagnostics)}});
    }
    return {{"format", "ruvoctl.check"}, {"version", 1}, {"files", std::move(list)}};
}

}  // namespace ruvo::ctl
