#include "net/tcpclient.h"

#include "core/unique_fd.h"
#include "net/ipv4_address.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <string>
#include <vector>

namespace ruvo {
namespace {

using namespace std::chrono_literals;

// The failures that are logged.
class TcpFailureTest : public test::WorldTest {
  protected:
    std::int32_t call(std::uint16_t port, std::string_view data) {
        return tcpclient("127.0.0.1", port, data, reply_);
    }

    std::array<char, 2048> reply_{};
};

TEST_F(TcpFailureTest, ARefusedConnectionIsLogged) {
    const test::RefusedPort nobody;
    const std::string output =
        test::output_of([&] { EXPECT_EQ(call(nobody.port(), "Hello"), -3); });
    EXPECT_EQ(output, "[ruvotcp] Error: connect 127.0.0.1:" + std::to_string(nobody.port()) +
                          " ;(111)Connection refused;Hello;\n");
    EXPECT_EQ(log(), output);
    EXPECT_STREQ(reply_.data(), "(111)Connection refused");
}

TEST_F(TcpFailureTest, ALoggedConnectionShowsTheDataAsText) {
    const test::RefusedPort nobody;
    const std::string output =
        test::output_of([&] { (void)call(nobody.port(), std::string_view("ab\0cd", 5)); });
    EXPECT_TRUE(output.ends_with(" ;(111)Connection refused;ab;\n")) << output;
}

TEST_F(TcpFailureTest, NoLogLevelSilencesAFailure) {
    g_log_level = 0;
    const test::RefusedPort nobody;
    EXPECT_NE(test::output_of([&] { (void)call(nobody.port(), "x"); }), "");
    EXPECT_NE(log(), "");
}

// A listener whose queue is full: the kernel lets further connections wait.
class FullListener {
  public:
    FullListener() : listener_(0, 0) {
        const sockaddr_in address = ipv4_address("127.0.0.1", listener_.port());
        for (int i = 0; i < 8; ++i) {
            waiting_.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            (void)::connect(waiting_.back().get(), generic(address), sizeof address);
        }
    }

    [[nodiscard]] std::uint16_t port() const { return listener_.port(); }

  private:
    test::TcpListener listener_;
    std::vector<UniqueFd> waiting_;
};

TEST_F(TcpFailureTest, AConnectionThatNobodyTakesEndsAfterTwoSeconds) {
    const FullListener full;
    std::int32_t result = 0;
    (void)test::output_of([&] {
        const auto taken = test::duration_of([&] { result = call(full.port(), "Hello"); });
        EXPECT_GE(taken, 2s);
        EXPECT_LT(taken, test::kDeadline);
    });
    EXPECT_EQ(result, -3);
    EXPECT_STREQ(reply_.data(), "(115)Operation now in progress");
    EXPECT_TRUE(log().ends_with(" ;(115)Operation now in progress;Hello;\n")) << log();
}

TEST_F(TcpFailureTest, AFailedSendIsLoggedWithItsResultAsLength) {
    test::TcpPeer peer([](int connection) { (void)test::read_to_end(connection); });
    std::int32_t result = 0;
    const std::string output = test::output_of([&] {
        test::run_refused({SYS_sendto}, EPIPE, [&] { result = call(peer.port(), "Hello"); });
    });
    EXPECT_EQ(result, -4);
    EXPECT_EQ(output, "[ruvotcp] Error: send(len=-1) 127.0.0.1:" + std::to_string(peer.port()) +
                          " :(32)Broken pipe\n(5)Hello;\n");
    EXPECT_EQ(log(), output);
    EXPECT_STREQ(reply_.data(), "(32)Broken pipe");
}

TEST_F(TcpFailureTest, AFailedSendIsToldBehindItsDebugLine) {
    test::TcpPeer peer([](int connection) { (void)test::read_to_end(connection); });
    g_debug_flag = 1;
    const std::string output = test::output_of(
        [&] { test::run_refused({SYS_sendto}, EPIPE, [&] { (void)call(peer.port(), "Hello"); }); });
    EXPECT_EQ(output, "[tcpclient:108] send[5] Hello\n[ruvotcp] Error: send(len=-1) 127.0.0.1:" +
                          std::to_string(peer.port()) + " :(32)Broken pipe\n(5)Hello;\n");
}

TEST_F(TcpFailureTest, AFailureLeavesASocketOpenThatIsDescriptorZero) {
    (void)test::output_of([&] {
        {
            const test::RefusedPort nobody;
            const test::NoStandardInput free;
            EXPECT_EQ(call(nobody.port(), "x"), -3);
            EXPECT_TRUE(free.is_socket());
        }
        test::run_refused({SYS_connect}, 0, [&] {
            test::run_refused({SYS_sendto}, EPIPE, [&] {
                const test::NoStandardInput free;
                EXPECT_EQ(call(9, "x"), -4);
                EXPECT_TRUE(free.is_socket());
            });
        });
    });
}

TEST_F(TcpFailureTest, ARefusedConnectionClosesItsSocket) {
    const test::RefusedPort nobody;
    const UniqueFd before(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    for (int i = 0; i < 3; ++i) {
        (void)test::output_of([&] { (void)call(nobody.port(), "x"); });
    }
    const UniqueFd after(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(after.get(), before.get() + 1);
}

}  // namespace
}  // namespace ruvo
