#include "core/number_text.h"

#include "tests/support/word_size.h"

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>

namespace ruvo {
namespace {

using test::by_long;
using namespace std::string_literals;

TEST(Int32Of, ReadsTheNumberThatATextBeginsWith) {
    struct Case {
        std::string text;
        std::int32_t expected;
        const char* why;
    };
    const Case cases[] = {
        {"", 0, "no text"},
        {"abc", 0, "no number"},
        {"-", 0, "a sign alone"},
        {"3abc", 3, "what follows the number is ignored"},
        {" \t12", 12, "leading blanks"},
        {"+7", 7, "a plus sign"},
        {"-5", -5, "a minus sign"},
        {"- 5", 0, "a blank behind the sign ends the reading"},
        {"010", 10, "a leading zero does not make it octal"},
        {"0x10", 0, "nor does 0x make it hexadecimal"},
        {"1.9", 1, "a fraction is not read"},
        {"1\0002"s, 1, "a zero byte ends the text"},
        {"12\r", 12, "the carriage return of a CRLF file"},
    };
    for (const Case& c : cases) EXPECT_EQ(int32_of(c.text), c.expected) << c.why;
}

TEST(Int32Of, KeepsTheLowThirtyTwoBits) {
    struct Case {
        const char* text;
        std::int64_t expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"2147483647", 2147483647, "the largest"},
        {"2147483648", by_long(INT_MIN, INT_MAX), "one more turns negative"},
        {"-2147483648", INT_MIN, "the smallest"},
        {"-2147483649", by_long(INT_MAX, INT_MIN), "one less turns positive"},
        {"4294967295", by_long(-1, INT_MAX), "all low bits set"},
        {"4294967296", by_long(0, INT_MAX), "no low bit set"},
        {"4294967297", by_long(1, INT_MAX), "bits above the 32 are dropped"},
        {"99999999999999999999", by_long(-1, INT_MAX), "strtol stops at its largest number"},
        {"-99999999999999999999", by_long(0, INT_MIN), "and at its smallest"},
    };
    for (const Case& c : kCases) EXPECT_EQ(int32_of(c.text), c.expected) << c.why;
}

TEST(Int32Of, ReadsAsADeviceOfTheGivenWordSize) {
    struct Case {
        const char* text;
        std::int32_t wide;
        std::int32_t narrow;
    };
    constexpr Case kCases[] = {
        {"5000", 5000, 5000},
        {"2147483648", INT_MIN, INT_MAX},
        {"-2147483649", INT_MAX, INT_MIN},
        {"4294967297", 1, INT_MAX},
        {"99999999999999999999", -1, INT_MAX},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(int32_of(c.text, WordSize::k64), c.wide) << c.text;
        EXPECT_EQ(int32_of(c.text, WordSize::k32), c.narrow) << c.text;
    }
}

// What index_of says of a text: the number, or which exception it throws.
std::string index_text(const char* text, WordSize word) {
    try {
        return std::to_string(index_of(text, word));
    } catch (const std::invalid_argument& error) {
        return std::string("invalid ") + error.what();
    } catch (const std::out_of_range& error) {
        return std::string("range ") + error.what();
    }
}

TEST(IndexOf, ReadsAsTheStandardConversionOnADeviceOfTheGivenWordSize) {
    struct Case {
        const char* text;
        const char* wide;
        const char* narrow;
    };
    constexpr Case kCases[] = {
        {"0", "0", "0"},
        {"7x", "7", "7"},
        {" \t7", "7", "7"},
        {"+7", "7", "7"},
        {"-1", "4294967295", "4294967295"},
        {" -1", "4294967295", "4294967295"},
        {"4294967295", "4294967295", "4294967295"},
        {"4294967296", "0", "range stoul"},
        {"-4294967295", "1", "1"},
        {"-4294967296", "0", "range stoul"},
        {"18446744073709551615", "4294967295", "range stoul"},
        {"18446744073709551616", "range stoul", "range stoul"},
        {"", "invalid stoul", "invalid stoul"},
        {"x", "invalid stoul", "invalid stoul"},
        {" ", "invalid stoul", "invalid stoul"},
        {"-", "invalid stoul", "invalid stoul"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(index_text(c.text, WordSize::k64), c.wide) << c.text;
        EXPECT_EQ(index_text(c.text, WordSize::k32), c.narrow) << c.text;
    }
}

TEST(IndexOf, AgreesWithTheStandardLibraryOnThisMachine) {
    for (const char* text : {"0", "12", "-1", " 3", "4294967295", "2x"}) {
        EXPECT_EQ(index_of(text), static_cast<std::uint32_t>(std::stoul(text))) << text;
    }
}

}  // namespace
}  // namespace ruvo
