#pragma once

#include <dlfcn.h>

#include <atomic>

// The call of this name behind the preloaded library's own. No guarded static:
// sanitizers call some of these before they are ready for one.
template <typename Function>
class NextCall {
  public:
    constexpr explicit NextCall(const char* name) : name_(name) {}

    Function* get() {
        Function* call = call_.load();
        if (call == nullptr) {
            call = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name_));
            call_.store(call);
        }
        return call;
    }

  private:
    const char* name_;
    std::atomic<Function*> call_{nullptr};
};
