#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"
#include "ruvoctl/check/missing_indices.h"
#include "ruvoctl/nearest_word.h"

#include "core/number_text.h"
#include "events/place_record.h"
#include "settings/split_key.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>
#include <stdexcept>

namespace ruvo::ctl {
namespace {

constexpr const char* kVoidEffect =
    "the whole file takes no effect: the daemon keeps the events it has, none at start-up";

// A reading of an index by a device of one word size: a step, or nothing when it voids
// the file.
std::optional<std::uint32_t> index_on(const std::string& text, WordSize word) {
    try {
        return index_of(text, word);
    } catch (const std::logic_error&) {
        return {};
    }
}

std::string trailing_digits(std::string_view text) {
    while (!text.empty() && !is_number(text.substr(text.size() - 1))) text.remove_suffix(1);
    std::size_t begin = text.size();
    while (begin > 0 && is_number(text.substr(begin - 1, 1))) --begin;
    return std::string(text.substr(begin));
}

class KeyChecks {
  public:
    explicit KeyChecks(Findings& findings)
        : findings_(findings), names_(findings.source), missing_(findings) {}

    void run() {
        for (std::size_t i = 0; i < findings_.source.definitions.size(); ++i) {
            // What voids the file is told of every line.
            if (!findings_.is_damaged(i) || model(i).fate == Fate::kVoids) check(i);
        }
    }

  private:
    const EventDefinition& definition(std::size_t record) const {
        return findings_.definition(record);
    }
    const RecordModel& model(std::size_t record) const { return findings_.model.records[record]; }
    std::string_view key(std::size_t record) const { return findings_.source.key(record); }

    // What a key sets, however it is written: name, field and step. Empty for a key that
    // sets nothing anywhere.
    static std::string subject_of(std::string_view key) {
        const EventDefinition d = split_key(key, "");
        const std::string_view index = trim_blanks(d.index);
        const bool event = d.kind == kFieldKey && (is_event_field(d.field) || d.field == "Delay");
        const bool step = d.kind == kIndexedKey && !is_event_field(d.field) && is_number(index) &&
                          index.size() <= 9;
        if (event) return d.name + "\n" + d.field;
        if (step) return d.name + "\n" + d.field + "\n" + std::to_string(index_of(d.index));
        return {};
    }

    // The key that a line should have had. Nothing when that sets nothing either, or when
    // another line sets the same: then only a person knows which one counts.
    std::vector<Edit> corrected_key(std::size_t record, const std::string& better) {
        if (subjects_.empty()) {
            for (std::size_t i = 0; i < findings_.source.definitions.size(); ++i) {
                subjects_.insert(lower_case(subject_of(key(i))));
            }
        }
        const bool plain =
            std::find(kPlainKeys.begin(), kPlainKeys.end(), better) != kPlainKeys.end();
        const std::string subject = subject_of(better);
        if (!plain && (subject.empty() || subjects_.contains(lower_case(subject)))) return {};
        return {findings_.replace_key(record, better)};
    }

    void check(std::size_t record) {
        // A key that voids the file is told as that, whatever else it may be.
        if (model(record).fate == Fate::kVoids) return check_voiding(record);
        if (looks_like_comment(key(record))) return check_comment(record);
        if (check_blanks(record)) return;
        if (definition(record).kind == kPlainKey) return check_plain(record);
        if (check_field_in_name(record)) return;
        if (definition(record).kind == kFieldKey) {
            check_missing_index(record);
        } else {
            check_index(record);
        }
        check_overwritten(record);
    }

    // --- what voids the file

    void check_voiding(std::size_t record) {
        const EventDefinition& d = definition(record);
        if (trim_blanks(d.index).empty()) return add_blank_before_equals(record);
        if (std::string_view(trim_blanks(d.index)).find_first_of("0123456789") == 0 ||
            index_on(d.index, WordSize::k64) || begins_with_signed_number(d.index)) {
            return add_out_of_range(record);
        }
        const auto meant = meant_key(key(record));
        if (meant && meant->name != d.name) return add_field_word_voids(record, *meant);
        add_not_a_number(record);
    }

    static bool begins_with_signed_number(std::string_view index) {
        std::string_view text = trim_blanks(index);
        if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
        return !text.empty() && is_number(text.substr(0, 1));
    }

