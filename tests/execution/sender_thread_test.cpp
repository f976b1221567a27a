#include "execution/sender_thread.h"

#include "core/sanitizers.h"
#include "tests/support/refused_calls.h"
#include "tests/support/waiting.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <type_traits>
#include <utility>

namespace ruvo {
namespace {

using std::chrono::nanoseconds;

static_assert(!std::is_copy_constructible_v<SenderThread>);
static_assert(!std::is_copy_assignable_v<SenderThread>);

// What the body below was given, written before it sets its state.
struct Given {
    std::int32_t slot = 0;
    std::int32_t port = 0;
    nanoseconds delay{};
    std::size_t stack_bytes = 0;
    std::size_t guard_bytes = 0;
};
Given given;

void note_what_is_given(std::int32_t slot, std::int32_t port, nanoseconds delay,
                        std::atomic<std::int32_t>& state) noexcept {
    given = {slot, port, delay, 0, 0};
    pthread_attr_t attributes;
    if (::pthread_getattr_np(::pthread_self(), &attributes) == 0) {
        (void)::pthread_attr_getstacksize(&attributes, &given.stack_bytes);
        (void)::pthread_attr_getguardsize(&attributes, &given.guard_bytes);
        (void)::pthread_attr_destroy(&attributes);
    }
    state.store(2, std::memory_order_release);
}

void wait_for_the_word(std::int32_t, std::int32_t, nanoseconds,
                       std::atomic<std::int32_t>& state) noexcept {
    state.wait(0);
}

// A thread that runs until it is told to end, at the latest by this object's end.
class HeldThread {
  public:
    explicit HeldThread(SenderThread& thread) {
        EXPECT_EQ(thread.start(wait_for_the_word, 0, 0, nanoseconds(0), word_), 0);
    }
    ~HeldThread() { end(); }
    HeldThread(const HeldThread&) = delete;
    HeldThread& operator=(const HeldThread&) = delete;

    void end() {
        word_ = 1;
        word_.notify_all();
    }

  private:
    std::atomic<std::int32_t> word_{0};
};

TEST(SenderThread, IsEmptyBeforeItsStart) { EXPECT_FALSE(SenderThread().joinable()); }

TEST(SenderThread, HandsItsArgumentsToTheBody) {
    std::atomic<std::int32_t> state{1};
    SenderThread thread;
    EXPECT_EQ(thread.start(note_what_is_given, 511, -7, nanoseconds(-5'000'000'000), state), 0);
    EXPECT_TRUE(thread.joinable());
    thread.join();
    EXPECT_EQ(given.slot, 511);
    EXPECT_EQ(given.port, -7);
    EXPECT_EQ(given.delay, nanoseconds(-5'000'000'000));
    EXPECT_EQ(state, 2);
}

TEST(SenderThread, IsEmptyAfterTheJoin) {
    std::atomic<std::int32_t> state{1};
    SenderThread thread;
    ASSERT_EQ(thread.start(note_what_is_given, 0, 0, nanoseconds(0), state), 0);
    thread.join();
    EXPECT_FALSE(thread.joinable());
}

TEST(SenderThread, StaysJoinableWhenItsBodyHasEnded) {
    std::atomic<std::int32_t> state{1};
    SenderThread thread;
    ASSERT_EQ(thread.start(note_what_is_given, 0, 0, nanoseconds(0), state), 0);
    EXPECT_TRUE(test::eventually([&] { return state == 2; }));
    EXPECT_TRUE(thread.joinable());
    thread.join();
}

TEST(SenderThread, CanBeStartedAgainAfterTheJoin) {
    std::atomic<std::int32_t> state{1};
    SenderThread thread;
    for (std::int32_t slot = 0; slot < 3; ++slot) {
        ASSERT_EQ(thread.start(note_what_is_given, slot, 0, nanoseconds(0), state), 0);
        thread.join();
        EXPECT_EQ(given.slot, slot);
    }
}

TEST(SenderThread, MovesItsThread) {
    SenderThread first;
    HeldThread held(first);
    SenderThread second(std::move(first));
    EXPECT_FALSE(first.joinable());  // NOLINT(bugprone-use-after-move): emptied by the move
    EXPECT_TRUE(second.joinable());
    held.end();
    second.join();
}

TEST(SenderThread, TakesAThreadOverWhenItIsEmpty) {
    SenderThread slot;
    SenderThread started;
    HeldThread held(started);
    slot = std::move(started);
    EXPECT_FALSE(started.joinable());  // NOLINT(bugprone-use-after-move): emptied by the move
    EXPECT_TRUE(slot.joinable());
    held.end();
    slot.join();
}

TEST(SenderThreadDeathTest, EndsTheProcessWhenAThreadIsAssignedOver) {
    EXPECT_DEATH(
        {
            SenderThread running;
            const HeldThread held(running);
            running = SenderThread();
        },
        "");
}

TEST(SenderThreadDeathTest, EndsTheProcessWhenAThreadIsDestroyed) {
    EXPECT_DEATH(
        {
            SenderThread* running = new SenderThread();
            const HeldThread held(*running);
            delete running;
        },
        "");
}

TEST(SenderThread, GivesTheErrorWhenNoThreadCanBeStarted) {
    if (!test::can_refuse_calls()) GTEST_SKIP() << "no call can be refused here";
    test::run_refused({SYS_clone, SYS_clone3}, EAGAIN, [] {
        std::atomic<std::int32_t> state{1};
        SenderThread thread;
        EXPECT_EQ(thread.start(note_what_is_given, 0, 0, nanoseconds(0), state), EAGAIN);
        EXPECT_FALSE(thread.joinable());
        EXPECT_EQ(state, 1);
    });
}

TEST(SenderThread, HasASmallStackBehindAGuardPage) {
    std::atomic<std::int32_t> state{1};
    SenderThread thread;
    ASSERT_EQ(thread.start(note_what_is_given, 0, 0, nanoseconds(0), state), 0);
    thread.join();
    EXPECT_GE(given.guard_bytes, static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)));
    if (!RUVO_SANITIZED) {
        EXPECT_LE(given.stack_bytes, 128U * 1024U);
    }
}

}  // namespace
}  // namespace ruvo
