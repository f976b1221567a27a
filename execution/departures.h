#pragma once

#include "core/futex.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace ruvo {

// Counts the senders that have gone from each slot, so that one sender can go behind
// another: those that are due together keep their order even where one wakes late.
template <std::size_t Slots>
class Departures {
  public:
    // A departure to wait for; a slot below 0 is nobody's.
    struct Departure {
        std::int32_t slot = -1;
        std::uint32_t number = 0;
    };

    // The departure of a sender that is about to be started in the slot. Queue thread.
    [[nodiscard]] Departure next(std::int32_t slot) const {
        return {.slot = slot, .number = count_of(slot).load(std::memory_order_relaxed) + 1};
    }

    // The slot's sender has gone. Its own thread.
    void note(std::int32_t slot) {
        std::atomic<std::uint32_t>& count = counts_[static_cast<std::size_t>(slot)];
        count.fetch_add(1, std::memory_order_release);
        wake_all(count);
    }

    // Waits for a departure, but not beyond `latest`. Any thread.
    void wait_for(const Departure& departure, std::chrono::steady_clock::time_point latest) const {
        if (departure.slot < 0) return;
        const std::atomic<std::uint32_t>& count = count_of(departure.slot);
        for (;;) {
            const std::uint32_t seen = count.load(std::memory_order_acquire);
            const bool gone = static_cast<std::int32_t>(seen - departure.number) >= 0;  // it wraps
            if (gone || !wait_while(count, seen, latest)) return;
        }
    }

  private:
    [[nodiscard]] const std::atomic<std::uint32_t>& count_of(std::int32_t slot) const {
        return counts_[static_cast<std::size_t>(slot)];
    }

    std::array<std::atomic<std::uint32_t>, Slots> counts_{};
};

}  // namespace ruvo
