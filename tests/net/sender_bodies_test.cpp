#include "net/sender_bodies.h"

#include "core/unique_fd.h"
#include "execution/server_context.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/refused_calls.h"
#include "tests/support/text.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace ruvo {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr nanoseconds kNoDelay{0};
// Longer than any test waits.
constexpr nanoseconds kAnHour = 1h;

class SenderBodyTest : public testing::Test {
  protected:
    SenderBodyTest() { g_server_ctx = server_.get(); }

    void fill(std::int32_t slot, const std::string& ip, const std::string& data) {
        const auto index = static_cast<std::size_t>(slot);
        auto& slot_ip = server_->thread_ip[index];
        auto& slot_data = server_->thread_data[index];
        ip.copy(slot_ip.data(), slot_ip.size());
        data.copy(slot_data.data(), slot_data.size());
    }

    // Runs a body in slot 3 as its thread would.
    nanoseconds run(SenderBody body, std::uint16_t port, nanoseconds delay = kNoDelay) {
        return test::duration_of([&] { body(3, port, delay, state_); });
    }

    const std::unique_ptr<ServerContext> server_ = std::make_unique<ServerContext>();
    std::atomic<std::int32_t> state_{kSlotReserved};
    test::UdpReceiver receiver_;

  private:
    test::FreshProcessState process_state_;
};

TEST_F(SenderBodyTest, UdpSendsTheSlotsDataToItsAddress) {
    fill(2, "127.0.0.1", "another slot");
    fill(3, "127.0.0.1", "Hello");
    (void)run(udpclient_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), "Hello");
    EXPECT_TRUE(receiver_.is_empty());
}

TEST_F(SenderBodyTest, UdpSendsAnEmptySlotAsAnEmptyDatagram) {
    fill(3, "127.0.0.1", "");
    (void)run(udpclient_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), "");
}

TEST_F(SenderBodyTest, TcpSendsTheSlotsDataAndDropsTheReply) {
    std::string received;
    {
        test::TcpPeer peer([&](int connection) {
            received = test::read_bytes(connection, 5);
            test::send_bytes(connection, "OK\r\n");
            received += test::read_to_end(connection);
        });
        fill(3, "127.0.0.1", "Hello");
        EXPECT_EQ(test::output_of([&] { (void)run(tcpclient_thread, peer.port()); }), "");
    }
    EXPECT_EQ(received, "Hello");
}

TEST_F(SenderBodyTest, EveryBodyLeavesItsSlotFinished) {
    fill(3, "127.0.0.1", "x");
    (void)run(udpclient_thread, receiver_.port());
    EXPECT_EQ(state_, kSlotFinished);

    state_ = kSlotReserved;
    test::TcpPeer peer([](int) {});
    (void)run(tcpclient_thread, peer.port());
    EXPECT_EQ(state_, kSlotFinished);
}

TEST_F(SenderBodyTest, UdpIsFinishedAfterThePauseBehindItsDatagram) {
    fill(3, "127.0.0.1", "Hello");
    const auto start = steady_clock::now();
    auto body = std::async(std::launch::async,
                           [this] { udpclient_thread(3, receiver_.port(), kNoDelay, state_); });
    EXPECT_TRUE(test::eventually([this] { return state_ == kSlotFinished; }));
    EXPECT_GE(steady_clock::now() - start, 20ms);
}

TEST_F(SenderBodyTest, TcpStaysReservedUntilThePeerHasAnswered) {
    fill(3, "127.0.0.1", "Hello");
    std::promise<void> received;
    std::promise<void> answer;
    test::TcpPeer peer([&](int connection) {
        (void)test::read_bytes(connection, 5);
        received.set_value();
        answer.get_future().wait();
    });
    auto body =
        std::async(std::launch::async, [&] { tcpclient_thread(3, peer.port(), kNoDelay, state_); });
    received.get_future().wait();
    EXPECT_EQ(state_, kSlotReserved);
    answer.set_value();
    body.get();
    EXPECT_EQ(state_, kSlotFinished);
}

TEST_F(SenderBodyTest, AFailedSendFinishesTheSlotAsWell) {
    fill(3, "255.255.255.255", "x");
    (void)run(udpclient_thread, receiver_.port());
    EXPECT_EQ(state_, kSlotFinished);
}

