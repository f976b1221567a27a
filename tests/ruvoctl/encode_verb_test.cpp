#include "ruvoctl/exit_status.h"
#include "tests/ruvoctl/command_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

struct Case {
    std::vector<std::string> arguments;
    std::string out;
    int status;
    const char* why;
};

TEST(EncodeVerb, PrintsTheValueAndNothingElse) {
    const Case cases[] = {
        {{"<STX>POWER ON<CR>"}, "02504F574552204F4E0D\n", 0, "text"},
        {{"81", "01", "04"}, "810104\n", 0, "arguments are joined by blanks"},
        {{"[CR]"}, "0D\n", 0, "brackets mean nothing to the command line"},
        {{"[CR]", "[LF]"}, "0D200A\n", 0, "nor do they in several arguments"},
        {{"[81,01]"}, "8101\n", 0, "a list in brackets is one argument"},
        {{"{}"}, "7B7D\n", 0, "braces"},
        {{"%%"}, "2525\n", 0, "what separates lists elsewhere"},
        {{"-5"}, "2D35\n", 0, "a number is no option"},
        {{"--", "-x", "--y"}, "2D78202D2D79\n", 0, "text behind --"},
        {{"--", "-"}, "2D\n", 0, "a hyphen behind -- is text"},
        {{"--", "--"}, "2D2D\n", 0, "two hyphens behind -- are text"},
        {{"A", "--", "-x"}, "41202D78\n", 0, "text behind -- behind text"},
        {{"A", "B", "--", "-x", "--"}, "412042202D78202D2D\n", 0, "two hyphens the second time"},
        {{"A", "--cr", "--", "-x"}, "41202D780D\n", 0, "an option between"},
        {{"decode"}, "6465636F6465\n", 0, "a verb's name"},
        {{"a", "decode"}, "61206465636F6465\n", 0, "a verb's name behind text"},
        {{""}, "\n", 0, "an empty value"},
        {{"--cr", "PON"}, "504F4E0D\n", 0, "a carriage return"},
        {{"PON", "--lf"}, "504F4E0A\n", 0, "an option behind"},
        {{"--crlf", "PON"}, "504F4E0D0A\n", 0, "both"},
        {{"--terminator", "ETX", "<STX>PON"}, "02504F4E03\n", 0, "any other"},
        {{"--terminator", "[CR]", "81 01"}, "81010D\n", 0, "a name in brackets"},
        {{"--notation", "text", "81 01"}, "3831203031\n", 0, "a notation that is asked for"},
        {{"--notation", "separated", "A B"}, "0A0B\n", 0, "its short name"},
        {{"--notation", "separated-hex", "A B"}, "0A0B\n", 0, "its whole name"},
        {{"--key", "LampData0", "ON\\r"}, "LampData0=4F4E0D\n", 0, "a settings line"},
        {{"--key", "LampData127", "A"}, "LampData127=41\n", 0, "the last step there can be"},
        {{"--key", "LampData128", "A"}, "LampData128=41\n", 3, "one behind it"},
        {{"8101040"}, "38313031303430\n", 3, "text that may be numbers"},
        {{"--notation", "text", "8101040"}, "38313031303430\n", 0, "that is meant as text"},
        {{"PON{CR}"}, "504F4E7B43527D\n", 3, "a control character in braces"},
        {{"81 00 01"}, "810001\n", 3, "a value with a zero byte, printed all the same"},
        {{"--notation", "separated", "81 0G"}, "", 2, "what does not fit"},
        {{"--notation", "txt", "a"}, "", 2, "no such notation"},
        {{"a\\q"}, "", 2, "no such escape"},
        {{"--terminator", "\\q", "a"}, "", 2, "nor in the terminator"},
        {{"--cr", "--lf", "a"}, "", 2, "two terminators"},
        {{"a", "-x"}, "", 2, "no such option"},
        {{}, "", 2, "nothing to encode"},
        {{"--key", "LampData", "a"}, "", 2, "a key without a step"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments{"encode"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const CommandResult result = run_ruvoctl(arguments);
        EXPECT_EQ(result.out, c.out) << c.why;
        EXPECT_EQ(result.status, c.status) << c.why << ": " << result.talk;
        EXPECT_FALSE(result.talk.empty()) << c.why;
    }
}

TEST(EncodeVerb, SaysWhatItUnderstoodAndWhatLeaves) {
    EXPECT_EQ(run_ruvoctl({"encode", "81", "01"}).talk,
              "read as separated hexadecimal numbers: \\x81\\x01\n"
              "all 2 bytes leave as they are\n");
    EXPECT_EQ(run_ruvoctl({"encode", "PON$0D"}).talk,
              "read as text: PON$0D\n"
              "character 4: note: '$0D' stays as it is written; --notation dollar reads it as a "
              "byte\n"
              "all 6 bytes leave as they are\n");
    EXPECT_EQ(run_ruvoctl({"encode", "8101040"}).talk,
              "read as text: 8101040\n"
              "character 7: warning: doubtful: read as text; force it with --notation (an odd "
              "number of hexadecimal digits)\n"
              "all 7 bytes leave as they are\n");
    EXPECT_EQ(run_ruvoctl({"encode", "T={{time}}"}).talk,
              "read as text: T={{time}}\n"
              "it leaves with its macros replaced\n");
    EXPECT_EQ(
        run_ruvoctl({"encode", "--key", "LampData200", "A1"}).talk,
        "read as plain hexadecimal: \\xA1\n"
        "the byte leaves as it is\n"
        "ruvoctl: --key LampData200: step 200 never takes effect: the last step that an event "
        "can have is 127\n");
    EXPECT_EQ(run_ruvoctl({"encode", "ON\\\\r"}).talk,
              "read as text: ON\\\\r\n"
              "3 bytes leave: ON\\r\n");
}

TEST(EncodeVerb, TellsWhatTheChecksFind) {
    EXPECT_EQ(run_ruvoctl({"encode", "81", "00", "01"}).talk,
              "read as separated hexadecimal numbers: \\x81\\x00\\x01\n"
              "1 byte leaves: \\x81\n"
              "column 3: error[data-zero-byte]: byte 2 of 3 is zero\n"
              "  effect: it and all behind it is lost: 1 of 3 bytes remain\n");
    EXPECT_EQ(run_ruvoctl({"encode", std::string(103, 'x')}).status, 0);
    const CommandResult long_text = run_ruvoctl({"encode", std::string(104, 'x')});
    EXPECT_EQ(long_text.status, 3);
    EXPECT_NE(long_text.talk.find("error[data-too-long]"), std::string::npos) << long_text.talk;
}

TEST(EncodeVerb, DropsOneLineEndOfStandardInput) {
    const struct {
        std::string input;
        std::string out;
        const char* why;
    } cases[] = {
        {"PON\n", "504F4E\n", "a line feed"},
        {"PON\r\n", "504F4E\n", "a carriage return and a line feed"},
        {"PON", "504F4E\n", "no line end"},
        {"PON\n\n", "504F4E0A\n", "two of them"},
        {"81 01\n04 FF\n", "810104FF\n", "numbers in several lines"},
        {std::string("A\0B\n", 4), "410042\n", "a zero byte"},
    };
    for (const auto& c : cases) {
        const StandardInput input(c.input);
        EXPECT_EQ(run_ruvoctl({"encode", "-"}).out, c.out) << c.why;
    }
}

TEST(EncodeVerb, SaysThatALineEndIsDropped) {
    const StandardInput input("PON\n");
    EXPECT_EQ(run_ruvoctl({"encode", "-"}).talk,
              "read as text: PON\n"
              "character 4: note: the line end behind it is not encoded\n"
              "all 3 bytes leave as they are\n");
    const StandardInput bare("PON");
    EXPECT_EQ(run_ruvoctl({"encode", "-"}).talk,
              "read as text: PON\n"
              "all 3 bytes leave as they are\n");
}

TEST(EncodeVerb, PointsAtWhatDoesNotFit) {
    EXPECT_EQ(run_ruvoctl({"encode", "--notation", "separated", "81 \x1b"}).talk,
              "ruvoctl: this is no separated-hex: character 4: this is no hexadecimal digit\n"
              "  81 \\x1B\n"
              "     ^\n");
}

TEST(EncodeVerb, SuggestsTheNearestNotation) {
    EXPECT_EQ(run_ruvoctl({"encode", "--notation", "txt", "a"}).talk,
              "ruvoctl: --notation: there is no 'txt'; did you mean 'text'?\n"
              "See ruvoctl help encode\n");
}

TEST(EncodeVerb, NamesWhatAKeyIsReadAs) {
    const struct {
        std::string key;
        std::string reason;
    } cases[] = {
        {"LampData", "the number of the step is missing, as in EventData0"},
        {"HDMIPlugData0", "it is read as the IP of an event \"HDM\""},
        {"LampDatax", "\"x\" is no number of a step; it makes the whole file count for nothing"},
        {"Lamp", "there is no field in it; the data of a step is a key like EventData0"},
        {"Data0", "there is no field in it; the data of a step is a key like EventData0"},
        {"LampData0=", "a key holds no '='"},
        {"Lamp\x1b[Data0", "it holds characters that are no text"},
    };
    for (const auto& c : cases) {
        const CommandResult result = run_ruvoctl({"encode", "--key", c.key, "a"});
        EXPECT_EQ(result.status, kWrongUsage) << c.key;
        EXPECT_NE(result.talk.find(c.reason), std::string::npos) << result.talk;
        EXPECT_EQ(result.talk.find('\x1b'), std::string::npos);
    }
}

TEST(EncodeVerb, JsonHoldsBothReadingsAndAllMembers) {
    const CommandResult result = run_ruvoctl({"encode", "--json", "<STX>ON\\\\r"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.talk, "");
    EXPECT_EQ(nlohmann::ordered_json::parse(result.out).dump(),
              R"({"format":"ruvoctl.encode","version":1,"notation":"text","key":null,)"
              R"("data":"024F4E5C72","bytes":{"hex":"024F4E5C72","text":"\\x02ON\\\\r"},)"
              R"("sent":{"hex":"024F4E0D","text":"\\x02ON\\r"},"doubtful":false,"notes":[],)"
              R"("diagnostics":[]})");
}

TEST(EncodeVerb, JsonHoldsNotesAndDiagnostics) {
    const CommandResult result = run_ruvoctl({"encode", "--json", "--key", "LampData0", "$0D\\0"});
    EXPECT_EQ(result.status, 3);
    const auto document = nlohmann::ordered_json::parse(result.out);
    EXPECT_EQ(document["key"], "LampData0");
    EXPECT_EQ(document["notes"].dump(),
              R"([{"column":1,"text":"'$0D' stays as it is written; --notation dollar reads it as )"
              R"(a byte"}])");
    EXPECT_EQ(document["diagnostics"].dump(),
              R"([{"id":"data-zero-byte","severity":"error","column":7,"end_column":9,)"
              R"("cause":"byte 4 of 4 is zero",)"
              R"("effect":"it and all behind it is lost: 3 of 4 bytes remain","fix":[]}])");
}

TEST(EncodeVerb, JsonSaysWhatIsDoubtful) {
    const CommandResult result = run_ruvoctl({"encode", "--json", "81,01,,02"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(nlohmann::ordered_json::parse(result.out)["doubtful"], true);
}

}  // namespace
}  // namespace ruvo::ctl