    Diagnostic& add_at_index(std::string_view id, std::size_t record, std::string cause) {
        const EventDefinition& d = definition(record);
        const std::size_t before = d.name.size() + d.field.size();
        auto& diagnostic =
            findings_.add(id, findings_.source.key_offset(record) + before,
                          std::max<std::size_t>(1, d.index.size()), std::move(cause), kVoidEffect);
        diagnostic.event = d.name;
        return diagnostic;
    }

    void add_blank_before_equals(std::size_t record) {
        const EventDefinition& d = definition(record);
        auto& diagnostic =
            add_at_index("blank-before-equals", record,
                         fmt::format("the blank before \"=\" makes an index without a number of {}",
                                     in_quotes(d.name + d.field)));
        diagnostic.fix = corrected_key(record, d.name + d.field);
        findings_.explain(d.name + d.field);
    }

    void add_out_of_range(std::size_t record) {
        add_at_index("index-out-of-range", record,
                     fmt::format("the index {} is beyond the range of the device's numbers",
                                 in_quotes(definition(record).index)));
    }

    void add_field_word_voids(std::size_t record, const MeantKey& meant) {
        const EventDefinition& d = definition(record);
        auto& diagnostic = add_at_index(
            "field-word-voids", record,
            fmt::format(
                "\"{}\" stands inside the event name: {} is read as the field {} of the event "
                "{} with the index {}",
                d.field, in_quotes(key(record)), d.field, in_quotes(d.name), in_quotes(d.index)));
        diagnostic.effect += fmt::format("; give {} a shorter name and an XMLfield of {}",
                                         in_quotes(meant.name), in_quotes(meant.name));
        diagnostic.fix = rename(meant.name);
        findings_.explain(std::string(key(record)));
    }

    void add_not_a_number(std::size_t record) {
        const EventDefinition& d = definition(record);
        auto& diagnostic =
            add_at_index("index-not-a-number", record,
                         fmt::format("the index {} of {} does not begin with a number",
                                     in_quotes(d.index), in_quotes(d.name + d.field)));
        const std::string meant = likely_key(record);
        if (meant.empty()) return;
        diagnostic.fix = corrected_key(record, meant);
        findings_.explain(meant);
    }

    // What a key with a strange index was meant to be, empty when that is open.
    std::string likely_key(std::size_t record) const {
        const EventDefinition& d = definition(record);
        if (is_event_field(d.field)) return d.name + d.field;
        const std::string digits = trailing_digits(d.index);
        if (digits.empty() || digits.size() > 3 || d.index.starts_with('v')) return {};
        const std::size_t steps = findings_.model.events[*model(record).event].steps.size();
        if (std::strtoul(digits.c_str(), nullptr, 10) >= steps) return {};
        return d.name + d.field + digits;
    }

    // --- comments

    void check_comment(std::size_t record) {
        const EventDefinition& d = definition(record);
        const bool makes = model(record).fate == Fate::kCreates;
        auto& diagnostic = findings_.add_key(
            "comment-is-setting", record,
            "there are no comments: a line with \"=\" is a setting, whatever it begins with",
            makes ? fmt::format("it makes the event {}, which a trigger of that name runs",
                                in_quotes(d.name))
                  : fmt::format("it is a setting of {}; an index without a number in it voids the "
                                "whole file where such an event exists",
                                in_quotes(d.name)));
        diagnostic.event = d.name;
        const std::size_t begin = findings_.source.key_offset(record);
        const std::size_t end = findings_.source.value_offset(record) + d.value.size();
        for (std::size_t i = begin; i < end; ++i) {
            if (findings_.source.text[i] == '=') diagnostic.fix.push_back({i, 1, ":"});
        }
    }

    // --- blanks in keys

    bool check_blanks(std::size_t record) {
        const EventDefinition& d = definition(record);
        if (check_tail_of_count(record)) return true;
        const auto blank = d.name.find_first_of(" \t");
        if (d.kind == kPlainKey || blank == std::string::npos) return false;
        const std::string meant = meant_name(d.name);
        if (meant.empty()) return false;
        if (findings_.model.has_event(d.name)) return check_name_with_blank(record, meant);
        auto& diagnostic = findings_.add(
            "blank-in-key", findings_.source.key_offset(record) + blank, 1,
            fmt::format("a blank in the event name: the line belongs to {}, not to {}",
                        in_quotes(d.name), in_quotes(meant)),
            "the line is lost for the event it was meant for");
        diagnostic.event = meant;
        const std::string key = meant + d.field + d.index;
        diagnostic.fix = corrected_key(record, key);
        blame_step(diagnostic, meant, d.field, trim_blanks(d.index));
        findings_.explain(meant + d.field + std::string(trim_blanks(d.index)));
        findings_.dismiss_name(d.name);
        return true;
    }

