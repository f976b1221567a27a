#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"
#include "ruvoctl/socket_destination.h"

#include "execution/outgoing.h"
#include "execution/server_context.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace ruvo::ctl {
namespace {

void check_pending(Findings& findings) {
    std::size_t waiting = 0;
    for (std::size_t i = 0; i < findings.model.events.size(); ++i) {
        if (!findings.is_examined(i)) continue;
        const auto& steps = findings.model.list[i].subCommands;
        waiting += static_cast<std::size_t>(
            std::count_if(steps.begin(), steps.end(),
                          [](const SubCommand& step) { return step.delayFromExecNs > 0; }));
        if (waiting <= static_cast<std::size_t>(kSenderSlots)) continue;
        findings
            .add_key(
                "pending-512", findings.model.events[i].count_record,
                fmt::format("with this event, {} sends of the file wait for their delays", waiting),
                fmt::format("at most {} can wait at a time: of events that are triggered "
                            "together the last sends are dropped",
                            kSenderSlots))
            .event = findings.model.list[i].name;
        return;
    }
}

void check_power_on_window(Findings& findings) {
    if (findings.options.test) return;
    for (std::size_t i = 0; i < findings.model.events.size(); ++i) {
        const std::string name = lower_case(findings.model.list[i].name);
        if (name != "dviconnected" && name != "dvidisconnected") continue;
        if (!findings.is_examined(i)) continue;
        findings
            .add_key("power-on-window", findings.model.events[i].count_record,
                     fmt::format("{} is skipped while the device powers on",
                                 in_quotes(findings.model.list[i].name)),
                     "nothing is sent in the first 120 s of uptime, for a second or more after "
                     "every restart of the daemon, and for as long as the status service is absent")
            .event = findings.model.list[i].name;
    }
}

bool is_default_key(const EventDefinition& definition, std::string_view key) {
    if (std::find(kPlainKeys.begin(), kPlainKeys.end(), key) != kPlainKeys.end()) return true;
    if (key == "GenericEventsCount") return true;
    const bool built_in = std::find(kBuiltInEvents.begin(), kBuiltInEvents.end(),
                                    definition.name) != kBuiltInEvents.end();
    return built_in && definition.kind == kFieldKey &&
           (definition.field == "Count" || definition.field == "Delay");
}

bool has_effect(const Findings& findings, std::size_t record) {
    if (looks_like_comment(findings.source.key(record))) return true;  // nobody expects one
    const Fate fate = findings.model.records[record].fate;
    if (findings.model.records[record].property == Property::kStepDelay) return true;
    return fate == Fate::kCreates || fate == Fate::kApplies || fate == Fate::kVoids ||
           is_default_key(findings.definition(record), findings.source.key(record));
}

void check_lines(Findings& findings, CheckSummary& summary) {
    summary.lines = findings.source.text.empty() ? 0 : findings.source.line_begins.size();
    std::size_t first = 0;
    for (std::size_t i = findings.source.definitions.size(); i-- > 0;) {
        if (has_effect(findings, i)) continue;
        ++summary.lines_without_effect;
        first = i;
    }
    if (summary.lines_without_effect == 0) return;
    findings.add_key("no-effect", first,
                     fmt::format("{} of {} lines {} no effect", summary.lines_without_effect,
                                 summary.lines, summary.lines_without_effect == 1 ? "has" : "have"),
                     "this is the first of them");
}

// Findings that keep a whole event from its trigger.
constexpr std::array<std::string_view, 5> kEventIsLost = {"delay-stale", "duplicate-trigger",
                                                          "trigger-unsendable", "cr-in-trigger",
                                                          "xmlfield-overwritten"};

// The steps that an error is about; a whole event is its step -1.
class LostSends {
  public:
    explicit LostSends(const Findings& findings) : findings_(findings) {
        for (const Diagnostic& d : findings.diagnostics()) {
            if (d.severity == Severity::kFatal) all_ = true;
            if (d.severity != Severity::kError) continue;
            if (d.step) lost_.emplace(d.event, static_cast<std::int64_t>(*d.step));
            const bool event =
                std::find(kEventIsLost.begin(), kEventIsLost.end(), d.id) != kEventIsLost.end();
            if (event) lost_.emplace(d.event, -1);
        }
    }

    bool has(std::size_t event, std::size_t step) const {
        const EventEntry& entry = findings_.model.list[event];
        const Outgoing out = outgoing(entry.subCommands[step], findings_.word);
        const SocketDestination to = socket_destination(out);
        return all_ || !findings_.is_examined(event) || out.sender == Sender::kNone ||
               !to.ip_parsed || to.port == 0 || always_refused(out.sender, to) ||
               lost_.contains({entry.name, -1}) ||
               lost_.contains({entry.name, static_cast<std::int64_t>(step)});
    }

  private:
    const Findings& findings_;
    std::set<std::pair<std::string_view, std::int64_t>> lost_;
    bool all_ = false;
};

// What of the planned sends arrives as it is written.
void count_sends(const Findings& findings, CheckSummary& summary) {
    const LostSends lost(findings);
    summary.events = findings.model.list.size();
    for (std::size_t i = 0; i < findings.model.events.size(); ++i) {
        const std::string_view name = findings.model.list[i].name;
        if (findings.model.events_of.at(name).front() != i) continue;
        const auto& steps = findings.model.events[i].steps;
        for (std::size_t step = 0; step < steps.size(); ++step) {
            if (!steps[step].configured()) continue;
            ++summary.sends_planned;
            if (!lost.has(i, step)) ++summary.sends_as_written;
        }
    }
}

}  // namespace

void check_whole_file(Findings& findings, CheckSummary& summary) {
    check_pending(findings);
    check_power_on_window(findings);
    check_lines(findings, summary);
    count_sends(findings, summary);
}

}  // namespace ruvo::ctl
