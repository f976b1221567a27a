#include "ruvoctl/status_report.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

TEST(StatusReport, EveryLineEndsWithACarriageReturn) {
    struct Case {
        std::string text;
        std::string reply;
        StatusVariables items;
        const char* why;
    };
    const Case cases[] = {
        {"", "", {}, "no items"},
        {"a:1\nb:2\n", "a:1\rb:2\r", {{"a", "1"}, {"b", "2"}}, "line feeds"},
        {"a:1\rb:2", "a:1\rb:2\r", {{"a", "1"}, {"b", "2"}}, "carriage returns"},
        {"a:1\r\n\r\nb:2\r\n", "a:1\rb:2\r", {{"a", "1"}, {"b", "2"}}, "both"},
        {" \t\na:1\n", "a:1\r", {{"a", "1"}}, "empty lines are left out"},
        {"a:b:c\nx:\n:y\n", "a:b:c\rx:\r:y\r", {{"a", "b:c"}, {"x", ""}, {"", "y"}}, "colons"},
        {"text\na : 1\n", "text\ra : 1\r", {{"a ", " 1"}}, "a line without a colon is no item"},
        {"a:1\0x\nb:2\n"s, "a:1\0x\rb:2\r"s, {{"a", "1"}, {"b", "2"}}, "a zero byte ends a line"},
    };
    for (const Case& c : cases) {
        const StatusReport report = status_report(c.text);
        EXPECT_EQ(report.reply, c.reply) << c.why;
        EXPECT_EQ(report.items, c.items) << c.why;
    }
}

TEST(StatusReport, IsTakenOverFromSixItemsOn) {
    EXPECT_FALSE(is_taken_over(status_report("a:\nb:\nc:\nd:\ne:\n")));
    EXPECT_TRUE(is_taken_over(status_report("a:\nb:\nc:\nd:\ne:\nf:\n")));
}

TEST(SentReport, IsWhatTheSendersBufferHoldsAsText) {
    struct Case {
        std::string text;
        std::string sent;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "an empty reply"},
        {"a:1\nb:2\n", "a:1\rb:2\r", "a short one"},
        {"a:1\0x\nb:2\n"s, "a:1", "up to its first zero byte"},
        {std::string(2046, 'x') + "\n", std::string(2046, 'x') + "\r", "the most that fits"},
        {std::string(2047, 'x') + "\n", std::string(2047, 'x'), "the rest stays outside"},
        {std::string(3000, 'x') + "\n", std::string(2047, 'x'), "however much it is"},
    };
    for (const Case& c : cases) EXPECT_EQ(sent_report(status_report(c.text)), c.sent) << c.why;
}

}  // namespace
}  // namespace ruvo::ctl
