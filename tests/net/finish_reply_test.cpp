#include "net/finish_reply.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

namespace ruvo {
namespace {

TEST(FinishReply, MakesOneLineFeedOfALineEnd) {
    struct Case {
        std::string received;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "no bytes"},
        {"K", "K", "one byte"},
        {"\n", "\n", "a lone line feed"},
        {"\r", "\r", "a lone carriage return"},
        {"\r\n", "\n", "a line end and nothing else"},
        {"\n\r", "\n", "the other way round"},
        {"OK\r\n", "OK\n", "carriage return and line feed"},
        {"OK\n\r", "OK\n", "line feed and carriage return"},
        {"OK\n", "OK\n", "a single line feed stays"},
        {"OK\r", "OK\r", "a single carriage return stays"},
        {"OK\n\n", "OK\n\n", "two line feeds stay"},
        {"OK\r\r", "OK\r\r", "two carriage returns stay"},
        {"A\r\nB\r\n", "A\r\nB\n", "only the last line end changes"},
        {"OK\r\n\r\n", "OK\r\n\n", "once"},
        {"OK\r\n ", "OK\r\n ", "the line end is not at the end"},
    };
    for (const Case& c : cases) {
        std::array<char, 32> reply{};
        reply.fill('#');
        std::copy(c.received.begin(), c.received.end(), reply.begin());
        finish_reply(reply, c.received.size());
        EXPECT_STREQ(reply.data(), c.expected.c_str()) << c.why;
    }
}

TEST(FinishReply, TerminatesAReplyThatFillsTheBuffer) {
    std::array<char, 4> reply{'a', 'b', 'c', '#'};
    finish_reply(reply, 3);
    EXPECT_STREQ(reply.data(), "abc");
}

}  // namespace
}  // namespace ruvo
