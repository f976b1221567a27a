#include "events/status_reply.h"

#include "tests/support/memory_stream.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace ruvo {
namespace {

using namespace std::string_literals;

TEST(ParseStatusLine, SplitsAtTheFirstColonAndTrimsNothing) {
    struct Case {
        std::string line;
        std::pair<std::string, std::string> expected;
        const char* why;
    };
    const Case cases[] = {
        {"input:HDMI1\n", {"input", "HDMI1"}, "the usual line"},
        {"power:on", {"power", "on"}, "without a line feed"},
        {"a:b:c\n", {"a", "b:c"}, "further colons are the value's"},
        {"x:\n", {"x", ""}, "no value"},
        {":x\n", {"", "x"}, "no name"},
        {":", {"", ""}, "neither"},
        {"::\n", {"", ":"}, "a value that is a colon"},
        {"name : value\n", {"name ", " value"}, "blanks around the colon"},
        {" name:value \n", {" name", "value "}, "blanks around the line"},
        {"a:b\n\n", {"a", "b\n"}, "one line feed is dropped"},
        {"a:b\r\n", {"a", "b\r"}, "a carriage return stays"},
    };
    for (const Case& c : cases) {
        const auto parsed = parse_status_line(c.line);
        ASSERT_TRUE(parsed) << c.why;
        EXPECT_EQ(*parsed, c.expected) << c.why;
    }
}

TEST(ParseStatusLine, GivesNothingWithoutAColon) {
    for (const char* line : {"", "\n", "OK\n", "input=HDMI1\n", "   "}) {
        EXPECT_FALSE(parse_status_line(line)) << "'" << line << "'";
    }
}

TEST(ReadStatusReport, EndsALineAtItsFirstZeroByte) {
    std::string report = "a:1\0x\nb\0:2\n\0c:3\nd:4\n"s;
    const UniqueFile stream = test::stream_of(report);
    EXPECT_EQ(read_status_report(stream.get()), (StatusVariables{{"a", "1"}, {"d", "4"}}));
}

}  // namespace
}  // namespace ruvo
