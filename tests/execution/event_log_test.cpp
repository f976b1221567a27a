#include "execution/event_log.h"

#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

using namespace std::string_literals;

SubCommand step(const std::string& data) { return {"192.0.2.1", "9000", "UDP", data, 0, 0}; }

TEST(EventLogTimestamp, PadsEveryPartAndEndsInABlank) {
    LocalTime time;
    time.calendar.tm_year = 124;
    time.calendar.tm_mon = 9;
    time.calendar.tm_mday = 17;
    time.calendar.tm_hour = 3;
    time.calendar.tm_min = 18;
    time.calendar.tm_sec = 38;
    time.milliseconds = 250;
    EXPECT_EQ(event_log_timestamp(time), "2024-10-17 03:18:38.250 ");
    time.calendar.tm_mon = 0;
    time.calendar.tm_mday = 2;
    time.calendar.tm_hour = 0;
    time.calendar.tm_min = 4;
    time.calendar.tm_sec = 5;
    time.milliseconds = 6;
    EXPECT_EQ(event_log_timestamp(time), "2024-01-02 00:04:05.006 ");
}

TEST(SentLine, ShowsDestinationProtocolAndData) {
    struct Case {
        std::string data;
        const char* line;
        const char* why;
    };
    const Case cases[] = {
        {"", "192.0.2.1:9000 UDP \n", "no data"},
        {"Hello", "192.0.2.1:9000 UDP Hello\n", "text"},
        {"Hello\r\n", "192.0.2.1:9000 UDP Hello\r\n\n", "a line end in the data"},
        {"ab\0cd"s, "192.0.2.1:9000 UDP ab\n", "up to the first zero byte"},
        {"\0"s, "192.0.2.1:9000 UDP \n", "nothing before the zero byte"},
        {"100%s%n", "192.0.2.1:9000 UDP 100%s%n\n", "data is no format"},
    };
    for (const Case& c : cases) EXPECT_EQ(sent_line(step(c.data)), c.line) << c.why;
}

TEST(SentLine, ShowsTheWholeData) {
    EXPECT_EQ(sent_line(step(test::repeated(3000, 'x'))),
              "192.0.2.1:9000 UDP " + test::repeated(3000, 'x') + "\n");
}

TEST(SentLine, ShowsTheSettingsAsTheyAre) {
    EXPECT_EQ(sent_line({"not an address", "port", "tcp", "D", 0, 0}),
              "not an address:port tcp D\n");
}

TEST(PowerOnSkipLine, BeginsWithTheUptime) {
    EXPECT_EQ(power_on_skip_line(step("Hello"), 61), "skip uptime=61,192.0.2.1:9000 UDP Hello\n");
    EXPECT_EQ(power_on_skip_line(step("ab\0cd"s), 0), "skip uptime=0,192.0.2.1:9000 UDP ab\n");
}

TEST(DisabledLine, EndsWithTheUptime) {
    EXPECT_EQ(disabled_line(step("Hello"), 5000),
              "192.0.2.1:9000 UDP Hello, disabled uptime=5000\n");
    EXPECT_EQ(disabled_line(step("ab\0cd"s), -1), "192.0.2.1:9000 UDP ab, disabled uptime=-1\n");
}

TEST(EventLogLines, ShowAnUptimeOfMoreThanThirtyTwoBits) {
    constexpr std::int64_t kUptime = 9'000'000'000;
    EXPECT_EQ(power_on_skip_line(step(""), kUptime),
              "skip uptime=9000000000,192.0.2.1:9000 UDP \n");
    EXPECT_EQ(disabled_line(step(""), kUptime),
              "192.0.2.1:9000 UDP , disabled uptime=9000000000\n");
}

}  // namespace
}  // namespace ruvo
