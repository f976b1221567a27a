#include "devkit/socket_address.h"

#include "devkit/errors.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <charconv>

namespace ruvo::devkit {

std::optional<sockaddr_in> parse_socket_address(const std::string& text) {
    const auto colon = text.rfind(':');
    if (colon == std::string::npos) return std::nullopt;

    const char* const first = text.data() + colon + 1;
    const char* const last = text.data() + text.size();
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(first, last, port);
    if (error != std::errc{} || end != last) return std::nullopt;

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const std::string host = text.substr(0, colon);
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1) return std::nullopt;
    return address;
}

sockaddr_in loopback_address(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::string to_text(const sockaddr_in& address) {
    std::array<char, INET_ADDRSTRLEN> host{};
    inet_ntop(AF_INET, &address.sin_addr, host.data(), host.size());
    return std::string(host.data()) + ":" + std::to_string(port_of(address));
}

std::uint16_t port_of(const sockaddr_in& address) { return ntohs(address.sin_port); }

sockaddr_in local_address(int socket_fd) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (getsockname(socket_fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw_errno("getsockname");
    }
    return address;
}

}  // namespace ruvo::devkit
