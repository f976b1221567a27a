#pragma once

#include "events/event_entry.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvo {

// How many lookups a trigger text costs: one for every line. A final piece without a
// line feed is a line; an empty text has none.
std::ptrdiff_t count_lines(std::string_view trigger);

// Fills in a record's runtime fields: queued at now_ns, due after its delay, and at
// once for a test command.
void stamp_record(EventEntry& record, std::int64_t now_ns, std::int32_t test);

}  // namespace ruvo
