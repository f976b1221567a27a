#include "net/udpclient.h"

#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/refused_calls.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <string>
#include <thread>
#include <utility>

namespace ruvo {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

class UdpClientTest : public testing::Test {
  protected:
    test::UdpReceiver receiver_;

  private:
    test::FreshProcessState process_state_;
};

TEST_F(UdpClientTest, SendsOneDatagramAndReturnsItsLength) {
    struct Case {
        std::string data;
        const char* why;
    };
    const Case cases[] = {
        {"Hello", "text"},
        {"", "an empty datagram is a datagram"},
        {"a\0b"s, "a zero byte"},
        {"\xFF\x80\r\n", "any bytes"},
        {test::repeated(2047, 'x'), "a full status report"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(udpclient("127.0.0.1", receiver_.port(), c.data),
                  static_cast<std::int32_t>(c.data.size()))
            << c.why;
        EXPECT_EQ(receiver_.receive(), c.data) << c.why;
        EXPECT_TRUE(receiver_.is_empty()) << c.why;
    }
}

TEST_F(UdpClientTest, SendsTextThatIsNoAddressToThisMachine) {
    EXPECT_EQ(udpclient("no address", receiver_.port(), "Hello"), 5);
    EXPECT_EQ(receiver_.receive(), "Hello");
}

TEST_F(UdpClientTest, PausesBeforeItClosesTheSocket) {
    const auto taken =
        test::duration_of([this] { (void)udpclient("127.0.0.1", receiver_.port(), "x"); });
    EXPECT_GE(taken, 20ms);
}

TEST_F(UdpClientTest, ClosesTheSocketBehindThePause) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const UniqueFd far_end(ends[1]);
    Datagram datagram{.sock = UniqueFd(ends[0]), .sent = 1};
    std::thread sender;
    const auto taken = test::duration_of([&] {
        sender = std::thread([&] { close_after_pause(std::move(datagram)); });
        (void)test::read_to_end(far_end.get());
    });
    sender.join();
    EXPECT_GE(taken, 20ms);
}

TEST_F(UdpClientTest, GivesItsSocketNoOptions) {
    const Datagram datagram = send_datagram("127.0.0.1", receiver_.port(), "x");
    for (const int option : {SO_BROADCAST, SO_REUSEADDR}) {
        int value = -1;
        socklen_t length = sizeof value;
        (void)::getsockopt(datagram.sock.get(), SOL_SOCKET, option, &value, &length);
        EXPECT_EQ(value, 0) << option;
    }
    for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO}) {
        const auto timeout = test::timeout_of(datagram.sock.get(), option);
        if (!timeout) GTEST_SKIP() << "time-outs can't be read here";
        EXPECT_EQ(timeout->tv_sec, 0) << option;
        EXPECT_EQ(timeout->tv_usec, 0) << option;
    }
}

TEST_F(UdpClientTest, AFailedSendIsSilentAndPausesAllTheSame) {
    const std::string too_long = test::repeated(70000, 'x');
    const std::string output = test::output_of([&] {
        const auto taken = test::duration_of(
            [&] { EXPECT_EQ(udpclient("127.0.0.1", receiver_.port(), too_long), -1); });
        EXPECT_GE(taken, 20ms);
    });
    EXPECT_EQ(output, "");
    EXPECT_TRUE(receiver_.is_empty());
}

TEST_F(UdpClientTest, AnAddressThatMayNotBeSentToIsAFailure) {
    EXPECT_EQ(udpclient("255.255.255.255", receiver_.port(), "x"), -1);
}

TEST_F(UdpClientTest, IsSilentWithoutASocket) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    g_debug_flag = 1;
    const std::string output = test::output_of([this] {
        test::run_refused({SYS_socket}, EMFILE,
                          [this] { EXPECT_EQ(udpclient("127.0.0.1", receiver_.port(), "x"), -1); });
    });
    EXPECT_EQ(output, "");
}

TEST_F(UdpClientTest, TellsTheDataWhileDebugging) {
    g_debug_flag = 1;
    const std::string output =
        test::output_of([this] { (void)udpclient("127.0.0.1", receiver_.port(), "ab\0cd"s); });
    EXPECT_TRUE(test::matches(output, "\\[udpclient:[0-9]+\\] send ab\n")) << output;
    EXPECT_EQ(receiver_.receive(), "ab\0cd"s);
}

TEST_F(UdpClientTest, TellsOnlyTheDataItWasGiven) {
    g_debug_flag = 1;
    const std::string longer = "HelloWorld";
    const std::string output = test::output_of([&] {
        (void)udpclient("127.0.0.1", receiver_.port(), std::string_view(longer).substr(0, 5));
    });
    EXPECT_TRUE(output.ends_with("] send Hello\n")) << output;
}

}  // namespace
}  // namespace ruvo
