#include "execution/executor.h"

#include "core/daemon_context.h"
#include "execution/event_queue.h"
#include "execution/launch.h"
#include "execution/server_context.h"
#include "tests/support/files.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/refused_calls.h"
#include "tests/support/status_service.h"
#include "tests/support/text.h"
#include "tests/support/waiting.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ruvo {
namespace {

constexpr char kEventLog[] = "/var/log/ruvoevent.log";
constexpr std::int64_t kSecond = 1'000'000'000;

class ExecutorTest : public test::DaemonTest {
  protected:
    ExecutorTest() {
        g_server_ctx = &server_;
        g_power_on_window_over = 1;
        g_uptime = 5000;
    }

    ~ExecutorTest() override { join_senders(); }

    void join_senders() {
        for (SenderThread& thread : server_.threads) {
            if (thread.joinable()) thread.join();
        }
    }

    [[nodiscard]] std::int64_t now_ns() const {
        return std::chrono::nanoseconds(std::chrono::steady_clock::now() - server_.t_ns_start)
            .count();
    }

    [[nodiscard]] SubCommand udp_step(const std::string& data, std::int64_t delay_ns = 0) const {
        return {"127.0.0.1", std::to_string(receiver_.port()), "UDP", data, delay_ns, delay_ns};
    }

    // A step with a destination that the tests can write down.
    static SubCommand unsent_step(const char* data) {
        return {"192.0.2.1", "9000", "none", data, 0, 0};
    }

    // A record that is due now.
    [[nodiscard]] EventEntry record(const char* name, std::vector<SubCommand> steps) const {
        const std::int64_t now = now_ns();
        return {name, std::string("xml") + name, now, now, std::move(steps), 0, 0, 0};
    }

    void queue(EventEntry record) {
        const Guard guard(server_.events_guard);
        server_.events.push_back(std::move(record));
    }

    std::string queued_names() {
        std::string names;
        for (std::size_t i = 0; const EventEntry* record = record_at(server_, i); ++i) {
            names += record->name;
        }
        return names;
    }

    std::int32_t run() { return exec_event(server_); }

    // Lines of the event log without their time stamps.
    static std::string without_times(const std::string& lines) {
        return test::replaced(lines, "[0-9]{4}-[0-9-]{5} [0-9:]{8}\\.[0-9]{3}  ", "");
    }

    // The event log of a pass during which another thread turns the switch off, as soon as
    // the first line is there.
    std::string event_log_switched_off_meanwhile() {
        std::filesystem::remove(kEventLog);
        context_.enable = 1;
        std::thread switching([this] {
            (void)test::eventually([] { return test::is_file(kEventLog); });
            context_.enable = 0;
        });
        (void)run();
        switching.join();
        return event_log();
    }

    static std::string repeated_lines(std::size_t count, const std::string& line) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) text += line;
        return text;
    }

    static std::string event_log() { return without_times(test::text_of(kEventLog)); }

    bool is_any_slot_used() {
        for (const auto& state : server_.thread_state) {
            if (state != kSlotFree) return true;
        }
        return false;
    }

    test::UdpReceiver receiver_;

  private:
    const std::unique_ptr<ServerContext> context_of_server_ = std::make_unique<ServerContext>();

  protected:
    ServerContext& server_ = *context_of_server_;
};

// Text without the line numbers of its prefixes, which are free.
std::string without_line_numbers(const std::string& text) {
    return test::replaced(text, ":[0-9]+\\]", "]");
}

TEST_F(ExecutorTest, RunsARecordThatIsDueAndErasesIt) {
    queue(record("A", {udp_step("Hello")}));
    EXPECT_EQ(run(), 1);
    EXPECT_TRUE(queue_is_empty(server_));
    EXPECT_EQ(receiver_.receive(), "Hello");
}

TEST_F(ExecutorTest, FindsNothingToDoInAnEmptyQueue) { EXPECT_EQ(run(), 0); }

