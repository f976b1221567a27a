#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"
#include "ruvoctl/check/name_lines.h"
#include "ruvoctl/nearest_word.h"

#include "core/number_text.h"
#include "events/place_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ruvo::ctl {
namespace {

class CountChecks {
  public:
    explicit CountChecks(Findings& findings) : findings_(findings), known_(findings.source) {}

    void run() {
        for (const NameLines& lines : lines_by_name(findings_)) check(lines);
        for (std::size_t i = 0; i < findings_.model.events.size(); ++i) {
            if (findings_.is_examined(i)) check_event(i);
        }
    }

  private:
    void check(const NameLines& lines) {
        if (looks_like_comment(lines.name) || findings_.is_dismissed(std::string(lines.name)))
            return;
        check_several(lines);
        for (const std::size_t count : lines.counts) check_word(count);
        if (findings_.model.has_event(lines.name) || !lines.first_step) return;
        if (lines.counts.empty()) {
            check_missing(lines);
        } else {
            add_not_positive(lines);
        }
    }

    bool creates(std::size_t record) const {
        return findings_.model.records[record].fate == Fate::kCreates;
    }

    void check_several(const NameLines& lines) {
        if (lines.counts.size() < 2) return;
        const auto number = static_cast<std::size_t>(
            std::count_if(lines.counts.begin(), lines.counts.end(),
                          [this](std::size_t record) { return creates(record); }));
        const auto first = std::find_if(lines.counts.begin(), lines.counts.end(),
                                        [this](std::size_t record) { return creates(record); });
        const std::size_t kept = first == lines.counts.end() ? lines.counts.front() : *first;
        for (std::size_t i = 1; i < lines.counts.size(); ++i) {
            auto& diagnostic = findings_.add_key(
                "duplicate-count", lines.counts[i],
                fmt::format("line {} is a Count of {}, too",
                            findings_.source.line_of(lines.counts[0]), in_quotes(lines.name)),
                number > 1    ? "several events of one name: only the first answers the trigger"
                : number == 1 ? "the one above 0 makes the event"
                              : "none of them makes an event");
            diagnostic.event = lines.name;
            const std::size_t needless =
                lines.counts[i] == kept ? lines.counts[0] : lines.counts[i];
            diagnostic.fix = {findings_.remove_line(needless)};
        }
    }

    void check_word(std::size_t record) {
        if (findings_.options.word) return;
        const std::string& value = findings_.definition(record).value;
        const std::int32_t wide = int32_of(value, WordSize::k64);
        const std::int32_t narrow = int32_of(value, WordSize::k32);
        if (wide == narrow) return;
        auto& diagnostic = findings_.add_value(
            "word-size", record, "devices of 32 and 64 bits read the number differently",
            fmt::format("64 bits: {}; 32 bits: {}", wide, narrow));
        diagnostic.event = findings_.definition(record).name;
    }

    void check_missing(const NameLines& lines) {
        const std::string name(lines.name);
        if (findings_.is_explained(name + "Count")) return;
        const std::size_t record = *lines.first_step;
        if (findings_.is_explained(std::string(findings_.source.key(record)))) return;
        const std::string similar = nearest_word(name, known_.names());
        const bool misspelt = !similar.empty() && similar != name;
        auto& diagnostic = findings_.add_key(
            "count-missing", record,
            misspelt
                ? fmt::format("there is no {}Count; did you mean {}?", in_quotes(name),
                              in_quotes(similar))
                : fmt::format("{} has steps but no {}", in_quotes(name), in_quotes(name + "Count")),
            "the event does not exist: nothing of it is sent");
        diagnostic.event = name;
        if (misspelt || !findings_.has_whole_steps(name) || lines.highest_step >= 128) return;
        diagnostic.fix = {findings_.insert_line_before(
            record, fmt::format("{}Count={}", name, lines.highest_step + 1))};
    }

    void add_not_positive(const NameLines& lines) {
        const std::size_t record = lines.counts.back();
        const std::string_view value = findings_.trimmed_value(record);
        const bool number = begins_with_number(value);
        auto& diagnostic = findings_.add_value(
            number ? "count-not-positive" : "count-garbage", record,
            number ? fmt::format("the Count of {} is {}", in_quotes(lines.name), in_quotes(value))
                   : fmt::format("the Count of {} is no number: {}", in_quotes(lines.name),
                                 in_quotes(value)),
            "the event does not exist: nothing of its steps is sent");
        diagnostic.event = lines.name;
        if (number) return;
        diagnostic.fix = {
            findings_.replace_trimmed_value(record, std::to_string(lines.highest_step + 1))};
    }

    void check_event(std::size_t index) {
        const EventModel& event = findings_.model.events[index];
        const std::string& name = findings_.model.list[index].name;
        if (name == "GenericEvents") return add_generic(event);
        if (looks_like_comment(name) && findings_.steps_named(name).empty()) return;
        check_case(index);
        const std::int32_t count =
            int32_of(findings_.definition(event.count_record).value, findings_.word);
        if (count > kMaxSubCommands) return add_above(event, name, count);
        check_unused_steps(event, name);
        check_first_step(event, name);
    }

    void add_generic(const EventModel& event) {
        findings_
            .add_key("generic-events-count", event.count_record,
                     "this is no number of events: it makes an event \"GenericEvents\"",
                     "a trigger of that name runs it; nothing else is changed by it")
            .event = "GenericEvents";
    }

