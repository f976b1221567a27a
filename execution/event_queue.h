#pragma once

#include "events/event_entry.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvo {

struct ServerContext;

// Queues the event that a trigger text names, once for every line of the text; each
// line looks the whole text up, so a text of several lines names nothing. An event
// that is not found is dropped. Returns 0. Holds `mutex` throughout, about 0.1 s a
// line at most. Producers: any thread but the queue thread.
std::int32_t push_event_back(ServerContext& server, std::string_view trigger, std::int32_t test);

// The same for a real event.
std::int32_t push_event_back(ServerContext& server, std::string_view trigger);

bool queue_is_empty(ServerContext& server);

// For the queue thread: the record at a position, null behind the last one, and the
// removal of a record.
EventEntry* record_at(ServerContext& server, std::size_t position);
void erase_record(ServerContext& server, std::size_t position);

}  // namespace ruvo
