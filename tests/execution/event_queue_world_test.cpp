#include "execution/event_queue.h"

#include "core/daemon_context.h"
#include "execution/server_context.h"
#include "tests/support/files.h"
#include "tests/support/loopback.h"
#include "tests/support/output.h"
#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace ruvo {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

class PushEventTest : public test::DaemonTest {
  protected:
    PushEventTest() {
        g_server_ctx = &server_;
        context_.eventList.set(
            {{"PowerOn", "PowerOn", 0, 0, {{"ip", "9", "UDP", "D", 1, 2}}, 0, 0, 0},
             {"Slow", "Slow", 0, 0, {}, 0, 5, 0},
             {"Early", "Early", 0, 0, {}, 0, -3, 0},
             {"Lines", "one\ntwo", 0, 0, {}, 0, 0, 0}});
        context_.testEventList.set({{"Slow", "Knob", 0, 0, {}, 0, 5, 0}});
    }

    [[nodiscard]] std::int64_t now_ns() const {
        return std::chrono::nanoseconds(std::chrono::steady_clock::now() - server_.t_ns_start)
            .count();
    }

    std::int64_t next_due() {
        const Guard guard(server_.mutex);
        return server_.t_ns_next;
    }

    std::size_t queue_length() {
        const Guard guard(server_.events_guard);
        return server_.events.size();
    }

    const std::unique_ptr<ServerContext> owner_ = std::make_unique<ServerContext>();
    ServerContext& server_ = *owner_;
};

TEST_F(PushEventTest, QueuesACopyOfTheEventItNames) {
    const std::int64_t before = now_ns();
    EXPECT_EQ(push_event_back(server_, "PowerOn\n"), 0);
    const std::int64_t after = now_ns();
    ASSERT_EQ(queue_length(), 1U);
    const EventEntry* const record = record_at(server_, 0);
    EXPECT_GE(record->t_ns_cread, before);
    EXPECT_LE(record->t_ns_cread, after);
    EventEntry expected = context_.eventList.get()->front();
    expected.t_ns_cread = expected.t_ns_exec = record->t_ns_cread;
    EXPECT_EQ(*record, expected);
}

TEST_F(PushEventTest, ARecordIsCreatedBeforeItsLookup) {
    test::TcpListener status_service(50001);
    auto asked_at = std::async(std::launch::async, [&] {
        const UniqueFd connection = status_service.accept();
        return now_ns();
    });
    // A lookup has a tenth of a second, in which a busy machine may not come to ask.
    do {
        (void)push_event_back(server_, "PowerOn");
    } while (asked_at.wait_for(std::chrono::seconds(0)) != std::future_status::ready);
    EXPECT_LT(record_at(server_, 0)->t_ns_cread, asked_at.get());
}

TEST_F(PushEventTest, TakesATextWithoutALineFeed) {
    (void)push_event_back(server_, "PowerOn", 0);
    EXPECT_EQ(queue_length(), 1U);
}

TEST_F(PushEventTest, DelaysARecordByItsEventsSeconds) {
    (void)push_event_back(server_, "Slow");
    const EventEntry* const record = record_at(server_, 0);
    EXPECT_EQ(record->t_ns_exec, record->t_ns_cread + 5 * kSecond);
    EXPECT_EQ(record->delay, 5);
    EXPECT_EQ(record->test, 0);
}

TEST_F(PushEventTest, ATestRecordIsDueAtOnce) {
    (void)push_event_back(server_, "Slow", 1);
    const EventEntry* const record = record_at(server_, 0);
    EXPECT_EQ(record->t_ns_exec, record->t_ns_cread);
    EXPECT_EQ(record->xmlField, "Knob");
    EXPECT_EQ(record->delay, 0);
    EXPECT_EQ(record->test, 1);
    EXPECT_EQ(next_due(), record->t_ns_cread);
}

TEST_F(PushEventTest, DropsATriggerThatNamesNothing) {
    EXPECT_EQ(test::output_of([this] { EXPECT_EQ(push_event_back(server_, "Nobody\n"), 0); }), "");
    EXPECT_TRUE(queue_is_empty(server_));
    EXPECT_EQ(next_due(), 0);
    EXPECT_EQ(log(), "");
}

