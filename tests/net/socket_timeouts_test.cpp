#include "net/socket_timeouts.h"

#include "core/unique_fd.h"

#include <gtest/gtest.h>

#include <optional>

namespace ruvo {
namespace {

// Nothing where the system answers with anything but a whole time, as an emulator does
// that does not know the option's 64-bit form.
std::optional<timeval> timeout_of(const UniqueFd& socket, int option) {
    timeval timeout{.tv_sec = -1, .tv_usec = -1};
    socklen_t length = sizeof timeout;
    (void)::getsockopt(socket.get(), SOL_SOCKET, option, &timeout, &length);
    return length == sizeof timeout ? std::optional(timeout) : std::nullopt;
}

TEST(SocketTimeouts, BoundBothDirectionsToTwoSeconds) {
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    set_socket_timeouts(socket.get());
    for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO}) {
        const auto timeout = timeout_of(socket, option);
        if (!timeout) GTEST_SKIP() << "time-outs can't be read here";
        EXPECT_EQ(timeout->tv_sec, 2);
        EXPECT_EQ(timeout->tv_usec, 0);
    }
}

}  // namespace
}  // namespace ruvo
