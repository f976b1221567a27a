#pragma once

#include <chrono>
#include <thread>

namespace ruvo::test {

// Far beyond what anything here takes: only a test that fails waits so long.
inline constexpr std::chrono::seconds kDeadline{30};

// Waits until a condition holds; false when it still does not at the deadline.
template <typename Condition>
bool eventually(Condition&& holds) {
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// How long a task takes.
template <typename Task>
std::chrono::nanoseconds duration_of(Task&& task) {
    const auto start = std::chrono::steady_clock::now();
    task();
    return std::chrono::steady_clock::now() - start;
}

}  // namespace ruvo::test
