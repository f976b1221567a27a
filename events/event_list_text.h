#pragma once

#include "events/event_entry.h"

#include <string>

namespace ruvo {

// An entry as a line of the event-list text: name;xmlField; then
// index:data bytes:delay in ms; per step, and Delay=seconds; with a line feed.
std::string event_list_line(const EventEntry& entry);

}  // namespace ruvo
