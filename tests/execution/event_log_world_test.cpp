#include "execution/event_log.h"

#include "tests/support/files.h"
#include "tests/support/output.h"
#include "tests/support/text.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace ruvo {
namespace {

constexpr char kEventLog[] = "/var/log/ruvoevent.log";

class EventLogTest : public test::WorldTest {};

TEST_F(EventLogTest, ALineBeginsWithTheLocalTimeAndTwoBlanks) {
    write_event_log("192.0.2.1:9000 UDP Hello\n");
    const std::string expected =
        "[0-9]{4}-[01][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3}  "
        "192\\.0\\.2\\.1:9000 UDP Hello\n";
    EXPECT_TRUE(test::matches(test::text_of(kEventLog), expected)) << test::text_of(kEventLog);
}

TEST_F(EventLogTest, ALineIsAppendedWhole) {
    test::write_text(kEventLog, "before\n");
    write_event_log(test::repeated(3000, 'x') + "\n");
    const std::string text = test::text_of(kEventLog);
    EXPECT_TRUE(text.starts_with("before\n2"));
    EXPECT_TRUE(text.ends_with("  " + test::repeated(3000, 'x') + "\n"));
}

TEST_F(EventLogTest, ALineStaysOffStandardOutputAndTheOtherLog) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([] { write_event_log("line\n"); }), "");
    EXPECT_EQ(log(), "");
}

TEST_F(EventLogTest, NoLogLevelSilencesIt) {
    g_log_level = 0;
    write_event_log("line\n");
    EXPECT_TRUE(test::text_of(kEventLog).ends_with("  line\n"));
}

TEST_F(EventLogTest, AFileThatCannotBeOpenedIsSilent) {
    std::filesystem::create_directory(kEventLog);
    EXPECT_EQ(test::output_of([] { write_event_log("line\n"); }), "");
    EXPECT_EQ(log(), "");
}

TEST_F(EventLogTest, NeverRotates) {
    for (int i = 0; i < 20001; ++i) write_event_log("\n");
    EXPECT_FALSE(std::filesystem::exists("/var/log/ruvoevent.log.1"));
    EXPECT_FALSE(std::filesystem::exists(test::kRotatedLog));
    EXPECT_EQ(std::filesystem::file_size(kEventLog), 20001U * 26U);
}

}  // namespace
}  // namespace ruvo
