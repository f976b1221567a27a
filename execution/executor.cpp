#include "execution/executor.h"

#include "core/daemon_context.h"
#include "core/exception_text.h"
#include "core/log.h"
#include "core/process_state.h"
#include "events/event_entry.h"
#include "execution/decide.h"
#include "execution/event_log.h"
#include "execution/event_queue.h"
#include "execution/launch.h"
#include "execution/server_context.h"

#include <chrono>
#include <thread>

namespace ruvo {
namespace {

using Clock = std::chrono::steady_clock;

std::int64_t current_uptime_s() { return g_uptime.load(std::memory_order_relaxed); }

Switches current_switches() {
    return {.power_on_window_over = g_power_on_window_over.load(std::memory_order_relaxed) != 0,
            .enabled = g_daemon_ctx->enable.load(std::memory_order_relaxed) != 0};
}

void skip_in_power_on_window(EventEntry& record, const SubCommand& step) {
    record.has_run = kRecordSkipped;
    const std::int64_t uptime_s = current_uptime_s();
    static LogSite skipped;
    log_line(skipped, "[%s:%d] during Power On, skip %s ...%d/%d\n", "exec_event", 836,
             record.name.c_str(), static_cast<int>(uptime_s),
             static_cast<int>(kPowerOnWindowSeconds));
    write_event_log(power_on_skip_line(step, uptime_s));
}

void skip_disabled(EventEntry& record, const SubCommand& step) {
    record.has_run = kRecordSkipped;
    if (g_log_ready.load(std::memory_order_relaxed) == 1) {
        print_line("[%s:%d] disable event, skip %s\n", "exec_event", 847, step.data.c_str());
    }
    write_event_log(disabled_line(step, current_uptime_s()));
}

// Marks a record as run on every way out: after an exception the next pass must not
// send its first steps again.
class RunsOnce {
  public:
    explicit RunsOnce(EventEntry& record) : record_(record) {}
    ~RunsOnce() { record_.has_run = kRecordRun; }
    RunsOnce(const RunsOnce&) = delete;
    RunsOnce& operator=(const RunsOnce&) = delete;

  private:
    EventEntry& record_;
};

void run_record(ServerContext& server, EventEntry& record, Clock::time_point now,
                std::int64_t now_ns) {
    const RunsOnce runs_once(record);
    debug_line(
        "[%s:%d] get sys event=%s, run event=%s, now=%lld, t_exec=%lld, sub cmd size=%d, "
        "test=%d\n",
        "exec_event", 819, record.xmlField.c_str(), record.name.c_str(),
        static_cast<long long>(now_ns), static_cast<long long>(record.t_ns_exec),
        static_cast<int>(record.subCommands.size()), record.test);

    Launch launch(server, record, now);
    for (std::size_t i = 0; i < record.subCommands.size(); ++i) {
        const SubCommand& step = record.subCommands[i];
        const StepAction action = decide_step(record, current_switches());
        if (action == StepAction::kPowerOnSkip) skip_in_power_on_window(record, step);
        if (action == StepAction::kDisabledSkip) skip_disabled(record, step);
        launch.step(i, action == StepAction::kSend);
    }
}

void report_stale(const EventEntry& record, std::int64_t now_ns) {
    static LogSite stale;
    log_line(stale,
             "[%s:%d] Error cannot send sys event=%s, run event=%s, now=%lld, t_exec=%lld, "
             "sub cmd size=%d\n",
             "exec_event", 797, record.xmlField.c_str(), record.name.c_str(),
             static_cast<long long>(now_ns), static_cast<long long>(record.t_ns_exec),
             static_cast<int>(record.subCommands.size()));
}

}  // namespace

std::int32_t exec_event(ServerContext& server) {
    std::int32_t runs = 0;
    std::size_t position = 0;
    while (EventEntry* const record = record_at(server, position)) {
        const Clock::time_point now = Clock::now();
        const std::int64_t now_ns = std::chrono::nanoseconds(now - server.t_ns_start).count();
        switch (decide_record(*record, now_ns)) {
            case RecordAction::kKeep:
                ++position;
                continue;
            case RecordAction::kDropInvalid:
                debug_line("[%s:%d] skip run event=%s, t_ns_exec=0, or t_ns_cread=0\n",
                           "exec_event", 786, record->name.c_str());
                break;
            case RecordAction::kDropStale:
                report_stale(*record, now_ns);
                break;
            case RecordAction::kDropHadRun:
                debug_line("[%s:%d] skip run event=%s, had run\n", "exec_event", 804,
                           record->name.c_str());
                break;
            case RecordAction::kRun:
                run_record(server, *record, now, now_ns);
                ++runs;
                break;
        }
        erase_record(server, position);
    }
    return runs;
}

void handle_q_event(ServerContext* server) {
    for (;;) {
        std::this_thread::sleep_for(kPassInterval);
        try {
            if (!queue_is_empty(*server)) (void)exec_event(*server);
        } catch (...) {
            static LogSite failed;
            log_line(failed, "Error: [%s:%d] exec_event(): %s\n", "handle_q_event", 938,
                     exception_text());
        }
    }
}

}  // namespace ruvo
