#include "events/unescape_data.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

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

// Starts over after each replacement.
std::string replaced_from_the_start(std::string text, std::string_view pattern, char replacement) {
    for (auto at = text.find(pattern); at != std::string::npos; at = text.find(pattern)) {
        text.replace(at, pattern.size(), 1, replacement);
    }
    return text;
}

TEST(UnescapeData, GivesWhatThreeSearchesFromTheStartGiveForEveryShortText) {
    constexpr std::string_view kCharacters = "\\nrtx";
    constexpr std::size_t kLength = 6;
    std::size_t texts = 1;
    for (std::size_t i = 0; i < kLength; ++i) texts *= kCharacters.size();
    for (std::size_t number = 0; number < texts; ++number) {
        std::string text;
        for (std::size_t rest = number; text.size() < kLength; rest /= kCharacters.size()) {
            text += kCharacters[rest % kCharacters.size()];
        }
        std::string expected = replaced_from_the_start(text, "\\n", '\n');
        expected = replaced_from_the_start(expected, "\\r", '\r');
        expected = replaced_from_the_start(expected, "\\t", '\t');
        ASSERT_EQ(unescape_data(text), expected) << text;
    }
}

}  // namespace
}  // namespace ruvo
