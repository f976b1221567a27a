#include "ruvoctl/check/name_lines.h"

#include "core/number_text.h"
#include "ruvoctl/check/known_keys.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace ruvo::ctl {

std::vector<NameLines> lines_by_name(const Findings& findings) {
    std::vector<NameLines> names;
    std::unordered_map<std::string_view, std::size_t> position;
    for (std::size_t i = 0; i < findings.source.definitions.size(); ++i) {
        const EventDefinition& d = findings.definition(i);
        if (d.kind == kPlainKey || findings.is_damaged(i)) continue;
        const auto [entry, added] = position.emplace(d.name, names.size());
        if (added) names.push_back({d.name, {}, {}, 0});
        NameLines& lines = names[entry->second];
        if (d.kind == kFieldKey && d.field == "Count") lines.counts.push_back(i);
        const std::string_view index = trim_blanks(d.index);
        const bool step = d.kind == kIndexedKey && !is_event_field(d.field) && is_number(index) &&
                          index.size() < 4;
        if (!step) continue;
        if (!lines.first_step) lines.first_step = i;
        lines.highest_step = std::max(lines.highest_step, index_of(std::string(index)));
    }
    return names;
}

}  // namespace ruvo::ctl
