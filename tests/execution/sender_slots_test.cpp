#include "execution/sender_slots.h"

#include "execution/server_context.h"
#include "tests/support/output.h"
#include "tests/support/process_state.h"
#include "tests/support/text.h"
#include "tests/support/waiting.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace ruvo {
namespace {

using std::chrono::nanoseconds;

// Opens for all sender bodies of a test at once.
std::atomic<bool> gate{false};

void finish_at_once(std::int32_t, std::int32_t, nanoseconds,
                    std::atomic<std::int32_t>& state) noexcept {
    state.store(kSlotFinished, std::memory_order_release);
}

void finish_behind_the_gate(std::int32_t, std::int32_t, nanoseconds,
                            std::atomic<std::int32_t>& state) noexcept {
    gate.wait(false);
    state.store(kSlotFinished, std::memory_order_release);
}

class SenderSlotsTest : public testing::Test {
  protected:
    SenderSlotsTest() { gate = false; }

    ~SenderSlotsTest() override {
        open_gate();
        for (SenderThread& thread : server_.threads) {
            if (thread.joinable()) thread.join();
        }
    }

    std::int32_t reserve() { return get_new_ret_thread(server_, "PowerOn"); }

    void start(std::int32_t slot, SenderBody body) {
        const auto index = static_cast<std::size_t>(slot);
        EXPECT_EQ(server_.threads[index].start(body, slot, 0, nanoseconds(0),
                                               server_.thread_state[index]),
                  0);
    }

    // Reserves a slot and runs a sender in it.
    std::int32_t occupy(SenderBody body = finish_behind_the_gate) {
        const std::int32_t slot = reserve();
        if (slot >= 0) start(slot, body);
        return slot;
    }

    void expect_finished(std::int32_t slot) {
        EXPECT_TRUE(test::eventually([&] { return state(slot) == kSlotFinished; }));
    }

    static void open_gate() {
        gate = true;
        gate.notify_all();
    }

    // Reserved slots need no thread as long as nobody says that they have finished.
    void mark_all_reserved() {
        for (auto& state : server_.thread_state) state = kSlotReserved;
    }

    std::int32_t state(std::int32_t slot) {
        return server_.thread_state[static_cast<std::size_t>(slot)].load(std::memory_order_acquire);
    }

    bool has_thread(std::int32_t slot) {
        return server_.threads[static_cast<std::size_t>(slot)].joinable();
    }

  private:
    test::FreshProcessState process_state_;
    const std::unique_ptr<ServerContext> context_ = std::make_unique<ServerContext>();

