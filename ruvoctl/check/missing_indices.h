#pragma once

#include "ruvoctl/check/findings.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ruvo::ctl {

// Finds the steps that lines without an index were meant for: a line stands among those of
// its step, so it is the step of the line in front of it or behind it, whichever lacks it.
class MissingIndices {
  public:
    explicit MissingIndices(const Findings& findings) : findings_(findings) {}

    // The step of a record without an index, in the order of the file; nothing when that is
    // open. A step is taken once for each field.
    std::optional<std::uint32_t> step_of(std::size_t record);

  private:
    // The lines of one event name.
    struct Lines {
        std::map<std::uint32_t, std::set<std::string_view>> fields;  // of each step
        // For each record without an index, the steps of its neighbours that have one.
        std::unordered_map<std::size_t, std::vector<std::uint32_t>> neighbours;
        std::map<std::string_view, std::vector<std::size_t>> without_index;  // by field

        bool lacks(std::uint32_t step, std::string_view field) const;
    };

    Lines& lines_of(std::string_view name);
    Lines read_lines(std::string_view name) const;
    std::optional<std::uint32_t> step_of(const Lines& lines, std::size_t record) const;
    std::optional<std::uint32_t> only_step_without(const Lines& lines,
                                                   const EventDefinition& d) const;
    bool can_have(std::string_view name, std::uint32_t step) const;

    const Findings& findings_;
    std::unordered_map<std::string_view, Lines> lines_;
};

}  // namespace ruvo::ctl
