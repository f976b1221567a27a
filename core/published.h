#pragma once

#include "core/mutex.h"

#include <memory>
#include <utility>

namespace ruvo {

// A value that is only ever replaced whole. Readers take a share of the value
// as it stands and keep it as long as they like; they never see a mixture of
// two values. Any thread may call both operations.
template <typename Value>
class Published {
  public:
    [[nodiscard]] std::shared_ptr<const Value> get() const {
        const Guard guard(guard_);
        return value_;
    }

    void set(Value value) {
        auto next = std::make_shared<const Value>(std::move(value));
        const Guard guard(guard_);
        value_.swap(next);  // the old value dies after the guard is gone
    }

  private:
    mutable Mutex guard_;  // leaf: two pointers change hands under it
    std::shared_ptr<const Value> value_ RUVO_GUARDED_BY(guard_) = std::make_shared<const Value>();
};

}  // namespace ruvo
