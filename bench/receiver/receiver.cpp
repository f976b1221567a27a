#include "bench/receiver/receiver.h"

#include "bench/receiver/fail.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace ruvo::bench {
namespace {

// How long a datagram may wait in its socket.
constexpr int kDrainIntervalMs = 20;
constexpr int kEventsAtOnce = 64;
constexpr std::size_t kUsualArrivals = 1 << 16;

}  // namespace

Receiver::Receiver(std::vector<UdpPort> udp, std::vector<TcpPort> tcp)
    : epoll_(::epoll_create1(EPOLL_CLOEXEC)), udp_(std::move(udp)), tcp_(std::move(tcp)) {
    if (!epoll_) fail("epoll_create1");
    for (const TcpPort& port : tcp_) watch(port.fd());
    watch(STDIN_FILENO);
    arrivals_.reserve(kUsualArrivals);
}

int Receiver::run() {
    while (!at_end_) {
        wait();
        for (const UdpPort& port : udp_) port.drain(arrivals_);
        answer_when_due();
    }
    return 0;
}

void Receiver::watch(int fd) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0) fail("epoll_ctl");
}

void Receiver::wait() {
    std::array<epoll_event, kEventsAtOnce> events{};
    const int ready = ::epoll_wait(epoll_.get(), events.data(), kEventsAtOnce, kDrainIntervalMs);
    if (ready < 0 && errno != EINTR) fail("epoll_wait");
    for (int i = 0; i < ready; ++i) handle(events[static_cast<std::size_t>(i)].data.fd);
}

void Receiver::handle(int fd) {
    if (fd == STDIN_FILENO) {
        read_commands();
        return;
    }
    for (const TcpPort& port : tcp_) {
        if (port.fd() != fd) continue;
        accept_connections(port);
        return;
    }
    // Closed behind its first chunk: the sender waits for a reply or the end.
    const auto connection = connections_.find(fd);
    if (connection == connections_.end()) return;
    if (take_chunk(fd, connection->second.port, arrivals_)) connections_.erase(connection);
}

// What came with the connection is read at once, without a turn of the loop between.
void Receiver::accept_connections(const TcpPort& port) {
    while (UniqueFd connection = port.accept()) {
        const int fd = connection.get();
        if (take_chunk(fd, port.number(), arrivals_)) continue;
        watch(fd);
        connections_[fd] = {std::move(connection), port.number()};
    }
}

void Receiver::read_commands() {
    std::array<char, 4096> bytes;
    const ssize_t received = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    at_end_ = received <= 0;
    if (at_end_) return;
    input_.append(bytes.data(), static_cast<std::size_t>(received));
    // The asking side waits for the answer, so there is one command at a time.
    const auto end = input_.find('\n');
    if (end == std::string::npos) return;
    start_take(input_.substr(0, end));
    input_.erase(0, end + 1);
}

void Receiver::start_take(const std::string& command) {
    std::size_t count = 0;
    std::int64_t timeout_ms = 0;
    if (std::sscanf(command.c_str(), "take %zu %" SCNd64, &count, &timeout_ms) != 2) {
        throw std::runtime_error("'" + command + "' is not take COUNT TIMEOUT_MS");
    }
    take_ = Take{count, Clock::now() + std::chrono::milliseconds(timeout_ms)};
}

void Receiver::answer_when_due() {
    if (!take_ || (arrivals_.size() < take_->count && Clock::now() < take_->deadline)) return;
    std::string answer;
    for (const Arrival& arrival : arrivals_) answer += json_line(arrival);
    std::uint32_t dropped = 0;
    for (const UdpPort& port : udp_) dropped += port.dropped();
    answer += "{\"taken\":" + std::to_string(arrivals_.size()) +
              ",\"dropped\":" + std::to_string(dropped) + "}\n";
    (void)std::fwrite(answer.data(), 1, answer.size(), stdout);
    (void)std::fflush(stdout);  // who does not read any more closes standard input, too
    arrivals_.clear();
    take_.reset();
}

}  // namespace ruvo::bench
