#include "ruvoctl/codec/misfit.h"
#include "ruvoctl/codec/read_notation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

struct Case {
    std::string text;
    Notation notation;
    std::string expected;
    const char* why;
};

void expect_reading(const Reading& reading, const Case& c) {
    EXPECT_EQ(notation_name(reading.notation), notation_name(c.notation))
        << c.text << ": " << c.why;
    EXPECT_EQ(reading.bytes, c.expected) << c.text << ": " << c.why;
}

TEST(EncodeNotation, TakesTheMostLikelyOne) {
    const Case cases[] = {
        {"810104FF", Notation::kHex, "\x81\x01\x04\xFF", "an even number of digits"},
        {"810104ff", Notation::kHex, "\x81\x01\x04\xFF", "small digits"},
        {"41", Notation::kHex, "A", "one byte"},
        {"FACE", Notation::kHex, "\xFA\xCE", "digits, though they make a word"},
        {"ABC", Notation::kText, "ABC", "an odd number of digits"},
        {"5", Notation::kText, "5", "one digit"},
        {"81 01 04 00 02 FF", Notation::kSeparated, "\x81\x01\x04\x00\x02\xFF"s, "blanks"},
        {"81,01", Notation::kSeparated, "\x81\x01", "commas"},
        {"81-01", Notation::kSeparated, "\x81\x01", "hyphens"},
        {"81:01", Notation::kSeparated, "\x81\x01", "colons"},
        {"0x41,0x42", Notation::kSeparated, "AB", "0x"},
        {"0x4142", Notation::kSeparated, "AB", "0x with several bytes"},
        {"\\x81\\x01", Notation::kSeparated, "\x81\x01", "\\x and nothing else"},
        {"$0D $0A", Notation::kSeparated, "\r\n", "$ and nothing else"},
        {"%0d", Notation::kSeparated, "\r", "% and nothing else"},
        {"81h 01h", Notation::kSeparated, "\x81\x01", "an h behind"},
        {"[81][01]", Notation::kSeparated, "\x81\x01", "brackets"},
        {"{0x81,0x01}", Notation::kSeparated, "\x81\x01", "an array"},
        {"0x4F0x4E", Notation::kSeparated, "ON", "0x without separators"},
        {"0x41 0x42 CR", Notation::kSeparated, "AB\r", "a name behind marked numbers"},
        {"0x41,0x42,CR,LF", Notation::kSeparated, "AB\r\n", "names in a list"},
        {"STX 0x41 ETX", Notation::kSeparated,
         "\x02"
         "A\x03",
         "names around"},
        {"0x41 0x42<CR>", Notation::kSeparated, "AB\r", "a name in brackets"},
        {"81h 01h CR", Notation::kSeparated, "\x81\x01\r", "behind numbers with an h"},
        {"02 50 4F 4E 03 \\r", Notation::kSeparated, "\x02PON\x03\r", "an escape at the end"},
        {"02 41 42 <CR><LF>", Notation::kSeparated,
         "\x02"
         "AB\r\n",
         "names at the end"},
        {"FFh 0FFh", Notation::kSeparated, "\xFF\xFF", "no word begins with a zero"},
        {"0FFh", Notation::kSeparated, "\xFF", "nor if it is alone"},
        {" 41", Notation::kHex, "A", "a blank in front"},
        {"41 ", Notation::kHex, "A", "a blank behind"},
        {" \"41\" ", Notation::kQuoted, "41", "blanks around quotes"},
        {" ON ", Notation::kText, " ON ", "blanks around text are text"},
        {"81 01 4", Notation::kSeparated, "\x81\x01\x04", "a digit alone at the end"},
        {"10 20 US", Notation::kText, "10 20 US", "a word behind numbers"},
        {"", Notation::kText, "", "nothing"},
        {"POWER ON", Notation::kText, "POWER ON", "text"},
        {"ADD BED", Notation::kText, "ADD BED", "words of hexadecimal letters"},
        {"POWER ON<CR>", Notation::kText, "POWER ON\r", "a name in angle brackets"},
        {"<STX>PON<ETX>", Notation::kText, "\x02PON\x03", "names around text"},
        {"[STX]PON[ETX]", Notation::kText, "\x02PON\x03", "square brackets"},
        {"[CR]", Notation::kText, "\r", "a name alone"},
        {"PON<CR><LF>", Notation::kText, "PON\r\n", "two names"},
        {"PON<CRLF>", Notation::kText, "PON\r\n", "a line end of two bytes"},
        {"PON<CR/LF>", Notation::kText, "PON\r\n", "with a stroke"},
        {"PON<CR LF>", Notation::kText, "PON\r\n", "with a blank"},
        {"PON<cr>[lf]", Notation::kText, "PON\r\n", "small letters"},
        {"A<SP>B", Notation::kText, "A B", "a blank by its name"},
        {"A<SPACE>B<TAB>C", Notation::kText, "A B\tC", "long names"},
        {"<ESC>[2J", Notation::kText, "\x1B[2J", "an escape sequence, not a name behind it"},
        {"<NUL>A<NULL>", Notation::kText, "\0A\0"s, "zero bytes"},
        {"<FF>", Notation::kText, "\f", "the form feed rather than the number"},
        {"<DEL>", Notation::kText, "\x7F", "delete"},
        {"<XON><XOFF>", Notation::kText, "\x11\x13", "flow control"},
        {"PON<0x0D>", Notation::kText, "PON\r", "a number in brackets, marked beyond doubt"},
        {"<CR", Notation::kText, "<CR", "no closing bracket"},
        {"<CR]", Notation::kText, "<CR]", "a bracket of another kind"},
        {"<POWER>", Notation::kText, "<POWER>", "no name"},
        {"<sub>1</sub>", Notation::kText, "<sub>1</sub>", "tags, not the substitute character"},
        {"PON<0D>", Notation::kText, "PON<0D>", "a number in text that nothing marks"},
        {"INPUT[10]", Notation::kText, "INPUT[10]", "the number of an input"},
        {"POWER\\x0D", Notation::kText, "POWER\r", "\\x behind text"},
        {"POWER\\r\\n\\t", Notation::kText, "POWER\r\n\t", "line ends and a tab"},
        {"A\\0", Notation::kText, "A\0"s, "a zero byte"},
        {"\\x02ADD", Notation::kText,
         "\x02"
         "ADD",
         "two digits, and digits of the text behind"},
        {"A\\xDZ", Notation::kText, "A\rZ", "one digit"},
        {"a\\\\b", Notation::kText, "a\\b", "a backslash"},
        {"a\\\\r", Notation::kText, "a\\r", "the daemon's own escape"},
        {"say \\\"on\\\"", Notation::kText, "say \"on\"", "quotes"},
        {"\\e[2J\\a\\b\\f\\v", Notation::kText, "\x1B[2J\a\b\f\v", "rare escapes"},
        {"T={{time}}\\r", Notation::kText, "T={{time}}\r", "a macro stays"},
        {"{{a\\r<CR>}}", Notation::kText, "{{a\\r<CR>}}", "whatever its name holds"},
        {"{{time\\r", Notation::kText, "{{time\r", "no macro without its end"},
        {"%1POWR1$0D", Notation::kText, "%1POWR1$0D", "$ in text may be meant"},
        {"LEVEL 50%0D", Notation::kText, "LEVEL 50%0D", "so may %"},
        {"PON^M", Notation::kText, "PON^M", "so may ^"},
        {"PON 0x0D", Notation::kText, "PON 0x0D", "so may 0x"},
        {"{\"power\":\"on\"}", Notation::kText, "{\"power\":\"on\"}", "quotes within text"},
        {"\"a\" or b", Notation::kText, "\"a\" or b", "quotes around the first word alone"},
        {"it's", Notation::kText, "it's", "an apostrophe"},
        {"\"81 01\"", Notation::kQuoted, "81 01", "what is quoted is text"},
        {"\"41\"", Notation::kQuoted, "41", "what is quoted is text"},
        {"'PON'", Notation::kQuoted, "PON", "single quotes"},
        {"\"\"", Notation::kQuoted, "", "nothing in quotes"},
        {"\"PON\",0x0D", Notation::kQuoted, "PON\r", "a number behind"},
        {"\"PON\",$0D,$0A", Notation::kQuoted, "PON\r\n", "numbers with $"},
        {"\"PON\" 0D 0A", Notation::kQuoted, "PON\r\n", "numbers without marks"},
        {"\"PON\"<CR><LF>", Notation::kQuoted, "PON\r\n", "names without separators"},
        {"\"PON\" + CR + LF", Notation::kQuoted, "PON\r\n", "names without brackets"},
        {"STX \"PON\" ETX", Notation::kQuoted, "\x02PON\x03", "a name in front"},
        {"0x02,'P','O','N',03h", Notation::kQuoted, "\x02PON\x03", "letter for letter"},
        {"\"PON\\r\"", Notation::kQuoted, "PON\r", "escapes in quotes"},
        {"\"a\\\"b\"", Notation::kQuoted, "a\"b", "a quote in quotes"},
        {"\"{{time}}\",0x0D", Notation::kQuoted, "{{time}}\r", "a macro in quotes"},
    };
    static_assert(std::size(cases) >= 60);
    for (const Case& c : cases) expect_reading(read_as_most_likely(c.text), c);
}

