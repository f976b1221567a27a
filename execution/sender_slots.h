#pragma once

#include <cstdint>
#include <string>

namespace ruvo {

struct ServerContext;

// Reserves the lowest free slot and returns its index, or -1 when the table is full.
// Finished slots that the scan passes are joined and become free for the next scan,
// not for this one. The event's name is for the trace only. Queue thread.
[[nodiscard]] std::int32_t get_new_ret_thread(ServerContext& server, const std::string& event_name);

}  // namespace ruvo
