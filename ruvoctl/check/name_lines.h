#pragma once

#include "ruvoctl/check/findings.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

// The lines of one event name, whether it has an entry or not.
struct NameLines {
    std::string_view name;
    std::vector<std::size_t> counts;
    std::optional<std::size_t> first_step;  // the first line that configures a step
    std::uint32_t highest_step = 0;
};

// By the first line of each name. Records with damaged values are left out.
std::vector<NameLines> lines_by_name(const Findings& findings);

}  // namespace ruvo::ctl