TEST(EncodeNotation, IsTakenWhenItIsAskedFor) {
    const Case cases[] = {
        {"FACE", Notation::kText, "FACE", "a word"},
        {"81 01", Notation::kText, "81 01", "digits as text"},
        {"\"a\"", Notation::kText, "\"a\"", "quotes as text"},
        {"41", Notation::kSeparated, "A", "one number"},
        {"A B", Notation::kSeparated, "\x0A\x0B", "numbers that could be words"},
        {"FFh", Notation::kSeparated, "\xFF", "a number that could be a word"},
        {"FACE", Notation::kHex, "\xFA\xCE", "digits"},
        {"", Notation::kHex, "", "no digits"},
        {"a\\r<CR>\\q", Notation::kRaw, "a\\r<CR>\\q", "nothing has a meaning"},
        {"81 01", Notation::kRaw, "81 01", "numbers neither"},
        {" 41 ", Notation::kRaw, " 41 ", "nor the blanks around"},
        {" 41 ", Notation::kText, " 41 ", "text has blanks too"},
        {"02 41 CR", Notation::kSeparated,
         "\x02"
         "A\r",
         "a name behind numbers without marks"},
        {"PON^M^J", Notation::kCaret, "PON\r\n", "carets"},
        {"^@^[^_^?^m", Notation::kCaret, "\0\x1B\x1F\x7F\r"s,
         "the ends of the range, a small letter"},
        {"PON^M\\n<CR>", Notation::kCaret, "PON\r\n\r", "all that text has"},
        {"%1POWR 1$0D", Notation::kDollar, "%1POWR 1\r", "$ in text"},
        {"$5 $0D", Notation::kDollar, "$5 \r", "$ and one digit"},
        {"50%25%0D", Notation::kPercent, "50%\r", "% in text"},
        {"100%", Notation::kPercent, "100%", "% at the end"},
        {"PON,0D", Notation::kRaw, "PON,0D", "raw"},
    };
    for (const Case& c : cases) expect_reading(read_as(c.notation, c.text), c);
}

