#pragma once

#include "events/event_entry.h"

#include <cstdint>
#include <string_view>

namespace ruvo {

struct DaemonContext;

// Refreshes the status variables, finds the event that a trigger names (one line
// feed at the trigger's end is dropped) and returns its expanded copy; an entry
// with an empty name when no event answers. Takes about 0.1 s at most, for the
// status service. Called by whichever thread queues an event.
EventEntry build_event_data(DaemonContext& context, std::string_view trigger, std::int32_t test);

}  // namespace ruvo
