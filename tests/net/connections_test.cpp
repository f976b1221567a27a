#include "net/connections.h"

#include "tests/support/loopback.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <deque>

namespace ruvo {
namespace {

class ConnectionsTest : public testing::Test {
  protected:
    // Adds a connection and returns its descriptor; the peer's end is kept.
    int add() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        peers_.emplace_back(ends[1]);
        connections_.add(UniqueFd(ends[0]));
        return ends[0];
    }

    void say_something(std::size_t peer) { test::send_bytes(peers_[peer].get(), "x"); }

    static bool is_open(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }

    std::deque<UniqueFd> peers_;
    Connections connections_;
};

TEST_F(ConnectionsTest, WatchNothingWhenThereAreNone) {
    fd_set set;
    FD_ZERO(&set);
    EXPECT_EQ(connections_.watch(set), -1);
    EXPECT_EQ(connections_.close_longest_silent(), -1);
}

TEST_F(ConnectionsTest, WatchEveryConnection) {
    const int first = add();
    const int second = add();
    fd_set set;
    FD_ZERO(&set);
    EXPECT_EQ(connections_.watch(set), std::max(first, second));
    EXPECT_TRUE(FD_ISSET(first, &set));
    EXPECT_TRUE(FD_ISSET(second, &set));
}

TEST_F(ConnectionsTest, LeaveWhatElseIsInTheSet) {
    const int first = add();
    fd_set set;
    FD_ZERO(&set);
    FD_SET(0, &set);
    EXPECT_EQ(connections_.watch(set), first);
    EXPECT_TRUE(FD_ISSET(0, &set));
}

TEST_F(ConnectionsTest, CloseOneAndWatchTheOthers) {
    const int first = add();
    const int second = add();
    connections_.close(first);
    EXPECT_FALSE(is_open(first));
    fd_set set;
    FD_ZERO(&set);
    EXPECT_EQ(connections_.watch(set), second);
    EXPECT_FALSE(FD_ISSET(first, &set));
}

TEST_F(ConnectionsTest, CloseTheOldestOfTheSilent) {
    const int first = add();
    const int second = add();
    EXPECT_EQ(connections_.close_longest_silent(), first);
    EXPECT_FALSE(is_open(first));
    EXPECT_EQ(connections_.close_longest_silent(), second);
    EXPECT_EQ(connections_.close_longest_silent(), -1);
}

TEST_F(ConnectionsTest, SpareAConnectionWithDataReady) {
    const int first = add();
    const int second = add();
    say_something(0);
    EXPECT_EQ(connections_.close_longest_silent(), second);
    EXPECT_TRUE(is_open(first));
    EXPECT_EQ(connections_.close_longest_silent(), -1);
}

TEST_F(ConnectionsTest, SpareAConnectionWhosePeerHasClosed) {
    (void)add();
    const int second = add();
    peers_[0].reset();
    EXPECT_EQ(connections_.close_longest_silent(), second);
}

TEST_F(ConnectionsTest, JudgeByArrivalNotByDescriptor) {
    const int first = add();
    const int second = add();
    connections_.close(first);
    const int third = add();  // the lowest free descriptor
    EXPECT_EQ(third, first);
    EXPECT_EQ(connections_.close_longest_silent(), second);
}

TEST_F(ConnectionsTest, WatchTheHighestDescriptorThatASetHolds) {
    const int highest = ::fcntl(0, F_DUPFD_CLOEXEC, FD_SETSIZE - 1);
    ASSERT_EQ(highest, FD_SETSIZE - 1);
    connections_.add(UniqueFd(highest));
    fd_set set;
    FD_ZERO(&set);
    EXPECT_EQ(connections_.watch(set), highest);
    EXPECT_TRUE(FD_ISSET(highest, &set));
}

TEST_F(ConnectionsTest, CloseTheirConnectionsAtTheirEnd) {
    int descriptor = -1;
    {
        Connections connections;
        UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        descriptor = socket.get();
        connections.add(std::move(socket));
    }
    EXPECT_FALSE(is_open(descriptor));
}

}  // namespace
}  // namespace ruvo
