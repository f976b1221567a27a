#include "events/status_reply.h"

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

}  // namespace
}  // namespace ruvo
