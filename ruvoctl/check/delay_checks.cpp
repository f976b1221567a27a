#include "core/time_units.h"
#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"

#include "core/number_text.h"
#include "execution/decide.h"
#include "execution/stamp_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace ruvo::ctl {
namespace {

// Delays of events are seconds; from here on they are rather meant as milliseconds.
constexpr std::int32_t kUnlikelySeconds = 50;

// "1s", "0.5", "250 ms" in milliseconds; `unit_ms` is what a number without a unit counts.
std::optional<std::int64_t> milliseconds_of(std::string_view text, double unit_ms) {
    const std::string number(text);
    char* end = nullptr;
    if (text.empty() || std::string_view("0123456789.").find(text[0]) == std::string_view::npos) {
        return {};
    }
    const double value = std::strtod(number.c_str(), &end);
    // No one means powers of ten or hexadecimal numbers here.
    const auto digits = static_cast<std::size_t>(end - number.c_str());
    if (number.find_first_not_of("0123456789.") < digits) return {};
    const std::string unit = lower_case(trim_blanks(end));
    const double factor = unit.empty()                                        ? unit_ms
                          : unit == "ms" || unit == "msec"                    ? 1
                          : unit == "s" || unit == "sec" || unit == "seconds" ? 1000
                                                                              : 0;
    if (factor == 0 || !(value * factor <= 1e9)) return {};
    return std::llround(value * factor);
}

class DelayChecks {
  public:
    explicit DelayChecks(Findings& findings) : findings_(findings) {}

    void run() {
        for (std::size_t i = 0; i < findings_.model.events.size(); ++i) {
            if (findings_.is_examined(i)) check_event(i);
        }
    }

  private:
    void check_event(std::size_t index) {
        event_ = &findings_.model.events[index];
        entry_ = &findings_.model.list[index];
        if (!findings_.options.test && event_->delay_record) check_event_delay();
        for (std::size_t i = 0; i < event_->steps.size(); ++i) {
            if (event_->steps[i].delay) check_step_delay(i);
        }
        check_sum();
    }

    // About the event's delay, or about that of the step whose record it is.
    Diagnostic& add_value(std::string_view id, std::size_t record, std::string cause,
                          std::string effect) {
        auto& diagnostic = findings_.add_value(id, record, std::move(cause), std::move(effect));
        diagnostic.event = entry_->name;
        const RecordModel& model = findings_.model.records[record];
        if (model.property == Property::kStepDelay) diagnostic.step = model.step;
        return diagnostic;
    }

    // --- the event's own delay, in seconds

    void check_event_delay() {
        const std::size_t record = *event_->delay_record;
        if (findings_.is_damaged(record)) return;
        check_word(record);
        const std::string_view value = trim_blanks(findings_.trimmed_value(record));
        if (is_stale()) return add_stale(record);
        if (entry_->delay < 0) {
            add_value("delay-negative", record, fmt::format("a delay of {} seconds", entry_->delay),
                      "the event runs at once");
        } else if (lower_case(value).find("ms") != std::string::npos ||
                   entry_->delay >= kUnlikelySeconds) {
            add_value("delay-milliseconds", record,
                      fmt::format("{} is read as {} seconds: an event's delay has no smaller unit",
                                  in_quotes(value), entry_->delay),
                      fmt::format("its steps go out {} seconds after the trigger", entry_->delay));
        } else if (!is_plain_number(value)) {
            add_unit(record, value, entry_->delay, "seconds", 1000);
        }
    }

    // Whether the queue drops the event before it is due, as the queue itself decides.
    bool is_stale() const {
        EventEntry record = *entry_;
        stamp_record(record, 1, 0);
        return decide_record(record, record.t_ns_exec + 1) == RecordAction::kDropStale;
    }

    void add_stale(std::size_t record) {
        add_value("delay-stale", record, fmt::format("a delay of {} seconds", entry_->delay),
                  "the event is dropped: one that waits for a minute or longer is never run");
    }

    void add_unit(std::size_t record, std::string_view value, std::int32_t effective,
                  const char* unit, std::int64_t unit_ms) {
        auto& diagnostic = add_value(
            "delay-unit", record,
            value.empty() ? fmt::format("an empty delay")
                          : fmt::format("{} is more than a number of {}", in_quotes(value), unit),
            fmt::format("it is read as {} {}", effective, unit));
        const auto meant = milliseconds_of(value, 1000);
        if (!meant || *meant % unit_ms != 0) return;
        // A fraction without a unit is meant in seconds; a step counts milliseconds.
        diagnostic.fix = {
            findings_.replace_trimmed_value(record, std::to_string(*meant / unit_ms))};
    }

