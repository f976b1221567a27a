#pragma once

#include "devkit/descriptor.h"

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <list>
#include <string>
#include <vector>

namespace ruvo::devkit {

enum class Answering {
    kAnswer,
    kSilent,  // closes without an answer
    kHang     // reads, never answers and never closes
};

struct StatusServerOptions {
    std::string items_path;
    std::vector<std::uint16_t> ports;
    std::chrono::milliseconds delay{0};
    std::size_t max_reply_bytes = std::numeric_limits<std::size_t>::max();
    Answering answering = Answering::kAnswer;
};

// Serves any number of clients at once from one thread.
class StatusServer {
  public:
    // Binds the ports; throws std::system_error.
    explicit StatusServer(StatusServerOptions options);

    // The ports really in use, in the order given.
    std::vector<std::uint16_t> ports() const;

    // Never returns; throws std::system_error when waiting itself fails.
    [[noreturn]] void serve();

  private:
    using Clock = std::chrono::steady_clock;

    enum class Phase {
        kReading,   // until the request is known
        kDelaying,  // until `deadline`
        kWriting,   // until the reply is out
        kLeaving,   // until the client closes too, or `deadline`
        kHanging,   // forever
        kDone
    };
    struct Client {
        Descriptor socket;
        Phase phase = Phase::kReading;
        std::string received;
        std::string unsent;
        Clock::time_point deadline{};
        bool peer_closed = false;
    };

    void accept_clients(int listener_fd);
    void advance(Client& client, short ready);
    void read_request(Client& client);
    void receive(Client& client);
    void start_reply(Client& client);
    void write_reply(Client& client);
    void leave(Client& client);
    void drop_surplus_hanging();
    std::vector<pollfd> poll_set() const;
    int poll_timeout_ms() const;

    StatusServerOptions options_;
    std::vector<Descriptor> listeners_;
    std::list<Client> clients_;
};

}  // namespace ruvo::devkit
