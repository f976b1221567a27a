#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"

#include "core/text_cut.h"
#include "net/command_request.h"
#include "net/command_text.h"

#include <fmt/format.h>

#include <string>
#include <unordered_map>

namespace ruvo::ctl {
namespace {

class TriggerChecks {
  public:
    explicit TriggerChecks(Findings& findings) : findings_(findings) {}

    void run() {
        for (std::size_t i = 0; i < findings_.model.events.size(); ++i) {
            if (findings_.is_examined(i)) check(i);
        }
    }

  private:
    const EventModel& event(std::size_t index) const { return findings_.model.events[index]; }
    const EventEntry& entry(std::size_t index) const { return findings_.model.list[index]; }

    // The line that gives the event its trigger name: its XMLfield, unless a Delay of a
    // built-in event has undone it.
    bool has_own_trigger(std::size_t index) const {
        return event(index).trigger_record && !is_undone(index);
    }

    bool is_undone(std::size_t index) const {
        return event(index).trigger_record && event(index).delay_record &&
               is_built_in_event(entry(index).name) &&
               *event(index).delay_record > *event(index).trigger_record;
    }

    Diagnostic& add(std::string_view id, std::size_t index, std::string cause, std::string effect) {
        auto& diagnostic =
            has_own_trigger(index)
                ? findings_.add_value(id, *event(index).trigger_record, std::move(cause),
                                      std::move(effect))
                : findings_.add(id, findings_.source.key_offset(event(index).count_record),
                                entry(index).name.size(), std::move(cause), std::move(effect));
        diagnostic.event = entry(index).name;
        return diagnostic;
    }

    void check(std::size_t index) {
        check_undone(index);
        if (has_own_trigger(index)) check_value(index);
        check_sendable(index);
        check_blanks(index);
        check_others(index);
        seen_.emplace(entry(index).xmlField, index);
    }

    void check_undone(std::size_t index) {
        if (!is_undone(index)) return;
        const std::size_t record = *event(index).trigger_record;
        const std::string_view value = findings_.trimmed_value(record);
        if (value == entry(index).name) return;
        const std::size_t delay = *event(index).delay_record;
        findings_
            .add_key(
                "xmlfield-overwritten", record,
                fmt::format("the Delay in line {} makes {} answer to its own name again",
                            findings_.source.line_of(delay), in_quotes(entry(index).name)),
                fmt::format("a trigger {} does not run it; an XMLfield behind the Delay counts",
                            in_quotes(value)))
            .event = entry(index).name;
    }

    void check_value(std::size_t index) {
        const std::size_t record = *event(index).trigger_record;
        if (findings_.definition(record).value.ends_with('\r')) {
            add_return(index, record);
        } else if (trim_blanks(findings_.trimmed_value(record)).empty()) {
            add_empty(index, record);
        }
        if (is_built_in_event(entry(index).name) &&
            findings_.trimmed_value(record) != entry(index).name) {
            add("built-in-redirected", index,
                fmt::format("{} answers to {}", in_quotes(entry(index).name),
                            in_quotes(findings_.trimmed_value(record))),
                fmt::format("the device's own trigger {} does not run it",
                            in_quotes(entry(index).name)));
        }
    }

    void add_return(std::size_t index, std::size_t record) {
        const std::size_t length = findings_.definition(record).value.size();
        const std::string name(trim_blanks(findings_.trimmed_value(record)));
        auto& diagnostic =
            findings_.add("cr-in-trigger", findings_.source.value_offset(record) + length - 1, 1,
                          "a carriage return at the end of the line belongs to the trigger name",
                          fmt::format("a trigger {} does not run it",
                                      in_quotes(name.empty() ? entry(index).name : name)));
        diagnostic.event = entry(index).name;
        // Without a name there was none meant.
        diagnostic.fix = {name.empty() ? findings_.remove_line(record)
                                       : findings_.replace_whole_value(record, name)};
    }