struct MisfitCase {
    Notation notation;
    std::string text;
    std::size_t position;
    const char* why;
};

TEST(EncodeNotation, SaysWhereATextDoesNotFit) {
    const MisfitCase cases[] = {
        {Notation::kHex, "81G1", 2, "no digit"},
        {Notation::kHex, "81 01", 2, "a blank"},
        {Notation::kHex, "810", 2, "the lone digit"},
        {Notation::kSeparated, "", 0, "nothing"},
        {Notation::kSeparated, "81 0G", 4, "no digit"},
        {Notation::kSeparated, "81 GG", 3, "no digit at all"},
        {Notation::kSeparated, "81 010", 5, "a third digit"},
        {Notation::kSeparated, "81,01;02", 5, "another separator"},
        {Notation::kSeparated, "0x81 01", 5, "another mark"},
        {Notation::kSeparated, "81,01,", 6, "nothing behind the comma"},
        {Notation::kSeparated, "[81", 3, "no closing bracket"},
        {Notation::kSeparated, "\\x", 2, "no digit behind the mark"},
        {Notation::kSeparated, "0x814", 4, "half a byte"},
        {Notation::kQuoted, "", 0, "nothing"},
        {Notation::kQuoted, "\"abc", 0, "a quote that is open"},
        {Notation::kQuoted, "\"abc\\\"", 0, "a quote that its escape leaves open"},
        {Notation::kQuoted, "\"ab\\q\"", 3, "an escape that does not exist"},
        {Notation::kQuoted, "CR", 0, "nothing is quoted"},
        {Notation::kQuoted, "\"a\" b", 4, "a word outside quotes"},
        {Notation::kQuoted, "\"a\",", 3, "nothing behind the comma"},
        {Notation::kQuoted, "\"a\"\"b\" 5", 7, "a digit that may be text"},
        {Notation::kText, "ab\\q", 2, "an escape that does not exist"},
        {Notation::kText, "ab\\", 2, "a backslash alone"},
        {Notation::kText, "ab\\xZ", 4, "no digit"},
        {Notation::kText, "ab\\x", 4, "no digit at the end"},
        {Notation::kText, "ab\\015", 2, "an octal number"},
        {Notation::kText, "ab\\1", 2, "an octal number without a zero"},
        {Notation::kCaret, "a^", 1, "a caret alone"},
        {Notation::kCaret, "a^1", 1, "no control character"},
    };
    for (const MisfitCase& c : cases) {
        try {
            (void)read_as(c.notation, c.text);
            ADD_FAILURE() << c.text << ": " << c.why;
        } catch (const Misfit& misfit) {
            EXPECT_EQ(misfit.position, c.position) << c.text << ": " << c.why;
            EXPECT_FALSE(misfit.reason.empty());
        }
    }
}

