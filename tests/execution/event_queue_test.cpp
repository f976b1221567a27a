#include "execution/event_queue.h"

#include "execution/server_context.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>

namespace ruvo {
namespace {

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
