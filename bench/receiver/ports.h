#pragma once

#include "bench/receiver/arrival.h"
#include "core/unique_fd.h"

#include <cstdint>
#include <vector>

namespace ruvo::bench {

// A datagram socket on a port of every address, with the kernel's own time for each
// datagram, so that it may be emptied late. Throws std::system_error.
class UdpPort {
  public:
    explicit UdpPort(std::uint16_t port);

    // Appends everything that waits in the socket.
    void drain(std::vector<Arrival>& arrivals) const;

    // Datagrams that found the socket's buffer full since the port was opened.
    [[nodiscard]] std::uint32_t dropped() const;

  private:
    std::uint16_t port_;
    UniqueFd socket_;
};

// A listening socket on a port of every address. Throws std::system_error.
class TcpPort {
  public:
    explicit TcpPort(std::uint16_t port);

    [[nodiscard]] std::uint16_t number() const { return port_; }
    [[nodiscard]] int fd() const { return socket_.get(); }

    // The next connection, non-blocking; empty when none waits.
    [[nodiscard]] UniqueFd accept() const;

  private:
    std::uint16_t port_;
    UniqueFd socket_;
};

// Takes a connection's first chunk, with the time right behind the reading. False while
// nothing has come; afterwards the connection is to be closed, with or without a chunk.
bool take_chunk(int connection, std::uint16_t port, std::vector<Arrival>& arrivals);

}  // namespace ruvo::bench
