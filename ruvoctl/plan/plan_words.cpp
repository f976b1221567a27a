#include "ruvoctl/plan/plan_words.h"

#include "events/expand_data.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

namespace ruvo::ctl {
namespace {

std::string unreachable_text(const PlannedEvent& event, LookedUpBy by) {
    const auto& found = event.found_instead;
    if (found && found->name == event.name) {
        return fmt::format("an earlier event of this name (line {}) is found in its place",
                           found->line);
    }
    if (found) {
        return fmt::format(
            "{} finds the event \"{}\"",
            by == LookedUpBy::kName ? "its name in a test command" : "its trigger name",
            text_of(found->name));
    }
    if (by == LookedUpBy::kName) return "no test command can hold its name";
    return fmt::format("no client can send the trigger name \"{}\"", text_of(event.trigger));
}

}  // namespace

std::string_view outcome_word(EventOutcome outcome) {
    switch (outcome) {
        case EventOutcome::kRuns:
            return "runs";
        case EventOutcome::kStale:
            return "stale";
        case EventOutcome::kRefused:
            return "refused";
        case EventOutcome::kUnreachable:
            return "unreachable";
    }
    return {};
}

std::string_view outcome_word(StepOutcome outcome) {
    switch (outcome) {
        case StepOutcome::kSends:
            return "sends";
        case StepOutcome::kSkipped:
            return "skipped";
        case StepOutcome::kLost:
            return "lost";
    }
    return {};
}

std::string_view reason_word(StepReason reason) {
    switch (reason) {
        case StepReason::kPowerOnWindow:
            return "power-on-window";
        case StepReason::kSwitchedOff:
            return "switched-off";
        case StepReason::kNoProtocol:
            return "no-protocol";
        case StepReason::kRefusedDestination:
            return "refused-destination";
        case StepReason::kNone:
            break;
    }
    return {};
}

std::string_view sender_word(Sender sender) {
    switch (sender) {
        case Sender::kUdp:
            return "udp";
        case Sender::kTcp:
            return "tcp";
        case Sender::kUdpStatus:
            return "udp-status";
        case Sender::kTcpStatus:
            return "tcp-status";
        case Sender::kNone:
            break;
    }
    return {};
}

std::string_view source_word(const PlannedMacro& macro) {
    switch (macro.value.source) {
        case MacroSource::kStatus:
            return "status";
        case MacroSource::kDate:
            return "date";
        case MacroSource::kTime:
            return "time";
        case MacroSource::kUptime:
            return "uptime";
        case MacroSource::kUnknown:
            return macro.report_given ? "unknown" : "not-given";
    }
    return {};
}

std::string_view switch_word(SwitchPosition position) {
    switch (position) {
        case SwitchPosition::kOn:
            return "on";
        case SwitchPosition::kOffWhenTriggered:
            return "off-when-triggered";
        case SwitchPosition::kOffBeforeRun:
            return "off-before-run";
    }
    return {};
}

std::string time_text(const std::tm& local_time) {
    return format_date(local_time) + format_time(local_time);
}

double in_ms(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

std::string ms_text(std::chrono::nanoseconds time) {
    std::string text = fmt::format("{:.1f}", in_ms(time));
    if (text.ends_with(".0")) text.resize(text.size() - 2);
    return text;
}

std::string window_text(const Window& window) {
    return fmt::format("{} to {} ms", ms_text(window.earliest), ms_text(window.latest));
}

std::string_view sender_text(Sender sender) {
    switch (sender) {
        case Sender::kUdp:
            return "UDP";
        case Sender::kTcp:
            return "TCP";
        case Sender::kUdpStatus:
            return "status report by UDP";
        case Sender::kTcpStatus:
            return "status report by TCP";
        case Sender::kNone:
            break;
    }
    return "no sender";
}

std::string reason_text(const PlannedStep& step) {
    switch (step.reason) {
        case StepReason::kPowerOnWindow:
            return "display events are skipped until the device is up for more than 120 s";
        case StepReason::kSwitchedOff:
            return "events are switched off when it runs";
        case StepReason::kNoProtocol:
            return step.protocol.empty()
                       ? "it has no protocol"
                       : fmt::format("the protocol \"{}\" holds neither UDP nor TCP in capitals",
                                     text_of(step.protocol));
        case StepReason::kRefusedDestination:
            return fmt::format("the system refuses {}:{} by {}", step.destination.ip,
                               step.destination.port, sender_text(step.sender));
        case StepReason::kNone:
            break;
    }
    return {};
}

LookedUpBy looked_up_by(const World& world) {
    return world.test ? LookedUpBy::kName : LookedUpBy::kTrigger;
}

std::string outcome_text(const PlannedEvent& event, LookedUpBy by) {
    switch (event.outcome) {
        case EventOutcome::kStale:
            return "an event that waits 60 s or more is dropped as too old";
        case EventOutcome::kRefused:
            return "events are switched off when it is triggered";
        case EventOutcome::kUnreachable:
            return unreachable_text(event, by);
        case EventOutcome::kRuns:
            break;
    }
    return {};
}

}  // namespace ruvo::ctl