TEST_F(ExecutorTest, RunsEveryRecordThatIsDueInOnePass) {
    queue(record("A", {}));
    queue(record("B", {unsent_step("b")}));
    queue(record("C", {unsent_step("c")}));
    EXPECT_EQ(run(), 3);
    EXPECT_TRUE(queue_is_empty(server_));
    EXPECT_EQ(event_log(), "192.0.2.1:9000 none b\n192.0.2.1:9000 none c\n");
}

TEST_F(ExecutorTest, DropsARecordWithoutTimes) {
    for (const auto& [created, due] : {std::pair<std::int64_t, std::int64_t>{0, 1}, {1, 0}}) {
        EventEntry invalid = record("A", {unsent_step("a")});
        invalid.t_ns_cread = created;
        invalid.t_ns_exec = due;
        queue(invalid);
        EXPECT_EQ(test::output_of([this] { EXPECT_EQ(run(), 0); }), "");
        EXPECT_TRUE(queue_is_empty(server_));
    }
    EXPECT_EQ(event_log(), "");
}

TEST_F(ExecutorTest, TracesARecordWithoutTimes) {
    g_debug_flag = 1;
    EventEntry invalid = record("A", {});
    invalid.t_ns_exec = 0;
    queue(invalid);
    EXPECT_EQ(without_line_numbers(test::output_of([this] { (void)run(); })),
              "[exec_event] skip run event=A, t_ns_exec=0, or t_ns_cread=0\n");
}

TEST_F(ExecutorTest, DropsAStaleRecordWithALine) {
    EventEntry stale = record("A", {unsent_step("a"), unsent_step("b")});
    stale.t_ns_cread = now_ns() - 60 * kSecond - 1;
    stale.t_ns_exec = -5'000'000'000;
    queue(stale);
    const std::string output = test::output_of([this] { EXPECT_EQ(run(), 0); });
    EXPECT_TRUE(
        test::matches(output,
                      "\\[exec_event:[0-9]+\\] Error cannot send sys event=xmlA, run event=A, "
                      "now=[0-9]+, t_exec=-5000000000, sub cmd size=2\n"))
        << output;
    EXPECT_EQ(log(), output);
    EXPECT_TRUE(queue_is_empty(server_));
    EXPECT_EQ(event_log(), "");
}

TEST_F(ExecutorTest, DropsAStaleRecordThoughItIsNotYetDue) {
    EventEntry stale = record("A", {unsent_step("a")});
    stale.t_ns_cread = now_ns() - 60 * kSecond - 1;
    stale.t_ns_exec = now_ns() + 30 * kSecond;
    queue(stale);
    (void)test::output_of([this] { EXPECT_EQ(run(), 0); });
    EXPECT_TRUE(queue_is_empty(server_));
}

TEST_F(ExecutorTest, DropsARecordThatHasRun) {
    EventEntry had_run = record("A", {unsent_step("a")});
    had_run.has_run = kRecordRun;
    queue(had_run);
    g_debug_flag = 1;
    EXPECT_EQ(without_line_numbers(test::output_of([this] { EXPECT_EQ(run(), 0); })),
              "[exec_event] skip run event=A, had run\n");
    EXPECT_TRUE(queue_is_empty(server_));
    EXPECT_EQ(event_log(), "");
}

TEST_F(ExecutorTest, ARecordNotYetDueDoesNotBlockTheOnesBehindIt) {
    EventEntry later = record("L", {unsent_step("later")});
    later.t_ns_exec = now_ns() + 50 * kSecond;
    queue(later);
    queue(record("N", {unsent_step("now")}));
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(queued_names(), "L");
    EXPECT_EQ(event_log(), "192.0.2.1:9000 none now\n");
}

TEST_F(ExecutorTest, GoesOnBehindEveryRecordThatItDrops) {
    EventEntry invalid = record("I", {});
    invalid.t_ns_cread = 0;
    EventEntry stale = record("S", {});
    stale.t_ns_cread = now_ns() - 61 * kSecond;
    EventEntry had_run = record("H", {});
    had_run.has_run = kRecordRun;
    for (const EventEntry& dropped : {invalid, stale, had_run}) {
        queue(dropped);
        queue(record("R", {}));
    }
    (void)test::output_of([this] { EXPECT_EQ(run(), 3); });
    EXPECT_TRUE(queue_is_empty(server_));
}

