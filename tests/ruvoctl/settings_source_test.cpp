#include "ruvoctl/settings_source.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo::ctl {
namespace {

using namespace std::string_literals;

TEST(ReadSource, FindsEveryRecordAndWhereItStands) {
    const SettingsSource source = read_source("# text\r\nPowerOnCount=1\r\n\nPowerOnIP0=10.1.2.3");
    ASSERT_EQ(source.definitions.size(), 2U);
    EXPECT_EQ(source.definitions[0].name, "PowerOn");
    EXPECT_EQ(source.definitions[0].value, "1\r");
    EXPECT_EQ(source.key(1), "PowerOnIP0");
    EXPECT_EQ(source.line_of(0), 2U);
    EXPECT_EQ(source.line_of(1), 4U);
    EXPECT_EQ(source.text.substr(source.value_offset(1)), "10.1.2.3");
    EXPECT_EQ(source.position(source.value_offset(1)).column, 12U);
    EXPECT_EQ(source.line_text(2), "PowerOnCount=1\r");
    EXPECT_EQ(source.line_text(4), "PowerOnIP0=10.1.2.3");
}

TEST(ReadSource, ALineLongerThanTheBufferComesInPieces) {
    const std::string value(2047 - 3, 'x');
    const SettingsSource source = read_source("AB=" + value + "CD=2\nE=3\n");
    ASSERT_EQ(source.definitions.size(), 3U);
    EXPECT_EQ(source.definitions[0].value, value);
    EXPECT_EQ(source.key(1), "CD");
    EXPECT_EQ(source.position(source.key_offset(1)).line, 1U);
    EXPECT_EQ(source.position(source.key_offset(1)).column, 2048U);
    EXPECT_EQ(source.line_of(2), 2U);
}

TEST(ReadSource, ALineThatFillsTheBufferLeavesAnEmptyPiece) {
    const SettingsSource source = read_source(std::string(2046, 'x') + "=\nE=3\n");
    EXPECT_EQ(source.pieces.size(), 3U);
    EXPECT_EQ(source.pieces[1].length, 1U);
    EXPECT_EQ(source.definitions.size(), 2U);
}

TEST(ReadSource, ALineEndsAtItsFirstZeroByteAndTheNextOneIsReadAgain) {
    const SettingsSource source = read_source("A=1\0xB=2\nC=3\n"s);
    ASSERT_EQ(source.definitions.size(), 2U);
    EXPECT_EQ(source.definitions[0].value, "1");
    EXPECT_EQ(source.key(1), "C");
    EXPECT_EQ(source.line_of(1), 2U);
}

TEST(ReadSource, AnEmptyFileHasNoRecord) {
    EXPECT_TRUE(read_source("").definitions.empty());
    EXPECT_EQ(read_source("").position(0).line, 1U);
}

}  // namespace
}  // namespace ruvo::ctl
