#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdint>

namespace ruvo {

// What a sender thread runs: the slot's index, the destination port, the step's
// delay from the start of the execution, and the slot's state, which it sets to
// kSlotFinished as its last action. It throws nothing.
using SenderBody = void (*)(std::int32_t slot, std::int32_t port, std::chrono::nanoseconds delay,
                            std::atomic<std::int32_t>& state) noexcept;

// One sender thread. As with std::thread, a thread that has not been joined must
// not be destroyed or assigned over: the process would terminate. Unlike it, the
// stack is small, so that a full table of senders fits a 32-bit address space.
// Used by the queue thread only.
class SenderThread {
  public:
    SenderThread() = default;
    SenderThread(SenderThread&& other) noexcept;
    SenderThread& operator=(SenderThread&& other) noexcept;
    ~SenderThread();

    // Starts the body in a new thread, held by this so far empty object. Returns 0,
    // or the error number when no thread can be started.
    [[nodiscard]] int start(SenderBody body, std::int32_t slot, std::int32_t port,
                            std::chrono::nanoseconds delay, std::atomic<std::int32_t>& state);

    [[nodiscard]] bool joinable() const { return joinable_; }

    // Waits for the end of the thread and leaves the object empty.
    void join();

  private:
    pthread_t thread_{};
    bool joinable_ = false;
};

}  // namespace ruvo