TEST_F(ExecutorTest, TracesARecordThatItRuns) {
    EventEntry traced = record("A", {unsent_step("a")});
    traced.t_ns_exec = -5'000'000'000;
    traced.test = 1;
    queue(traced);
    g_debug_flag = 1;
    const std::string output = test::output_of([this] { (void)run(); });
    EXPECT_TRUE(
        test::matches(output,
                      "\\[exec_event:[0-9]+\\] get sys event=xmlA, run event=A, now=[0-9]+, "
                      "t_exec=-5000000000, sub cmd size=1, test=1\n"))
        << output;
}

TEST_F(ExecutorTest, SkipsAPlugEventDuringPowerOn) {
    g_power_on_window_over = 0;
    g_uptime = 61;
    queue(record("dviconnected", {unsent_step("a"), unsent_step("b")}));
    const std::string output = test::output_of([this] { EXPECT_EQ(run(), 1); });
    EXPECT_EQ(without_line_numbers(output),
              "[exec_event] during Power On, skip dviconnected ...61/120\n"
              "[exec_event] during Power On, skip dviconnected ...61/120\n");
    EXPECT_EQ(log(), output);
    EXPECT_EQ(event_log(),
              "skip uptime=61,192.0.2.1:9000 none a\nskip uptime=61,192.0.2.1:9000 none b\n");
    EXPECT_TRUE(queue_is_empty(server_));
}

TEST_F(ExecutorTest, SendsAPlugEventOfATestDuringPowerOn) {
    g_power_on_window_over = 0;
    EventEntry of_test = record("DVIConnected", {udp_step("plugged")});
    of_test.test = 1;
    queue(of_test);
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(receiver_.receive(), "plugged");
}

TEST_F(ExecutorTest, LogsADisabledEventAndSendsNothing) {
    context_.enable = 0;
    g_log_ready = 1;
    queue(record("A", {udp_step("Hello")}));
    const std::string output = test::output_of([this] { EXPECT_EQ(run(), 1); });
    EXPECT_EQ(without_line_numbers(output), "[exec_event] disable event, skip Hello\n");
    EXPECT_EQ(log(), "");
    EXPECT_EQ(event_log(), "127.0.0.1:" + std::to_string(receiver_.port()) +
                               " UDP Hello, disabled uptime=5000\n");
    EXPECT_FALSE(is_any_slot_used());
    EXPECT_TRUE(queue_is_empty(server_));
}

TEST_F(ExecutorTest, PrintsADisabledEventOnlyWhenTheLogIsReady) {
    context_.enable = 0;
    g_log_ready = 0;
    queue(record("A", {unsent_step("a")}));
    EXPECT_EQ(test::output_of([this] { (void)run(); }), "");
    EXPECT_EQ(event_log(), "192.0.2.1:9000 none a, disabled uptime=5000\n");
}

TEST_F(ExecutorTest, SendsADisabledEventOfATest) {
    context_.enable = 0;
    EventEntry of_test = record("A", {udp_step("tested")});
    of_test.test = 1;
    queue(of_test);
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(receiver_.receive(), "tested");
}

TEST_F(ExecutorTest, LooksAtTheSwitchBeforeEachStep) {
    constexpr std::size_t kSteps = 128;
    const std::string sent = "192.0.2.1:9000 none a\n";
    const std::string disabled = "192.0.2.1:9000 none a, disabled uptime=5000\n";
    std::string text;
    // The pass may be over before the other thread has noticed.
    ASSERT_TRUE(test::eventually([&] {
        queue(record("A", std::vector<SubCommand>(kSteps, unsent_step("a"))));
        text = event_log_switched_off_meanwhile();
        return text.ends_with(disabled);
    }));
    const std::size_t sends = text.find(disabled) / sent.size();
    EXPECT_GT(sends, 0U);
    EXPECT_EQ(text, repeated_lines(sends, sent) + repeated_lines(kSteps - sends, disabled));
}

