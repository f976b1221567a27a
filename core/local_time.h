#pragma once

#include <cstdint>
#include <ctime>

namespace ruvo {

// A reading of the wall clock in local time.
struct LocalTime {
    std::tm calendar{};
    std::int32_t milliseconds = 0;
};

// Reads the wall clock; a change of the system's time zone takes effect at the
// next reading. Any thread.
LocalTime local_time_now();

}  // namespace ruvo
