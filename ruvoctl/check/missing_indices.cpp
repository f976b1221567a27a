#include "ruvoctl/check/missing_indices.h"

#include "events/place_record.h"
#include "ruvoctl/check/known_keys.h"

#include <algorithm>
#include <utility>

namespace ruvo::ctl {
namespace {

// The step that a key names with a plain number.
std::optional<std::uint32_t> written_step(const EventDefinition& definition) {
    const std::string_view index = trim_blanks(definition.index);
    const bool step = definition.kind == kIndexedKey && is_number(index) && index.size() <= 3 &&
                      !is_event_field(definition.field);
    if (!step) return {};
    return index_of(std::string(index));
}

}  // namespace

std::optional<std::uint32_t> MissingIndices::step_of(std::size_t record) {
    Lines& lines = lines_of(findings_.definition(record).name);
    const auto step = step_of(lines, record);
    if (step) lines.fields[*step].insert(findings_.definition(record).field);
    return step;
}

std::optional<std::uint32_t> MissingIndices::step_of(const Lines& lines, std::size_t record) const {
    const EventDefinition& d = findings_.definition(record);
    const auto& neighbours = lines.neighbours.at(record);
    for (const std::uint32_t step : neighbours) {
        if (lines.lacks(step, d.field) && can_have(d.name, step)) return step;
    }
    const auto& records = lines.without_index.at(d.field);
    if (!neighbours.empty())
        return records.size() == 1 ? only_step_without(lines, d) : std::nullopt;
    // Where no line has an index, the first of each field are those of step 0.
    const bool alike =
        std::all_of(lines.without_index.begin(), lines.without_index.end(),
                    [&](const auto& field) { return field.second.size() == records.size(); });
    if (!alike) return {};
    const auto at = std::lower_bound(records.begin(), records.end(), record);
    const auto step = static_cast<std::uint32_t>(at - records.begin());
    return can_have(d.name, step) ? std::optional(step) : std::nullopt;
}

// The lines may stand field by field: then one line is that of the only step without it.
std::optional<std::uint32_t> MissingIndices::only_step_without(const Lines& lines,
                                                               const EventDefinition& d) const {
    std::optional<std::uint32_t> only;
    for (const auto& [step, fields] : lines.fields) {
        if (fields.contains(d.field) || !can_have(d.name, step)) continue;
        if (only) return {};
        only = step;
    }
    return only;
}

bool MissingIndices::Lines::lacks(std::uint32_t step, std::string_view field) const {
    const auto found = fields.find(step);
    return found == fields.end() || !found->second.contains(field);
}

bool MissingIndices::can_have(std::string_view name, std::uint32_t step) const {
    const auto found = findings_.model.events_of.find(name);
    const std::size_t steps = found == findings_.model.events_of.end()
                                  ? static_cast<std::size_t>(kMaxSubCommands)
                                  : findings_.model.events[found->second.front()].steps.size();
    return step < steps;
}

MissingIndices::Lines& MissingIndices::lines_of(std::string_view name) {
    const auto found = lines_.find(name);
    if (found != lines_.end()) return found->second;
    return lines_.emplace(name, read_lines(name)).first->second;
}

MissingIndices::Lines MissingIndices::read_lines(std::string_view name) const {
    Lines lines;
    std::optional<std::uint32_t> before;
    std::vector<std::size_t> waiting;  // for the next line with an index
    for (const std::size_t record : findings_.records_of(name)) {
        const EventDefinition& d = findings_.definition(record);
        if (const auto step = written_step(d)) {
            if (d.field != "Delay") lines.fields[*step].insert(d.field);
            for (const std::size_t other : waiting) lines.neighbours[other].push_back(*step);
            waiting.clear();
            before = step;
        } else if (d.kind == kFieldKey && is_step_field(d.field)) {
            lines.without_index[d.field].push_back(record);
            auto& neighbours = lines.neighbours[record];
            if (before) neighbours.push_back(*before);
            waiting.push_back(record);
        }
    }
    return lines;
}

}  // namespace ruvo::ctl
