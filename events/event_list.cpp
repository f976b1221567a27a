#include "events/event_list.h"

#include "core/daemon_context.h"
#include "core/file.h"
#include "core/log.h"
#include "core/process_state.h"
#include "events/build_event_list.h"
#include "events/event_list_text.h"

#include <cstdio>

namespace ruvo {
namespace {

void trace_delay(std::int32_t index, std::int64_t delay_from_exec_ns) {
    debug_line("[%s:%d] ns delay from exec=(%d)%lld;\n", "rebuild_ruvo_event_list", 620, index,
               static_cast<long long>(delay_from_exec_ns));
}

}  // namespace

int rebuild_ruvo_event_list(DaemonContext& context, std::int32_t test) {
    const Guard guard(context.lock);
    const auto definitions = (test ? context.testEntries : context.normalEntries).get();
    (test ? context.testEventList : context.eventList)
        .set(build_event_list(*definitions,
                              debug_enabled() ? DelayListener(trace_delay) : DelayListener()));
    if (test) {
        (void)write_event_list_txt(context, "/tmp/ruvo_event_list_test.txt", 1);
    } else {
        static LogSite rebuilt;
        log_line(rebuilt, "[%s:%d] rebuild ruvo event txt: OK\n", "rebuild_ruvo_event_list", 629);
        (void)write_event_list_txt(context, "/tmp/ruvo_event_list.txt", 0);
    }
    return 0;
}

int write_event_list_txt(const DaemonContext& context, const std::string& path, std::int32_t test) {
    const UniqueFile file = open_truncated(path.c_str());
    if (!file) return -1;  // silent: the text is rewritten after the next change
    const auto list = (test ? context.testEventList : context.eventList).get();
    for (const EventEntry& entry : *list) {
        std::fputs(event_list_line(entry).c_str(), file.get());
    }
    return 0;
}

}  // namespace ruvo