TEST_F(SenderBodyTest, TheStateItIsGivenCounts) {
    fill(3, "127.0.0.1", "x");
    (void)run(udpclient_thread, receiver_.port());
    EXPECT_EQ(server_->thread_state[3], kSlotFree);
}

TEST_F(SenderBodyTest, DataIsCutToOneThousandAndTwentyThreeCharacters) {
    fill(3, "127.0.0.1", test::repeated(1024, 'a'));  // no room for its end
    fill(4, "", "b");
    (void)run(udpclient_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), test::repeated(1023, 'a'));
}

TEST_F(SenderBodyTest, TheAddressIsCutToSixtyThreeCharacters) {
    fill(3, test::repeated(64, '1'), "Hello");  // no room for its end
    g_debug_flag = 1;
    const std::string output =
        test::output_of([this] { (void)run(udpclient_thread, receiver_.port()); });
    const std::string of_the_copy =
        "] " + test::repeated(63, '1') + " data=[5]Hello, sleep for=0\n";
    EXPECT_NE(output.find(of_the_copy), std::string::npos) << output;
    EXPECT_EQ(receiver_.receive(), "Hello");  // no address: this machine
}

TEST_F(SenderBodyTest, AWaitLeavesTheTimersSlackAsItWas) {
    fill(3, "127.0.0.1", "Hello");
    const int usual = ::prctl(PR_GET_TIMERSLACK);
    (void)run(udpclient_thread, receiver_.port(), 1ms);
    EXPECT_EQ(::prctl(PR_GET_TIMERSLACK), usual);
}

TEST_F(SenderBodyTest, ASlotWithoutADueTimeWaitsItsWholeDelay) {
    fill(3, "127.0.0.1", "Hello");
    EXPECT_GE(run(udpclient_thread, receiver_.port(), 50ms), 50ms);
    test::TcpPeer peer([](int) {});
    EXPECT_GE(run(tcpclient_thread, peer.port(), 50ms), 50ms);
}

