#pragma once

#include "bench/receiver/arrival.h"
#include "bench/receiver/ports.h"
#include "core/unique_fd.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ruvo::bench {

// Receives on all ports from one thread and hands the arrivals out on request:
//
//   take COUNT TIMEOUT_MS     waits until COUNT have come or the time is up, then
//                             prints all that have come since the take before and
//                             {"taken":N,"dropped":D}
//
// Datagrams bring the kernel's time, so nobody wakes for each of them: the sender has
// the processors to itself, as it has when the receiver is another machine.
class Receiver {
  public:
    Receiver(std::vector<UdpPort> udp, std::vector<TcpPort> tcp);

    // Serves standard input until it ends; returns the status to end with.
    int run();

  private:
    using Clock = std::chrono::steady_clock;

    struct Take {
        std::size_t count;
        Clock::time_point deadline;
    };

    void watch(int fd) const;
    void wait();
    void handle(int fd);
    void accept_connections(const TcpPort& port);
    void read_commands();
    void start_take(const std::string& command);
    void answer_when_due();

    UniqueFd epoll_;
    std::vector<UdpPort> udp_;
    std::vector<TcpPort> tcp_;
    struct Connection {
        UniqueFd socket;
        std::uint16_t port;
    };
    std::map<int, Connection> connections_;
    std::vector<Arrival> arrivals_;
    std::string input_;
    std::optional<Take> take_;
    bool at_end_ = false;
};

}  // namespace ruvo::bench