  protected:
    ServerContext& server_ = *context_;
};

TEST_F(SenderSlotsTest, ReservesFromTheLowestOn) {
    EXPECT_EQ(reserve(), 0);
    EXPECT_EQ(reserve(), 1);
    EXPECT_EQ(reserve(), 2);
}

TEST_F(SenderSlotsTest, MarksWhatItReserves) {
    EXPECT_EQ(reserve(), 0);
    EXPECT_EQ(state(0), kSlotReserved);
    EXPECT_EQ(state(1), kSlotFree);
}

TEST_F(SenderSlotsTest, ReservesTheNextWhileThreadsRun) {
    EXPECT_EQ(occupy(), 0);
    EXPECT_EQ(occupy(), 1);
    EXPECT_EQ(occupy(), 2);
}

TEST_F(SenderSlotsTest, TakesTheLowestFreeSlot) {
    mark_all_reserved();
    server_.thread_state[511] = kSlotFree;
    server_.thread_state[7] = kSlotFree;
    EXPECT_EQ(reserve(), 7);
    EXPECT_EQ(reserve(), 511);
    EXPECT_EQ(reserve(), -1);
}

TEST_F(SenderSlotsTest, JoinsFinishedSlotsThatItPassesButDoesNotTakeThem) {
    EXPECT_EQ(occupy(finish_at_once), 0);
    expect_finished(0);
    server_.thread_state[1] = kSlotReserved;
    start(1, finish_at_once);
    expect_finished(1);
    EXPECT_EQ(reserve(), 2);
    EXPECT_FALSE(has_thread(0));
    EXPECT_FALSE(has_thread(1));
    EXPECT_EQ(reserve(), 0);
    EXPECT_EQ(reserve(), 1);
    EXPECT_EQ(reserve(), 3);
}

TEST_F(SenderSlotsTest, LeavesFinishedSlotsBehindTheOneItTakes) {
    server_.thread_state[5] = kSlotReserved;
    start(5, finish_at_once);
    expect_finished(5);
    EXPECT_EQ(reserve(), 0);
    EXPECT_EQ(state(5), kSlotFinished);
    EXPECT_TRUE(has_thread(5));
}

TEST_F(SenderSlotsTest, LeavesRunningSlots) {
    EXPECT_EQ(occupy(), 0);
    EXPECT_EQ(occupy(finish_at_once), 1);
    expect_finished(1);
    EXPECT_EQ(reserve(), 2);
    EXPECT_EQ(state(0), kSlotReserved);
    EXPECT_TRUE(has_thread(0));
    EXPECT_EQ(reserve(), 1);
}

TEST_F(SenderSlotsTest, GivesNoneWhenAllAreBusy) {
    mark_all_reserved();
    EXPECT_EQ(reserve(), -1);
    EXPECT_EQ(reserve(), -1);
}

TEST_F(SenderSlotsTest, AFullTableWithAFinishedSlotFailsOnceAndRecovers) {
    mark_all_reserved();
    for (const std::int32_t slot : {0, 300, 511}) {
        start(slot, finish_at_once);
        expect_finished(slot);
    }
    EXPECT_EQ(reserve(), -1);
    for (const std::int32_t slot : {0, 300, 511}) {
        EXPECT_EQ(state(slot), kSlotFree);
        EXPECT_FALSE(has_thread(slot));
    }
    EXPECT_EQ(reserve(), 0);
    EXPECT_EQ(reserve(), 300);
    EXPECT_EQ(reserve(), 511);
    EXPECT_EQ(reserve(), -1);
}

TEST_F(SenderSlotsTest, FiveHundredAndTwelveSendersRunAtOnce) {
    for (std::int32_t slot = 0; slot < 512; ++slot) ASSERT_EQ(occupy(), slot);
    EXPECT_EQ(occupy(), -1);
    open_gate();
    for (std::int32_t slot = 0; slot < 512; ++slot) expect_finished(slot);
    EXPECT_EQ(reserve(), -1);  // this scan joins them all
    for (std::int32_t slot = 0; slot < 512; ++slot) EXPECT_FALSE(has_thread(slot));
    EXPECT_EQ(reserve(), 0);
}

TEST_F(SenderSlotsTest, IsSilentWithoutTheDebugFlag) {
    EXPECT_EQ(test::output_of([this] {
                  EXPECT_EQ(occupy(finish_at_once), 0);
                  expect_finished(0);
                  EXPECT_EQ(reserve(), 1);
                  mark_all_reserved();
                  EXPECT_EQ(reserve(), -1);
              }),
              "");
}

// Trace lines without their source line numbers, which are free.
std::string without_line_numbers(const std::string& text) {
    return test::replaced(text, ":[0-9]+\\]", "]");
}

TEST_F(SenderSlotsTest, TracesAReservation) {
    g_debug_flag = 1;
    EXPECT_EQ(without_line_numbers(test::output_of([this] { EXPECT_EQ(reserve(), 0); })),
              "[get_new_ret_thread] get thread id=0\n");
}

TEST_F(SenderSlotsTest, TracesASlotThatBecomesFree) {
    mark_all_reserved();
    start(17, finish_at_once);
    expect_finished(17);
    g_debug_flag = 1;
    EXPECT_EQ(without_line_numbers(test::output_of([this] { EXPECT_EQ(reserve(), -1); })),
              "[get_new_ret_thread] free thread id=17\n"
              "[get_new_ret_thread] Error: skip PowerOn, event thead over 512\n");
}

TEST_F(SenderSlotsTest, TracesAFullTableWithTheEventsName) {
    mark_all_reserved();
    g_debug_flag = 1;
    EXPECT_EQ(without_line_numbers(test::output_of([this] { EXPECT_EQ(reserve(), -1); })),
              "[get_new_ret_thread] Error: skip PowerOn, event thead over 512\n");
}

}  // namespace
}  // namespace ruvo
