#pragma once

#include <time.h>

#include <chrono>
#include <cstdint>

namespace ruvo {

inline constexpr std::int64_t kNsPerMs = 1'000'000;
inline constexpr std::int64_t kNsPerSecond = 1'000'000'000;

// An instant as the kernel takes it: on its monotonic clock, which this one is.
inline timespec to_timespec(std::chrono::steady_clock::time_point instant) {
    const std::int64_t ns = std::chrono::nanoseconds(instant.time_since_epoch()).count();
    timespec result{};
    result.tv_sec = static_cast<time_t>(ns / kNsPerSecond);
    result.tv_nsec = static_cast<long>(ns % kNsPerSecond);
    return result;
}

}  // namespace ruvo
