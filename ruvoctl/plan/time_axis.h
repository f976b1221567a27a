#pragma once

#include "ruvoctl/plan/plan.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ruvo::ctl {

// The axis of a drawing: from 0, the trigger, to an end with a round tick.
struct TimeAxis {
    double tick_ms = 0;
    std::size_t ticks = 0;  // without that at 0

    double end_ms() const { return tick_ms * static_cast<double>(ticks); }
};

// The shortest axis with ticks of 1, 2 or 5 times a power of ten ms that ends at or
// behind `end_ms` (more than 0) and has at most `most_ticks` (2 or more).
TimeAxis time_axis(double end_ms, std::size_t most_ticks);

// "0", "50 ms" or "1.5 s".
std::string tick_text(double ms);

// The last moment of an event that anything is drawn at: the end of its last step's
// window, its tail included.
double drawing_end_ms(const PlannedEvent& event);

}  // namespace ruvo::ctl
