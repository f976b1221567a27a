// Encodings, line ends, long lines, and exact places in them.

#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

std::string utf_16(const std::string& text, bool little) {
    std::string wide = little ? "\xFF\xFE" : "\xFE\xFF";
    for (const char byte : text) {
        if (!little) wide += '\0';
        wide += byte;
        if (little) wide += '\0';
    }
    return wide;
}

TEST(CheckFileForm, AByteOrderMarkBeforeAKey) {
    expect_cases({
        {"before a Count",
         "\xEF\xBB\xBF" + std::string(OneStep{}),
         "1:1 error byte-order-mark Beamer",
         {"BeamerCount", "lost"}},
        {"in the middle of a file that was put together",
         std::string(OneStep{}) + "\xEF\xBB\xBF" + std::string(OneStep{.name = "Lamp"}),
         "6:1 error byte-order-mark Lamp",
         {"LampCount", "lost"}},
        {"before a comment", "\xEF\xBB\xBF# Beamer\n" + std::string(OneStep{})},
        {"before an empty line", "\xEF\xBB\xBF\n" + std::string(OneStep{})},
    });
}

TEST(CheckFileForm, Utf16) {
    for (const bool little : {true, false}) {
        const std::string text = utf_16(OneStep{}, little);
        EXPECT_EQ(problems(text), "1:1 error utf-16");
        EXPECT_EQ(check_settings(read_source(text), {}).summary.sends_as_written, 0U);
    }
    EXPECT_EQ(problems("# \xC3\xA4\n" + std::string(OneStep{})), "") << "UTF-8";
}

TEST(CheckFileForm, AZeroByte) {
    const auto zero = [](const std::string& before, const std::string& behind) {
        return good_and(before + '\0' + behind + "\n");
    };
    EXPECT_EQ(problems(zero("BeamerPort0=", "5")).find("3:1 warning duplicate-key"), 0U);
    EXPECT_NE(problems(zero("BeamerDelay0=5", "0")).find("6:15 error zero-byte"),
              std::string::npos);
    EXPECT_NE(problems(zero("BeamerDel", "ay0=5")).find("6:10 error zero-byte"), std::string::npos)
        << problems(zero("BeamerDel", "ay0=5"));
    EXPECT_EQ(problems(zero("# ", "comment")), "");
}

TEST(CheckFileForm, CarriageReturnsAsTheOnlyLineEnds) {
    const std::string text = OneStep{.end = "\r"};
    EXPECT_NE(problems(text).find("1:14 error cr-line-ends"), std::string::npos) << problems(text);
    EXPECT_EQ(check_settings(read_source(text), {}).summary.sends_as_written, 0U);
}

TEST(CheckFileForm, CrlfIsExact) {
    expect_cases({
        {"only the address is spoiled", OneStep{.end = "\r\n"}, "2:19 error cr-in-ip Beamer.0"},
        {"places behind CRLF lines", OneStep{.more = "BeamerPorts0=5\r\n", .end = "\r\n"},
         "2:19 error cr-in-ip Beamer.0; 6:11 fatal index-not-a-number Beamer"},
        {"an empty value", OneStep{.protocol = "\r", .data = ""},
         "4:17 error protocol-missing Beamer.0; 5:13 warning data-empty Beamer.0"},
    });
}

TEST(CheckFileForm, ALastLineWithoutAnEnd) {
    expect_cases({
        {"the fault in it", good_and("BeamerPorts0=5000"), "6:11 fatal index-not-a-number Beamer"},
        {"an empty value", good_and("BeamerXMLfield="), "6:16 warning empty-xmlfield Beamer"},
        {"no fault", good_and("BeamerDelay0=5")},
    });
}

TEST(CheckFileForm, SeveralFaultsInOneLine) {
    expect_cases({
        {"address and carriage return", OneStep{.ip = "host.example\r"},
         "2:11 error ip-invalid Beamer.0"},
        {"separated and odd", OneStep{.data = "4F 4E 0"}, "5:15 error hex-separated Beamer.0"},
        {"two zero bytes are one loss", OneStep{.data = "41004200"},
         "5:15 error data-zero-byte Beamer.0"},
    });
}

TEST(CheckFileForm, TabsCountAsOneColumn) {
    expect_cases({
        {"in a value", OneStep{.ip = "\t10.1.2.3"}, "2:11 error ip-invalid Beamer.0"},
        {"in a key", good_and("BeamerDelay\t\t=5\n"), "6:12 fatal blank-before-equals Beamer"},
        {"before an index", good_and("BeamerDelay\t0=1s\n"), "6:15 warning delay-unit Beamer.0"},
    });
}

TEST(CheckFileForm, BytesNotCharactersAreCounted) {
    const std::string text = OneStep{.name = "L\xC3\xA4mp", .ip = "host"};
    EXPECT_EQ(problems(text), "2:10 error ip-invalid L\xC3\xA4mp.0");
}

TEST(CheckFileForm, ALongLine) {
    const std::string key = "BeamerData0=";
    const auto long_line = [&](std::size_t length) {
        return OneStep{.count = "1", .data = std::string(length - key.size(), '4')};
    };
    EXPECT_NE(problems(long_line(2048)).find("5:2048 error long-line"), std::string::npos)
        << problems(long_line(2048));
    EXPECT_EQ(problems(long_line(2047)).find("long-line"), std::string::npos);
    EXPECT_EQ(problems(good_and("# " + std::string(3000, 'x') + "\n")), "")
        << "a comment in pieces is a comment";
}

// 2047 characters are a piece, so the next one begins at column 2048.
TEST(CheckFileForm, PlacesInPiecesOfALongLine) {
    const std::string first(2047, 'x');
    expect_cases({
        {"the second piece is a setting of its own", good_and(first + "BeamerPorts0=1\n"),
         "6:2048 error long-line; 6:2058 fatal index-not-a-number Beamer"},
        {"the third", good_and(first + first + "BeamerDelay =1\n"),
         "6:2048 error long-line; 6:4106 fatal blank-before-equals Beamer"},
        {"a value in the second", good_and(first + "BeamerDelay0=1s\n"),
         "6:2048 error long-line; 6:2061 warning delay-unit Beamer.0"},
    });
}

TEST(CheckFileForm, LinesBehindALongOneKeepTheirNumbers) {
    EXPECT_EQ(problems("# " + std::string(5000, 'x') + "\n" + good_and("BeamerPorts0=1\n")),
              "7:11 fatal index-not-a-number Beamer");
}

TEST(CheckFileForm, AnEndRightBehindAFullPiece) {
    EXPECT_EQ(problems(good_and("#" + std::string(2046, 'x') + "\nBeamerPorts0=1\n")),
              "7:11 fatal index-not-a-number Beamer");
}

}  // namespace
}  // namespace ruvo::ctl
