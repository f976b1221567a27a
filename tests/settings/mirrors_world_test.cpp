#include "settings/mirrors.h"

#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/text.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

constexpr char kMirror[] = "/tmp/ruvo_mirror.txt";

class MirrorTest : public test::DaemonTest {
  protected:
    MirrorTest() {
        context_.normalEntries.set({{1, "PowerOn", "Count", "", "1"},
                                    {2, "PowerOn", "Data", "0", "410042"},
                                    {2, "PowerOn", "IP", "0", "1.2.3.4\r"}});
        context_.testEntries.set({{1, "TestOnly", "Count", "", "9"}});
    }
};

TEST_F(MirrorTest, TheAsciiMirrorCutsALineAtItsFirstZeroByte) {
    EXPECT_EQ(write_ascii_mirror(context_, kMirror), 0);
    EXPECT_EQ(test::text_of(kMirror), "PowerOnCount=1\nPowerOnData0=APowerOnIP0=1.2.3.4\r\n");
}

TEST_F(MirrorTest, TheDumpGivesEveryLineBack) {
    EXPECT_EQ(dump(context_, kMirror), 0);
    EXPECT_EQ(test::text_of(kMirror),
              "PowerOnCount=1\nPowerOnData0=410042\nPowerOnIP0=1.2.3.4\r\n");
}

TEST_F(MirrorTest, BothCutALineAtAZeroByteOfKeyOrValue) {
    context_.normalEntries.set(
        {{1, "A", "Count", "", "1\0x"s}, {0, "B\0C"s, "", "", "2"}, {2, "D", "IP", "0", "3"}});
    EXPECT_EQ(write_ascii_mirror(context_, kMirror), 0);
    EXPECT_EQ(test::text_of(kMirror), "ACount=1BDIP0=3\n");
    EXPECT_EQ(dump(context_, kMirror), 0);
    EXPECT_EQ(test::text_of(kMirror), "ACount=1BDIP0=3\n");
}

TEST_F(MirrorTest, AFailureInTheMiddleOfWritingIsNotNoticed) {
    EXPECT_EQ(test::output_of([this] {
                  EXPECT_EQ(write_ascii_mirror(context_, "/dev/full"), 0);
                  EXPECT_EQ(dump(context_, "/dev/full"), 0);
              }),
              "");
    EXPECT_EQ(log(), "");
}

TEST_F(MirrorTest, ReplacesWhatThePathHolds) {
    test::write_text(kMirror, test::repeated(5000, 'x'));
    EXPECT_EQ(dump(context_, kMirror), 0);
    EXPECT_EQ(test::text_of(kMirror),
              "PowerOnCount=1\nPowerOnData0=410042\nPowerOnIP0=1.2.3.4\r\n");
}

TEST_F(MirrorTest, AnEmptyStoreGivesEmptyFiles) {
    context_.normalEntries.set({});
    test::write_text(kMirror, "old");
    EXPECT_EQ(write_ascii_mirror(context_, kMirror), 0);
    EXPECT_TRUE(test::is_file(kMirror));
    EXPECT_EQ(test::text_of(kMirror), "");
    test::write_text(kMirror, "old");
    EXPECT_EQ(dump(context_, kMirror), 0);
    EXPECT_EQ(test::text_of(kMirror), "");
}

TEST_F(MirrorTest, AnEmptyPathIsAFailureWithoutAMessage) {
    EXPECT_EQ(test::output_of([this] {
                  EXPECT_EQ(write_ascii_mirror(context_, ""), -1);
                  EXPECT_EQ(dump(context_, ""), -1);
              }),
              "");
}

TEST_F(MirrorTest, APathThatCannotBeOpenedIsAFailureWithoutAMessage) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] {
                  EXPECT_EQ(write_ascii_mirror(context_, "/tmp/ruvo_none/mirror"), -1);
                  EXPECT_EQ(dump(context_, "/tmp/ruvo_none/mirror"), -1);
              }),
              "");
    EXPECT_EQ(log(), "");
}

TEST_F(MirrorTest, TheDumpTellsItsPathWhileDebugging) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] { (void)dump(context_, kMirror); }),
              "[dump:733] dump _q_ruvo to /tmp/ruvo_mirror.txt\n");
}

TEST_F(MirrorTest, TheAsciiMirrorIsSilentWhileDebugging) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] { (void)write_ascii_mirror(context_, kMirror); }), "");
}

}  // namespace
}  // namespace ruvo
