#include "execution/sender_thread.h"

#include "core/sanitizers.h"

#include <limits.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace ruvo {
namespace {

constexpr std::size_t kStackBytes = std::size_t{RUVO_SANITIZED ? 1024 : 128} * 1024;

struct Call {
    SenderBody body;
    std::int32_t slot;
    std::int32_t port;
    std::chrono::nanoseconds delay;
    std::atomic<std::int32_t>& state;
};

void* run(void* argument) {
    const std::unique_ptr<const Call> call(static_cast<const Call*>(argument));
    call->body(call->slot, call->port, call->delay, call->state);
    return nullptr;
}

// Thread attributes with the small stack; the guard page stays the default one.
class SmallStack {
  public:
    SmallStack() {
        ::pthread_attr_init(&attributes_);
        const auto least = static_cast<std::size_t>(PTHREAD_STACK_MIN);
        ::pthread_attr_setstacksize(&attributes_, std::max(kStackBytes, least));
    }
    ~SmallStack() { ::pthread_attr_destroy(&attributes_); }
    SmallStack(const SmallStack&) = delete;
    SmallStack& operator=(const SmallStack&) = delete;
    [[nodiscard]] const pthread_attr_t* get() const { return &attributes_; }

  private:
    pthread_attr_t attributes_{};
};

}  // namespace

SenderThread::SenderThread(SenderThread&& other) noexcept
    : thread_(other.thread_), joinable_(std::exchange(other.joinable_, false)) {}

SenderThread& SenderThread::operator=(SenderThread&& other) noexcept {
    if (joinable_) std::terminate();
    thread_ = other.thread_;
    joinable_ = std::exchange(other.joinable_, false);
    return *this;
}

SenderThread::~SenderThread() {
    if (joinable_) std::terminate();
}

int SenderThread::start(SenderBody body, std::int32_t slot, std::int32_t port,
                        std::chrono::nanoseconds delay, std::atomic<std::int32_t>& state) {
    std::unique_ptr<Call> call(new (std::nothrow) Call{body, slot, port, delay, state});
    if (!call) return ENOMEM;
    const SmallStack attributes;
    const int error = ::pthread_create(&thread_, attributes.get(), run, call.get());
    if (error != 0) return error;
    (void)call.release();  // the thread owns it now
    joinable_ = true;
    return 0;
}

void SenderThread::join() {
    ::pthread_join(thread_, nullptr);
    joinable_ = false;
}

}  // namespace ruvo
