#pragma once

#include "ruvoctl/plan/plan.h"

#include <string>

namespace ruvo::ctl {

// A picture of every event's steps over time, a whole SVG document that refers to
// nothing outside itself.
std::string plan_svg(const Plan& plan);

}  // namespace ruvo::ctl
