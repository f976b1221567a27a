#include "ruvoctl/socket_destination.h"

#include "core/unique_fd.h"
#include "net/ipv4_address.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>

namespace ruvo::ctl {
namespace {

struct Case {
    Sender sender;
    const char* ip;
    std::uint16_t port;
    bool refused;
    const char* why;
};

constexpr Case kCases[] = {
    {Sender::kUdp, "127.0.0.1", 9, false, "an ordinary address"},
    {Sender::kUdp, "127.0.0.1", 0, true, "no datagram goes to port 0"},
    {Sender::kUdp, "255.255.255.255", 9, true, "broadcasting must be asked for"},
    {Sender::kUdpStatus, "255.255.255.255", 9, true, "the report too"},
    {Sender::kTcp, "255.255.255.255", 9, true, "no connection to everybody"},
    {Sender::kUdp, "127.255.255.255", 9, true, "the loopback network's broadcast"},
    {Sender::kUdpStatus, "127.255.255.255", 9, true, "the report too"},
    {Sender::kTcp, "127.255.255.255", 9, true, "no connection to all of a network"},
    {Sender::kUdp, "127.255.255.254", 9, false, "the last host of that network"},
    {Sender::kTcp, "127.255.255.254", 9, false, "by either protocol"},
    {Sender::kTcp, "224.0.0.1", 9, true, "nor to a group"},
    {Sender::kTcpStatus, "239.255.255.250", 9, true, "nor to another"},
    {Sender::kTcp, "223.255.255.255", 9, false, "below the groups"},
    {Sender::kTcp, "240.0.0.1", 9, false, "above them"},
    {Sender::kTcp, "127.0.0.1", 0, false, "nobody listens there, but it is tried"},
    {Sender::kUdp, "224.0.0.1", 9, false, "a group may be sent to"},
    {Sender::kNone, "255.255.255.255", 0, false, "nothing is tried at all"},
};

SocketDestination destination(const Case& c) {
    return {.ip = c.ip, .port = c.port, .ip_parsed = true};
}

TEST(AlwaysRefused, KnowsTheDestinationsThatNoSenderReaches) {
    for (const Case& c : kCases) {
        EXPECT_EQ(always_refused(c.sender, destination(c)), c.refused) << c.why;
    }
}

// The error of a socket without options that connects or sends a byte there.
int error_towards(const Case& c) {
    const bool tcp = c.sender == Sender::kTcp || c.sender == Sender::kTcpStatus;
    const UniqueFd sock(::socket(AF_INET, (tcp ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC, 0));
    const sockaddr_in address = ipv4_address(c.ip, c.port);
    const auto result = tcp ? ::connect(sock.get(), generic(address), sizeof address)
                            : ::sendto(sock.get(), "x", 1, 0, generic(address), sizeof address);
    return result < 0 ? errno : 0;
}

TEST(AlwaysRefused, TheSystemReallyRefusesThem) {
    int tried = 0;
    for (const Case& c : kCases) {
        if (!c.refused) continue;
        ++tried;
        const int error = error_towards(c);
        EXPECT_TRUE(error == EINVAL || error == EACCES || error == ENETUNREACH)
            << c.why << ": " << error;
    }
    EXPECT_EQ(tried, 9);
}

}  // namespace
}  // namespace ruvo::ctl
