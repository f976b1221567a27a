// Reads the user configuration again and again, as __GET__ does, and prints how fast
// that is and whether the memory grows. RUVO_USER_CONFIG names the store.

#include "platform/user_config.h"

#include <malloc.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

constexpr std::uint64_t kUsualReads = 1'000'000;

// The last two have no value: one is missing, one makes a query that is no JSON.
const std::array<std::string, 7> kKeys{"bench.boolean", "bench.double", "bench.integer",
                                       "bench.string",  "bench.array",  "bench.missing",
                                       "ben\"ch.quotes"};

struct Memory {
    std::uint64_t resident;
    std::uint64_t allocated;
};

Memory memory_now() {
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return {resident * page, ::mallinfo2().uordblks};
}

Memory print_memory(std::uint64_t reads) {
    const Memory memory = memory_now();
    std::printf("after %10" PRIu64 " reads: %9" PRIu64 " bytes resident, %9" PRIu64
                " bytes allocated\n",
                reads, memory.resident, memory.allocated);
    return memory;
}

void print_values() {
    for (const std::string& key : kKeys) {
        std::printf("%s: '%s'\n", key.c_str(), ruvo::get_token_value(key).c_str());
    }
}

void read_from_to(std::uint64_t first, std::uint64_t end) {
    for (std::uint64_t i = first; i < end; ++i) {
        (void)ruvo::get_token_value(kKeys[i % kKeys.size()]);  // only its cost counts
    }
}

void run(std::uint64_t reads) {
    const auto begin = std::chrono::steady_clock::now();
    read_from_to(0, reads / 100);
    const Memory early = print_memory(reads / 100);
    read_from_to(reads / 100, reads / 2);
    print_memory(reads / 2);
    read_from_to(reads / 2, reads);
    const Memory late = print_memory(reads);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    std::printf("growth: %" PRId64 " bytes resident, %" PRId64 " bytes allocated\n",
                static_cast<std::int64_t>(late.resident - early.resident),
                static_cast<std::int64_t>(late.allocated - early.allocated));
    std::printf("%.0f reads per second\n", static_cast<double>(reads) / taken.count());
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t reads = kUsualReads;
    if (argc > 1) {
        const char* const end = argv[1] + std::strlen(argv[1]);
        const auto [stop, error] = std::from_chars(argv[1], end, reads);
        if (error != std::errc{} || stop != end || argc > 2) {
            std::fprintf(stderr, "Usage: ruvo-bench-user-config [READS]\n");
            return 2;
        }
    }
    print_values();
    run(reads);
}
