#pragma once

#include <atomic>
#include <cstdlib>
#include <limits>

// Which calls of one wrapped function fail, told by an environment variable:
// "2" the second call, "2-4" the second to the fourth, "2-" the second and
// every later one. Calls count from 1; without the variable none fails.
class CallRange {
  public:
    explicit CallRange(const char* variable) {
        const char* const text = std::getenv(variable);
        if (text == nullptr) return;
        char* end = nullptr;
        first_ = std::strtol(text, &end, 10);
        last_ = first_;
        if (*end != '-') return;
        const char* const rest = end + 1;
        last_ = *rest == '\0' ? std::numeric_limits<long>::max() : std::strtol(rest, nullptr, 10);
    }

    // Counts one call and says whether it is to fail.
    bool next_fails() {
        const long call = ++calls_;
        return call >= first_ && call <= last_;
    }

  private:
    long first_ = 0;
    long last_ = -1;
    std::atomic<long> calls_{0};
};
