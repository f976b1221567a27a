#include "ruvoctl/plan/local_time_text.h"
#include "ruvoctl/plan/plan_words.h"

#include <gtest/gtest.h>

namespace ruvo::ctl {
namespace {

TEST(ParseLocalTime, TakesDaysAndTimesThatThereAre) {
    struct Case {
        const char* text;
        const char* expected;  // empty: none
        const char* why;
    };
    constexpr Case kCases[] = {
        {"2026-11-21 03:18:38", "2026-11-21 03:18:38", "with a blank"},
        {"2026-11-21T03:18:38", "2026-11-21 03:18:38", "with a T"},
        {"2024-02-29 00:00:00", "2024-02-29 00:00:00", "a leap day"},
        {"2026-12-31 23:59:60", "2026-12-31 23:59:60", "a leap second"},
        {"0001-01-01 00:00:00", "0001-01-01 00:00:00", "long ago"},
        {"2026-02-29 00:00:00", "", "no leap year"},
        {"2026-13-01 00:00:00", "", "no month"},
        {"2026-00-01 00:00:00", "", "no month either"},
        {"2026-01-00 00:00:00", "", "no day"},
        {"2026-01-01 24:00:00", "", "no hour"},
        {"2026-01-01 00:60:00", "", "no minute"},
        {"2026-01-01 00:00:61", "", "no second"},
        {"2026-1-01 00:00:00", "", "one digit"},
        {"2026-01-01t00:00:00", "", "another letter"},
        {"2026-01-01 00:00", "", "no seconds"},
        {"2026-01-01 00:00:00 ", "", "something behind it"},
        {"+026-01-01 00:00:00", "", "a sign"},
        {"", "", "nothing"},
    };
    for (const Case& c : kCases) {
        const auto time = parse_local_time(c.text);
        EXPECT_EQ(time ? time_text(*time) : "", c.expected) << c.why;
    }
}

}  // namespace
}  // namespace ruvo::ctl