TEST_F(PushEventTest, AnEmptyTextLooksNothingUp) {
    g_debug_flag = 1;
    EXPECT_EQ(test::output_of([this] { EXPECT_EQ(push_event_back(server_, ""), 0); }), "");
}

// How often a text stands in another.
int count_of(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos;
         at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

TEST_F(PushEventTest, ATextOfTwoLinesIsLookedUpTwiceAsAWhole) {
    g_debug_flag = 1;
    const std::string output =
        test::output_of([this] { (void)push_event_back(server_, "PowerOn\nSlow"); });
    EXPECT_EQ(count_of(output, "] not found sys event=PowerOn\nSlow\n"), 2) << output;
    EXPECT_EQ(count_of(output, "[push_event_back:"), 2) << output;
    EXPECT_EQ(count_of(output, "[renew_macro_var:307]\n"), 2) << output;
    EXPECT_TRUE(queue_is_empty(server_));
}

TEST_F(PushEventTest, ATextOfTwoLinesThatNamesAnEventQueuesItTwice) {
    (void)push_event_back(server_, "one\ntwo\n");
    ASSERT_EQ(queue_length(), 2U);
    EXPECT_EQ(record_at(server_, 0)->name, "Lines");
    EXPECT_EQ(record_at(server_, 1)->name, "Lines");
    EXPECT_LT(record_at(server_, 0)->t_ns_cread, record_at(server_, 1)->t_ns_cread);
}

TEST_F(PushEventTest, AnEmptyLineIsALine) {
    g_debug_flag = 1;
    const std::string output = test::output_of([this] { (void)push_event_back(server_, "\n\n"); });
    EXPECT_EQ(count_of(output, "not found sys event="), 2) << output;
}

TEST_F(PushEventTest, KeepsTheOrderOfArrival) {
    (void)push_event_back(server_, "Slow");
    (void)push_event_back(server_, "PowerOn");
    EXPECT_EQ(record_at(server_, 0)->name, "Slow");
    EXPECT_EQ(record_at(server_, 1)->name, "PowerOn");
}

TEST_F(PushEventTest, TheFirstRecordSetsTheNextDueTime) {
    (void)push_event_back(server_, "Slow");
    EXPECT_EQ(next_due(), record_at(server_, 0)->t_ns_exec);
}

TEST_F(PushEventTest, AnEarlierDueTimeLowersTheNextOne) {
    (void)push_event_back(server_, "Slow");
    (void)push_event_back(server_, "PowerOn");
    EXPECT_EQ(next_due(), record_at(server_, 1)->t_ns_exec);
}

TEST_F(PushEventTest, ALaterDueTimeLeavesTheNextOne) {
    (void)push_event_back(server_, "PowerOn");
    const std::int64_t first = record_at(server_, 0)->t_ns_exec;
    (void)push_event_back(server_, "Slow");
    (void)push_event_back(server_, "PowerOn");
    EXPECT_EQ(next_due(), first);
}

TEST_F(PushEventTest, ANegativeDelayIsDueBeforeItIsQueued) {
    (void)push_event_back(server_, "Early");
    const EventEntry* const record = record_at(server_, 0);
    EXPECT_EQ(record->t_ns_exec, record->t_ns_cread - 3 * kSecond);
}

TEST_F(PushEventTest, ProducersInSeveralThreadsLoseNothing) {
    std::vector<std::thread> producers;
    for (int i = 0; i < 3; ++i) {
        producers.emplace_back([this] {
            for (int k = 0; k < 4; ++k) (void)push_event_back(server_, "PowerOn");
        });
    }
    for (std::thread& producer : producers) producer.join();
    EXPECT_EQ(queue_length(), 12U);
}

TEST_F(PushEventTest, ProducersLookUpOneAfterTheOther) {
    // Asks the status service for every lookup.
    replace_tool("timeout",
                 "echo begin >> /tmp/tools/lookups\nsleep 0.02\n"
                 "echo end >> /tmp/tools/lookups\n");
    std::vector<std::thread> producers;
    for (int i = 0; i < 3; ++i) {
        producers.emplace_back([this] { (void)push_event_back(server_, "PowerOn"); });
    }
    for (std::thread& producer : producers) producer.join();
    EXPECT_EQ(test::text_of("/tmp/tools/lookups"), "begin\nend\nbegin\nend\nbegin\nend\n");
}

}  // namespace
}  // namespace ruvo