TEST_F(SenderBodyTest, WaitsWholeSecondsAndTheRest) {
    fill(3, "127.0.0.1", "Hello");
    EXPECT_GE(run(udpclient_thread, receiver_.port(), 1'010ms), 1'010ms);
}

TEST_F(SenderBodyTest, ADelayOfZeroOrLessDoesNotWait) {
    fill(3, "127.0.0.1", "Hello");
    for (const nanoseconds delay :
         {nanoseconds(0), nanoseconds(-1), -kAnHour, nanoseconds::min()}) {
        EXPECT_LT(run(udpclient_thread, receiver_.port(), delay), test::kDeadline);
        EXPECT_EQ(receiver_.receive(), "Hello");
    }
}

TEST_F(SenderBodyTest, ADelayOfZeroOrLessDoesNotWaitForADueTimeEither) {
    fill(3, "127.0.0.1", "Hello");
    server_->thread_due[3] = steady_clock::now() + kAnHour;
    EXPECT_LT(run(udpclient_thread, receiver_.port(), kNoDelay), test::kDeadline);
    EXPECT_LT(run(udpclient_thread, receiver_.port(), -1s), test::kDeadline);
}

TEST_F(SenderBodyTest, ASlotWithADueTimeWaitsForItWhateverTheDelay) {
    fill(3, "127.0.0.1", "Hello");
    const auto due = steady_clock::now() + 50ms;
    server_->thread_due[3] = due;
    EXPECT_LT(run(udpclient_thread, receiver_.port(), kAnHour), test::kDeadline);
    EXPECT_GE(steady_clock::now(), due);
}

TEST_F(SenderBodyTest, ADueTimeThatHasPassedIsNotWaitedFor) {
    fill(3, "127.0.0.1", "Hello");
    server_->thread_due[3] = steady_clock::now() - 1s;
    EXPECT_LT(run(udpclient_thread, receiver_.port(), kAnHour), test::kDeadline);
    EXPECT_EQ(receiver_.receive(), "Hello");
}

TEST_F(SenderBodyTest, WaitsFiftyMillisecondsAtMostForTheSenderBeforeIt) {
    fill(3, "127.0.0.1", "Hello");
    const auto due = steady_clock::now();
    server_->thread_due[3] = due;
    server_->thread_before[3] = server_->departures.next(7);
    EXPECT_LT(run(udpclient_thread, receiver_.port(), 1ns), test::kDeadline);
    EXPECT_EQ(receiver_.receive(), "Hello");
    EXPECT_GE(steady_clock::now(), due + 50ms);
}

TEST_F(SenderBodyTest, WithoutADelayGoesBehindNobody) {
    fill(3, "127.0.0.1", "Hello");
    server_->thread_due[3] = steady_clock::now() + kAnHour;
    server_->thread_before[3] = server_->departures.next(7);
    EXPECT_LT(run(udpclient_thread, receiver_.port(), kNoDelay), test::kDeadline);
}

// Of several runs, since a busy machine may sit out a pause.
TEST_F(SenderBodyTest, HasGoneBeforeThePauseBehindItsDatagram) {
    fill(3, "127.0.0.1", "Hello");
    std::array<nanoseconds, 9> left_behind_departure{};
    for (nanoseconds& left : left_behind_departure) {
        const auto departure = server_->departures.next(3);
        auto body = std::async(std::launch::async,
                               [this] { udpclient_thread(3, receiver_.port(), kNoDelay, state_); });
        server_->departures.wait_for(departure, steady_clock::now() + test::kDeadline);
        left = test::duration_of([&] { body.get(); });
    }
    std::sort(left_behind_departure.begin(), left_behind_departure.end());
    EXPECT_GE(left_behind_departure[4], 10ms);
}

TEST_F(SenderBodyTest, ByTcpHasGoneBeforeThePeerAnswers) {
    fill(3, "127.0.0.1", "Hello");
    const auto departure = server_->departures.next(3);
    std::promise<void> answer;
    test::TcpPeer peer([&](int) { answer.get_future().wait(); });
    auto body =
        std::async(std::launch::async, [&] { tcpclient_thread(3, peer.port(), kNoDelay, state_); });
    EXPECT_LT(test::duration_of([&] {
                  server_->departures.wait_for(departure, steady_clock::now() + test::kDeadline);
              }),
              test::kDeadline);
    answer.set_value();
}

// Standard output, read line by line while the object lives.
class OutputLines {
  public:
    OutputLines() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        (void)std::fflush(stdout);
        read_.reset(ends[0]);
        before_.reset(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
        (void)::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[1]);
        (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    }
    ~OutputLines() {
        (void)std::fflush(stdout);
        (void)::dup2(before_.get(), STDOUT_FILENO);
    }
    OutputLines(const OutputLines&) = delete;
    OutputLines& operator=(const OutputLines&) = delete;

    std::string next() {
        std::string line;
        for (char c = 0; c != '\n' && ::read(read_.get(), &c, 1) == 1;) line += c;
        return line;
    }

  private:
    UniqueFd read_;
    UniqueFd before_;
};

// Handles SIGUSR1 for as long as the object lives.
class UserSignal {
  public:
    explicit UserSignal(void (*handler)(int)) {
        struct sigaction action {};
        action.sa_handler = handler;
        EXPECT_EQ(::sigaction(SIGUSR1, &action, &before_), 0);
    }
    ~UserSignal() { (void)::sigaction(SIGUSR1, &before_, nullptr); }
    UserSignal(const UserSignal&) = delete;
    UserSignal& operator=(const UserSignal&) = delete;

    void send(std::thread& thread) { (void)::pthread_kill(thread.native_handle(), SIGUSR1); }

  private:
    struct sigaction before_ {};
};

void overwrite_slot(int) {
    std::memcpy(g_server_ctx->thread_ip[3].data(), "192.0.2.1", 9);
    std::memcpy(g_server_ctx->thread_data[3].data(), "after!", 6);
}

// The slot changes on the body's own thread: it is no other thread's while it is reserved.
class OverwrittenSlotTest : public SenderBodyTest {
  protected:
    void run_overwritten(SenderBody body, std::uint16_t port) {
        UserSignal signal(overwrite_slot);
        fill(3, "127.0.0.1", "before");
        server_->thread_due[3] = steady_clock::now() + 200ms;
        g_debug_flag = 1;
        OutputLines output;
        std::thread thread([&] { body(3, port, kAnHour, state_); });
        (void)output.next();
        EXPECT_TRUE(
            output.next().ends_with("] 127.0.0.1 data=[6]before, sleep for=3600000000000\n"));
        signal.send(thread);
        thread.join();
        EXPECT_STREQ(server_->thread_data[3].data(), "after!");
    }
};

TEST_F(OverwrittenSlotTest, UdpHasTakenItsTextsBeforeItWaits) {
    run_overwritten(udpclient_thread, receiver_.port());
    EXPECT_EQ(receiver_.receive(), "before");
}

TEST_F(OverwrittenSlotTest, TcpHasTakenItsTextsBeforeItWaits) {
    std::string received;
    {
        test::TcpPeer peer([&](int connection) { received = test::read_bytes(connection, 6); });
        run_overwritten(tcpclient_thread, peer.port());
    }
    EXPECT_EQ(received, "before");
}

TEST_F(SenderBodyTest, StaysReservedWhileItWaits) {
    fill(3, "127.0.0.1", "Hello");
    const auto due = steady_clock::now() + 100ms;
    server_->thread_due[3] = due;
    auto body = std::async(std::launch::async,
                           [this] { udpclient_thread(3, receiver_.port(), kAnHour, state_); });
    EXPECT_TRUE(test::eventually([this] { return state_ != kSlotReserved; }));
    EXPECT_GE(steady_clock::now(), due);
    EXPECT_EQ(state_, kSlotFinished);
}

void ignore_signal(int) {}

// Interrupts the sleep of a body again and again.
TEST_F(SenderBodyTest, AnInterruptedWaitGoesOnToItsEnd) {
    UserSignal signal(ignore_signal);
    fill(3, "127.0.0.1", "Hello");
    nanoseconds taken{};
    std::atomic<bool> done{false};
    std::thread body([&] {
        taken = run(udpclient_thread, receiver_.port(), 100ms);
        done = true;
    });
    while (!done) {
        signal.send(body);
        std::this_thread::sleep_for(1ms);
    }
    body.join();
    EXPECT_GE(taken, 100ms);
    EXPECT_EQ(receiver_.receive(), "Hello");
}

TEST_F(SenderBodyTest, AWaitThatFailsIsOver) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
#ifdef SYS_clock_nanosleep_time64
    constexpr long kWait = SYS_clock_nanosleep_time64;
#else
    constexpr long kWait = SYS_clock_nanosleep;
#endif
    fill(3, "127.0.0.1", "Hello");
    test::run_refused({kWait}, EINVAL, [this] {
        EXPECT_LT(run(udpclient_thread, receiver_.port(), kAnHour), test::kDeadline);
    });
    EXPECT_EQ(receiver_.receive(), "Hello");
    EXPECT_EQ(state_, kSlotFinished);
}

