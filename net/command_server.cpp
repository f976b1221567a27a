#include "net/command_server.h"

#include "core/daemon_context.h"
#include "core/exception_text.h"
#include "core/log.h"
#include "core/process_state.h"
#include "core/unique_fd.h"
#include "execution/event_queue.h"
#include "net/command_handling.h"
#include "net/command_request.h"
#include "net/connections.h"
#include "net/ipv4_address.h"
#include "net/socket_timeouts.h"

#include <fcntl.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

namespace ruvo {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kCommandIp[] = "127.0.0.1";
constexpr std::uint16_t kCommandPort = 2700;
constexpr int kBacklog = 10;
constexpr std::chrono::milliseconds kAcceptRest{100};

UniqueFd open_socket() {
    UniqueFd sock(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // A process that was started with a thousand open files gets one that select
    // can't watch.
    const int error = !sock ? errno : sock.get() >= FD_SETSIZE ? EMFILE : 0;
    if (error == 0) return sock;
    static LogSite no_socket;
    log_line(no_socket, "Error: [%s:%d] open socket(): %s\n", "handle_tcp_event", 1368,
             error_text(error));
    return {};
}

bool allow_address_reuse(const UniqueFd& sock) {
    const int on = 1;
    if (::setsockopt(sock.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0) return true;
    static LogSite no_reuse;
    log_line(no_reuse, "Error: [%s:%d] Server-setsockopt(): %s\n", "handle_tcp_event", 1372,
             error_text(errno));
    return false;
}

bool bind_command_port(const UniqueFd& sock) {
    log_line_unrotated("[%s:%d] bind %s:%d\n", "handle_tcp_event", 1382, kCommandIp, kCommandPort);
    const sockaddr_in address = ipv4_address(kCommandIp, kCommandPort);
    if (::bind(sock.get(), generic(address), sizeof address) == 0) return true;
    const int error = errno;
    static LogSite not_bound;
    log_line(not_bound, "Error: [%s:%d] bind(): (%d)%s\n", "handle_tcp_event", 1384, error,
             error_text(error));
    if (error == EADDRINUSE) std::exit(1);  // another daemon serves this device
    return false;
}

bool listen_for_connections(const UniqueFd& sock) {
    if (::listen(sock.get(), kBacklog) == 0) return true;
    static LogSite not_listening;
    log_line(not_listening, "Error: [%s:%d] listen(): %s\n", "handle_tcp_event", 1392,
             error_text(errno));
    return false;
}

// The listening socket, or nothing after a line that says why.
UniqueFd open_command_port() {
    UniqueFd sock = open_socket();
    if (!sock || !allow_address_reuse(sock)) return {};
    set_socket_timeouts(sock.get());  // accepted sockets inherit them
    if (!bind_command_port(sock) || !listen_for_connections(sock)) return {};
    return sock;
}

// Queues the trigger while events are enabled; returns the reply.
std::string handle_trigger(ServerContext& server, const CommandRequest& request) {
    if (g_daemon_ctx->enable.load(std::memory_order_relaxed) == 0) return disabled_reply(request);
    const std::string trigger = trigger_text(request);
    return queued_reply(trigger, push_event_back(server, trigger));
}

void send_reply(int connection, const std::string& reply) {
    if (::send(connection, reply.data(), reply.size(), 0) < 0) {
        static LogSite not_sent;
        log_line(not_sent, "Error: [%s:%d] send(): %s\n", "handle_tcp_event", 1459,
                 error_text(errno));
        return;
    }
    static LogSite sent;
    log_line(sent, "[%s:%d] send() %s\n", "handle_tcp_event", 1461, reply.c_str());
}

void handle_request(ServerContext& server, int connection, std::string_view text) {
    const CommandRequest request = split_request(text);
    // No line end: the next message continues the line.
    static LogSite received;
    log_line(received, "[%s:%d] Recv[%d]:key=%s,value=%s", "handle_tcp_event", 1434,
             static_cast<int>(request.key.size()), request.key.c_str(), request.value.c_str());
    if (is_command(request)) {
        (void)handle_tcp_command(connection, request.key, request.value);  // replies itself
        return;
    }
    send_reply(connection, handle_trigger(server, request));
}

// One receive is the whole request.
void serve_connection(ServerContext& server, int connection) {
    std::array<char, kRequestBytes> buffer;
    ssize_t received = 0;
    do {
        received = ::recv(connection, buffer.data(), buffer.size() - 1, 0);
    } while (received < 0 && errno == EINTR);
    if (received < 0) {
        static LogSite not_received;
        log_line(not_received, "Error: [%s:%d] Recv(): %s\n", "handle_tcp_event", 1420,
                 error_text(errno));
    }
    if (received <= 0) return;
    const std::string_view request(buffer.data(), static_cast<std::size_t>(received));
    handle_request(server, connection, request_text(request));
}

// The command port at work: the listening socket and its open connections.
class CommandPort {
  public:
    CommandPort(ServerContext& server, UniqueFd listener)
        : server_(server), listener_(std::move(listener)) {}

    // Waits for something to do and does it; false when waiting has failed.
    bool serve_once() {
        fd_set ready;
        const int highest = wait_until_ready(ready);
        for (int descriptor = 0; descriptor <= highest; ++descriptor) {
            if (FD_ISSET(descriptor, &ready)) serve(descriptor, ready);
        }
        return highest >= 0;
    }

  private:
    // Returns the highest descriptor of the ready set, or -1 when select has failed.
    int wait_until_ready(fd_set& ready) const {
        for (;;) {
            FD_ZERO(&ready);
            int highest = std::max(connections_.watch(ready), listener_.get());
            const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(resting_until_ -
                                                                                    Clock::now());
            timeval timeout{.tv_sec = 0, .tv_usec = static_cast<suseconds_t>(rest.count())};
            const bool resting = rest.count() > 0;
            if (!resting) FD_SET(listener_.get(), &ready);
            const int count =
                ::select(highest + 1, &ready, nullptr, nullptr, resting ? &timeout : nullptr);
            if (count > 0) return highest;
            if (count == 0 || errno == EINTR) continue;
            static LogSite not_watched;
            log_line(not_watched, "Error: [%s:%d] select(): %s\n", "handle_tcp_event", 1401,
                     error_text(errno));
            return -1;
        }
    }

    // An exception costs the request at hand: its connection is closed unanswered.
    void serve(int descriptor, fd_set& ready) {
        try {
            if (descriptor == listener_.get()) {
                accept_connection(ready);
                return;
            }
            serve_connection(server_, descriptor);
        } catch (...) {
            static LogSite failed;
            log_line(failed, "Error: [%s:%d] request: %s\n", "handle_tcp_event", 1444,
                     exception_text());
        }
        if (descriptor != listener_.get()) connections_.close(descriptor);
    }

    void accept_connection(fd_set& ready) {
        UniqueFd connection;
        do {
            connection.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        } while (!connection && errno == EINTR);
        const int error = errno;
        if (!connection) {
            report_accept_failure(error);
            make_room(ready);
            return;
        }
        if (connection.get() >= FD_SETSIZE) {
            report_accept_failure(EMFILE);
            make_room(ready);
            connection = watchable_copy(connection);
            if (!connection) return;
        }
        // The number may be that of a connection closed a moment ago: its ready bit
        // says nothing about this one.
        FD_CLR(connection.get(), &ready);
        connections_.add(std::move(connection));
    }

    // The same connection under a number that select can watch; empty when all of
    // them are taken.
    static UniqueFd watchable_copy(const UniqueFd& connection) {
        UniqueFd copy(::fcntl(connection.get(), F_DUPFD_CLOEXEC, 0));
        if (copy.get() >= FD_SETSIZE) copy.reset();
        return copy;
    }

    static void report_accept_failure(int error) {
        static LogSite not_accepted;
        log_line(not_accepted, "Error: [%s:%d] accept(): %s\n", "handle_tcp_event", 1410,
                 error_text(error));
    }

    // After a failed accept, as a rule for want of descriptors: a silent peer gives
    // way to one that has something to say.
    void make_room(fd_set& ready) {
        const int closed = connections_.close_longest_silent();
        if (closed >= 0) {
            FD_CLR(closed, &ready);
        } else {
            resting_until_ = Clock::now() + kAcceptRest;
        }
    }

    ServerContext& server_;
    const UniqueFd listener_;
    Connections connections_;
    Clock::time_point resting_until_{};
};

}  // namespace

int handle_tcp_event(ServerContext* server) {
    UniqueFd listener = open_command_port();
    if (!listener) return 0;
    CommandPort port(*server, std::move(listener));
    while (port.serve_once()) {
    }
    return 0;
}

}  // namespace ruvo
