// bench-idle: does at rest what the fixed periods ask for and nothing else: one thread
// sleeps 250 ms at a time, one 200 ms and looks at the clock and at a file. Prints "ready"
// and runs until it is ended.

#include <sys/stat.h>
#include <time.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

[[noreturn]] void poll_queue() {
    for (;;) std::this_thread::sleep_for(std::chrono::milliseconds(250));
}

}  // namespace

int main() {
    std::thread(poll_queue).detach();
    std::puts("ready");
    std::fflush(stdout);
    for (;;) {
        (void)::time(nullptr);
        (void)::time(nullptr);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        struct stat file {};
        (void)::stat("/mnt/configs/ruvo/ruvo.txt", &file);
    }
}
