#include "ruvoctl/plan/plan.h"

namespace ruvo::ctl {
namespace {

void count_step(PlanSummary& summary, StepOutcome outcome) {
    switch (outcome) {
        case StepOutcome::kSends:
            ++summary.sends;
            break;
        case StepOutcome::kSkipped:
            ++summary.skipped;
            break;
        case StepOutcome::kLost:
            ++summary.lost;
            break;
    }
}

}  // namespace

PlanSummary summarize(const Plan& plan) {
    PlanSummary summary;
    summary.events = plan.events.size();
    for (const PlannedEvent& event : plan.events) {
        summary.steps += event.step_count;
        switch (event.outcome) {
            case EventOutcome::kRuns:
                for (const PlannedStep& step : event.steps) count_step(summary, step.outcome);
                break;
            case EventOutcome::kRefused:
                summary.skipped += event.step_count;
                break;
            case EventOutcome::kStale:
            case EventOutcome::kUnreachable:
                summary.lost += event.step_count;
                break;
        }
    }
    return summary;
}

}  // namespace ruvo::ctl
