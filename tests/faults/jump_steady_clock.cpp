// Sets the daemon's steady clock ahead while it runs: the file that
// RUVO_CLOCK_JUMP names holds the nanoseconds to add, as a 64-bit number.

#include <time.h>

#include "next_call.h"
#include "shared_number.h"

namespace {

constexpr std::int64_t kSecond = 1000000000;

constinit SharedNumber jump;

__attribute__((constructor)) void prepare() { jump.open("RUVO_CLOCK_JUMP"); }

timespec moved(const timespec& time, std::int64_t nanoseconds) {
    const std::int64_t moved = time.tv_sec * kSecond + time.tv_nsec + nanoseconds;
    return {.tv_sec = moved / kSecond, .tv_nsec = moved % kSecond};
}

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    static constinit NextCall<int(clockid_t, timespec*)> next("clock_gettime");
    const int result = next.get()(clock, now);
    if (result == 0 && clock == CLOCK_MONOTONIC) *now = moved(*now, jump.value());
    return result;
}

// Who waits until a moment of this clock waits no longer than before.
int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* rest) {
    static constinit NextCall<int(clockid_t, int, const timespec*, timespec*)> next(
        "clock_nanosleep");
    if (clock != CLOCK_MONOTONIC || flags != TIMER_ABSTIME)
        return next.get()(clock, flags, time, rest);
    const timespec until = moved(*time, -jump.value());
    return next.get()(clock, flags, &until, rest);
}

}  // extern "C"
