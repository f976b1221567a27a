#include "core/build_info.h"
#include "ruvoctl/check/catalogue.h"
#include "ruvoctl/check/report.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>
#include <utf8.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>

namespace ruvo::ctl {
namespace {

using Json = nlohmann::ordered_json;

std::string_view level_of(Severity severity) {
    switch (severity) {
        case Severity::kFatal:
        case Severity::kError:
            return "error";
        case Severity::kWarning:
            return "warning";
        case Severity::kInformation:
            break;
    }
    return "note";
}

Json rules_json() {
    Json rules = Json::array();
    for (const Check& check : catalogue()) {
        rules.push_back({{"id", check.id},
                         {"shortDescription", {{"text", check.title}}},
                         {"fullDescription", {{"text", check.explanation}}},
                         {"defaultConfiguration", {{"level", level_of(check.severity)}}},
                         {"properties", {{"severity", severity_name(check.severity)}}}});
    }
    return rules;
}

// A path as a relative or absolute URI reference.
std::string uri_of(const std::string& path) {
    std::string uri;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain =
            std::isalnum(byte) != 0 || std::string_view("-._~/").find(c) != std::string_view::npos;
        uri += plain ? std::string(1, c) : fmt::format("%{:02X}", byte);
    }
    return uri;
}

// Characters before an offset of the line, a byte that is no UTF-8 counting as one.
std::size_t characters(std::string_view bytes) {
    std::size_t count = 0;
    for (const char c : bytes) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++count;
    }
    return count;
}

Json region_json(const SettingsSource& source, const Diagnostic& d) {
    const SourcePosition position = source.position(d.offset);
    const std::string_view line = source.line_text(position.line);
    const std::size_t begin = std::min(position.column - 1, line.size());
    const std::size_t end = std::min(begin + d.length, line.size());
    return {{"startLine", position.line},
            {"startColumn", characters(line.substr(0, begin)) + 1},
            {"endColumn", characters(line.substr(0, end)) + 1},
            {"byteOffset", d.offset},
            {"byteLength", d.length}};
}

Json place_json(const SettingsSource& source, std::size_t begin, std::size_t end) {
    const SourcePosition first = source.position(begin);
    const SourcePosition last = source.position(end);
    const auto column = [&](const SourcePosition& position) {
        return characters(source.line_text(position.line).substr(0, position.column - 1)) + 1;
    };
    return {{"startLine", first.line}, {"startColumn", column(first)},
            {"endLine", last.line},    {"endColumn", column(last)},
            {"byteOffset", begin},     {"byteLength", end - begin}};
}

bool is_utf8(const std::vector<Edit>& edits) {
    return std::all_of(edits.begin(), edits.end(), [](const Edit& edit) {
        return utf8::is_valid(edit.text.begin(), edit.text.end());
    });
}

Json fixes_json(const SettingsSource& source, const std::string& uri, const Diagnostic& d) {
    Json replacements = Json::array();
    for (const Edit& edit : d.fix) {
        replacements.push_back(
            {{"deletedRegion", place_json(source, edit.offset, edit.offset + edit.length)},
             {"insertedContent", {{"text", edit.text}}}});
    }
    return Json::array({{{"artifactChanges", Json::array({{{"artifactLocation", {{"uri", uri}}},
                                                           {"replacements", replacements}}})}}});
}

Json result_json(const SettingsSource& source, const std::string& uri, const Diagnostic& d) {
    Json json = {{"ruleId", d.id},
                 {"level", level_of(d.severity)},
                 {"message", {{"text", text_of(fmt::format("{}; effect: {}", d.cause, d.effect))}}},
                 {"locations", Json::array({{{"physicalLocation",
                                              {{"artifactLocation", {{"uri", uri}}},
                                               {"region", region_json(source, d)}}}}})}};
    if (!d.fix.empty() && is_utf8(d.fix)) json["fixes"] = fixes_json(source, uri, d);
    return json;
}

}  // namespace

nlohmann::ordered_json report_sarif(const std::vector<CheckedFile>& files) {
    Json results = Json::array();
    for (const CheckedFile& file : files) {
        for (const Diagnostic& diagnostic : file.result.diagnostics) {
            results.push_back(result_json(file.source, uri_of(file.path), diagnostic));
        }
    }
    const Json driver = {{"name", "ruvoctl"}, {"version", kVersion}, {"rules", rules_json()}};
    return {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
            {"version", "2.1.0"},
            {"runs", Json::array({{{"tool", {{"driver", driver}}},
                                   {"columnKind", "unicodeCodePoints"},
                                   {"results", std::move(results)}}})}};
}

}  // namespace ruvo::ctl
