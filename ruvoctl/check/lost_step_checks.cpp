#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"
#include "ruvoctl/check/name_lines.h"

#include "events/place_record.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <utility>

namespace ruvo::ctl {
namespace {

// What a check of steps says where a line is missing.
constexpr std::array<std::string_view, 4> kMissing = {"protocol-missing", "ip-missing",
                                                      "port-missing", "data-empty"};

// The steps that no event has, because its Count is missing, wrong or too small, are examined
// as if it were right: who mends the Count would find their faults one by one.
class LostStepChecks {
  public:
    explicit LostStepChecks(Findings& findings) : findings_(findings), supposed_(findings.source) {}

    void run() {
        for (const NameLines& lines : lines_by_name(findings_)) suppose(lines);
        if (first_lost_.empty()) return;
        const SettingsModel model = model_settings(supposed_, findings_.word);
        Findings lost(supposed_, model, findings_.options);
        lost.take_over(findings_);
        for (std::size_t i = 0; i < model.events.size(); ++i) {
            if (!first_lost_.contains(model.list[i].name)) lost.dismiss(i);
        }
        check_steps(lost);
        for (Diagnostic& diagnostic : lost.take()) adopt_step(std::move(diagnostic));
        if (findings_.options.test) return;
        check_triggers(lost);
        for (Diagnostic& diagnostic : lost.take()) adopt_trigger(std::move(diagnostic));
    }

  private:
    void suppose(const NameLines& lines) {
        const std::string name(lines.name);
        if (!lines.first_step || lines.highest_step >= kMaxSubCommands) return;
        if (looks_like_comment(name) || findings_.is_dismissed(name)) return;
        const auto event = findings_.model.events_of.find(lines.name);
        if (event == findings_.model.events_of.end()) return suppose_event(lines);
        const EventModel& model = findings_.model.events[event->second.front()];
        if (lines.highest_step < model.steps.size()) return;
        first_lost_[name] = static_cast<std::uint32_t>(model.steps.size());
        set_count(model.count_record, lines);
    }

    void suppose_event(const NameLines& lines) {
        if (lines.counts.empty()) {
            add_count(lines);
        } else if (begins_with_number(findings_.definition(lines.counts.back()).value)) {
            return;  // switched off, and that may be meant
        } else {
            set_count(lines.counts.back(), lines);
        }
        first_lost_[std::string(lines.name)] = 0;
    }

    void set_count(std::size_t record, const NameLines& lines) {
        supposed_.definitions[record].value = std::to_string(lines.highest_step + 1);
    }

    void add_count(const NameLines& lines) {
        EventDefinition count;
        count.name = lines.name;
        count.field = "Count";
        count.value = std::to_string(lines.highest_step + 1);
        count.kind = kFieldKey;
        supposed_.definitions.push_back(std::move(count));
        // It stands nowhere; nothing is said about it.
        supposed_.piece_of.push_back(supposed_.piece_of[*lines.first_step]);
    }

    void adopt_step(Diagnostic diagnostic) {
        const std::uint32_t first = first_lost_.at(diagnostic.event);
        if (!diagnostic.step || *diagnostic.step < first) return;
        const bool missing =
            std::find(kMissing.begin(), kMissing.end(), diagnostic.id) != kMissing.end();
        // Lines beyond a Count may be strays; those of a whole event are not.
        if (missing && (first > 0 || !findings_.has_whole_steps(diagnostic.event))) return;
        diagnostic.effect = "once the step exists: " + diagnostic.effect;
        findings_.adopt(std::move(diagnostic));
    }

    // Of a trigger name only what spoils it by itself: the rest depends on other events.
    void adopt_trigger(Diagnostic diagnostic) {
        if (diagnostic.id != "cr-in-trigger" || first_lost_.at(diagnostic.event) > 0) return;
        diagnostic.effect = "once the event exists: " + diagnostic.effect;
        findings_.adopt(std::move(diagnostic));
    }

    Findings& findings_;
    SettingsSource supposed_;
    std::unordered_map<std::string, std::uint32_t> first_lost_;  // of each event
};

}  // namespace

void check_lost_steps(Findings& findings) { LostStepChecks(findings).run(); }

}  // namespace ruvo::ctl
