#include "net/socket_timeouts.h"

#include "core/unique_fd.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

timeval timeout_of(const UniqueFd& socket, int option) {
    timeval timeout{.tv_sec = -1, .tv_usec = -1};
    socklen_t length = sizeof timeout;
    (void)::getsockopt(socket.get(), SOL_SOCKET, option, &timeout, &length);
    return timeout;
}

TEST(SocketTimeouts, BoundBothDirectionsToTwoSeconds) {
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    set_socket_timeouts(socket.get());
    for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO}) {
        EXPECT_EQ(timeout_of(socket, option).tv_sec, 2);
        EXPECT_EQ(timeout_of(socket, option).tv_usec, 0);
    }
}

}  // namespace
}  // namespace ruvo
