#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>

namespace ruvo {

// Waiting for a word of memory to change, up to a time: std::atomic waits without one.

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

inline timespec to_timespec(std::chrono::steady_clock::time_point instant) {
    const auto ns = std::chrono::nanoseconds(instant.time_since_epoch()).count();
    timespec result{};
    result.tv_sec = static_cast<time_t>(ns / 1'000'000'000);
    result.tv_nsec = static_cast<long>(ns % 1'000'000'000);
    return result;
}

// Returns when the word no longer holds the value, as a rule once wake_all has been
// called; false when it is too late for that, or the kernel can't wait.
inline bool wait_while(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                       std::chrono::steady_clock::time_point latest) {
#if defined(SYS_futex_time64)
    constexpr long kCall = SYS_futex_time64;  // where a long is too short for a time
#else
    constexpr long kCall = SYS_futex;
#endif
    const timespec until = to_timespec(latest);
    const long result = ::syscall(kCall, &word, FUTEX_WAIT_BITSET_PRIVATE, value, &until, nullptr,
                                  FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno == EAGAIN || errno == EINTR;
}

inline void wake_all(std::atomic<std::uint32_t>& word) {
#if defined(SYS_futex_time64)
    constexpr long kCall = SYS_futex_time64;
#else
    constexpr long kCall = SYS_futex;
#endif
    (void)::syscall(kCall, &word, FUTEX_WAKE_PRIVATE, INT_MAX);
}

}  // namespace ruvo
