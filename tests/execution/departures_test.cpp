#include "execution/departures.h"

#include "tests/support/waiting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <limits>

namespace ruvo {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

class DeparturesTest : public testing::Test {
  protected:
    static steady_clock::time_point late() { return steady_clock::now() + test::kDeadline; }

    bool waits_in_vain_for(const Departures<4>::Departure& departure) {
        const auto latest = steady_clock::now() + 20ms;
        departures_.wait_for(departure, latest);
        return steady_clock::now() >= latest;
    }

    Departures<4> departures_;
};

TEST_F(DeparturesTest, NobodysIsNotWaitedFor) {
    EXPECT_LT(test::duration_of([this] { departures_.wait_for({}, late()); }), test::kDeadline);
}

TEST_F(DeparturesTest, OneThatHasBeenIsNotWaitedFor) {
    const auto first = departures_.next(2);
    departures_.note(2);
    departures_.note(2);
    EXPECT_LT(test::duration_of([&] { departures_.wait_for(first, late()); }), test::kDeadline);
}

TEST_F(DeparturesTest, OneThatDoesNotComeIsWaitedForUntilTheLatestTime) {
    EXPECT_TRUE(waits_in_vain_for(departures_.next(2)));
}

TEST_F(DeparturesTest, ATimeThatHasPassedIsNotWaitedFor) {
    departures_.wait_for(departures_.next(2), steady_clock::now() - 1s);
}

TEST_F(DeparturesTest, AnotherSlotsDoesNotCount) {
    departures_.note(1);
    EXPECT_TRUE(waits_in_vain_for(departures_.next(2)));
}

TEST_F(DeparturesTest, AnEarlierOneOfTheSlotDoesNotCount) {
    departures_.note(2);
    EXPECT_TRUE(waits_in_vain_for(departures_.next(2)));
}

TEST_F(DeparturesTest, TheCountWrapsAround) {
    const std::uint32_t greatest = std::numeric_limits<std::uint32_t>::max();
    EXPECT_LT(
        test::duration_of([&] { departures_.wait_for({.slot = 2, .number = greatest}, late()); }),
        test::kDeadline);
}

TEST_F(DeparturesTest, WhoeverWaitsGoesOnWhenItComes) {
    const auto departure = departures_.next(2);
    std::atomic<bool> gone{false};
    auto waiting = std::async(std::launch::async, [&] {
        departures_.wait_for(departure, late());
        return gone.load();
    });
    EXPECT_EQ(waiting.wait_for(20ms), std::future_status::timeout);
    gone = true;
    departures_.note(2);
    EXPECT_TRUE(waiting.get());
}

}  // namespace
}  // namespace ruvo