    // An event whose lines all have the blank exists under the name with it: told once.
    bool check_name_with_blank(std::size_t record, const std::string& meant) {
        const EventDefinition& d = definition(record);
        if (model(record).fate != Fate::kCreates) return true;
        auto& diagnostic = findings_.add(
            "blank-in-key", findings_.source.key_offset(record) + d.name.find_first_of(" \t"), 1,
            fmt::format("a blank in the event name {}", in_quotes(d.name)),
            fmt::format("a trigger {} does not run it", in_quotes(meant)));
        diagnostic.event = meant;
        if (!names_.contains(meant)) {
            for (const std::size_t i : findings_.records_of(d.name)) {
                diagnostic.fix.push_back({findings_.source.key_offset(i), d.name.size(), meant});
            }
        }
        findings_.explain(meant + "Count");
        findings_.dismiss_name(d.name);
        findings_.dismiss(*model(record).event);
        return true;
    }

    // The name that one with blanks was meant to be, empty when its blanks may be meant.
    std::string meant_name(const std::string& name) const {
        std::string trimmed(trim_blanks(name));
        if (trimmed.empty()) return {};
        if (name.front() == ' ' || name.front() == '\t') return trimmed;
        if (trimmed != name && is_known(trimmed)) return trimmed;
        std::string joined = name;
        std::erase_if(joined, [](char c) { return c == ' ' || c == '\t'; });
        if (!names_.contains(name) && is_known(joined)) return joined;
        return {};
    }

    // "PowerOnCount =2": where the event has no other Count, nothing is voided and the
    // line is lost.
    bool check_tail_of_count(std::size_t record) {
        const EventDefinition& d = definition(record);
        if (d.kind != kIndexedKey || d.field != "Count" || !trim_blanks(d.index).empty()) {
            return false;
        }
        auto& diagnostic = findings_.add(
            "count-blank", findings_.source.key_offset(record) + d.name.size() + d.field.size(),
            d.index.size(),
            fmt::format("a blank between {} and \"=\": the line is no Count",
                        in_quotes(d.name + d.field)),
            fmt::format("the event {} does not exist: nothing of it is sent", in_quotes(d.name)));
        diagnostic.event = d.name;
        diagnostic.fix = corrected_key(record, d.name + d.field);
        findings_.explain(d.name + d.field);
        return true;
    }

    // --- keys without a field

    void check_plain(std::size_t record) {
        const std::string_view name = key(record);
        if (std::find(kPlainKeys.begin(), kPlainKeys.end(), name) != kPlainKeys.end()) {
            return check_default_key(record);
        }
        const std::string_view trimmed = trim_blanks(name);
        if (const auto meant = meant_key(name); meant && !trimmed.empty()) {
            return add_field_at_beginning(record, *meant);
        }
        const std::string nearest = nearest_key(trimmed);
        if (nearest.empty()) {
            return add_unread(
                record, trimmed.empty() ? "a key without a name" : "there is no such setting");
        }
        auto& diagnostic = findings_.add_key("unknown-key", record,
                                             fmt::format("there is no setting {}; did you mean {}?",
                                                         in_quotes(name), in_quotes(nearest)),
                                             "nothing reads the line");
        diagnostic.fix = corrected_key(record, nearest);
        findings_.explain(nearest);
    }

    void add_unread(std::size_t record, const std::string& why) {
        findings_.add_key("unread-key", record,
                          fmt::format("nothing reads {}: {}", in_quotes(key(record)), why),
                          "the line has no effect");
    }

    void check_default_key(std::size_t record) {
        const std::string value = lower_case(trim_blanks(findings_.trimmed_value(record)));
        if (key(record) == "DataEncode" && value != "hex") {
            add_unread(record, "data is hexadecimal, always");
        }
        if (key(record) == "FastCableDetectEvents" && value == "true") {
            add_unread(record, "cables are not watched");
        }
        if (key(record) == "EnableEvents" && value == "false" && !findings_.model.list.empty()) {
            add_unread(record, "the switch is the device's setting network.ruvo.enable");
        }
    }

