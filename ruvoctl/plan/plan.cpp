#include "ruvoctl/plan/plan.h"

namespace ruvo::ctl {
namespace {

// A report is fetched by a connect, a send and a receive.
constexpr std::chrono::seconds kFetchAtMost = 3 * kCallAtMost;

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

std::chrono::seconds tail_of(const PlannedStep& step) {
    if (step.outcome != StepOutcome::kSends) return {};
    switch (step.sender) {
        case Sender::kTcp:
            return kCallAtMost;
        case Sender::kUdpStatus:
            return kFetchAtMost;
        case Sender::kTcpStatus:
            return kFetchAtMost + kCallAtMost;
        case Sender::kUdp:
        case Sender::kNone:
            break;
    }
    return {};
}

}  // namespace ruvo::ctl
