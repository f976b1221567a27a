// bench-startup-shells [RUNS]: runs the shell commands of the daemon's start-up, in its
// order and up to the moment it listens, and does nothing else. Prints the nanoseconds of
// each run, a line each, between empty lines that the commands print. Needs userconfigtool
// on the PATH.

#include "bench/arguments.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

constexpr long kUsualRuns = 20;
#define CONFIG_DIR "/mnt/configs/ruvo"

void run(const char* command) { (void)std::system(command); }

void ask_switch() {
    std::FILE* const pipe = ::popen("userconfigtool get boolean network.ruvo.enable=false", "re");
    if (pipe == nullptr) return;
    char line[128];
    (void)std::fgets(line, sizeof line, pipe);
    (void)::pclose(pipe);
}

void run_all() {
    run("[ ! -d " CONFIG_DIR " ] && mkdir -p " CONFIG_DIR " || echo");
    run("[ ! -d " CONFIG_DIR "/config ] && mkdir -p " CONFIG_DIR "/config || echo");
    run("[ ! -d " CONFIG_DIR "/tmp ] && mkdir -p " CONFIG_DIR "/tmp || echo");
    run(("echo " + std::to_string(::getpid()) + " > /var/run/ruvotcp.pid").c_str());
    run("userconfigtool set boolean network.ruvo.import=false");
    ask_switch();  // for the context
    ask_switch();  // before the settings are read
}

}  // namespace

int main(int argc, char** argv) {
    const long runs = ruvo::bench::number_argument(argc, argv, 1, kUsualRuns);
    for (long i = 0; i < runs; ++i) {
        const auto begin = Clock::now();
        run_all();
        const std::chrono::nanoseconds taken = Clock::now() - begin;
        std::printf("%lld\n", static_cast<long long>(taken.count()));
    }
}
