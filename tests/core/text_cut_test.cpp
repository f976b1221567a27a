#include "core/text_cut.h"

#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

TEST(UntilZero, EndsATextAtItsFirstZeroByte) {
    struct Case {
        std::string text;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "nothing to cut"},
        {"\0"s, "", "a lone zero byte"},
        {"\0abc"s, "", "the zero byte comes first"},
        {"abc\0"s, "abc", "the zero byte comes last"},
        {"ab\0cd\0ef"s, "ab", "the first of two counts"},
        {"abc", "abc", "no zero byte"},
    };
    for (const Case& c : cases) EXPECT_EQ(until_zero(c.text), c.expected) << c.why;
}

TEST(CutToBuffer, LeavesRoomForTheTerminatingZero) {
    struct Case {
        std::string text;
        std::size_t capacity;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"abc", 1, "", "a buffer of one byte holds the terminating zero only"},
        {"abc", 2, "a", "one character and the zero"},
        {"abc", 3, "ab", "one character too many"},
        {"abc", 4, "abc", "a text that just fits"},
        {"abc", 100, "abc", "a wide buffer"},
        {"", 1, "", "the empty text fits everywhere"},
        {"a\0bc"s, 4, "a", "a zero byte before the end of the buffer"},
        {"abc\0d"s, 3, "ab", "a zero byte behind the end of the buffer"},
        {test::repeated(104, 'x'), 104, test::repeated(103, 'x'), "a slot's data as it is filled"},
    };
    for (const Case& c : cases) EXPECT_EQ(cut_to_buffer(c.text, c.capacity), c.expected) << c.why;
}

TEST(WithoutLineFeed, DropsOneLineFeedAtTheEnd) {
    struct Case {
        std::string text;
        std::string expected;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "nothing to drop"},
        {"\n", "", "a lone line feed"},
        {"\n\n", "\n", "one of two"},
        {"PowerOn\n", "PowerOn", "the usual line"},
        {"PowerOn", "PowerOn", "no line feed"},
        {"PowerOn\r\n", "PowerOn\r", "a carriage return stays"},
        {"PowerOn\n\r", "PowerOn\n\r", "the line feed is not the last character"},
        {"\nPowerOn", "\nPowerOn", "a line feed at the beginning stays"},
    };
    for (const Case& c : cases) EXPECT_EQ(without_line_feed(c.text), c.expected) << c.why;
}

}  // namespace
}  // namespace ruvo