TEST_F(ExecutorTest, LogsWhatIsSent) {
    queue(record("A", {udp_step("one"), unsent_step("two")}));
    (void)run();
    EXPECT_EQ(event_log(), "127.0.0.1:" + std::to_string(receiver_.port()) +
                               " UDP one\n192.0.2.1:9000 none two\n");
    EXPECT_EQ(log(), "");
}

TEST_F(ExecutorTest, AnUnknownProtocolIsLoggedAsSentAndStartsNothing) {
    g_debug_flag = 1;
    for (const char* protocol : {"tcp", "udp", "", "Status"}) {
        SubCommand step = udp_step("x");
        step.protocol = protocol;
        queue(record("A", {step}));
    }
    const std::string output = test::output_of([this] { EXPECT_EQ(run(), 4); });
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 4) << output;  // a line each
    EXPECT_EQ(output.find("get thread id"), std::string::npos) << output;
    const std::string destination = "127.0.0.1:" + std::to_string(receiver_.port());
    EXPECT_EQ(event_log(), destination + " tcp x\n" + destination + " udp x\n" + destination +
                               "  x\n" + destination + " Status x\n");
    EXPECT_FALSE(is_any_slot_used());
    EXPECT_EQ(log(), "");
}

TEST_F(ExecutorTest, SendsAtMostOneHundredAndThreeCharacters) {
    queue(record("A", {udp_step(test::repeated(200, 'x'))}));
    (void)run();
    EXPECT_EQ(receiver_.receive(), test::repeated(103, 'x'));
    EXPECT_TRUE(event_log().ends_with(" UDP " + test::repeated(200, 'x') + "\n"));
}

TEST_F(ExecutorTest, SendsOneHundredAndThreeCharactersWhole) {
    queue(record("A", {udp_step(test::repeated(103, 'x'))}));
    (void)run();
    EXPECT_EQ(receiver_.receive(), test::repeated(103, 'x'));
    queue(record("B", {udp_step(test::repeated(104, 'y'))}));
    (void)run();
    EXPECT_EQ(receiver_.receive(), test::repeated(103, 'y'));
}

TEST_F(ExecutorTest, SendsDataUpToItsFirstZeroByte) {
    queue(record("A", {udp_step(std::string("ab\0cd", 5))}));
    (void)run();
    EXPECT_EQ(receiver_.receive(), "ab");
}

TEST_F(ExecutorTest, ReadsThePortAsANumber) {
    SubCommand step = udp_step("Hello");
    step.port = " " + step.port + "abc";
    queue(record("A", {step}));
    (void)run();
    EXPECT_EQ(receiver_.receive(), "Hello");
}

TEST_F(ExecutorTest, CutsTheAddressToItsSlot) {
    SubCommand step = udp_step("Hello");
    step.ip = test::repeated(64, '1');
    queue(record("A", {step}));
    (void)run();
    EXPECT_EQ(std::string(server_.thread_ip[0].data()), test::repeated(63, '1'));
}

TEST_F(ExecutorTest, SendsByTcp) {
    std::string received;
    {
        test::TcpPeer peer([&](int connection) { received = test::read_bytes(connection, 5); });
        SubCommand step = udp_step("Hello");
        step.port = std::to_string(peer.port());
        step.protocol = "TCP";
        queue(record("A", {step}));
        EXPECT_EQ(run(), 1);
    }
    EXPECT_EQ(received, "Hello");
}

TEST_F(ExecutorTest, TracesASendByTcpBeforeAndAfterTheSlotIsFilled) {
    const test::RefusedPort nobody;
    const std::string port = std::to_string(nobody.port()) + "x";
    g_debug_flag = 1;
    queue(record("A", {{test::repeated(64, '1'), port, "TCP", test::repeated(105, 'x'), 0, 0}}));
    const std::string output = without_line_numbers(test::output_of([this] {
        (void)run();
        join_senders();
    }));
    const std::string before = "[exec_event] ip=" + test::repeated(64, '1') + ", port=" + port +
                               " data[105]=" + test::repeated(105, 'x') + "===\n";
    const std::string after = "[exec_event] ip=" + test::repeated(63, '1') +
                              ", data=" + test::repeated(103, 'x') + "===\n";
    EXPECT_NE(output.find("[get_new_ret_thread] get thread id=0\n" + before + after),
              std::string::npos)
        << output;
}

