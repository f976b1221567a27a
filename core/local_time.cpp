#include "core/local_time.h"

#include "core/mutex.h"

#include <sys/time.h>

namespace ruvo {

LocalTime local_time_now() {
    static Mutex zone_guard;  // the zone is one for the process, and changes under tzset
    timeval now{};
    ::gettimeofday(&now, nullptr);
    LocalTime result;
    {
        const Guard guard(zone_guard);
        ::tzset();  // unlike localtime, the reentrant form does not look for a new zone
        ::localtime_r(&now.tv_sec, &result.calendar);
    }
    result.milliseconds = static_cast<std::int32_t>(now.tv_usec / 1000);
    return result;
}

}  // namespace ruvo
