#include "ruvoctl/check/report.h"

#include "ruvoctl/check/catalogue.h"
#include "tests/ruvoctl/checked.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace ruvo::ctl {
namespace {

CheckedFile checked(const std::string& text, const std::string& path = "ruvo.txt") {
    CheckedFile file{path, read_source(text), {}};
    file.result = check_settings(file.source, {});
    return file;
}

TEST(SummaryText, CountsWhatThereIs) {
    CheckSummary summary;
    summary.events = 3;
    summary.sends_planned = 9;
    summary.sends_as_written = 4;
    summary.errors = 6;
    EXPECT_EQ(summary_text(summary), "3 events, 9 sends planned, 4 arrive as written; 6 errors");
}

TEST(SummaryText, NeverSaysOkOfAFileThatSendsNothing) {
    for (const std::string text : {"", "# only\n", "PowerOnCount=0\n"}) {
        const std::string summary = summary_text(checked(text).result.summary);
        EXPECT_EQ(summary.find("OK"), std::string::npos) << summary;
        EXPECT_EQ(summary.find("ok"), std::string::npos) << summary;
    }
}

TEST(ReportJson, IsTheDocumentedShape) {
    const std::string text = OneStep{.ip = "beamer.local"};
    EXPECT_EQ(report_json({checked(text)}).dump(), nlohmann::ordered_json::parse(R"({
      "format": "ruvoctl.check", "version": 1,
      "files": [{
        "file": "ruvo.txt",
        "summary": {"lines": 5, "lines_without_effect": 0, "events": 1, "sends_planned": 1,
                    "sends_as_written": 0,
                    "fatal": 0, "errors": 1, "warnings": 0, "information": 0},
        "diagnostics": [{
          "id": "ip-invalid", "severity": "error",
          "line": 2, "column": 11, "end_column": 23, "offset": 24,
          "event": "Beamer", "step": 0,
          "cause": "\"beamer.local\" is no IPv4 address",
          "effect": "Beamer step 0 goes to 0.0.0.0, this very device",
          "fix": []
        }]
      }]
    })")
                                                       .dump());
}

TEST(ReportJson, ListsAreListsWhenEmpty) {
    EXPECT_TRUE(report_json({}).at("files").is_array());
    EXPECT_TRUE(report_json({checked("")}).at("files").at(0).at("diagnostics").is_array());
}

TEST(ReportJson, BytesThatAreNoTextStillMakeADocument) {
    const std::string text =
        report_json({checked("Be\xFF\x1B[2JCount=x\nBe\xFF\x1B[2JIP0=\x80\n")}).dump();
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.find('\x1B'), std::string::npos);
}

TEST(ReportSarif, HasWhatTheFormatDemands) {
    const auto sarif = report_sarif(
        {checked(OneStep{.ip = "host", .more = "BeamerPorts0=1\n"}), checked("", "empty.txt")});
    EXPECT_EQ(sarif.at("version"), "2.1.0");
    ASSERT_TRUE(sarif.at("runs").is_array());
    const auto& run = sarif.at("runs").at(0);
    EXPECT_EQ(run.at("tool").at("driver").at("name"), "ruvoctl");
    std::vector<std::string> rules;
    for (const auto& rule : run.at("tool").at("driver").at("rules")) rules.push_back(rule.at("id"));
    ASSERT_EQ(run.at("results").size(), 2U);
    for (const auto& result : run.at("results")) {
        const std::string id = result.at("ruleId");
        EXPECT_NE(std::find(rules.begin(), rules.end(), id), rules.end()) << id;
        EXPECT_EQ(result.at("level"), "error");
        EXPECT_FALSE(result.at("message").at("text").get<std::string>().empty());
        const auto& place = result.at("locations").at(0).at("physicalLocation");
        EXPECT_EQ(place.at("artifactLocation").at("uri"), "ruvo.txt");
        EXPECT_GE(place.at("region").at("startLine").get<int>(), 1);
    }
    const auto& region =
        run.at("results").at(0).at("locations").at(0).at("physicalLocation").at("region");
    EXPECT_EQ(region.at("startLine"), 2);
    EXPECT_EQ(region.at("startColumn"), 11);
}

TEST(ReportText, ShowsPlaceCauseEffectAndFix) {
    const std::string text = report_text(checked(OneStep{.more = "BeamerDelay =1\n"}),
                                         Style(ColorChoice::kNever, stdout));
    EXPECT_EQ(text.find("ruvo.txt:6:12: fatal[blank-before-equals]: "), 0U) << text;
    EXPECT_NE(text.find("effect: the whole file takes no effect"), std::string::npos) << text;
    EXPECT_NE(text.find("fix:    BeamerDelay=1"), std::string::npos) << text;
    EXPECT_NE(
        text.find(
            ": 1 event, 1 send planned, none is sent: the whole file takes no effect; 1 fatal"),
        std::string::npos)
        << text;
}

TEST(ReportText, HoldsNoControlBytes) {
    std::string name;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '\n' && byte != '=') name += static_cast<char>(byte);
    }
    const std::string file = name + "Count=x\n" + name + "IP0=" + name + "\n" + name +
                             "Ports0=1\n" + name + "Count=1\n" + name + "XMLfield=" + name + "\n" +
                             name + "Data0=" + hex("{{\x1B[2J}}") + "\n";
    for (const char byte :
         report_text(checked(file, "\x1B]0;title\x07"), Style(ColorChoice::kNever, stdout))) {
        const auto code = static_cast<unsigned char>(byte);
        EXPECT_TRUE(byte == '\n' ||
                    (code >= 0x20 && code != 0x7F && !(code >= 0x80 && code < 0xA0)))
            << static_cast<int>(code);
    }
}

TEST(ExplanationText, ExistsForEveryCheck) {
    for (const Check& check : catalogue()) {
        const std::string text = explanation_text(check.id, Style(ColorChoice::kNever, stdout));
        EXPECT_NE(text.find(check.id), std::string::npos) << check.id;
        EXPECT_NE(text.find(check.title), std::string::npos) << check.id;
    }
}

}  // namespace
}  // namespace ruvo::ctl
