#include "ruvoctl/plan/plan_json.h"

#include "core/process_state.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/plan/plan_words.h"

#include <nlohmann/json.hpp>

namespace ruvo::ctl {
namespace {

using Json = nlohmann::ordered_json;

Json word_or_null(std::string_view word) { return word.empty() ? Json() : Json(word); }

Json bytes_or_null(const std::optional<std::string>& bytes) {
    return bytes ? bytes_json(*bytes) : Json();
}

Json world_json(const World& world) {
    return {{"now", time_text(world.local_time)},
            {"uptime_s", world.uptime_s},
            {"status_items", world.status ? Json(world.status->items.size()) : Json()},
            {"switch", switch_word(world.switch_position)},
            {"power_on_window", world.uptime_s > kPowerOnWindowSeconds ? "over" : "open"}};
}

Json voided_json(const std::optional<VoidingLine>& voided) {
    if (!voided) return {};
    return {{"line", voided->line}, {"column", voided->column}, {"cause", voided->cause}};
}

Json trigger_json(const std::optional<PlannedTrigger>& trigger) {
    if (!trigger) return {};
    return {{"request", bytes_json(trigger->request)},
            {"text", bytes_or_null(trigger->text)},
            {"reply", bytes_or_null(trigger->reply)},
            {"lookups", trigger->lookups},
            {"command", trigger->command}};
}

Json macros_json(const std::vector<PlannedMacro>& macros) {
    Json list = Json::array();
    for (const PlannedMacro& macro : macros) {
        list.push_back({{"name", text_of(macro.name)},
                        {"value", bytes_json(macro.value.text)},
                        {"source", source_word(macro)}});
    }
    return list;
}

Json destination_json(const PlannedStep& step) {
    return {{"ip", step.destination.ip},
            {"port", step.destination.port},
            {"configured_ip", text_of(step.configured_ip)},
            {"configured_port", text_of(step.configured_port)},
            {"ip_parsed", step.destination.ip_parsed}};
}

Json step_json(const PlannedStep& step) {
    constexpr std::chrono::milliseconds kMs{1};
    return {{"step", step.index},
            {"outcome", outcome_word(step.outcome)},
            {"reason", word_or_null(reason_word(step.reason))},
            {"sender", word_or_null(sender_word(step.sender))},
            {"protocol", text_of(step.protocol)},
            {"destination", destination_json(step)},
            {"delay_ms", step.delay / kMs},
            {"due_ms", in_ms(step.due)},
            {"earliest_ms", in_ms(step.window.earliest)},
            {"latest_ms", in_ms(step.window.latest)},
            {"tail_ms", tail_of(step) / kMs},
            {"data", bytes_or_null(step.data)},
            {"expanded", bytes_json(step.expanded)},
            {"cut_bytes", step.cut_bytes},
            {"macros", macros_json(step.macros)},
            {"log_line", bytes_json(step.log_line)}};
}

Json event_json(const PlannedEvent& event) {
    Json steps = Json::array();
    for (const PlannedStep& step : event.steps) steps.push_back(step_json(step));
    return {
        {"name", text_of(event.name)},
        {"trigger", text_of(event.trigger)},
        {"line", event.line},
        {"delay_s", event.delay_s},
        {"outcome", outcome_word(event.outcome)},
        {"found_instead", event.found_instead ? Json(text_of(event.found_instead->name)) : Json()},
        {"found_line", event.found_instead ? Json(event.found_instead->line) : Json()},
        {"power_on_window_certain", event.power_on_window_certain},
        {"earliest_ms", event.start ? Json(in_ms(event.start->earliest)) : Json()},
        {"latest_ms", event.start ? Json(in_ms(event.start->latest)) : Json()},
        {"step_count", event.step_count},
        {"steps", std::move(steps)}};
}

Json summary_json(const PlanSummary& summary) {
    return {{"events", summary.events},
            {"steps", summary.steps},
            {"sends", summary.sends},
            {"skipped", summary.skipped},
            {"lost", summary.lost}};
}

}  // namespace

Json names_json(const std::vector<std::string>& names, std::string_view file) {
    Json list = Json::array();
    for (const std::string& name : names) list.push_back(text_of(name));
    return {{"format", "ruvoctl.names"},
            {"version", 1},
            {"file", text_of(file)},
            {"names", std::move(list)}};
}

Json plan_json(const Plan& plan, std::string_view file) {
    Json events = Json::array();
    for (const PlannedEvent& event : plan.events) events.push_back(event_json(event));
    return {{"format", "ruvoctl.plan"},
            {"version", 1},
            {"file", text_of(file)},
            {"test", plan.world.test},
            {"word", static_cast<int>(plan.world.word)},
            {"void", voided_json(plan.voided)},
            {"world", world_json(plan.world)},
            {"trigger", trigger_json(plan.trigger)},
            {"events", std::move(events)},
            {"summary", summary_json(summarize(plan))}};
}

}  // namespace ruvo::ctl
