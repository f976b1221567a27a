#include "devkit/poll_timeout.h"

#include <algorithm>
#include <limits>

namespace ruvo::devkit {

int ms_until(std::chrono::steady_clock::time_point moment) {
    using std::chrono::milliseconds;
    const auto left =
        std::chrono::ceil<milliseconds>(moment - std::chrono::steady_clock::now()).count();
    constexpr milliseconds::rep kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp<milliseconds::rep>(left, 0, kMost));
}

}  // namespace ruvo::devkit