TEST(EncodeNotation, AnEscapeThatDoesNotExistIsNotGuessedAt) {
    EXPECT_THROW((void)read_as_most_likely("POWER\\q"), Misfit);
}

struct NoteCase {
    std::string text;
    std::vector<std::size_t> positions;
    const char* why;
};

TEST(EncodeNotation, NotesWhatMayHaveBeenMeantOtherwise) {
    const NoteCase cases[] = {
        {"POWER ON\r", {}, "plain text"},
        {"8101", {}, "digits"},
        {"81 01", {}, "numbers"},
        {"FACE", {0}, "a word that is read as digits"},
        {"ABC", {0}, "digits that are read as text"},
        {"PON$0D", {3}, "$"},
        {"PON%0D", {3}, "%"},
        {"PON^M", {3}, "^"},
        {"PON0x0D", {3}, "0x"},
        {"PON<0D>", {3}, "a number in brackets"},
        {"<sub>", {0}, "a name in small letters"},
        {"<FF>", {0}, "a name that is a number too"},
        {"$5, 100%, x^2", {}, "signs that mean nothing"},
        {"\\x02ADD", {0}, "digits behind two digits"},
        {"\xC3\xA9\xC3\xA9", {0}, "letters beyond ASCII, told once"},
        {"a\nb\nc", {1}, "line ends within, told once"},
        {"02 41 42 <CR>", {}, "numbers and a control character"},
        {"02 41 42 CRX", {10}, "numbers, but for the end"},
        {" 41", {0}, "a blank in front that is left out"},
        {"\t81 01 ", {0}, "blanks around"},
        {"41 ", {2}, "a blank behind that is left out"},
        {"ON ", {2}, "a blank behind that stays"},
        {" 81 1", {4, 0}, "a digit alone"},
        {"0x1,0x2", {}, "a digit alone behind 0x"},
        {"10 PRINT", {}, "one number in front of text"},
        {"<STX>ON", {}, "a control character in front of text"},
        {"\"a\" or b", {4}, "quotes that are data"},
        {"\"PON\",FF", {6}, "a number that is a name too"},
    };
    for (const NoteCase& c : cases) {
        std::vector<std::size_t> positions;
        for (const Note& note : read_as_most_likely(c.text).notes)
            positions.push_back(note.position);
        EXPECT_EQ(positions, c.positions) << c.text << ": " << c.why;
    }
}

