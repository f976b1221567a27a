#include "devkit/listening_socket.h"

#include "devkit/errors.h"
#include "devkit/socket_address.h"

#include <sys/socket.h>

#include <cerrno>
#include <string>

namespace ruvo::devkit {
namespace {

constexpr int kBacklog = 4096;
constexpr int kReceiveBufferBytes = 4 << 20;

void set_option(int fd, int level, int name, int value, const char* what) {
    if (setsockopt(fd, level, name, &value, sizeof value) != 0) throw_errno(what);
}

Descriptor open_bound_socket(int type, const sockaddr_in& address) {
    Descriptor fd(socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd.valid()) throw_errno("socket");
    // A UDP port shared by two receivers would be a silent mistake.
    if (type == SOCK_STREAM) set_option(fd.get(), SOL_SOCKET, SO_REUSEADDR, 1, "SO_REUSEADDR");
    if (bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw_errno("cannot use " + to_text(address));
    }
    return fd;
}

}  // namespace

Descriptor open_tcp_listener(const sockaddr_in& address) {
    Descriptor fd = open_bound_socket(SOCK_STREAM, address);
    if (listen(fd.get(), kBacklog) != 0) throw_errno("cannot listen on " + to_text(address));
    return fd;
}

Descriptor open_udp_socket(const sockaddr_in& address) {
    Descriptor fd = open_bound_socket(SOCK_DGRAM, address);
    set_option(fd.get(), IPPROTO_IP, IP_PKTINFO, 1, "IP_PKTINFO");
    const int bytes = kReceiveBufferBytes;
    // Beyond the system's limit only for root; the plain form is cut to the limit.
    if (setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) != 0) {
        set_option(fd.get(), SOL_SOCKET, SO_RCVBUF, bytes, "SO_RCVBUF");
    }
    return fd;
}

Descriptor accept_connection(int listener_fd, sockaddr_in& peer) {
    socklen_t size = sizeof peer;
    Descriptor fd(accept4(listener_fd, reinterpret_cast<sockaddr*>(&peer), &size,
                          SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (fd.valid()) return fd;
    const bool passes = errno == EAGAIN || errno == ECONNABORTED || errno == EINTR;
    if (!passes) throw_errno("accept");
    return fd;
}

}  // namespace ruvo::devkit
