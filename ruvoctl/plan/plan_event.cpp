#include "ruvoctl/plan/plan_event.h"

#include "core/process_state.h"
#include "core/text_cut.h"
#include "events/expanded_copy.h"
#include "events/find_event.h"
#include "events/hex_to_bytes.h"
#include "execution/decide.h"
#include "execution/due_times.h"
#include "execution/event_log.h"
#include "execution/outgoing.h"
#include "execution/stamp_record.h"
#include "net/command_request.h"
#include "net/command_text.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/settings_model.h"
#include "ruvoctl/status_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

namespace ruvo::ctl {
namespace {

using std::chrono::nanoseconds;

// How long the status service may keep a lookup waiting.
constexpr std::chrono::milliseconds kLookupAtMost{100};

// When planned records are queued, on their own clock: any time but 0.
constexpr std::int64_t kQueuedNs = 1;

// So near to its end the power-on window may be over or not: the uptime in the daemon's mind
// is older than a second at times.
constexpr std::int64_t kUptimeDoubtSeconds = 2;

constexpr std::string_view kLineEndBlanks = " \t\r";

// What the planning of every event uses.
struct Given {
    const SettingsSource& source;
    const World& world;
    SettingsModel model;
    MacroValues macro_values;

    std::int32_t test() const { return world.test ? 1 : 0; }
};

MacroValues macro_values(const World& world) {
    auto items = std::make_shared<StatusVariables>();
    if (world.status && is_taken_over(*world.status)) *items = world.status->items;
    return {.status_variables = std::move(items),
            .local_time = world.local_time,
            .uptime_s = world.uptime_s};
}

Given given(const SettingsSource& source, const World& world) {
    return {.source = source,
            .world = world,
            .model = model_settings(source, world.word),
            .macro_values = macro_values(world)};
}

std::string voiding_cause(const EventDefinition& definition, WordSize word) {
    const auto index = text_of(definition.index);
    const auto name = text_of(definition.name);
    try {
        (void)index_of(definition.index, word);
    } catch (const std::out_of_range&) {
        return fmt::format("the index \"{}\" behind {}{} is too large a number", index, name,
                           definition.field);
    } catch (const std::invalid_argument&) {
        return fmt::format("\"{}\" behind {}{} stands where an index is expected and is no number",
                           index, name, definition.field);
    }
    return {};
}

std::optional<VoidingLine> find_voiding_line(const Given& in) {
    if (in.model.voiding.empty()) return {};
    const std::size_t record = in.model.voiding.front();
    const EventDefinition& definition = in.source.definitions[record];
    const SourcePosition position = in.source.position(
        in.source.key_offset(record) + definition.name.size() + definition.field.size());
    return VoidingLine{.line = position.line,
                       .column = position.column,
                       .cause = voiding_cause(definition, in.world.word)};
}

Plan empty_plan(const Given& in) {
    Plan plan;
    plan.world = in.world;
    plan.voided = find_voiding_line(in);
    return plan;
}

// The text that a client sends to trigger an entry goes through the command port; it may
// arrive as another event's name, or as none.
const EventEntry* entry_found_by_client(const Given& in, const EventEntry& entry) {
    if (in.world.test) {
        const auto command =
            split_command(split_request(request_text("__TEST__:" + entry.name)).key);
        const std::string_view name = without_line_feed(command->argument);
        return count_lines(command->argument) > 0 ? find_event(in.model.list, name, 1) : nullptr;
    }
    const CommandRequest request = split_request(request_text(entry.xmlField + "\n"));
    if (is_command(request)) return nullptr;
    return find_event(in.model.list, without_line_feed(trigger_text(request)), 0);
}

// A pass meets a record just behind its due time at the earliest, never on the very
// nanosecond.
bool is_stale_when_due(const EventEntry& record) {
    return decide_record(record, due_ns(record) + 1) == RecordAction::kDropStale;
}

EventOutcome outcome_of(const Given& in, const EventEntry& record) {
    if (in.world.switch_position == SwitchPosition::kOffWhenTriggered && !in.world.test) {
        return EventOutcome::kRefused;
    }
    return is_stale_when_due(record) ? EventOutcome::kStale : EventOutcome::kRuns;
}

// The lookup may be instant or take its time; the record's age counts from before it.
Window start_window(const EventEntry& record) {
    const nanoseconds due(due_ns(record) - record.t_ns_cread);
    return {.earliest = due, .latest = std::max<nanoseconds>(due, kLookupAtMost) + kPassInterval};
}

std::vector<PlannedMacro> macros_in(std::string_view data, const Given& in) {
    std::vector<PlannedMacro> macros;
    std::size_t position = 0;
    while (const auto macro = find_macro(data, position)) {
        macros.push_back({.name = std::string(macro->name),
                          .value = resolve_macro(macro->name, in.macro_values),
                          .report_given = in.world.status.has_value()});
        position = macro->end();
    }
    return macros;
}

// The uptime when the event runs; it goes on during the event's delay.
std::int64_t run_uptime_s(const World& world, const Window& start) {
    return world.uptime_s +
           std::chrono::duration_cast<std::chrono::seconds>(start.earliest).count();
}

Switches switches_at_run(const World& world, std::int64_t uptime_s) {
    return {.power_on_window_over = uptime_s > kPowerOnWindowSeconds,
            .enabled = world.switch_position == SwitchPosition::kOn};
}

void decide_send(PlannedStep& planned, const SubCommand& step) {
    planned.log_line = sent_line(step);
    if (planned.sender == Sender::kNone) {
        planned.outcome = StepOutcome::kLost;
        planned.reason = StepReason::kNoProtocol;
    } else if (always_refused(planned.sender, planned.destination)) {
        planned.outcome = StepOutcome::kLost;
        planned.reason = StepReason::kRefusedDestination;
    }
}

void decide(PlannedStep& planned, const SubCommand& step, StepAction action,
            std::int64_t uptime_s) {
    switch (action) {
        case StepAction::kPowerOnSkip:
            planned.outcome = StepOutcome::kSkipped;
            planned.reason = StepReason::kPowerOnWindow;
            planned.log_line = power_on_skip_line(step, uptime_s);
            break;
        case StepAction::kDisabledSkip:
            planned.outcome = StepOutcome::kSkipped;
            planned.reason = StepReason::kSwitchedOff;
            planned.log_line = disabled_line(step, uptime_s);
            break;
        case StepAction::kSend:
            decide_send(planned, step);
            break;
    }
}

std::optional<std::string> data_sent(const Outgoing& out, const World& world) {
    if (!sends_report(out.sender)) return std::string(out.data);
    if (!world.status) return {};
    return sent_report(*world.status);
}

PlannedStep plan_step(const SubCommand& step, const World& world) {
    const Outgoing out = outgoing(step, world.word);
    PlannedStep planned;
    planned.sender = out.sender;
    planned.protocol = step.protocol;
    planned.configured_ip = step.ip;
    planned.configured_port = step.port;
    planned.destination = socket_destination(out);
    planned.delay = nanoseconds(step.delayFromExecNs);
    planned.data = data_sent(out, world);
    planned.expanded = step.data;
    planned.cut_bytes = step.data.size() - out.data.size();
    return planned;
}

// The zero bytes at the end of data that only a carriage return and blanks behind the
// digits have made.
std::size_t line_end_zeros(const Given& in, const std::optional<std::size_t>& data_record) {
    if (!data_record) return 0;
    const std::string_view value = in.source.definitions[*data_record].value;
    const std::string_view digits = value.substr(0, value.find_last_not_of(kLineEndBlanks) + 1);
    const std::string bytes = hex_to_bytes(value);
    const std::string meant = hex_to_bytes(digits);
    const bool only_zeros = bytes.starts_with(meant) &&
                            bytes.find_first_not_of('\0', meant.size()) == std::string::npos;
    return only_zeros ? bytes.size() - meant.size() : 0;
}

// Whether the uptime's second of more or less changes what becomes of a record.
bool is_window_certain(const EventEntry& record, const World& world, const Window& start) {
    const std::int64_t distance = run_uptime_s(world, start) - kPowerOnWindowSeconds;
    if (distance < -kUptimeDoubtSeconds || distance > kUptimeDoubtSeconds) return true;
    return decide_step(record, switches_at_run(world, kPowerOnWindowSeconds)) ==
           decide_step(record, switches_at_run(world, kPowerOnWindowSeconds + 1));
}

std::vector<PlannedStep> plan_steps(const Given& in, const EventEntry& entry,
                                    const EventModel& event, const EventEntry& record,
                                    const Window& start) {
    const std::int64_t uptime_s = run_uptime_s(in.world, start);
    const StepAction action = decide_step(record, switches_at_run(in.world, uptime_s));
    const auto due = due_times(record.subCommands);
    std::vector<PlannedStep> steps;
    for (std::size_t i = 0; i < record.subCommands.size(); ++i) {
        PlannedStep planned = plan_step(record.subCommands[i], in.world);
        planned.index = i;
        planned.due = due[i];
        planned.window = {.earliest = start.earliest + due[i], .latest = start.latest + due[i]};
        planned.macros = macros_in(entry.subCommands[i].data, in);
        planned.line_end_zeros = line_end_zeros(in, event.steps[i].data);
        decide(planned, record.subCommands[i], action, uptime_s);
        steps.push_back(std::move(planned));
    }
    return steps;
}

std::size_t line_of_event(const Given& in, std::size_t position) {
    return in.source.line_of(in.model.events[position].count_record);
}

std::size_t position_of(const Given& in, const EventEntry& entry) {
    const auto found = std::find_if(in.model.list.begin(), in.model.list.end(),
                                    [&](const EventEntry& other) { return &other == &entry; });
    return static_cast<std::size_t>(found - in.model.list.begin());
}

EarlierEvent earlier_event(const Given& in, const EventEntry& entry) {
    return {.name = entry.name, .line = line_of_event(in, position_of(in, entry))};
}

PlannedEvent plan_entry(const Given& in, const EventEntry& entry, std::size_t position) {
    EventEntry record = expanded_copy(entry, in.macro_values, in.test());
    stamp_record(record, kQueuedNs, in.test());
    PlannedEvent event;
    event.name = entry.name;
    event.trigger = entry.xmlField;
    event.line = line_of_event(in, position);
    event.delay_s = record.delay;
    event.step_count = entry.subCommands.size();
    if (const EventEntry* const found = entry_found_by_client(in, entry); found != &entry) {
        event.outcome = EventOutcome::kUnreachable;
        if (found != nullptr) event.found_instead = earlier_event(in, *found);
        return event;
    }
    event.outcome = outcome_of(in, record);
    if (event.outcome != EventOutcome::kRuns) return event;
    event.start = start_window(record);
    event.power_on_window_certain = is_window_certain(record, in.world, *event.start);
    event.steps = plan_steps(in, entry, in.model.events[position], record, *event.start);
    return event;
}

// Appends the plan of the entry that answers to a name, if one does.
void append_event(const Given& in, std::string_view name, std::vector<PlannedEvent>& events) {
    const EventEntry* const entry = find_event(in.model.list, name, in.test());
    if (entry != nullptr) events.push_back(plan_entry(in, *entry, position_of(in, *entry)));
}

PlannedTrigger plan_trigger(const World& world, std::string_view bytes) {
    PlannedTrigger trigger;
    trigger.request = request_text(bytes);
    if (bytes.empty()) return trigger;  // nothing arrives: there is no request
    const CommandRequest request = split_request(trigger.request);
    trigger.command = is_command(request);
    if (trigger.command) return trigger;
    trigger.text = trigger_text(request);
    if (world.switch_position == SwitchPosition::kOffWhenTriggered) {
        trigger.reply = disabled_reply(request);
    } else {
        trigger.lookups = count_lines(*trigger.text);
        trigger.reply = queued_reply(*trigger.text, 0);
    }
    return trigger;
}

bool creates_none_though_a_number(const EventDefinition& definition, WordSize word) {
    if (definition.kind != kFieldKey || definition.field != "Count") return false;
    char* end = nullptr;
    (void)std::strtoll(definition.value.c_str(), &end, 10);
    return end != definition.value.c_str() && created_steps(definition, word) == 0;
}

}  // namespace

Plan plan_all(const SettingsSource& source, const World& world) {
    const Given in = given(source, world);
    Plan plan = empty_plan(in);
    if (plan.voided) return plan;
    for (std::size_t i = 0; i < in.model.list.size(); ++i) {
        plan.events.push_back(plan_entry(in, in.model.list[i], i));
    }
    return plan;
}

Plan plan_event(const SettingsSource& source, const World& world, std::string_view name) {
    const Given in = given(source, world);
    Plan plan = empty_plan(in);
    if (!plan.voided) append_event(in, name, plan.events);
    return plan;
}

Plan plan_request(const SettingsSource& source, const World& world, std::string_view bytes) {
    const Given in = given(source, world);
    Plan plan = empty_plan(in);
    plan.trigger = plan_trigger(world, bytes);
    if (plan.voided || !plan.trigger->text) return plan;
    // A text that is refused shows what it would have triggered.
    const std::string& text = *plan.trigger->text;
    for (auto lines = count_lines(text); lines > 0; --lines) {
        append_event(in, without_line_feed(text), plan.events);
    }
    return plan;
}

std::vector<std::string> trigger_names(const SettingsSource& source, const World& world) {
    const Given in = given(source, world);
    std::vector<std::string> names;
    if (!in.model.voiding.empty()) return names;
    for (const EventEntry& entry : in.model.list) {
        if (entry_found_by_client(in, entry) != &entry) continue;
        names.push_back(world.test ? entry.name : entry.xmlField);
    }
    return names;
}

bool is_switched_off(const SettingsSource& source, const World& world, std::string_view name) {
    return switching_count(source, world, name).has_value();
}

std::optional<std::string> switching_count(const SettingsSource& source, const World& world,
                                           std::string_view name) {
    SettingsSource switched_on = source;
    for (EventDefinition& definition : switched_on.definitions) {
        if (creates_none_though_a_number(definition, world.word)) definition.value = "1";
    }
    const SettingsModel model = model_settings(switched_on, world.word);
    const EventEntry* const entry = find_event(model.list, name, world.test ? 1 : 0);
    if (entry == nullptr) return {};
    const std::size_t event = model.events_of.at(entry->name).front();
    return source.definitions[model.events[event].count_record].value;
}

}  // namespace ruvo::ctl
