// Sets the daemon's wall clock to another time while it runs: the file that
// RUVO_WALL_CLOCK_JUMP names holds the seconds to add, as a 64-bit number.

#include <sys/time.h>
#include <time.h>

#include "next_call.h"
#include "shared_number.h"

namespace {

constinit SharedNumber jump;

__attribute__((constructor)) void prepare() { jump.open("RUVO_WALL_CLOCK_JUMP"); }

}  // namespace

extern "C" {

time_t time(time_t* result) noexcept {
    static constinit NextCall<time_t(time_t*)> next("time");
    const time_t now = next.get()(nullptr) + jump.value();
    if (result != nullptr) *result = now;
    return now;
}

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    static constinit NextCall<int(clockid_t, timespec*)> next("clock_gettime");
    const int status = next.get()(clock, now);
    if (status == 0 && clock == CLOCK_REALTIME) now->tv_sec += jump.value();
    return status;
}

int gettimeofday(timeval* now, void* zone) noexcept {
    static constinit NextCall<int(timeval*, void*)> next("gettimeofday");
    const int status = next.get()(now, zone);
    if (status == 0) now->tv_sec += jump.value();
    return status;
}

}  // extern "C"
