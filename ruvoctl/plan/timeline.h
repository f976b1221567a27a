#pragma once

#include "ruvoctl/output/style.h"
#include "ruvoctl/plan/plan.h"

#include <cstddef>
#include <string>

namespace ruvo::ctl {

// The steps of every event over time, drawn with characters into lines of at most
// `width` columns (narrower than kNarrowestTimeline counts as that).
inline constexpr std::size_t kNarrowestTimeline = 40;
std::string timeline(const Plan& plan, std::size_t width, const Style& style);

}  // namespace ruvo::ctl