TEST_F(ExecutorTest, SendsTheStatusReportInsteadOfTheData) {
    test::StatusService service("a:1\rb:2\r");
    SubCommand step = udp_step("not sent");
    step.protocol = "StatusUDP";
    server_.thread_data[0] = {'b', 'e', 'f', 'o', 'r', 'e'};
    queue(record("A", {step}));
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(receiver_.receive(), "a:1\rb:2\r");
    EXPECT_STREQ(server_.thread_data[0].data(), "before") << "the slot's data stays as it is";
}

TEST_F(ExecutorTest, TracesAStatusVariant) {
    SubCommand step = udp_step("");
    step.protocol = "StatusUDP";
    queue(record("A", {step}));
    g_debug_flag = 1;
    const std::string output = without_line_numbers(test::output_of([this] {
        (void)run();
        join_senders();
    }));
    EXPECT_NE(output.find("[exec_event]\n[get_new_ret_thread] get thread id=0\n"),
              std::string::npos)
        << output;
}

TEST_F(ExecutorTest, DropsAStepWithoutAFreeSlotAndGoesOn) {
    for (auto& state : server_.thread_state) state = kSlotReserved;
    server_.thread_state[9] = kSlotFree;
    queue(record("A", {udp_step("first"), udp_step("second"), unsent_step("third")}));
    queue(record("B", {unsent_step("fourth")}));
    EXPECT_EQ(test::output_of([this] { EXPECT_EQ(run(), 2); }), "");
    EXPECT_EQ(receiver_.receive(), "first");
    join_senders();
    EXPECT_TRUE(receiver_.is_empty());
    EXPECT_TRUE(event_log().ends_with(
        " UDP second\n192.0.2.1:9000 none third\n192.0.2.1:9000 none fourth\n"));
}

TEST_F(ExecutorTest, TracesAStepWithoutAFreeSlotByItsEventsName) {
    for (auto& state : server_.thread_state) state = kSlotReserved;
    queue(record("A", {udp_step("lost")}));
    g_debug_flag = 1;
    const std::string output =
        without_line_numbers(test::output_of([this] { EXPECT_EQ(run(), 1); }));
    EXPECT_TRUE(
        output.ends_with("sub cmd size=1, test=0\n"
                         "[get_new_ret_thread] Error: skip A, event thead over 512\n"))
        << output;
}

TEST_F(ExecutorTest, AThreadThatCannotBeStartedCostsItsStepOnly) {
    queue(record("A", {udp_step("lost")}));
    queue(record("B", {unsent_step("logged")}));
    const std::string output = test::output_of([this] {
        test::run_refused({SYS_clone, SYS_clone3}, EAGAIN, [this] { EXPECT_EQ(run(), 2); });
    });
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
    EXPECT_NE(output.find("Resource temporarily unavailable"), std::string::npos) << output;
    EXPECT_EQ(log(), output);
    EXPECT_FALSE(is_any_slot_used());
    EXPECT_TRUE(event_log().ends_with("192.0.2.1:9000 none logged\n"));
    queue(record("C", {udp_step("works again")}));
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(receiver_.receive(), "works again");
}

TEST_F(ExecutorTest, SendsAStepAfterItsDelayAndNoSooner) {
    constexpr std::int64_t kDelay = 60'000'000;
    queue(record("A", {udp_step("late", kDelay)}));
    const auto start = std::chrono::steady_clock::now();
    (void)run();
    EXPECT_EQ(receiver_.receive(), "late");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::nanoseconds(kDelay));
}

TEST_F(ExecutorTest, StartsStepsThatAreDueTogetherInIndexOrder) {
    constexpr auto kTogether = std::chrono::milliseconds(50);
    const std::int64_t delay = std::chrono::nanoseconds(kTogether).count();
    queue(record("A", {udp_step("0", delay), udp_step("1", delay), udp_step("2", delay)}));
    (void)run();
    ASSERT_TRUE(server_.thread_due[0] && server_.thread_due[1] && server_.thread_due[2]);
    EXPECT_EQ(*server_.thread_due[1] - *server_.thread_due[0], std::chrono::microseconds(100));
    EXPECT_EQ(*server_.thread_due[2] - *server_.thread_due[1], std::chrono::microseconds(100));
}

