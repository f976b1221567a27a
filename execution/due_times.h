#pragma once

#include "events/event_entry.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

namespace ruvo {

// Between steps that are due at the same time: they arrive in index order, and not so
// close that a receiver has to take them at once.
inline constexpr std::chrono::microseconds kTieSpacing{100};

// When each step of a record goes out, counted from the start of its execution. A
// step whose delay is 0 or less goes at once; of several steps with the same later
// due time, each waits kTieSpacing more than the one before it.
std::vector<std::chrono::nanoseconds> due_times(const std::vector<SubCommand>& steps);

// The step that the one at `position` goes behind: the last before it that is due at the
// same later time. Nothing for one that goes at once, or the first of its time.
std::optional<std::size_t> step_before(const std::vector<SubCommand>& steps, std::size_t position);

}  // namespace ruvo
