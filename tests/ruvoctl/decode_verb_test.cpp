#include "ruvoctl/exit_status.h"
#include "tests/ruvoctl/command_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

TEST(DecodeVerb, ShowsTextNamesBytesAndWhatLeaves) {
    const CommandResult result = run_ruvoctl({"decode", "02504F574552204F4E0D"});
    EXPECT_EQ(result.out,
              "value    02504F574552204F4E0D\n"
              "bytes    10\n"
              "text     \\x02POWER ON\\r\n"
              "named    <STX>POWER ON<CR>\n"
              "         02 50 4F 57 45 52 20 4F  4E 0D  \\x02POWER ON\\r\n"
              "sent     all 10 bytes leave as they are\n");
    EXPECT_EQ(result.talk, "");
    EXPECT_EQ(result.status, 0);
}

TEST(DecodeVerb, ExplainsMacrosAndEscapes) {
    const CommandResult result = run_ruvoctl({"decode", "LampData0=7B7B74696D657D7D5C725C6E"});
    EXPECT_EQ(result.out,
              "key      LampData0\n"
              "value    7B7B74696D657D7D5C725C6E\n"
              "bytes    12\n"
              "text     {{time}}\\\\r\\\\n\n"
              "named    {{time}}\\\\r\\\\n\n"
              "         7B 7B 74 69 6D 65 7D 7D  5C 72 5C 6E  {{time}}\\\\r\\\\n\n"
              "macro    {{time}} from byte 1 on becomes the time, as in \"03:18:38\"\n"
              "escape   \\r from byte 9 on leaves as CR, 0D\n"
              "escape   \\n from byte 11 on leaves as LF, 0A\n"
              "sent     it leaves with its macros and escapes replaced\n");
    EXPECT_EQ(result.status, 0);
}

TEST(DecodeVerb, NamesTheSourceOfEveryMacro) {
    // {{date}}{{UpTime}}{{input}}
    const std::string out =
        run_ruvoctl({"decode", "7B7B646174657D7D7B7B557054696D657D7D7B7B696E7075747D7D"}).out;
    EXPECT_NE(out.find("{{date}} from byte 1 on becomes the date, as in \"2024-10-17 \" with the "
                       "blank\n"),
              std::string::npos)
        << out;
    EXPECT_NE(
        out.find("{{UpTime}} from byte 9 on becomes the seconds that the device has been up\n"),
        std::string::npos)
        << out;
    EXPECT_NE(out.find("{{input}} from byte 19 on becomes the status item of exactly this name; "
                       "nothing when the device reports none\n"),
              std::string::npos)
        << out;
}

TEST(DecodeVerb, DataWithMacrosIsNotCounted) {
    const struct {
        const char* value;
        const char* sent;
        const char* why;
    } cases[] = {
        {"417B7B747D7D", "it leaves with its macros replaced", "a macro"},
        {"417B7B747D7D0042", "what stands before the zero byte leaves with its macros replaced",
         "a zero byte behind it"},
        {"417B7B74007D7D", "it leaves with its macros replaced", "a zero byte in its name"},
        {"41007B7B747D7D", "1 byte leaves: A", "a zero byte in front of it"},
        {"417B7B74", "all 4 bytes leave as they are", "a macro that is not closed"},
    };
    for (const auto& c : cases) {
        const std::string out = run_ruvoctl({"decode", c.value}).out;
        EXPECT_NE(out.find(std::string("sent     ") + c.sent + "\n"), std::string::npos)
            << c.why << out;
    }
}

TEST(DecodeVerb, TellsOfALineThatTheDaemonCuts) {
    const std::string hex(2047 - std::string("LampData0=").size(), '4');
    const std::string cut =
        "a line of 2048 characters: the daemon cuts it behind 2047 and reads the rest as another "
        "line";
    const struct {
        std::string input;
        std::size_t bytes;
        bool is_cut;
        const char* why;
    } cases[] = {
        {"LampData0=" + hex + "\n", 1019, false, "the longest line"},
        {"LampData0=" + hex + "4\n", 1019, true, "a longer one"},
        {std::string(2048, '4'), 1024, true, "a value alone"},
    };
    for (const auto& c : cases) {
        const StandardInput input(c.input);
        const CommandResult result = run_ruvoctl({"decode", "-"});
        EXPECT_EQ(result.out.find("cut      " + cut + "\n") != std::string::npos, c.is_cut)
            << c.why;
        EXPECT_NE(result.out.find("bytes    " + std::to_string(c.bytes) + "\n"), std::string::npos)
            << c.why;
        EXPECT_EQ(result.status, 3) << "too long for a sender, too: " << c.why;
    }
    EXPECT_EQ(
        run_ruvoctl({"decode", "--notation", "spaced", std::string(2048, '4')}).talk.substr(0, 30),
        "ruvoctl: " + cut.substr(0, 21));
    const auto document = nlohmann::ordered_json::parse(
        run_ruvoctl({"decode", "--json", std::string(2048, '4')}).out);
    EXPECT_EQ(document["notes"].dump(), R"([{"column":2048,"text":")" + cut + R"("}])");
}

