#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>

namespace ruvo::devkit {

enum class Protocol { kUdp, kTcp };

// "udp" or "tcp".
const char* protocol_name(Protocol protocol);

// One datagram, or one chunk read from a connection.
struct Arrival {
    std::int64_t time_ns;  // CLOCK_MONOTONIC, read right behind the bytes
    Protocol protocol;
    sockaddr_in from;
    sockaddr_in to;  // where the sender really sent it, never 0.0.0.0
    std::string bytes;
};

std::int64_t monotonic_now_ns();

// One line each, line end included.
std::string json_line(const Arrival& arrival);
std::string readable_line(const Arrival& arrival);

}  // namespace ruvo::devkit
