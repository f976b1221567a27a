#include "net/udpclient.h"

#include "core/log.h"
#include "core/unique_fd.h"
#include "net/ipv4_address.h"

#include <sys/socket.h>

#include <chrono>
#include <thread>

namespace ruvo {
namespace {

// Deliberate: the sending port stays there for a moment after its datagram.
constexpr std::chrono::milliseconds kPauseBeforeClose{20};

}  // namespace

std::int32_t udpclient(const char* ip, std::uint16_t port, std::string_view data) {
    const sockaddr_in address = ipv4_address(ip, port);
    const UniqueFd sock(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!sock) return -1;
    debug_line("[%s:%d] send %.*s\n", "udpclient", 42, static_cast<int>(data.size()), data.data());
    const ssize_t sent =
        ::sendto(sock.get(), data.data(), data.size(), 0, generic(address), sizeof address);
    std::this_thread::sleep_for(kPauseBeforeClose);
    return static_cast<std::int32_t>(sent);
}

}  // namespace ruvo
