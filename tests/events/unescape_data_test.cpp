#include "events/unescape_data.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

TEST(UnescapeData, KnowsThreeEscapes) {
    struct Case {
        std::string data;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "no data"},
        {"plain", "plain", "no backslash"},
        {"\\n", "\n", "a line feed"},
        {"\\r", "\r", "a carriage return"},
        {"\\t", "\t", "a tab"},
        {"a\\nb\\rc\\td", "a\nb\rc\td", "all three"},
        {"\\n\\n", "\n\n", "side by side"},
        {"\\r\\n", "\r\n", "a line end"},
        {"\\", "\\", "a backslash alone"},
        {"\\\\", "\\\\", "two backslashes stay two"},
        {"\\\\n", "\\\n", "a backslash before an escape does not protect it"},
        {"\\x41", "\\x41", "no hex escapes"},
        {"\\0", "\\0", "no octal escapes"},
        {"\\N\\R\\T", "\\N\\R\\T", "capitals are no escapes"},
        {"\\a\\b\\\"", "\\a\\b\\\"", "nor are other letters"},
        {"/n", "/n", "a slash is no backslash"},
        {"\\\0n"s, "\\\0n"s, "a zero byte in between"},
        {"\0\\n\0"s, "\0\n\0"s, "zero bytes around an escape"},
        {"n\\", "n\\", "the wrong way round"},
    };
    for (const Case& c : cases) EXPECT_EQ(unescape_data(c.data), c.expected) << c.why;
}

TEST(ReplaceAll, SearchesAgainFromTheStartUntilNothingIsLeft) {
    struct Case {
        std::string text;
        std::string pattern;
        std::string replacement;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"", "a", "b", "", "no text"},
        {"xyz", "a", "b", "xyz", "no occurrence"},
        {"a", "a", "b", "b", "the whole text"},
        {"aXa", "a", "b", "bXb", "at both ends"},
        {"aaa", "aa", "b", "ba", "the leftmost of two that overlap"},
        {"aabb", "ab", "", "", "also those that a replacement completes"},
        {"abcabc", "abc", "", "", "removed"},
        {"aaXbb", "aXb", "X", "X", "completed to the left and to the right"},
        {"aab", "ab", "b", "b", "completed by the last character of a replacement"},
        {"a\0a"s, "\0"s, "-", "a-a", "a zero byte is a byte"},
        {"ab", "abc", "x", "ab", "a pattern longer than the text"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(replace_all(c.text, c.pattern, c.replacement), c.expected) << c.why;
    }
}

}  // namespace
}  // namespace ruvo
