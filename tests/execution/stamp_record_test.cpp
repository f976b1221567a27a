#include "execution/stamp_record.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

TEST(StampRecord, CountsTheDelayFromTheMomentOfQueueing) {
    struct Case {
        std::int32_t delay;
        std::int32_t test;
        std::int64_t expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {0, 0, 5, "no delay"},
        {1, 0, 5 + kSecond, "a second"},
        {-1, 0, 5 - kSecond, "a negative delay"},
        {2147483647, 0, 5 + 2147483647 * kSecond, "the longest delay"},
        {-2147483647 - 1, 0, 5 - 2147483648 * kSecond, "the shortest delay"},
        {1, 1, 5, "a test event is due at once"},
        {-1, 1, 5, "in any case"},
        {1, 2, 5 + kSecond, "only 1 marks an event that is due at once"},
    };
    for (const Case& c : kCases) {
        EventEntry record{"E", "X", 0, 0, {}, 0, c.delay, 0};
        stamp_record(record, 5, c.test);
        EXPECT_EQ(record.t_ns_cread, 5) << c.why;
        EXPECT_EQ(record.t_ns_exec, c.expected) << c.why;
        EXPECT_EQ(record.test, c.test) << c.why;
    }
}

TEST(StampRecord, LeavesTheRestOfTheRecord) {
    EventEntry record{"E", "X", 1, 2, {SubCommand{"ip", "port", "UDP", "data", 1, 2}}, 2, 3, 4};
    EventEntry expected = record;
    expected.t_ns_cread = 7;
    expected.t_ns_exec = 7 + 3 * kSecond;
    expected.test = 0;
    stamp_record(record, 7, 0);
    EXPECT_EQ(record, expected);
}

TEST(CountLines, CountsEveryLineOfATrigger) {
    struct Case {
        const char* trigger;
        std::ptrdiff_t expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"", 0, "an empty text has no line"},
        {"PowerOn", 1, "a final piece without a line feed is a line"},
        {"PowerOn\n", 1, "a line"},
        {"\n", 1, "an empty line is a line"},
        {"A\nB", 2, "a line and a final piece"},
        {"A\n\n", 2, "a line and an empty one"},
    };
    for (const Case& c : kCases) EXPECT_EQ(count_lines(c.trigger), c.expected) << c.why;
}

}  // namespace
}  // namespace ruvo
