#pragma once

#include "ruvoctl/check/diagnostic.h"

#include <span>
#include <string_view>

namespace ruvo::ctl {

// One thing that `check` finds.
struct Check {
    std::string_view id;
    Severity severity;
    std::string_view title;
    std::string_view explanation;
    std::string_view fault;  // a settings file that has it
    std::string_view near;   // one that nearly has it
};

// All of them, fatal ones first.
std::span<const Check> catalogue();

// Null for an unknown id.
const Check* find_check(std::string_view id);

}  // namespace ruvo::ctl
