#include "tests/support/loopback.h"

#include "net/ipv4_address.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace ruvo::test {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kLargestDatagram = 65536;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

UniqueFd bound_socket(int type, std::uint16_t port) {
    UniqueFd socket(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
    if (!socket) fail("socket");
    constexpr int kOn = 1;
    if (port != 0) (void)::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &kOn, sizeof kOn);
    const sockaddr_in address = ipv4_address("127.0.0.1", port);
    if (::bind(socket.get(), generic(address), sizeof address) != 0) fail("bind");
    return socket;
}

std::uint16_t port_of(const UniqueFd& socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        fail("getsockname");
    }
    return ntohs(address.sin_port);
}

bool is_readable_within(int descriptor, milliseconds deadline) {
    pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&waiting, 1, static_cast<int>(deadline.count())) == 1;
}

}  // namespace

UdpReceiver::UdpReceiver(std::uint16_t port)
    : socket_(bound_socket(SOCK_DGRAM, port)), port_(port_of(socket_)) {}

std::optional<std::string> UdpReceiver::receive(milliseconds deadline) {
    if (!is_readable_within(socket_.get(), deadline)) return {};
    std::vector<char> buffer(kLargestDatagram);
    const ssize_t received = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
    if (received < 0) fail("recv");
    return std::string(buffer.data(), static_cast<std::size_t>(received));
}

TcpListener::TcpListener(std::uint16_t port, int backlog)
    : socket_(bound_socket(SOCK_STREAM, port)), port_(port_of(socket_)) {
    if (::listen(socket_.get(), backlog) != 0) fail("listen");
}

UniqueFd TcpListener::accept(milliseconds deadline) {
    if (!is_readable_within(socket_.get(), deadline)) return {};
    return UniqueFd(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

TcpPeer::TcpPeer(Service service, std::uint16_t port)
    : listener_(port), thread_([this, serve = std::move(service)] {
          const UniqueFd connection = listener_.accept();
          if (connection) serve(connection.get());
      }) {}

TcpPeer::~TcpPeer() { thread_.join(); }

RefusedPort::RefusedPort() : socket_(bound_socket(SOCK_STREAM, 0)), port_(port_of(socket_)) {}

UniqueFd connect_to(std::uint16_t port) {
    UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = ipv4_address("127.0.0.1", port);
    if (::connect(socket.get(), generic(address), sizeof address) != 0) socket.reset();
    return socket;
}

std::string read_bytes(int connection, std::size_t bytes) {
    std::string text;
    std::array<char, 4096> buffer{};
    while (text.size() < bytes && is_readable_within(connection, kDeadline)) {
        const std::size_t wanted = std::min(buffer.size(), bytes - text.size());
        const ssize_t received = ::recv(connection, buffer.data(), wanted, 0);
        if (received <= 0) break;
        text.append(buffer.data(), static_cast<std::size_t>(received));
    }
    return text;
}

std::string read_to_end(int connection) { return read_bytes(connection, std::string::npos); }

void send_bytes(int connection, std::string_view bytes) {
    if (::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) fail("send");
}

void reset_on_close(int connection) {
    constexpr linger kReset{.l_onoff = 1, .l_linger = 0};
    (void)::setsockopt(connection, SOL_SOCKET, SO_LINGER, &kReset, sizeof kReset);
}

std::optional<timeval> timeout_of(int socket, int option) {
    timeval timeout{.tv_sec = -1, .tv_usec = -1};
    socklen_t length = sizeof timeout;
    (void)::getsockopt(socket, SOL_SOCKET, option, &timeout, &length);
    return length == sizeof timeout ? std::optional(timeout) : std::nullopt;
}

NoStandardInput::NoStandardInput() : standard_input_(::fcntl(0, F_DUPFD_CLOEXEC, 3)) { ::close(0); }

NoStandardInput::~NoStandardInput() { (void)::dup2(standard_input_.get(), 0); }

bool NoStandardInput::is_socket() {
    struct stat status {};
    return ::fstat(0, &status) == 0 && S_ISSOCK(status.st_mode);
}

}  // namespace ruvo::test
