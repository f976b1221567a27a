#pragma once

#include <chrono>

namespace ruvo::devkit {

// The time left in the form that poll and epoll_wait take: rounded up, so that
// the moment has come when they return; 0 when it has passed.
int ms_until(std::chrono::steady_clock::time_point moment);

}  // namespace ruvo::devkit