// Slot by slot, whose departure each sender waits for.
std::vector<std::int32_t> slots_before(const ServerContext& server, std::size_t count) {
    std::vector<std::int32_t> slots;
    for (std::size_t i = 0; i < count; ++i) slots.push_back(server.thread_before[i].slot);
    return slots;
}

TEST_F(ExecutorTest, SendsAStepBehindTheOneBeforeItThatIsDueAtTheSameTime) {
    constexpr std::int64_t kSooner = 1'000'000;
    constexpr std::int64_t kLater = 2'000'000;
    queue(record("A", {udp_step("0", kLater), udp_step("1", kSooner), udp_step("2", kLater),
                       udp_step("3"), udp_step("4", kSooner), udp_step("5", kLater)}));
    (void)run();
    EXPECT_EQ(slots_before(server_, 6), (std::vector<std::int32_t>{-1, -1, 0, -1, 1, 2}));
    EXPECT_EQ(server_.thread_before[5].number, 1U);
}

TEST_F(ExecutorTest, SendsAStepBehindTheLastOneThatHasASender) {
    constexpr std::int64_t kDelay = 1'000'000;
    SubCommand unsent = unsent_step("none");
    unsent.delayFromExecNs = kDelay;
    queue(record("A", {udp_step("0", kDelay), unsent, udp_step("2", kDelay)}));
    (void)run();
    EXPECT_EQ(slots_before(server_, 2), (std::vector<std::int32_t>{-1, 0}));
}

TEST_F(ExecutorTest, AStepThatIsNotSentDoesNotPartThoseAroundIt) {
    constexpr std::int64_t kDelay = 1'000'000;
    const EventEntry three =
        record("A", {udp_step("0", kDelay), udp_step("1", kDelay), udp_step("2", kDelay)});
    Launch launch(server_, three, std::chrono::steady_clock::now());
    launch.step(0, true);
    launch.step(1, false);
    launch.step(2, true);
    EXPECT_EQ(slots_before(server_, 2), (std::vector<std::int32_t>{-1, 0}));
}

TEST_F(ExecutorTest, SendsTheStepsOfAnotherRecordBehindNobody) {
    queue(record("A", {udp_step("0", 1'000'000)}));
    queue(record("B", {udp_step("1", 1'000'000)}));
    (void)run();
    EXPECT_EQ(slots_before(server_, 2), (std::vector<std::int32_t>{-1, -1}));
}

TEST_F(ExecutorTest, ReusesASlotWithoutTheDueTimeOfBefore) {
    queue(record("A", {udp_step("late", 20'000'000)}));
    (void)run();
    EXPECT_EQ(receiver_.receive(), "late");
    join_senders();
    server_.thread_state[0] = kSlotFree;
    queue(record("B", {udp_step("now")}));
    (void)run();
    EXPECT_EQ(receiver_.receive(), "now");
}

TEST_F(ExecutorTest, SkipsAnEventLogThatCannotBeOpened) {
    std::filesystem::create_directory(kEventLog);
    queue(record("A", {udp_step("Hello")}));
    EXPECT_EQ(test::output_of([this] { EXPECT_EQ(run(), 1); }), "");
    EXPECT_EQ(receiver_.receive(), "Hello");
}

// The queue thread never ends: it runs in a child.
using ExecutorDeathTest = ExecutorTest;

TEST_F(ExecutorDeathTest, LooksAtTheQueueNoSoonerThanEveryQuarterOfASecond) {
    EXPECT_EXIT(
        {
            const auto start = std::chrono::steady_clock::now();
            std::thread([this] { handle_q_event(&server_); }).detach();
            for (const auto& earliest :
                 {std::chrono::milliseconds(250), std::chrono::milliseconds(500)}) {
                queue(record("A", {}));
                if (!test::eventually([this] { return queue_is_empty(server_); })) std::_Exit(1);
                if (std::chrono::steady_clock::now() - start < earliest) std::_Exit(2);
            }
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ruvo
