#pragma once

#include "core/number_text.h"
#include "events/event_entry.h"
#include "events/place_record.h"
#include "settings/event_definition.h"

#include <cstdint>
#include <functional>

namespace ruvo {

// Told of every sub-command delay as it is taken: the index and the step's delay
// from the start of the execution.
using DelayListener = std::function<void(std::int32_t index, std::int64_t delay_from_exec_ns)>;

// Builds the runtime event list from the records of a settings file: one entry per
// Count record of 1 or more (at most kMaxSubCommands steps), filled by every record
// that carries its name. Records that fit nothing are passed over.
// Throws std::invalid_argument or std::out_of_range with the text "stoul" when an
// indexed record of an existing event has no number as its index; this is the one
// exception that crosses folders.
EventList build_event_list(const EventDefinitions& definitions,
                           const DelayListener& on_delay = nullptr, WordSize word = kOwnWord);

}  // namespace ruvo
