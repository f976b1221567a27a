#include "net/socket_timeouts.h"

#include "core/unique_fd.h"
#include "tests/support/loopback.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

TEST(SocketTimeouts, BoundBothDirectionsToTwoSeconds) {
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    set_socket_timeouts(socket.get());
    for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO}) {
        const auto timeout = test::timeout_of(socket.get(), option);
        if (!timeout) GTEST_SKIP() << "time-outs can't be read here";
        EXPECT_EQ(timeout->tv_sec, 2);
        EXPECT_EQ(timeout->tv_usec, 0);
    }
}

}  // namespace
}  // namespace ruvo