    void check_case(std::size_t index) {
        const std::string& name = findings_.model.list[index].name;
        for (const std::string_view built_in : kBuiltInEvents) {
            if (name == built_in || lower_case(name) != lower_case(built_in)) continue;
            auto& diagnostic = findings_.add_key(
                "built-in-case", findings_.model.events[index].count_record,
                fmt::format("{} is not the built-in event {}", in_quotes(name),
                            in_quotes(built_in)),
                fmt::format("the device's own trigger {} does not run it", in_quotes(built_in)));
            diagnostic.event = name;
            if (!findings_.model.has_event(built_in)) diagnostic.fix = rename(name, built_in);
        }
    }

    std::vector<Edit> rename(const std::string& name, std::string_view other) const {
        std::vector<Edit> edits;
        for (const std::size_t i : findings_.records_of(name)) {
            edits.push_back({findings_.source.key_offset(i), name.size(), std::string(other)});
        }
        return edits;
    }

    void add_above(const EventModel& event, const std::string& name, std::int32_t count) {
        auto& diagnostic = findings_.add_value(
            "count-above-128", event.count_record,
            fmt::format("the Count of {} is {}", in_quotes(name), count),
            fmt::format("the event has {} steps; the others do not exist", kMaxSubCommands));
        diagnostic.event = name;
        diagnostic.fix = {
            findings_.replace_trimmed_value(event.count_record, std::to_string(kMaxSubCommands))};
    }

    static std::string list_of(const std::vector<std::size_t>& steps) {
        if (steps.size() > 4) {
            return fmt::format("{}, {} ... {}", steps[0], steps[1], steps.back());
        }
        return fmt::format("{}", fmt::join(steps, ", "));
    }

    bool starts_at_one(const std::string& name) {
        const auto& steps = findings_.steps_named(name);
        return !steps.empty() && *steps.begin() == 1;
    }

    bool is_explained_step(const std::string& name, std::size_t step) const {
        return std::any_of(kFieldWords.begin(), kFieldWords.end(), [&](std::string_view field) {
            return findings_.is_explained(name + std::string(field) + std::to_string(step));
        });
    }

    void check_unused_steps(const EventModel& event, const std::string& name) {
        if (starts_at_one(name)) return;  // told better
        std::vector<std::size_t> unused;
        for (std::size_t i = 0; i < event.steps.size(); ++i) {
            if (!event.steps[i].configured() && !is_explained_step(name, i)) unused.push_back(i);
        }
        if (unused.empty()) return;
        auto& diagnostic = findings_.add_value(
            "count-larger", event.count_record,
            fmt::format("the Count of {} is {}, but no line configures step{} {}", in_quotes(name),
                        event.steps.size(), unused.size() == 1 ? "" : "s", list_of(unused)),
            "nothing is sent for them; each leaves a line in the event log");
        diagnostic.event = name;
        const std::size_t used = event.steps.size() - unused.size();
        const bool at_the_end = unused.front() == used;
        if (!at_the_end || used == 0) return;
        diagnostic.fix = {
            findings_.replace_trimmed_value(event.count_record, std::to_string(used))};
    }

    // Steps are counted from 0; who counts from 1 finds the last one lost.
    void check_first_step(const EventModel& event, const std::string& name) {
        if (!starts_at_one(name) || is_explained_step(name, 0)) return;
        const bool lost =
            findings_.steps_named(name).contains(static_cast<std::uint32_t>(event.steps.size()));
        auto& diagnostic = findings_.add_key(
            "indices-from-1", first_indexed_line(name),
            fmt::format("the steps of {} begin at 1; the first step is 0", in_quotes(name)),
            lost ? "step 0 sends nothing, and the last one is at the Count and so lost"
                 : "step 0 sends nothing");
        diagnostic.event = name;
        if (!is_scattered(name)) diagnostic.fix = renumber(name);
    }

    // Whether lines that were meant for the event are read as something else: they have to
    // be put right before the steps are given other numbers.
    bool is_scattered(const std::string& name) {
        if (!scattered_) scattered_ = scattered_names();
        return scattered_->contains(name);
    }

    std::set<std::string, std::less<>> scattered_names() const {
        std::set<std::string, std::less<>> names;
        for (std::size_t i = 0; i < findings_.source.definitions.size(); ++i) {
            const EventDefinition& d = findings_.definition(i);
            const std::string_view key = findings_.source.key(i);
            if (d.kind == kFieldKey && is_step_field(d.field)) names.insert(d.name);
            if (const auto meant = meant_key(key)) {
                std::string name(meant->name);
                std::erase_if(name, [](char c) { return c == ' ' || c == '\t'; });
                if (name != d.name) names.insert(name);
            } else if (auto event = known_.beginning_of(key)) {
                names.insert(*std::move(event));
            }
        }
        return names;
    }

    bool has_number(std::size_t record) const {
        const EventDefinition& d = findings_.definition(record);
        return d.kind == kIndexedKey && is_number(trim_blanks(d.index)) &&
               findings_.model.records[record].fate != Fate::kVoids;
    }

    std::size_t first_indexed_line(const std::string& name) const {
        const auto& records = findings_.records_of(name);
        return *std::find_if(records.begin(), records.end(),
                             [&](std::size_t record) { return has_number(record); });
    }

    std::vector<Edit> renumber(const std::string& name) const {
        std::vector<Edit> edits;
        for (const std::size_t i : findings_.records_of(name)) {
            const std::uint32_t step = findings_.model.records[i].step;
            if (!has_number(i) || step == 0) continue;
            const std::string key = name + findings_.definition(i).field + std::to_string(step - 1);
            edits.push_back(findings_.replace_key(i, key));
        }
        return edits;
    }

    Findings& findings_;
    KnownNames known_;
    std::optional<std::set<std::string, std::less<>>> scattered_;
};

}  // namespace

void check_counts(Findings& findings) { CountChecks(findings).run(); }

}  // namespace ruvo::ctl
