#include "net/sender_bodies.h"

#include "core/log.h"
#include "core/process_state.h"
#include "core/time_units.h"
#include "execution/server_context.h"
#include "net/finish_reply.h"
#include "net/tcpclient.h"
#include "net/udpclient.h"

#include <string.h>
#include <sys/prctl.h>
#include <time.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <span>
#include <utility>

namespace ruvo {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kStatusIp[] = "127.0.0.1";
constexpr std::int32_t kStatusPort = 50001;

using IpText = std::array<char, kSlotIpBytes>;
using DataText = std::array<char, kSlotDataBytes>;

std::size_t index_of(std::int32_t slot) { return static_cast<std::size_t>(slot); }
const IpText& slot_ip(std::int32_t slot) { return g_server_ctx->thread_ip[index_of(slot)]; }
const DataText& slot_data(std::int32_t slot) { return g_server_ctx->thread_data[index_of(slot)]; }

template <std::size_t Size>
std::array<char, Size> copy_of(const std::array<char, Size>& text) {
    std::array<char, Size> copy;
    std::snprintf(copy.data(), copy.size(), "%.*s", static_cast<int>(Size - 1), text.data());
    return copy;
}

void trace_send(const char* body, int line, const IpText& ip, const DataText& data,
                std::chrono::nanoseconds delay) {
    const auto length = static_cast<int>(::strnlen(data.data(), data.size()));
    debug_line("[%s:%d] %.*s data=[%d]%.*s, sleep for=%lld\n", body, line,
               static_cast<int>(::strnlen(ip.data(), ip.size())), ip.data(), length, length,
               data.data(), static_cast<long long>(delay.count()));
}

// Has the kernel wake this thread at the very time asked for; by default it may be
// 50 us late, so that wake-ups can be put together. That is half of what keeps steps
// apart that are due together. The pause behind a datagram had better be put together
// with others: exact pauses cost a tenth of the triggers that are served in a second.
class ExactTimer {
  public:
    ExactTimer() { (void)::prctl(PR_SET_TIMERSLACK, 1UL); }
    ~ExactTimer() { (void)::prctl(PR_SET_TIMERSLACK, kUsualSlack); }
    ExactTimer(const ExactTimer&) = delete;
    ExactTimer& operator=(const ExactTimer&) = delete;

  private:
    static constexpr unsigned long kUsualSlack = 0;
};

// Nothing but a busy machine holds up a sender that is due.
constexpr std::chrono::milliseconds kPatience{50};

// Of steps that are due together the earlier goes first. Each counts its patience from
// its own awakening, so that a machine that has stood still sends in order, too.
void wait_for_the_one_before(std::int32_t slot) {
    g_server_ctx->departures.wait_for(g_server_ctx->thread_before[index_of(slot)],
                                      Clock::now() + kPatience);
}

// Every body does so once: others wait for it.
void note_departure(std::int32_t slot) { g_server_ctx->departures.note(slot); }

// An absolute wait is never too short and does not drift when a signal interrupts
// it; any other failure ends it.
void wait_until_due(std::int32_t slot, std::chrono::nanoseconds delay) {
    if (delay.count() <= 0) return;
    const auto& due = g_server_ctx->thread_due[index_of(slot)];
    const timespec until = to_timespec(due ? *due : Clock::now() + delay);
    const ExactTimer exact;
    while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
    wait_for_the_one_before(slot);
}

// The last thing a body does: the slot's owner may now join the thread.
void finish(std::atomic<std::int32_t>& state) {
    state.store(kSlotFinished, std::memory_order_release);
}

// The report, or the text of what went wrong, as zero-terminated text.
void fetch_status(std::span<char> report) {
    (void)tcpclient(kStatusIp, kStatusPort, "getStatus", report);
}

}  // namespace

void udpclient_thread(std::int32_t slot, std::int32_t port, std::chrono::nanoseconds delay,
                      std::atomic<std::int32_t>& state) noexcept {
    const IpText ip = copy_of(slot_ip(slot));
    const DataText data = copy_of(slot_data(slot));
    trace_send("udpclient_thread", 131, slot_ip(slot), slot_data(slot), delay);
    trace_send("udpclient_thread", 136, ip, data, delay);
    wait_until_due(slot, delay);
    Datagram datagram = send_datagram(ip.data(), static_cast<std::uint16_t>(port), data.data());
    note_departure(slot);
    close_after_pause(std::move(datagram));
    finish(state);
}

void tcpclient_thread(std::int32_t slot, std::int32_t port, std::chrono::nanoseconds delay,
                      std::atomic<std::int32_t>& state) noexcept {
    const IpText ip = copy_of(slot_ip(slot));
    const DataText data = copy_of(slot_data(slot));
    trace_send("tcpclient_thread", 154, slot_ip(slot), slot_data(slot), delay);
    trace_send("tcpclient_thread", 159, ip, data, delay);
    wait_until_due(slot, delay);
    note_departure(slot);  // when it begins: nobody waits for a peer
    std::array<char, kReplyBytes> reply;
    (void)tcpclient(ip.data(), port, data.data(), reply);
    finish(state);
}

void udpclient_getStatus_thread(std::int32_t slot, std::int32_t port,
                                std::chrono::nanoseconds delay,
                                std::atomic<std::int32_t>& state) noexcept {
    const IpText ip = copy_of(slot_ip(slot));
    trace_send("udpclient_getStatus_thread", 178, slot_ip(slot), slot_data(slot), delay);
    wait_until_due(slot, delay);
    note_departure(slot);  // when it begins: nobody waits for a peer
    std::array<char, kReplyBytes> report;
    fetch_status(report);
    (void)udpclient(ip.data(), static_cast<std::uint16_t>(port), report.data());
    finish(state);
}

void tcpclient_getStatus_thread(std::int32_t slot, std::int32_t port,
                                std::chrono::nanoseconds delay,
                                std::atomic<std::int32_t>& state) noexcept {
    const IpText ip = copy_of(slot_ip(slot));
    debug_line("[%s:%d] sleep for=%lld\n", "tcpclient_getStatus_thread", 199,
               static_cast<long long>(delay.count()));
    wait_until_due(slot, delay);
    note_departure(slot);  // when it begins: nobody waits for a peer
    std::array<char, kReplyBytes> report;
    fetch_status(report);
    std::array<char, kReplyBytes> reply;
    (void)tcpclient(ip.data(), port, report.data(), reply);
    finish(state);
}

}  // namespace ruvo
