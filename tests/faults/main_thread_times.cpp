// The daemon's main thread lives in a time that a test tells it: the file that
// RUVO_MAIN_THREAD_TIMES names holds the wall clock's seconds, the uptime and the orders
// below, and it gets how long that thread has slept. Other threads see the true time.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "next_call.h"

namespace {

// The order is that of tests/system/fault_orders.py.
struct Times {
    std::atomic<std::int64_t> wall_s;
    std::atomic<std::int64_t> uptime_s;
    // 1: in the next pass a second begins between the first two readings of the wall clock.
    std::atomic<std::int64_t> begin_second;
    std::atomic<std::int64_t> last_sleep_ns;
};

constexpr std::int64_t kUnreadable = std::numeric_limits<std::int64_t>::min();

Times* map_times() {
    const char* const path = std::getenv("RUVO_MAIN_THREAD_TIMES");
    if (path == nullptr || std::strcmp(program_invocation_short_name, "ruvotcpd") != 0)
        return nullptr;
    const int file = open(path, O_RDWR | O_CLOEXEC);
    if (file < 0) return nullptr;
    void* const memory = mmap(nullptr, sizeof(Times), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<Times*>(memory);
}

Times* times = nullptr;
int readings_in_pass = 0;

__attribute__((constructor)) void prepare() { times = map_times(); }

bool is_told() { return times != nullptr && getpid() == gettid(); }

time_t told_seconds() {
    if (++readings_in_pass == 2 && times->begin_second.exchange(0) != 0) ++times->wall_s;
    return static_cast<time_t>(times->wall_s);
}

}  // namespace

extern "C" {

time_t time(time_t* result) noexcept {
    static constinit NextCall<time_t(time_t*)> next("time");
    const time_t now = is_told() ? told_seconds() : next.get()(nullptr);
    if (result != nullptr) *result = now;
    return now;
}

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    static constinit NextCall<int(clockid_t, timespec*)> next("clock_gettime");
    const int status = next.get()(clock, now);
    if (clock == CLOCK_REALTIME && is_told()) now->tv_sec = told_seconds();
    return status;
}

int gettimeofday(timeval* now, void* zone) noexcept {
    static constinit NextCall<int(timeval*, void*)> next("gettimeofday");
    const int status = next.get()(now, zone);
    if (is_told()) now->tv_sec = told_seconds();
    return status;
}

int sysinfo(struct sysinfo* info) noexcept {
    static constinit NextCall<int(struct sysinfo*)> next("sysinfo");
    const int status = next.get()(info);
    if (!is_told()) return status;
    if (times->uptime_s == kUnreadable) {
        errno = EFAULT;
        return -1;
    }
    info->uptime = static_cast<long>(times->uptime_s);
    return 0;
}

int nanosleep(const timespec* duration, timespec* rest) {
    static constinit NextCall<int(const timespec*, timespec*)> next("nanosleep");
    if (is_told()) {
        times->last_sleep_ns = duration->tv_sec * std::int64_t{1000000000} + duration->tv_nsec;
        readings_in_pass = 0;
    }
    return next.get()(duration, rest);
}

}  // extern "C"
