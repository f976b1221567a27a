#pragma once

#include "core/mutex.h"
#include "events/event_entry.h"
#include "execution/departures.h"
#include "execution/outgoing.h"
#include "execution/sender_thread.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace ruvo {

inline constexpr std::int32_t kSenderSlots = 512;

// States of a sender slot.
inline constexpr std::int32_t kSlotFree = 0;
inline constexpr std::int32_t kSlotReserved = 1;  // filled and running
inline constexpr std::int32_t kSlotFinished = 2;  // waiting to be joined

using SenderDepartures = Departures<kSenderSlots>;

// The queue of triggered events and the table of sender slots. Created once at
// start-up with every table empty, never destroyed.
struct ServerContext {
    // Producers: one whole insertion at a time, the lookup included.
    Mutex mutex;
    // Earliest due time seen so far, 0 for none yet.
    std::int64_t t_ns_next RUVO_GUARDED_BY(mutex) = 0;

    // Leaf: the queue's own structure, never across I/O. Producers append at the
    // back; only the queue thread changes or erases a record that is in the queue,
    // so it may use one without the guard.
    Mutex events_guard;
    EventList events RUVO_GUARDED_BY(events_guard);

    // All t_ns_* values count from here.
    const std::chrono::steady_clock::time_point t_ns_start = std::chrono::steady_clock::now();
    // The port of the client mode's service; nothing reads it here.
    std::int32_t port = 50003;

    // The queue thread reserves and fills a slot and starts its thread, which reads
    // the slot; the sender's release store of kSlotFinished hands it back.
    std::array<SenderThread, kSenderSlots> threads;
    std::array<std::atomic<std::int32_t>, kSenderSlots> thread_state{};
    std::array<std::array<char, kSlotIpBytes>, kSenderSlots> thread_ip{};
    std::array<std::array<char, kSlotDataBytes>, kSenderSlots> thread_data{};
    // When a delayed slot goes out: the executor's clock reading for the record plus
    // the step's due time. None for a body that is run alone.
    std::array<std::optional<std::chrono::steady_clock::time_point>, kSenderSlots> thread_due{};
    // Whom a slot's sender goes behind: the one before it of those that are due together.
    std::array<SenderDepartures::Departure, kSenderSlots> thread_before{};
    SenderDepartures departures;
};

}  // namespace ruvo
