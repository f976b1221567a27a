#include "bench/receiver/arrival.h"

#include <string_view>

namespace ruvo::bench {
namespace {

std::string hex_of(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        const auto number = static_cast<unsigned char>(byte);
        hex += kDigits[number >> 4];
        hex += kDigits[number & 15];
    }
    return hex;
}

}  // namespace

std::string json_line(const Arrival& arrival) {
    const std::string_view protocol = arrival.protocol == Protocol::kUdp ? "UDP" : "TCP";
    std::string line = "{\"t_ns\":" + std::to_string(arrival.t_ns);
    line += ",\"port\":" + std::to_string(arrival.port);
    line += ",\"protocol\":\"";
    line += protocol;
    line += "\",\"hex\":\"" + hex_of(arrival.bytes) + "\"}\n";
    return line;
}

}  // namespace ruvo::bench
