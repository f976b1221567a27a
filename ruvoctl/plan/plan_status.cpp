#include "ruvoctl/plan/plan_status.h"

#include "ruvoctl/exit_status.h"

namespace ruvo::ctl {

int plan_status(const Plan& plan) {
    const PlanSummary summary = summarize(plan);
    if (plan.voided || summary.lost > 0) return kProblemsFound;
    return summary.sends > 0 ? kAsExpected : kNothingToSend;
}

}  // namespace ruvo::ctl
