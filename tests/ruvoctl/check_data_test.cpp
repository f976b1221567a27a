// What becomes of a step's data.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

const StatusVariables kItems = {{"model", "AV-100"}, {"input", "HDMI1"}, {"power", "on"},
                                {"volume", "42"},    {"mute", "off"},    {"label", "lobby, left"}};

CheckOptions with_items(const StatusVariables& items = kItems) {
    CheckOptions options;
    options.items = &items;
    return options;
}

OneStep data(const std::string& value) { return OneStep{.data = value}; }
OneStep bytes(const std::string& value) { return OneStep{.data = hex(value)}; }

TEST(CheckData, AnOddNumberOfDigits) {
    expect_cases({
        {"a digit too many", data("4F4E0"), "5:17 error hex-odd Beamer.0"},
        {"one digit", data("4"), "5:13 error hex-odd Beamer.0"},
        {"even", data("4F4E")},
        {"lower case", data("4f4e0d")},
    });
}

TEST(CheckData, SeparatedDigits) {
    for (const std::string value :
         {"4F 4E 0D", "4F,4E,0D", "0x4F0x4E", "\\x4F\\x4E", "4F:4E:0D", "$4F$4E", "4F-4E-0D"}) {
        SCOPED_TRACE(value);
        EXPECT_NE(problems(data(value)).find("error hex-separated Beamer.0"), std::string::npos)
            << problems(data(value));
    }
}

TEST(CheckData, TextInsteadOfDigits) {
    for (const std::string value : {"POWER ON", "ON", "G1", "hello", "{{time}}"}) {
        SCOPED_TRACE(value);
        EXPECT_NE(problems(data(value)).find("5:13 error hex-invalid Beamer.0"), std::string::npos)
            << problems(data(value));
    }
    EXPECT_NE(problems(data("4F4EXX")).find("5:17 error hex-invalid Beamer.0"), std::string::npos)
        << problems(data("4F4EXX"));
}

// The zero byte that a carriage return or a blank behind the digits makes is cut off again.
TEST(CheckData, WhatStandsBehindTheDigitsChangesNothing) {
    expect_cases({
        {"a carriage return", data("4F4E0D\r")},
        {"a blank", data("4F4E0D ")},
        {"two blanks", data("4F4E0D  ")},
        {"a tab", data("4F4E0D\t")},
    });
}

TEST(CheckData, ABlankPairThatReadsAsItsDigit) {
    EXPECT_EQ(problems(data(" F4E")).find("fatal"), std::string::npos);
    EXPECT_NE(problems(data(" F4E")).find("error"), std::string::npos)
        << "0F 4E, not what is written";
}

TEST(CheckData, AZeroByte) {
    expect_cases({
        {"inside",
         data("8101040002FF"),
         "5:19 error data-zero-byte Beamer.0",
         {"all behind it is lost"}},
        {"at the end",
         data("414200"),
         "5:17 error data-zero-byte Beamer.0",
         {"all behind it is lost"}},
        {"at the beginning",
         data("00414200"),
         "5:13 error data-zero-byte Beamer.0",
         {"all behind it is lost"}},
        {"zeros across two bytes", data("8101041002FF")},
        {"a zero digit", data("0A0B")},
    });
}

TEST(CheckData, MoreThan103Bytes) {
    const std::string full(103, 'A');
    EXPECT_EQ(problems(bytes(full)), "");
    EXPECT_EQ(problems(bytes(std::string(102, 'A') + "\r")), "");
    const std::string more = problems(bytes(full + "B"));
    EXPECT_NE(more.find("error data-too-long Beamer.0"), std::string::npos) << more;
    EXPECT_NE(more.find("warning log-shows-more Beamer.0"), std::string::npos) << more;
}

TEST(CheckData, TheLostTerminatorIsNamed) {
    const std::string full(103, 'A');
    EXPECT_NE(words_of(bytes(full + "\r")).find("line end"), std::string::npos)
        << words_of(bytes(full + "\r"));
    EXPECT_NE(words_of(bytes(full + "\r\n")).find("line end"), std::string::npos);
    EXPECT_NE(words_of(bytes(full + "\\r\\n")).find("line end"), std::string::npos);
    EXPECT_EQ(words_of(bytes(full + "B")).find("line end"), std::string::npos);
    EXPECT_EQ(words_of(bytes(std::string(100, 'A') + "\r\n")).find("line end"), std::string::npos);
}

TEST(CheckData, EscapesAreCountedAsWhatTheyBecome) {
    EXPECT_EQ(problems(bytes(std::string(101, 'A') + "\\r\\n")), "");
    EXPECT_NE(problems(bytes(std::string(102, 'A') + "\\r\\n")).find("data-too-long"),
              std::string::npos);
}

TEST(CheckData, MacrosAreCountedWithTheirLongestValues) {
    const auto padded = [](std::size_t size, const std::string& macro) {
        return bytes(std::string(size, 'A') + macro);
    };
    EXPECT_EQ(problems(padded(92, "{{date}}")), "") << "11 bytes, with its blank";
    EXPECT_NE(problems(padded(93, "{{date}}")).find("data-too-long"), std::string::npos);
    EXPECT_EQ(problems(padded(95, "{{time}}")), "") << "8 bytes";
    EXPECT_NE(problems(padded(96, "{{time}}")).find("data-too-long"), std::string::npos);
    EXPECT_EQ(problems(padded(92, "{{label}}"), with_items()), "") << "11 bytes";
    EXPECT_NE(problems(padded(93, "{{label}}"), with_items()).find("data-too-long"),
              std::string::npos);
}

