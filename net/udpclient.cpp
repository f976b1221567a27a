#include "net/udpclient.h"

#include "core/log.h"
#include "core/unique_fd.h"
#include "net/ipv4_address.h"

#include <sys/socket.h>

#include <chrono>
#include <thread>
#include <utility>

namespace ruvo {
namespace {

// Deliberate: the sending port stays there for a moment after its datagram.
constexpr std::chrono::milliseconds kPauseBeforeClose{20};

}  // namespace

Datagram send_datagram(const char* ip, std::uint16_t port, std::string_view data) {
    const sockaddr_in address = ipv4_address(ip, port);
    Datagram datagram{.sock = UniqueFd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))};
    if (!datagram.sock) return datagram;
    debug_line("[%s:%d] send %.*s\n", "udpclient", 42, static_cast<int>(data.size()), data.data());
    datagram.sent = static_cast<std::int32_t>(::sendto(
        datagram.sock.get(), data.data(), data.size(), 0, generic(address), sizeof address));
    return datagram;
}

void close_after_pause(Datagram datagram) {
    if (datagram.sock) std::this_thread::sleep_for(kPauseBeforeClose);
}

std::int32_t udpclient(const char* ip, std::uint16_t port, std::string_view data) {
    Datagram datagram = send_datagram(ip, port, data);
    const std::int32_t sent = datagram.sent;
    close_after_pause(std::move(datagram));
    return sent;
}

}  // namespace ruvo
