#include "ruvoctl/codec/forms.h"
#include "ruvoctl/codec/read_notation.h"
#include "ruvoctl/output/printable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

struct Case {
    std::string bytes;
    std::string text;
    std::string c;
    const char* why;
};

TEST(DecodeForms, AreWhatManualsWrite) {
    const Case cases[] = {
        {"POWER ON\r", "POWER ON<CR>", "POWER ON\\r", "a line end"},
        {"\x02PON\x03", "<STX>PON<ETX>", "\\x02PON\\x03", "control characters"},
        {"\0"s, "<NUL>", "\\x00", "a zero byte"},
        {"\x81\xFF", "\\x81\\xFF", "\\x81\\xFF", "no ASCII"},
        {"A\x02"
         "B",
         "A<STX>B", "A\\x02\\x42", "a digit behind \\x joins it for other readers"},
        {"81 01", "\"81 01\"", "\"81 01\"", "text that looks like numbers"},
        {"41", "\"41\"", "\"41\"", "text that looks like digits"},
        {"", "\"\"", "\"\"", "nothing"},
        {"-x", "\"-x\"", "\"-x\"", "an option"},
        {"-", "\"-\"", "\"-\"", "standard input"},
        {"\"a\"", "\\\"a\\\"", "\\\"a\\\"", "quotes"},
        {"'a'", "\"'a'\"", "\"'a'\"", "single quotes"},
        {"a\\r", "a\\\\r", "a\\\\r", "the daemon's escape"},
        {"<CR>", "\\x3CCR>", "\\x3C\\x43R>", "text that looks like a name"},
        {"[lf]", "\\x5Blf]", "\\x5Blf]", "in square brackets"},
        {"{{time}}\n", "{{time}}<LF>", "{{time}}\\n", "a macro"},
        {"{{\x01}}", "\\x7B{<SOH>}}", "\\x7B{\\x01}}", "a macro that can't stay as it is"},
        {"{{a", "{{a", "{{a", "no macro"},
        {"\t\x7F", "<HT><DEL>", "\\t\\x7F", "a tab and delete"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(write_form(Form::kText, c.bytes), c.text) << c.why;
        EXPECT_EQ(write_form(Form::kC, c.bytes), c.c) << c.why;
    }
}

TEST(DecodeForms, SpacedIsTwoDigitsAByte) {
    EXPECT_EQ(write_form(Form::kSpaced, "\x81\x01\xFF"), "81 01 FF");
    EXPECT_EQ(write_form(Form::kSpaced, "A"), "41");
    EXPECT_EQ(write_form(Form::kSpaced, ""), "");
}

// Mostly what has a meaning in some notation, so that meanings meet.
std::string random_bytes(std::mt19937& random) {
    static const std::string kPieces[] = {"{{", "}}", "{", "}",  "\\",  "\"",  "'",    "<",
                                          ">",  "[",  "]", "CR", "0x",  "\\x", "41",   "$0D",
                                          "%",  "^M", " ", ",",  "LF>", "FF",  "\0"s,  "\r\n",
                                          "-",  "+",  "h", "81", "r",   "n",   "\xC3", "time"};
    std::uniform_int_distribution<std::size_t> piece(0, std::size(kPieces) * 2 - 1);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string bytes;
    const std::size_t count = piece(random) / 4;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t chosen = piece(random);
        bytes += chosen < std::size(kPieces) ? kPieces[chosen]
                                             : std::string(1, static_cast<char>(byte(random)));
    }
    return bytes;
}

bool is_printable_ascii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

TEST(DecodeForms, AreReadBackToTheSameBytes) {
    std::mt19937 random(20261121);
    for (int i = 0; i < 4000; ++i) {
        const std::string bytes = random_bytes(random);
        for (const Form form : {Form::kText, Form::kC, Form::kSpaced}) {
            const std::string text = write_form(form, bytes);
            ASSERT_TRUE(is_printable_ascii(text)) << hex_of(bytes);
            ASSERT_EQ(hex_of(read_as_most_likely(text).bytes), hex_of(bytes)) << text;
        }
    }
}

TEST(DecodeForms, EveryByteIsReadBack) {
    for (int value = 0; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        for (const Form form : {Form::kText, Form::kC, Form::kSpaced}) {
            const std::string text = write_form(form, byte);
            EXPECT_EQ(hex_of(read_as_most_likely(text).bytes), hex_of(byte)) << text;
        }
    }
}

}  // namespace
}  // namespace ruvo::ctl
