#pragma once

#include "core/time_units.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>

namespace ruvo {

// Waiting for a word of memory to change, but not for ever: std::atomic knows no such
// wait. Any thread.

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t) &&
              std::atomic<std::uint32_t>::is_always_lock_free);

// Where a long is too short for a time, the kernel has a call of its own for long times,
// from version 5.1 on. With an older one nobody can wait.
#if defined(SYS_futex_time64)
inline constexpr long kFutexCall = sizeof(timespec::tv_sec) > sizeof(long) ? SYS_futex_time64
                                                                           : SYS_futex;
#else
inline constexpr long kFutexCall = SYS_futex;
#endif

// Returns once the word may no longer hold the value, at the latest when it is woken by
// wake_all behind a change; false when the time has come, or when the kernel can't wait.
inline bool wait_while(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                       std::chrono::steady_clock::time_point latest) {
    const timespec until = to_timespec(latest);
    const long result = ::syscall(kFutexCall, &word, FUTEX_WAIT_BITSET_PRIVATE, value, &until,
                                  nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno == EAGAIN || errno == EINTR;
}

// Wakes everyone who waits for the word; to be called behind each change.
inline void wake_all(const std::atomic<std::uint32_t>& word) {
    (void)::syscall(kFutexCall, &word, FUTEX_WAKE_PRIVATE, INT_MAX);
}

}  // namespace ruvo
