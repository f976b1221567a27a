#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>

namespace ruvo::devkit {

// Reads "a.b.c.d:port"; nothing for any other text.
std::optional<sockaddr_in> parse_socket_address(const std::string& text);

sockaddr_in loopback_address(std::uint16_t port);

// "a.b.c.d:port".
std::string to_text(const sockaddr_in& address);

std::uint16_t port_of(const sockaddr_in& address);

// The address that a socket is bound to; throws std::system_error.
sockaddr_in local_address(int socket_fd);

}  // namespace ruvo::devkit
