// bench-log [LINES]: writes lines as the daemon does, from one thread and from four, and
// what opening, appending and closing costs alone. Prints {"KIND":nanoseconds a line,...}
// as one line on standard error; standard output takes the log's own lines. Writes to
// /var/log, so it belongs into a private world.

#include "bench/arguments.h"
#include "core/log.h"
#include "execution/event_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr long kUsualLines = 20000;
constexpr long kThreads = 4;

const ruvo::SubCommand& usual_step() {
    static const ruvo::SubCommand step{
        .ip = "192.168.10.20", .port = "4352", .protocol = "TCP", .data = "%1POWR 1\r"};
    return step;
}

void write_log_lines(long lines) {
    static ruvo::LogSite site;
    for (long i = 0; i < lines; ++i) {
        ruvo::log_line(site, "[%s:%d] Recv[%d]:key=%s,value=%s\n", "handle_tcp_event", 1434, 7,
                       "PowerOn", "");
    }
}

void write_event_log_lines(long lines) {
    for (long i = 0; i < lines; ++i) ruvo::write_event_log(ruvo::sent_line(usual_step()));
}

// The least that a line costs that has its file for itself.
void write_bare_lines(long lines) {
    const std::string text = "[handle_tcp_event:1434] Recv[7]:key=PowerOn,value=\n";
    for (long i = 0; i < lines; ++i) {
        const int file =
            ::open("/var/log/ruvo_bare.log", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        [[maybe_unused]] const ssize_t written = ::write(file, text.data(), text.size());
        ::close(file);
    }
}

double ns_per_line(long lines, const std::function<void()>& write) {
    const auto begin = Clock::now();
    write();
    const std::chrono::nanoseconds taken = Clock::now() - begin;
    return static_cast<double>(taken.count()) / static_cast<double>(lines);
}

void write_from_threads(long lines) {
    std::vector<std::thread> threads;
    for (long i = 0; i < kThreads; ++i) threads.emplace_back(write_log_lines, lines / kThreads);
    for (std::thread& thread : threads) thread.join();
}

}  // namespace

int main(int argc, char** argv) {
    const long lines = ruvo::bench::number_argument(argc, argv, 1, kUsualLines);
    const double bare = ns_per_line(lines, [=] { write_bare_lines(lines); });
    const double log = ns_per_line(lines, [=] { write_log_lines(lines); });
    const double from_four = ns_per_line(lines, [=] { write_from_threads(lines); });
    const double event_log = ns_per_line(lines, [=] { write_event_log_lines(lines); });
    std::fprintf(stderr, "{\"bare\":%.1f,\"log\":%.1f,\"log_4_threads\":%.1f,\"event_log\":%.1f}\n",
                 bare, log, from_four, event_log);
}
