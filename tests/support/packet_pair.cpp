#include "tests/support/packet_pair.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace ruvo::test {

PacketPair::PacketPair() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    near_ = UniqueFd(ends[0]);
    far_ = UniqueFd(ends[1]);
}

std::vector<std::string> PacketPair::sent() {
    near_.reset();
    std::vector<std::string> pieces;
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t received = ::recv(far_.get(), buffer.data(), buffer.size(), 0);
        if (received <= 0) return pieces;
        pieces.emplace_back(buffer.data(), static_cast<std::size_t>(received));
    }
}

}  // namespace ruvo::test
