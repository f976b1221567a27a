// bench-receiver: what arrives over UDP and TCP, and when. Prints "ready", then answers
// the requests that come over standard input; see receiver.h.

#include "bench/receiver/receiver.h"

#include <charconv>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

std::uint16_t port_number(std::string_view text) {
    std::uint16_t port = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc{} || stop != text.data() + text.size() || port == 0) {
        throw std::runtime_error("'" + std::string(text) + "' is no port");
    }
    return port;
}

int run(const std::vector<std::string_view>& words) {
    std::vector<ruvo::bench::UdpPort> udp;
    std::vector<ruvo::bench::TcpPort> tcp;
    for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
        if (words[i] == "--udp") {
            udp.emplace_back(port_number(words[i + 1]));
        } else if (words[i] == "--tcp") {
            tcp.emplace_back(port_number(words[i + 1]));
        }
    }
    if (words.empty() || 2 * (udp.size() + tcp.size()) != words.size()) {
        throw std::runtime_error("usage: bench-receiver (--udp|--tcp) PORT...");
    }
    ruvo::bench::Receiver receiver(std::move(udp), std::move(tcp));
    std::puts("ready");
    std::fflush(stdout);
    return receiver.run();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(std::vector<std::string_view>(argv + 1, argv + argc));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-receiver: %s\n", error.what());
        return 1;
    }
}
