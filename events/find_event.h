#pragma once

#include "events/event_entry.h"

#include <cstdint>
#include <string_view>

namespace ruvo {

// The first entry that answers to the name: by its `xmlField`, and with a non-zero
// test flag by its `name`. Exact, case-sensitive; null when there is none.
const EventEntry* find_event(const EventList& list, std::string_view name, std::int32_t test);

}  // namespace ruvo