    void add_field_at_beginning(std::size_t record, const MeantKey& meant) {
        std::string_view word;
        for (const std::string_view field : kFieldWords) {
            if (key(record).starts_with(field)) word = field;
        }
        auto& diagnostic = findings_.add(
            "field-at-beginning", findings_.source.key_offset(record), word.size(),
            fmt::format("the event name begins with the field word \"{}\": in {} no field is found",
                        word, in_quotes(key(record))),
            fmt::format("the line is lost; give {} another name and an XMLfield of {}",
                        in_quotes(meant.name), in_quotes(meant.name)));
        diagnostic.event = meant.name;
        blame_step(diagnostic, meant.name, meant.field, meant.index);
        diagnostic.fix = rename(meant.name);
        findings_.explain(std::string(key(record)));
    }

    // The known key that an unknown one was most likely meant to be.
    std::string nearest_key(std::string_view name) const {
        if (const auto event = names_.beginning_of(name)) {
            std::string_view rest = name.substr(event->size());
            const std::string digits = trailing_digits(rest);
            if (rest.ends_with(digits)) rest.remove_suffix(digits.size());
            const std::vector<std::string> fields(kFieldWords.begin(), kFieldWords.end());
            const std::string field = nearest_word(rest, fields);
            if (!field.empty() && digits.size() <= 3) return *event + field + digits;
        }
        const std::vector<std::string> plain(kPlainKeys.begin(), kPlainKeys.end());
        return nearest_word(name, plain);
    }

    // --- field words inside names

    // Whether every field of an event of this name is found where it is meant.
    static bool splits_well(const std::string& name) {
        return std::all_of(kFieldWords.begin(), kFieldWords.end(), [&](std::string_view field) {
            return split_key(name + std::string(field) + "0", "").name == name;
        });
    }

    // A name like another that splits well: its field words in small letters, and where its
    // last letter and a field make one, this letter small or an underscore behind it.
    std::string better_name(std::string_view name) const {
        std::string plain(name);
        for (const std::string_view field : kFieldWords) {
            for (auto at = plain.find(field); at != std::string::npos; at = plain.find(field)) {
                plain.replace(at, field.size(), lower_case(field));
            }
        }
        const std::string small_end =
            plain.substr(0, plain.size() - 1) + lower_case(plain.substr(plain.size() - 1));
        for (const std::string& better : {plain, small_end, plain + "_"}) {
            if (better != name && splits_well(better) && !names_.contains(better)) return better;
        }
        return {};
    }

    const std::vector<std::size_t>& records_meant_for(std::string_view name) {
        if (meant_for_.empty()) {
            for (std::size_t i = 0; i < findings_.source.definitions.size(); ++i) {
                if (const auto meant = meant_key(key(i))) meant_for_[meant->name].push_back(i);
            }
        }
        return meant_for_[name];
    }

    // Another name for the event and its own one as the trigger name, once for each event.
    std::vector<Edit> rename(std::string_view name) {
        if (!renamed_.insert(std::string(name)).second) return {};
        const std::string better = better_name(name);
        if (better.empty()) return {};
        std::vector<Edit> edits;
        bool has_trigger = false;
        std::optional<std::size_t> count;
        for (const std::size_t i : records_meant_for(name)) {
            const auto meant = meant_key(key(i));
            if (meant->field == "Count") count = i;
            if (meant->field == "XMLfield") has_trigger = true;
            edits.push_back(findings_.replace_key(
                i, better + std::string(meant->field) + std::string(meant->index)));
        }
        if (!count) return {};
        if (!has_trigger) {
            edits.push_back(findings_.insert_line_behind_plain(
                *count, better + "XMLfield=" + std::string(name)));
        }
        return edits;
    }

    bool check_field_in_name(std::size_t record) {
        const EventDefinition& d = definition(record);
        const auto meant = meant_key(key(record));
        if (!meant || meant->name == d.name || !is_lost_for(record, *meant)) return false;
        auto& diagnostic = findings_.add(
            "field-in-name", findings_.source.key_offset(record) + d.name.size(), d.field.size(),
            fmt::format(
                "\"{}\" stands inside the event name: {} is read as the field {} of an event "
                "{}",
                d.field, in_quotes(key(record)), d.field, in_quotes(d.name)),
            fmt::format("{} of {} is lost; give the event a shorter name and an XMLfield of {}",
                        meant->field, in_quotes(meant->name), in_quotes(meant->name)));
        diagnostic.event = meant->name;
        blame_step(diagnostic, meant->name, meant->field, meant->index);
        diagnostic.fix = rename(meant->name);
        findings_.explain(std::string(meant->name) + std::string(meant->field) +
                          std::string(meant->index));
        return true;
    }