TEST(DecodeVerb, TellsWhatTheChecksFind) {
    const CommandResult result = run_ruvoctl({"decode", "81", "01"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out,
              "value    81 01\n"
              "bytes    3\n"
              "text     \\x81\\x00\\x01\n"
              "named    \\x81<NUL><SOH>\n"
              "         81 00 01  \\x81\\x00\\x01\n"
              "sent     1 byte leaves: \\x81\n"
              "column 3: error[hex-separated]: ' ' between hexadecimal digits: they are read two "
              "characters at a time\n"
              "  effect: what leaves is \"\\x81\"\n"
              "  fix: 8101\n");
}

TEST(DecodeVerb, TakesOneLineOfStandardInputAsTheDaemonDoes) {
    const struct {
        std::string input;
        std::string out;
        const char* why;
    } cases[] = {
        {"4142\n", "41 42\n", "a value"},
        {"LampData0=4142\n", "41 42\n", "a settings line"},
        {"# Lamp\nLampData0=4142\n", "41 42\n", "what is no settings line is passed over"},
        {"LampData0=4142\r\n", "41 42 00\n", "a carriage return is part of the value"},
    };
    for (const auto& c : cases) {
        const StandardInput input(c.input);
        EXPECT_EQ(run_ruvoctl({"decode", "--notation", "spaced", "-"}).out, c.out) << c.why;
    }
}

struct FormCase {
    std::string notation;
    std::string out;
};

TEST(DecodeVerb, PrintsOneFormAloneWhenItIsAskedFor) {
    const FormCase cases[] = {
        {"text", "<STX>A<NUL>\n"}, {"c", "\\x02\\x41\\x00\n"}, {"spaced", "02 41 00\n"}};
    for (const FormCase& c : cases) {
        const CommandResult result = run_ruvoctl({"decode", "--notation", c.notation, "024100"});
        EXPECT_EQ(result.out, c.out);
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.talk,
                  "column 5: error[data-zero-byte]: byte 3 of 3 is zero\n"
                  "  effect: it and all behind it is lost: 2 of 3 bytes remain\n");
    }
}

struct MisuseCase {
    std::vector<std::string> arguments;
    std::string talk;
};

TEST(DecodeVerb, RefusesWhatHoldsNoValue) {
    const MisuseCase cases[] = {
        {{"decode", "LampPort0=5000"}, "ruvoctl: this settings line holds no data\n"},
        {{"decode", "DataEncode=HEX"}, "ruvoctl: this settings line holds no data\n"},
        {{"decode", "LampData0=41\nLampData1=42"},
         "ruvoctl: more than one settings line; give the one with the data\n"},
        {{"decode", "41\n42"}, "ruvoctl: a value is one line of text\n"},
        {{"decode", "--notation", "spacd", "41"},
         "ruvoctl: --notation: there is no 'spacd'; did you mean 'spaced'?\n"
         "See ruvoctl help decode\n"},
    };
    for (const MisuseCase& c : cases) {
        const CommandResult result = run_ruvoctl(c.arguments);
        EXPECT_EQ(result.status, kWrongUsage) << c.talk;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.talk, c.talk);
    }
}

TEST(DecodeVerb, TellsOfALineThatNothingReads) {
    const CommandResult result = run_ruvoctl({"decode", "LampData=41"});
    EXPECT_EQ(result.status, kProblemsFound);
    EXPECT_EQ(result.talk,
              "ruvoctl: LampData: the number of the step is missing, as in EventData0\n");
    EXPECT_EQ(run_ruvoctl({"decode", "LampData0=41"}).talk, "");
}

TEST(DecodeVerb, NoControlByteOfAValueReachesTheTerminal) {
    const CommandResult result = run_ruvoctl({"decode", "Lamp\x1b[31mData0=4\x1b[1B5B"});
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("key      Lamp\\x1B[31mData0\n"), std::string::npos) << result.out;
}

TEST(DecodeVerb, JsonHoldsAllMembers) {
    const CommandResult result = run_ruvoctl({"decode", "--json", "7B7B747D7D5C6E"});
    EXPECT_EQ(result.status, 0);
    auto document = nlohmann::ordered_json::parse(result.out);
    document.erase("diagnostics");
    EXPECT_EQ(document.dump(),
              R"({"format":"ruvoctl.decode","version":1,"key":null,"value":"7B7B747D7D5C6E",)"
              R"("bytes":{"hex":"7B7B747D7D5C6E","text":"{{t}}\\\\n"},)"
              R"("sent":{"hex":"7B7B747D7D0A","text":"{{t}}\\n"},"macros":["t"],"notes":[]})");
}

TEST(DecodeVerb, JsonHoldsTheDiagnosticsWithTheCorrectedValue) {
    const auto document =
        nlohmann::ordered_json::parse(run_ruvoctl({"decode", "--json", "LampData0=81 01"}).out);
    EXPECT_EQ(document["key"], "LampData0");
    EXPECT_EQ(document["diagnostics"].dump(),
              R"([{"id":"hex-separated","severity":"error","column":3,"end_column":4,)"
              R"("cause":"' ' between hexadecimal digits: they are read two characters at a time",)"
              R"("effect":"what leaves is \"\\x81\"","fix":["8101"]}])");
}

}  // namespace
}  // namespace ruvo::ctl
