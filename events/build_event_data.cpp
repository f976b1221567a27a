#include "events/build_event_data.h"

#include "core/daemon_context.h"
#include "core/local_time.h"
#include "core/process_state.h"
#include "core/text_cut.h"
#include "events/expanded_copy.h"
#include "events/find_event.h"
#include "events/status_variables.h"

namespace ruvo {
namespace {

MacroValues current_macro_values(const DaemonContext& context) {
    return {.status_variables = context.statusVariables.get(),
            .local_time = local_time_now().calendar,
            .uptime_s = g_uptime.load(std::memory_order_relaxed)};
}

}  // namespace

EventEntry build_event_data(DaemonContext& context, std::string_view trigger, std::int32_t test) {
    (void)renew_macro_var(context);
    const auto list = (test ? context.testEventList : context.eventList).get();
    const EventEntry* entry = find_event(*list, without_line_feed(trigger), test);
    return entry ? expanded_copy(*entry, current_macro_values(context), test) : EventEntry{};
}

}  // namespace ruvo
