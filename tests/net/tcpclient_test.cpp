#include "net/tcpclient.h"

#include "core/unique_fd.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/refused_calls.h"
#include "tests/support/text.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <vector>

namespace ruvo {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

class TcpClientTest : public testing::Test {
  protected:
    std::int32_t call(std::uint16_t port, std::string_view data, std::size_t capacity = 2048) {
        reply_.assign(capacity, '#');
        const std::int32_t result = tcpclient("127.0.0.1", port, data, reply_);
        EXPECT_NE(std::find(reply_.begin(), reply_.end(), '\0'), reply_.end());
        return result;
    }

    [[nodiscard]] std::string reply() const { return reply_.data(); }

    // The reply of a peer that takes "Hello" and answers so.
    std::string reply_to(const std::string& answer, std::size_t capacity = 2048) {
        test::TcpPeer peer([&](int connection) {
            EXPECT_EQ(test::read_bytes(connection, 5), "Hello");
            test::send_bytes(connection, answer);
        });
        EXPECT_EQ(call(peer.port(), "Hello", capacity), 5);
        return reply();
    }

  private:
    test::FreshProcessState process_state_;
    std::vector<char> reply_;
};

TEST_F(TcpClientTest, SendsItsDataOnceAndReadsTheReply) {
    std::string received;
    {
        test::TcpPeer peer([&](int connection) {
            received = test::read_bytes(connection, 5);
            test::send_bytes(connection, "OK");
            received += test::read_to_end(connection);
        });
        EXPECT_EQ(call(peer.port(), "a\0b\r\n"s), 5);
        EXPECT_EQ(reply(), "OK");
    }
    EXPECT_EQ(received, "a\0b\r\n"s);
}

TEST_F(TcpClientTest, MakesOneLineFeedOfTheRepliesLineEnd) {
    EXPECT_EQ(reply_to("OK\r\n"), "OK\n");
    EXPECT_EQ(reply_to("OK\n\r"), "OK\n");
    EXPECT_EQ(reply_to("OK\n"), "OK\n");
    EXPECT_EQ(reply_to("\n"), "\n");
}

TEST_F(TcpClientTest, KeepsAsMuchOfAReplyAsTheBufferHolds) {
    EXPECT_EQ(reply_to("ABCDEFG", 5), "ABCD");
    EXPECT_EQ(reply_to("ABCD", 5), "ABCD");
    EXPECT_EQ(reply_to("ABC\r\n", 5), "ABC\r");
    EXPECT_EQ(reply_to(test::repeated(3000, 'x')), test::repeated(2047, 'x'));
}

TEST_F(TcpClientTest, LeavesAnEmptyReplyWhenThePeerClosesWithoutOne) {
    EXPECT_EQ(reply_to(""), "");
}

TEST_F(TcpClientTest, LeavesTheErrorWhenThePeerResetsTheConnection) {
    test::TcpPeer peer([](int connection) {
        (void)test::read_bytes(connection, 5);
        test::reset_on_close(connection);
    });
    EXPECT_EQ(call(peer.port(), "Hello"), 5);
    EXPECT_EQ(reply(), "(104)Connection reset by peer");
}

TEST_F(TcpClientTest, ASilentPeerCostsTwoSecondsAndNoResult) {
    test::TcpPeer peer([](int connection) { (void)test::read_to_end(connection); });
    std::int32_t result = 0;
    const auto taken = test::duration_of([&] { result = call(peer.port(), "Hello"); });
    EXPECT_EQ(result, 5);
    EXPECT_EQ(reply(), "(11)Resource temporarily unavailable");
    EXPECT_GE(taken, 2s);
    EXPECT_LT(taken, test::kDeadline);
}

TEST_F(TcpClientTest, DoesNotGoOnAfterAPartialSend) {
    const test::TcpListener never_reads;
    const std::string data(64'000'000, 'x');
    const std::int32_t result = call(never_reads.port(), data);
    EXPECT_GT(result, 0);
    EXPECT_LT(result, 64'000'000);
    EXPECT_EQ(reply(), "(11)Resource temporarily unavailable");
}

TEST_F(TcpClientTest, SendsNoData) {
    test::TcpPeer peer([](int connection) { test::send_bytes(connection, "OK"); });
    EXPECT_EQ(call(peer.port(), ""), 0);
    EXPECT_EQ(reply(), "OK");
}

TEST_F(TcpClientTest, ReachesThisMachineByTextThatIsNoAddress) {
    test::TcpPeer peer([](int connection) { test::send_bytes(connection, "here"); });
    std::array<char, 16> reply{};
    EXPECT_EQ(tcpclient("no address", peer.port(), "Hello", reply), 5);
    EXPECT_STREQ(reply.data(), "here");
}

TEST_F(TcpClientTest, LeavesTheErrorWithoutALineWhenThereIsNoSocket) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    g_debug_flag = 1;
    const std::string output = test::output_of([this] {
        test::run_refused({SYS_socket}, EMFILE, [this] { EXPECT_EQ(call(9, "Hello"), -2); });
    });
    EXPECT_EQ(output, "");
    EXPECT_EQ(reply(), "(24)Too many open files");
}

TEST_F(TcpClientTest, BoundsAnErrorTextToTheBuffer) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    test::run_refused({SYS_socket}, EMFILE, [this] {
        EXPECT_EQ(call(9, "Hello", 8), -2);
        EXPECT_EQ(reply(), "(24)Too");
        EXPECT_EQ(call(9, "Hello", 1), -2);
        EXPECT_EQ(reply(), "");
    });
}

TEST_F(TcpClientTest, IgnoresTimeoutsThatCannotBeSet) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    test::TcpPeer peer([](int connection) { test::send_bytes(connection, "OK"); });
    test::run_refused({SYS_setsockopt}, EPERM, [&] { EXPECT_EQ(call(peer.port(), "Hello"), 5); });
    EXPECT_EQ(reply(), "OK");
}

TEST_F(TcpClientTest, ClosesItsSocket) {
    const UniqueFd before(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(reply_to("OK"), "OK");
    const UniqueFd after(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(after.get(), before.get() + 1);
}

TEST_F(TcpClientTest, LeavesASocketOpenThatIsDescriptorZero) {
    test::TcpPeer peer([](int connection) {
        test::send_bytes(connection, "OK");
        // The client's end stays open, so there is nothing to read to its end.
        (void)test::read_bytes(connection, 5);
    });
    const test::NoStandardInput free;
    EXPECT_EQ(call(peer.port(), "Hello"), 5);
    EXPECT_TRUE(free.is_socket());
}

TEST_F(TcpClientTest, TellsLengthAndDataWhileDebugging) {
    g_debug_flag = 1;
    test::TcpPeer peer([](int connection) { test::send_bytes(connection, "OK"); });
    const std::string output = test::output_of([&] { EXPECT_EQ(call(peer.port(), "ab\0cd"s), 5); });
    EXPECT_TRUE(test::matches(output, "\\[tcpclient:[0-9]+\\] send\\[5\\] ab\n")) << output;
}

}  // namespace
}  // namespace ruvo
