#include "execution/event_queue.h"

#include "execution/server_context.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>

namespace ruvo {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

TEST(StampRecord, CountsTheDelayFromTheMomentOfQueueing) {
    struct Case {
        std::int32_t delay;
        std::int32_t test;
        std::int64_t expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {0, 0, 5, "no delay"},
        {1, 0, 5 + kSecond, "a second"},
        {-1, 0, 5 - kSecond, "a negative delay"},
        {2147483647, 0, 5 + 2147483647 * kSecond, "the longest delay"},
        {1, 1, 5, "a test event is due at once"},
        {-1, 1, 5, "in any case"},
        {1, 2, 5 + kSecond, "only 1 marks an event that is due at once"},
    };
    for (const Case& c : kCases) {
        EventEntry record{"E", "X", 0, 0, {}, 0, c.delay, 0};
        stamp_record(record, 5, c.test);
        EXPECT_EQ(record.t_ns_cread, 5) << c.why;
        EXPECT_EQ(record.t_ns_exec, c.expected) << c.why;
        EXPECT_EQ(record.test, c.test) << c.why;
    }
}

TEST(StampRecord, LeavesTheRestOfTheRecord) {
    EventEntry record{"E", "X", 0, 0, {SubCommand{"ip", "port", "UDP", "data", 1, 2}}, 0, 3, 0};
    EventEntry expected = record;
    expected.t_ns_cread = 7;
    expected.t_ns_exec = 7 + 3 * kSecond;
    stamp_record(record, 7, 0);
    EXPECT_EQ(record, expected);
}

class QueueTest : public testing::Test {
  protected:
    void fill(std::initializer_list<const char*> names) {
        const Guard guard(server_.events_guard);
        for (const char* name : names) server_.events.push_back({name, name, 1, 1, {}, 0, 0, 0});
    }

    std::string names() {
        std::string text;
        for (std::size_t i = 0; const EventEntry* record = record_at(server_, i); ++i) {
            text += record->name;
        }
        return text;
    }

  private:
    const std::unique_ptr<ServerContext> context_ = std::make_unique<ServerContext>();

  protected:
    ServerContext& server_ = *context_;
};

TEST_F(QueueTest, IsEmptyWithoutRecords) {
    EXPECT_TRUE(queue_is_empty(server_));
    EXPECT_EQ(record_at(server_, 0), nullptr);
}

TEST_F(QueueTest, IsNotEmptyWithARecord) {
    fill({"a"});
    EXPECT_FALSE(queue_is_empty(server_));
}

TEST_F(QueueTest, GivesTheRecordsFromTheOldestOn) {
    fill({"a", "b", "c"});
    EXPECT_EQ(names(), "abc");
    EXPECT_EQ(record_at(server_, 3), nullptr);
    EXPECT_EQ(record_at(server_, 100), nullptr);
}

TEST_F(QueueTest, ErasesTheRecordAtAPosition) {
    struct Case {
        std::size_t position;
        const char* left;
        const char* why;
    };
    constexpr Case kCases[] = {
        {0, "bc", "the oldest"},
        {1, "ac", "the one between"},
        {2, "ab", "the newest"},
    };
    for (const Case& c : kCases) {
        {
            const Guard guard(server_.events_guard);
            server_.events.clear();
        }
        fill({"a", "b", "c"});
        erase_record(server_, c.position);
        EXPECT_EQ(names(), c.left) << c.why;
    }
}

TEST_F(QueueTest, IsEmptyAgainWhenTheLastRecordIsErased) {
    fill({"a"});
    erase_record(server_, 0);
    EXPECT_TRUE(queue_is_empty(server_));
}

TEST_F(QueueTest, LetsTheQueueThreadChangeARecord) {
    fill({"a", "b"});
    record_at(server_, 1)->has_run = kRecordSkipped;
    EXPECT_EQ(record_at(server_, 1)->has_run, kRecordSkipped);
}

TEST_F(QueueTest, KeepsARecordInPlaceWhileOthersAreAppended) {
    fill({"a"});
    const EventEntry* const first = record_at(server_, 0);
    for (int i = 0; i < 1000; ++i) fill({"b"});
    EXPECT_EQ(record_at(server_, 0), first);
}

}  // namespace
}  // namespace ruvo
