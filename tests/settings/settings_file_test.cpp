#include "settings/settings_file.h"

#include "tests/support/memory_stream.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

EventDefinitions settings_of(std::string text) {
    const UniqueFile stream = test::stream_of(text);
    return read_settings(stream.get());
}

TEST(ReadSettings, KeepsTheLinesInFileOrder) {
    const EventDefinitions expected{{1, "PowerOn", "Count", "", "1"},
                                    {2, "PowerOn", "IP", "0", "1.2.3.4"},
                                    {1, "PowerOn", "Count", "", "2"}};
    EXPECT_EQ(settings_of("PowerOnCount=1\nPowerOnIP0=1.2.3.4\nPowerOnCount=2\n"), expected);
}

TEST(ReadSettings, SkipsLinesWithoutAnEqualsSign) {
    const EventDefinitions expected{{0, "a", "", "", "1"}};
    EXPECT_EQ(settings_of("\n# remark\na=1\nnothing here\n"), expected);
}

TEST(ReadSettings, TakesALastLineWithoutALineFeed) {
    const EventDefinitions expected{{1, "PowerOn", "Count", "", ""}};
    EXPECT_EQ(settings_of("PowerOnCount="), expected);
}

TEST(ReadSettings, KeepsTheCarriageReturnOfACrlfFile) {
    const EventDefinitions expected{{1, "PowerOn", "Count", "", "3\r"}};
    EXPECT_EQ(settings_of("PowerOnCount=3\r\n"), expected);
}

TEST(ReadSettings, EndsALineAtItsFirstZeroByte) {
    const EventDefinitions expected{{0, "a", "", "", "1"}, {0, "b", "", "", "2"}};
    EXPECT_EQ(settings_of("a=1\0002\nzero\0=1\nb=2\n"s), expected);
}

TEST(ReadSettings, ReadsALongestLineWhole) {
    const std::string value = test::repeated(2044, 'x');
    const EventDefinitions expected{{0, "a", "", "", value}, {0, "b", "", "", "2"}};
    EXPECT_EQ(settings_of("a=" + value + "\nb=2\n"), expected);
}

TEST(ReadSettings, SkipsAPieceOfALongLineThatHasNoEqualsSign) {
    const EventDefinitions expected{{0, "a", "", "", test::repeated(2045, 'x')},
                                    {0, "b", "", "", "2"}};
    EXPECT_EQ(settings_of("a=" + test::repeated(3000, 'x') + "\nb=2\n"), expected);
}

TEST(ReadSettings, SplitsEachPieceOfALongLineAtItsOwnEqualsSign) {
    const EventDefinitions expected{{0, "a", "", "", test::repeated(2045, 'x')},
                                    {1, "PowerOn", "Count", "", "3=4"}};
    EXPECT_EQ(settings_of("a=" + test::repeated(2045, 'x') + "PowerOnCount=3=4\n"), expected);
}

TEST(ReadSettings, ReadsTheLineFeedOfAFullPieceAsALineOfItsOwn) {
    const EventDefinitions expected{{0, "a", "", "", test::repeated(2045, 'x')},
                                    {0, "b", "", "", "2"}};
    EXPECT_EQ(settings_of("a=" + test::repeated(2045, 'x') + "\nb=2\n"), expected);
}

}  // namespace
}  // namespace ruvo