    bool is_lost_for(std::size_t record, const MeantKey& meant) const {
        const EventDefinition& d = definition(record);
        if (d.kind != kIndexedKey) return false;
        if (names_.contains(meant.name)) return true;
        return model(record).fate == Fate::kNoEvent && !is_number(trim_blanks(d.index));
    }

    // --- indices

    bool is_known(std::string_view name) const {
        return names_.contains(name) || names_.has_steps(name);
    }

    void check_missing_index(std::size_t record) {
        const EventDefinition& d = definition(record);
        const bool step_field = is_step_field(d.field);
        if (!names_.contains(d.name) && !(step_field && is_meant_for_event(d.name))) {
            if (model(record).fate == Fate::kNoEvent) {
                add_unread(record, fmt::format("there is no {}", in_quotes(d.name + "Count")));
            }
            return;
        }
        if (!step_field) return;
        const std::optional<std::uint32_t> step = missing_.step_of(record);
        auto& diagnostic = findings_.add_key(
            "missing-index", record,
            fmt::format("{} has no index: it belongs to no step", in_quotes(key(record))),
            step ? fmt::format("nothing reads it; {} lacks its {}", step_text(d.name, *step),
                               d.field)
                 : std::string("nothing reads it"));
        diagnostic.event = d.name;
        if (!step) return;
        diagnostic.step = step;
        const std::string meant = std::string(key(record)) + std::to_string(*step);
        diagnostic.fix = corrected_key(record, meant);
        findings_.explain(meant);
    }

    // Whether lines without an index are rather those of an event than of another program.
    bool is_meant_for_event(std::string_view name) {
        if (names_.has_steps(name)) return true;
        std::set<std::string_view> fields;
        for (const std::size_t i : findings_.records_of(name)) {
            if (is_step_field(definition(i).field)) fields.insert(definition(i).field);
        }
        return fields.size() > 1;
    }

    // Whether a step that the event has lacks a line for a field.
    bool lacks(std::string_view name, std::string_view field, std::size_t step) const {
        const auto found = findings_.model.events_of.find(name);
        if (found == findings_.model.events_of.end()) return false;
        const auto& steps = findings_.model.events[found->second.front()].steps;
        if (step >= steps.size()) return false;
        if (field == "Protocol") return !steps[step].protocol;
        if (field == "IP") return !steps[step].ip;
        if (field == "Port") return !steps[step].port;
        return field == "Data" && !steps[step].data;
    }

    // Ties a finding about a lost line to the step that lacks it.
    void blame_step(Diagnostic& diagnostic, std::string_view name, std::string_view field,
                    std::string_view index) const {
        if (!is_number(index) || index.size() > 3) return;
        const std::uint32_t step = index_of(std::string(index));
        if (lacks(name, field, step)) diagnostic.step = step;
    }

    void check_index(std::size_t record) {
        const EventDefinition& d = definition(record);
        if (is_event_field(d.field)) return check_event_field_index(record);
        if (model(record).fate == Fate::kNoEvent) {
            if (!is_known(d.name))
                add_unread(record, fmt::format("there is no {}", in_quotes(d.name + "Count")));
            return;
        }
        check_word_of_index(record);
        if (model(record).fate == Fate::kBeyondCount) {
            add_beyond(record);
        } else if (wraps(d.index, model(record).step)) {
            add_wrapped(record);
        }
    }

    void check_event_field_index(std::size_t record) {
        const EventDefinition& d = definition(record);
        if (!is_known(d.name)) return;
        auto& diagnostic =
            findings_.add_key("event-field-index", record,
                              fmt::format("{} belongs to the event and takes no index", d.field),
                              "nothing reads the line");
        diagnostic.event = d.name;
        diagnostic.fix = corrected_key(record, d.name + d.field);
        findings_.explain(d.name + d.field);
    }

