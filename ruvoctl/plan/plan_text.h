#pragma once

#include "ruvoctl/output/style.h"
#include "ruvoctl/plan/plan.h"

#include <string>
#include <string_view>

namespace ruvo::ctl {

// The plan for a reader at a terminal; `file` is the settings file's name. Ends with the
// summary line.
std::string plan_text(const Plan& plan, std::string_view file, const Style& style);

// What stands before the events: the line that voids the file, and what a client sends
// and gets. Empty when there is neither.
std::string plan_preface(const Plan& plan, std::string_view file, const Style& style);

// "1 event, 3 steps: 2 sent, 1 skipped, 0 lost".
std::string summary_text(const Plan& plan, const Style& style);

}  // namespace ruvo::ctl
