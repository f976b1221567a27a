#pragma once

#include "core/unique_fd.h"
#include "tests/support/waiting.h"

#include <sys/time.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace ruvo::test {

// A UDP socket on 127.0.0.1, at a port of its own where none is asked for.
class UdpReceiver {
  public:
    explicit UdpReceiver(std::uint16_t port = 0);

    [[nodiscard]] std::uint16_t port() const { return port_; }

    // The next datagram; nothing when none comes before the deadline.
    std::optional<std::string> receive(std::chrono::milliseconds deadline = kDeadline);

    // Whether nothing has arrived that is still to be received.
    bool is_empty() { return !receive(std::chrono::milliseconds(0)); }

  private:
    UniqueFd socket_;
    std::uint16_t port_;
};

// A listening TCP socket on 127.0.0.1.
class TcpListener {
  public:
    explicit TcpListener(std::uint16_t port = 0, int backlog = 16);

    [[nodiscard]] std::uint16_t port() const { return port_; }
    [[nodiscard]] int descriptor() const { return socket_.get(); }

    // The next connection; empty when none comes before the deadline.
    UniqueFd accept(std::chrono::milliseconds deadline = kDeadline);

  private:
    UniqueFd socket_;
    std::uint16_t port_;
};

// A TCP server that takes one connection, hands it to its service in a thread of
// its own and then closes it.
class TcpPeer {
  public:
    using Service = std::function<void(int connection)>;

    explicit TcpPeer(Service service, std::uint16_t port = 0);
    ~TcpPeer();

    [[nodiscard]] std::uint16_t port() const { return listener_.port(); }

  private:
    TcpListener listener_;
    std::thread thread_;
};

// A port on which nobody listens, for as long as the object lives.
class RefusedPort {
  public:
    RefusedPort();

    [[nodiscard]] std::uint16_t port() const { return port_; }

  private:
    UniqueFd socket_;
    std::uint16_t port_;
};

// A connection to a port of 127.0.0.1; empty when it is refused.
UniqueFd connect_to(std::uint16_t port);

// Up to `bytes` bytes from a connection: fewer when the peer closes first.
std::string read_bytes(int connection, std::size_t bytes);
std::string read_to_end(int connection);
void send_bytes(int connection, std::string_view bytes);

// Closing the connection then resets it.
void reset_on_close(int connection);

// A time-out option of a socket. Nothing where the system answers with anything but a
// whole time, as an emulator does that does not know the option's 64-bit form.
std::optional<timeval> timeout_of(int socket, int option);

// Leaves descriptor 0 free for as long as the object lives.
class NoStandardInput {
  public:
    NoStandardInput();
    ~NoStandardInput();
    NoStandardInput(const NoStandardInput&) = delete;
    NoStandardInput& operator=(const NoStandardInput&) = delete;

    // Whether a socket has taken its place.
    [[nodiscard]] static bool is_socket();

  private:
    UniqueFd standard_input_;
};

}  // namespace ruvo::test