    void add_empty(std::size_t index, std::size_t record) {
        const bool exactly = findings_.definition(record).value.empty();
        auto& diagnostic = findings_.add_value(
            "empty-xmlfield", record,
            exactly ? "the trigger name is empty" : "the trigger name is nothing that shows",
            exactly ? "an empty request runs the event, and its own name does not"
                    : "its own name does not run the event");
        diagnostic.event = entry(index).name;
        diagnostic.fix = {findings_.remove_line(record)};
    }

    void check_sendable(std::size_t index) {
        const std::string& trigger = entry(index).xmlField;
        std::string cause;
        if (trigger.starts_with("__")) {
            cause = "a request that begins with \"__\" is a command";
        } else if (trigger.find('=') != std::string::npos) {
            cause = "a request ends at its first \"=\"";
        } else if (trigger.size() >= kRequestBytes) {
            cause = fmt::format("the name has {} characters; a request has at most {}",
                                trigger.size(), kRequestBytes - 1);
        }
        if (cause.empty()) return;
        add("trigger-unsendable", index, cause, "no trigger can run the event");
    }

    void check_blanks(std::size_t index) {
        std::string_view trigger = entry(index).xmlField;
        if (trigger.ends_with('\r')) return;  // told already
        if (trim_blanks(trigger).empty() || trim_blanks(trigger) == trigger) return;
        const bool at_end = trigger.ends_with(' ') || trigger.ends_with('\t');
        auto& diagnostic = add("blank-end-trigger", index,
                               fmt::format("a blank at the {} of the trigger name {}",
                                           at_end ? "end" : "beginning", in_quotes(trigger)),
                               fmt::format("the trigger {} without it finds nothing",
                                           in_quotes(trim_blanks(trigger))));
        const std::size_t blank = at_end ? trigger.find_last_not_of(" \t") + 1 : 0;
        diagnostic.length = at_end ? trigger.size() - blank : trigger.find_first_not_of(" \t");
        if (!has_own_trigger(index)) {
            diagnostic.offset += blank;
            return;
        }
        const std::size_t record = *event(index).trigger_record;
        diagnostic.offset = findings_.source.value_offset(record) + blank;
        diagnostic.fix = {findings_.replace_whole_value(record, std::string(trim_blanks(trigger)))};
    }

    void check_others(std::size_t index) {
        const std::string& trigger = entry(index).xmlField;
        if (const auto first = seen_.find(trigger); first != seen_.end()) {
            add("duplicate-trigger", index,
                fmt::format("{} answers to {} before it", in_quotes(entry(first->second).name),
                            in_quotes(trigger)),
                fmt::format("{} never runs", in_quotes(entry(index).name)));
            return;
        }
        if (trigger == entry(index).name) return;
        const auto other = findings_.model.events_of.find(trigger);
        if (other == findings_.model.events_of.end()) return;
        if (entry(other->second.front()).xmlField == trigger) return;  // one of both never runs
        add("trigger-is-other-event", index,
            fmt::format("{} is the name of another event", in_quotes(trigger)),
            fmt::format("the trigger {} runs {}; a test run of that name runs the other event",
                        in_quotes(trigger), in_quotes(entry(index).name)));
    }

    Findings& findings_;
    std::unordered_map<std::string_view, std::size_t> seen_;
};

// What a test command that names an event is taken for.
std::string name_in_test_command(const std::string& name) {
    const auto command = split_command(split_request(request_text("__TEST__:" + name)).key);
    return command ? std::string(without_line_feed(command->argument)) : std::string();
}

void check_names_for_test(Findings& findings) {
    for (std::size_t i = 0; i < findings.model.events.size(); ++i) {
        const std::string& name = findings.model.list[i].name;
        if (!findings.is_examined(i) || name_in_test_command(name) == name) continue;
        findings
            .add("trigger-unsendable",
                 findings.source.key_offset(findings.model.events[i].count_record), name.size(),
                 "a test command cannot hold the name", "no test run can call the event")
            .event = name;
    }
}

}  // namespace

void check_triggers(Findings& findings) {
    if (findings.options.test) return check_names_for_test(findings);
    TriggerChecks(findings).run();
}

}  // namespace ruvo::ctl
