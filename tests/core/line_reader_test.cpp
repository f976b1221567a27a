#include "core/line_reader.h"

#include "tests/support/memory_stream.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ruvo {
namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;

template <std::size_t Capacity>
Lines lines_of(std::string text) {
    const UniqueFile stream = test::stream_of(text);
    LineReader<Capacity> reader(stream.get());
    Lines lines;
    while (const auto line = reader.next()) lines.emplace_back(*line);
    return lines;
}

Lines lines_of(const std::string& text) { return lines_of<kLineBufferBytes>(text); }

TEST(LineReader, KeepsTheLineFeedOfEachLine) {
    EXPECT_EQ(lines_of("one\n\nthree\n"), (Lines{"one\n", "\n", "three\n"}));
}

TEST(LineReader, GivesALastLineWithoutALineFeed) {
    EXPECT_EQ(lines_of("one\ntwo"), (Lines{"one\n", "two"}));
}

TEST(LineReader, KeepsACarriageReturn) { EXPECT_EQ(lines_of("one\r\n"), (Lines{"one\r\n"})); }

TEST(LineReader, GivesNothingForAnEmptyStream) {
    UniqueFile nothing(std::fopen("/dev/null", "r"));
    LineReader<kLineBufferBytes> reader(nothing.get());
    EXPECT_FALSE(reader.next());
}

TEST(LineReader, StaysAtTheEnd) {
    std::string text = "one\n";
    const UniqueFile stream = test::stream_of(text);
    LineReader<kLineBufferBytes> reader(stream.get());
    EXPECT_TRUE(reader.next());
    EXPECT_FALSE(reader.next());
    EXPECT_FALSE(reader.next());
}

TEST(LineReader, GivesALineThatFitsTheBufferInOnePiece) {
    const std::string line = test::repeated(2046, 'a') + "\n";
    EXPECT_EQ(lines_of(line + "b\n"), (Lines{line, "b\n"}));
}

TEST(LineReader, SplitsALineOneCharacterTooLong) {
    EXPECT_EQ(lines_of(test::repeated(2047, 'a') + "\nb\n"),
              (Lines{test::repeated(2047, 'a'), "\n", "b\n"}));
}

TEST(LineReader, SplitsALongLineIntoPiecesOfTheBufferLessOne) {
    EXPECT_EQ(lines_of(test::repeated(5000, 'a') + "\n"),
              (Lines{test::repeated(2047, 'a'), test::repeated(2047, 'a'),
                     test::repeated(906, 'a') + "\n"}));
}

TEST(LineReader, SplitsByTheCapacityItIsGiven) {
    EXPECT_EQ(lines_of<4>("abcdefgh\n"), (Lines{"abc", "def", "gh\n"}));
}

TEST(LineReader, EndsALineAtItsFirstZeroByte) {
    EXPECT_EQ(lines_of("ab\0cd\nef\n"s), (Lines{"ab", "ef\n"}));
}

TEST(LineReader, GivesAnEmptyLineForALeadingZeroByte) {
    EXPECT_EQ(lines_of("\0ab\ncd\n"s), (Lines{"", "cd\n"}));
}

}  // namespace
}  // namespace ruvo
