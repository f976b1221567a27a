#include "execution/server_context.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace ruvo {
namespace {

class ServerContextTest : public testing::Test {
  protected:
    const std::unique_ptr<ServerContext> server_ = std::make_unique<ServerContext>();
};

TEST_F(ServerContextTest, HasFiveHundredAndTwelveFreeSlots) {
    EXPECT_EQ(server_->thread_state.size(), 512U);
    for (const auto& state : server_->thread_state) EXPECT_EQ(state, 0);
}

TEST_F(ServerContextTest, HasEmptySlots) {
    for (const SenderThread& thread : server_->threads) EXPECT_FALSE(thread.joinable());
    for (const auto& ip : server_->thread_ip) {
        EXPECT_EQ(ip.size(), 64U);
        EXPECT_TRUE(std::all_of(ip.begin(), ip.end(), [](char c) { return c == 0; }));
    }
    for (const auto& data : server_->thread_data) {
        EXPECT_EQ(data.size(), 1024U);
        EXPECT_TRUE(std::all_of(data.begin(), data.end(), [](char c) { return c == 0; }));
    }
    for (const auto& due : server_->thread_due) EXPECT_FALSE(due);
    for (const auto& before : server_->thread_before) EXPECT_LT(before.slot, 0);
}

TEST_F(ServerContextTest, HasAnEmptyQueue) {
    const Guard guard(server_->events_guard);
    EXPECT_TRUE(server_->events.empty());
}

TEST_F(ServerContextTest, HasSeenNoDueTime) {
    const Guard guard(server_->mutex);
    EXPECT_EQ(server_->t_ns_next, 0);
}

TEST_F(ServerContextTest, StoresThePortOfTheClientModesService) { EXPECT_EQ(server_->port, 50003); }

TEST_F(ServerContextTest, CountsItsTimesFromItsCreation) {
    const auto before = std::chrono::steady_clock::now();
    const auto later = std::make_unique<ServerContext>();
    EXPECT_GE(later->t_ns_start, before);
    EXPECT_LE(later->t_ns_start, std::chrono::steady_clock::now());
}

}  // namespace
}  // namespace ruvo
