#include "execution/event_queue.h"

#include "core/log.h"
#include "core/process_state.h"
#include "events/build_event_data.h"
#include "execution/server_context.h"
#include "execution/stamp_record.h"

#include <chrono>
#include <string>
#include <utility>

namespace ruvo {
namespace {

void append(ServerContext& server, EventEntry record) RUVO_REQUIRES(server.mutex) {
    if (server.t_ns_next == 0 || server.t_ns_next > record.t_ns_exec) {
        server.t_ns_next = record.t_ns_exec;
    }
    const Guard guard(server.events_guard);
    server.events.push_back(std::move(record));
}

}  // namespace

std::int32_t push_event_back(ServerContext& server, std::string_view trigger, std::int32_t test) {
    const Guard guard(server.mutex);
    for (auto lines = count_lines(trigger); lines > 0; --lines) {
        const std::chrono::nanoseconds now = std::chrono::steady_clock::now() - server.t_ns_start;
        EventEntry record = build_event_data(*g_daemon_ctx, trigger, test);
        if (record.name.empty()) {
            debug_line("[%s:%d] not found sys event=%.*s\n", "push_event_back", 171,
                       static_cast<int>(trigger.size()), trigger.data());
            continue;
        }
        stamp_record(record, now.count(), test);
        append(server, std::move(record));
    }
    return 0;
}

std::int32_t push_event_back(ServerContext& server, std::string_view trigger) {
    return push_event_back(server, trigger, 0);
}

bool queue_is_empty(ServerContext& server) {
    const Guard guard(server.events_guard);
    return server.events.empty();
}

// Appending moves no record of a double-ended queue, so the pointer stays good
// until the queue thread itself erases one.
EventEntry* record_at(ServerContext& server, std::size_t position) {
    const Guard guard(server.events_guard);
    return position < server.events.size() ? &server.events[position] : nullptr;
}

void erase_record(ServerContext& server, std::size_t position) {
    const Guard guard(server.events_guard);
    server.events.erase(server.events.begin() + static_cast<std::ptrdiff_t>(position));
}

}  // namespace ruvo
