#include "ruvoctl/plan/plan_text.h"

#include "core/text_cut.h"
#include "execution/outgoing.h"
#include "ruvoctl/output/hex_dump.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/plan/plan_words.h"

#include <fmt/format.h>

#include <algorithm>

namespace ruvo::ctl {
namespace {

constexpr std::string_view kIndent = "      ";

std::string counted(std::size_t count, std::string_view thing) {
    return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

std::string note(const Style& style, Role role, std::string_view text) {
    return fmt::format("{}{}\n", kIndent, style.paint(role, text));
}

// A carriage return and blanks behind a port or a protocol change nothing.
std::string_view without_line_end(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t\r") + 1);
}

std::string address_note(const PlannedStep& step, const Style& style) {
    if (step.configured_ip.empty()) {
        return note(style, Role::kWarning, "it has no address: 0.0.0.0 is this very device");
    }
    const std::string configured = text_of(step.configured_ip);
    if (!step.destination.ip_parsed) {
        return note(style, Role::kWarning,
                    fmt::format("\"{}\" is no address: 0.0.0.0 is this very device", configured));
    }
    if (step.configured_ip == "0.0.0.0") {
        return note(style, Role::kWarning, "0.0.0.0 is this very device");
    }
    if (step.destination.ip == step.configured_ip) return {};
    return note(style, Role::kWarning, fmt::format("configured address \"{}\"", configured));
}

std::string port_note(const PlannedStep& step, const Style& style) {
    if (fmt::format("{}", step.destination.port) == without_line_end(step.configured_port)) {
        return {};
    }
    const std::string configured =
        step.configured_port.empty()
            ? "it has no port: that"
            : fmt::format("the port \"{}\"", text_of(step.configured_port));
    return note(style, Role::kWarning,
                fmt::format("{} counts as {}", configured, step.destination.port));
}

// What was configured, where the socket sees something else.
std::string configured_notes(const PlannedStep& step, const Style& style) {
    std::string notes = address_note(step, style) + port_note(step, style);
    const std::string_view protocol = without_line_end(step.protocol);
    if (protocol != "UDP" && protocol != "TCP") {
        notes += note(style, Role::kFaint,
                      fmt::format("configured protocol \"{}\"", text_of(step.protocol)));
    }
    return notes;
}

std::string macro_source_text(MacroSource source) {
    switch (source) {
        case MacroSource::kStatus:
            return "status item";
        case MacroSource::kDate:
        case MacroSource::kTime:
            return "the clock";
        case MacroSource::kUptime:
            return "the uptime";
        case MacroSource::kUnknown:
            break;
    }
    return "unknown: it vanishes";
}

// Without the device's report it can't be said that there is no such item.
std::string undecided_macro_note(const PlannedMacro& macro, const Style& style) {
    return note(style, Role::kWarning,
                fmt::format("{{{{{}}}}}: no built-in: vanishes unless the device reports an item "
                            "of this name; give --status",
                            text_of(macro.name)));
}

bool is_undecided(const PlannedMacro& macro) {
    return macro.value.source == MacroSource::kUnknown && !macro.report_given;
}

std::string macro_note(const PlannedMacro& macro, const Style& style) {
    if (is_undecided(macro)) return undecided_macro_note(macro, style);
    const bool known = macro.value.source != MacroSource::kUnknown;
    return note(style, known ? Role::kInformation : Role::kWarning,
                fmt::format("{{{{{}}}}} = \"{}\" ({})", text_of(macro.name),
                            printable(macro.value.text), macro_source_text(macro.value.source)));
}

std::string macro_notes(const PlannedStep& step, const Style& style) {
    std::string notes;
    for (const PlannedMacro& macro : step.macros) notes += macro_note(macro, style);
    // A status variant's bytes hold no macro.
    if (!sends_report(step.sender) &&
        std::any_of(step.macros.begin(), step.macros.end(), is_undecided)) {
        notes += note(style, Role::kWarning, "the bytes are those without such items");
    }
    return notes;
}

std::string cut_notes(const PlannedStep& step, const Style& style) {
    if (step.cut_bytes == 0) return {};
    if (sends_report(step.sender)) {
        return note(style, Role::kWarning,
                    fmt::format("its data ({}) does not leave: the report goes in its place",
                                counted(step.cut_bytes, "byte")));
    }
    std::string notes;
    const std::size_t before_zero = until_zero(step.expanded).size();
    if (step.expanded.size() - before_zero > step.line_end_zeros) {
        notes += note(style, Role::kWarning,
                      fmt::format("the zero byte at {} ends the data: {} lost", before_zero,
                                  counted(step.expanded.size() - before_zero, "byte")));
    }
    if (step.data && step.data->size() < before_zero) {
        notes += note(style, Role::kWarning,
                      fmt::format("only the first {} of {} leave: {} lost", step.data->size(),
                                  counted(before_zero, "byte"),
                                  counted(before_zero - step.data->size(), "byte")));
    }
    return notes;
}

std::string report_note(const PlannedStep& step, const Style& style) {
    if (!sends_report(step.sender)) return {};
    return note(style, Role::kFaint,
                "what one receive returns of the report: a long one may be cut");
}

std::string data_text(const PlannedStep& step, const Style& style) {
    if (!step.data) {
        return note(style, Role::kFaint,
                    "the service's report at that moment (--status FILE gives one)");
    }
    if (step.data->empty()) {
        const bool tcp = step.sender == Sender::kTcp || step.sender == Sender::kTcpStatus;
        return note(style, Role::kFaint,
                    tcp ? "no data: a connection without a byte" : "no data: an empty datagram");
    }
    return hex_dump(*step.data, kIndent) + report_note(step, style);
}

std::string what_and_where(const PlannedStep& step) {
    return fmt::format("{} to {}:{}", sender_text(step.sender), step.destination.ip,
                       step.destination.port);
}

std::string unsent_text(const PlannedStep& step, const Style& style) {
    const bool lost = step.outcome == StepOutcome::kLost;
    const std::string verdict =
        style.paint(lost ? Role::kError : Role::kWarning, lost ? "LOST" : "skipped");
    std::string text =
        fmt::format("  step {:<3}  {}: {}\n", step.index, verdict, reason_text(step));
    if (step.sender == Sender::kNone) return text;
    return text + note(style, Role::kFaint, "it would be " + what_and_where(step)) +
           configured_notes(step, style);
}

std::string step_text(const PlannedStep& step, const Style& style) {
    if (step.outcome != StepOutcome::kSends) return unsent_text(step, style);
    return fmt::format("  step {:<3}  {}  {}\n", step.index,
                       style.paint(Role::kGood, window_text(step.window)), what_and_where(step)) +
           configured_notes(step, style) + data_text(step, style) + macro_notes(step, style) +
           cut_notes(step, style);
}

std::string window_note(const PlannedEvent& event, const Style& style) {
    if (event.power_on_window_certain) return {};
    return "  " +
           style.paint(Role::kWarning,
                       "not certain: it runs within 2 s of the end of the power-on window, and the "
                       "daemon measures the uptime once a second") +
           "\n";
}

std::string event_header(const PlannedEvent& event, LookedUpBy by, const Style& style) {
    std::string header = style.paint(Role::kStrong, text_of(event.name));
    if (by == LookedUpBy::kTrigger && event.trigger != event.name) {
        header += fmt::format(" (triggered as \"{}\")", text_of(event.trigger));
    }
    if (event.start) {
        header += ": starts " + window_text(*event.start) + " after the trigger";
    } else {
        const bool refused = event.outcome == EventOutcome::kRefused;
        header += ": " + style.paint(refused ? Role::kWarning : Role::kError, "not run") + ", " +
                  outcome_text(event, by);
    }
    return fmt::format("{}\n  line {}, delay {} s, {}\n", header, event.line, event.delay_s,
                       counted(event.step_count, "step")) +
           window_note(event, style);
}

std::string event_text(const PlannedEvent& event, LookedUpBy by, const Style& style) {
    std::string text = event_header(event, by, style);
    for (const PlannedStep& step : event.steps) text += step_text(step, style);
    return text;
}

std::string voided_text(const VoidingLine& voided, std::string_view file, const Style& style) {
    return fmt::format(
        "{}:{}:{}: {}\n  {}\n  the daemon keeps the events it had before; after a "
        "start it has none\n",
        text_of(file), voided.line, voided.column,
        style.paint(Role::kFatal, "the whole file takes no effect"), voided.cause);
}

std::string trigger_fate(const PlannedTrigger& trigger) {
    if (trigger.command) return "a command: it triggers no event of these settings";
    if (!trigger.text) return "no bytes: no request, no reply";
    if (trigger.lookups == 0) return "events are switched off: it is not looked up";
    return trigger.lookups == 1
               ? "looked up once"
               : fmt::format("looked up {} times, as a whole each time", trigger.lookups);
}

std::string trigger_text_of(const PlannedTrigger& trigger, const Style& style) {
    std::string text =
        fmt::format("{} \"{}\" ({})\n", style.paint(Role::kStrong, "Request"),
                    printable(trigger.request), counted(trigger.request.size(), "byte"));
    text += fmt::format("  {}\n", trigger_fate(trigger));
    if (trigger.text) text += fmt::format("  trigger \"{}\"\n", printable(*trigger.text));
    if (trigger.reply) text += fmt::format("  reply \"{}\"\n", printable(*trigger.reply));
    return text;
}

}  // namespace

std::string plan_preface(const Plan& plan, std::string_view file, const Style& style) {
    std::string text;
    if (plan.voided) text += voided_text(*plan.voided, file, style) + "\n";
    if (plan.trigger) text += trigger_text_of(*plan.trigger, style) + "\n";
    return text;
}

std::string summary_text(const Plan& plan, const Style& style) {
    const PlanSummary summary = summarize(plan);
    const std::string lost = fmt::format("{} lost", summary.lost);
    return fmt::format("{}, {}: {} sent, {} skipped, {}\n", counted(summary.events, "event"),
                       counted(summary.steps, "step"), summary.sends, summary.skipped,
                       style.paint(summary.lost > 0 ? Role::kError : Role::kPlain, lost));
}

std::string plan_text(const Plan& plan, std::string_view file, const Style& style) {
    std::string text = plan_preface(plan, file, style);
    for (const PlannedEvent& event : plan.events) {
        text += event_text(event, looked_up_by(plan.world), style) + "\n";
    }
    return text + summary_text(plan, style);
}

}  // namespace ruvo::ctl