TEST_F(SenderBodyTest, UdpTellsSlotAndCopyWhileDebugging) {
    fill(3, "127.0.0.1", "Hello");
    g_debug_flag = 1;
    const std::string output =
        test::output_of([this] { (void)run(udpclient_thread, receiver_.port(), -5ns); });
    const std::string line =
        "\\[udpclient_thread:[0-9]+\\] 127\\.0\\.0\\.1 data=\\[5\\]Hello, sleep for=-5\n";
    EXPECT_TRUE(test::matches(output, line + line + "\\[udpclient:[0-9]+\\] send Hello\n"))
        << output;
}

TEST_F(SenderBodyTest, TcpTellsSlotAndCopyWhileDebugging) {
    fill(3, "127.0.0.1", "Hello");
    test::TcpPeer peer([](int) {});
    g_debug_flag = 1;
    const std::string output =
        test::output_of([&] { (void)run(tcpclient_thread, peer.port(), 7ns); });
    const std::string line =
        "\\[tcpclient_thread:[0-9]+\\] 127\\.0\\.0\\.1 data=\\[5\\]Hello, sleep for=7\n";
    EXPECT_TRUE(test::matches(output, line + line + "\\[tcpclient:[0-9]+\\] send\\[5\\] Hello\n"))
        << output;
}

}  // namespace
}  // namespace ruvo
