#include "ruvoctl/output/printable.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

TEST(Printable, NoControlByteReachesATerminal) {
    struct Case {
        std::string bytes;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"POWER ON", "POWER ON", "ordinary text"},
        {"a\r\n\tb", "a\\r\\n\\tb", "line ends and tabs have names"},
        {"\x1b[31mred", "\\x1B[31mred", "an escape sequence"},
        {"\0\x7f"s, "\\x00\\x7F", "zero and delete"},
        {"\xff\xc3", "\\xFF\\xC3", "bytes that are no UTF-8"},
        {"\xc3\xa9", "\xc3\xa9", "a letter of two bytes"},
        {"\xc2\x9b", "\\xC2\\x9B", "a control character of two bytes"},
        {"\xd8\x9c", "\\xD8\\x9C", "a mark that turns letters around"},
        {"\xe2\x80\xae", "\\xE2\\x80\\xAE", "text that would run backwards"},
    };
    for (const Case& c : cases) EXPECT_EQ(printable(c.bytes), c.expected) << c.why;
}

TEST(Printable, DoublesABackslashUnlessTheTextIsShownAsItIs) {
    EXPECT_EQ(printable("a\\r"), "a\\\\r");
    EXPECT_EQ(printable("a\\r", Backslash::kAsItIs), "a\\r");
}

TEST(HexOf, IsTwoUpperCaseDigitsAByte) {
    EXPECT_EQ(hex_of("\x0a\xff\0A"s), "0AFF0041");
    EXPECT_EQ(hex_of(""), "");
}

TEST(BytesJson, ShowsTheSameBytesTwice) {
    EXPECT_EQ(bytes_json("A\xff").dump(), R"({"hex":"41FF","text":"A\\xFF"})");
}

}  // namespace
}  // namespace ruvo::ctl
