// bench-pipeline: for each line of standard input, runs the status pipeline as the daemon
// runs it, reads it to the end and prints the nanoseconds that took; so its runs can take
// turns with the daemon's own. The status service must be there.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kPipeline[] =
    "printf 'getStatus\\r' | timeout 0.1 nc 127.0.0.1 50001 2>/dev/null | tr '\\r' '\\n'";

// Returns the number of items in the report.
int read_report() {
    std::FILE* const pipe = ::popen(kPipeline, "re");
    if (pipe == nullptr) return 0;
    int items = 0;
    char line[2048];
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
        if (std::strchr(line, ':') != nullptr) ++items;
    }
    (void)::pclose(pipe);
    return items;
}

}  // namespace

int main() {
    char request[16];
    while (std::fgets(request, sizeof request, stdin) != nullptr) {
        const auto begin = Clock::now();
        const int items = read_report();
        const std::chrono::nanoseconds taken = Clock::now() - begin;
        if (items == 0) {
            std::fprintf(stderr, "bench-pipeline: the status service does not answer\n");
            return 1;
        }
        std::printf("%lld\n", static_cast<long long>(taken.count()));
        (void)std::fflush(stdout);
    }
}
