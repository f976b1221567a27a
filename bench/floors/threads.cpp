// bench-threads [THREADS [SPACING_US [PORT]]]: bare threads that wait for one deadline, or
// for deadlines a spacing apart, and wake. With a port each sends Bare.NUMBER to it on
// 127.0.0.1 by UDP. Prints how many nanoseconds behind its deadline each woke, a line each.

#include "bench/arguments.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr long kUsualThreads = 512;
constexpr std::size_t kStackBytes = std::size_t{128} * 1024;
constexpr std::int64_t kNsPerSecond = 1'000'000'000;
// Every thread is started and asleep by then.
constexpr std::int64_t kLeadNs = 500'000'000;

struct Waiter {
    pthread_t thread{};
    std::int64_t number = 0;
    std::int64_t deadline_ns = 0;
    std::int64_t late_ns = 0;
    int socket = -1;
};

std::int64_t now_ns() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * kNsPerSecond + time.tv_nsec;
}

void* wait_for_deadline(void* argument) {
    Waiter& waiter = *static_cast<Waiter*>(argument);
    timespec until{};
    until.tv_sec = static_cast<time_t>(waiter.deadline_ns / kNsPerSecond);
    until.tv_nsec = static_cast<long>(waiter.deadline_ns % kNsPerSecond);
    const std::string text = "Bare." + std::to_string(waiter.number);
    while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
    waiter.late_ns = now_ns() - waiter.deadline_ns;
    if (waiter.socket >= 0) (void)::send(waiter.socket, text.data(), text.size(), 0);
    return nullptr;
}

int connected_socket(long port) {
    const int sock = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (::connect(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return -1;
    return sock;
}

bool start_all(std::vector<Waiter>& waiters) {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, kStackBytes);
    for (Waiter& waiter : waiters) {
        if (::pthread_create(&waiter.thread, &attributes, wait_for_deadline, &waiter) != 0) {
            std::fprintf(stderr, "bench-threads: cannot start so many threads\n");
            return false;
        }
    }
    ::pthread_attr_destroy(&attributes);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    using ruvo::bench::number_argument;
    std::vector<Waiter> waiters(
        static_cast<std::size_t>(number_argument(argc, argv, 1, kUsualThreads)));
    const std::int64_t spacing_ns = std::int64_t{number_argument(argc, argv, 2, 0)} * 1000;
    const long port = number_argument(argc, argv, 3, 0);
    const int sock = port != 0 ? connected_socket(port) : -1;
    const std::int64_t deadline_ns = now_ns() + kLeadNs;
    std::int64_t number = 0;
    for (Waiter& waiter : waiters) {
        waiter.number = number;
        waiter.deadline_ns = deadline_ns + number * spacing_ns;
        waiter.socket = sock;
        ++number;
    }
    if (!start_all(waiters)) return 1;
    for (const Waiter& waiter : waiters) ::pthread_join(waiter.thread, nullptr);
    for (const Waiter& waiter : waiters) {
        std::printf("%lld\n", static_cast<long long>(waiter.late_ns));
    }
}
