#pragma once

#include "ruvoctl/nearest_word.h"
#include "ruvoctl/output/printable.h"
#include "ruvoctl/verb.h"

#include <fmt/format.h>

#include <map>
#include <string>
#include <vector>

namespace ruvo::ctl {

// What an option's word stands for. Throws UsageError, with the nearest word there is,
// for one that stands for nothing.
template <typename Value>
Value named_choice(const std::string& option, const std::string& word,
                   const std::map<std::string, Value>& values) {
    const auto found = values.find(word);
    if (found != values.end()) return found->second;
    std::vector<std::string> names;
    names.reserve(values.size());
    for (const auto& [name, value] : values) names.push_back(name);
    const std::string nearest = nearest_word(word, names);
    throw UsageError(fmt::format("{}: there is no '{}'; {}", option, text_of(word),
                                 nearest.empty()
                                     ? fmt::format("it is one of {}", fmt::join(names, ", "))
                                     : fmt::format("did you mean '{}'?", nearest)));
}

}  // namespace ruvo::ctl
