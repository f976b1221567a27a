#include "net/sender_bodies.h"

#include "execution/server_context.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/status_service.h"
#include "tests/support/text.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace ruvo {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

// The status variants, which reach for a fixed port, and the failures, which are
// logged.
class StatusSenderTest : public test::WorldTest {
  protected:
    StatusSenderTest() {
        g_server_ctx = server_.get();
        fill("127.0.0.1", "");
    }

    void fill(const std::string& ip, const std::string& data) {
        ip.copy(server_->thread_ip[3].data(), ip.size());
        data.copy(server_->thread_data[3].data(), data.size());
    }

    nanoseconds run(SenderBody body, std::uint16_t port, nanoseconds delay = 0ns) {
        return test::duration_of([&] { body(3, port, delay, state_); });
    }

    const std::unique_ptr<ServerContext> server_ = std::make_unique<ServerContext>();
    std::atomic<std::int32_t> state_{kSlotReserved};
    test::UdpReceiver receiver_;
};

TEST_F(StatusSenderTest, UdpSendsTheReportOfTheStatusService) {
    test::StatusService service("input:HDMI1\rpower:on\r\n");
    fill("127.0.0.1", "not sent");
    (void)run(udpclient_getStatus_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), "input:HDMI1\rpower:on\n");
    EXPECT_EQ(state_, kSlotFinished);
}

TEST_F(StatusSenderTest, TcpSendsTheReportOfTheStatusService) {
    test::StatusService service("input:HDMI1\r");
    std::string received;
    {
        test::TcpPeer peer([&](int connection) {
            received = test::read_bytes(connection, 12);
            test::send_bytes(connection, "OK");
            received += test::read_to_end(connection);
        });
        (void)run(tcpclient_getStatus_thread, peer.port());
    }
    EXPECT_EQ(received, "input:HDMI1\r");
    EXPECT_EQ(state_, kSlotFinished);
}

TEST_F(StatusSenderTest, AsksWithNineBytesAndNothingBehindThem) {
    test::StatusService service("x");
    (void)run(udpclient_getStatus_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), "x");
    EXPECT_EQ(service.requests(), std::vector<std::string>{"getStatus"});
}

TEST_F(StatusSenderTest, TheReportIsCutToItsBuffer) {
    test::StatusService service(test::repeated(3000, 'x'));
    (void)run(udpclient_getStatus_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), test::repeated(2047, 'x'));
}

TEST_F(StatusSenderTest, TheReportEndsAtItsFirstZeroByte) {
    test::StatusService service(std::string("ab\0cd", 5));
    (void)run(udpclient_getStatus_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), "ab");
}

TEST_F(StatusSenderTest, UdpSendsTheErrorTextWithoutAStatusService) {
    (void)test::output_of([this] { (void)run(udpclient_getStatus_thread, receiver_.port()); });
    EXPECT_EQ(receiver_.receive(), "(111)Connection refused");
    EXPECT_EQ(log(),
              "[ruvotcp] Error: connect 127.0.0.1:50001 ;(111)Connection refused;getStatus;\n");
    EXPECT_EQ(state_, kSlotFinished);
}

TEST_F(StatusSenderTest, TcpSendsTheErrorTextWithoutAStatusService) {
    std::string received;
    {
        test::TcpPeer peer([&](int connection) { received = test::read_bytes(connection, 23); });
        (void)test::output_of([&] { (void)run(tcpclient_getStatus_thread, peer.port()); });
    }
    EXPECT_EQ(received, "(111)Connection refused");
}

TEST_F(StatusSenderTest, ASilentStatusServiceIsReportedAsSuch) {
    const test::TcpListener silent(50001);  // the kernel accepts, nobody answers
    (void)run(udpclient_getStatus_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), "(11)Resource temporarily unavailable");
}

TEST_F(StatusSenderTest, WaitsBeforeItAsks) {
    test::StatusService service("x");
    EXPECT_GE(run(udpclient_getStatus_thread, receiver_.port(), 50ms), 50ms);
    test::TcpPeer peer([](int) {});
    EXPECT_GE(run(tcpclient_getStatus_thread, peer.port(), 50ms), 50ms);
}

TEST_F(StatusSenderTest, DoesNotWaitForADelayOfZeroOrLess) {
    test::StatusService service("x");
    EXPECT_LT(run(udpclient_getStatus_thread, receiver_.port(), -1h), test::kDeadline);
    test::TcpPeer peer([](int) {});
    EXPECT_LT(run(tcpclient_getStatus_thread, peer.port(), -1h), test::kDeadline);
}

TEST_F(StatusSenderTest, UdpTellsItsSlotOnceWhileDebugging) {
    test::StatusService service("x");
    fill("127.0.0.1", "slot");
    g_debug_flag = 1;
    const std::string output =
        test::output_of([this] { (void)run(udpclient_getStatus_thread, receiver_.port(), 7ns); });
    EXPECT_TRUE(test::matches(output,
                              "\\[udpclient_getStatus_thread:[0-9]+\\] 127\\.0\\.0\\.1 "
                              "data=\\[4\\]slot, sleep for=7\n"
                              "\\[tcpclient:[0-9]+\\] send\\[9\\] getStatus\n"
                              "\\[udpclient:[0-9]+\\] send x\n"))
        << output;
}

TEST_F(StatusSenderTest, TcpTellsItsDelayWhileDebugging) {
    test::StatusService service("x");
    test::TcpPeer peer([](int) {});
    g_debug_flag = 1;
    const std::string output =
        test::output_of([&] { (void)run(tcpclient_getStatus_thread, peer.port(), 7ns); });
    EXPECT_TRUE(test::matches(output,
                              "\\[tcpclient_getStatus_thread:[0-9]+\\] sleep for=7\n"
                              "\\[tcpclient:[0-9]+\\] send\\[9\\] getStatus\n"
                              "\\[tcpclient:[0-9]+\\] send\\[1\\] x\n"))
        << output;
}

TEST_F(StatusSenderTest, APlainSendThatFailsIsLoggedAndFinishesTheSlot) {
    const test::RefusedPort nobody;
    fill("127.0.0.1", "Hello");
    (void)test::output_of([&] { (void)run(tcpclient_thread, nobody.port()); });
    EXPECT_EQ(log(), "[ruvotcp] Error: connect 127.0.0.1:" + std::to_string(nobody.port()) +
                         " ;(111)Connection refused;Hello;\n");
    EXPECT_EQ(state_, kSlotFinished);
}

}  // namespace
}  // namespace ruvo