    void check_word(std::size_t record) {
        if (findings_.options.word) return;
        const std::string& value = findings_.definition(record).value;
        const std::int32_t wide = int32_of(value, WordSize::k64);
        const std::int32_t narrow = int32_of(value, WordSize::k32);
        if (wide == narrow) return;
        add_value("word-size", record, "devices of 32 and 64 bits read the number differently",
                  fmt::format("64 bits: {}; 32 bits: {}", wide, narrow));
    }

    // --- the delays of steps, in milliseconds

    void check_step_delay(std::size_t step) {
        const std::size_t record = *event_->steps[step].delay;
        if (findings_.is_damaged(record)) return;
        check_word(record);
        const std::string_view value = trim_blanks(findings_.trimmed_value(record));
        const std::int64_t delay_ms = entry_->subCommands[step].delayNs / kNsPerMs;
        if (delay_ms < 0) {
            add_value(
                "delay-negative", record, fmt::format("a delay of {} ms", delay_ms),
                "it is taken off the delays before it; a step is never sent before its event");
        } else if (!is_plain_number(value)) {
            add_unit(record, value, static_cast<std::int32_t>(delay_ms), "milliseconds", 1);
        }
    }

    // --- how they add up

    void check_sum() {
        std::int64_t sum_ns = 0;
        bool order_told = false;
        for (std::size_t i = 0; i < entry_->subCommands.size(); ++i) {
            const SubCommand& step = entry_->subCommands[i];
            if (!event_->steps[i].delay) {
                if (sum_ns > 0 && event_->steps[i].configured()) add_gap(i, sum_ns);
                continue;
            }
            sum_ns += step.delayNs;
            if (step.delayFromExecNs == sum_ns || !is_out_of_order(i)) continue;
            add_order(i, sum_ns, order_told);
            order_told = true;
        }
    }

    bool is_out_of_order(std::size_t step) const {
        std::size_t last = *event_->steps[step].delay;
        for (std::size_t i = step; i-- > 0;) {
            if (!event_->steps[i].delay) return false;
            if (*event_->steps[i].delay > last) return true;
            last = *event_->steps[i].delay;
        }
        return false;
    }

    bool stands_early(std::size_t step) const {
        return *event_->steps[step - 1].delay > *event_->steps[step].delay;
    }

    void add_order(std::size_t step, std::int64_t meant_ns, bool told) {
        const std::size_t record = *event_->steps[step].delay;
        auto& diagnostic = findings_.add_key(
            "delay-order", record,
            stands_early(step)
                ? fmt::format("the delay of step {} stands before that of step {}", step, step - 1)
                : std::string("delays in front of it do not stand in rising order"),
            fmt::format("{} is sent after {} ms, not after {} ms: delays add up in the order of "
                        "the lines",
                        step_text(entry_->name, step),
                        entry_->subCommands[step].delayFromExecNs / kNsPerMs, meant_ns / kNsPerMs));
        diagnostic.event = entry_->name;
        diagnostic.step = static_cast<std::uint32_t>(step);
        if (!told) diagnostic.fix = put_in_order();
    }

    // All delay lines of the event behind the last of them, in the order of the steps.
    std::vector<Edit> put_in_order() const {
        std::vector<Edit> edits;
        std::vector<std::string> lines;
        std::size_t last = 0;
        for (const StepModel& step : event_->steps) {
            if (!step.delay) continue;
            last = std::max(last, *step.delay);
            edits.push_back(findings_.remove_line(*step.delay));
            lines.push_back(std::string(findings_.source.key(*step.delay)) + "=" +
                            std::string(findings_.trimmed_value(*step.delay)));
        }
        for (const std::string& line : lines) {
            edits.push_back(findings_.insert_line_behind(last, line));
        }
        return edits;
    }

    void add_gap(std::size_t step, std::int64_t sum_ns) {
        const std::size_t record = event_->steps[step].first_record();
        if (findings_.is_explained(entry_->name + "Delay" + std::to_string(step))) return;
        auto& diagnostic = findings_.add_key(
            "delay-gap", record,
            fmt::format("{} has no Delay, steps in front of it have",
                        step_text(entry_->name, step)),
            fmt::format("it is sent at once and overtakes them ({} ms){}", sum_ns / kNsPerMs,
                        step + 1 < event_->steps.size() && event_->steps[step + 1].delay
                            ? ", and the delays behind it count from it"
                            : ""));
        diagnostic.event = entry_->name;
        diagnostic.step = static_cast<std::uint32_t>(step);
        for (std::size_t i = step; i-- > 0;) {
            if (!event_->steps[i].delay) continue;
            diagnostic.fix = {findings_.insert_line_behind(
                *event_->steps[i].delay, fmt::format("{}Delay{}=0", entry_->name, step))};
            return;
        }
    }

    Findings& findings_;
    const EventModel* event_ = nullptr;
    const EventEntry* entry_ = nullptr;
};

}  // namespace

void check_delays(Findings& findings) { DelayChecks(findings).run(); }

}  // namespace ruvo::ctl
