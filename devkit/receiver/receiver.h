#pragma once

#include "devkit/descriptor.h"
#include "devkit/receiver/arrival.h"
#include "devkit/receiver/arrival_output.h"
#include "devkit/receiver/options.h"

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace ruvo::devkit {

// Receives on all endpoints from one thread, with any number of connections open.
class Receiver {
  public:
    // Binds everything; throws std::system_error.
    explicit Receiver(const ReceiverOptions& options);

    // "ready udp ADDR:PORT tcp ADDR:PORT...", with the ports really in use.
    std::string ready_line() const;

    // Receives until the wanted number is there or the time is up, and returns the
    // status to end with. Throws std::system_error.
    int run();

  private:
    using Clock = std::chrono::steady_clock;

    struct Connection {
        Descriptor socket;
        sockaddr_in peer;
        sockaddr_in local;
    };

    void watch(int fd) const;
    void handle(int fd);
    void receive_datagrams(int socket_fd);
    void accept_connections(int listener_fd);
    void receive_chunks(Connection& connection);
    void note(const Arrival& arrival);
    bool is_complete() const;

    const ReceiverOptions& options_;
    ArrivalOutput output_;
    Descriptor epoll_;
    std::map<int, Protocol> endpoints_;
    std::vector<Descriptor> sockets_;  // in the order given
    std::map<int, Connection> connections_;
    std::string buffer_;
    std::size_t arrivals_ = 0;
};

}  // namespace ruvo::devkit
