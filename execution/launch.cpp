#include "execution/launch.h"

#include "core/log.h"
#include "execution/due_times.h"
#include "execution/event_log.h"
#include "execution/outgoing.h"
#include "execution/sender_slots.h"
#include "net/sender_bodies.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <thread>
#include <utility>

namespace ruvo {
namespace {

using Clock = Launch::Clock;
using Departure = SenderDepartures::Departure;

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

// Sends a step behind the departure that is given. Returns its own, or nothing when no
// sender has been started.
std::optional<Departure> send_step(ServerContext& server, const EventEntry& record,
                                   const SubCommand& step, Clock::time_point due,
                                   const Departure& before) {
    write_event_log(sent_line(step));
    const Outgoing out = outgoing(step);
    if (out.sender == Sender::kNone) return {};
    if (sends_report(out.sender)) debug_line("[%s:%d]\n", "exec_event", 861);

    const std::int32_t index = get_new_ret_thread(server, record.name);
    if (index < 0) return {};
    const auto slot = static_cast<std::size_t>(index);
    if (out.sender == Sender::kTcp) {
        debug_line("[%s:%d] ip=%s, port=%s data[%d]=%s===\n", "exec_event", 878, step.ip.c_str(),
                   step.port.c_str(), static_cast<int>(step.data.size()), step.data.c_str());
    }
    fill(server.thread_ip[slot], out.ip);
    if (!sends_report(out.sender)) fill(server.thread_data[slot], out.data);
    server.thread_due[slot] = due;
    server.thread_before[slot] = before;
    if (out.sender == Sender::kTcp) {
        debug_line("[%s:%d] ip=%s, data=%s===\n", "exec_event", 885, server.thread_ip[slot].data(),
                   server.thread_data[slot].data());
    }
    const Departure own = server.departures.next(index);
    if (!start_sender(server, index, out, step, record)) return {};
    return own;
}

}  // namespace

Launch::Launch(ServerContext& server, const EventEntry& record, Clock::time_point start)
    : server_(server),
      record_(record),
      start_(start),
      times_(due_times(record.subCommands)),
      departures_(times_.size()) {}

void Launch::step(std::size_t position, bool is_sent) {
    const auto before = step_before(record_.subCommands, position);
    if (before) departures_[position] = departures_[*before];
    if (is_sent) send(position);
}

void Launch::send(std::size_t position) {
    const bool at_once = times_[position].count() == 0;
    if (!at_once) let_immediate_senders_go();
    const auto own = send_step(server_, record_, record_.subCommands[position],
                               start_ + times_[position], departures_[position]);
    if (!own) return;
    departures_[position] = *own;
    if (at_once && immediate_ == Immediate::kNone) immediate_ = Immediate::kWaiting;
}

// Senders that are due at once go before those that can wait are launched: on two
// processors the launch of 127 others holds up the first packet by 0.1 to 0.4 ms as a
// rule, and by more than 1 ms at times. Once a record, since on a busy machine it may
// cost a time slice.
void Launch::let_immediate_senders_go() {
    if (immediate_ != Immediate::kWaiting) return;
    immediate_ = Immediate::kGone;
    std::this_thread::yield();
}

}  // namespace ruvo
