#pragma once

#include <cstdint>
#include <string>

namespace ruvo::bench {

enum class Protocol { kUdp, kTcp };

// One datagram, or the first chunk of one connection.
struct Arrival {
    std::int64_t t_ns = 0;  // CLOCK_REALTIME
    Protocol protocol = Protocol::kUdp;
    std::uint16_t port = 0;  // where it was sent to
    std::string bytes;
};

// {"t_ns":...,"port":...,"protocol":"UDP","hex":"..."} with a line feed.
std::string json_line(const Arrival& arrival);

}  // namespace ruvo::bench
