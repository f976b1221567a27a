// What a check says and mends must never be worse than silence.

#include "ruvoctl/check/corrected_copy.h"
#include "ruvoctl/check/report.h"
#include "tests/ruvoctl/checked.h"

#include <nlohmann/json.hpp>

namespace ruvo::ctl {
namespace {

std::string corrected(const std::string& text, const CheckOptions& options = {}) {
    return corrected_copy(read_source(text), options);
}

TEST(CheckCaution, LinesWithoutAUsableNumberAreNoSteps) {
    for (const char* line : {"BeamerCount-1=5\n", "BeamerPort-1=5\n", "BeamerIP+1=10.1.2.3\n"}) {
        const std::string found = problems("BeamerCount=1\n" + std::string(line));
        EXPECT_EQ(found.find("indices-from-1"), std::string::npos) << line << found;
    }
}

TEST(CheckCaution, NoNameOfAFileReachesATerminalRaw) {
    CheckedFile file;
    file.path = "ruvo.txt";
    file.source = read_source(good_and("\x1b[31mFooDelay=1\n\xff\xfeNope=1\n"));
    file.result = check_settings(file.source, {});
    EXPECT_EQ(report_text(file, Style(ColorChoice::kNever, stdout)).find('\x1b'),
              std::string::npos);
    EXPECT_NO_THROW((void)report_json({file}).dump());
    EXPECT_NO_THROW((void)report_sarif({file}).dump());
}

TEST(CheckCaution, TheCountThatMakesTheEventStays) {
    const std::string steps = step_lines(0);
    EXPECT_EQ(corrected("BeamerCount=0\nBeamerDelay=1\nBeamerCount=1\n" + steps),
              "BeamerDelay=1\nBeamerCount=1\n" + steps);
    EXPECT_EQ(corrected("BeamerCount=1\nBeamerCount=0\n" + steps), "BeamerCount=1\n" + steps);
}

TEST(CheckCaution, NoCorrectionVoidsAFile) {
    const std::string text = good_and(
        "LampIPv4=1.2.3.4\nLampIP0=1.2.3.4\nLampPort0=5000\n"
        "LampProtocol0=UDP\nLampData0=41\n");
    EXPECT_EQ(check_settings(read_source(corrected(text)), {}).summary.fatal, 0U);
}

TEST(CheckCaution, AGuessNeverTakesThePlaceOfAGoodLine) {
    for (const char* line :
         {"BeamerData=FF\n", "BeamerDate=20241017\n", "BeamerPart=7\n", "BeamerIp0=10.9.9.9\n",
          " BeamerIP0=10.9.9.9\n", "BeamerProtocl0=Status\n", "BeamerXMLfield0=Other\n"}) {
        const std::string copy = corrected(good_and("BeamerXMLfield=Lamp\n" + std::string(line)));
        EXPECT_TRUE(copy.starts_with(good_and("BeamerXMLfield=Lamp\n"))) << line << copy;
    }
}

TEST(CheckCaution, HexadecimalDataNeverBecomesText) {
    const auto data = [](const std::string& value) { return std::string(OneStep{.data = value}); };
    EXPECT_EQ(corrected(data(" 4F4E")), data("4F4E"));
    EXPECT_EQ(corrected(data("\"4F4E\"")), data("4F4E"));
    EXPECT_EQ(corrected(data("{4F4E}")), data("4F4E"));
    EXPECT_EQ(corrected(data("81O104")), data("81O104"));  // a letter O
    EXPECT_EQ(corrected(data("POWER ON")), data("504F574552204F4E"));
}

TEST(CheckCaution, ARemarkBehindTheDataChangesNothing) {
    for (const char* value : {"4F4E # on", "4F4E;comment", "4F4E "}) {
        EXPECT_EQ(problems(OneStep{.data = value}), "") << value;
    }
    EXPECT_EQ(problems(OneStep{.data = "4F 4E"}), "5:15 error hex-separated Beamer.0");
}

TEST(CheckCaution, OnlyAConnectionReachesTheDevicesOwnPorts) {
    const auto step = [](const char* ip, const char* protocol) {
        return problems(OneStep{.ip = ip, .port = "2700", .protocol = protocol});
    };
    EXPECT_EQ(step("127.0.0.1", "TCP"), "3:13 warning own-port Beamer.0");
    EXPECT_EQ(step("127.0.0.1", "UDP"), "");
    EXPECT_EQ(step("127.0.0.2", "TCP"), "");
    EXPECT_EQ(step("localhost", "TCP"),
              "2:11 error ip-invalid Beamer.0; 3:13 warning own-port Beamer.0");
}

TEST(CheckCaution, AByteOrderMarkBeforeALineWithoutEffectIsNoMatter) {
    EXPECT_EQ(problems("\xEF\xBB\xBF"
                       "EnableEvents=true\n" +
                       good_and("")),
              "");
    EXPECT_EQ(problems("\xEF\xBB\xBF# a = b\n" + good_and("")), "");
}

TEST(CheckCaution, WhatArrivesIsCountedWithoutTheStepsOfDamagedLines) {
    const std::string text = OneStep{.data = std::string("4F4E\0"
                                                         "0D",
                                                         7)};
    EXPECT_EQ(check_settings(read_source(text), {}).summary.sends_as_written, 0U);
    const std::string indented =
        "  BeamerCount=1\n  BeamerIP0=10.1.2.3\n  BeamerPort0=5000\n"
        "  BeamerProtocol0=UDP\n  BeamerData0=41\n";
    EXPECT_EQ(problems(indented), "1:1 error blank-in-key Beamer");
    EXPECT_EQ(check_settings(read_source(indented), {}).summary.sends_as_written, 0U);
}

TEST(CheckCaution, AnOverwrittenDelayMayCountInThoseBehindIt) {
    const std::string text = "BeamerCount=2\n" + step_lines(0) + step_lines(1) +
                             "BeamerDelay0=100\nBeamerDelay1=200\nBeamerDelay0=50\n";
    EXPECT_NE(words_of(text).find("may have counted"), std::string::npos) << words_of(text);
}

TEST(CheckCaution, AVeryLongLineIsShownInAWindow) {
    std::string text = "BeamerCount=1\r";
    for (int i = 0; i < 500; ++i) text += "BeamerIP0=10.1.2.3\r";
    CheckedFile file;
    file.source = read_source(text);
    file.result = check_settings(file.source, {});
    EXPECT_LT(report_text(file, Style(ColorChoice::kNever, stdout)).size(), 20000U);
}

}  // namespace
}  // namespace ruvo::ctl
