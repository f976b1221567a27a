#pragma once

#include <atomic>
#include <cstdint>

namespace ruvo {

struct DaemonContext;
struct ServerContext;

// The process-wide values. The two pointers are set by the main thread before
// it starts any other thread and never change again; the objects live as long
// as the process. The words are read by any thread and carry no other data with
// them, so relaxed order is enough.

inline DaemonContext* g_daemon_ctx = nullptr;
inline ServerContext* g_server_ctx = nullptr;

// Seconds of system uptime as the supervision loop last measured it.
inline std::atomic<std::int64_t> g_uptime{0};
// 0, then 1 for good once the uptime is above kPowerOnWindowSeconds.
inline std::atomic<std::int32_t> g_power_on_window_over{0};
// Seconds since the epoch at the start of the supervision loop.
inline std::atomic<std::int64_t> g_start_time{0};
// 1 once start-up has announced its pid file (or with -d).
inline std::atomic<std::int32_t> g_log_ready{0};
// 1 with -d: debug messages are written.
inline std::atomic<std::int32_t> g_debug_flag{0};
// Stored and never consulted: every message is written whatever the level.
inline std::atomic<std::int32_t> g_log_level{3};

inline constexpr std::int64_t kPowerOnWindowSeconds = 120;

inline bool debug_enabled() { return g_debug_flag.load(std::memory_order_relaxed) == 1; }

}  // namespace ruvo
