#include "execution/executor.h"

#include "core/daemon_context.h"
#include "core/exception_text.h"
#include "core/log.h"
#include "core/process_state.h"
#include "events/event_entry.h"
#include "execution/decide.h"
#include "execution/due_times.h"
#include "execution/event_log.h"
#include "execution/event_queue.h"
#include "execution/outgoing.h"
#include "execution/sender_slots.h"
#include "execution/server_context.h"
#include "net/sender_bodies.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <thread>
#include <vector>

namespace ruvo {
namespace {

using Clock = std::chrono::steady_clock;
using Departure = SenderDepartures::Departure;

std::int64_t current_uptime_s() { return g_uptime.load(std::memory_order_relaxed); }

Switches current_switches() {
    return {.power_on_window_over = g_power_on_window_over.load(std::memory_order_relaxed) != 0,
            .enabled = g_daemon_ctx->enable.load(std::memory_order_relaxed) != 0};
}

SenderBody body_of(Sender sender) {
    switch (sender) {
        case Sender::kUdp:
            return udpclient_thread;
        case Sender::kTcp:
            return tcpclient_thread;
        case Sender::kUdpStatus:
            return udpclient_getStatus_thread;
        case Sender::kTcpStatus:
            return tcpclient_getStatus_thread;
        case Sender::kNone:
            break;
    }
    return nullptr;
}

// Copies a text that fits into a slot's buffer and closes it with a zero.
template <std::size_t Size>
void fill(std::array<char, Size>& buffer, std::string_view text) {
    *std::copy(text.begin(), text.end(), buffer.begin()) = '\0';
}

// Whether the slot's sender runs.
bool start_sender(ServerContext& server, std::int32_t index, const Outgoing& out,
                  const SubCommand& step, const EventEntry& record) {
    const auto slot = static_cast<std::size_t>(index);
    SenderThread thread;
    const int error =
        thread.start(body_of(out.sender), index, out.port,
                     std::chrono::nanoseconds(step.delayFromExecNs), server.thread_state[slot]);
    if (error != 0) {
        static LogSite not_started;
        log_line(not_started, "Error: [%s:%d] pthread_create, skip %s %s:%s: %s\n", "exec_event",
                 912, record.name.c_str(), step.ip.c_str(), step.port.c_str(), error_text(error));
        server.thread_state[slot].store(kSlotFree, std::memory_order_relaxed);
        return false;
    }
    server.threads[slot] = std::move(thread);
    return true;
}

// Sends a step behind the departure that is given, and returns what the next step with
// this due time goes behind.
Departure send_step(ServerContext& server, const EventEntry& record, const SubCommand& step,
                    Clock::time_point due, const Departure& before) {
    write_event_log(sent_line(step));
    const Outgoing out = outgoing(step);
    if (out.sender == Sender::kNone) return before;
    if (sends_report(out.sender)) debug_line("[%s:%d]\n", "exec_event", 861);

    const std::int32_t index = get_new_ret_thread(server, record.name);
    if (index < 0) return before;
    const auto slot = static_cast<std::size_t>(index);
    if (out.sender == Sender::kTcp) {
        debug_line("[%s:%d] ip=%s, port=%s data[%d]=%s===\n", "exec_event", 878, step.ip.c_str(),
                   step.port.c_str(), static_cast<int>(step.data.size()), step.data.c_str());
    }
    fill(server.thread_ip[slot], out.ip);
    if (!sends_report(out.sender)) fill(server.thread_data[slot], out.data);
    server.thread_due[slot] = due;
    if (out.sender == Sender::kTcp) {
        debug_line("[%s:%d] ip=%s, data=%s===\n", "exec_event", 885, server.thread_ip[slot].data(),
                   server.thread_data[slot].data());
    }
    server.thread_before[slot] = before;
    const Departure own = server.departures.next(index);
    return start_sender(server, index, out, step, record) ? own : before;
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

// What a step goes behind: the last one before it that is due at the same time.
Departure departure_before(const std::vector<SubCommand>& steps,
                           const std::vector<Departure>& departures, std::size_t position) {
    for (std::size_t i = position; i-- > 0;) {
        if (steps[i].delayFromExecNs == steps[position].delayFromExecNs) return departures[i];
    }
    return {};
}

// Lets the senders that are due at once go before those that can wait are launched: a
// launch of 127 others would hold up the first packet by 0.2 ms, at times by a whole one,
// and so put it closer to the second.
void let_immediate_senders_go(std::chrono::nanoseconds last_due,
                              std::chrono::nanoseconds next_due) {
    if (last_due.count() == 0 && next_due.count() > 0) std::this_thread::yield();
}

void run_record(ServerContext& server, EventEntry& record, Clock::time_point now,
                std::int64_t now_ns) {
    const RunsOnce runs_once(record);
    debug_line(
        "[%s:%d] get sys event=%s, run event=%s, now=%lld, t_exec=%lld, sub cmd size=%d, "
        "test=%d\n",
        "exec_event", 819, record.xmlField.c_str(), record.name.c_str(),
        static_cast<long long>(now_ns), static_cast<long long>(record.t_ns_exec),
        static_cast<int>(record.subCommands.size()), record.test);

    const auto times = due_times(record.subCommands);
    std::vector<Departure> departures(times.size());
    for (std::size_t i = 0; i < record.subCommands.size(); ++i) {
        if (i > 0) let_immediate_senders_go(times[i - 1], times[i]);
        const SubCommand& step = record.subCommands[i];
        switch (decide_step(record, current_switches())) {
            case StepAction::kPowerOnSkip:
                skip_in_power_on_window(record, step);
                break;
            case StepAction::kDisabledSkip:
                skip_disabled(record, step);
                break;
            case StepAction::kSend:
                departures[i] = send_step(server, record, step, now + times[i],
                                          departure_before(record.subCommands, departures, i));
                break;
        }
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
