#include "devkit/receiver/arrival.h"

#include "devkit/receiver/text_escapes.h"
#include "devkit/socket_address.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <ctime>

namespace ruvo::devkit {
namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr std::int64_t kNsPerMicrosecond = 1'000;

std::string seconds_text(std::int64_t time_ns) {
    const auto seconds = static_cast<long long>(time_ns / kNsPerSecond);
    const auto micros = static_cast<long long>(time_ns % kNsPerSecond / kNsPerMicrosecond);
    char text[48];
    std::snprintf(text, sizeof text, "%lld.%06lld", seconds, micros);
    return text;
}

}  // namespace

const char* protocol_name(Protocol protocol) { return protocol == Protocol::kUdp ? "udp" : "tcp"; }

std::int64_t monotonic_now_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * kNsPerSecond + now.tv_nsec;
}

std::string json_line(const Arrival& arrival) {
    const nlohmann::ordered_json line = {
        {"time_ns", arrival.time_ns},    {"protocol", protocol_name(arrival.protocol)},
        {"from", to_text(arrival.from)}, {"to", to_text(arrival.to)},
        {"hex", to_hex(arrival.bytes)},  {"text", escape_text(arrival.bytes)}};
    return line.dump() + "\n";
}

std::string readable_line(const Arrival& arrival) {
    return to_text(arrival.to) + "  " + protocol_name(arrival.protocol) + "  " +
           seconds_text(arrival.time_ns) + " s  from " + to_text(arrival.from) + "  " +
           std::to_string(arrival.bytes.size()) + " bytes  hex " + to_hex(arrival.bytes) +
           "  text \"" + escape_text(arrival.bytes) + "\"\n";
}

}  // namespace ruvo::devkit
