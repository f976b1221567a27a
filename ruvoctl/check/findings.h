#pragma once

#include "ruvoctl/check/check_settings.h"
#include "ruvoctl/check/diagnostic.h"
#include "ruvoctl/settings_model.h"
#include "ruvoctl/settings_source.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace ruvo::ctl {

// What the checks of one file work on, and what they have found so far.
class Findings {
  public:
    Findings(const SettingsSource& source_text, const SettingsModel& settings_model,
             const CheckOptions& check_options);

    const SettingsSource& source;
    const SettingsModel& model;
    const CheckOptions& options;
    const WordSize word;

    // Adds a diagnostic and returns it, to say more about it; the reference is good until
    // the next one is added. The severity is that of the catalogue.
    Diagnostic& add(std::string_view id, std::size_t offset, std::size_t length, std::string cause,
                    std::string effect);
    // About a record's key, or its value without blanks and carriage returns at the end.
    Diagnostic& add_key(std::string_view id, std::size_t record, std::string cause,
                        std::string effect);
    Diagnostic& add_value(std::string_view id, std::size_t record, std::string cause,
                          std::string effect);

    const EventDefinition& definition(std::size_t record) const {
        return source.definitions[record];
    }
    // A record's value without blanks and carriage returns at its end.
    std::string_view trimmed_value(std::size_t record) const;

    Edit replace_key(std::size_t record, std::string text) const;
    // Replaces the value up to the blanks and carriage returns at its end, or these too.
    Edit replace_trimmed_value(std::size_t record, std::string text) const;
    Edit replace_whole_value(std::size_t record, std::string text) const;
    Edit insert_line_before(std::size_t record, const std::string& text) const;
    Edit insert_line_behind(std::size_t record, const std::string& text) const;
    // The same with a plain line feed, whatever the file's line ends: for an XMLfield, to
    // whose value a carriage return would belong.
    Edit insert_line_behind_plain(std::size_t record, const std::string& text) const;
    Edit remove_line(std::size_t record) const;

    // The records that carry an event name, in file order.
    const std::vector<std::size_t>& records_of(std::string_view name) const;

    // The steps that the lines of an event name, also those beyond its Count.
    const std::set<std::uint32_t>& steps_named(std::string_view name);

    // Keys that a line was meant for, as another finding has told already: what lacks
    // because of it is not told again.
    void explain(std::string key) { explained_.insert(std::move(key)); }
    bool is_explained(const std::string& key) const { return explained_.contains(key); }

    // Events that come of a mistaken key: nothing more is said about them.
    void dismiss(std::size_t event) { dismissed_.insert(event); }
    // Whether there is something to say about an event: the first of its name, and not
    // dismissed.
    bool is_examined(std::size_t event) const;

    // Names that no event was meant to have.
    void dismiss_name(std::string name) { dismissed_names_.insert(std::move(name)); }
    bool is_dismissed(const std::string& name) const { return dismissed_names_.contains(name); }

    // Records whose values are not what their author wrote.
    void damage(std::size_t record) { damaged_.insert(record); }
    bool is_damaged(std::size_t record) const { return damaged_.contains(record); }

    // Whether the lines of a name are those of an event, not of some other program.
    bool has_whole_steps(std::string_view name) const;

    // Knows what the others have explained, dismissed and found damaged.
    void take_over(const Findings& others);
    void adopt(Diagnostic diagnostic) { diagnostics_.push_back(std::move(diagnostic)); }

    std::vector<Diagnostic> take() { return std::exchange(diagnostics_, {}); }
    const std::vector<Diagnostic>& diagnostics() const { return diagnostics_; }

  private:
    std::string_view line_end_of(std::size_t record) const;

    std::vector<Diagnostic> diagnostics_;
    std::unordered_map<std::string_view, std::vector<std::size_t>> records_of_;
    std::unordered_map<std::string_view, std::set<std::uint32_t>> steps_named_;
    std::unordered_set<std::string> explained_;
    std::set<std::size_t> dismissed_;
    std::unordered_set<std::string> dismissed_names_;
    std::set<std::size_t> damaged_;
};

// A key whose first visible character marks a comment in other programs' files.
bool looks_like_comment(std::string_view key);

std::string_view trim_blanks(std::string_view text);

// "PowerOn step 2" as people read it in a sentence.
std::string step_text(std::string_view event, std::size_t step);

// The text in double quotes, safe for a terminal.
std::string in_quotes(std::string_view text);

// The checks, each about one subject, in the order in which they are made: a later one is
// silent about what an earlier one has explained. False when the rest of the file can't
// be understood.
bool check_file_form(Findings& findings);
void check_keys(Findings& findings);
void check_counts(Findings& findings);
void check_triggers(Findings& findings);
void check_steps(Findings& findings);
void check_lost_steps(Findings& findings);
void check_delays(Findings& findings);
void check_whole_file(Findings& findings, CheckSummary& summary);

}  // namespace ruvo::ctl
