#include "devkit/status/status_server.h"

#include "devkit/errors.h"
#include "devkit/listening_socket.h"
#include "devkit/poll_timeout.h"
#include "devkit/socket_address.h"
#include "devkit/status/status_reply.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <system_error>
#include <utility>

namespace ruvo::devkit {
namespace {

// How long a client that does not close gets before its connection is cut.
constexpr std::chrono::milliseconds kLeaveTime{1000};
// Clients that went away from a hanging service are let go beyond this number.
constexpr std::size_t kMaxHanging = 400;
// No request is longer; what follows is only read so that it does not pile up.
constexpr std::size_t kMaxRequestBytes = 64;

std::string reply_now(const StatusServerOptions& options) {
    if (options.answering == Answering::kSilent) return {};
    const auto items = read_items_file(options.items_path);
    if (!items) {
        std::cerr << "ruvo-status-service: cannot read " << options.items_path
                  << "; closing without an answer\n";
        return {};
    }
    std::string reply = status_reply(*items);
    reply.resize(std::min(reply.size(), options.max_reply_bytes));
    return reply;
}

}  // namespace

StatusServer::StatusServer(StatusServerOptions options) : options_(std::move(options)) {
    for (const std::uint16_t port : options_.ports) {
        listeners_.push_back(open_tcp_listener(loopback_address(port)));
    }
}

std::vector<std::uint16_t> StatusServer::ports() const {
    std::vector<std::uint16_t> ports;
    for (const Descriptor& listener : listeners_) {
        ports.push_back(port_of(local_address(listener.get())));
    }
    return ports;
}

void StatusServer::serve() {
    for (;;) {
        std::vector<pollfd> set = poll_set();
        if (poll(set.data(), set.size(), poll_timeout_ms()) < 0) {
            if (errno == EINTR) continue;
            throw_errno("poll");
        }
        // The clients of this set first: the new ones come behind them.
        auto entry = set.begin() + static_cast<std::ptrdiff_t>(listeners_.size());
        for (Client& client : clients_) advance(client, (entry++)->revents);
        clients_.remove_if([](const Client& client) { return client.phase == Phase::kDone; });
        for (std::size_t i = 0; i < listeners_.size(); ++i) {
            if (set[i].revents != 0) accept_clients(listeners_[i].get());
        }
        drop_surplus_hanging();
    }
}

std::vector<pollfd> StatusServer::poll_set() const {
    std::vector<pollfd> set;
    for (const Descriptor& listener : listeners_) set.push_back({listener.get(), POLLIN, 0});
    for (const Client& client : clients_) {
        int events = client.peer_closed ? 0 : POLLIN;
        if (client.phase == Phase::kWriting) events |= POLLOUT;
        // An entry that waits for nothing would still report a reset, again and again.
        const int fd = events != 0 ? client.socket.get() : -1;
        set.push_back({fd, static_cast<short>(events), 0});
    }
    return set;
}

int StatusServer::poll_timeout_ms() const {
    Clock::time_point next = Clock::time_point::max();
    for (const Client& client : clients_) {
        const bool waits = client.phase == Phase::kDelaying || client.phase == Phase::kLeaving;
        if (waits) next = std::min(next, client.deadline);
    }
    return next == Clock::time_point::max() ? -1 : ms_until(next);
}

void StatusServer::accept_clients(int listener_fd) {
    for (;;) {
        sockaddr_in peer{};
        Client client;
        try {
            client.socket = accept_connection(listener_fd, peer);
        } catch (const std::system_error& error) {
            std::cerr << "ruvo-status-service: " << error.what() << "\n";
            return;
        }
        if (!client.socket.valid()) return;
        if (options_.answering == Answering::kHang) client.phase = Phase::kHanging;
        clients_.push_back(std::move(client));
    }
}

void StatusServer::advance(Client& client, short ready) {
    if ((ready & (POLLIN | POLLHUP | POLLERR)) != 0 && !client.peer_closed) receive(client);
    if (client.phase == Phase::kReading && ready != 0) read_request(client);
    if (client.phase == Phase::kDelaying && Clock::now() >= client.deadline) start_reply(client);
    if (client.phase == Phase::kWriting) write_reply(client);
    if (client.phase == Phase::kLeaving &&
        (client.peer_closed || Clock::now() >= client.deadline)) {
        client.phase = Phase::kDone;
    }
}

// Everything is read in every phase: closing a connection with unread bytes in it
// would reset it and take the reply away from the client.
void StatusServer::receive(Client& client) {
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t n = recv(client.socket.get(), buffer.data(), buffer.size(), 0);
        if (n > 0) {
            const auto room = kMaxRequestBytes - client.received.size();
            client.received.append(buffer.data(), std::min(static_cast<std::size_t>(n), room));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        client.peer_closed = n == 0 || errno != EAGAIN;
        return;
    }
}

void StatusServer::read_request(Client& client) {
    switch (classify_request(client.received)) {
        case Request::kGetStatus:
            client.phase = Phase::kDelaying;
            client.deadline = Clock::now() + options_.delay;
            return;
        case Request::kOther:
            leave(client);
            return;
        case Request::kIncomplete:
            if (client.peer_closed) client.phase = Phase::kDone;
            return;
    }
}

void StatusServer::start_reply(Client& client) {
    client.unsent = reply_now(options_);
    client.phase = Phase::kWriting;
}

void StatusServer::write_reply(Client& client) {
    while (!client.unsent.empty()) {
        const ssize_t n =
            send(client.socket.get(), client.unsent.data(), client.unsent.size(), MSG_NOSIGNAL);
        if (n >= 0) {
            client.unsent.erase(0, static_cast<std::size_t>(n));
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR) {
            client.phase = Phase::kDone;
            return;
        }
    }
    leave(client);
}

// The client sees the end at once; this side waits for it, so that a carriage
// return still on its way does not reset the connection.
void StatusServer::leave(Client& client) {
    (void)shutdown(client.socket.get(), SHUT_WR);  // silent: the client may be gone
    client.phase = Phase::kLeaving;
    client.deadline = Clock::now() + kLeaveTime;
}

void StatusServer::drop_surplus_hanging() {
    if (options_.answering != Answering::kHang) return;
    while (clients_.size() > kMaxHanging) {
        const auto gone = std::find_if(clients_.begin(), clients_.end(),
                                       [](const Client& client) { return client.peer_closed; });
        if (gone == clients_.end()) return;
        clients_.erase(gone);
    }
}

}  // namespace ruvo::devkit
