#pragma once

#include <chrono>

namespace ruvo::devkit {

// Moves this process into a time namespace in which the time since boot is
// `uptime` now; CLOCK_MONOTONIC stays as it is. Takes effect for this process and
// all that it starts. Throws std::system_error.
void enter_uptime(std::chrono::nanoseconds uptime);

}  // namespace ruvo::devkit