    // Whether the number in the text is not the one that is left of it.
    static bool wraps(const std::string& index, std::uint32_t step) {
        const std::string_view text = trim_blanks(index);
        if (text.starts_with('-')) return step != 0 || text.find_first_of("123456789") == 1;
        errno = 0;
        const unsigned long long number = std::strtoull(index.c_str(), nullptr, 10);
        return number != step;
    }

    void add_beyond(std::size_t record) {
        const EventDefinition& d = definition(record);
        const std::size_t event = *model(record).event;
        const std::size_t count = findings_.model.events[event].steps.size();
        const bool negative = trim_blanks(d.index).starts_with('-');
        auto& diagnostic =
            findings_.add_key(negative ? "index-negative" : "index-beyond-count", record,
                              negative ? fmt::format("the index {} is negative", in_quotes(d.index))
                                       : fmt::format("{} has {} step{}, 0 to {}", in_quotes(d.name),
                                                     count, count == 1 ? "" : "s", count - 1),
                              "nothing reads the line");
        diagnostic.event = d.name;
        if (negative) return;
        diagnostic.step = model(record).step;
        const std::set<std::uint32_t>& used = findings_.steps_named(d.name);
        const std::uint32_t highest = used.empty() ? 0 : *used.rbegin();
        const bool without_gap = used.size() == highest + std::size_t{1};
        if (!without_gap || highest >= static_cast<std::uint32_t>(kMaxSubCommands)) return;
        const std::size_t count_record = findings_.model.events[event].count_record;
        diagnostic.fix = {
            findings_.replace_trimmed_value(count_record, std::to_string(highest + 1))};
    }

    void add_wrapped(std::size_t record) {
        const EventDefinition& d = definition(record);
        auto& diagnostic = findings_.add_key(
            "index-wrapped", record,
            fmt::format("the index {} is beyond 32 bits", in_quotes(d.index)),
            fmt::format("the line sets {}", step_text(d.name, model(record).step)));
        diagnostic.event = d.name;
        diagnostic.step = model(record).step;
    }

    void check_word_of_index(std::size_t record) {
        if (findings_.options.word) return;
        const EventDefinition& d = definition(record);
        const auto narrow = index_on(d.index, WordSize::k32);
        if (narrow == index_on(d.index, WordSize::k64)) return;
        auto& diagnostic = findings_.add_key(
            "word-size", record,
            fmt::format("the index {} is read differently by devices of 32 and 64 bits",
                        in_quotes(d.index)),
            fmt::format("64 bits: step {}; 32 bits: the whole file takes no effect",
                        model(record).step));
        diagnostic.event = d.name;
        diagnostic.step = model(record).step;
    }

    void check_overwritten(std::size_t record) {
        if (model(record).fate != Fate::kOverwritten) return;
        const std::size_t winner = setter_of(record);
        const bool delay = model(record).property == Property::kStepDelay;
        auto& diagnostic = findings_.add_key(
            "duplicate-key", record,
            fmt::format("line {} sets the same again", findings_.source.line_of(winner)),
            delay ? "the last one wins, but steps behind it may have counted from this one"
                  : "this line has no effect: the last one wins");
        diagnostic.event = definition(record).name;
        if (definition(record).kind == kIndexedKey) diagnostic.step = model(record).step;
        if (!delay) diagnostic.fix = {findings_.remove_line(record)};
    }

    std::size_t setter_of(std::size_t record) const {
        const RecordModel& m = model(record);
        const EventModel& event = findings_.model.events[*m.event];
        switch (m.property) {
            case Property::kTrigger:
                return event.trigger_record.value();
            case Property::kEventDelay:
                return event.delay_record.value();
            case Property::kProtocol:
                return event.steps[m.step].protocol.value();
            case Property::kIp:
                return event.steps[m.step].ip.value();
            case Property::kPort:
                return event.steps[m.step].port.value();
            case Property::kData:
                return event.steps[m.step].data.value();
            case Property::kStepDelay:
                return event.steps[m.step].delay.value();
            case Property::kNone:
            case Property::kBeyondCount:
                break;
        }
        return record;
    }

    Findings& findings_;
    KnownNames names_;
    MissingIndices missing_;
    std::unordered_set<std::string> renamed_;
    std::unordered_set<std::string> subjects_;
    std::unordered_map<std::string_view, std::vector<std::size_t>> meant_for_;
};

}  // namespace

void check_keys(Findings& findings) { KeyChecks(findings).run(); }

}  // namespace ruvo::ctl
