#include "events/hex_to_bytes.h"

#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

TEST(HexToBytes, DecodesTwoCharactersAtATimeAndNeverFails) {
    struct Case {
        std::string hex;
        std::string bytes;
        const char* why;
    };
    const Case cases[] = {
        {"", "", "no text"},
        {"4", "\x04", "a single digit is a byte"},
        {"ABC", "\xAB\x0C", "a lone last digit is a whole byte"},
        {"414", "A\x04", "a lone last digit is a whole byte"},
        {"48656C6C6F", "Hello", "capital digits"},
        {"48656c6c6f", "Hello", "small digits"},
        {"00", "\0"s, "a zero byte"},
        {"410042", "A\0B"s, "a zero byte inside"},
        {"FF80", "\xFF\x80", "bytes above 127"},
        {"G1", "\0"s, "a piece with no leading hex digit is zero"},
        {"1G", "\x01", "a piece is read up to its first other character"},
        {"zz", "\0"s, "no digits"},
        {"z", "\0"s, "no digit in a lone last character"},
        {" F", "\x0F", "a leading blank is passed over"},
        {"\tF", "\x0F", "so is a tab"},
        {"+F", "\x0F", "a plus sign"},
        {"-1", "\xFF", "a minus sign: the low 8 bits count"},
        {"-F", "\xF1", "a minus sign: the low 8 bits count"},
        {"- ", "\0"s, "a sign alone"},
        {"F ", "\x0F", "a trailing blank"},
        {"0x41", "\0A"s, "the pair 0x reads as zero"},
        {"0X41", "\0A"s, "in capitals too"},
        {"41 42", "A\x04\x02", "blanks are no separators: they shift the pairs"},
        {"41\r", "A\0"s, "the carriage return of a CRLF file is a piece of its own"},
        {"\xC3\xA9", "\0"s, "letters outside ASCII are no digits"},
        {"7B7B74696D657D7D", "{{time}}", "a macro"},
    };
    for (const Case& c : cases) EXPECT_EQ(hex_to_bytes(c.hex), c.bytes) << c.why;
}

TEST(HexToBytes, DecodesATextOfAnyLength) {
    EXPECT_EQ(hex_to_bytes(test::repeated(200'001, '4')), test::repeated(100'000, 'D') + "\x04");
}

TEST(HexToBytes, ReadsEveryPieceOfTwoCharactersAsStrtolDoes) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const char piece[3] = {static_cast<char>(first), static_cast<char>(second), '\0'};
            const auto byte = static_cast<unsigned char>(std::strtol(piece, nullptr, 16));
            ASSERT_EQ(hex_to_bytes({piece, 2}), std::string(1, static_cast<char>(byte)))
                << first << ' ' << second;
        }
    }
}

}  // namespace
}  // namespace ruvo