TEST(CheckData, BinaryDataThatHoldsAnEscapeOrAMacro) {
    expect_cases({
        {"backslash r", data("81015C72FF02"), "5:17 error data-altered Beamer.0"},
        {"backslash n", data("81FF5C6E"), "5:17 error data-altered Beamer.0"},
        {"backslash t", data("FE5C74"), "5:15 error data-altered Beamer.0"},
        {"backslash and another letter", data("81015C71FF02")},
        {"an escape in text", bytes("POWER ON\\r\\n")},
        {"a macro in text", bytes("T={{time}}\\r\\n")},
    });
    const std::string macro = data("8101" + hex("{{") + "8102" + hex("}}") + "FF");
    EXPECT_NE(problems(macro).find("5:17 error data-altered Beamer.0"), std::string::npos)
        << problems(macro);
}

TEST(CheckData, AMacroThatIsNotClosed) {
    expect_cases({
        {"one brace", bytes("T={{time}"), "5:17 error macro-not-closed Beamer.0"},
        {"no brace", bytes("{{time"), "5:13 error macro-not-closed Beamer.0"},
        {"closed", bytes("T={{time}}")},
        {"closing braces alone", bytes("a}}b")},
        {"one brace of JSON", bytes("{\"on\":1}")},
    });
}

TEST(CheckData, AnUnknownMacro) {
    expect_cases(
        {
            {"no such item", bytes("{{colour}}"), "5:13 error unknown-macro Beamer.0"},
            {"wrong case of an item", bytes("{{Power}}"), "5:13 error unknown-macro Beamer.0"},
            {"a blank", bytes("{{ time }}"), "5:13 error unknown-macro Beamer.0"},
            {"an item", bytes("{{power}}")},
            {"a built-in in any case", bytes("{{TIME}}{{uPtImE}}{{Date}}")},
        },
        with_items());
}

// A name counts up to its first zero byte, and macros are replaced before data is cut.
TEST(CheckData, AZeroByteInsideAMacro) {
    using namespace std::string_literals;
    EXPECT_EQ(problems(bytes("{{time\0x}}"s)), "") << "the time, and nothing is cut";
    const std::string unknown = problems(bytes("{{ti\0me}}"s));
    EXPECT_EQ(unknown.find("macro-not-closed"), std::string::npos) << unknown;
    EXPECT_EQ(unknown.find("data-zero-byte"), std::string::npos) << unknown;
}

// An item may have an empty name.
TEST(CheckData, EmptyBracesMayBeAnItem) {
    EXPECT_EQ(problems(bytes("{{}}")), "5:13 warning unproven-macro Beamer.0");
    EXPECT_EQ(problems(bytes("{{}}"), with_items()), "5:13 error unknown-macro Beamer.0");
    StatusVariables items = kItems;
    items.emplace_back("", "x");
    EXPECT_EQ(problems(bytes("{{}}"), with_items(items)), "");
}

TEST(CheckData, AMacroThatMayBeAnItem) {
    expect_cases({
        {"no report given", bytes("{{power}}"), "5:13 warning unproven-macro Beamer.0"},
        {"built-in", bytes("{{UPTIME}}")},
    });
}

TEST(CheckData, ABuiltInMacroShadowedByAnItem) {
    StatusVariables items = kItems;
    items.emplace_back("time", "noon");
    expect_cases(
        {
            {"same case", bytes("{{time}}"), "5:13 warning macro-shadowed Beamer.0"},
            {"another case", bytes("{{TIME}}")},
        },
        with_items(items));
    EXPECT_EQ(problems(bytes("{{time}}"), with_items()), "");
}

TEST(CheckData, EmptyData) {
    expect_cases({
        {"empty", data(""), "5:13 warning data-empty Beamer.0"},
        {"no line", "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerProtocol0=UDP\n",
         "2:1 warning data-empty Beamer.0"},
        {"a blank", data("20")},
    });
}

TEST(CheckData, LookAlikesThatDoNothing) {
    expect_cases({
        {"one brace", bytes("{time}"), "5:13 warning look-alike Beamer.0"},
        {"a textual byte", bytes("ON\\x0D"), "5:17 warning look-alike Beamer.0"},
        {"JSON", bytes("{\"on\":1}")},
        {"a Windows path", bytes("C:\\users")},
        {"a macro", bytes("{{time}}")},
    });
}

TEST(CheckData, TheDateEndsInABlank) {
    EXPECT_EQ(information(bytes("{{date}}")), "5:13 information date-blank Beamer.0");
    EXPECT_EQ(information(bytes("{{time}}")), "");
}

TEST(CheckData, MacroValuesAreThoseOfTheTrigger) {
    OneStep step = bytes("{{time}}");
    step.more = "BeamerDelay0=500\n";
    EXPECT_NE(information(step).find("macro-moment Beamer"), std::string::npos)
        << information(step);
    step.more = "BeamerDelay0=0\n";
    EXPECT_EQ(information(step), "");
    step.more = "BeamerDelay=5\n";
    EXPECT_NE(information(step).find("macro-moment Beamer"), std::string::npos)
        << "an event's delay, too: " << information(step);
}

TEST(CheckData, ThePowerOnWindow) {
    for (const std::string name : {"DVIConnected", "DVIDisconnected"}) {
        EXPECT_NE(information(OneStep{.name = name}).find("power-on-window " + name),
                  std::string::npos);
        const std::string words = words_of(OneStep{.name = name});
        EXPECT_NE(words.find("restart"), std::string::npos) << words;
        EXPECT_NE(words.find("status service"), std::string::npos) << words;
    }
    EXPECT_EQ(information(OneStep{.name = "PowerOn"}), "");
    CheckOptions test;
    test.test = true;
    EXPECT_EQ(information(OneStep{.name = "DVIConnected"}, test), "");
}

}  // namespace
}  // namespace ruvo::ctl
