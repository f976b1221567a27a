#pragma once

#include "events/event_entry.h"

#include <chrono>
#include <cstdint>

namespace ruvo {

// The queue thread looks at its records this often.
inline constexpr std::chrono::milliseconds kPassInterval{250};
inline constexpr std::int64_t kStaleAfterNs = 60000000000;

// When a queued record is due: never before it was queued.
std::int64_t due_ns(const EventEntry& record);

// What a pass over the queue does with a record.
enum class RecordAction {
    kDropInvalid,  // a time is missing
    kDropStale,    // queued more than kStaleAfterNs ago
    kDropHadRun,
    kKeep,  // not due yet
    kRun,
};

RecordAction decide_record(const EventEntry& record, std::int64_t now_ns);

// What happens to each step of a record that runs.
enum class StepAction { kPowerOnSkip, kDisabledSkip, kSend };

// The switches as they stand when a step's turn comes.
struct Switches {
    bool power_on_window_over = false;
    bool enabled = false;
};

// Plugging the display in or out while the system powers on is no event; an event of
// a test command runs whatever the switches say.
StepAction decide_step(const EventEntry& record, Switches switches);

}  // namespace ruvo
