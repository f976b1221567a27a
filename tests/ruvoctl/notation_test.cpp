#include "ruvoctl/codec/notation.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

struct Case {
    std::string text;
    std::string expected;
    const char* why;
};

TEST(SeparatedHex, KnowsTheNumbersOfVendorsManuals) {
    const Case cases[] = {
        {"81 01 04 00 02 FF", "\x81\x01\x04\x00\x02\xFF"s, "blanks"},
        {"81  01\t04", "\x81\x01\x04", "more than one blank"},
        {" 81 01 ", "\x81\x01", "blanks around"},
        {"81 01\n04 00\n", "\x81\x01\x04\x00"s, "several lines"},
        {"81,01", "\x81\x01", "commas"},
        {"81, 01, 04", "\x81\x01\x04", "commas with blanks"},
        {"81;01", "\x81\x01", "semicolons"},
        {"81-01", "\x81\x01", "hyphens"},
        {"81:01:ff", "\x81\x01\xFF", "colons, lower-case digits"},
        {"AB CD", "\xAB\xCD", "groups of two digits are numbers, letters or not"},
        {"2 30 3", "\x02\x30\x03", "numbers of one digit"},
        {"0x41,0x42", "AB", "0x and commas"},
        {"0x41 0X42", "AB", "0x of either case"},
        {"0x41", "A", "one number, marked beyond doubt"},
        {"0x4142", "AB", "several bytes in one number"},
        {"0x81010400,0x02FF", "\x81\x01\x04\x00\x02\xFF"s, "several long numbers"},
        {"0xD, 0xA", "\r\n", "0x with one digit"},
        {"\\x81\\x01", "\x81\x01", "\\x without separators"},
        {"\\x81 \\x01", "\x81\x01", "\\x with blanks"},
        {"\\x81, \\x01", "\x81\x01", "\\x with commas"},
        {"$0D $0A", "\r\n", "$ and a blank"},
        {"$0D$0A", "\r\n", "$ without a blank"},
        {"$0D0A", "\r\n", "$ with several bytes"},
        {"%0d", "\r", "% as in addresses"},
        {"%0d%0A", "\r\n", "% repeated"},
        {"&H0D, &h0A", "\r\n", "&H"},
        {"81h 01h", "\x81\x01", "an h behind"},
        {"81H,01H,0FFH", "\x81\x01\xFF", "an H behind, and a zero in front of a letter"},
        {"81h FFh", "\x81\xFF", "an h behind letters, with a digit elsewhere"},
        {"[81][01]", "\x81\x01", "brackets"},
        {"[02] [41] [03]",
         "\x02"
         "A\x03",
         "brackets and blanks"},
        {"<02><FF>", "\x02\xFF", "angle brackets"},
        {"<0x02><0xFF>", "\x02\xFF", "angle brackets and 0x"},
        {"{0x81,0x01}", "\x81\x01", "an array"},
        {"{ 0x81, 0x01, }", "\x81\x01", "an array with a last comma"},
        {"[0x81, 0x01]", "\x81\x01", "a list"},
        {"0x4F0x4E", "ON", "0x needs no separator"},
        {"0x4F4E0x0D", "ON\r", "nor do long numbers"},
        {"0x4F0X4E0x40", "ON@", "the zero of the next 0x is no digit"},
        {"&H4F&H4E", "ON", "nor does &H"},
        {"0FFh", "\xFF", "a zero in front and an h behind"},
        {"FFh 0FFh", "\xFF\xFF", "in a list"},
        {"0x41 0x42 CR", "AB\r", "a name"},
        {"0x41, STX, 0x42",
         "A\x02"
         "B",
         "a name in the middle"},
        {"$41 LF", "A\n", "a name behind $"},
        {"[02][41][CR]",
         "\x02"
         "A\r",
         "a name in brackets among brackets"},
        {"02 41 \\r\\n",
         "\x02"
         "A\r\n",
         "escapes behind numbers"},
        {"02 41 [CR]",
         "\x02"
         "A\r",
         "a name in brackets behind numbers"},
    };
    for (const Case& c : cases) {
        const auto bytes = separated_hex(c.text);
        ASSERT_TRUE(bytes.has_value()) << c.text << ": " << c.why;
        EXPECT_EQ(*bytes, c.expected) << c.text << ": " << c.why;
    }
}

TEST(SeparatedHex, LeavesOrdinaryTextAlone) {
    const struct {
        std::string text;
        const char* why;
    } cases[] = {
        {"", "nothing"},
        {" ", "a blank"},
        {"POWER ON", "words"},
        {"ADD BED", "words of hexadecimal letters are longer than a byte"},
        {"A B", "letters rather than numbers"},
        {"be a", "words"},
        {"81", "one number that nothing separates"},
        {"810104FF", "plain hexadecimal"},
        {"ABC", "an odd run"},
        {"8101 04FF", "groups of two bytes that nothing marks"},
        {"81 01 1G", "no digit"},
        {"81, 01;04", "separators that change"},
        {"10:30, 12", "a time and a number"},
        {"81,,01", "an empty place"},
        {"81,01,", "a comma at the end without braces"},
        {",81", "a separator in front"},
        {"0x41 42", "marks that change"},
        {"0x", "a mark without a number"},
        {"0x414", "a number of one and a half bytes"},
        {"\\x0D0A", "an escape and text"},
        {"\\xZZ", "no number"},
        {"$5", "money"},
        {"$5 $10", "money"},
        {"100%", "a share"},
        {"%1", "a command of a projector"},
        {"%1POWR 1", "a command of a projector"},
        {"Ah", "a word"},
        {"FFh", "letters alone"},
        {"Bah", "a word"},
        {"0FF", "a zero in front and no h"},
        {"02 41 CR", "a word behind numbers"},
        {"02 41\\r", "an escape that nothing separates"},
        {"CR LF", "names alone"},
        {"\\x02 CR", "an escape and a word"},
        {"\\x02\\r", "escapes of text"},
        {"0x4F0x", "a mark without a number behind it"},
        {"0x0x41", "a mark without a number in front"},
        {"[AB][CD]", "words in brackets"},
        {"[10]", "a number in brackets may be text"},
        {"[CR][LF]", "names"},
        {"<FF>", "the name of the form feed"},
        {"[81", "an open bracket"},
        {"[81>", "a bracket of another kind"},
        {"{81", "an open brace"},
        {"POWER\\x0D", "text in front of an escape"},
        {"\"81 01\"", "quoted text"},
        {"{{time}}", "a macro"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(separated_hex(c.text), std::nullopt) << c.text << ": " << c.why;
    }
}

}  // namespace
}  // namespace ruvo::ctl
