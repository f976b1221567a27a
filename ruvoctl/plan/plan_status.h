#pragma once

#include "ruvoctl/plan/plan.h"

namespace ruvo::ctl {

// The exit status that a plan means: problems when the file is void or a step is lost,
// nothing to send when none is sent and no fault is the reason.
int plan_status(const Plan& plan);

}  // namespace ruvo::ctl
