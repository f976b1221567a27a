#include "bench/receiver/ports.h"

#include "bench/receiver/fail.h"

#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <time.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace ruvo::bench {
namespace {

constexpr std::size_t kMaxDatagramBytes = 1 << 16;
constexpr int kBufferBytes = 1 << 24;  // some 20,000 small datagrams
constexpr int kBacklog = 4096;
constexpr std::int64_t kNsPerSecond = 1'000'000'000;

std::int64_t to_ns(const timespec& time) {
    return std::int64_t{time.tv_sec} * kNsPerSecond + time.tv_nsec;
}

void switch_on(const UniqueFd& socket, int option, const char* what) {
    const int on = 1;
    if (::setsockopt(socket.get(), SOL_SOCKET, option, &on, sizeof on) != 0) fail(what);
}

// Beyond the system's limit where that is allowed; what is lost all the same is counted.
void enlarge_buffer(const UniqueFd& socket) {
    const int size = kBufferBytes;
    if (::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) == 0) return;
    if (::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &size, sizeof size) != 0) {
        fail("SO_RCVBUF");
    }
}

UniqueFd open_socket(int type) {
    UniqueFd socket(::socket(AF_INET, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) fail("socket");
    return socket;
}

void bind_to(const UniqueFd& socket, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail("bind");
    }
}

std::int64_t kernel_time_ns(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMPNS) continue;
        timespec time{};
        std::memcpy(&time, CMSG_DATA(part), sizeof time);
        return to_ns(time);
    }
    throw std::runtime_error("a datagram without a time");
}

std::int64_t now_ns() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return to_ns(time);
}

}  // namespace

UdpPort::UdpPort(std::uint16_t port) : port_(port), socket_(open_socket(SOCK_DGRAM)) {
    enlarge_buffer(socket_);
    switch_on(socket_, SO_TIMESTAMPNS, "SO_TIMESTAMPNS");
    bind_to(socket_, port);
}

void UdpPort::drain(std::vector<Arrival>& arrivals) const {
    std::array<char, kMaxDatagramBytes> bytes;
    for (;;) {
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(timespec))> control{};
        iovec data{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        const ssize_t received = ::recvmsg(socket_.get(), &message, 0);
        if (received < 0) return;  // nothing waits
        arrivals.push_back({kernel_time_ns(message), Protocol::kUdp, port_,
                            std::string(bytes.data(), static_cast<std::size_t>(received))});
    }
}

std::uint32_t UdpPort::dropped() const {
    std::array<std::uint32_t, SK_MEMINFO_VARS> figures{};
    socklen_t size = sizeof figures;
    if (::getsockopt(socket_.get(), SOL_SOCKET, SO_MEMINFO, figures.data(), &size) != 0) {
        fail("SO_MEMINFO");
    }
    return figures[SK_MEMINFO_DROPS];
}

TcpPort::TcpPort(std::uint16_t port) : port_(port), socket_(open_socket(SOCK_STREAM)) {
    switch_on(socket_, SO_REUSEADDR, "SO_REUSEADDR");
    bind_to(socket_, port);
    if (::listen(socket_.get(), kBacklog) != 0) fail("listen");
}

UniqueFd TcpPort::accept() const {
    return UniqueFd(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

bool take_chunk(int connection, std::uint16_t port, std::vector<Arrival>& arrivals) {
    std::array<char, kMaxDatagramBytes> bytes;
    const ssize_t received = ::recv(connection, bytes.data(), bytes.size(), 0);
    const std::int64_t time_ns = now_ns();
    if (received < 0 && errno == EAGAIN) return false;
    if (received > 0) {
        arrivals.push_back({time_ns, Protocol::kTcp, port,
                            std::string(bytes.data(), static_cast<std::size_t>(received))});
    }
    return true;
}

}  // namespace ruvo::bench
