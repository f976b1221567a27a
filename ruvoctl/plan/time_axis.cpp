#include "ruvoctl/plan/time_axis.h"

#include "ruvoctl/plan/plan_words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace ruvo::ctl {

TimeAxis time_axis(double end_ms, std::size_t most_ticks) {
    double power = 1;
    for (;;) {
        for (const double factor : {1.0, 2.0, 5.0}) {
            const double tick = factor * power;
            const double ticks = std::max(1.0, std::ceil(end_ms / tick));
            if (ticks <= static_cast<double>(most_ticks)) {
                return {.tick_ms = tick, .ticks = static_cast<std::size_t>(ticks)};
            }
        }
        power *= 10;
    }
}

std::string tick_text(double ms) {
    if (ms == 0) return "0";
    return ms < 1000 ? fmt::format("{} ms", ms) : fmt::format("{} s", ms / 1000);
}

double drawing_end_ms(const PlannedEvent& event) {
    double end = event.start ? in_ms(event.start->latest) : 0;
    for (const PlannedStep& step : event.steps) {
        end = std::max(end, in_ms(step.window.latest + tail_of(step)));
    }
    return end;
}

}  // namespace ruvo::ctl
