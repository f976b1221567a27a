#pragma once

#include <cstdint>

namespace ruvo {

struct ServerContext;

// One pass over the queue: drops records that are invalid, stale or have run, runs
// those that are due and erases them. Returns the number of records run. A record
// that throws while it runs is not run again. Queue thread.
std::int32_t exec_event(ServerContext& server);

// The queue thread: a pass every 250 ms while the queue holds anything; never
// returns.
[[noreturn]] void handle_q_event(ServerContext* server);

}  // namespace ruvo
