#include "execution/due_times.h"

#include <map>

namespace ruvo {

std::vector<std::chrono::nanoseconds> due_times(const std::vector<SubCommand>& steps) {
    std::vector<std::chrono::nanoseconds> times;
    times.reserve(steps.size());
    std::map<std::int64_t, int> earlier_ties;
    for (const SubCommand& step : steps) {
        const std::chrono::nanoseconds delay(step.delayFromExecNs);
        times.push_back(delay.count() > 0 ? delay + kTieSpacing * earlier_ties[delay.count()]++
                                          : std::chrono::nanoseconds(0));
    }
    return times;
}

std::optional<std::size_t> step_before(const std::vector<SubCommand>& steps, std::size_t position) {
    const std::int64_t delay_ns = steps[position].delayFromExecNs;
    if (delay_ns <= 0) return {};
    for (std::size_t i = position; i-- > 0;) {
        if (steps[i].delayFromExecNs == delay_ns) return i;
    }
    return {};
}

}  // namespace ruvo
