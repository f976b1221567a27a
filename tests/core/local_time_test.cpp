#include "core/local_time.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <string>

namespace ruvo {
namespace {

using std::chrono::floor;
using std::chrono::seconds;
using std::chrono::system_clock;

// Changes the process's time zone for a test.
class TimeZone {
  public:
    TimeZone() : before_(::getenv("TZ") == nullptr ? "" : ::getenv("TZ")) {}
    ~TimeZone() {
        if (before_.empty()) {
            ::unsetenv("TZ");
        } else {
            set(before_.c_str());
        }
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

    static void set(const char* zone) { ::setenv("TZ", zone, 1); }

  private:
    std::string before_;
};

std::time_t seconds_of(const LocalTime& time) {
    std::tm calendar = time.calendar;
    return ::timegm(&calendar);
}

TEST(LocalTime, IsTheWallClock) {
    const TimeZone zone;
    TimeZone::set("UTC0");
    // std::time looks at a clock that lags behind by a tick.
    const std::time_t before = system_clock::to_time_t(floor<seconds>(system_clock::now()));
    const LocalTime reading = local_time_now();
    const std::time_t after = system_clock::to_time_t(floor<seconds>(system_clock::now()));
    EXPECT_GE(seconds_of(reading), before);
    EXPECT_LE(seconds_of(reading), after);
    EXPECT_GE(reading.milliseconds, 0);
    EXPECT_LE(reading.milliseconds, 999);
}

TEST(LocalTime, FollowsAChangeOfTheTimeZone) {
    const TimeZone zone;
    TimeZone::set("UTC0");
    const std::time_t in_utc = seconds_of(local_time_now());
    TimeZone::set("EAST-5");
    const std::time_t five_hours_east = seconds_of(local_time_now());
    const std::time_t seconds_apart = five_hours_east - in_utc;
    EXPECT_GE(seconds_apart, 5 * 3600);
    EXPECT_LE(seconds_apart, 5 * 3600 + 60);
}

}  // namespace
}  // namespace ruvo
