#pragma once

#include "events/event_entry.h"
#include "events/expand_data.h"

#include <cstdint>

namespace ruvo {

// A copy of a list entry as it is queued: every step's data expanded, and for a
// test run no event-level delay.
EventEntry expanded_copy(const EventEntry& entry, const MacroValues& values, std::int32_t test);

}  // namespace ruvo
