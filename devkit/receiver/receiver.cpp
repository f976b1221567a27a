#include "devkit/receiver/receiver.h"

#include "devkit/errors.h"
#include "devkit/listening_socket.h"
#include "devkit/poll_timeout.h"
#include "devkit/socket_address.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace ruvo::devkit {
namespace {

constexpr std::size_t kBufferBytes = 1 << 16;  // no datagram is longer
constexpr int kEventsAtOnce = 64;

// The address that a datagram was sent to; the port is the socket's own.
sockaddr_in destination_of(const msghdr& message, int socket_fd) {
    sockaddr_in destination = local_address(socket_fd);
    for (const cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(const_cast<msghdr*>(&message), const_cast<cmsghdr*>(part))) {
        if (part->cmsg_level != IPPROTO_IP || part->cmsg_type != IP_PKTINFO) continue;
        in_pktinfo info{};
        std::memcpy(&info, CMSG_DATA(part), sizeof info);
        destination.sin_addr = info.ipi_addr;
    }
    return destination;
}

// The reply is small: a peer that takes none of it does not hold up the others.
void send_reply(int socket_fd, const std::string& reply) {
    (void)send(socket_fd, reply.data(), reply.size(),
               MSG_NOSIGNAL);  // silent: the peer may be gone
}

}  // namespace

Receiver::Receiver(const ReceiverOptions& options)
    : options_(options),
      output_(options.form, options.record_path),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      buffer_(kBufferBytes, '\0') {
    if (!epoll_.valid()) throw_errno("epoll_create1");
    for (const Endpoint& endpoint : options.endpoints) {
        Descriptor socket = endpoint.protocol == Protocol::kUdp
                                ? open_udp_socket(endpoint.address)
                                : open_tcp_listener(endpoint.address);
        watch(socket.get());
        endpoints_[socket.get()] = endpoint.protocol;
        sockets_.push_back(std::move(socket));
    }
}

std::string Receiver::ready_line() const {
    std::string line = "ready";
    for (const Descriptor& socket : sockets_) {
        line += std::string(" ") + protocol_name(endpoints_.at(socket.get())) + " " +
                to_text(local_address(socket.get()));
    }
    return line + "\n";
}

int Receiver::run() {
    const Clock::time_point deadline =
        options_.timeout ? Clock::now() + *options_.timeout : Clock::time_point::max();
    std::array<epoll_event, kEventsAtOnce> events{};
    while (!is_complete()) {
        const int wait_ms = options_.timeout ? ms_until(deadline) : -1;
        const int ready = epoll_wait(epoll_.get(), events.data(), kEventsAtOnce, wait_ms);
        if (ready < 0 && errno != EINTR) throw_errno("epoll_wait");
        for (int i = 0; i < ready && !is_complete(); ++i) {
            handle(events[static_cast<std::size_t>(i)].data.fd);
        }
        const bool time_is_up = Clock::now() >= deadline;
        if (time_is_up && !is_complete()) return options_.count ? 1 : 0;
    }
    return 0;
}

void Receiver::watch(int fd) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0) throw_errno("epoll_ctl");
}

void Receiver::handle(int fd) {
    const auto endpoint = endpoints_.find(fd);
    if (endpoint == endpoints_.end()) {
        // Gone already when an earlier event of the same round closed it.
        const auto connection = connections_.find(fd);
        if (connection != connections_.end()) receive_chunks(connection->second);
    } else if (endpoint->second == Protocol::kUdp) {
        receive_datagrams(fd);
    } else {
        accept_connections(fd);
    }
}

void Receiver::receive_datagrams(int socket_fd) {
    while (!is_complete()) {
        Arrival arrival{0, Protocol::kUdp, {}, {}, {}};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> control{};
        iovec bytes{buffer_.data(), buffer_.size()};
        msghdr message{};
        message.msg_name = &arrival.from;
        message.msg_namelen = sizeof arrival.from;
        message.msg_iov = &bytes;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();

        const ssize_t n = recvmsg(socket_fd, &message, 0);
        if (n < 0) return;  // none left; an error of an earlier send does not matter here
        arrival.time_ns = monotonic_now_ns();
        arrival.to = destination_of(message, socket_fd);
        arrival.bytes.assign(buffer_, 0, static_cast<std::size_t>(n));
        note(arrival);
    }
}

void Receiver::accept_connections(int listener_fd) {
    for (;;) {
        Connection connection{{}, {}, {}};
        connection.socket = accept_connection(listener_fd, connection.peer);
        if (!connection.socket.valid()) return;
        connection.local = local_address(connection.socket.get());
        const int fd = connection.socket.get();
        watch(fd);
        connections_.emplace(fd, std::move(connection));
    }
}

void Receiver::receive_chunks(Connection& connection) {
    const int fd = connection.socket.get();
    while (!is_complete()) {
        const ssize_t n = recv(fd, buffer_.data(), buffer_.size(), 0);
        if (n < 0 && errno == EAGAIN) return;
        if (n <= 0) break;  // closed or reset by the peer
        const std::int64_t time_ns = monotonic_now_ns();
        note({time_ns, Protocol::kTcp, connection.peer, connection.local,
              buffer_.substr(0, static_cast<std::size_t>(n))});
        if (options_.keep_open) continue;
        if (options_.reply) send_reply(fd, *options_.reply);
        break;
    }
    connections_.erase(fd);
}

void Receiver::note(const Arrival& arrival) {
    output_.write(arrival);
    ++arrivals_;
}

bool Receiver::is_complete() const { return options_.count && arrivals_ >= *options_.count; }

}  // namespace ruvo::devkit