struct DoubtCase {
    std::string text;
    std::size_t position;
    const char* why;
};

TEST(EncodeNotation, TextThatMayBeNumbersIsDoubtful) {
    const DoubtCase cases[] = {
        {"81,01,,02", 6, "an empty place"},
        {"8101040", 6, "an odd number of digits"},
        {" 8101040 ", 7, "with blanks around"},
        {"0x810", 4, "one and a half bytes"},
        {"FFh", 0, "a letter behind digits in capitals"},
        {"FFh FEh", 0, "two of them"},
        {"81 01 01;04", 8, "separators that change"},
        {"0x41 42", 5, "marks that change"},
        {"8101 04FF", 2, "groups of two bytes"},
        {"02 50 4F CR", 9, "a name without brackets"},
        {"02 50 4F\\r", 8, "an escape that nothing separates"},
        {"81,01,,02 \\r", 6, "an escape behind them"},
        {"504F4E<CR>", 6, "plain digits and a name"},
        {"504F4E\\r", 6, "and an escape"},
        {"PON{CR}", 3, "a name in braces"},
        {"PON(CR)", 3, "a name in parentheses"},
        {"8l 01 04", 1, "a letter that looks like a digit"},
        {"81 01 O4 00 02 FF", 6, "another one"},
        {"81 01 04 00 02 FG", 16, "a letter beside the digits"},
        {"81010400O2FF", 8, "a letter in plain digits"},
    };
    for (const DoubtCase& c : cases) {
        const Reading reading = read_as_most_likely(c.text);
        EXPECT_EQ(reading.notation, Notation::kText) << c.why;
        EXPECT_EQ(is_doubtful(reading), true) << c.why;
        for (const Note& note : reading.notes) {
            if (!note.doubtful) continue;
            EXPECT_EQ(note.position, c.position) << c.why;
            EXPECT_TRUE(note.text.starts_with("doubtful: read as text; force it with --notation ("))
                << note.text;
        }
        EXPECT_FALSE(is_doubtful(read_as(Notation::kText, c.text))) << c.why;
    }
}

TEST(EncodeNotation, OrdinaryTextIsBeyondDoubt) {
    const char* const texts[] = {
        "",
        "5",
        "12",
        "POWER ON",
        "ABC",
        "ADD BED",
        "FADE 10",
        "A B",
        "$5",
        "100%",
        "%1",
        "Ah",
        "Bah",
        "BAH",
        "10 PRINT",
        "INPUT 3",
        "\\x02ADD",
        "INPUT[10]",
        "192.168.1.1",
        "{{CR}}",
        "(US)",
        "f(x)",
        "{on}",
        "PON<CR>",
        "+3",
        "\"8101040\"",
        "\"PON{CR}\"",
        "%1POWR 1",
        "<STX>ON1\\r",
        "1234\\r",
        "FACE<CR>",
        "A1<CR>",
        "$0D\\0",
        "12 of 15",
        "AB CD to",
        "01 02 ok",
        "ON 01 02",
        "IN 01",
        "20261121OK",
        "CHANNEL1",
    };
    for (const char* const text : texts) {
        EXPECT_FALSE(is_doubtful(read_as_most_likely(text))) << text;
    }
}

TEST(EncodeTerminator, IsNoGuess) {
    EXPECT_THROW((void)read_terminator("0x0D0"), Misfit);
    EXPECT_THROW((void)read_terminator("{CR}"), Misfit);
}

TEST(EncodeTerminator, NeedsNoBrackets) {
    const struct {
        std::string text;
        std::string expected;
        const char* why;
    } cases[] = {
        {"CR", "\r", "a name"},
        {"crlf", "\r\n", "small letters"},
        {"<ETX>", "\x03", "in brackets"},
        {"\\r\\n", "\r\n", "escapes"},
        {"0D0A", "\r\n", "digits"},
        {"0x0D", "\r", "a number"},
        {";", ";", "text"},
        {"", "", "nothing"},
    };
    for (const auto& c : cases) EXPECT_EQ(read_terminator(c.text), c.expected) << c.why;
}

}  // namespace
}  // namespace ruvo::ctl
